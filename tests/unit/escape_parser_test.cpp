#include <cstdlib>
#include <iterator>

#include "converter_test.h"

namespace {

struct call {
    std::string key;
    double value;
    int movetype;
    int fontind;
};

std::vector<call> calls;

// Replaces the handler of a table row by a recorder for the test's lifetime.
class Recorder {
public:
    explicit Recorder(char const* key) : row_(hash_lookup(key)), saved_(row_->handler)
    {
        row_->handler = record_for(key);
    }
    ~Recorder() { row_->handler = saved_; }

private:
    template <int N>
    static void record(double v)
    {
        calls.push_back({keys()[N], v, movetype, fontind});
    }
    static std::vector<std::string>& keys()
    {
        static std::vector<std::string> k;
        return k;
    }
    static pcl_handler record_for(char const* key)
    {
        static pcl_handler const fns[] = {record<0>,  record<1>,  record<2>,  record<3>,
                                          record<4>,  record<5>,  record<6>,  record<7>,
                                          record<8>,  record<9>,  record<10>, record<11>,
                                          record<12>, record<13>, record<14>, record<15>};
        auto& k = keys();
        for (size_t i = 0; i < k.size(); ++i)
            if (k[i] == key)
                return fns[i];
        k.push_back(key);
        if (k.size() > std::size(fns))
            std::abort();
        return fns[k.size() - 1];
    }
    pcl_cmd* row_;
    pcl_handler saved_;
};

class EscapeParser : public ::testing::Test {
protected:
    void SetUp() override
    {
        reset_converter();
        calls.clear();
    }
    void TearDown() override { in_macro_definition = 0; }
};

// Values, signs and the addressed font reach the handlers; traces of the
// same forms are the esc_trace and esc_edges golden cases.
TEST_F(EscapeParser, ValuesSignsAndMovetype)
{
    Recorder c("&aC"), x("*pX"), p("(sP"), q(")sP");
    std::string huge(400, '9');
    run_pcl("\x1b&a+5C\x1b&a-5C\x1b&a5C\x1b&a--5C\x1b&a5-C\x1b&aC\x1b&a-2c3C");
    run_pcl("\x1b*p1.5X\x1b*p.5.5X\x1b*p0.123456789987X\x1b*p" + huge + "X\x1b*p-" + huge + ".5X");
    run_pcl("\x1b(s1P\x1b)s1P");
    struct Want {
        char const* key;
        double value;
        int movetype;
    };
    Want const want[] = {
        {"&aC", 5, 1}, {"&aC", -5, 1}, {"&aC", 5, 0}, {"&aC", 5, 1},
        {"&aC", -5, 1},  // the sign may follow the digits
        {"&aC", 0, 0},
        {"&aC", -2, 1}, {"&aC", 3, 0},  // a sign does not leak into the next group
        {"*pX", 1.5, 0},
        {"*pX", 1.0, 0},          // a second point restarts at tenths
        {"*pX", 0.123456789, 0},  // decimals past the ninth are ignored
        {"*pX", 1e308, 0}, {"*pX", -1e308, 1},  // saturated, never infinite
        {"(sP", 1, 0}, {")sP", 1, 0},
    };
    ASSERT_EQ(calls.size(), std::size(want));
    for (size_t i = 0; i < calls.size(); ++i) {
        EXPECT_EQ(calls[i].key, want[i].key) << i;
        EXPECT_DOUBLE_EQ(calls[i].value, want[i].value) << i;
        EXPECT_EQ(calls[i].movetype, want[i].movetype) << i;
    }
    EXPECT_EQ(calls[13].fontind, 0);
    EXPECT_EQ(calls[14].fontind, 1);
    EXPECT_EQ(movetype, 0);
}

TEST_F(EscapeParser, InterruptedRunsUseConstantStack)
{
    std::string bytes;
    for (int i = 0; i < 500000; ++i)
        bytes += "\x1b&l1";
    for (int i = 0; i < 500000; ++i)
        bytes += "\x1b*p";
    bytes += "\x1b&l2A";
    Recorder a("&lA");
    run_pcl(bytes, 0);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].value, 2.0);
}

TEST_F(EscapeParser, EffectsOfTwoCharacterEscapes)
{
    env.left_margin = 7200;
    env.right_margin = 36000;
    int32_t const y = env.cur_y;
    run_pcl("\x1b=\x1b" "9");
    EXPECT_EQ(env.cur_y, y + env.vmi / 2);
    EXPECT_EQ(env.left_margin, 0);
    EXPECT_EQ(env.right_margin, env.page_width);
    env.cur_x = 12345;
    run_pcl("\x1b" "E");
    EXPECT_EQ(env.cur_x, default_env.cur_x);
}

TEST_F(EscapeParser, MacroDefinitionRecordsWithoutExecuting)
{
    Recorder o("&lO"), f("&fX");
    env.left_margin = 7200;
    int32_t const y = env.cur_y;
    int32_t const symset = font[0].symset;
    in_macro_definition = 1;
    run_pcl("\x1b&l1O\x1b(8U\x1b%1A\x1b(3@\x1b" "9\x1b=\x1b(0N");
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(env.left_margin, 7200);
    EXPECT_EQ(env.cur_y, y);
    EXPECT_EQ(font[0].symset, symset);
    // Macro control still acts.
    run_pcl("\x1b&f1X");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].key, "&fX");
}

}  // namespace
