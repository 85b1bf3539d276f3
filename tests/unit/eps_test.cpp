#include <cstdio>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "pcl/ps/document.h"
#include "pcl/ps/eps.h"
#include "test_support.h"

namespace {

constexpr char PROLOGUE[] = "save\n/showpage {} def\n/setpagedevice /pop load def\n";

std::string le32(uint32_t v)
{
    std::string s(4, '\0');
    for (int i = 0; i < 4; ++i)
        s[i] = static_cast<char>((v >> (8 * i)) & 0xFF);
    return s;
}

// A DOS binary EPS: 32-byte header, then the PostScript section, then a
// TIFF-like preview with binary bytes and newlines.
std::string dos_eps(std::string const& section, uint32_t offset, uint32_t length)
{
    std::string head = "\xC5\xD0\xD3\xC6" + le32(offset) + le32(length);
    head += le32(32 + static_cast<uint32_t>(section.size())) + le32(12);  // preview
    head.resize(32, '\0');
    return head + section + std::string("II*\0\x01\x02\n\xff\xfe\n%%junk\n", 17);
}

// A 1000-byte section whose first lines are the EPS header comments.
std::string thousand_byte_section()
{
    std::string s = "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 10 20\n% kept\n";
    while (s.size() < 990)
        s += "0 0 moveto\n";
    s.resize(999, 'x');
    s += '\n';
    return s;
}

class EpsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ps_page_counter = 1;  // the document is running
        ps_overlay_mode = 1;
        ps_paper_width = 612;
        ps_origin_y = 792;
    }
    TempDir dir;
};

}  // namespace

TEST_F(EpsTest, InBandPlacementFollowsTheBox)
{
    std::string body = "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 100 50\n% single\nnewpath\n%%EOF\n";
    std::string path = dir.write("logo.eps", body);
    OutputCapture out;
    ps_eps_file(path.c_str());
    EXPECT_EQ(out.str(), "% --BEGIN EPS FILE " + path + "\n" + PROLOGUE +
                             "currentpoint 50 sub translate\n"
                             "%!PS-Adobe-3.0 EPSF-3.0\n% single\nnewpath\n"
                             "restore\n"
                             "currentpoint exch 100 add exch moveto\n"
                             "% --END EPS FILE\n");
}

TEST_F(EpsTest, LaterBoxCommentWinsAndUnusableBoxesPlaceAtThePoint)
{
    std::string hires = dir.write(
        "hires.eps", "%!PS\n%%BoundingBox: 0 0 100 50\n%%HiResBoundingBox: 0 0 99.5 49.5\nx\n");
    std::string atend = dir.write("atend.eps", "%!PS\n%%BoundingBox: (atend)\nx\n%%BoundingBox: 0 0 1 1\n");
    OutputCapture out;
    ps_eps_file(hires.c_str());
    std::string text = out.str();
    EXPECT_NE(text.find("currentpoint 49.5 sub translate\n"), std::string::npos);
    EXPECT_NE(text.find("restore\ncurrentpoint exch 99.5 add exch moveto\n"), std::string::npos);

    OutputCapture out2;
    ps_eps_file(atend.c_str());
    EXPECT_EQ(out2.str(), "% --BEGIN EPS FILE " + atend + "\n" + PROLOGUE +
                              "currentpoint 0 sub translate\n%!PS\nx\nrestore\n% --END EPS FILE\n");
}

TEST_F(EpsTest, HeaderReaderCountsValuesAndRewinds)
{
    OutputCapture out;
    auto read = [&](std::string const& body, int* count, double box[4]) {
        std::FILE* f = std::fopen(dir.write("h.eps", body).c_str(), "rb");
        int len = eps_read_header(f, count, box);
        long pos = std::ftell(f);
        std::fclose(f);
        EXPECT_EQ(pos, 0);
        return len;
    };
    int count = -5;
    double box[4] = {9, 9, 9, 9};
    // Only comments, no final newline: the scan ends at the end of the file.
    EXPECT_EQ(read("%!PS\n%%BoundingBox: 1 2 3 4\n%%EOF", &count, box), 0);
    EXPECT_EQ(count, 4);
    EXPECT_EQ(box[0], 1);
    EXPECT_EQ(box[3], 4);
    // A partial box keeps the unread values from the defaults.
    EXPECT_EQ(read("%!\n%%BoundingBox: 5 6\n", &count, box), 0);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(box[1], 6);
    EXPECT_EQ(box[2], 0);
    // Nothing after the keyword; a non-finite value ends the parse.
    read("%!\n%%BoundingBox:\n", &count, box);
    EXPECT_EQ(count, 0);
    read("%!\n%%BoundingBox: 0 0 nan 5\n", &count, box);
    EXPECT_EQ(count, 2);
    // The scan stops at the first line that is not a comment.
    read("%!\nshowpage\n%%BoundingBox: 1 1 2 2\n", &count, box);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(out.str(), "");
}

