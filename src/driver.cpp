#include "driver.h"

#include <cstdio>

#include "run_mode.h"

int genps = 0;
int verbose = 0;
int debug = 0;
char const* doc_title = nullptr;
FILE* infp = nullptr;
FILE* outfp = nullptr;
char const* progname = "tarvo";

// Placeholder until the module is implemented.
int tarvo_main(int, char** argv)
{
    usage(argv[0]);
    return 2;
}

void usage(char const* prog)
{
    std::fprintf(stderr, "usage: %s [options] [pcl files ...]\n", prog);
    std::fprintf(stderr, "Please use the -help option to get more information\n");
}
