// Whole runs of the built binary through Ghostscript: a PDF and a PDF/A
// carrying the text, the title and the output intent; the interpreter's
// failure reported at the end; no interpreter for a job without marks.
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "test_support.h"

namespace {

bool have(char const* tool)
{
    std::string const cmd = std::string("command -v ") + tool + " >/dev/null 2>&1";
    return std::system(cmd.c_str()) == 0;
}

std::string build_dir()
{
    std::string const bin = TARVO_BINARY;
    return bin.substr(0, bin.rfind('/'));
}

// Output of a shell command (stdout only).
std::string run_cmd(std::string const& cmd)
{
    std::string out;
    if (FILE* p = popen(cmd.c_str(), "r")) {
        char buf[4096];
        size_t n;
        while ((n = std::fread(buf, 1, sizeof buf, p)) > 0)
            out.append(buf, n);
        pclose(p);
    }
    return out;
}

std::string stand_in(TempDir const& dir, std::string const& body)
{
    std::string const path = dir.write("fake-gs", "#!/bin/sh\n" + body);
    chmod(path.c_str(), 0755);
    return path;
}

TEST(GhostscriptOutput, PdfCarriesTheText)
{
    if (!have("gs") || !have("pdftotext"))
        GTEST_SKIP() << "Ghostscript or pdftotext not installed";
    TempDir dir;
    std::string const pdf = dir.path() + "/out.pdf";
    RunResult r = run_tarvo({"-p", "-o", pdf}, "Hello from tarvo\r\n\f", dir.path(),
                            {"ZENTHORAX=" + build_dir(), "HOME"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(read_file(pdf).rfind("%PDF-", 0), 0u);
    EXPECT_NE(run_cmd("pdftotext '" + pdf + "' -").find("Hello from tarvo"), std::string::npos);
}

TEST(GhostscriptOutput, PdfaHasOutputIntentAndTitle)
{
    if (!have("gs") || !have("pdfinfo"))
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
    std::string const info = run_cmd("pdfinfo '" + pdf + "'");
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
