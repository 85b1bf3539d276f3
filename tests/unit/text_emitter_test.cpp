#include <cstdio>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "config_store.h"
#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "pcl/glyph_map.h"
#include "pcl/ps/document.h"
#include "pcl/ps/text_emitter.h"
#include "pcl/text_buffer.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

class TextEmitter : public ::testing::Test {
protected:
    void SetUp() override
    {
        ps_document_reset();
        config_clear();
        env = pcl_env{};
        env.paper_width = 612000;
        env.paper_height = 792000;
        env.page_xofs = 18000;
        env.hmi = 7200;
        env.font_serial = 1;
        font[0] = pcl_font{};
        font[0].symset = 14;
        font[0].pitch = 10;
        font[0].point_size = 12;
        font[0].typeface = 3;
        font[1] = font[0];
        genps = 1;
        cbuf_init();
        out_ = std::make_unique<OutputCapture>();
        ps_ensure_output();
        mark_ = out_->str().size();
    }

    static void SetUpTestSuite() { ps_map_init(); }

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
        return take();
    }

    std::string take()
    {
        std::string const s = out_->str();
        std::string const part = s.substr(mark_);
        mark_ = s.size();
        return part;
    }

    static void change_font() { ++env.font_serial; }

    std::unique_ptr<OutputCapture> out_;
    size_t mark_ = 0;
};

constexpr char kCourierNew[] =
    "/Courier-l1 ISOLatin1Encoding /Courier reencode_font\n"
    "/Courier-l1 findfont 12 scalefont setfont\n";

TEST_F(TextEmitter, FontSelectedOncePerChangeAndPage)
{
    EXPECT_EQ(run(u"one"), std::string(kCourierNew) + "(one)S\n");
    EXPECT_EQ(run(u"two"), "(two)S\n");
    change_font();
    EXPECT_EQ(run(u"three"), "/Courier-l1 findfont 12 scalefont setfont\n(three)S\n");

    // Page 3: selected again, never reencoded again.
    env.page_serial = 2;
    std::string const page = run(u"x");
    EXPECT_NE(page.find("%%Page: 2 2\n/Courier-l1 findfont 12 scalefont setfont\n(x)S\n"), std::string::npos)
        << page;
    EXPECT_EQ(page.find("reencode_font"), std::string::npos);
    EXPECT_EQ(used_font_list, std::vector<std::string>{"Courier"});
}

TEST_F(TextEmitter, FontNamesByTypefaceClassAndVariant)
{
    struct Case {
        int typeface, spacing, stroke, style;
        char const* name;
    };
    Case const cases[] = {
        {3, 0, 0, 0, "Courier"},
        {4148, 1, 3, 1, "Helvetica-BoldOblique"},
        {16602, 1, 0, 0, "Helvetica"},
        {24580, 1, 0, 1, "Helvetica-Oblique"},
        {4101, 1, 0, 1, "Times-Italic"},
        {25093, 1, 1, 0, "Times-Bold"},
        {5, 1, 1, 1, "Times-BoldItalic"},
        {6, 1, 0, 0, "Courier"},
        {4099, 1, 0, 0, "Courier"},
        {-1, 1, 0, 0, "Times-Roman"},       // negative: an "other" number
        {7, 0, -3, 2, "Courier"},           // light stroke, style bit 0 clear
        {99999, 1, 0, 0, "Times-Roman"},
    };
    for (Case const& c : cases) {
        font[0].typeface = c.typeface;
        font[0].spacing = c.spacing;
        font[0].stroke = c.stroke;
        font[0].style = c.style;
        font[0].point_size = 10;
        change_font();
        std::string const s = run(u"a");
        EXPECT_NE(s.find(std::string("/") + c.name + "-l1 findfont "), std::string::npos)
            << c.typeface << " " << c.stroke << " " << c.style << ": " << s;
    }
}

