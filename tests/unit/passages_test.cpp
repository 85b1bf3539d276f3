#include "converter_test.h"
#include "pcl/passages.h"

namespace {

class Passages : public ::testing::Test {
protected:
    void SetUp() override
    {
        reset_converter();
        verbose = 1;
    }
    void TearDown() override { reset_converter(); }
};

// What the PJL reader hands back shows in the esc_pjl_* golden cases.
TEST_F(Passages, HpglHandsBackTheEscape)
{
    InputFromString in("IN;\x1b%0A");
    input_unread('Q');  // stale look-ahead is discarded
    capture_stdout([] { parse_hpgl(1); });
    EXPECT_EQ(pcl_getc(), 27);
    EXPECT_EQ(pcl_getc(), '%');

    // Inside a macro definition the statements show only at level 2.
    in_macro_definition = 1;
    InputFromString in1("IN;");
    EXPECT_EQ(capture_stdout([] { parse_hpgl(0); }), "");
    verbose = 2;
    InputFromString in2("IN;");
    EXPECT_EQ(capture_stdout([] { parse_hpgl(0); }), "HP-GL: IN;\n");
}

}  // namespace
