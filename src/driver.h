// The command-line driver: options, run mode, configuration lookup, the
// loop over the input files and the exit status.
#pragma once

int tarvo_main(int argc, char** argv);
void usage(char const* prog);
