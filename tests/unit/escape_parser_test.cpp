// The parser's stack stays flat however many sequences are cut short, and a
// macro definition records commands without acting on them. Parameter forms
// (signs, points, decimals, huge values) are the esc_values golden case.
#include <random>
#include <string>
#include <vector>

#include "converter_test.h"

namespace {

class EscapeParser : public ::testing::Test {
protected:
    void SetUp() override { reset_converter(); }
    void TearDown() override { tarvo_reset(); }
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
    run_pcl("\x1b&l1O\x1b(8U\x1b%1A\x1b(3@\x1b"
            "9\x1b=\x1b(0N\x1b&l2A",
            0);
    EXPECT_TRUE(before == env);
    EXPECT_EQ(font[0].symset, symset);
    run_pcl("\x1b&f1X", 0);  // macro control still acts
    EXPECT_EQ(in_macro_definition, 0);
}

// The value a command receives for its digits, by the plain rule: each
// integer digit is added to ten times the double so far (held at 1e308),
// the first nine decimals add d / 10^k, signs flip, a second point starts
// the decimals over.
double reference_value(std::string const& text)
{
    double value = 0, sign = 1;
    int64_t divisor = 0;
    for (char c : text) {
        if (c >= '0' && c <= '9') {
            if (divisor == 0) {
                value = value * 10 + (c - '0');
                if (!(value <= 1e308))
                    value = 1e308;
            } else if (divisor <= 1000000000) {
                value += static_cast<double>(c - '0') / static_cast<double>(divisor);
                divisor *= 10;
            }
        } else if (c == '-') {
            sign = -sign;
        } else if (c == '.') {
            divisor = 10;
        }
    }
    return sign * value;
}

double received;
void record_value(double value) { received = value; }

TEST_F(EscapeParser, ValuesAreTheExactDecimalAccumulation)
{
    // Lengths around 2^53 (where a double stops holding every integer),
    // long runs of nines, decimals after long integers, signs and points
    // anywhere, and numbers far beyond the largest double.
    pcl_cmd* row = hash_lookup("&lX");
    ASSERT_NE(row, nullptr);
    pcl_handler const saved = row->handler;
    row->handler = record_value;
    std::vector<std::string> texts;
    for (char const* head : {"9007199254740993", "900719925474099", "9007199254740991", "1", "7"})
        for (int extra = 0; extra < 5; ++extra)
            texts.push_back(std::string(head) + std::string(static_cast<size_t>(extra), '7'));
    for (int n = 1; n < 40; ++n)
        texts.push_back(std::string(static_cast<size_t>(n), '9'));
    // Beyond 2^53 each step rounds: random digits of 15 to 22 places show
    // whether the rounding happened step by step.
    std::mt19937 rng(17);
    for (int i = 0; i < 3000; ++i) {
        std::string t(15 + rng() % 8, '0');
        for (char& c : t)
            c = static_cast<char>('0' + rng() % 10);
        texts.push_back(t);
    }
    for (char const* t : {"123456789012345678.25", "-90071992547409931.5", "1+2", "12.5.5", "+-3",
                          "0000000000000000000000012", "18446744073709551617", "1.0000000001234"})
        texts.push_back(t);
    texts.push_back(std::string(400, '8'));
    texts.push_back(std::string(320, '1') + ".5");
    for (std::string const& t : texts) {
        received = -1;
        run_pcl("\x1b&l" + t + "X", 0);
        EXPECT_EQ(received, reference_value(t)) << t;
    }
    row->handler = saved;
}

}  // namespace
