// Internal invariants. Input cannot break them (short of exhausted memory);
// a failed one is reported in one format, naming the module, the function
// and the condition, and ends the run.
#pragma once

[[noreturn]] void invariant_failed(char const* module, char const* function, char const* condition);
