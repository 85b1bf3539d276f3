#include "pcl/ps/writer.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <unistd.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "run_mode.h"

FILE* outfp;

namespace ps_out_detail {
char buf[kCapacity];
size_t len;
size_t limit;
}  // namespace ps_out_detail

using namespace ps_out_detail;

namespace {

int first_error;
ps_out_error_handler error_handler;

// Whether the document and the traces go to standard output together.
bool shares_trace_output() { return outfp == stdout && (verbose != 0 || debug != 0); }

void record_error()
{
    if (first_error != 0)
        return;
    first_error = errno != 0 ? errno : EIO;
    if (error_handler)
        error_handler(first_error);
}

// Writes a large block to the stream's descriptor, after what the stream
// holds: handing it to the stream would only copy it into the stream's
// buffer first. False when the stream has no descriptor (a memory stream)
// or cannot be flushed; the block is then the stream's to write.
bool write_through(char const* data, size_t n)
{
    int const fd = fileno(outfp);
    if (fd < 0 || std::fflush(outfp) != 0)
        return false;
    while (n > 0) {
        ssize_t const done = ::write(fd, data, n);
        if (done < 0) {
            if (errno == EINTR)
                continue;
            record_error();
            return true;
        }
        data += done;
        n -= static_cast<size_t>(done);
    }
    return true;
}

// The one place where the document's bytes are handed to the stream.
void emit(char const* data, size_t n)
{
    if (n == 0 || !outfp)
        return;
    errno = 0;
    if (n >= kCapacity / 4 && write_through(data, n))
        return;
    errno = 0;
    if (std::fwrite(data, 1, n, outfp) != n)
        record_error();
}

constexpr double kPow10[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};

// "00" to "99", for writing two digits at a time.
constexpr auto kDigitPairs = [] {
    std::array<char, 200> t{};
    for (int i = 0; i < 100; ++i) {
        t[2 * i] = static_cast<char>('0' + i / 10);
        t[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return t;
}();

// "%g" of a magnitude `a` from 1e-4 up to below 999999.5, where "%g" uses
// plain decimal notation: the value is scaled to six digits and rounded.
// The product is within 1e-9 of the exact scaled value, so the rounding is
// the exact one unless the scaled value lies that close to a tie; then (and
// when rounding reaches 1e+06) it returns null and the caller takes the
// general conversion.
char* format_plain(double a, char* p)
{
    // Whole numbers (most lengths and positions on a page) are their digits.
    if (auto const whole = static_cast<uint32_t>(a); whole == a)
        return std::to_chars(p, p + 8, whole).ptr;
    // The power of ten of the leading digit. The doubles nearest to 0.1,
    // 0.01, 0.001 and 0.0001 lie above those values, so the comparisons are
    // exact.
    int e;
    if (a >= 1.0)
        e = a >= 1e5 ? 5 : a >= 1e4 ? 4 : a >= 1e3 ? 3 : a >= 1e2 ? 2 : a >= 1e1 ? 1 : 0;
    else
        e = a >= 0.1 ? -1 : a >= 0.01 ? -2 : a >= 0.001 ? -3 : -4;
    double const m = a * kPow10[5 - e];
    auto digits = static_cast<uint32_t>(m);
    double const frac = m - digits;
    if (frac > 0.5 - 1e-7) {
        if (frac < 0.5 + 1e-7)
            return nullptr;
        if (++digits == 1000000) {  // rounded up to the next power of ten
            digits = 100000;
            if (++e > 5)
                return nullptr;
        }
    }
    char d[6];
    std::memcpy(d, &kDigitPairs[2 * (digits / 10000)], 2);
    std::memcpy(d + 2, &kDigitPairs[2 * (digits / 100 % 100)], 2);
    std::memcpy(d + 4, &kDigitPairs[2 * (digits % 100)], 2);
    int last = 5;  // the last digit written: trailing zeros are dropped
    while (last > 0 && d[last] == '0')
        --last;
    if (e >= 0) {
        std::memcpy(p, d, 6);
        p += e + 1;
        if (last > e) {
            *p++ = '.';
            std::memcpy(p, d + e + 1, static_cast<size_t>(5 - e));  // the digits after the point
            p += last - e;
        }
    } else {
        std::memcpy(p, "0.000", 5);
        p += 1 - e;
        std::memcpy(p, d, 6);
        p += last + 1;
    }
    return p;
}

// Writes "%g" of v at p (room for 32 bytes); returns the end.
inline char* format_g(double v, char* p)
{
    v = ps_bounded(v);
    double const a = std::fabs(v);
    if (a == 0.0) {  // a colour level or a side often is
        char* q = p;
        if (std::signbit(v))
            *q++ = '-';
        *q = '0';
        return q + 1;
    }
    if (a >= 1e-4 && a < 999999.5) {
        char* q = p;
        if (std::signbit(v))
            *q++ = '-';
        if (char* end = format_plain(a, q))
            return end;
    }
    return std::to_chars(p, p + 32, v, std::chars_format::general, 6).ptr;
}

}  // namespace

namespace ps_out_detail {

void pass_on()
{
    emit(buf, len);
    len = 0;
    limit = shares_trace_output() ? 0 : kCapacity;
}

void put_large(std::string_view text)
{
    pass_on();
    emit(text.data(), text.size());
}

}  // namespace ps_out_detail

void ps_out_set_stream(FILE* stream) { outfp = stream; }

bool ps_out_ready() { return outfp != nullptr; }

void ps_out_flush()
{
    pass_on();
    if (outfp) {
        errno = 0;
        if (std::fflush(outfp) != 0)
            record_error();
    }
}

int ps_out_fd() { return outfp ? fileno(outfp) : -1; }

int ps_out_error() { return first_error; }

void ps_out_on_error(ps_out_error_handler handler) { error_handler = handler; }

void ps_out_open_failed()
{
    if (error_handler)
        error_handler(0);
}

void ps_out_reset()
{
    len = 0;
    limit = 0;
    first_error = 0;
    error_handler = nullptr;
    outfp = nullptr;
}

void ps_put_int(long long v)
{
    char* p = ps_out_reserve(24);
    ps_out_commit(std::to_chars(p, p + 24, v).ptr);
}

void ps_put_num(double v)
{
    char* p = ps_out_reserve(32);
    ps_out_commit(format_g(v, p));
}

void ps_put_nums(std::initializer_list<double> values)
{
    char* p = ps_out_reserve(33 * values.size());
    bool first = true;
    for (double v : values) {
        if (!first)
            *p++ = ' ';
        first = false;
        p = format_g(v, p);
    }
    ps_out_commit(p);
}

void ps_put_pos(double x, double y)
{
    char* p = ps_out_reserve(68);
    p = format_g(x, p);
    *p++ = ' ';
    p = format_g(y, p);
    std::memcpy(p, " M", 2);
    ps_out_commit(p + 2);
}

size_t ps_put_plain_ascii(uint16_t const* codes, size_t n)
{
    size_t const cap = kCapacity / 4;
    if (n > cap)
        n = cap;
    char* const p = ps_out_reserve(n);
    size_t i = 0;
#if defined(__SSE2__)
    __m128i const lo = _mm_set1_epi16(0x1f);
    __m128i const hi = _mm_set1_epi16(0x7f);
    __m128i const open = _mm_set1_epi16('(');
    __m128i const close = _mm_set1_epi16(')');
    __m128i const backslash = _mm_set1_epi16('\\');
    for (; i + 8 <= n; i += 8) {
        __m128i const v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(codes + i));
        // Code points from 0x8000 up compare as negative and fail the
        // lower bound.
        __m128i const in_range = _mm_and_si128(_mm_cmpgt_epi16(v, lo), _mm_cmplt_epi16(v, hi));
        __m128i const special =
            _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi16(v, open), _mm_cmpeq_epi16(v, close)),
                         _mm_cmpeq_epi16(v, backslash));
        if (_mm_movemask_epi8(_mm_andnot_si128(special, in_range)) != 0xffff)
            break;
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p + i), _mm_packus_epi16(v, v));
    }
