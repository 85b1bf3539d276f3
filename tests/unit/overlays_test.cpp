// Overlay groups of a tray: page selectors, per-group settings, snippets.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "config_store.h"
#include "pcl/ps/document.h"
#include "pcl/ps/overlays.h"
#include "test_support.h"

namespace {

using Pages = std::vector<int>;

class OverlayTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ps_tray = 1;
        ps_overlay_mode = 1;
        ps_paper_width = 612;
        ps_origin_y = 792;
        eps = dir.write("logo.eps", "%!PS\n%%BoundingBox: 0 0 100 50\nlogo\n");
    }
    // Replaces the configuration by these TRAY1 items.
    void items(std::vector<std::pair<char const*, std::string>> const& list)
    {
        config_clear();
        for (auto const& [item, value] : list)
            config_add_value("TRAY1", item, value.c_str());
    }
    std::string on_page(int page)
    {
        ps_page_counter = page;
        OutputCapture out;
        ps_overlay();
        return out.str();
    }
    // Output pages 1..6 on which a group with these selectors is drawn.
    Pages selected(std::vector<char const*> const& selectors)
    {
        items({{"EPS.FILE", eps}});
        for (char const* s : selectors)
            config_add_value("TRAY1", "ONPAGE", s);
        Pages pages;
        for (int p = 1; p <= 6; ++p)
            if (on_page(p).find("logo\n") != std::string::npos)
                pages.push_back(p);
        return pages;
    }
    TempDir dir;
    std::string eps;
};

}  // namespace

TEST_F(OverlayTest, PageSelectors)
{
    EXPECT_EQ(selected({"odd", "!3"}), (Pages{1, 5}));
    EXPECT_EQ(selected({">2"}), (Pages{3, 4, 5, 6}));
    EXPECT_EQ(selected({"even"}), (Pages{2, 4, 6}));
    for (char const* s : {"sometimes", "-1", "!99999999999999999999"})
        EXPECT_EQ(selected({s}), (Pages{1, 2, 3, 4, 5, 6})) << s;
    EXPECT_EQ(selected({"99999999999999999999"}), Pages{});
    // A selector before the first group does not restrict it; another tray has no overlays.
    items({{"ONPAGE", "5"}, {"EPS.FILE", eps}});
    EXPECT_NE(on_page(1), "");
    ps_tray = 2;
    EXPECT_EQ(on_page(1), "");
}

TEST_F(OverlayTest, GroupSettingsSnippetsAndMissingFiles)
{
    // XOFS before any group is replaced when the group opens; 15 units are
    // 1 point by integer division.
    items({{"XOFS", "999"},
           {"EPS.FILE", eps},
           {"XOFS", "15"},
           {"YOFS", "-15"},
           {"ALIGN", "2"},
           {"EPS.FILE", eps},
           {"XOFS", "-15"},
           {"SCALE", "50"},
           {"ALIGN", "3"},
           {"EPS.FILE", eps},
           {"XOFS", "99999999999999999999"}});
    std::string text = on_page(1);
    EXPECT_NE(text.find("\n1 1 translate\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\n561 -0 translate 0.5 0.5 scale\n"), std::string::npos) << text;
    // An offset beyond any page is held to the limit of numbers written.
    EXPECT_NE(text.find("\n1e+07 742 translate\n"), std::string::npos) << text;

    std::string missing = dir.path() + "/none.eps";
    items({{"EPS.FILE", missing},
           {"ONPAGE", "2"},
           {"PS", "1 0 0 setrgbcolor"},
           {"OTHER", "ignored"},
           {"EPS.FILE", eps}});
    // The snippet stands among the first group's settings, so it precedes that group's file.
    std::string const snippet = "% --BEGIN PS\nsave\n1 0 0 setrgbcolor\nrestore\n% --END PS\n";
    std::string const logo = "% --BEGIN EPS FILE " + eps +
                             "\nsave\n/showpage {} def\n/setpagedevice /pop load def\n" +
                             "0 742 translate\n%!PS\nlogo\nrestore\n% --END EPS FILE\n";
    EXPECT_EQ(on_page(1), snippet + logo);
    EXPECT_EQ(on_page(2),
              snippet + "% --BEGIN EPS FILE " + missing + "\n% --END EPS FILE\n" + logo);
}
