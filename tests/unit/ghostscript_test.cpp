// The interpreter command line, and a stand-in interpreter that records what
// it received. Exit statuses and jobs without marks are golden cases (gs_*).
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "config_store.h"
#include "ghostscript.h"
#include "pcl/ps/resources.h"
#include "pcl/ps/writer.h"
#include "reset.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

class GsCommand : public testing::Test {
protected:
    void SetUp() override
    {
        tarvo_reset();
        unsetenv("GS_FONTPATH");
    }
    void TearDown() override { SetUp(); }
    static std::string setup(int level, char const* output, char const* options)
    {
        gs_setup(level, output, options);
        return gs_cmd;
    }
};

TEST_F(GsCommand, OptionsPerModeAndFromTheConfiguration)
{
    std::string const base = "\"gs\" -q -dNOPAUSE -dBATCH -dSAFER";
    std::string const permit = " --permit-file-read=\"" + ps_icc_profile_path() + "\"";
    std::string const rgb =
        " -sColorConversionStrategy=RGB -sProcessColorModel=DeviceRGB -dPDFACompatibilityPolicy=1";
    EXPECT_EQ(setup(1, nullptr, nullptr), base + " -sDEVICE=pdfwrite -sOutputFile=\"-\" -_");
    EXPECT_EQ(setup(2, "o.pdf", nullptr),
              base + permit + " -sDEVICE=pdfwrite -dPDFA=1" + rgb + " -sOutputFile=\"o.pdf\" -_");
    EXPECT_EQ(setup(3, nullptr, nullptr),
              base + permit + " -sDEVICE=pdfwrite -dPDFA=2" + rgb + " -sOutputFile=\"-\" -_");
    EXPECT_EQ(setup(0, nullptr, nullptr), base + " -sOutputFile=\"-\" -_");

    config_add_value("CONFIG", "GS", "/opt/gs");
    config_add_value("CONFIG", "GS.PRINT.OPT", "-r300");
    config_add_value("CONFIG", "GS.PDF.OPT", "-dPdf");
    config_add_value("CONFIG", "GS.PDFA.OPT", "-dOwn");  // replaces the RGB options
    config_add_value("CONFIG", "GS.PAPER.SIZE", "a4");
    config_add_value("CONFIG", "GS.OPT", "-dSAFER");
    config_add_value("CONFIG", "GS.FONTPATH", "/fonts");
    config_add_value("CONFIG", "PS.INCLUDE", "/res");  // the profile's directory
    std::string const own = "\"/opt/gs\" -q -dNOPAUSE -dBATCH -dSAFER";
    // -G options first, then the mode's item, paper size and general options.
    EXPECT_EQ(setup(0, "/dev/lp0", "-dG"),
              own + " -dG -r300 -sPAPERSIZE=a4 -dFIXEDMEDIA -dSAFER -sOutputFile=\"/dev/lp0\" -_");
    EXPECT_EQ(setup(1, nullptr, "-dG"), own + " -sDEVICE=pdfwrite -dG -dPdf -sPAPERSIZE=a4 "
                                              "-dFIXEDMEDIA -dSAFER -sOutputFile=\"-\" -_");
    EXPECT_EQ(setup(2, nullptr, nullptr),
              own + " --permit-file-read=\"/res/sRGB.icc\" -sDEVICE=pdfwrite -dPDFA=1 -dOwn "
                    "-sPAPERSIZE=a4 -dFIXEDMEDIA -dSAFER -sOutputFile=\"-\" -_");
    EXPECT_STREQ(getenv("GS_FONTPATH"), "/fonts");
    verbose = 1;
    std::string const trace = capture_stderr([] { gs_setup(1, nullptr, nullptr); });
    EXPECT_EQ(trace, gs_cmd + "\n");
}

// Names the interpreter would take for a pipe, a device or a page-number
// pattern reach it as plain file names.
TEST(GsOutputName, InterpreterSyntaxIsNeutralised)
{
    EXPECT_EQ(gs_output_name(nullptr), "-");
    EXPECT_EQ(gs_output_name("out.pdf"), "out.pdf");
    EXPECT_EQ(gs_output_name("|cat > /tmp/x"), "./|cat > /tmp/x");
    EXPECT_EQ(gs_output_name("%pipe%id"), "./%%pipe%%id");
    EXPECT_EQ(gs_output_name("page%d.pdf"), "page%%d.pdf");
    EXPECT_EQ(gs_output_name("/abs/|x%"), "/abs/|x%%");
}

// Both the executable's directory and the output name carry every character
// the shell would act on; the stand-in interpreter records its arguments
// (NUL-separated) and its input.
TEST_F(GsCommand, HostileNamesArriveAsOneLiteralArgument)
{
    TempDir dir;
    std::string const evil = "a b\"q'$(touch PWNED1)`touch PWNED2`;touch PWNED3\n$HOME\\x";
    std::string const exe =
        dir.write(evil + "/gs", "#!/bin/sh\nprintf '%s\\0' \"$@\" > \"$GS_RECORD/args\"\n"
                                "cat > \"$GS_RECORD/stdin\"\n");
    chmod(exe.c_str(), 0755);
    setenv("GS_RECORD", dir.path().c_str(), 1);
    config_add_value("CONFIG", "GS", exe.c_str());
    std::string const out = dir.path() + "/" + evil + ".pdf";
    gs_setup(1, out.c_str(), nullptr);
    char cwd[4096];  // run where an injected "touch" would land
    ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    gs_run();
    ASSERT_NE(outfp, nullptr);
    std::fputs("%!PS\nshowpage\n", outfp);
    EXPECT_EQ(gs_close(), 0);
    EXPECT_EQ(outfp, nullptr);
    EXPECT_EQ(gs_close(), -1);
    ASSERT_EQ(chdir(cwd), 0);
    unsetenv("GS_RECORD");

    std::string const args = read_file(dir.path() + "/args");
    EXPECT_EQ(args, std::string("-q\0-dNOPAUSE\0-dBATCH\0-dSAFER\0-sDEVICE=pdfwrite\0", 47) +
                        "-sOutputFile=" + out + std::string("\0-_\0", 4));
    EXPECT_EQ(read_file(dir.path() + "/stdin"), "%!PS\nshowpage\n");
    for (char const* f : {"/PWNED1", "/PWNED2", "/PWNED3"})
        EXPECT_NE(access((dir.path() + f).c_str(), F_OK), 0) << f << " was created";
}

}  // namespace
