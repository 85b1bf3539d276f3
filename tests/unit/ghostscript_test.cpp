#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "config_store.h"
#include "ghostscript.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

class GsCommand : public testing::Test {
protected:
    void SetUp() override
    {
        config_clear();
        verbose = 0;
        unsetenv("GS_FONTPATH");
    }
    void TearDown() override
    {
        config_clear();
        verbose = 0;
        unsetenv("GS_FONTPATH");
    }
    static std::string setup(int level, char const* output, char const* options)
    {
        gs_setup(level, output, options);
        return gs_cmd;
    }
};

constexpr char kBase[] = "\"gs\" -q -dNOPAUSE -dBATCH";
constexpr char kRgb[] =
    " -sColorConversionStrategy=RGB -sProcessColorModel=DeviceRGB -dPDFACompatibilityPolicy=1";

TEST_F(GsCommand, ModesWithoutConfiguration)
{
    EXPECT_EQ(setup(1, nullptr, nullptr),
              std::string(kBase) + " -sDEVICE=pdfwrite -sOutputFile=\"-\" -");
    EXPECT_EQ(setup(2, "out.pdf", nullptr),
              std::string(kBase) + " -dNOSAFER -sDEVICE=pdfwrite -dPDFA=1" + kRgb +
                  " -sOutputFile=\"out.pdf\" -");
    EXPECT_EQ(setup(3, nullptr, nullptr),
              std::string(kBase) + " -dNOSAFER -sDEVICE=pdfwrite -dPDFA=2" + kRgb +
                  " -sOutputFile=\"-\" -");
    EXPECT_EQ(setup(0, nullptr, nullptr), std::string(kBase) + " -sOutputFile=\"-\" -");
}

TEST_F(GsCommand, OptionOrderAndConfiguredItems)
{
    config_add_value("CONFIG", "GS", "/opt/gs/bin/gs");
    config_add_value("CONFIG", "GS.PRINT.OPT", "-sDEVICE=ljet4 -r300");
    config_add_value("CONFIG", "GS.PDF.OPT", "-dCompatibilityLevel=1.4");
    config_add_value("CONFIG", "GS.PAPER.SIZE", "a4");
    config_add_value("CONFIG", "GS.OPT", "-dSAFER");
    std::string const base = "\"/opt/gs/bin/gs\" -q -dNOPAUSE -dBATCH";
    // -G options first, then the mode's item, paper size and general options.
    EXPECT_EQ(setup(0, "/dev/lp0", "-dQUIET -r600"),
              base + " -dQUIET -r600 -sDEVICE=ljet4 -r300 -sPAPERSIZE=a4 -dSAFER"
                     " -sOutputFile=\"/dev/lp0\" -");
    EXPECT_EQ(setup(1, "x.pdf", "-dFirst"),
              base + " -sDEVICE=pdfwrite -dFirst -dCompatibilityLevel=1.4 -sPAPERSIZE=a4"
                     " -dSAFER -sOutputFile=\"x.pdf\" -");
    // A configured PDF/A text replaces the RGB conversion options.
    config_add_value("CONFIG", "GS.PDFA.OPT", "-dOwn");
    EXPECT_EQ(setup(2, nullptr, nullptr),
              base + " -dNOSAFER -sDEVICE=pdfwrite -dPDFA=1 -dOwn -sPAPERSIZE=a4 -dSAFER"
                     " -sOutputFile=\"-\" -");
}

TEST_F(GsCommand, FontPathAndTrace)
{
    config_add_value("CONFIG", "GS.FONTPATH", "/usr/share/fonts/x");
    setenv("GS_FONTPATH", "/old", 1);
    std::string err = capture_stderr([] { gs_setup(1, nullptr, nullptr); });
    EXPECT_STREQ(getenv("GS_FONTPATH"), "/usr/share/fonts/x");
    EXPECT_EQ(err, "");
    verbose = 1;
    err = capture_stderr([] { gs_setup(1, nullptr, nullptr); });
    EXPECT_EQ(err, gs_cmd + "\n");
}

TEST_F(GsCommand, QuotingEscapesShellSpecials)
{
    EXPECT_EQ(setup(1, "a b\"c$d`e\\f;g", nullptr),
              std::string(kBase) + " -sDEVICE=pdfwrite -sOutputFile=\"a b\\\"c\\$d\\`e\\\\f;g\" -");
    // Long names are held whole.
    std::string const long_name(5000, 'n');
    EXPECT_NE(setup(1, long_name.c_str(), nullptr).find(long_name + "\" -"), std::string::npos);
}

