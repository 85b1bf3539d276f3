#include "ps_support.h"

#include <cstdio>
#include <cstdlib>

#include "config_store.h"
#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "reset.h"
#include "run_mode.h"

void reset_ps_state()
{
    tarvo_reset();
    env = pcl_env{};
    env.paper_width = 612000;
    env.paper_height = 792000;
    env.page_xofs = 18000;
    env.hmi = 7200;
    env.font_serial = 1;
    font[0] = pcl_font{};
    font[0].symset = 14;
    font[0].pitch = 10;
    font[0].point_size = 12;
    font[0].typeface = 3;
    font[1] = font[0];
    genps = 1;
}

bool have_tool(char const* tool)
{
    std::string const cmd = std::string("command -v ") + tool + " >/dev/null 2>&1";
    return std::system(cmd.c_str()) == 0;
}

std::string shell_output(std::string const& cmd)
{
    std::string out;
    if (FILE* p = popen(cmd.c_str(), "r")) {
        char buf[4096];
        size_t n;
        while ((n = std::fread(buf, 1, sizeof buf, p)) > 0)
            out.append(buf, n);
        pclose(p);
    }
    return out;
}

std::string build_dir()
{
    std::string const bin = TARVO_BINARY;
    return bin.substr(0, bin.rfind('/'));
}
