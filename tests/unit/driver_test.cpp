// Driver behaviour that depends on standard input, the environment, the
// build or the interpreter program; option and file cases are golden cases
// (drv_*).
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "test_support.h"
#include "version.h"

namespace {

std::string const kUsage = "usage: tarvo [options] [pcl files ...]\n"
                           "Please use the -help option to get more information\n";

// A run of the binary and what it should end with.
struct RunCase {
    std::vector<std::string> args;
    std::string input;
    int status;
    std::string err;
};

// Environment that keeps the machine's configuration out of a run.
std::vector<std::string> isolated(TempDir const& dir)
{
    return {"HOME=" + dir.path() + "/home", "ZENTHORAX_ETC=" + dir.path() + "/etc",
            "ZENTHORAX=" + dir.path() + "/base"};
}

TEST(Driver, VersionHelpAndUsage)
{
    // The long words and their GNU-style aliases print to standard output;
    // the version is the project's, in the family's style.
    for (char const* word : {"-version", "--version"}) {
        RunResult r = run_tarvo({word});
        EXPECT_EQ((std::pair{r.status, r.err}), (std::pair{0, std::string()}));
        EXPECT_TRUE(std::regex_match(
            r.out,
            std::regex(
                "tarvo: tarvo " TARVO_VERSION
                R"( \([A-Z][a-z][a-z] [1-9][0-9]? [0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2}\)\n)")))
            << r.out;
    }
    EXPECT_TRUE(std::regex_match(TARVO_VERSION, std::regex(R"(A\.[0-9]{2}\.[0-9]{2}\.[0-9]{2})")));
    EXPECT_EQ(run_tarvo({"-V"}).out, "tarvo: tarvo " TARVO_VERSION "\n");

    for (char const* word : {"-help", "--help"}) {
        RunResult r = run_tarvo({word});
        EXPECT_EQ((std::pair{r.status, r.err}), (std::pair{0, std::string()}));
        EXPECT_EQ(
            r.out.rfind("\nZENTHORAX TARVO - Document Conversion Utilities (" TARVO_FAMILY_VERSION
                        ")\n"
                        "usage: tarvo [options] [pcl-file ...]\noutput options:\n -p ",
                        0),
            0u)
            << r.out;
        EXPECT_NE(r.out.find(" -V       output version and exit\n\nThe tarvo utility converts"),
                  std::string::npos);
    }
    RunResult r;

    TempDir dir;
    auto env = isolated(dir);
    r = run_tarvo({"-a", "-o"}, {}, {}, env);
    EXPECT_EQ((std::pair{r.status, r.err}),
              (std::pair{2, "tarvo: option -o requires an argment\n" + kUsage}));
    for (auto const& args : std::vector<std::vector<std::string>>{{}, {"-d"}}) {
        r = run_tarvo(args, {}, {}, env);
        EXPECT_EQ((std::pair{r.status, r.err}), (std::pair{2, kUsage}));
    }

    // Without file arguments standard input is read once; "-" names it
    // among files and gives no title.
    EXPECT_EQ(run_tarvo({"-a"}, "\x0e", dir.path(), env).out, "<SO> -> Secondary font\n");
    std::string const file = dir.write("job.pcl", "\x0f");
    r = run_tarvo({"-a", "-", file}, "\x0e", dir.path(), env);
    EXPECT_EQ((std::pair{r.status, r.out}),
              (std::pair{0, "processing file -\n<SO> -> Secondary font\nprocessing file " + file +
                                "\n<SI> -> Primary font\n"}));
    r = run_tarvo({"-s", "-", "-t", "T"}, "text", dir.path(), env);
    EXPECT_NE(r.out.find("%%Title: T\n"), std::string::npos);
    r = run_tarvo({"-s", "-"}, "text", dir.path(), env);
    EXPECT_EQ(r.out.find("%%Title: -"), std::string::npos);
    EXPECT_NE(r.out.find("(text)"), std::string::npos) << r.out;
}

TEST(Driver, PrintingNeedsADevice)
{
    // -g without a configured device would open a display: refused before
    // Ghostscript starts.
    TempDir dir;
    auto env = isolated(dir);
    env.insert(env.end(), {"GS_DEVICE", "GS_OPTIONS"});
    std::string const gs = dir.write("gs.sh", "#!/bin/sh\ncat >/dev/null\necho ran\n");
    ASSERT_EQ(chmod(gs.c_str(), 0755), 0);
    std::string const config = "config:gs=" + gs;
    RunResult r = run_tarvo({"-g", "-C", config}, "text", {}, env);
    EXPECT_EQ((std::array{std::to_string(r.status), r.out, r.err}),
              (std::array<std::string, 3>{"1", "",
                                          "tarvo: -g needs an output device: give -sDEVICE=... in "
                                          "GS.PRINT.OPT, GS.OPT or -G\n"}));
    for (auto const& named :
         std::vector<std::vector<std::string>>{{"-G", "-sDEVICE=ljet4"},
                                               {"-C", "config:gs.print.opt=-r600 -sDEVICE=pxlmono"},
                                               {"-C", "config:gs.opt=-dNODISPLAY"}}) {
        auto args = named;
        args.insert(args.end(), {"-g", "-C", config});
        r = run_tarvo(args, "text", {}, env);
        EXPECT_EQ((std::pair{r.status, r.out}), (std::pair{0, std::string("ran\n")}))
            << named.back();
    }
    env.push_back("GS_DEVICE=ljet4");
    EXPECT_EQ(run_tarvo({"-g", "-C", config}, "text", {}, env).status, 0);
}

TEST(Driver, ConfigurationLookup)
{
    TempDir dir;
    auto env = isolated(dir);
    // No configuration anywhere is normal, also without HOME.
    env.push_back("HOME");
    RunResult r = run_tarvo({"-a"}, "", dir.path(), env);
    EXPECT_EQ((std::pair{r.status, r.err}), (std::pair{0, std::string()}));

    // A default location that exists but cannot be read is fatal; a
    // directory in the way counts as no file there. A directory given with
    // -c is an error.
    env.back() = "HOME=" + dir.path() + "/blocked";
    dir.write("blocked/.tarvo/x", "");
    EXPECT_EQ(run_tarvo({"-a"}, "", dir.path(), env).status, 0);
    r = run_tarvo({"-a", "-c", dir.path() + "/blocked"}, "", dir.path(), env);
    EXPECT_EQ((std::pair{r.status, r.err}),
              (std::pair{1, dir.path() + "/blocked: Is a directory\n"}));
    env.back() = "HOME=" + dir.write("plainfile", "");
    r = run_tarvo({"-a"}, "", dir.path(), env);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, dir.path() +
                         "/plainfile/.tarvo: Not a directory\ntarvo: Unable to read config file\n");

