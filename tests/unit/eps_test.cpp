// Embedded pictures: placement from the box comments, hostile DOS headers,
// copying by length or by filtered lines, overlay alignment and frames.
#include <cstdint>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "pcl/ps/document.h"
#include "pcl/ps/eps.h"
#include "test_support.h"

namespace {

std::string const SAVE = "save\n/showpage {} def\n/setpagedevice /pop load def\n";

// A DOS binary EPS: 32-byte header, the PostScript section, then a preview
// with binary bytes, newlines and a "%%" line.
std::string dos_eps(std::string const& section, uint32_t offset, uint32_t length)
{
    std::string head = "\xC5\xD0\xD3\xC6";
    for (uint32_t v : {offset, length})
        for (int i = 0; i < 4; ++i)
            head += static_cast<char>((v >> (8 * i)) & 0xFF);
    head.resize(32, '\0');
    return head + section + std::string("II*\0\xff\n%%junk\n", 13);
}

class EpsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ps_page_counter = 1;
        ps_overlay_mode = 1;
        ps_paper_width = 612;
        ps_origin_y = 792;
    }
    std::string eps(std::string const& body) { return dir.write("f.eps", body); }
    std::string inband(std::string const& path)
    {
        OutputCapture out;
        ps_eps_file(path.c_str());
        return out.str();
    }
    std::string overlay(std::string const& path, double x, double y, int scale, int align)
    {
        OutputCapture out;
        ps_include_eps_file(x, y, path.c_str(), scale, align);
        return out.str();
    }
    TempDir dir;
};

}  // namespace

TEST_F(EpsTest, InBandPlacementFollowsTheLastBoxComment)
{
    std::string p =
        eps("%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 100 50\n% one\nnewpath\n%%EOF\n");
    EXPECT_EQ(inband(p), "% --BEGIN EPS FILE " + p + "\n" + SAVE +
                             "currentpoint 50 sub translate\n" +
                             "%!PS-Adobe-3.0 EPSF-3.0\n% one\nnewpath\nrestore\n"
                             "currentpoint exch 100 add exch moveto\n% --END EPS FILE\n");
    p = eps("%!PS\n%%BoundingBox: 0 0 100 50\n%%HiResBoundingBox: 0 0 99.5 "
            "nan\n%%HiResBoundingBox: 0 0 99.5 49.5\nx\n");
    EXPECT_NE(inband(p).find(
                  "currentpoint 49.5 sub translate\n%!PS\nx\nrestore\ncurrentpoint exch 99.5 add"),
              std::string::npos);
    // (atend) is no box; the scan stops at the first non-comment line.
    p = eps("%!PS\n%%BoundingBox: (atend)\nx\n%%BoundingBox: 0 0 1 1\n");
    EXPECT_EQ(inband(p), "% --BEGIN EPS FILE " + p + "\n" + SAVE +
                             "currentpoint 0 sub translate\n%!PS\nx\nrestore\n% --END EPS FILE\n");
}

// Boxes near the limits of a double give numbers any interpreter takes.
TEST_F(EpsTest, HugeBoxesGiveBoundedNumbers)
{
    std::string p = eps("%!PS\n%%BoundingBox: -1e308 -1e308 1e308 1e308\nx\n");
    EXPECT_EQ(inband(p),
              "% --BEGIN EPS FILE " + p + "\n" + SAVE + "currentpoint 1e+07 sub translate\n" +
                  "%!PS\nx\nrestore\ncurrentpoint exch 1e+07 add exch moveto\n% --END EPS FILE\n");
    p = eps("%!PS\n%%BoundingBox: 1e308 1e308 1e308 1e308\nx\n");
    EXPECT_NE(overlay(p, 0, 0, 0, 2).find("-1e+07 -1e+07 translate\n"), std::string::npos);
    EXPECT_NE(overlay(p, 0, 0, 0, 1).find("-1e+07 -1e+07 translate\n"), std::string::npos);
}

TEST_F(EpsTest, InvalidAndMissingFilesGiveOnlyMarkers)
{
    std::string const invalid = "% --invalid EPS header\n% --END EPS FILE\n";
    for (std::string body :
         {std::string("GIF89a\x01"), std::string(), std::string("%"),
          std::string("\xC5\xD0\xD3\xC6\x20\0\0\0", 8),  // cut DOS header
          dos_eps("%!\n", 0xFFFFFFF0u, 3), dos_eps("%!\n", 5000, 3), dos_eps("%!\n", 32, 0)}) {
        std::string p = dir.write("bad.eps", body);
        EXPECT_EQ(inband(p), "% --BEGIN EPS FILE " + p + "\n" + invalid);
        EXPECT_EQ(overlay(p, 0, 0, 0, 0), "% --BEGIN EPS FILE " + p + "\n" + invalid);
    }
    // A missing file is reported once, however often it is asked for.
    std::string m = dir.path() + "/missing.eps";
    OutputCapture out;
    EXPECT_EQ(capture_stderr([&] {
                  ps_eps_file(m.c_str());
                  ps_include_file(m.c_str());
                  ps_include_eps_file(0, 0, m.c_str(), 0, 0);
              }),
              "tarvo: " + m + ": No such file or directory\n");
    EXPECT_EQ(out.str(), "% --BEGIN EPS FILE " + m + "\n% --END EPS FILE\n% --BEGIN PS FILE " + m +
                             "\n% --END PS FILE\n% --BEGIN EPS FILE " + m + "\n% --END EPS FILE\n");
}

