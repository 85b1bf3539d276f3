#include "pcl/ps/barcodes.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "config_store.h"
#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "pcl/glyph_map.h"
#include "pcl/ps/document.h"
#include "pcl/ps/text_emitter.h"
#include "pcl/ps/writer.h"
#include "pcl/text_buffer.h"
#include "run_mode.h"

// The barcode library defines each encoder as a named resource of this
// category (its "%%BeginResource:" lines name it too).
char const* const BARCODE_RESOURCE_CATEGORY = "uk.co.terryburton.bwipp";

namespace {

constexpr size_t ENCODER_MAX = 31;
constexpr size_t OPTIONS_MAX = 255;

// Encoders whose bar height follows the font unless the description says
// otherwise.
constexpr std::array<std::string_view, 6> AUTO_HEIGHT_ENCODERS = {
    "code39", "code39ext", "code93", "code93ext", "code128", "interleaved2of5"};

struct barcode_desc {
    std::string encoder;
    bool auto_height = false;
    double scale = 0;  // 0: no scaling
    std::string options;
};

bool is_blank(char c) { return c == ' ' || c == '\t'; }

bool starts_with(std::string_view s, std::string_view prefix)
{
    return s.substr(0, prefix.size()) == prefix;
}

// "encoder [word ...]": the encoder name, then width=/scale=/height= words
// until the first other word, which starts the encoder's option string.
barcode_desc parse_description(char const* text)
{
    barcode_desc d;
    std::string_view rest(text);
    auto skip_blanks = [&rest] {
        while (!rest.empty() && is_blank(rest.front()))
            rest.remove_prefix(1);
    };
    auto next_word = [&rest] {
        size_t end = 0;
        while (end < rest.size() && !is_blank(rest[end]))
            ++end;
        std::string_view word = rest.substr(0, end);
        rest.remove_prefix(end);
        return word;
    };

    skip_blanks();
    std::string_view name = next_word();
    d.encoder = std::string(name.substr(0, ENCODER_MAX));
    for (std::string_view e : AUTO_HEIGHT_ENCODERS)
        if (d.encoder == e)
            d.auto_height = true;

    for (;;) {
        skip_blanks();
        if (rest.empty())
            break;
        std::string_view word = rest;
        std::string_view w = next_word();
        if (starts_with(w, "width=") || starts_with(w, "scale=")) {
            std::string num(w.substr(6));
            double v = std::strtod(num.c_str(), nullptr);
            // A scale that is not a finite number cannot be drawn; take it as none.
            d.scale = std::isfinite(v) ? v : 0;
        } else if (w == "height=font") {
            d.auto_height = true;
        } else if (starts_with(w, "height=no") || starts_with(w, "height=def")) {
            d.auto_height = false;
        } else {
            if (starts_with(w, "height="))
                d.auto_height = false;
            d.options = std::string(word.substr(0, OPTIONS_MAX));
            break;
        }
    }
    return d;
}

}  // namespace

int ps_barcode_run(uint16_t const* codes, int count)
{
    if (!ps_barcode || !ps_out_ready())
        return 0;
    pcl_font const& f = active_font();
    char item[16];
    std::snprintf(item, sizeof item, "%d", static_cast<int>(f.typeface));
    char const* text = config_get_option("BARCODE", item, nullptr);
    if (!text || !*text)
        return 0;
    barcode_desc d = parse_description(text);
    if (d.encoder.empty())
        return 0;

    cbuf_drop_underline();
    if (env.pos_changed) {
        ps_put_pos(ps_x(c_buf_curX), ps_y(env.cur_y));
        ps_put(' ');
        env.pos_changed = 0;
    }
    if (d.scale != 0) {
        ps_put("gsave ");
        ps_put_nums({d.scale, d.scale});
        ps_put(" scale\n");
    }
    ps_put('(');

    int begin = 0, end = count > 0 ? count : 0;
    if (d.encoder == "code39" && end > 0) {
        // The start/stop asterisks are drawn by the encoder itself.
        if (codes[0] == '*') {
            begin = 1;
            if (end > 1 && codes[end - 1] != 0)
                --end;
        } else if (codes[end - 1] == '*') {
            --end;
        }
    }
    for (int i = begin; i < end; ++i) {
        unsigned ps_code = 0;
        ps_map_lookup(codes[i], ps_font_enc, &ps_code);
        // A character the font's encoding cannot address becomes a space:
        // a barcode's data has no glyph fallback.
        ps_put_str_byte(ps_code >= 0x20 && ps_code <= 0xFF ? ps_code : ' ');
    }
    ps_put(") (");

    // The option string reaches the encoder exactly as configured: the
    // string literal's special characters are escaped.
    if (d.auto_height) {
        ps_put("height=");
        ps_put_num(d.scale != 0 ? f.point_size / d.scale / 72 : f.point_size / 72);
        if (!d.options.empty())
            ps_put(' ');
    }
    for (unsigned char c : d.options)
        ps_put_str_byte(c);

    ps_put(") /");
    ps_put(d.encoder);
    ps_put(" /");
    ps_put(BARCODE_RESOURCE_CATEGORY);
    ps_put(" findresource exec\n");
    if (d.scale != 0)
        ps_put("grestore\n");
    env.pos_changed = 1;
    return 1;
}
