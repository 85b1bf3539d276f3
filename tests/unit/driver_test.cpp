#include <sys/stat.h>

#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "test_support.h"

namespace {

std::string const kUsage =
    "usage: tarvo [options] [pcl files ...]\n"
    "Please use the -help option to get more information\n";

// Environment that keeps the machine's configuration out of a run.
std::vector<std::string> isolated(TempDir const& dir)
{
    return {"HOME=" + dir.path() + "/home", "ZENTHORAX_ETC=" + dir.path() + "/etc",
            "ZENTHORAX=" + dir.path() + "/base"};
}

TEST(Driver, VersionAndHelp)
{
    RunResult r = run_tarvo({"-version"});
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(std::regex_match(
        r.out, std::regex(R"(tarvo: tarvo A\.01\.00\.00 \([A-Z][a-z][a-z] [1-9][0-9]? [0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2}\)\n)")))
        << r.out;
    EXPECT_EQ(r.err, "");

    r = run_tarvo({"-a", "-V", "-x"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "tarvo: tarvo A.01.00.00\n");

    r = run_tarvo({"-help"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err.rfind("\nZENTHORAX TARVO - Document Conversion Utilities (A.01.00)\n"
                          "usage: tarvo [options] [pcl-file ...]\noutput options:\n -p ",
                          0),
              0u)
        << r.err;
    EXPECT_NE(r.err.find(" -V       output version and exit\n\nThe tarvo utility converts"),
              std::string::npos);
    EXPECT_NE(r.err.find("Zenthorax web site:\nhttps://"), std::string::npos);

    // Only a lone "-help" is the long word; otherwise it is -h -e -l -p.
    r = run_tarvo({"-help", "x"});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err, "tarvo: unrecognized option -h\n" + kUsage);
}

TEST(Driver, UsageErrorsAndModeCheck)
{
    TempDir dir;
    auto env = isolated(dir);
    RunResult r = run_tarvo({"-a", "-o"}, {}, {}, env);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err, "tarvo: option -o requires an argment\n" + kUsage);

    r = run_tarvo({"-a", "-Q"}, {}, {}, env);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err, "tarvo: unrecognized option -Q\n" + kUsage);

    for (auto const& args : std::vector<std::vector<std::string>>{{}, {"-d"}, {"-s", "-d"}, {"-p", "-d"}}) {
        r = run_tarvo(args, {}, {}, env);
        EXPECT_EQ(r.status, 2);
        EXPECT_EQ(r.err, kUsage);
        EXPECT_EQ(r.out, "");
    }

    // -d then -s passes the check and traces input; -v alone is analysis.
    r = run_tarvo({"-d", "-s"}, "A", {}, env);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.rfind("in: A\nch: A\nChar: A\n", 0), 0u) << r.out;
    r = run_tarvo({"-v"}, "\r", {}, env);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "<CR>\n");

    // Options after file names are still options.
    r = run_tarvo({"-", "-a"}, {}, {}, env);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "processing file -\n");
    EXPECT_EQ(r.err, "-: No such file or directory\n");

    r = run_tarvo({"-C", "nonsense", "-a"}, "", {}, env);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "nonsense: bad option, ignored\n");
}

TEST(Driver, InputFilesAndStandardInput)
{
    TempDir dir;
    auto env = isolated(dir);
    dir.write("one.pcl", "\r");
    dir.write("two.pcl", "\n");
    RunResult r = run_tarvo({"-a", "one.pcl", "missing.pcl", "two.pcl"}, "\x0e", dir.path(), env);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out,
              "processing file one.pcl\n<CR>\n"
              "processing file missing.pcl\n"
              "processing file two.pcl\n<LF>\n");
    EXPECT_EQ(r.err, "missing.pcl: No such file or directory\n");

    // Without file arguments standard input is read once.
    r = run_tarvo({"-a"}, "\x0e", dir.path(), env);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "<SO> -> Secondary font\n");

    // A last file that cannot be opened reads nothing more.
    r = run_tarvo({"-a", "missing.pcl"}, "\x0e", dir.path(), env);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "processing file missing.pcl\n");
}

TEST(Driver, OutputFile)
{
    TempDir dir;
    auto env = isolated(dir);
    RunResult r = run_tarvo({"-s", "-o", dir.path() + "/no/such/dir/out.ps"}, "", {}, env);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, dir.path() + "/no/such/dir/out.ps: No such file or directory\n");

    // Analysis mode ignores -o.
    r = run_tarvo({"-a", "-o", dir.path() + "/no/such/dir/out.ps"}, "\r", {}, env);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "<CR>\n");
}

