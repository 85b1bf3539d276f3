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
        ps_tray = 1;
        ps_overlay_mode = 1;
        ps_paper_width = 612;
        ps_origin_y = 792;
        eps = dir.write("logo.eps", "%!PS\n%%BoundingBox: 0 0 100 50\nlogo\n");
    }
    void add(char const* item, std::string const& value) { config_add_value("TRAY1", item, value.c_str()); }
    std::string on_page(int page)
    {
        ps_page_counter = page;
        OutputCapture out;
        ps_overlay();
        return out.str();
    }
    // Output pages 1..6 on which a group with these selectors is drawn.
    std::vector<int> selected(std::vector<char const*> const& selectors)
    {
        config_clear();
        add("EPS.FILE", eps);
        for (char const* s : selectors)
            add("ONPAGE", s);
        std::vector<int> pages;
        for (int p = 1; p <= 6; ++p)
            if (on_page(p).find("logo\n") != std::string::npos)
                pages.push_back(p);
        return pages;
    }
    TempDir dir;
    std::string eps;
};

using Pages = std::vector<int>;

}  // namespace

TEST_F(OverlayTest, PageSelectors)
{
    EXPECT_EQ(selected({"odd", "!3"}), (Pages{1, 5}));
    EXPECT_EQ(selected({">2"}), (Pages{3, 4, 5, 6}));
    EXPECT_EQ(selected({"2"}), (Pages{2}));
    EXPECT_EQ(selected({"even"}), (Pages{2, 4, 6}));
    EXPECT_EQ(selected({"sometimes"}), (Pages{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(selected({"-1"}), (Pages{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(selected({"!99999999999999999999"}), (Pages{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(selected({"99999999999999999999"}), Pages{});
    // A selector before the first group does not restrict it; another tray has no overlays.
    config_clear();
    add("ONPAGE", "5");
    add("EPS.FILE", eps);
    EXPECT_NE(on_page(1), "");
    ps_tray = 2;
    EXPECT_EQ(on_page(1), "");
}

TEST_F(OverlayTest, GroupSettingsSnippetsAndMissingFiles)
{
    add("XOFS", "999");  // before any group: replaced when the group opens
    add("EPS.FILE", eps);
    add("XOFS", "15");   // 1 point: integer division
    add("YOFS", "-15");
    add("ALIGN", "2");
    add("EPS.FILE", eps);
    add("XOFS", "-15");
    add("SCALE", "50");
    add("ALIGN", "3");
    add("EPS.FILE", eps);
    add("XOFS", "99999999999999999999");
    std::string text = on_page(1);
    EXPECT_NE(text.find("\n1 1 translate\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\n561 -0 translate 0.5 0.5 scale\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\n2.14748e+08 742 translate\n"), std::string::npos) << text;

    config_clear();
    std::string missing = dir.path() + "/none.eps";
    add("EPS.FILE", missing);
    add("ONPAGE", "2");
    add("PS", "1 0 0 setrgbcolor");
    add("OTHER", "ignored");
    add("EPS.FILE", eps);
    // The snippet stands among the first group's settings, so it precedes that group's file.
    std::string const snippet = "% --BEGIN PS\nsave\n1 0 0 setrgbcolor\nrestore\n% --END PS\n";
    std::string const logo = "% --BEGIN EPS FILE " + eps + "\nsave\n/showpage {} def\n/setpagedevice /pop load def\n" +
                             "0 742 translate\n%!PS\nlogo\nrestore\n% --END EPS FILE\n";
    EXPECT_EQ(on_page(1), snippet + logo);
    EXPECT_EQ(on_page(2), snippet + "% --BEGIN EPS FILE " + missing + "\n% --END EPS FILE\n" + logo);

    // OVERLAY 13: outlines only.
    ps_overlay_mode = 13;
    EXPECT_EQ(on_page(1), snippet + "% --BEGIN EPS FILE " + eps +
                              "\nnewpath\n0 742 moveto\n0 50 rlineto\n100 0 rlineto\n0 -50 rlineto\n"
                              "-100 0 rlineto\nclosepath\n1 setlinewidth\nstroke\n% --END EPS FILE\n");
}
