// Jobs with a barcode, overlays, a raster image and shading, converted by the
// built binary and rendered by Ghostscript at 50 dpi on Letter paper: the
// interpreter must accept the output and draw where it should.
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "test_support.h"

namespace {

constexpr char LIBRARY[] = "/usr/share/libpostscriptbarcode/barcode.ps";
constexpr char LETTER[] = "\x1b"
                          "E\x1b&l2A";  // reset, Letter paper

// A rendered page (binary PGM at 50 dpi); dark() is the share of dark
// pixels in a rectangle given in points from the top-left corner.
struct Page {
    int w = 0, h = 0;
    std::string px;
    double dark(double x0, double y0, double x1, double y1) const
    {
        int n = 0, black = 0;
        for (int y = static_cast<int>(y0 * 50 / 72); y < y1 * 50 / 72 && y < h; ++y)
            for (int x = static_cast<int>(x0 * 50 / 72); x < x1 * 50 / 72 && x < w; ++x, ++n)
                black += static_cast<unsigned char>(px[static_cast<size_t>(y) * w + x]) < 128;
        return n ? static_cast<double>(black) / n : 0;
    }
};

class RenderTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (std::system("gs --version >/dev/null 2>&1") != 0)
            GTEST_SKIP() << "Ghostscript not installed";
    }
    // Converts and renders a job; the interpreter's messages go to *log.
    std::vector<Page> render(std::string const& cfg, std::string const& pcl, std::string* log)
    {
        RunResult r = run_tarvo({"-s", "-c", dir.write("job.cfg", cfg)}, pcl, dir.path());
        EXPECT_EQ(r.status, 0) << r.err;
        ps = r.out;
        dir.write("job.ps", ps);
        std::string cmd =
            "cd '" + dir.path() + "' && gs -q -dSAFER -dBATCH -dNOPAUSE -sPAPERSIZE=letter " +
            "-dFIXEDMEDIA -sDEVICE=pgmraw -r50 -sOutputFile=p%d.pgm job.ps >gs.log 2>&1";
        int status = std::system(cmd.c_str());
        *log = read_file(dir.path() + "/gs.log");
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << *log;
        std::vector<Page> pages;
        for (int i = 1;; ++i) {
            std::string data = read_file(dir.path() + "/p" + std::to_string(i) + ".pgm");
            Page p;
            // "P5", an optional comment line, "W H", "255", one byte, the raster.
            size_t at = data.find("\n255\n");
            size_t dims = data.rfind('\n', at - 1) + 1;
            if (data.empty() || at == std::string::npos ||
                std::sscanf(data.c_str() + dims, "%d %d", &p.w, &p.h) != 2)
                break;
            p.px = data.substr(at + 5);
            if (p.px.size() < static_cast<size_t>(p.w) * p.h)
                break;
            pages.push_back(std::move(p));
        }
        return pages;
    }
    TempDir dir;
    std::string ps;
};

}  // namespace

TEST_F(RenderTest, BarcodeDrawnByTheLibrary)
{
    if (!std::filesystem::exists(LIBRARY))
        GTEST_SKIP() << "barcode library not installed";
    std::filesystem::create_symlink(LIBRARY, dir.path() + "/barcode.ps");
    std::string cfg = "[CONFIG]\nBARCODE=1\nPS.INCLUDE=" + dir.path() + "\n[BARCODE]\n30=code128\n";
    // Typeface 30 at 36 points, 1 inch right and 2 inches down.
    std::string log;
    auto pages = render(cfg, std::string(LETTER) + "\x1b(s30t36V\x1b*p300x600YABC-123\r\n", &log);
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_NE(ps.find(") /code128 /"), std::string::npos);
    EXPECT_EQ(log.find("Error"), std::string::npos) << log;
    double ink = pages[0].dark(72, 72, 400, 300);
    EXPECT_GT(ink, 0.02);
    EXPECT_LT(ink, 0.9);
    EXPECT_LT(pages[0].dark(0, 400, 612, 792), 0.001);
}

