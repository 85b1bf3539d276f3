// String building of the text writer against a one-character-at-a-time
// model, on runs as long as the text buffer (more output than one write
// buffer holds). Font selection, sizes, colours, escapes and named glyphs in
// ordinary runs are pinned by the ps_text and ps_font_* golden cases.
#include <cstdio>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "pcl/environment.h"
#include "pcl/glyph_map.h"
#include "pcl/ps/document.h"
#include "pcl/ps/text_emitter.h"
#include "pcl/text_buffer.h"
#include "ps_support.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

TEST(TextEmitter, FullRunsMatchASimpleModel)
{
    ps_map_init();
    reset_ps_state();
    auto run = [&](std::u16string const& text, int ul) {
        OutputCapture out;
        c_buf_ul = ul;
        c_buf_curX = env.cur_x;
        ps_flush(reinterpret_cast<uint16_t const*>(text.data()), static_cast<int>(text.size()));
        return out.str();
    };
    run(u"a", 0);  // document started, font selected
    // Every character shown by name under underlining is underlined by UG,
    // defined once on the page, and repeats the operands.
    std::string const underlined = run(std::u16string(CBUF_SIZE, u'\u2022'), 2);
    std::string const definition_end = "} bind def\n";
    size_t const body = underlined.find(definition_end);
    ASSERT_NE(body, std::string::npos);
    EXPECT_EQ(underlined.substr(0, 18), "0.75 -2.5 ()U\n/UG ");
    std::string expected = "0.75 -2.5 {/bullet GS} UG 0.75 -2.5 (";
    for (int i = 1; i < CBUF_SIZE; ++i)
        expected += ")U 0.75 -2.5 {/bullet GS} UG 0.75 -2.5 (";
    expected += ")U\n";
    EXPECT_EQ(underlined.substr(body + definition_end.size()), expected);
    EXPECT_EQ(emitting, 0);

    // Every alignment of plain text against escapes, octal codes, control
    // code points and named glyphs.
    std::u16string const pieces[] = {u"(",      u")", u"\\",     u"\u00e9", u"\u2022",
                                     u"\u0085", u"~", u"\u007f", u" ",      u"\t"};
    std::u16string text;
    for (int i = 0; text.size() < CBUF_SIZE; ++i) {
        text += std::u16string(static_cast<size_t>(i % 19), u'a' + static_cast<char16_t>(i % 26));
        text += pieces[static_cast<size_t>(i) % std::size(pieces)];
    }
    text.resize(CBUF_SIZE);
    std::string model = "(";
    for (char16_t c : text) {
        if (c == u'\u2022') {
            model += ")S /bullet GS (";
        } else if (c == u'(' || c == u')' || c == u'\\') {
            model += '\\';
            model += static_cast<char>(c);
        } else if (c < 0x20 || (c >= 0x7f && c <= 0x9f)) {
            model += ' ';  // control code points show as the space
        } else if (c > 0x7f) {
            char oct[8];
            std::snprintf(oct, sizeof oct, "\\%03o", static_cast<unsigned>(c));
            model += oct;
        } else {
            model += static_cast<char>(c);
        }
    }
    model += ")S\n";
    EXPECT_EQ(run(text, 0), model);
    genps = 0;
}

}  // namespace
