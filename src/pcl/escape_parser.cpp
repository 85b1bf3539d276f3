#include "pcl/escape_parser.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <limits>

#include "common/numeric.h"
#include "pcl/command_table.h"
#include "pcl/cursor.h"
#include "pcl/data_blocks.h"
#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "pcl/input.h"
#include "pcl/macros.h"
#include "pcl/passages.h"
#include "run_mode.h"
#include "symbol_sets.h"

int movetype;
int fontind;

namespace {

constexpr int END_OF_INPUT = -1;
// Largest magnitude a command value reaches from its digits; further
// integer digits saturate here instead of overflowing to infinity.
constexpr double max_value = 1e308;
// Divisor of the last decimal that still counts: nine decimals are kept,
// later ones are ignored.
constexpr int64_t max_divisor = 1000000000;
// Integer digits are gathered in an integer while the next step stays below
// 2^53: up to there every step of the decimal accumulation in a double is
// exact as well, so both give the same value. Longer numbers go on in the
// double.
constexpr uint64_t max_exact_whole = ((uint64_t{1} << 53) - 10) / 10;

bool is_digit(int c) { return c >= '0' && c <= '9'; }
bool is_upper_terminator(int c) { return c >= '@' && c <= 'Z'; }
bool is_lower_terminator(int c) { return c >= 'a' && c <= 'z'; }

// Prefix and visibility of a trace line under the macro-definition rule:
// shown at level 1 normally, at level 2 with one blank while a macro is
// being recorded.
struct trace_rule {
    bool show;
    char const* prefix;
};

trace_rule macro_rule()
{
    if (in_macro_definition == 0)
        return {verbose >= 1, ""};
    return {verbose >= 2, " "};
}

// Reads the decimal digits that follow `c` (itself a digit) and returns
// the number, saturating at INT32_MAX; *term receives the first non-digit.
int32_t read_number(int c, int* term)
{
    int64_t n = 0;
    while (is_digit(c)) {
        n = n * 10 + (c - '0');
        if (n > std::numeric_limits<int32_t>::max())
            n = std::numeric_limits<int32_t>::max();
        c = pcl_next_char();
    }
    *term = c;
    return static_cast<int32_t>(n);
}

// The data kind of a command that carries a data block, or 0.
int data_kind(char const* key)
{
    struct entry {
        char const* key;
        int kind;
    };
    static constexpr entry kinds[] = {
        {"*bW", RASTER_ROW},
        {"*vW", IMAGE_CONFIG},
        {"*bV", RASTER_PLANE},
        {"&pX", TRANSPARENT_PRINT},
        {")sW", FONT_HEADER},
        {"(sW", FONT_CHARACTER},
        {"(fW", SYMSET_DEFINITION},
        {"*cW", PATTERN},
        {"&nW", PAPER_TYPE},
        {"&pW", PS_VERBATIM},
        // Raster configuration, colour tables, illuminant, dither matrices,
        // driver configuration and I/O configuration: skipped.
        {"*gW", SKIPPED_CONFIG},
        {"*lW", SKIPPED_CONFIG},
        {"*iW", SKIPPED_CONFIG},
        {"*mW", SKIPPED_CONFIG},
        {"*oW", SKIPPED_CONFIG},
        {"&bW", SKIPPED_CONFIG},
    };
    // Every key has three characters and ends in W, V or X; most commands
    // carry no data and leave at that test. Comparing the characters (the
    // first one, which tells most commands apart, first) is the rest.
    static_assert([] {
        for (entry const& e : kinds)
            if (e.key[2] != 'W' && e.key[2] != 'V' && e.key[2] != 'X')
                return false;
        return true;
    }());
    if ((key[2] != 'W' && key[2] != 'V' && key[2] != 'X') || key[3] != '\0')
        return 0;
    // Copies, positions and macro control (&lX, *pX, &fX) end in X too: a table of the
    // first two characters' low bits (which keep & * ( ) % apart) sends
    // them away before the comparisons.
    auto pair_slot = [](char p, char g) {
        return (static_cast<unsigned>(p) & 7u) * 32u + (static_cast<unsigned>(g) & 31u);
    };
    static constexpr auto may_carry = [&] {
        std::array<bool, 256> slots{};
        for (entry const& e : kinds)
            slots[pair_slot(e.key[0], e.key[1])] = true;
        return slots;
    }();
    if (!may_carry[pair_slot(key[0], key[1])])
        return 0;
    for (entry const& e : kinds)
        if (e.key[0] == key[0] && e.key[1] == key[1] && e.key[2] == key[2] && key[3] == '\0')
            return e.kind;
    return 0;
}

// The trace text of a value with a name table: the name of the truncated
// value (index 0 for values up to 0), or null when the table is shorter.
char const* value_name(char const* const* names, double value)
{
    int32_t n = to_int(value);
    if (n <= 0)
        return names[0];
    for (int32_t i = 0; i <= n; ++i)
        if (names[i] == nullptr)
            return nullptr;
    return names[n];
}

// Parses the value/terminator groups of a parameterized sequence.
// Returns true when an ESC interrupted the sequence: the caller then parses
// the escape sequence it starts.
bool parse_groups(char p, char g)
{
    for (;;) {
        uint64_t whole = 0;
        bool in_double = false;  // the value is in `value`, no longer in `whole`
        double value = 0.0;
        int64_t divisor = 0;
        double sign = 1.0;
        movetype = 0;
        // Reading a group changes nothing that decides how bytes are read:
        // whether they come straight from the input is settled once per group
        // (the command at its end may change it).
        bool const direct = input_is_direct() && !utf8_text_method();
        for (;;) {
            int c = direct ? getc_unlocked(infp) : pcl_get_char();
            if (is_digit(c)) {
                int d = c - '0';
                if (!in_double && whole <= max_exact_whole) {
                    whole = whole * 10 + static_cast<uint64_t>(d);
                } else if (divisor == 0) {
                    if (!in_double) {
                        value = static_cast<double>(whole);
                        in_double = true;
                    }
                    value = value * 10 + d;
                    if (!(value <= max_value))
                        value = max_value;
                } else if (divisor <= max_divisor) {
                    value += static_cast<double>(d) / static_cast<double>(divisor);
                    divisor *= 10;
                }
                continue;
            }
            if (!in_double) {
                value = static_cast<double>(whole);
                in_double = true;
            }
            if (c == '+') {
                movetype = 1;
            } else if (c == '-') {
                sign = -sign;
                movetype = 1;
            } else if (c == '.') {
                divisor = 10;
            } else if (is_upper_terminator(c) || is_lower_terminator(c)) {
                interp(p, g, static_cast<char>(c), sign * value);
                if (is_upper_terminator(c)) {
                    movetype = 0;
                    return false;
                }
                break;  // next group
            } else if (c == END_OF_INPUT) {
                if (verbose >= 1)
                    std::printf("Unknown: <ESC>%c%c%g<%02x> (bad)\n", p, g, sign * value, 0xff);
                movetype = 0;
                return false;
            } else {
                movetype = 0;
                if (value == 0 && c == ESC)
                    return true;
                if (verbose >= 1)
                    std::printf("Unknown: <ESC>%c%c%g<%02x> (bad)\n", p, g, sign * value,
                                static_cast<unsigned>(c));
                return c == ESC;
            }
        }
    }
}

// ESC ( and ESC ): symbol set, font ID, or a parameterized font sequence.
// `which` is 0 for the primary font, 1 for the secondary one.
bool parse_font_form(int which)
{
    char const paren = which == 0 ? '(' : ')';
    int c = pcl_get_char();
    int32_t n;
    int t;
    if (is_digit(c)) {
        n = read_number(c, &t);
    } else if (which == 0 && (c == 'X' || c == '@')) {
        n = 0;
        t = c;
    } else {
        fontind = which;
        return parse_groups(paren, static_cast<char>(c));
    }

    trace_rule rule = macro_rule();
    if (t == 'X') {
        if (rule.show)
            std::printf("%s<ESC>%c%d%c -> %s font %d\n", rule.prefix, paren, n, t,
                        which == 0 ? "Primary" : "Secondary", n);
        if (in_macro_definition == 0)
            pcl_font_byid(n, which);
    } else if (t == '@') {
        if (which == 0) {
            if (verbose >= 1)
                std::printf("<ESC>(%d%c -> Primary font value %d\n", n, t, n);
        } else if (rule.show) {
            std::printf("%s<ESC>)%d%c -> Secondary font value %d\n", rule.prefix, n, t, n);
        }
    } else if (is_upper_terminator(t)) {
        int32_t code = sat_add(sat_mul(n, 32), t - 64);
        if (rule.show)
            std::printf("%s<ESC>%c%d%c -> %s: %d%c (%d)\n", rule.prefix, paren, n, t,
                        which == 0 ? "Primary symbol set" : "Secondary Symbol set", n, t, code);
        if (in_macro_definition == 0)
            pcl_symset(code, which);
    } else if (verbose >= 1) {
        std::printf("Unknown: <ESC>%c%d%c\n", paren, n, t);
    }
    return false;
}

// ESC %: universal exit, PCL mode, HP-GL/2 mode, or a parameterized sequence.
bool parse_mode_form()
{
    int c = pcl_get_char();
    if (!is_digit(c) && c != '-')
        return parse_groups('%', static_cast<char>(c));

    bool negative = c == '-';
    if (negative)
        c = pcl_get_char();
    int t;
    int32_t n = read_number(c, &t);
    if (negative)
        n = -n;

    trace_rule rule = macro_rule();
    if (t == 'X' && n == -12345) {
        if (verbose >= 1)
            std::printf("ESC%%-12345X\n");
        pcl_reset();
        parse_pjl();
    } else if (t == 'A') {
        if (rule.show)
            std::printf("%s<ESC>%%%d%c -> PCL mode\n", rule.prefix, n, t);
    } else if (t == 'B') {
        if (rule.show)
            std::printf("%s<ESC>%%%d%c -> HP-GL/2 mode\n", rule.prefix, n, t);
        parse_hpgl(n);
    } else if (verbose >= 1) {
        std::printf("Unknown: <ESC>%%%d%c\n", n, t);
    }
    return false;
}

// Parses one escape sequence after its ESC. Returns true when the sequence
// was cut short by another ESC, whose sequence is to be parsed next.
bool parse_one_escape()
{
    int c = pcl_next_char();
    switch (c) {
    case 'E':
        if (verbose >= 1)
            std::printf("<ESC>%c -> Reset\n", c);
        pcl_reset();
        return false;
    case '9':
        if (verbose >= 1)
            std::printf("<ESC>%c -> Clear Margins\n", c);
        if (in_macro_definition == 0)
            pcl_clear_margins();
        return false;
    case '=':
        if (verbose >= 1)
            std::printf("<ESC>%c -> Half linefeed\n", c);
        if (in_macro_definition == 0)
            pcl_half_lf();
        return false;
    case 'z':
        if (verbose >= 1)
            std::printf("<ESC>%c -> Self test\n", c);
        return false;
    case 'Y':
        if (verbose >= 1)
            std::printf("<ESC>%c -> Display functions on\n", c);
        return false;
    case 'Z':
        if (verbose >= 1)
            std::printf("<ESC>%c -> Display functions off\n", c);
        return false;
    case '&':
    case '*': {
        int g = pcl_next_char();
        return parse_groups(static_cast<char>(c), static_cast<char>(g));
    }
    case '(':
        return parse_font_form(0);
    case ')':
        return parse_font_form(1);
    case '%':
        return parse_mode_form();
    default:
        if (verbose >= 1)
            std::printf("Unknown: <ESC>%02x\n", static_cast<unsigned>(c));
        return false;
    }
}

}  // namespace

