// The print-system filter: option words, what they ask for, and a whole run
// of the built filter with CUPS's arguments.
#include <sys/wait.h>

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "cups_filter.h"
#include "test_support.h"

namespace {

TEST(CupsFilter, OptionWords)
{
    using V = std::vector<CupsOption>;
    EXPECT_EQ(cups_parse_options(""), V{});
    EXPECT_EQ(cups_parse_options(" media=A4  sides=two-sided-long-edge collate nofitplot "
                                 "job-name='a b' x=\"c\\\"d\" y=e\\ f ="),
              (V{{"media", "A4"},
                 {"sides", "two-sided-long-edge"},
                 {"collate", "true"},
                 {"fitplot", "false"},
                 {"job-name", "a b"},
                 {"x", "c\"d"},
                 {"y", "e f"}}));
    EXPECT_EQ(cups_parse_options("a= b='unclosed"), (V{{"a", ""}, {"b", "unclosed"}}));
}

TEST(CupsFilter, Requests)
{
    auto requests = [](char const* options, char const* copies = "1") {
        return cups_requests(cups_parse_options(options), copies);
    };
    // Media names of both kinds; PageSize wins over media; lists give the
    // first size known.
    EXPECT_EQ(requests("media=na_letter_8.5x11in").paper, "LETTER");
    EXPECT_EQ(requests("media=Tray1,legal").paper, "LEGAL");
    EXPECT_EQ(requests("media=A4 PageSize=Tabloid").paper, "LEDGER");
    CupsRequests r = requests("media=A5 sides=sideways Duplex=DuplexTumble", "0");
    EXPECT_EQ(r.paper, "");
    EXPECT_EQ(r.duplex, "");
    EXPECT_EQ(r.copies, 1);
    EXPECT_EQ(r.warnings,
              (std::vector<std::string>{
                  "media A5 is not supported; the job's own or the configured paper size is used",
                  "sides sideways is not supported",
                  "copies 0 is not a number from 1 to 9999; one copy is made"}));
    // Values stay on the warning's line: a line of their own would be a
    // message to the print system.
    EXPECT_EQ(requests("media='A5\nPPD: X=1' sides=\"x\rSTATE: +y\"", "2\nATTR: a=b").warnings,
              (std::vector<std::string>{"media A5 PPD: X=1 is not supported; the job's own or "
                                        "the configured paper size is used",
                                        "sides x STATE: +y is not supported",
                                        "copies 2 ATTR: a=b is not a number from 1 to 9999; "
                                        "one copy is made"}));

    EXPECT_EQ(cups_setup_code(requests("")), "");
    EXPECT_EQ(
        cups_setup_code(requests("Duplex=DuplexTumble", "3")),
        "[{\n%%BeginFeature: *Duplex DuplexTumble\n<< /Duplex true /Tumble true >> setpagedevice\n"
        "%%EndFeature\n} stopped cleartomark\n"
        "[{\n%%BeginFeature: *NumCopies 3\n<< /NumCopies 3 >> setpagedevice\n"
        "%%EndFeature\n} stopped cleartomark\n");
    EXPECT_EQ(requests("sides=one-sided").duplex, "<< /Duplex false >>");

    EXPECT_EQ(cups_tarvo_args("T", requests("media=a3"), "/etc/tarvo.cfg", "-job", true),
              (std::vector<std::string>{"tarvo-cups", "-s", "-c", "/etc/tarvo.cfg", "-t", "T", "-C",
                                        "DEFAULT:PAPER.SIZE=A3", "--", "-job"}));
    EXPECT_EQ(cups_tarvo_args("", requests(""), "/dev/null", nullptr, false),
              (std::vector<std::string>{"tarvo-cups", "-s", "-c", "/dev/null", "-t", "", "-C",
                                        "CONFIG:INBAND=0", "--", "-"}));
}

// Runs the built filter as CUPS would, with the printer's name as argv[0].
RunResult run_filter(std::vector<std::string> const& args, std::string const& input,
                     TempDir const& dir)
{
    std::string cmd = "cd '" + dir.path() + "' && exec -a printer1 '" TARVO_CUPS_BINARY "'";
    for (std::string const& a : args)
        cmd += " '" + a + "'";
    cmd += " < in.pcl > out.ps 2> err.txt";
    dir.write("in.pcl", input);
    int const status =
        std::system(("env ZENTHORAX_ETC='" + dir.path() + "/etc' bash -c \"" + cmd + "\"").c_str());
    return {WEXITSTATUS(status), read_file(dir.path() + "/out.ps"),
            read_file(dir.path() + "/err.txt")};
}

TEST(CupsFilter, WholeJob)
{
    TempDir dir;
    // A configuration in the working directory is not the print server's.
    dir.write("tarvo.cfg", "[CONFIG]\nBARCODE=1\nPS.INCLUDE=/nowhere\n");
    std::string const job = "\x1b"
                            "E\x1b&l1XHello\f";
    RunResult r = run_filter(
        {"42", "anna", "Quarterly\nreport", "2", "media=Letter sides=two-sided-long-edge"}, job,
        dir);
    EXPECT_EQ((std::pair{r.status, r.err}), (std::pair{0, std::string()}));
    EXPECT_NE(r.out.find("%%Title: Quarterly report\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("%%BeginSetup\n[{\n%%BeginFeature: *Duplex DuplexNoTumble\n"),
              std::string::npos);
    EXPECT_NE(r.out.find("<< /NumCopies 2 >> setpagedevice\n%%EndFeature\n} stopped cleartomark\n"),
              std::string::npos);
    EXPECT_NE(r.out.find("(Hello)"), std::string::npos);
    EXPECT_NE(r.out.find("%%BoundingBox: 0 0 612 792"), std::string::npos) << "Letter by default";

    // The job as a file argument; the print server's configuration applies.
    std::string const file = dir.write("job.pcl", job);
    dir.write("etc/tarvo.cfg", "[DEFAULT]\nPAPER.SIZE=LEGAL\n");
    r = run_filter({"1", "u", "t", "1", "", file}, "", dir);
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("%%BoundingBox: 0 0 612 1008"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("BeginFeature"), std::string::npos);

    // In-band file reads are off unless the print server's configuration
    // turns them on; a configuration that sets INBAND decides.
    dir.write("form.ps", "% form body\n");
    std::string const inband = "%tarvo:include " + dir.path() + "/form.ps";
    std::string const reads = "\x1b&p" + std::to_string(inband.size()) + "W" + inband + "X";
    for (auto const& [cfg, included] : {std::pair{"[DEFAULT]\nPAPER.SIZE=LEGAL\n", false},
                                        {"[CONFIG]\nINBAND=1\n", true},
                                        {"[CONFIG]\nINBAND=0\n", false}}) {
        dir.write("etc/tarvo.cfg", cfg);
        r = run_filter({"1", "u", "t", "1", ""}, reads, dir);
        EXPECT_EQ(r.status, 0) << cfg;
        EXPECT_EQ(r.out.find("% form body") != std::string::npos, included) << cfg << r.out;
    }

    // Failures: ERROR lines and a non-zero status; warnings of a good run.
    r = run_filter({"1", "u", "t", "1", "", dir.path() + "/missing.pcl"}, "", dir);
    EXPECT_EQ((std::pair{r.status, r.err}),
              (std::pair{1, "ERROR: " + dir.path() + "/missing.pcl: No such file or directory\n"}));
    r = run_filter({"1", "u", "t", "x", "media=B5"}, job, dir);
    EXPECT_EQ((std::pair{r.status, r.err}),
              (std::pair{0, std::string(
                                "WARNING: tarvo-cups: media B5 is not supported; the job's own or "
                                "the configured paper size is used\n"
                                "WARNING: tarvo-cups: copies x is not a number from 1 to 9999; one "
                                "copy is made\n")}));
    r = run_filter({"1", "u", "t"}, "", dir);
    EXPECT_EQ(
        (std::pair{r.status, r.err}),
        (std::pair{1, std::string("Usage: tarvo-cups job-id user title copies options [file]\n")}));
}

}  // namespace
