// The Ghostscript pipeline: the shell command line and the lazy start of
// the interpreter with PostScript on its standard input.
#pragma once

#include <string>

extern std::string gs_cmd;

// The -sOutputFile value that makes the interpreter write to `output`
// literally ("-", its standard output, when null).
std::string gs_output_name(char const* output);

void gs_setup(int level, char const* output, char const* options);
void gs_run();
// Closes the pipe and returns pclose's raw status (-1 when nothing to close).
int gs_close();
