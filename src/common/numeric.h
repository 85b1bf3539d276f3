// Checked numeric conversions. Every command value is a double that input
// can make huge, tiny, negative or NaN; it becomes an integer only through
// these helpers, which truncate toward zero and saturate instead of
// overflowing.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

// Truncates toward zero into the int32 range; NaN gives 0, values beyond the
// range give the nearest limit.
constexpr int32_t to_int(double v) noexcept
{
    if (v != v)
        return 0;
    if (v >= 2147483647.0)
        return std::numeric_limits<int32_t>::max();
    if (v <= -2147483648.0)
        return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(v);
}

// Clamps a 64-bit intermediate into the int32 range.
constexpr int32_t sat32(int64_t v) noexcept
{
    if (v > std::numeric_limits<int32_t>::max())
        return std::numeric_limits<int32_t>::max();
    if (v < std::numeric_limits<int32_t>::min())
        return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(v);
}

constexpr int32_t sat_mul(int32_t a, int32_t b) noexcept
{
    return sat32(static_cast<int64_t>(a) * b);
}

constexpr int32_t sat_add(int32_t a, int32_t b) noexcept
{
    return sat32(static_cast<int64_t>(a) + b);
}

constexpr int32_t sat_sub(int32_t a, int32_t b) noexcept
{
    return sat32(static_cast<int64_t>(a) - b);
}

// Integer division that never traps: a zero divisor gives 0, and
// INT32_MIN / -1 saturates.
constexpr int32_t safe_div(int32_t a, int32_t b) noexcept
{
    if (b == 0)
        return 0;
    return sat32(static_cast<int64_t>(a) / b);
}

// The byte count of a data block: the value truncated to an integer and
// taken as an unsigned 32-bit number, so -1 asks for 4294967295 bytes.
constexpr uint32_t to_count(double v) noexcept { return static_cast<uint32_t>(to_int(v)); }
