#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "config_store.h"
#include "pcl/ps/document.h"
#include "pcl/ps/overlays.h"
#include "test_support.h"

namespace {

class OverlayTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        config_clear();
        ps_page_counter = 1;
        ps_tray = 1;
        ps_overlay_mode = 1;
        ps_paper_width = 612;
        ps_origin_y = 792;
        eps = dir.write("logo.eps", "%!PS\n%%BoundingBox: 0 0 100 50\nlogo\n");
    }

    void add(char const* item, std::string const& value) { config_add_value("TRAY1", item, value.c_str()); }

    // The overlay output for output page `page`.
    std::string on_page(int page)
    {
        ps_page_counter = page;
        OutputCapture out;
        ps_overlay();
        return out.str();
    }

    // Output pages 1..n on which the logo is drawn.
    std::vector<int> pages_drawn(int n)
    {
        std::vector<int> pages;
        for (int p = 1; p <= n; ++p)
            if (on_page(p).find("logo\n") != std::string::npos)
                pages.push_back(p);
        return pages;
    }

    TempDir dir;
    std::string eps;
};

}  // namespace

TEST_F(OverlayTest, NoSectionForTheTrayWritesNothing)
{
    add("EPS.FILE", eps);
    ps_tray = 2;
    EXPECT_EQ(on_page(1), "");
}

TEST_F(OverlayTest, PageSelectors)
{
    add("EPS.FILE", eps);
    add("ONPAGE", "odd");
    add("ONPAGE", "!3");
    EXPECT_EQ(pages_drawn(8), (std::vector<int>{1, 5, 7}));

    config_clear();
    add("EPS.FILE", eps);
    add("ONPAGE", ">2");
    EXPECT_EQ(pages_drawn(4), (std::vector<int>{3, 4}));

    config_clear();
    add("EPS.FILE", eps);
    add("ONPAGE", "2");
    EXPECT_EQ(pages_drawn(4), (std::vector<int>{2}));

    config_clear();
    add("EPS.FILE", eps);
    add("ONPAGE", "even");
    EXPECT_EQ(pages_drawn(4), (std::vector<int>{2, 4}));

    // Unknown text, a signed number and huge numbers select safely.
    for (char const* sel : {"sometimes", "-1", "!99999999999999999999", ">-99999999999999999999"}) {
        config_clear();
        add("EPS.FILE", eps);
        add("ONPAGE", sel);
        EXPECT_EQ(pages_drawn(3), (std::vector<int>{1, 2, 3})) << sel;
    }
    for (char const* sel : {"99999999999999999999", ">99999999999999999999"}) {
        config_clear();
        add("EPS.FILE", eps);
        add("ONPAGE", sel);
        EXPECT_EQ(pages_drawn(3), std::vector<int>{}) << sel;
    }

    // A selector before the first group does not restrict it.
    config_clear();
    add("ONPAGE", "5");
    add("EPS.FILE", eps);
    EXPECT_EQ(pages_drawn(2), (std::vector<int>{1, 2}));
}

TEST_F(OverlayTest, OffsetsScaleAndAlignPerGroup)
{
    add("XOFS", "999");  // before any group: overwritten when the group opens
    add("EPS.FILE", eps);
    add("XOFS", "15");
    add("YOFS", "-15");
    add("ALIGN", "2");
    add("EPS.FILE", eps);
    add("XOFS", "-15");
    add("SCALE", "50");
    add("ALIGN", "3");
    add("EPS.FILE", eps);
    add("XOFS", "99999999999999999999");
    std::string text = on_page(1);
    // 15 decipoints are 1 point (integer division), -15 are -1.
    EXPECT_NE(text.find("1 1 translate\n"), std::string::npos) << text;
    EXPECT_NE(text.find("561 -0 translate 0.5 0.5 scale\n"), std::string::npos) << text;
    EXPECT_NE(text.find("2.14748e+08 742 translate\n"), std::string::npos) << text;
}

TEST_F(OverlayTest, SnippetsAlwaysWrittenAndGroupsDrawnInOrder)
{
    std::string missing = dir.path() + "/none.eps";
    add("EPS.FILE", missing);
    add("ONPAGE", "2");
    add("PS", "1 0 0 setrgbcolor");
    add("UNKNOWN", "ignored");
    add("EPS.FILE", eps);
    // The snippet stands among the first group's settings, so it comes
    // before that group's EPS; the missing file gives only its markers.
    std::string const snippet = "% --BEGIN PS\nsave\n1 0 0 setrgbcolor\nrestore\n% --END PS\n";
    std::string const logo = "% --BEGIN EPS FILE " + eps +
                             "\nsave\n/showpage {} def\n/setpagedevice /pop load def\n"
                             "0 742 translate\n%!PS\nlogo\nrestore\n% --END EPS FILE\n";
    EXPECT_EQ(on_page(1), snippet + logo);
    EXPECT_EQ(on_page(2), snippet + "% --BEGIN EPS FILE " + missing + "\n% --END EPS FILE\n" + logo);
}

TEST_F(OverlayTest, OutlinesOnlyMode)
{
    add("EPS.FILE", eps);
    ps_overlay_mode = 13;
    std::string text = on_page(1);
    EXPECT_EQ(text, "% --BEGIN EPS FILE " + eps +
                        "\nnewpath\n0 742 moveto\n0 50 rlineto\n100 0 rlineto\n0 -50 rlineto\n"
                        "-100 0 rlineto\nclosepath\n1 setlinewidth\nstroke\n% --END EPS FILE\n");
}