    // Over-long HOME or configuration directory: skipped, never overflowing.
    env.back() = "HOME=/" + std::string(5000, 'h');
    env.push_back("ZENTHORAX_ETC=/" + std::string(1100, 'e'));
    r = run_tarvo({"-a"}, "\r", dir.path(), env);
    EXPECT_EQ((std::array{std::to_string(r.status), r.out, r.err}),
              (std::array<std::string, 3>{"0", "<CR>\n", ""}));
}

// The Ghostscript executable that a run would start, as shown by -v.
std::string configured_gs(RunResult const& r)
{
    auto end = r.err.find("\" -q ");
    if (r.err.empty() || r.err[0] != '"' || end == std::string::npos)
        return "<" + r.err + ">";
    return r.err.substr(1, end - 1);
}

TEST(Driver, ConfigurationSearchOrderAndCommandLinePrecedence)
{
    TempDir dir;
    auto env = isolated(dir);
    std::string const cwd = dir.path() + "/work";
    auto gs = [&](std::vector<std::string> args) {
        args.insert(args.end(), {"-v", "-p"});
        return configured_gs(run_tarvo(args, "", cwd, env));
    };
    dir.write("work/.keep", "");
    dir.write("etc/tarvo.cfg", "[CONFIG]\nGS=from-etc\n");
    EXPECT_EQ(gs({}), "from-etc");
    dir.write("home/.tarvo", "[config]\ngs = from-home ; comment\n");
    EXPECT_EQ(gs({}), "from-home");
    dir.write("work/tarvo.cfg", "[CONFIG]\nGS=from-cwd\n");
    EXPECT_EQ(gs({}), "from-cwd");

    // -c replaces the search; -C definitions are the drv_gs_* golden cases.
    EXPECT_EQ(gs({"-c", dir.write("other.cfg", "[CONFIG]\nGS=from-c\n")}), "from-c");
}

