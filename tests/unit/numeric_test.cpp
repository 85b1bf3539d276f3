#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "common/numeric.h"

// Truncation toward zero, saturation at both ends, NaN as zero and guarded
// division: the conversions every command value goes through.
TEST(Numeric, ConversionsTruncateAndSaturate)
{
    EXPECT_EQ(to_int(-1.9), -1);
    EXPECT_EQ(to_int(1e308), INT32_MAX);
    EXPECT_EQ(to_int(-1e308), INT32_MIN);
    EXPECT_EQ(to_int(std::numeric_limits<double>::infinity()), INT32_MAX);
    EXPECT_EQ(to_int(std::nan("")), 0);
    EXPECT_EQ(to_int(-2147483648.5), INT32_MIN);
    EXPECT_EQ(sat_mul(-100000, 100000), INT32_MIN);
    EXPECT_EQ(sat_add(INT32_MAX, 1), INT32_MAX);
    EXPECT_EQ(sat_sub(INT32_MIN, 1), INT32_MIN);
    EXPECT_EQ(safe_div(7, 0), 0);
    EXPECT_EQ(safe_div(INT32_MIN, -1), INT32_MAX);
    EXPECT_EQ(safe_div(-7, 2), -3);
    EXPECT_EQ(to_count(-1), 4294967295u);  // data counts are unsigned 32-bit
    EXPECT_EQ(to_count(1e308), 2147483647u);
}
