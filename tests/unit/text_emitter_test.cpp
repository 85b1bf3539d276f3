// String building of the text writer against a one-character-at-a-time
// model, on runs as long as the text buffer (more output than one write
// buffer holds). Font selection, sizes, colours, escapes and named glyphs in
// ordinary runs are pinned by the ps_text and ps_font_* golden cases.
#include <cstdio>
#include <iterator>
#include <memory>
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

class TextEmitter : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ps_map_init(); }
    void SetUp() override
    {
        reset_ps_state();
        out_ = std::make_unique<OutputCapture>();
        run(u"a");  // document started, font selected
    }
    void TearDown() override
    {
        out_.reset();
        genps = 0;
    }
    // Writes one run and returns what it produced.
    std::string run(std::u16string const& text, int ul = 0)
    {
        c_buf_ul = ul;
        c_buf_curX = env.cur_x;
        ps_flush(reinterpret_cast<uint16_t const*>(text.data()), static_cast<int>(text.size()));
        std::string const s = out_->str();
        std::string const part = s.substr(mark_);
        mark_ = s.size();
        return part;
    }
    std::unique_ptr<OutputCapture> out_;
    size_t mark_ = 0;
};

TEST_F(TextEmitter, FullRunsOfNamedGlyphsAndOctalCodes)
{
    // Every character shown by name under underlining repeats the operands.
    std::string expected = "0.75 -2.5 (";
    for (int i = 0; i < CBUF_SIZE; ++i)
        expected += ")U /bullet GS 0.75 -2.5 (";
    expected += ")U\n";
    EXPECT_EQ(run(std::u16string(CBUF_SIZE, u'\u2022'), 2), expected);
    std::string octal = "(";
    for (int i = 0; i < CBUF_SIZE; ++i)
        octal += "\\351";
    octal += ")S\n";
    EXPECT_EQ(run(std::u16string(CBUF_SIZE, u'\u00e9')), octal);
    EXPECT_EQ(emitting, 0);
}

TEST_F(TextEmitter, MixedRunsMatchASimpleModel)
{
    // Every alignment of plain text against escapes, octal codes, control
    // code points and named glyphs.
    std::u16string const pieces[] = {u"(", u")", u"\\", u"\u00e9", u"\u2022", u"\u0085", u"~", u"\u007f", u" ", u"\t"};
    std::u16string text;
    for (int i = 0; text.size() < CBUF_SIZE; ++i) {
        text += std::u16string(static_cast<size_t>(i % 19), u'a' + static_cast<char16_t>(i % 26));
        text += pieces[static_cast<size_t>(i) % std::size(pieces)];
    }
    text.resize(CBUF_SIZE);
    std::string expected = "(";
    for (char16_t c : text) {
        if (c == u'\u2022') {
            expected += ")S /bullet GS (";
        } else if (c == u'(' || c == u')' || c == u'\\') {
            expected += '\\';
            expected += static_cast<char>(c);
        } else if (c < 0x20 || (c >= 0x7f && c <= 0x9f)) {
            expected += ' ';  // control code points show as the space
        } else if (c > 0x7f) {
            char oct[8];
            std::snprintf(oct, sizeof oct, "\\%03o", static_cast<unsigned>(c));
            expected += oct;
        } else {
            expected += static_cast<char>(c);
        }
    }
    expected += ")S\n";
    EXPECT_EQ(run(text), expected);
}

}  // namespace
