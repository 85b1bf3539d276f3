// What a run leaves behind does not reach the next one after tarvo_reset.
#include "reset.h"

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "config_store.h"
#include "pcl/command_table.h"
#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "pcl/glyph_map.h"
#include "pcl/macros.h"
#include "pcl/ps/document.h"
#include "pcl/text_loop.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

// Converts `pcl` to PostScript as the driver does for one file.
std::string convert(std::string const& pcl)
{
    hash_setup();
    pcl_init();
    ps_map_reset();
    ps_map_init();
    genps = 1;
    ps_set_mode(0);
    OutputCapture out;
    {
        InputFromString in(pcl);
        parse_text();
        pcl_reset();
    }
    ps_exit(nullptr);
    return out.str();
}

TEST(Reset, ARunAfterTheResetMatchesARunFromStartUp)
{
    setenv("SOURCE_DATE_EPOCH", "0", 1);
    // Calls macro 5, which a fresh start does not have.
    std::string const job = "\x1b&f5Y\x1b&f3XHello\x0c";
    tarvo_reset();
    std::string const fresh = convert(job);
    ASSERT_NE(fresh.find("(Hello)"), std::string::npos);

    // Leaves a permanent macro 5, a permanent font ID, the earlier rendering
    // configured and a macro definition open at the end of the input.
    tarvo_reset();
    config_add_value("CONFIG", "BCOMPAT", "4");
    convert("\x1b&f5Y\x1b&f0XSTALE\x1b&f1X\x1b&f10X\x1b*c7D\x1b*c6F\x1b*c5F\x1b(s16.67H" + job +
            "\x1b&f6Y\x1b&f0Xopen");
    ASSERT_NE(mac_get_byid(5), nullptr);
    ASSERT_EQ(font_list.size(), 1u);

    tarvo_reset();
    EXPECT_EQ(convert(job), fresh);
    tarvo_reset();
    unsetenv("SOURCE_DATE_EPOCH");
}

}  // namespace
