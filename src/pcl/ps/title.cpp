#include "pcl/ps/title.h"

#include <cstdint>
#include <cstdio>
#include <optional>
#include <vector>

namespace {

bool is_control(uint32_t c) { return c < 0x20 || (c >= 0x7F && c <= 0x9F); }

// The code points of a well-formed UTF-8 text (no overlong forms, no
// surrogates, nothing beyond U+10FFFF), or nothing.
std::optional<std::vector<uint32_t>> decode_utf8(std::string_view text)
{
    std::vector<uint32_t> out;
    size_t i = 0;
    while (i < text.size()) {
        auto const b = static_cast<unsigned char>(text[i]);
        int extra;
        uint32_t c;
        uint32_t min;
        if (b < 0x80) {
            extra = 0, c = b, min = 0;
        } else if ((b & 0xE0) == 0xC0) {
            extra = 1, c = b & 0x1F, min = 0x80;
        } else if ((b & 0xF0) == 0xE0) {
            extra = 2, c = b & 0x0F, min = 0x800;
        } else if ((b & 0xF8) == 0xF0) {
            extra = 3, c = b & 0x07, min = 0x10000;
        } else {
            return std::nullopt;
        }
        if (text.size() - i <= static_cast<size_t>(extra))
            return std::nullopt;
        for (int k = 1; k <= extra; ++k) {
            auto const cont = static_cast<unsigned char>(text[i + k]);
            if ((cont & 0xC0) != 0x80)
                return std::nullopt;
            c = c << 6 | (cont & 0x3F);
        }
        if (c < min || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF))
            return std::nullopt;
        out.push_back(c);
        i += static_cast<size_t>(extra) + 1;
    }
    return out;
}

// The characters of a UTF-8 title, control characters as blanks; nothing
// when the title is not UTF-8.
std::optional<std::vector<uint32_t>> title_chars(std::string_view title)
{
    auto chars = decode_utf8(title);
    if (chars)
        for (uint32_t& c : *chars)
            if (is_control(c))
                c = ' ';
    return chars;
}

uint32_t widest(std::vector<uint32_t> const& chars)
{
    uint32_t max = 0;
    for (uint32_t c : chars)
        max = c > max ? c : max;
    return max;
}

std::vector<uint8_t> utf16be_with_bom(std::vector<uint32_t> const& chars)
{
    std::vector<uint8_t> out{0xFE, 0xFF};
    auto unit = [&out](uint32_t u) {
        out.push_back(static_cast<uint8_t>(u >> 8));
        out.push_back(static_cast<uint8_t>(u & 0xFF));
    };
    for (uint32_t c : chars) {
        if (c >= 0x10000) {
            c -= 0x10000;
            unit(0xD800 | (c >> 10));
            unit(0xDC00 | (c & 0x3FF));
        } else {
            unit(c);
        }
    }
    return out;
}

void append_octal(std::string& out, unsigned byte)
{
    char buf[5];
    std::snprintf(buf, sizeof buf, "\\%03o", byte & 0xFFu);
    out += buf;
}

bool is_octal_digit(char c) { return c >= '0' && c <= '7'; }

}  // namespace

std::string ps_dsc_title(std::string_view title)
{
    // A DSC line holds at most 255 characters: the title keeps as many whole
    // characters (with their escapes) as fit after "%%Title: ".
    constexpr size_t room = 255 - sizeof "%%Title: " + 1;
    std::string out;
    std::string piece;
    auto fits = [&out, &piece] {
        if (out.size() + piece.size() > room)
            return false;
        out += piece;
        piece.clear();
        return true;
    };
    if (auto chars = title_chars(title)) {
        if (widest(*chars) <= 0xFF) {
            for (size_t i = 0; i < chars->size(); ++i) {
                uint32_t const c = (*chars)[i];
                if (c >= 0x80 || (c == '\\' && i + 1 < chars->size() && (*chars)[i + 1] >= '0' &&
                                  (*chars)[i + 1] <= '7'))
                    append_octal(piece, c);
                else
                    piece += static_cast<char>(c);
                if (!fits())
                    break;
            }
        } else {
            // The byte-order mark, then each character's whole code units.
            for (uint8_t b : utf16be_with_bom({}))
                append_octal(piece, b);
            if (fits()) {
                for (uint32_t c : *chars) {
                    std::vector<uint8_t> const units = utf16be_with_bom({c});
                    for (size_t k = 2; k < units.size(); ++k)
                        append_octal(piece, units[k]);
                    if (!fits())
                        break;
                }
            }
        }
        return out;
    }
    for (size_t i = 0; i < title.size(); ++i) {
        auto const b = static_cast<unsigned char>(title[i]);
        if (is_control(b))
            piece += ' ';
        else if (b >= 0x80 || (b == '\\' && i + 1 < title.size() && is_octal_digit(title[i + 1])))
            append_octal(piece, b);
        else
            piece += static_cast<char>(b);
        if (!fits())
            break;
    }
    return out;
}

std::string ps_title_string(std::string_view title)
{
    auto chars = title_chars(title);
    if (chars && widest(*chars) >= 0x80) {
        static constexpr char hex[] = "0123456789ABCDEF";
        std::string out = "<";
        for (uint8_t b : utf16be_with_bom(*chars)) {
            out += hex[b >> 4];
            out += hex[b & 0xF];
        }
        return out + ">";
    }
    std::string clean(title);
    for (char& c : clean)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            c = ' ';
    return ps_literal_string(clean);
}

std::string ps_literal_string(std::string_view text)
{
    std::string out = "(";
    for (char c : text) {
        auto const b = static_cast<unsigned char>(c);
        if (c == '\\' || c == '(' || c == ')') {
            out += '\\';
            out += c;
        } else if (b < 0x20 || b >= 0x7F) {
            append_octal(out, b);
        } else {
            out += c;
        }
    }
    return out + ")";
}