TEST_F(TextEmitter, SymbolAndDingbatsKeepTheirEncodings)
{
    // A configured typeface must not matter for these symbol sets.
    config_add_value("tf4101", "0b0s", "Palatino-Roman");
    config_add_value("tf4101", "width", "50");
    font[0].typeface = 4101;
    font[0].symset = 621;  // 19M
    EXPECT_EQ(run(u"\u03b1"), "/Symbol findfont 12 scalefont setfont\n(a)S\n");
    EXPECT_EQ(ps_font_enc, 1);

    font[0].symset = 173;  // 5M
    change_font();
    EXPECT_EQ(run(u"\u03b1"), "/Symbol findfont 12 scalefont setfont\n(a)S\n");

    font[0].symset = 460;  // 14L
    change_font();
    EXPECT_EQ(run(u"\u2701"), "/ZapfDingbats findfont 12 scalefont setfont\n(!)S\n");
    EXPECT_EQ(ps_font_enc, 2);

    EXPECT_EQ(used_font_list, (std::vector<std::string>{"Symbol", "ZapfDingbats"}));
}

TEST_F(TextEmitter, ConfiguredNamesAndWidths)
{
    font[0].typeface = 4101;
    config_add_value("tf4101", "font", "Fallback");
    config_add_value("tf4101", "font-0b0s", "Second");
    config_add_value("TF4101", "0b0s", "Palatino-Roman");
    EXPECT_EQ(run(u"p"),
              "/Palatino-Roman-l1 ISOLatin1Encoding /Palatino-Roman reencode_font\n"
              "/Palatino-Roman-l1 findfont 12 scalefont setfont\n(p)S\n");

    font[0].style = 1;
    config_add_value("tf4101", "font-0b1s", "Palatino-Italic");
    change_font();
    EXPECT_NE(run(u"i").find("/Palatino-Italic-l1 findfont"), std::string::npos);

    font[0].stroke = 3;
    change_font();
    EXPECT_NE(run(u"b").find("/Fallback-l1 findfont"), std::string::npos);

    // Widths: the specific item first, then the general one; zero or
    // unusable values fall back to 60 percent.
    config_add_value("tf4101", "width", "50");
    config_add_value("tf4101", "width-3b1s", "40");
    change_font();
    EXPECT_NE(run(u"w").find("/Fallback-l1 findfont 18 scalefont setfont"), std::string::npos);
    font[0].stroke = 0;
    change_font();
    EXPECT_NE(run(u"w").find("/Palatino-Italic-l1 findfont 14.4 scalefont setfont"), std::string::npos);

    font[0].typeface = 4148;
    config_add_value("tf4148", "width", "0");
    change_font();
    EXPECT_NE(run(u"z").find("/Helvetica-Oblique-l1 findfont 12 scalefont setfont"), std::string::npos);
    font[0].typeface = 16602;
    config_add_value("tf16602", "width", "-20");
    change_font();
    EXPECT_NE(run(u"z").find("/Helvetica-Oblique-l1 findfont 12 scalefont setfont"), std::string::npos);
}

TEST_F(TextEmitter, SizeRules)
{
    // Fixed spacing follows the HMI: 12 characters per inch give 10 points.
    env.hmi = 6000;
    EXPECT_NE(run(u"f").find("findfont 10 scalefont"), std::string::npos);

    // An HMI of 0 has no pitch; the font keeps its point size.
    env.hmi = 0;
    font[0].point_size = 9;
    change_font();
    EXPECT_NE(run(u"f").find("findfont 9 scalefont"), std::string::npos);

    // Proportional fonts use the point size whatever the HMI.
    env.hmi = 6000;
    font[0].spacing = 1;
    font[0].typeface = 4101;
    font[0].point_size = 10;
    change_font();
    EXPECT_NE(run(u"t").find("/Times-Roman-l1 findfont 10 scalefont setfont\n"), std::string::npos);
}

TEST_F(TextEmitter, ColourWrittenOnChangeAndAfterPageStart)
{
    run(u"a");
    env.fg_color = 0x808080;
    EXPECT_EQ(run(u"g"), "0.501961 setgray\n(g)S\n");
    EXPECT_EQ(run(u"g"), "(g)S\n");
    env.fg_color = 0xFF0000;
    EXPECT_EQ(run(u"r"), "1 0 0 setrgbcolor\n(r)S\n");
    env.fg_color = 0x000000;
    EXPECT_EQ(run(u"k"), "0 setgray\n(k)S\n");

    // showpage resets the colour: red text on a new page is red again.
    env.fg_color = 0xFF0000;
    run(u"r");
    env.page_serial = 1;
    std::string const page = run(u"r");
    EXPECT_NE(page.find("setfont\n1 0 0 setrgbcolor\n(r)S\n"), std::string::npos) << page;
}

