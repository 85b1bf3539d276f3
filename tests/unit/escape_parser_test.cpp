// The parser's stack stays flat however many sequences are cut short, and a
// macro definition records commands without acting on them. Parameter forms
// (signs, points, decimals, huge values) are the esc_values golden case.
#include "converter_test.h"

namespace {

class EscapeParser : public ::testing::Test {
protected:
    void SetUp() override { reset_converter(); }
    void TearDown() override { in_macro_definition = 0; }
};

TEST_F(EscapeParser, InterruptedRunsUseConstantStack)
{
    std::string bytes;
    for (int i = 0; i < 500000; ++i)
        bytes += "\x1b&l1\x1b*p";
    run_pcl(bytes + "\x1b&l2A", 0);
    EXPECT_STREQ(env.page_name, "LETTER");
}

TEST_F(EscapeParser, MacroDefinitionRecordsWithoutActing)
{
    pcl_env const before = env;
    int32_t const symset = font[0].symset;
    in_macro_definition = 1;
    run_pcl("\x1b&l1O\x1b(8U\x1b%1A\x1b(3@\x1b" "9\x1b=\x1b(0N\x1b&l2A", 0);
    EXPECT_TRUE(before == env);
    EXPECT_EQ(font[0].symset, symset);
    run_pcl("\x1b&f1X", 0);  // macro control still acts
    EXPECT_EQ(in_macro_definition, 0);
}

}  // namespace