// A stand-in interpreter that records its arguments (NUL-separated) and its
// standard input in the directory named by GS_RECORD, then exits with
// GS_STATUS.
std::string write_stand_in(TempDir const& dir, std::string const& sub = {})
{
    std::string const script =
        "#!/bin/sh\n"
        "printf '%s\\0' \"$@\" > \"$GS_RECORD/args\"\n"
        "if [ -n \"$GS_SKIP_INPUT\" ]; then exit \"${GS_STATUS:-0}\"; fi\n"
        "cat > \"$GS_RECORD/stdin\"\n"
        "exit \"${GS_STATUS:-0}\"\n";
    std::string const path = dir.write(sub.empty() ? "gs" : sub + "/gs", script);
    chmod(path.c_str(), 0755);
    return path;
}

std::vector<std::string> split_nul(std::string const& s)
{
    std::vector<std::string> out;
    size_t start = 0;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '\0') {
            out.push_back(s.substr(start, i - start));
            start = i + 1;
        }
    }
    return out;
}

class GsPipe : public GsCommand {
protected:
    void SetUp() override
    {
        GsCommand::SetUp();
        setenv("GS_RECORD", dir.path().c_str(), 1);
        unsetenv("GS_STATUS");
        unsetenv("GS_SKIP_INPUT");
    }
    void TearDown() override
    {
        gs_close();
        unsetenv("GS_RECORD");
        unsetenv("GS_STATUS");
        unsetenv("GS_SKIP_INPUT");
        outfp = nullptr;
        GsCommand::TearDown();
    }
    TempDir dir;
};

TEST_F(GsPipe, HostileNamesArriveAsOneLiteralArgument)
{
    // Both the executable's directory and the output name carry every
    // character the shell would act on.
    std::string const evil = "a b\"q'$(touch PWNED1)`touch PWNED2`;touch PWNED3\n$HOME\\x";
    std::string const exe = write_stand_in(dir, evil);
    config_add_value("CONFIG", "GS", exe.c_str());
    std::string const out = dir.path() + "/" + evil + ".pdf";

    gs_setup(1, out.c_str(), nullptr);
    // Run in the temporary directory, where an injected "touch" would land.
    char cwd_before[4096];
    ASSERT_NE(getcwd(cwd_before, sizeof cwd_before), nullptr);
    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    gs_run();
    ASSERT_NE(outfp, nullptr);
    std::fputs("%!PS\nshowpage\n", outfp);
    int const status = gs_close();
    EXPECT_EQ(outfp, nullptr);
    ASSERT_EQ(chdir(cwd_before), 0);

    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    std::vector<std::string> const args = split_nul(read_file(dir.path() + "/args"));
    EXPECT_EQ(args, (std::vector<std::string>{"-q", "-dNOPAUSE", "-dBATCH", "-sDEVICE=pdfwrite",
                                              "-sOutputFile=" + out, "-"}));
    EXPECT_EQ(read_file(dir.path() + "/stdin"), "%!PS\nshowpage\n");
    for (char const* f : {"/PWNED1", "/PWNED2", "/PWNED3"}) {
        EXPECT_NE(access((dir.path() + f).c_str(), F_OK), 0) << f << " was created";
    }
}

TEST_F(GsPipe, StatusOfTheInterpreterAndWritesAfterItDied)
{
    config_add_value("CONFIG", "GS", write_stand_in(dir).c_str());
    EXPECT_EQ(gs_close(), -1);  // nothing open yet

    setenv("GS_STATUS", "3", 1);
    setenv("GS_SKIP_INPUT", "1", 1);
    gs_setup(1, nullptr, nullptr);
    gs_run();
    // The interpreter has exited without reading: writing into the broken
    // pipe must fail quietly, not end the process.
    std::string const block(1 << 16, 'x');
    for (int i = 0; i < 32; ++i)
        std::fwrite(block.data(), 1, block.size(), outfp);
    std::fflush(outfp);
    int const status = gs_close();
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 3);
    EXPECT_EQ(gs_close(), -1);
}

}  // namespace
