// The Ghostscript pipeline: the shell command line and the lazy start of
// the interpreter with PostScript on its standard input.
#pragma once

#include <string>

extern std::string gs_cmd;

// The -sOutputFile value that makes the interpreter write to `output`
// literally ("-", its standard output, when null).
std::string gs_output_name(char const* output);

void gs_setup(int level, char const* output, char const* options);
// Starts the interpreter and makes its pipe the output stream. Returns
// false after reporting when it cannot be started.
bool gs_run();
// True when the command line built by gs_setup, or Ghostscript's own
// environment (GS_DEVICE, GS_OPTIONS), selects an output device.
bool gs_names_device();
// Closes the pipe and returns pclose's raw status (-1 when nothing to close).
int gs_close();
// Start-up state: no pipe, no command line.
void gs_reset();
