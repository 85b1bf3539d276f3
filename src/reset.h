// The start-up state of the whole converter.
#pragma once

// Puts every module with state back to its start-up state: the run mode,
// the configuration, the reader, parser, environment, fonts, macros, text
// buffer and raster state, the document and its writer, the interpreter
// pipe and the temporary output file. The tables built once from constant
// data (the command table, the glyph map) stay as they are. Called by the
// driver before it reads the command line, and between runs by tests and
// the fuzzer.
void tarvo_reset();
