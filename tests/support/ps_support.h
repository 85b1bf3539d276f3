// Shared setup for tests of the PostScript writer and for tests that run
// the external tools.
#pragma once

#include <string>

// Fresh document state: no configuration, Letter portrait with the usual
// 0.25 inch left offset, 10 cpi Courier 12 point in ISO 8859-1, PostScript
// mode on and an empty text buffer.
void reset_ps_state();

// True when `tool` is found on the PATH.
bool have_tool(char const* tool);

// Standard output of a shell command.
std::string shell_output(std::string const& cmd);

// Directory of the built binary; it carries share/tarvo/ps like an installation.
std::string build_dir();
