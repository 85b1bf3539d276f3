// The macro store and the replay readers, driven directly: definitions are
// fed byte by byte as the recording reader would, replays are read through
// getchar_func as the parser would.
#include "converter_test.h"

namespace {

std::string const kClose = "\x1b&f1X";

class Macros : public ::testing::Test {
protected:
    void SetUp() override { reset_converter(); }
    void TearDown() override { tarvo_reset(); }

    // Records `body` followed by `closing` as macro `id`.
    static void define(int id, std::string const& body, std::string const& closing = kClose)
    {
        mac_start_def(id);
        for (unsigned char c : body + closing)
            mac_buf_add(c);
        mac_end_def();
    }

    static std::string body(int id)
    {
        pcl_macro const* m = mac_get_byid(id);
        return std::string(m->body->begin(), m->body->end());
    }
    // Reads n bytes through the current raw reader.
    static std::string read(int n)
    {
        std::string s;
        for (int i = 0, c; i < n; ++i)
            s += (c = getchar_func()) < 0 ? '#' : static_cast<char>(c);
        return s;
    }
};

TEST_F(Macros, DefinitionStoresBodyWithoutClosingCommand)
{
    define(7, "ABC");
    define(8, "", kClose);
    define(9, "xy", "\x1b&f01X");  // the longer closing command leaves its ESC in the macro
    EXPECT_EQ((std::array{body(7), body(9)}), (std::array<std::string, 2>{"ABC", "xy\x1b"}));
    EXPECT_EQ(mac_get_byid(8), nullptr);
    EXPECT_EQ(cur_macro, nullptr);
}

TEST_F(Macros, SizeLimitDeletesTheMacroOnce)
{
    // Exactly the limit, closing command included, is accepted.
    define(1, std::string(MAC_MAX_SIZE - 5, 'a'));
    ASSERT_NE(mac_get_byid(1), nullptr);

    verbose = 1;
    EXPECT_EQ(capture_stdout([] { define(2, std::string(MAC_MAX_SIZE + 3000, 'b')); }),
              "memory allocation exceeds limit for macro 2 (1049600 bytes)\n");
    EXPECT_EQ(mac_get_byid(2), nullptr);
    EXPECT_EQ(cur_macro, nullptr);
}

TEST_F(Macros, IdsOutsideThePclRangeNameNoMacro)
{
    define(0, "a");
    define(MAC_ID_MAX, "b");
    verbose = 1;
    EXPECT_EQ(capture_stdout([] {
                  define(MAC_ID_MAX + 1, "c");
                  define(-1, "d");
              }),
              "macro 32768: ID outside 0..32767, not stored\nmacro -1: ID outside 0..32767, not "
              "stored\n");
    EXPECT_EQ(capture_stdout([] { mac_call(-1, MAC_EXECUTE); }), "macro -1 does not exist\n");
    EXPECT_EQ((std::array{body(0), body(MAC_ID_MAX)}), (std::array<std::string, 2>{"a", "b"}));
    EXPECT_EQ(mac_get_byid(MAC_ID_MAX + 1), nullptr);
    // Deleting one macro keeps the others.
    define(5, "e");
    mac_free(mac_get_byid(MAC_ID_MAX));
    std::vector<int> ids;
    for (auto const& [id, m] : macro_store)
        ids.push_back(m.id);
    EXPECT_EQ(ids, (std::vector<int>{0, 5}));
}

// Execute and call through the parser are the mac_nested golden case.
TEST_F(Macros, CallRestoresEnvironmentAndFontsButNotThePage)
{
    InputFromString file("");
    define(1, "ab");
    env.cur_x = 200;
    env.font_serial = 5;
    font[0].pitch = 10;
    env.pos_changed = 0;
    ASSERT_NE(mac_call(1, MAC_CALL), nullptr);
    env.cur_x = 999;
    env.page_serial = 3;
    env.page_dirty = 1;
    font[0].pitch = 16.67;
    env.font_serial = 6;
    EXPECT_EQ(read(2), "ab");
    // The last byte's command still runs in the macro's environment; the
    // caller's comes back with the next read.
    EXPECT_EQ((std::array{mac_nesting, env.cur_x}), (std::array{1, 999}));
    EXPECT_EQ(read(1), "#");
    // A font changed inside gets a serial never seen before.
    EXPECT_EQ(font[0].pitch, 10);
    EXPECT_EQ((std::array{mac_nesting, env.cur_x, env.page_serial, env.page_dirty, env.font_serial,
                          env.pos_changed}),
              (std::array{0, 200, 3, 1, 7, 1}));
    ASSERT_NE(mac_call(1, MAC_CALL), nullptr);  // a call that changes no font keeps the serial
    read(3);
    EXPECT_EQ(env.font_serial, 7);
}

TEST_F(Macros, OverlayEndsItsLoopOnceThenResumesAfterTheFormFeed)
{
    define(3, "O");
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
}

TEST_F(Macros, ReplayedRecordSurvivesDeletionAndRedefinition)
{
    InputFromString file("");
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
    EXPECT_TRUE(macro_store.empty());
    EXPECT_EQ(read(10), "worldello#");
    EXPECT_EQ(mac_nesting, 0);

    // Redefinition while being read: the replay keeps the old bytes, the
    // store has the new ones.
    define(3, "abc");
    define(4, "zz");
    ASSERT_NE(mac_call(3, MAC_EXECUTE), nullptr);
    EXPECT_EQ(read(1), "a");
    define(3, "NEW");
    EXPECT_EQ(read(2), "bc");
    ASSERT_NE(mac_get_byid(3), nullptr);
    EXPECT_EQ((std::array{body(3), body(4)}), (std::array<std::string, 2>{"NEW", "zz"}));
}

}  // namespace
