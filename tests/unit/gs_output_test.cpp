// Whole runs of the built binary through Ghostscript: every kind of mark
// reads back from the PDF as the intended Unicode text (by code, by name,
// Symbol, dingbats), and a PDF/A carries the title and the output intent.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ps_support.h"
#include "test_support.h"

namespace {

std::string const ESC = "\x1b";

// Fonts and sizes, underline, escaped characters, glyphs by name, Symbol and
// dingbats, colours, rectangles, a blank form feed, a landscape page and a
// turned print direction.
std::string const kJob = ESC + "E" + ESC + "&l2A" + ESC + "(0N" + ESC + "(s0p10h12v0s0b3T" +
                         "Plain (paren) back\\slash caf\xe9\r\n" + ESC + "&dDUnderlined" + ESC +
                         "&d@\r\n" + ESC + "(s1p14v3b4101TTimes bold\r\n" + ESC + "(19U" + ESC +
                         "(s0p10h0b3T" + "Bullet \x95 dash \x97 euro \x80\r\n" + ESC +
                         "(19Mabgd\r\n" + ESC + "(14L\x21\r\n" + ESC + "(0N" + ESC + "*r3U" + ESC +
                         "*v1SRed text" + ESC + "*v0S\r\n" + ESC + "*c600a300b0P" + ESC +
                         "*c21g2P" + ESC + "*v4S" + ESC + "*c100g2P" + ESC + "*v0S" + "\x0c\x0c" +
                         ESC + "&l1OLandscape page\r\n" + ESC + "&a90PTurned\r\n" + ESC + "E";

TEST(GhostscriptOutput, PdfCarriesEveryKindOfMark)
{
    if (!have_tool("gs") || !have_tool("pdftotext"))
        GTEST_SKIP() << "Ghostscript or pdftotext not installed";
    TempDir dir;
    std::string const pdf = dir.path() + "/out.pdf";
    RunResult r =
        run_tarvo({"-p", "-o", pdf}, kJob, dir.path(), {"ZENTHORAX=" + build_dir(), "HOME"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "");
    std::string const text = shell_output("pdftotext -enc UTF-8 '" + pdf + "' -");
    for (char const* expected :
         {"Plain (paren) back\\slash café", "Underlined", "Times bold", "Bullet • dash — euro €",
          "αβγδ", "✁", "Red text", "Landscape page"})
        EXPECT_NE(text.find(expected), std::string::npos) << expected << " in:\n" << text;
    // One page per PCL page: the second form feed ends a blank page.
    EXPECT_EQ(std::count(text.begin(), text.end(), '\f'), 3) << text;
}

TEST(GhostscriptOutput, PdfaHasOutputIntentAndTitle)
{
    if (!have_tool("gs") || !have_tool("pdfinfo"))
        GTEST_SKIP() << "Ghostscript or pdfinfo not installed";
    if (read_file(build_dir() + "/share/tarvo/ps/sRGB.icc").empty())
        GTEST_SKIP() << "sRGB profile not installed";
    TempDir dir;
    std::string const pdf = dir.path() + "/out.pdf";
    RunResult r = run_tarvo({"-ppp", "-t", "Quarterly report", "-o", pdf}, "PDF/A text\f",
                            dir.path(), {"ZENTHORAX=" + build_dir(), "HOME"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "");
    std::string const bytes = read_file(pdf);
    EXPECT_NE(bytes.find("/GTS_PDFA1"), std::string::npos);
    EXPECT_NE(bytes.find("pdfaid:part='2'"), std::string::npos) << "no PDF/A-2 identification";
    std::string const info = shell_output("pdfinfo '" + pdf + "'");
    EXPECT_NE(info.find("Title:           Quarterly report\n"), std::string::npos) << info;
}

// The page sizes pdfinfo reports for every page of the PDF of `job`, one
// "W x H" per page, with `extra` options (configuration definitions).
std::vector<std::string> pdf_page_sizes(std::string const& job, std::vector<std::string> extra = {})
{
    TempDir dir;
    std::string const pdf = dir.path() + "/out.pdf";
    std::vector<std::string> args = std::move(extra);
    for (char const* a : {"-p", "-o"})
        args.emplace_back(a);
    args.push_back(pdf);
    RunResult r = run_tarvo(args, job, dir.path(), {"ZENTHORAX=" + build_dir(), "HOME"});
    EXPECT_EQ(r.status, 0) << r.err;
    std::string const info = shell_output("pdfinfo -f 1 -l 99 '" + pdf + "'");
    std::vector<std::string> sizes;
    for (size_t at = info.find(" size:"); at != std::string::npos;
         at = info.find(" size:", at + 1)) {
        size_t const from = info.find_first_not_of(' ', at + 6);
        size_t const to = info.find(" pts", from);
        if (info.compare(at - 4, 4, "File") != 0 && to != std::string::npos)
            sizes.push_back(info.substr(from, to - from));
    }
    return sizes;
}

// Each page comes out on the sheet the job asked for, also when sizes mix
// and when a page is landscape; a configured Ghostscript paper size wins.
TEST(GhostscriptOutput, PagesComeOnTheirSheets)
{
    if (!have_tool("gs") || !have_tool("pdfinfo"))
        GTEST_SKIP() << "Ghostscript or pdfinfo not installed";
    std::string const letter = ESC + "&l2ALetter\f";
    std::string const legal = ESC + "&l3ALegal\f";
    using sizes = std::vector<std::string>;
    EXPECT_EQ(pdf_page_sizes(letter), sizes{"612 x 792"});
    EXPECT_EQ(pdf_page_sizes(legal), sizes{"612 x 1008"});
    std::string const mixed = letter + legal + ESC + "&l1O" + letter + "Still Letter\f";
    EXPECT_EQ(pdf_page_sizes(mixed), (sizes{"612 x 792", "612 x 1008", "612 x 792", "612 x 792"}));
    EXPECT_EQ(
        pdf_page_sizes(ESC + "E" + ESC + "&l26AA4" + legal, {"-C", "CONFIG:GS.PAPER.SIZE=letter"}),
        (sizes{"612 x 792", "612 x 792"}));
}

// Text in print directions 90 and 270 lands on the sheet where the cursor
// says, on portrait and landscape pages: every word is found on the page,
// within the sheet, at its distance from the turned frame's top edge.
TEST(GhostscriptOutput, TurnedTextStaysOnTheSheet)
{
    if (!have_tool("gs") || !have_tool("pdftotext"))
        GTEST_SKIP() << "Ghostscript or pdftotext not installed";
    TempDir dir;
    std::string const pdf = dir.path() + "/out.pdf";
    std::string const at = ESC + "*p300x600Y";
    std::string const job = ESC + "E" + ESC + "&l2A" + ESC + "&a90P" + at + "Upward" + ESC +
                            "&a270P" + at + "Downward\f" + ESC + "&l1O" + ESC + "&a90P" + at +
                            "UpL" + ESC + "&a270P" + at + "DownL\f";
    RunResult r =
        run_tarvo({"-p", "-o", pdf}, job, dir.path(), {"ZENTHORAX=" + build_dir(), "HOME"});
    ASSERT_EQ(r.status, 0) << r.err;
    std::string const box = shell_output("pdftotext -bbox '" + pdf + "' -");
    // Every word lies inside its page's sheet. On the portrait page the
    // baseline is 2 inches below the top margin and the logical page's left
    // edge: 198 points from the turned frame's top edge, which is the
    // sheet's left edge for direction 90 and its right edge for 270.
    auto number = [&](size_t from, char const* key) {
        size_t const pos = box.find(key, from);
        return pos == std::string::npos
                   ? -1.0
                   : std::strtod(box.c_str() + pos + std::strlen(key), nullptr);
    };
    for (char const* word : {"Upward", "Downward", "UpL", "DownL"}) {
        size_t const end = box.find(std::string(">") + word + "<");
        ASSERT_NE(end, std::string::npos) << word << " missing:\n" << box;
        size_t const start = box.rfind("<word", end);
        size_t const page = box.rfind("<page", start);
        double const xmin = number(start, "xMin=\""), xmax = number(start, "xMax=\"");
        double const ymin = number(start, "yMin=\""), ymax = number(start, "yMax=\"");
        EXPECT_TRUE(xmin >= 0 && ymin >= 0 && xmax <= number(page, "width=\"") &&
                    ymax <= number(page, "height=\""))
            << word << " off the sheet:\n"
            << box;
        if (std::string(word) == "Upward") {
            EXPECT_NEAR(xmax, 198 + 2.2, 1.5) << box;
        } else if (std::string(word) == "Downward") {
            EXPECT_NEAR(xmin, 612 - 198 - 2.2, 1.5) << box;
        }
    }
}

}  // namespace
