// Run-mode globals set while the command line is read and consulted by
// every other module.
#pragma once

#include <cstdio>

extern int genps;  // non-zero: PostScript is produced
extern int verbose;  // analysis level (-a, -aa, -v)
extern int debug;  // input trace level (-d, -dd)
extern char const* doc_title;  // %%Title of the document, or null
extern FILE* infp;  // current input stream
extern char const* in_name;  // its name for messages ("standard input")

// Basename of argv[0], used as the prefix of run-time messages.
extern char const* progname;

// Start-up state of the run mode: nothing produced, no analysis, no title,
// no input, the default program name.
void run_mode_reset();
