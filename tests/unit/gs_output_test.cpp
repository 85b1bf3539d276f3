// Whole runs of the built binary through Ghostscript: the PostScript of
// every kind of mark interprets without errors and reads back as the
// intended Unicode text (by code, by name, Symbol, dingbats); a PDF and a
// PDF/A carry the text, the title and the output intent; the interpreter's
// failure is reported at the end; no interpreter for a job without marks.
#include <sys/stat.h>

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "ps_support.h"
#include "test_support.h"

namespace {

std::string stand_in(TempDir const& dir, std::string const& body)
{
    std::string const path = dir.write("fake-gs", "#!/bin/sh\n" + body);
    chmod(path.c_str(), 0755);
    return path;
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

TEST(GhostscriptOutput, EveryKindOfMarkInterpretsAndReadsBack)
{
    if (!have_tool("gs") || !have_tool("pdftotext"))
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

TEST(GhostscriptOutput, PdfCarriesTheText)
{
    if (!have_tool("gs") || !have_tool("pdftotext"))
        GTEST_SKIP() << "Ghostscript or pdftotext not installed";
    TempDir dir;
    std::string const pdf = dir.path() + "/out.pdf";
    RunResult r = run_tarvo({"-p", "-o", pdf}, "Hello from tarvo\r\n\f", dir.path(),
                            {"ZENTHORAX=" + build_dir(), "HOME"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(read_file(pdf).rfind("%PDF-", 0), 0u);
    EXPECT_NE(shell_output("pdftotext '" + pdf + "' -").find("Hello from tarvo"), std::string::npos);
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
    EXPECT_NE(bytes.find("pdfaid:part='2'"), std::string::npos)
        << "no PDF/A-2 identification in the metadata";
    std::string const info = shell_output("pdfinfo '" + pdf + "'");
    auto const title = info.find("Title:");
    ASSERT_NE(title, std::string::npos) << info;
    std::string const line = info.substr(title, info.find('\n', title) - title);
    EXPECT_EQ(line.substr(line.find_first_not_of(' ', 6)), "Quarterly report") << info;
}

TEST(GhostscriptOutput, FailureStatusIsReported)
{
    TempDir dir;
    std::string const fake = stand_in(dir, "cat >/dev/null\nexit 5\n");
    RunResult r = run_tarvo({"-p", "-C", "CONFIG:GS=" + fake}, "text\f", dir.path(), {"HOME"});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "tarvo: ghostscript returned exit status 5\n");

    // An interpreter that dies without reading: no crash, status reported.
    std::string const quitter = stand_in(dir, "exit 2\n");
    std::string big(200000, 'x');
    r = run_tarvo({"-p", "-C", "CONFIG:GS=" + quitter}, big + "\f", dir.path(), {"HOME"});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "tarvo: ghostscript returned exit status 2\n");

    // A missing executable is reported by the shell (status 127).
    r = run_tarvo({"-p", "-C", "CONFIG:GS=" + dir.path() + "/no-such-gs"}, "text\f", dir.path(),
                  {"HOME"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("tarvo: ghostscript returned exit status 127\n"), std::string::npos)
        << r.err;
}

TEST(GhostscriptOutput, JobWithoutMarksNeverStartsTheInterpreter)
{
    TempDir dir;
    std::string const fake = stand_in(dir, "touch \"$0.started\"\ncat >/dev/null\nexit 9\n");
    RunResult r = run_tarvo({"-p", "-C", "CONFIG:GS=" + fake}, "\x1b" "E\r\n\f", dir.path(),
                            {"HOME"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    EXPECT_TRUE(read_file(fake + ".started").empty());
    struct stat st;
    EXPECT_NE(stat((fake + ".started").c_str(), &st), 0);
}

}  // namespace
