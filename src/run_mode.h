// Run-mode globals set while the command line is read and consulted by
// every other module.
#pragma once

#include <cstdio>

extern int genps;              // non-zero: PostScript is produced
extern int verbose;            // analysis level (-a, -aa, -v)
extern int debug;              // input trace level (-d, -dd)
extern char const* doc_title;  // %%Title of the document, or null
extern FILE* infp;             // current input stream
extern char const* in_name;    // its name for messages ("standard input")
extern FILE* outfp;            // output stream; null until Ghostscript starts

// Basename of argv[0], used as the prefix of run-time messages.
extern char const* progname;
