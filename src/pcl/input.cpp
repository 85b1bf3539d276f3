#include "pcl/input.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <limits>
#include <memory>
#include <new>
#include <unistd.h>

#include "pcl/environment.h"
#include "pcl/macros.h"
#include "run_mode.h"

getchar_fn getchar_func = getc_only;
int getc_buf[8];
int getc_buf_ofs;
int getc_buf_cnt;

namespace {

uint64_t bytes_read;
int read_error;
char head[8];
size_t head_len;

struct InputSource {
    int fd;
    bool owns_fd;
};

// Reads of the counted input stream go straight to the descriptor; the
// stream's own buffer keeps the calls few. After a failed read every later
// read fails the same way, so a reader that asks again after the end of its
// input does not go on past the damage.
ssize_t source_read(void* cookie, char* buf, size_t size)
{
    auto* src = static_cast<InputSource*>(cookie);
    if (read_error != 0) {
        errno = read_error;
        return -1;
    }
    for (;;) {
        ssize_t const n = ::read(src->fd, buf, size);
        if (n >= 0) {
            bytes_read += static_cast<uint64_t>(n);
            for (ssize_t i = 0; i < n && head_len < sizeof head; ++i)
                head[head_len++] = buf[i];
            return n;
        }
        if (errno != EINTR) {
            read_error = errno;
            return -1;
        }
    }
}

// The stream owns its source: closing the stream takes it back and frees it.
int source_close(void* cookie)
{
    std::unique_ptr<InputSource> const src(static_cast<InputSource*>(cookie));
    return src->owns_fd ? ::close(src->fd) : 0;
}

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
// The plain file reader without trace is inlined.
inline int raw_getc()
{
    if (!lookahead_empty())
        return getc_buf[getc_buf_ofs++];
    if (getchar_func == getc_only && debug == 0) [[likely]]
        return getc_unlocked(infp);
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

FILE* input_open_fd(int fd, bool owns_fd)
{
    std::unique_ptr<InputSource> src(new (std::nothrow) InputSource{fd, owns_fd});
    if (!src) {
        errno = ENOMEM;
        return nullptr;
    }
    cookie_io_functions_t const io{source_read, nullptr, nullptr, source_close};
    FILE* f = fopencookie(src.get(), "rb", io);
    if (f == nullptr)
        return nullptr;
    src.release();  // now the stream's, freed by source_close
    read_error = 0;
    head_len = 0;
    return f;
}

std::string_view input_head() { return {head, head_len}; }

uint64_t input_bytes_read() { return bytes_read; }

void input_allowance_exceeded(bool& reported, char const* what, uint64_t allowance,
                              char const* then)
{
    if (reported)
        return;
    reported = true;
    std::fflush(stdout);
    std::fprintf(stderr, "%s: %s: %s more than %" PRIu64 " bytes; %s\n",
                 progname ? progname : "tarvo", in_name ? in_name : "input", what, allowance, then);
}

uint64_t input_allowance(uint64_t base, uint64_t per_byte, uint64_t start)
{
    uint64_t const input = bytes_read - std::min(start, bytes_read);
    uint64_t const max = std::numeric_limits<uint64_t>::max();
    if (per_byte != 0 && input > (max - std::min(base, max)) / per_byte)
        return max;
    return base + input * per_byte;
}

int input_read_error() { return read_error; }

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
    if (c >= 0x80 && utf8_text_method())
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

void input_clear_lookahead()
{
    getc_buf_ofs = 0;
    getc_buf_cnt = 0;
}

void input_unread(int c)
{
    if (getc_buf_cnt < static_cast<int>(std::size(getc_buf)))
        getc_buf[getc_buf_cnt++] = c;
}

void input_reset()
{
    getchar_func = getc_only;
    input_clear_lookahead();
    std::fill(std::begin(getc_buf), std::end(getc_buf), 0);
    bytes_read = 0;
    read_error = 0;
    head_len = 0;
}

void pcl_skip(unsigned count)
{
    while (count > 0 && !lookahead_empty()) {
        --count;
        if (raw_getc() < 0)
            return;
    }
    if (input_is_direct()) {
        // Straight from the file, a buffer at a time.
        char scratch[16384];
        while (count > 0) {
            size_t const want = std::min<size_t>(count, sizeof scratch);
            size_t const got = fread_unlocked(scratch, 1, want, infp);
            count -= static_cast<unsigned>(got);
            if (got < want)
                return;
        }
        return;
    }
    while (count > 0) {
        --count;
        if (raw_getc() < 0)
            return;
    }
}

size_t pcl_read(unsigned char* dst, size_t count)
{
    size_t done = 0;
    while (done < count && !lookahead_empty()) {
        int c = raw_getc();
        if (c < 0)
            return done;
        dst[done++] = static_cast<unsigned char>(c);
    }
    if (input_is_direct())
        return done + fread_unlocked(dst + done, 1, count - done, infp);
    while (done < count) {
        int c = raw_getc();
        if (c < 0)
            break;
        dst[done++] = static_cast<unsigned char>(c);
    }
    return done;
}