#endif
    for (; i < n; ++i) {
        unsigned const c = codes[i];
        if (c - 0x20u >= 0x5fu || c == '(' || c == ')' || c == '\\')
            break;
        p[i] = static_cast<char>(c);
    }
    ps_out_commit(p + i);
    return i;
}

void ps_put_rect_path(double x, double y, double w, double h)
{
    auto text = [](char* p, std::string_view t) {
        std::memcpy(p, t.data(), t.size());
        return p + t.size();
    };
    // The sides back are the sides out negated: their text is the same
    // with the sign changed, so each is formatted once.
    auto negated = [](char* p, char const* from, char const* to) {
        if (*from == '-')
            ++from;
        else
            *p++ = '-';
        std::memcpy(p, from, static_cast<size_t>(to - from));
        return p + (to - from);
    };
    char* p = ps_out_reserve(256);
    p = text(p, "newpath\n");
    p = format_g(x, p);
    *p++ = ' ';
    p = format_g(y, p);
    p = text(p, " moveto\n0 ");
    char* const h_text = p;
    p = format_g(h, p);
    char* const h_end = p;
    p = text(p, " rlineto\n");
    char* const w_text = p;
    p = format_g(w, p);
    char* const w_end = p;
    p = text(p, " 0 rlineto\n0 ");
    // A NaN is written as 0 whatever its sign, unlike a zero.
    p = std::isnan(h) ? format_g(-h, p) : negated(p, h_text, h_end);
    p = text(p, " rlineto\n");
    p = std::isnan(w) ? format_g(-w, p) : negated(p, w_text, w_end);
    ps_out_commit(text(p, " 0 rlineto\nclosepath\n"));
}

int ps_put_rest_of(FILE* in)
{
    constexpr size_t kBlock = 8192;
    int last = -1;
    for (;;) {
        char* p = ps_out_reserve(kBlock);
        size_t const n = std::fread(p, 1, kBlock, in);
        if (n == 0)
            break;
        last = static_cast<unsigned char>(p[n - 1]);
        ps_out_commit(p + n);
    }
    return last;
}
