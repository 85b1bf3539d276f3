// Driver behaviour that depends on standard input, the environment or the
// interpreter program; option and file cases are golden cases (drv_*).
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

TEST(Driver, VersionHelpAndUsage)
{
    RunResult r = run_tarvo({"-version"});
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(std::regex_match(
        r.out, std::regex(R"(tarvo: tarvo A\.01\.00\.00 \([A-Z][a-z][a-z] [1-9][0-9]? [0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2}\)\n)")))
        << r.out;

    r = run_tarvo({"-help"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err.rfind("\nZENTHORAX TARVO - Document Conversion Utilities (A.01.00)\n"
                          "usage: tarvo [options] [pcl-file ...]\noutput options:\n -p ", 0),
              0u)
        << r.err;
    EXPECT_NE(r.err.find(" -V       output version and exit\n\nThe tarvo utility converts"),
              std::string::npos);

    TempDir dir;
    auto env = isolated(dir);
    r = run_tarvo({"-a", "-o"}, {}, {}, env);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err, "tarvo: option -o requires an argment\n" + kUsage);
    for (auto const& args : std::vector<std::vector<std::string>>{{}, {"-d"}}) {
        r = run_tarvo(args, {}, {}, env);
        EXPECT_EQ(r.status, 2);
        EXPECT_EQ(r.err, kUsage);
    }

    // Without file arguments standard input is read once; -d then -s
    // passes the mode check and traces the input.
    r = run_tarvo({"-a"}, "\x0e", dir.path(), env);
    EXPECT_EQ(r.out, "<SO> -> Secondary font\n");
    r = run_tarvo({"-d", "-s"}, "A", {}, env);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.rfind("in: A\nch: A\nChar: A\n", 0), 0u) << r.out;
}

TEST(Driver, ConfigurationLookup)
{
    TempDir dir;
    auto env = isolated(dir);
    // No configuration anywhere is normal, also without HOME.
    env.push_back("HOME");
    RunResult r = run_tarvo({"-a"}, "", dir.path(), env);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "");

    // A default location that exists but cannot be read is fatal; a
    // directory in the way opens and reads as nothing.
    env.back() = "HOME=" + dir.path() + "/blocked";
    dir.write("blocked/.tarvo/x", "");
    EXPECT_EQ(run_tarvo({"-a"}, "", dir.path(), env).status, 0);
    env.back() = "HOME=" + dir.write("plainfile", "");
    r = run_tarvo({"-a"}, "", dir.path(), env);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, dir.path() + "/plainfile/.tarvo: Not a directory\ntarvo: Unable to read config file\n");

    // Over-long HOME or configuration directory: skipped, never overflowing.
    env.back() = "HOME=/" + std::string(5000, 'h');
    env.push_back("ZENTHORAX_ETC=/" + std::string(1100, 'e'));
    r = run_tarvo({"-a"}, "\r", dir.path(), env);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "<CR>\n");
    EXPECT_EQ(r.err, "");
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

    // -c replaces the search; -C wins over any file; without a section the
    // definition goes to DEFAULT; an empty one falls back to the built-in.
    EXPECT_EQ(gs({"-c", dir.write("other.cfg", "[CONFIG]\nGS=from-c\n")}), "from-c");
    EXPECT_EQ(gs({"-C", "config:gs=from-C"}), "from-C");
    EXPECT_EQ(gs({"-C", "gs=from-C"}), "from-cwd");
    EXPECT_EQ(gs({"-C", "config:gs="}), "gs");
}

TEST(Driver, ExitStatusOfTheInterpreter)
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

    struct Case {
        std::string gs;
        std::vector<std::string> modes;
        std::string input;
        int status;
        char const* err;  // null: not checked
    };
    std::string big;  // an interpreter that stops reading early
    for (int i = 0; i < 20000; ++i)
        big += "a line of text that fills the pipe\r\n";
    Case const cases[] = {
        {failing, {"-p"}, "text", 1, "tarvo: ghostscript returned exit status 3\n"},
        {killed, {"-g"}, "text", 1, "tarvo: ghostscript returned exit status 265\n"},
        {failing, {"-g", "-a"}, "text", 0, nullptr},  // nothing drawn: never started
        {quitter, {"-p"}, big, 0, ""},
    };
    for (Case const& c : cases) {
        std::vector<std::string> args = {"-C", "config:gs=" + c.gs};
        args.insert(args.end(), c.modes.begin(), c.modes.end());
        RunResult r = run_tarvo(args, c.input, {}, env);
        EXPECT_EQ(r.status, c.status) << c.gs;
        if (c.err) {
            EXPECT_EQ(r.err, c.err) << c.gs;
        }
    }
}

}  // namespace