TEST_F(RenderTest, LetterheadOnFirstPageAndStampOnEvery)
{
    std::string head = dir.write("head.eps", "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 200 50\n"
                                             "0 0 200 50 rectfill\nshowpage\n");
    std::string stamp = dir.write("copy.eps", "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 100 40\n"
                                              "0 0 100 40 rectfill\n");
    std::string cfg = "[TRAY1]\nEPS.FILE=" + head + "\nALIGN=0\nONPAGE=1\nEPS.FILE=" + stamp +
                      "\nALIGN=3\nXOFS=-200\nYOFS=-100\n";
    std::string log;
    auto pages =
        render(cfg, std::string(LETTER) + "\x1b&l1H\x1b*p900x1200Yone\f\x1b*p900x1200Ytwo\f", &log);
    ASSERT_EQ(pages.size(), 2u) << log;
    EXPECT_EQ(log, "");
    EXPECT_GT(pages[0].dark(4, 4, 196, 46), 0.95);  // 200 x 50 at the top left, page 1 only
    EXPECT_LT(pages[1].dark(4, 4, 196, 46), 0.01);
    for (Page const& p : pages) {  // 100 x 40, 20 points left of and 10 above the bottom right
        EXPECT_GT(p.dark(496, 746, 588, 778), 0.95);
        EXPECT_LT(p.dark(596, 700, 612, 792) + p.dark(300, 784, 612, 792), 0.01);
    }
}

TEST_F(RenderTest, RasterImageLandsAtTheCursorAndTheDocumentGoesOn)
{
    // At 75 dpi, 1 inch right and down from the top margin (half an inch):
    // an adaptive block of one PackBits
    // row of 64 black dots and 14 duplicates (61.44 x 14.4 points); then a
    // 1 x 0.5 inch rule further down, drawn only if the interpreter read the
    // inline image data to its end.
    std::string const job = std::string(LETTER) +
                            "\x1b*t75R\x1b*p300x300Y\x1b*r1A\x1b*b5M\x1b*b8W" +
                            std::string("\x02\x00\x02\xf9\xff\x05\x00\x0e", 8) +
                            "\x1b*rB\x1b*p300x900Y\x1b*c300a150b0P";
    std::string log;
    auto pages = render("", job, &log);
    ASSERT_EQ(pages.size(), 1u) << log;
    EXPECT_EQ(log, "");
    EXPECT_NE(ps.find("imagemask"), std::string::npos);
    EXPECT_GT(pages[0].dark(92, 110, 148, 120), 0.95);
    EXPECT_LT(pages[0].dark(92, 126, 148, 240) + pages[0].dark(155, 100, 300, 130), 0.01);
    EXPECT_GT(pages[0].dark(92, 254, 160, 286), 0.95);
}

TEST_F(RenderTest, ShadingLeavesEarlierMarksVisible)
{
    // A 1 x 0.5 inch black rule 1 inch right and down from the top margin,
    // then a 2 x 1 inch box of 11 % shading over it. The rule shows through
    // the shading's unpainted background; the earlier rendering
    // (compatibility bit 4) covered it with light grey.
    std::string const job = std::string(LETTER) + "\x1b*p300x300Y\x1b*c300a150b0P" +
                            "\x1b*p300x300Y\x1b*c600a300b20g2P";
    std::string log;
    auto pages = render("", job, &log);
    ASSERT_EQ(pages.size(), 1u) << log;
    EXPECT_EQ(log, "");
    EXPECT_NE(ps.find(" SHG"), std::string::npos);
    EXPECT_GT(pages[0].dark(94, 112, 156, 140), 0.95);
    EXPECT_GT(pages[0].dark(170, 112, 228, 176), 0.05);  // the dots (merged at 50 dpi)

    auto legacy = render("[CONFIG]\nBCOMPAT=4\n", job, &log);
    ASSERT_EQ(legacy.size(), 1u) << log;
    EXPECT_LT(legacy[0].dark(94, 112, 156, 140), 0.05);
}
