// Macros written as PCL and run by the text loop, with input built to make
// the replay misbehave: self-calling macros and overlays cut inside a
// sequence. Resets, definitions and deletions from inside a replay are the
// mac_replay and mac_hostile golden cases.
#include "converter_test.h"

namespace {

using namespace std::string_literals;

std::string const E = "\x1b";

// ESC & f <id> Y ESC & f 0 X <body> ESC & f 1 X
std::string define(int id, std::string const& body)
{
    return E + "&f" + std::to_string(id) + "Y" + E + "&f0X" + body + E + "&f1X";
}
std::string select(int id) { return E + "&f" + std::to_string(id) + "Y"; }
std::string ctl(int v) { return E + "&f" + std::to_string(v) + "X"; }

class MacroParse : public testing::Test {
protected:
    void SetUp() override { reset_converter(); }
    void TearDown() override { tarvo_reset(); }
};

TEST_F(MacroParse, MacrosEndingInTheirOwnCallAreBounded)
{
    // Executes itself (counting pages), calls itself, and two macros that
    // call each other; the file goes on after each and is read normally.
    std::string pcl = define(1, "\x0c"s + select(1) + ctl(2)) + select(1) + ctl(2) + "A";
    pcl += define(2, "y"s + select(2) + ctl(3)) + select(2) + ctl(3) + "B";
    pcl += define(3, "z\r"s + select(4) + ctl(2)) + define(4, select(3) + ctl(3)) + select(3) +
           ctl(2) + "C";
    constexpr uint64_t base = 1 << 20;
    for (bool piped : {false, true}) {
        reset_converter();
        mac_set_replay_base(base);
        std::string err;
        {
            // Through a pipe the input has no position; the allowance is the same.
            InputFromString in(pcl, piped);
            err = capture_stderr([] { parse_text(); });
        }
        int32_t const pages = env.page_serial;
        uint64_t const allowance = base + 64 * pcl.size();
        EXPECT_GT(pages, 1000);
        EXPECT_LE(pages, static_cast<int32_t>(allowance / MAC_LEVEL_COST));
        EXPECT_EQ(mac_nesting, 0);
        // Spent: the allowance, plus at most what the levels running when it
        // was reached still replayed.
        EXPECT_GE(mac_replay_work(), allowance);
        EXPECT_LE(mac_replay_work(), allowance + 2 * (MAC_LEVEL_COST + 16));
        EXPECT_EQ(err, "tarvo: input: macros replayed more than " + std::to_string(allowance) +
                           " bytes; further macro calls skipped\n");

        // The allowance is the run's, not the file's: a next file gets only
        // its own share, and no second message.
        InputFromString more(select(1) + ctl(2) + "D", piped);
        EXPECT_EQ(capture_stderr([] { parse_text(); }), "");
        EXPECT_LE(env.page_serial - pages, 64 * 7 / MAC_LEVEL_COST + 1);
    }
}

// A 10 KB overlay on each of 1,000 pages stays far inside the allowance.
TEST_F(MacroParse, OverlayOnEveryPageOfALongJobIsNotCut)
{
    std::string body(10000, 'x');
    std::string pcl = define(5, body) + select(5) + ctl(4);
    for (int i = 0; i < 1000; ++i)
        pcl += "p\x0c";
    InputFromString in(pcl, true);
    EXPECT_EQ(capture_stderr([] { parse_text(); }), "");
    EXPECT_EQ(env.page_serial, 1000);
    EXPECT_EQ(mac_replay_work(), 1000 * (body.size() + MAC_LEVEL_COST));
}

TEST_F(MacroParse, OverlayCutInsideASequenceEndsItsLoopOnce)
{
    // After each form feed the file's next character prints on the new page
    // at the left margin plus one advance: had the overlay's loop gone on
    // reading the file, the form feed's own cursor reset would come last.
    // Most cuts cannot be recorded as such (the recorder would read on to
    // complete the sequence); under UTF-8 parsing 0xC3 hides the following
    // ESC from the recorder, and the replay then runs with one-byte parsing.
    struct Cut {
        std::string body;
        int record_method;
        int replay_method;
    };
    Cut const cuts[] = {
        {"ov"s + E + "&a5", 0, 0},  // inside a parameterized sequence
        {"ov"s + E + "&a5c", 0, 0},  // after a lower-case group
        {"ov\xC3"s + E, 83, 0},  // right after ESC
        {"ov\xC3"s + E + "(8", 83, 0},  // inside a symbol-set form
        {"ov\xC3"s + E + "%-123", 83, 0},  // inside a mode form
        {"ov\xC3"s + E + "&p10Xab", 83, 0},  // inside transparent data
        {"ov\xC3"s + E + "*b9Wab", 83, 0},  // inside skipped data
        {"ov\xC3"s, 0, 83},  // inside a UTF-8 sequence
        {"ov"s + E + "&f2Y" + E + "&f3X", 0, 0},  // calling a macro that is cut
    };
    for (Cut const& cut : cuts) {
        SCOPED_TRACE(cut.body);
        reset_converter();
        std::string pcl = E + "&t" + std::to_string(cut.record_method) + "P";
        pcl += define(2, "in"s + E + "&a") + define(1, cut.body) + select(1) + ctl(4);
        pcl += E + "&t" + std::to_string(cut.replay_method) + "P";
        for (int page = 0; page < 50; ++page)
            pcl += "P\x0c";
        pcl += "Q";
        run_pcl(pcl, 0);
        ASSERT_NE(mac_get_byid(1), nullptr);
        EXPECT_EQ(mac_get_byid(1)->size(), static_cast<int>(cut.body.size()));
        EXPECT_EQ(env.page_serial, 50);
        EXPECT_EQ(env.cur_x, env.left_margin + env.hmi);
        EXPECT_EQ(mac_nesting, 0);
        EXPECT_EQ(getchar_func, getc_only);
    }
}

}  // namespace