TEST(Driver, ConfigurationLookup)
{
    TempDir dir;
    auto env = isolated(dir);

    // An explicit file that does not exist is fatal.
    RunResult r = run_tarvo({"-a", "-c", "nope.cfg"}, "", dir.path(), env);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "nope.cfg: No such file or directory\n");

    // No configuration anywhere is normal, also without HOME.
    env.push_back("HOME");
    r = run_tarvo({"-a"}, "", dir.path(), env);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "");

    // A default location that exists but cannot be read is fatal. A
    // directory in the way of the per-user file makes the open fail.
    env.back() = "HOME=" + dir.path() + "/blocked";
    dir.write("blocked/.tarvo/x", "");
    r = run_tarvo({"-a"}, "", dir.path(), env);
    EXPECT_EQ(r.status, 0) << "a directory opens; reading it yields nothing";
    env.back() = "HOME=" + dir.write("plainfile", "");
    r = run_tarvo({"-a"}, "", dir.path(), env);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, dir.path() + "/plainfile/.tarvo: Not a directory\ntarvo: Unable to read config file\n");

    // Over-long HOME or configuration directory: skipped, never overflowing.
    env.back() = "HOME=/" + std::string(5000, 'h');
    std::vector<std::string> long_env = env;
    long_env.push_back("ZENTHORAX_ETC=/" + std::string(1100, 'e'));
    r = run_tarvo({"-a"}, "\r", dir.path(), long_env);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "<CR>\n");
    EXPECT_EQ(r.err, "");
}

}  // namespace

namespace {

// The Ghostscript executable that a run would start, as shown by -v.
std::string configured_gs(RunResult const& r)
{
    auto end = r.err.find("\" -q ");
    if (r.err.empty() || r.err[0] != '"' || end == std::string::npos)
        return "<" + r.err + ">";
    return r.err.substr(1, end - 1);
}

TEST(DriverConfiguration, SearchOrderAndCommandLinePrecedence)
{
    TempDir dir;
    auto env = isolated(dir);
    std::string const cwd = dir.path() + "/work";
    dir.write("work/.keep", "");
    dir.write("etc/tarvo.cfg", "[CONFIG]\nGS=from-etc\n");
    // Nothing given: the installed configuration directory.
    EXPECT_EQ(configured_gs(run_tarvo({"-v", "-p"}, "", cwd, env)), "from-etc");
    env.push_back("HOME");
    EXPECT_EQ(configured_gs(run_tarvo({"-v", "-p"}, "", cwd, env)), "from-etc");
    env.pop_back();

    dir.write("home/.tarvo", "[config]\ngs = from-home ; comment\n");
    EXPECT_EQ(configured_gs(run_tarvo({"-v", "-p"}, "", cwd, env)), "from-home");

    dir.write("work/tarvo.cfg", "[CONFIG]\nGS=from-cwd\n");
    EXPECT_EQ(configured_gs(run_tarvo({"-v", "-p"}, "", cwd, env)), "from-cwd");

    // -c replaces the search; -C wins over any file; without a section the
    // definition goes to DEFAULT and does not touch the executable.
    dir.write("other.cfg", "[CONFIG]\nGS=from-c\n");
    EXPECT_EQ(configured_gs(run_tarvo({"-v", "-p", "-c", dir.path() + "/other.cfg"}, "", cwd, env)),
              "from-c");
    EXPECT_EQ(configured_gs(run_tarvo({"-C", "config:gs=from-C", "-v", "-p"}, "", cwd, env)), "from-C");
    EXPECT_EQ(configured_gs(run_tarvo({"-C", "gs=from-C", "-v", "-p"}, "", cwd, env)), "from-cwd");
    // An empty definition falls back to the built-in default.
    EXPECT_EQ(configured_gs(run_tarvo({"-C", "config:gs=", "-v", "-p"}, "", cwd, env)), "gs");
}

TEST(DriverGhostscript, ExitStatusOfTheInterpreter)
{
    TempDir dir;
    auto env = isolated(dir);
    std::string const failing = dir.write("fail.sh", "#!/bin/sh\ncat >/dev/null\nexit 3\n");
    // Kills the shell that popen started (never the converter itself).
    std::string const killed = dir.write(
        "kill.sh", "#!/bin/sh\ncat >/dev/null\n[ \"$(cat /proc/$PPID/comm)\" = tarvo ] || kill -9 $PPID\n");
    std::string const quitter = dir.write("quit.sh", "#!/bin/sh\nexit 0\n");
    for (auto const& f : {failing, killed, quitter})
        ASSERT_EQ(chmod(f.c_str(), 0755), 0);

    RunResult r = run_tarvo({"-C", "config:gs=" + failing, "-p"}, "text", {}, env);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "tarvo: ghostscript returned exit status 3\n");

    r = run_tarvo({"-C", "config:gs=" + killed, "-g"}, "text", {}, env);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "tarvo: ghostscript returned exit status 265\n");

    // Nothing drawn: the interpreter never starts and the file loop decides.
    r = run_tarvo({"-C", "config:gs=" + failing, "-pp", "missing.pcl"}, "text", dir.path(), env);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "missing.pcl: No such file or directory\n");
    r = run_tarvo({"-C", "config:gs=" + failing, "-g", "-a"}, "text", {}, env);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "Char (4) \"text\"\n");

    // An interpreter that stops reading early does not kill the converter.
    std::string big;
    for (int i = 0; i < 20000; ++i)
        big += "a line of text that fills the pipe\r\n";
    r = run_tarvo({"-C", "config:gs=" + quitter, "-p"}, big, {}, env);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "");
}

}  // namespace
