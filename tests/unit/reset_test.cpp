// What a run leaves behind does not reach the next one after tarvo_reset.
#include "reset.h"

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "common/file_ptr.h"
#include "config_store.h"
#include "driver.h"
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

namespace {

// Runs the driver in this process, as a second run of the same process
// would, and returns the PostScript it wrote.
std::string run_in_process(std::vector<std::string> args, TempDir const& dir)
{
    std::string const out = dir.path() + "/in-process.ps";
    args.insert(args.begin(), "tarvo");
    args.insert(args.end(), {"-o", out, dir.path() + "/job.pcl"});
    std::vector<char*> argv;
    for (std::string& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    EXPECT_EQ(tarvo_main(static_cast<int>(args.size()), argv.data()), 0);
    std::string text;
    if (FilePtr f{std::fopen(out.c_str(), "rb")}) {
        char block[4096];
        for (size_t n; (n = std::fread(block, 1, sizeof block, f.get())) > 0;)
            text.append(block, n);
    }
    return text;
}

TEST(Reset, EachRunBuildsTheGlyphMapOfItsOwnRendering)
{
    // Characters of the code-page and line-drawing sets: the current
    // rendering shows some of them through stand-ins the earlier one lacks.
    TempDir dir;
    std::string job = "\x1b(10U";
    for (int b = 0x80; b < 0x100; ++b)
        job += static_cast<char>(b);
    job += "\r\n\x1b(0B";
    for (int b = 0x21; b < 0x7f; ++b)
        job += static_cast<char>(b);
    job += "\x0c";
    std::string const path = dir.write("job.pcl", job);
    setenv("SOURCE_DATE_EPOCH", "0", 1);
    // What a process of its own writes for each rendering.
    std::vector<std::string> const current = {"-s"};
    std::vector<std::string> const earlier = {"-s", "-C", "CONFIG:BCOMPAT=4"};
    auto alone = [&](std::vector<std::string> args) {
        args.push_back(path);
        return run_tarvo(args).out;
    };
    std::string const current_alone = alone(current);
    std::string const earlier_alone = alone(earlier);
    ASSERT_NE(current_alone, earlier_alone);

    EXPECT_EQ(run_in_process(current, dir), current_alone);
    EXPECT_EQ(run_in_process(current, dir), current_alone);
    EXPECT_EQ(run_in_process(earlier, dir), earlier_alone);
    EXPECT_EQ(run_in_process(current, dir), current_alone);
    tarvo_reset();
    unsetenv("SOURCE_DATE_EPOCH");
}

}  // namespace
