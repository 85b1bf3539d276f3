// The PostScript font of a PCL font follows the configuration as it is at
// each call, though the answers for recent fonts are kept.
#include <string>

#include "config_store.h"
#include "converter_test.h"
#include "pcl/font_metrics.h"

namespace {

class FontMetrics : public ::testing::Test {
protected:
    void SetUp() override { config_clear(); }
    void TearDown() override { config_clear(); }

    static pcl_font font(int typeface, int stroke, int style, int spacing = 0)
    {
        pcl_font f = font_defaults;
        f.typeface = typeface;
        f.stroke = stroke;
        f.style = style;
        f.spacing = spacing;
        return f;
    }
    static std::string name(pcl_font const& f) { return ps_font_for(f).name; }
    static std::string width(pcl_font const& f)
    {
        char const* w = ps_font_width_option(f);
        return w ? w : "none";
    }
};

TEST_F(FontMetrics, ChoiceFollowsTheConfigurationAndTheFontsOwnFields)
{
    pcl_font const body = font(3, 0, 0);
    pcl_font const heading = font(4148, 3, 0, 1);
    EXPECT_EQ(name(body), "Courier");
    EXPECT_EQ(name(heading), "Helvetica-Bold");
    EXPECT_EQ(width(body), "none");

    // Each font asked for again after a change of the configuration gets
    // the new answer; fonts differing in one field keep theirs apart.
    ASSERT_EQ(config_add_value("tf3", "font", "Configured-Body"), 0);
    ASSERT_EQ(config_add_value("tf3", "width", "55"), 0);
    ASSERT_EQ(config_add_value("tf3", "width-0b1s", "65"), 0);
    EXPECT_EQ(name(body), "Configured-Body");
    EXPECT_EQ(width(body), "55");
    EXPECT_EQ(width(font(3, 0, 1)), "65");
    EXPECT_EQ(name(font(3, 0, 0, 1)), "Configured-Body");
    EXPECT_EQ(name(font(99, 0, 0, 0)), "Courier");
    EXPECT_EQ(name(font(99, 0, 0, 1)), "Times-Roman");
    EXPECT_EQ(name(font(99, 1, 1, 1)), "Times-BoldItalic");
    EXPECT_EQ(name(heading), "Helvetica-Bold");

    // More fonts than are kept, then the first ones again.
    for (int t = 10; t < 17; ++t)
        EXPECT_EQ(name(font(t, 0, 0)), "Courier");
    EXPECT_EQ(name(body), "Configured-Body");

    // The symbol sets with their own fonts come before the configuration.
    pcl_font math = body;
    math.symset = SS_19M;
    EXPECT_EQ(name(math), "Symbol");
    EXPECT_EQ(ps_font_for(math).enc, ENC_SYMBOL);

    config_clear();
    EXPECT_EQ(name(body), "Courier");
    EXPECT_EQ(width(body), "none");
}

TEST(FontMetricsGlyphs, EveryNameIsFoundAtItsIndexAndNothingElseIs)
{
    // The search must agree with the table's order at every step; a name
    // that is a prefix or an extension of another, or holds a NUL, is only
    // found when it is itself in the table.
    auto plain_search = [](std::string_view n) {
        for (int i = 0; i < afm_glyph_count; ++i)
            if (std::string_view(afm_glyph_names[i]) == n)
                return i;
        return -1;
    };
    for (int i = 0; i < afm_glyph_count; ++i) {
        std::string const name = afm_glyph_names[i];
        ASSERT_EQ(afm_glyph_index(name), i) << name;
        for (std::string const& other :
             {name + "x", name + std::string(1, '\0'), name.substr(0, name.size() - 1), name + "~"})
            ASSERT_EQ(afm_glyph_index(other), plain_search(other)) << name;
    }
    EXPECT_EQ(afm_glyph_index(""), -1);
    EXPECT_EQ(afm_glyph_index("\xff"), -1);
}

}  // namespace
