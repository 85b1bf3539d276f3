#include "invariant.h"

#include <cstdio>
#include <cstdlib>

#include "run_mode.h"

void invariant_failed(char const* module, char const* function, char const* condition)
{
    std::fflush(stdout);
    std::fprintf(stderr, "%s: %s: %s: Assertion `%s' failed.\n", progname ? progname : "tarvo",
                 module, function, condition);
    std::abort();
}