TEST_F(TextEmitter, PositionAndUnderline)
{
    run(u"a");
    env.cur_x = 72000;
    env.cur_y = 28800;
    env.pos_changed = 1;
    EXPECT_EQ(run(u"Hello"), "90 763.2 M (Hello)S\n");
    EXPECT_EQ(env.pos_changed, 0);
    env.pos_changed = 1;
    env.cur_x = 0;
    EXPECT_EQ(run(u"Hello", 1), "18 763.2 M 0.75 -1.25 (Hello)U\n");
    EXPECT_EQ(run(u"x", 2), "0.75 -2.5 (x)U\n");
    EXPECT_EQ(emitting, 0);
}

TEST_F(TextEmitter, EscapingAndOctal)
{
    run(u"a");
    EXPECT_EQ(run(u"a(b)\\c"), "(a\\(b\\)\\\\c)S\n");
    EXPECT_EQ(run(u"caf\u00e9 \u00ff\u00a1"), "(caf\\351 \\377\\241)S\n");
    // Control code points are shown as the space.
    EXPECT_EQ(run(u"a\u0085b\u0009c"), "(a b c)S\n");
}

TEST_F(TextEmitter, GlyphShowFallback)
{
    run(u"a");
    EXPECT_EQ(run(u"x\u2022y"), "(x)S /bullet GS (y)S\n");
    EXPECT_EQ(run(u"x\u2022"), "(x)S /bullet GS ()S\n");
    EXPECT_EQ(run(u"\u2022"), "()S /bullet GS ()S\n");
    EXPECT_EQ(run(u"\u4e00"), "()S /.notdef GS ()S\n");
    // Under underlining the operands are repeated for the reopened string;
    // the named glyph itself is not underlined.
    EXPECT_EQ(run(u"x\u2022y", 1), "0.75 -1.25 (x)U /bullet GS 0.75 -1.25 (y)U\n");
    // Greek in a Latin-1 font is shown by name.
    EXPECT_EQ(run(u"\u0410"), "()S /afii10017 GS ()S\n");
}

TEST_F(TextEmitter, LongRunsLargerThanTheWriteBuffer)
{
    run(u"a");
    // A full run of characters shown by name, underlined, produces far more
    // text than one write buffer holds.
    std::u16string const text(CBUF_SIZE, u'\u2022');
    unsigned code = 0;
    std::string const name = ps_map_lookup(0x2022, 0, &code);
    ASSERT_EQ(code, 0u);
    std::string expected = "0.75 -2.5 (";
    for (int i = 0; i < CBUF_SIZE; ++i)
        expected += ")U /" + name + " GS 0.75 -2.5 (";
    expected += ")U\n";
    EXPECT_EQ(run(text, 2), expected);

    std::u16string const octal(CBUF_SIZE, u'\u00e9');
    std::string expected_octal = "(";
    for (int i = 0; i < CBUF_SIZE; ++i)
        expected_octal += "\\351";
    expected_octal += ")S\n";
    EXPECT_EQ(run(octal), expected_octal);
}

TEST_F(TextEmitter, MixedRunsMatchASimpleModel)
{
    run(u"a");
    // Every alignment of plain text against escapes, octal codes, control
    // code points and named glyphs, checked against a one-character-at-a-
    // time model of the string rules.
    std::u16string const pieces[] = {u"(", u")", u"\\", u"\u00e9", u"\u2022", u"\u0085", u"~", u"\u007f", u" "};
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
        } else if (c == 0x85) {
            expected += ' ';
        } else if (c >= 0x7f) {
            char oct[8];
            std::snprintf(oct, sizeof oct, "\\%03o", static_cast<unsigned>(c == 0x7f ? 0x20 : c));
            expected += c == 0x7f ? std::string(" ") : std::string(oct);
        } else {
            expected += static_cast<char>(c);
        }
    }
    expected += ")S\n";
    EXPECT_EQ(run(text), expected);
}

}  // namespace
