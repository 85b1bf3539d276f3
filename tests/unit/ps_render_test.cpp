// Renders generated documents with the real Ghostscript and reads the text
// back with pdftotext: the PostScript must interpret without errors, and
// characters shown by code, by name, in Symbol and in ZapfDingbats must come
// out as the intended Unicode text. Skipped when the tools are missing.
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "test_support.h"

namespace {

bool have_tools()
{
    return std::system("gs --version >/dev/null 2>&1") == 0 &&
           std::system("pdftotext -v >/dev/null 2>&1") == 0;
}

std::string const ESC = "\x1b";

// A job touching every kind of output: fonts and sizes, underline, escaped
// characters, glyphs by name, Symbol and dingbats, colours, rectangles, a
// blank form feed, a landscape page and a turned print direction.
std::string const kJob = ESC + "E" + ESC + "&l2A" + ESC + "(0N" + ESC + "(s0p10h12v0s0b3T" +
                         "Plain (paren) back\\slash caf\xe9\r\n" + ESC + "&dDUnderlined" + ESC + "&d@\r\n" +
                         ESC + "(s1p14v3b4101TTimes bold\r\n" + ESC + "(19U" + ESC + "(s0p10h0b3T" +
                         "Bullet \x95 dash \x97 euro \x80\r\n" + ESC + "(19Mabgd\r\n" + ESC + "(14L\x21\r\n" +
                         ESC + "(0N" + ESC + "*r3U" + ESC + "*v1SRed text" + ESC + "*v0S\r\n" + ESC +
                         "*c600a300b0P" + ESC + "*c21g2P" + ESC + "*v4S" + ESC + "*c100g2P" + ESC + "*v0S" +
                         "\x0c\x0c" + ESC + "&l1OLandscape page\r\n" + ESC + "&a90PTurned\r\n" + ESC + "E";

struct Rendered {
    int gs_status;
    std::string text;
};

Rendered render(TempDir const& dir, std::string const& ps)
{
    std::string const ps_path = dir.write("doc.ps", ps);
    std::string const pdf = dir.path() + "/doc.pdf";
    std::string const txt = dir.path() + "/doc.txt";
    Rendered r;
    r.gs_status = std::system(("gs -q -dNOPAUSE -dBATCH -sDEVICE=pdfwrite -sOutputFile='" + pdf + "' '" + ps_path +
                               "' >'" + dir.path() + "/gs.log' 2>&1")
                                  .c_str());
    std::system(("pdftotext -enc UTF-8 '" + pdf + "' '" + txt + "' 2>/dev/null").c_str());
    r.text = read_file(txt);
    return r;
}

TEST(PsRender, GhostscriptInterpretsTheDocument)
{
    if (!have_tools())
        GTEST_SKIP() << "gs or pdftotext not installed";
    TempDir dir;
    RunResult const run = run_tarvo({"-s"}, kJob, dir.path(), {"SOURCE_DATE_EPOCH=0"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("%%Pages: 2\n"), std::string::npos);

    Rendered const r = render(dir, run.out);
    EXPECT_EQ(r.gs_status, 0) << read_file(dir.path() + "/gs.log");
    for (char const* expected : {"Plain (paren) back\\slash café", "Underlined", "Times bold",
                                 "Bullet • dash — euro €", "αβγδ", "✁", "Red text", "Landscape page"})
        EXPECT_NE(r.text.find(expected), std::string::npos) << expected << " in:\n" << r.text;
    // One page per marked PCL page: the blank form feed made none.
    size_t pages = 0;
    for (char c : r.text)
        pages += c == '\f';
    EXPECT_EQ(pages, 2u) << r.text;
}

TEST(PsRender, PdfThroughThePipe)
{
    if (!have_tools())
        GTEST_SKIP() << "gs or pdftotext not installed";
    TempDir dir;
    std::string const pdf = dir.path() + "/out.pdf";
    RunResult const run = run_tarvo({"-p", "-o", pdf}, ESC + "E" + "Piped to PDF\r\n" + ESC + "E", dir.path());
    ASSERT_EQ(run.status, 0) << run.err;
    std::system(("pdftotext '" + pdf + "' '" + dir.path() + "/out.txt' 2>/dev/null").c_str());
    EXPECT_NE(read_file(dir.path() + "/out.txt").find("Piped to PDF"), std::string::npos);
}

}  // namespace