// A job whose macro ends by executing itself stops through a pipe as it
// does from a file, with one message.
TEST(Driver, SelfExecutingMacroEndsOnAPipe)
{
    TempDir dir;
    std::string const job =
        dir.write("job.pcl", "\x1b&f1Y\x1b&f0XHi\x1b&f1Y\x1b&f2X\x1b&f1X\x1b&f1Y\x1b&f2X");
    std::string const cmd = "cat '" + job + "' | HOME='" + dir.path() +
                            "' '" TARVO_BINARY "' -s >'" + dir.path() + "/out' 2>'" + dir.path() +
                            "/err'";
    EXPECT_EQ(std::system(cmd.c_str()), 0);
    EXPECT_EQ(read_file(dir.path() + "/err"), "tarvo: standard input: macros replayed more than "
                                              "67111232 bytes; further macro calls skipped\n");
    EXPECT_NE(read_file(dir.path() + "/out").find("%%EOF"), std::string::npos);
}

TEST(Driver, ExitStatusOfTheInterpreter)
{
    TempDir dir;
    auto env = isolated(dir);
    // The second kills the shell that popen started (never the converter).
    std::string const failing = dir.write("fail.sh", "#!/bin/sh\ncat >/dev/null\nexit 3\n"),
                      killed = dir.write(
                          "kill.sh", "#!/bin/sh\ncat >/dev/null\n"
                                     "[ \"$(cat /proc/$PPID/comm)\" = tarvo ] || kill -9 $PPID\n"),
                      quitter = dir.write("quit.sh", "#!/bin/sh\nexit 0\n");
    for (auto const& f : {failing, killed, quitter})
        ASSERT_EQ(chmod(f.c_str(), 0755), 0);

    std::string big;  // for an interpreter that stops reading early
    for (int i = 0; i < 20000; ++i)
        big += "a line of text that fills the pipe\r\n";
    RunCase const cases[] = {
        {{"-p", "-C", "config:gs=" + failing},
         "text",
         1,
         "tarvo: ghostscript returned exit status 3\n"},
        {{"-g", "-G", "-sDEVICE=x", "-C", "config:gs=" + killed},
         "text",
         1,
         "tarvo: ghostscript returned exit status 265\n"},
        // Nothing drawn: the command is shown but never started.
        {{"-g", "-a", "-C", "config:gs=" + failing},
         "text",
         0,
         "\"" + failing + "\" -q -dNOPAUSE -dBATCH -dSAFER -sOutputFile=\"-\" -_\n"},
        // One that quits without reading: the failed write is an error.
        {{"-p", "-C", "config:gs=" + quitter}, big, 1, "tarvo: ghostscript: Broken pipe\n"},
    };
    for (RunCase const& c : cases) {
        RunResult r = run_tarvo(c.args, c.input, {}, env);
        EXPECT_EQ((std::pair{r.status, r.err}), (std::pair{c.status, c.err})) << c.args.back();
    }
}

// Failed writes and reads end the run with the file named and exit status 1.
TEST(Driver, WriteAndReadErrorsAreReported)
{
    TempDir dir;
    auto env = isolated(dir);
    RunResult r = run_tarvo({"-s", "-o", "/dev/full"}, "text", {}, env);
    EXPECT_EQ((std::pair{r.status, r.err}),
              (std::pair{1, std::string("tarvo: /dev/full: No space left on device\n")}));
    std::string const cmd = "'" TARVO_BINARY "' -s <'" + dir.write("job.pcl", "text") +
                            "' >/dev/full 2>'" + dir.path() + "/err'; echo $? >>'" + dir.path() +
                            "/err'";
    ASSERT_EQ(std::system(cmd.c_str()), 0);
    EXPECT_EQ(read_file(dir.path() + "/err"),
              "tarvo: standard output: No space left on device\n1\n");
    // Standard input that cannot be read.
    std::string const dcmd = "'" TARVO_BINARY "' -s <'" + dir.path() + "' 2>&1; echo $?";
    FILE* p = popen(dcmd.c_str(), "r");
    ASSERT_NE(p, nullptr);
    char buf[256] = {};
    size_t const n = std::fread(buf, 1, sizeof buf - 1, p);
    pclose(p);
    EXPECT_EQ(std::string(buf, n), "tarvo: standard input: Is a directory\n1\n");
}