TEST_F(EpsTest, NonEpsFilesAndMissingFiles)
{
    std::string gif = dir.write("pic.gif", "GIF89a\x01\x00");
    std::string empty = dir.write("empty.eps", "");
    std::string one = dir.write("one.eps", "%");
    std::string missing = dir.path() + "/missing.eps";
    // A DOS signature without the offset and length fields.
    std::string shortdos = dir.write("short.eps", std::string("\xC5\xD0\xD3\xC6\x20\0\0\0", 8));
    for (std::string const& p : {gif, empty, one, shortdos}) {
        OutputCapture out;
        ps_eps_file(p.c_str());
        EXPECT_EQ(out.str(),
                  "% --BEGIN EPS FILE " + p + "\n% --invalid EPS header\n% --END EPS FILE\n")
            << p;
    }
    OutputCapture out;
    ps_eps_file(missing.c_str());
    ps_include_file(missing.c_str());
    ps_include_eps_file(0, 0, missing.c_str(), 0, 0);
    EXPECT_EQ(out.str(), "% --BEGIN EPS FILE " + missing + "\n% --END EPS FILE\n" +
                             "% --BEGIN PS FILE " + missing + "\n% --END PS FILE\n" +
                             "% --BEGIN EPS FILE " + missing + "\n% --END EPS FILE\n");
}

TEST_F(EpsTest, IncludeFileCopiesBytesUnchanged)
{
    std::string body;
    for (int i = 0; i < 20000; ++i)
        body += static_cast<char>(i % 251);
    body += "\n%%Comment kept\nend";
    std::string path = dir.write("data.ps", body);
    OutputCapture out;
    ps_include_file(path.c_str());
    EXPECT_EQ(out.str(), "% --BEGIN PS FILE " + path + "\n" + body + "% --END PS FILE\n");
}

TEST_F(EpsTest, DosSectionCopiedByLengthOrLineByLine)
{
    std::string section = thousand_byte_section();
    ASSERT_EQ(section.size(), 1000u);
    std::string path = dir.write("dos.eps", dos_eps(section, 32, 1000));

    std::FILE* f = std::fopen(path.c_str(), "rb");
    int count = 0;
    double box[4];
    {
        OutputCapture quiet;
        EXPECT_EQ(eps_read_header(f, &count, box), 1000);
    }
    EXPECT_EQ(std::ftell(f), 32);
    EXPECT_EQ(count, 4);
    EXPECT_EQ(box[3], 20);
    std::fclose(f);

    OutputCapture overlay;
    ps_include_eps_file(0, 0, path.c_str(), 0, 2);
    EXPECT_EQ(overlay.str(), "% --BEGIN EPS FILE " + path + "\n" + PROLOGUE + "0 -0 translate\n" +
                                 section + "restore\n% --END EPS FILE\n");

    OutputCapture inband;
    ps_eps_file(path.c_str());
    std::string filtered = section;
    filtered.erase(filtered.find("%%BoundingBox"), std::string("%%BoundingBox: 0 0 10 20\n").size());
    EXPECT_EQ(inband.str(), "% --BEGIN EPS FILE " + path + "\n" + PROLOGUE +
                                "currentpoint 20 sub translate\n" + filtered +
                                "restore\ncurrentpoint exch 10 add exch moveto\n% --END EPS FILE\n");
}

TEST_F(EpsTest, DosSectionWithoutFinalNewlineStopsAtItsEnd)
{
    std::string section = "%!PS\n1 2 moveto";
    std::string path = dir.write("cut.eps", dos_eps(section, 32, static_cast<uint32_t>(section.size())));
    OutputCapture inband;
    ps_eps_file(path.c_str());
    EXPECT_EQ(inband.str(), "% --BEGIN EPS FILE " + path + "\n" + PROLOGUE +
                                "currentpoint 0 sub translate\n%!PS\n1 2 moveto\nrestore\n"
                                "% --END EPS FILE\n");
    OutputCapture overlay;
    ps_include_eps_file(0, 0, path.c_str(), 0, 0);
    EXPECT_NE(overlay.str().find("%!PS\n1 2 moveto\nrestore\n"), std::string::npos);
}