TEST_F(EpsTest, DosSectionCopiedByLengthOrByLines)
{
    std::string section = "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 10 20\n% kept\n";
    while (section.size() < 1000)
        section += "0 0 moveto\n";
    section.resize(1000);
    section.back() = '\n';
    std::string p = dir.write("dos.eps", dos_eps(section, 32, 1000));
    // Overlays copy the section's bytes exactly, "%%" lines included, as an
    // embedded document, so its comments do not end the page.
    EXPECT_EQ(overlay(p, 0, 0, 0, 2), "% --BEGIN EPS FILE " + p + "\n" + SAVE + "0 -0 translate\n" +
                                          "%%BeginDocument: (" + p + ")\n" + section +
                                          "%%EndDocument\nrestore\n% --END EPS FILE\n");
    std::string filtered = section;
    filtered.erase(24, 25);  // the %%BoundingBox line
    EXPECT_EQ(inband(p), "% --BEGIN EPS FILE " + p + "\n" + SAVE +
                             "currentpoint 20 sub translate\n" + filtered +
                             "restore\ncurrentpoint exch 10 add exch moveto\n% --END EPS FILE\n");
    // A section without a final newline ends where its length says.
    p = dir.write("cut.eps", dos_eps("%!PS\n1 2 moveto", 32, 15));
    EXPECT_NE(inband(p).find("%!PS\n1 2 moveto\nrestore\n% --END"), std::string::npos);
    // A length beyond the file is cut to the bytes that exist.
    p = dir.write("long.eps", dos_eps("%!PS\nok\n", 32, 0xFFFFFFFFu));
    std::string const text = overlay(p, 0, 0, 0, 0);
    EXPECT_NE(text.find("ok\nII*"), std::string::npos);
    EXPECT_NE(text.find("%%junk\n%%EndDocument\nrestore\n% --END EPS FILE\n"), std::string::npos);
}

// An included PostScript file is a document of its own: its page and
// trailer comments are enclosed, and the enclosure ends on a line of its own.
TEST_F(EpsTest, IncludedFileIsAnEmbeddedDocument)
{
    std::string const p = dir.write("doc (1).ps", "%!PS\n%%Page: 1 1\nx\n%%EOF");
    OutputCapture out;
    ps_include_file(p.c_str());
    EXPECT_EQ(out.str(), "% --BEGIN PS FILE " + p + "\n%%BeginDocument: (" + dir.path() +
                             "/doc \\(1\\).ps)\n%!PS\n%%Page: 1 1\nx\n%%EOF\n%%EndDocument\n"
                             "% --END PS FILE\n");
}

TEST_F(EpsTest, OverlayAlignmentScaleFramesAndLongLines)
{
    std::string p = eps("%!PS\n%%BoundingBox: 0 0 100 50\n% mark\n");
    auto placement = [&](double x, double y, int scale, int align) {
        std::string text = overlay(p, x, y, scale, align);
        size_t start = text.find("pop load def\n") + 13;
        return text.substr(start, text.find('\n', start) - start);
    };
    EXPECT_EQ(placement(10, 20, 0, 1), "522 722 translate");
    EXPECT_EQ(placement(-20, -10, 100, 3), "492 10 translate");
    EXPECT_EQ(placement(0, 0, 50, 3), "562 -0 translate 0.5 0.5 scale");  // -lly - y is -0
    EXPECT_EQ(placement(5, 5, 200, 9), "5 -5 translate 2 2 scale");

    std::string const frame = "newpath\n10 722 moveto\n0 50 rlineto\n100 0 rlineto\n0 -50 rlineto\n"
                              "-100 0 rlineto\nclosepath\n1 setlinewidth\nstroke\n";
    ps_overlay_mode = 5;
    EXPECT_EQ(overlay(p, 10, 20, 0, 0),
              "% --BEGIN EPS FILE " + p + "\n" + frame + SAVE +
                  "10 722 translate\n%!PS\n% mark\nrestore\n% --END EPS FILE\n");
    ps_overlay_mode = 13;
    EXPECT_EQ(overlay(p, 10, 20, 0, 0),
              "% --BEGIN EPS FILE " + p + "\n" + frame + "% --END EPS FILE\n");
    // Without a usable box there is no frame; a long "%%" line is left out in
    // all its pieces; a last line without newline does not run into "restore".
    p = eps("%!PS\n%%" + std::string(3000, 'c') + "\n%single\n grestore");
    EXPECT_EQ(overlay(p, 0, 0, 0, 0),
              "% --BEGIN EPS FILE " + p + "\n" + SAVE +
                  "0 0 translate\n%!PS\n%single\n grestore\nrestore\n% --END EPS FILE\n");
}
