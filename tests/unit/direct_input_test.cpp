// The reader takes bytes straight from the input file when nothing stands
// in between (no look-ahead, no macro, no input trace). These tests check
// that this gives the same result as the byte-by-byte reader, which the
// input trace (-d) always uses.
#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "test_support.h"

namespace {

std::string const ESC = "\x1b";

// A job that crosses every boundary of the direct reader: look-ahead left
// by a job-language passage, runs longer than the run buffer, bytes above
// 0x7f, symbol set and font changes inside lines, a cursor that saturates,
// data blocks larger than the skip buffer, a macro whose data block holds
// the bytes of its own end command, its replay, UTF-8 text, transparent
// data and a block cut short by the end of the file.
std::string mixed_job()
{
    std::string j = ESC + "E";
    j += ESC + "%-12345X@PJL ENTER LANGUAGE=PCL\r\n";
    j += "Hello after the passage\r\n";
    for (int i = 0; i < 3000; ++i)
        j.push_back(static_cast<char>(32 + (i * 7) % 224));
    j += "\r\n";
    j += "abc" + ESC + "(0N" +
         "d\xe9"
         "f" +
         ESC + "(8U" +
         "ghi\x0e"
         "SO\x0f"
         "SI\r\n";
    j += ESC + "*p2147483000X" + std::string(200, 'W') + "\x0eZ\x0f" + "\r\n";
    j += ESC + "*b40000W" + std::string(40000, '\x1b');
    j += ESC + "*b300W" + std::string(300, 'A');
    j += ESC + "&f5Y" + ESC + "&f0X" + "In the macro " + ESC + "*b6W" + ESC + "&f1X." + "\r\n" +
         ESC + "&f1X";
    j += ESC + "&f2X" + ESC + "&f3X" + "After the calls\r\n";
    j += ESC + "&t83P" + "h\xc3\xa9llo \xe2\x82\xac \xc0\xaf bad" + ESC + "&t0P\r\n";
    j += ESC + "&p5X" + "ABCDE" + "tail\x0c";
    j += "last page" + ESC + "*b50000W" + std::string(100, 'z');
    return j;
}

// Keeps the lines of `text` that do not start with one of `prefixes`.
std::string drop_lines(std::string const& text, std::vector<std::string> const& prefixes)
{
    std::string kept;
    for (size_t pos = 0; pos < text.size();) {
        size_t eol = text.find('\n', pos);
        eol = eol == std::string::npos ? text.size() : eol + 1;
        std::string const line = text.substr(pos, eol - pos);
        if (std::none_of(prefixes.begin(), prefixes.end(),
                         [&](auto const& p) { return line.rfind(p, 0) == 0; }))
            kept += line;
        pos = eol;
    }
    return kept;
}

TEST(DirectInput, SameOutputAsTheTracedByteReader)
{
    TempDir dir;
    std::string const job = dir.write("job.pcl", mixed_job());
    std::vector<std::string> const env = {"SOURCE_DATE_EPOCH=1000000000"};
    std::string const direct = dir.path() + "/direct.ps";
    std::string const traced = dir.path() + "/traced.ps";
    std::string const piped = dir.path() + "/piped.ps";

    RunResult a = run_tarvo({"-s", "-o", direct, job}, {}, {}, env);
    RunResult b = run_tarvo({"-d", "-s", "-o", traced, job}, {}, {}, env);
    RunResult c = run_tarvo({"-s", "-o", piped}, mixed_job(), {}, env);
    EXPECT_EQ(a.status + b.status + c.status, 0);
    EXPECT_EQ(b.err, a.err);
    EXPECT_NE(b.out.find("in: "), std::string::npos);  // the trace was on

    std::string const ps = read_file(direct);
    EXPECT_NE(ps.find("Hello after the passage"), std::string::npos);
    EXPECT_NE(ps.find("After the calls"), std::string::npos);
    EXPECT_TRUE(ps == read_file(traced)) << "differs from the byte-by-byte reader";
    // From standard input the document has no title.
    EXPECT_TRUE(drop_lines(ps, {"%%Title:"}) == read_file(piped))
        << "differs when read from a pipe";

    // The analysis trace matches too, once the per-character lines that
    // only the input trace adds are left out.
    RunResult va = run_tarvo({"-a", job});
    RunResult vb = run_tarvo({"-a", "-d", job});
    EXPECT_EQ(va.status, vb.status);
    EXPECT_NE(va.out.find("Char (23) \"Hello after the passage\""), std::string::npos);
    EXPECT_TRUE(drop_lines(va.out, {"Char: "}) == drop_lines(vb.out, {"in: ", "ch: ", "Char: "}));
}

}  // namespace