TEST_F(EpsTest, HostileDosHeaders)
{
    std::string section = "%!PS\nok\n";
    auto run = [&](uint32_t offset, uint32_t length) {
        std::string path = dir.write("bad.eps", dos_eps(section, offset, length));
        OutputCapture out;
        ps_include_eps_file(0, 0, path.c_str(), 0, 0);
        std::string text = out.str();
        return text.substr(text.find('\n') + 1);
    };
    std::string const invalid = "% --invalid EPS header\n% --END EPS FILE\n";
    EXPECT_EQ(run(0xFFFFFFF0u, 8), invalid);  // section beyond the file
    EXPECT_EQ(run(5000, 8), invalid);
    EXPECT_EQ(run(32, 0), invalid);           // empty section
    // A length beyond the file is cut to the bytes that exist: the section
    // and the preview, then the copy stops at the end of the file.
    std::string whole = run(32, 0xFFFFFFFFu);
    EXPECT_EQ(whole.find(PROLOGUE), 0u);
    EXPECT_NE(whole.find("%!PS\nok\nII*"), std::string::npos);
    EXPECT_NE(whole.find("%%junk\nrestore\n% --END EPS FILE\n"), std::string::npos);
}

TEST_F(EpsTest, OverlayAlignmentAndScale)
{
    std::string path = dir.write("logo.eps", "%!PS\n%%BoundingBox: 0 0 100 50\n% mark\n");
    auto placement = [&](double x, double y, int scale, int align) {
        OutputCapture out;
        ps_include_eps_file(x, y, path.c_str(), scale, align);
        std::string text = out.str();
        size_t start = text.find("def\n", text.find("setpagedevice")) + 4;
        return text.substr(start, text.find('\n', start) - start);
    };
    EXPECT_EQ(placement(10, 20, 0, 1), "522 722 translate");
    EXPECT_EQ(placement(0, 0, 0, 0), "0 742 translate");
    EXPECT_EQ(placement(-20, -10, 100, 3), "492 10 translate");
    EXPECT_EQ(placement(0, 0, 50, 3), "562 -0 translate 0.5 0.5 scale");  // ty - y = -0 - 0
    EXPECT_EQ(placement(0, 0, 200, 2), "0 -0 translate 2 2 scale");
    EXPECT_EQ(placement(5, 5, 0, 9), "5 -5 translate");

    // Whole text for the example placement.
    OutputCapture out;
    ps_include_eps_file(10, 20, path.c_str(), 0, 1);
    EXPECT_EQ(out.str(), "% --BEGIN EPS FILE " + path + "\n" + PROLOGUE +
                             "522 722 translate\n%!PS\n% mark\nrestore\n% --END EPS FILE\n");

    // Without a usable box the image stays at its own coordinates.
    std::string nobox = dir.write("nobox.eps", "%!PS\nx\n");
    OutputCapture out2;
    ps_include_eps_file(10, 20, nobox.c_str(), 50, 1);
    EXPECT_NE(out2.str().find("10 -20 translate 0.5 0.5 scale\n"), std::string::npos);
}

TEST_F(EpsTest, OverlayFrames)
{
    std::string path = dir.write("logo.eps", "%!PS\n%%BoundingBox: 0 0 100 50\nx\n");
    std::string const frame =
        "newpath\n10 722 moveto\n0 50 rlineto\n100 0 rlineto\n0 -50 rlineto\n-100 0 rlineto\n"
        "closepath\n1 setlinewidth\nstroke\n";
    ps_overlay_mode = 5;
    OutputCapture both;
    ps_include_eps_file(10, 20, path.c_str(), 0, 0);
    EXPECT_EQ(both.str(), "% --BEGIN EPS FILE " + path + "\n" + frame + PROLOGUE +
                              "10 722 translate\n%!PS\nx\nrestore\n% --END EPS FILE\n");

    ps_overlay_mode = 13;
    OutputCapture only;
    ps_include_eps_file(10, 20, path.c_str(), 0, 0);
    EXPECT_EQ(only.str(), "% --BEGIN EPS FILE " + path + "\n" + frame + "% --END EPS FILE\n");

    // No usable box: no frame, and the image is drawn after all.
    std::string nobox = dir.write("nobox.eps", "%!PS\nx\n");
    OutputCapture drawn;
    ps_include_eps_file(0, 0, nobox.c_str(), 0, 0);
    EXPECT_EQ(drawn.str().find("newpath"), std::string::npos);
    EXPECT_NE(drawn.str().find("restore\n"), std::string::npos);
}

TEST_F(EpsTest, CopiedTextIsFilteredAndEndsItsLine)
{
    std::string longcomment = "%%" + std::string(3000, 'c') + "\n";
    std::string path = dir.write("f.eps", "%!PS\n" + longcomment + "%single\n grestore");
    OutputCapture out;
    ps_include_eps_file(0, 0, path.c_str(), 0, 0);
    EXPECT_EQ(out.str(), "% --BEGIN EPS FILE " + path + "\n" + PROLOGUE +
                             "0 0 translate\n%!PS\n%single\n grestore\nrestore\n% --END EPS FILE\n");
}