void parse_escape()
{
    // A sequence interrupted by ESC continues with the next sequence in
    // this loop, so a long run of broken sequences uses constant stack.
    while (parse_one_escape()) {
    }
}

void multisequence(char p, char g)
{
    if (parse_groups(p, g))
        parse_escape();
}

void interp(char p, char g, char t, double value)
{
    char const f = is_lower_terminator(t) ? static_cast<char>(t - 'a' + 'A') : t;
    char const key[4] = {p, g, f, '\0'};

    pcl_cmd const* row = hash_lookup(key);
    if (row == nullptr) {
        if (verbose >= 1)
            std::printf("Unknown: <ESC>%c%c%g%c\n", p, g, value, f);
    } else {
        bool const macro_control = p == '&' && g == 'f' && f == 'X';
        trace_rule rule = macro_control ? trace_rule{verbose >= 1, ""} : macro_rule();
        if (rule.show) {
            std::printf("%s<ESC>%c%c%g%c -> %s:", rule.prefix, p, g, value, f, row->description);
            if (row->value_names == nullptr) {
                std::printf(" %g\n", value);
            } else if (char const* name = value_name(row->value_names, value)) {
                std::printf(" %s\n", name);
            } else {
                std::printf(" %d\n", to_int(value));
            }
        }
        if (row->handler != nullptr && (in_macro_definition == 0 || macro_control))
            row->handler(value);
    }

    if (int kind = data_kind(key))
        readdesc(kind, to_count(value));
}

void escape_parser_reset()
{
    movetype = 0;
    fontind = 0;
}