// With -o the target is replaced only by a complete, non-empty result; a
// failed run leaves an earlier file as it was and no temporary file.
TEST(Driver, OutputFileReplacedOnlyOnSuccess)
{
    TempDir dir;
    auto env = isolated(dir);
    std::string const failing = dir.write("fail.sh", "#!/bin/sh\ncat >/dev/null\nexit 3\n"),
                      silent = dir.write("silent.sh", "#!/bin/sh\ncat >/dev/null\nexit 0\n");
    for (auto const& f : {failing, silent})
        ASSERT_EQ(chmod(f.c_str(), 0755), 0);
    std::string const out = dir.write("out/result", "OLD");
    auto listing = [&] {
        std::string names;
        for (auto const& e : std::filesystem::directory_iterator(dir.path() + "/out"))
            names += e.path().filename().string() + " ";
        return names;
    };
    RunCase const cases[] = {
        {{"-p", "-C", "config:gs=" + failing},
         "text",
         1,
         "tarvo: ghostscript returned exit status 3\n"},
        {{"-p", "-C", "config:gs=" + silent},
         "text",
         1,
         "tarvo: " + out + ": ghostscript wrote nothing; no output written\n"},
        {{"-s"}, "\r\n", 0, "tarvo: no page was drawn; no output written\n"},
        {{"-s", dir.path() + "/missing.pcl", "-"},
         "text",
         1,
         dir.path() + "/missing.pcl: No such file or directory\n"},
    };
    for (RunCase const& c : cases) {
        std::vector<std::string> args = c.args;
        args.insert(args.begin() + 1, {"-o", out});
        RunResult r = run_tarvo(args, c.input, {}, env);
        EXPECT_EQ((std::pair{r.status, r.err}), (std::pair{c.status, c.err})) << c.args.back();
        EXPECT_EQ(read_file(out), "OLD");
        EXPECT_EQ(listing(), "result ");
    }
    RunResult r = run_tarvo({"-s", "-o", out}, "text", {}, env);
    EXPECT_EQ((std::pair{r.status, r.err}), (std::pair{0, std::string()}));
    EXPECT_EQ(read_file(out).rfind("%!PS-Adobe-3.0\n", 0), 0u);
    EXPECT_EQ(listing(), "result ");
    struct stat st;
    ASSERT_EQ(stat(out.c_str(), &st), 0);
    EXPECT_NE(st.st_mode & 0044, 0u);  // not the temporary file's 0600
    // A replaced file keeps its permissions: a private one stays private.
    for (mode_t const mode : {0600, 0640}) {
        ASSERT_EQ(chmod(out.c_str(), mode), 0);
        r = run_tarvo({"-s", "-o", out}, "text", {}, env);
        ASSERT_EQ(r.status, 0) << r.err;
        ASSERT_EQ(stat(out.c_str(), &st), 0);
        EXPECT_EQ(st.st_mode & 07777, mode);
    }
}

// Runs that would succeed silently with nothing to show say why.
TEST(Driver, NothingToShowIsExplained)
{
    TempDir dir;
    auto env = isolated(dir);
    RunResult r = run_tarvo({"-s", dir.path()}, "", {}, env);
    EXPECT_EQ((std::pair{r.status, r.err}), (std::pair{1, dir.path() + ": Is a directory\n"}));
    r = run_tarvo({"-s", dir.write("empty.pcl", "")}, "", {}, env);
    EXPECT_EQ((std::tuple{r.status, r.out, r.err}),
              (std::tuple{0, std::string(),
                          std::string("tarvo: no page was drawn; no output written\n")}));
    // Other kinds of file are still converted, with a word of warning.
    for (std::string head : {"%PDF-1.7\n", "\x89PNG\r\n\x1a\n", "\xff\xd8\xff\xe0", "PK\x03\x04",
                             "\x7f"
                             "ELF\x02"}) {
        std::string const f = dir.write("odd.pcl", head + "text");
        r = run_tarvo({"-s", f}, "", {}, env);
        EXPECT_EQ((std::pair{r.status, r.err}),
                  (std::pair{0, "tarvo: " + f + ": does not look like PCL\n"}));
        EXPECT_NE(r.out.find("text)S"), std::string::npos);
    }
}

}  // namespace
