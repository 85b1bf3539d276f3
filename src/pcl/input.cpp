#include "pcl/input.h"

#include <cstdio>

#include "pcl/environment.h"
#include "pcl/macros.h"
#include "run_mode.h"

getchar_fn getchar_func = getc_only;
int getc_buf[8];
int getc_buf_ofs;
int getc_buf_cnt;

namespace {

constexpr int kUtf8Method = 83;
constexpr int kUtf8MethodAlt = 1008;

void trace(char const* tag, int c)
{
    if (c < 0)
        std::printf("%s: EOF\n", tag);
    else if (c >= 32 && c <= 127)
        std::printf("%s: %c\n", tag, c);
    else
        std::printf("%s: 0x%02x\n", tag, static_cast<unsigned>(c));
}

// The raw read step: look-ahead characters first, then the input function.
inline int raw_getc()
{
    if (getc_buf_ofs < getc_buf_cnt && static_cast<unsigned>(getc_buf_ofs) < 8u)
        return getc_buf[getc_buf_ofs++];
    return getchar_func();
}

// Decodes the rest of a UTF-8 sequence whose lead byte is `lead` (>= 0x80).
// Every malformed sequence gives one '?'; a bad continuation byte is
// consumed with it.
int decode_utf8(int lead)
{
    int value;
    int more;
    if ((lead & 0xE0) == 0xC0) {
        value = lead & 0x1F;
        more = 1;
    } else if ((lead & 0xF0) == 0xE0) {
        value = lead & 0x0F;
        more = 2;
    } else {
        return '?';
    }
    while (more-- > 0) {
        int b = raw_getc();
        if (b < 0 || (b & 0xC0) != 0x80)
            return '?';
        value = (value << 6) | (b & 0x3F);
    }
    // A lead byte without payload bits starts an overlong form.
    if (lead == 0xC0 || lead == 0xE0)
        return '?';
    return value;
}

}  // namespace

int getc_only()
{
    int c = getc_unlocked(infp);
    if (debug) [[unlikely]]
        trace("in", c);
    return c;
}

int getc_copy()
{
    int c = getc_only();
    if (c >= 0)
        mac_buf_add(c);
    return c;
}

int pcl_getc() { return raw_getc(); }

int pcl_get_char()
{
    int c = raw_getc();
    if (c >= 0x80 && (env.text_method == kUtf8Method || env.text_method == kUtf8MethodAlt))
        c = decode_utf8(c);
    if (debug) [[unlikely]]
        trace("ch", c);
    return c;
}

void readhex(int count)
{
    for (int i = 0; i < count; ++i)
        raw_getc();
}
