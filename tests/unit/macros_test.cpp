// The macro store and the replay readers, driven directly: definitions are
// fed byte by byte as the recording reader would, replays are read through
// getchar_func as the parser would.
#include "converter_test.h"

namespace {

std::string const kClose = "\x1b&f1X";

class Macros : public ::testing::Test {
protected:
    void SetUp() override
    {
        reset_converter();
        // A read from the file clears the replay work of earlier tests.
        InputFromString none("");
        getchar_func();
    }
    void TearDown() override { mac_reset(PERMANENT); }

    // Records `body` followed by `closing` as macro `id`.
    static void define(int id, std::string const& body, std::string const& closing = kClose)
    {
        mac_start_def(id);
        for (unsigned char c : body + closing)
            mac_buf_add(c);
        mac_end_def();
    }

    // Reads n bytes through the current raw reader.
    static std::string read(int n)
    {
        std::string s;
        for (int i = 0; i < n; ++i) {
            int c = getchar_func();
            s += c < 0 ? '#' : static_cast<char>(c);
        }
        return s;
    }
};

TEST_F(Macros, DefinitionStoresBodyWithoutClosingCommand)
{
    define(7, "ABC");
    define(8, "", kClose);
    define(9, "xy", "\x1b&f01X");
    EXPECT_EQ(std::string(reinterpret_cast<char*>(mac_get_byid(7)->data), 3), "ABC");
    EXPECT_EQ(mac_get_byid(8), nullptr);
    // The longer closing command leaves its first byte in the macro.
    EXPECT_EQ(std::string(reinterpret_cast<char*>(mac_get_byid(9)->data), 3), "xy\x1b");
    EXPECT_EQ(cur_macro, nullptr);

    // Redefinition reuses the record in its list position; newest first.
    pcl_macro* before = mac_get_byid(7);
    define(10, "new");
    define(7, "DEFG");
    EXPECT_EQ(mac_get_byid(7), before);
    EXPECT_EQ((std::array{mac_get_byid(7)->size, macro_list->id}), (std::array{4, 10}));
}

TEST_F(Macros, SizeLimitDeletesTheMacroOnce)
{
    // Exactly the limit, closing command included, is accepted.
    define(1, std::string(MAC_MAX_SIZE - 5, 'a'));
    ASSERT_NE(mac_get_byid(1), nullptr);

    std::string out = capture_stdout([] {
        verbose = 1;
        define(2, std::string(MAC_MAX_SIZE + 3000, 'b'));
    });
    EXPECT_EQ(out, "memory allocation exceeds limit for macro 2 (1049600 bytes)\n");
    EXPECT_EQ(mac_get_byid(2), nullptr);
    EXPECT_EQ(cur_macro, nullptr);
}

TEST_F(Macros, ExecuteAndCallReplayAndRestore)
{
    define(1, "ab");
    env.cur_x = 100;
    env.font_serial = 5;
    font[0].pitch = 10;

    // Execute: the level ends when the last byte is handed out; changes stay.
    ASSERT_NE(mac_call(1, MAC_EXECUTE), nullptr);
    EXPECT_EQ(getchar_func, mac_getc);
    EXPECT_EQ(read(1), "a");
    env.cur_x = 200;
    EXPECT_EQ(read(1), "b");
    EXPECT_EQ(exec_macro, nullptr);
    EXPECT_EQ((std::array{mac_nesting, env.cur_x}), (std::array{0, 200}));

    // Call: environment and fonts come back, the page counter does not, and
    // a font changed inside gets a serial never seen before.
    env.pos_changed = 0;
    ASSERT_NE(mac_call(1, MAC_CALL), nullptr);
    env.cur_x = 999;
    env.page_serial = 3;
    env.page_dirty = 1;
    font[0].pitch = 16.67;
    env.font_serial = 6;
    EXPECT_EQ(read(2), "ab");
    EXPECT_EQ(font[0].pitch, 10);
    EXPECT_EQ((std::array{mac_nesting, env.cur_x, env.page_serial, env.page_dirty, env.font_serial, env.pos_changed}),
              (std::array{0, 200, 3, 1, 7, 1}));

    // A call that changes no font keeps the serial.
    ASSERT_NE(mac_call(1, MAC_CALL), nullptr);
    read(2);
    EXPECT_EQ(env.font_serial, 7);
}

TEST_F(Macros, OverlayEndsItsLoopOnceThenResumesAfterTheFormFeed)
{
    define(3, "O");
    define(4, "cd");
    InputFromString file("F");
    env.cur_x = 10;
    ASSERT_NE(mac_call(3, MAC_OVERLAY), nullptr);
    EXPECT_EQ(getchar_func, auto_getc);
    env.cur_x = 77;
    EXPECT_EQ(read(1), "O");
    EXPECT_EQ(mac_nesting, 1);  // the last byte is read inside the overlay
    // The end: restored at once; end of input until the page moves on, as
    // for a loop that ended inside an escape sequence and reads again.
    EXPECT_EQ(read(3), "###");
    EXPECT_EQ((std::array{mac_nesting, env.cur_x}), (std::array{0, 10}));
    env.page_serial += 1;  // the form feed completes
    EXPECT_EQ(read(2), "F#");

    // An overlay that calls another macro keeps reading its own bytes after
    // the inner macro, then ends.
    define(5, "xy");
    ASSERT_NE(mac_call(5, MAC_OVERLAY), nullptr);
    EXPECT_EQ(read(1), "x");
    ASSERT_NE(mac_call(4, MAC_CALL), nullptr);
    EXPECT_EQ(read(3), "cdy");
    EXPECT_EQ(read(1), "#");
    EXPECT_EQ(mac_nesting, 0);
}

TEST_F(Macros, ReplayedRecordSurvivesDeletionAndRedefinition)
{
    define(1, "hello");
    define(2, "world");
    ASSERT_NE(mac_call(1, MAC_EXECUTE), nullptr);
    EXPECT_EQ(read(1), "h");
    // Delete everything while macro 1 is being read.
    in_macro_definition = 0;
    env.macro_id = 1;
    pcl_macro_ctl(8);
    EXPECT_EQ(mac_get_byid(1), nullptr);
    ASSERT_NE(mac_call(2, MAC_CALL), nullptr);
    pcl_macro_ctl(6);
    EXPECT_EQ(macro_list, nullptr);
    EXPECT_EQ(read(9), "worldello");
    EXPECT_EQ(mac_nesting, 0);

    // Redefinition while being read: the replay keeps the old bytes, the
    // store has the new ones in the same list position.
    define(3, "abc");
    define(4, "zz");
    ASSERT_NE(mac_call(3, MAC_EXECUTE), nullptr);
    EXPECT_EQ(read(1), "a");
    define(3, "NEW");
    EXPECT_EQ(read(2), "bc");
    ASSERT_NE(mac_get_byid(3), nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(mac_get_byid(3)->data), 3), "NEW");
    EXPECT_EQ((std::array{macro_list->id, macro_list->next->id}), (std::array{4, 3}));
}

TEST_F(Macros, SelfCallingMacroIsStoppedByTheReplayBudget)
{
    // A macro that ends by executing itself: each level ends before the
    // command acts, so the depth never grows.
    define(1, std::string(4096, 'x'));
    InputFromString file("f");
    long calls = 0;
    std::string out = capture_stdout([&] {
        verbose = 1;
        while (mac_call(1, MAC_EXECUTE) != nullptr) {
            ++calls;
            while (mac_nesting > 0)
                getchar_func();
        }
    });
    EXPECT_EQ(out, "macro 1 not started: replay limit reached\n");
    EXPECT_GT(calls, 1000);
    EXPECT_LE(calls * 4096, static_cast<long>(MAC_REPLAY_BUDGET));
    // A byte from the file renews the budget.
    EXPECT_EQ(read(1), "f");
    EXPECT_EQ(mac_replay_work(), 0u);
    EXPECT_NE(mac_call(1, MAC_EXECUTE), nullptr);
}

}  // namespace
