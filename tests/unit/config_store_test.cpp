#include <array>
#include <string>

#include <gtest/gtest.h>

#include "config_store.h"
#include "test_support.h"

namespace {

class ConfigStore : public testing::Test {
protected:
    void SetUp() override { config_clear(); }

    // Reads `text` as a configuration file; returns config_read_file's result.
    int read(std::string const& text)
    {
        return config_read_file(dir.write("test.cfg", text).c_str(), 0);
    }

    // Every item=value entry of the section in order, one line each.
    static std::string dump(char const* section)
    {
        std::string out;
        char const* item = nullptr;
        int index = 0;
        while (char const* value = config_enum_section(section, &item, &index))
            out += std::string(item) + "=" + value + "\n";
        return out;
    }

    TempDir dir;
};

TEST_F(ConfigStore, FileSyntaxSectionsQuotesAndComments)
{
    using namespace std::string_literals;
    ASSERT_EQ(read("top = before any header\n"
                   "[ghostscript ]\n"
                   "gs = /usr/bin/gs ; the interpreter\n"
                   "opt='-dX;y' # quoted\n"
                   "dq = \"a # b\" trailing text\n"
                   "open = 'runs to the end\r\n"
                   "; comment = no\n"
                   "# comment = no\n"
                   "  #hash = yes\n"
                   "no equals sign here\n"
                   "  Mixed Name  =  Keeps Case  \r\n"
                   "= nameless\n"
                   "   = nameless too\n"
                   "empty =\n"
                   "[tray1] junk after\n"
                   "[unclosed = item\n"
                   "[   ]\nb=2\n\x01\xff\x00=junk\n"  // a blank header is the unnamed section
                   "[TRAY1]\n"
                   "last=no newline"s),
              0);
    EXPECT_EQ(dump(""), "TOP=before any header\nB=2\n");
    EXPECT_EQ(dump("GHOSTSCRIPT"), "GS=/usr/bin/gs\n"
                                   "OPT=-dX;y\n"
                                   "DQ=a # b\n"
                                   "OPEN=runs to the end\n"
                                   "#HASH=yes\n"
                                   "MIXED NAME=Keeps Case\n"
                                   "EMPTY=\n");
    EXPECT_EQ(dump("TRAY1"), "[UNCLOSED=item\nLAST=no newline\n");
    // Lookups ignore case; an empty value counts as absent.
    EXPECT_STREQ(config_get_option("ghostscript", "Gs", nullptr), "/usr/bin/gs");
    EXPECT_STREQ(config_get_option("GHOSTSCRIPT", "EMPTY", "dflt"), "dflt");
    EXPECT_EQ(config_get_option("GHOSTSCRIPT", "MISSING", nullptr), nullptr);
}

TEST_F(ConfigStore, FirstEntryWinsAndWalksReturnEveryValue)
{
    ASSERT_EQ(read("[CONFIG]\nGS=a\nGS=b\nX=\nX=later\n"), 0);
    EXPECT_STREQ(config_get_option("CONFIG", "GS", nullptr), "a");
    // The first entry decides even when it is empty.
    EXPECT_STREQ(config_get_option("CONFIG", "X", "builtin"), "builtin");

    int index = 0;
    EXPECT_STREQ(config_enum_item("config", "gs", &index), "a");
    EXPECT_STREQ(config_enum_item("config", "gs", &index), "b");
    int const at_end = index;
    EXPECT_EQ(config_enum_item("config", "gs", &index), nullptr);
    EXPECT_EQ(index, at_end);

    char const* item = "unchanged";
    index = 4;
    EXPECT_EQ(config_enum_section("CONFIG", &item, &index), nullptr);
    EXPECT_STREQ(item, "unchanged");
    EXPECT_EQ(index, 4);
}

TEST_F(ConfigStore, LongLinesAreReadInPiecesOf1023)
{
    // 1500 characters: the first 1023 form one line, the other 477 the next.
    std::string line = "K=" + std::string(1021, 'v') + "L=" + std::string(475, 'w') + "\n";
    ASSERT_EQ(line.size(), 1501u);
    ASSERT_EQ(read("[S]\n" + line), 0);
    EXPECT_EQ(std::string(config_get_option("S", "K", "")), std::string(1021, 'v'));
    EXPECT_EQ(std::string(config_get_option("S", "L", "")), std::string(475, 'w'));
}

TEST_F(ConfigStore, CommandLineDefinitions)
{
    for (char const* def :
         {"gs.opt=-r300", "config:gs.opt= -r600 ", ":x=1", "y:=2", "a:b:c=3", "q=a=b"})
        EXPECT_EQ(config_parse_option(def), 0) << def;
    EXPECT_EQ(config_parse_option("no equals"), 1);
    EXPECT_EQ(dump("DEFAULT"), "GS.OPT=-r300\n:X=1\nY:=2\nQ=a=b\n");
    EXPECT_EQ(dump("CONFIG"), "GS.OPT= -r600 \n");
    EXPECT_EQ(dump("A"), "B:C=3\n");

    // Entries added before the file win over the file's.
    ASSERT_EQ(read("[CONFIG]\ngs.opt=-r72\n"), 0);
    EXPECT_STREQ(config_get_option("CONFIG", "GS.OPT", nullptr), " -r600 ");
}

TEST_F(ConfigStore, OpenFailures)
{
    // A missing optional file is silent; a path through a regular file fails
    // with ENOTDIR, reported even when optional; a directory counts as
    // absent where the file is optional and is refused otherwise.
    std::string const missing = dir.path() + "/none.cfg",
                      through = dir.write("plain", "") + "/x.cfg";
    int status[5] = {};
    EXPECT_EQ(capture_stderr([&] {
                  status[0] = config_read_file(missing.c_str(), 1);
                  status[1] = config_read_file(missing.c_str(), 0);
                  status[2] = config_read_file(through.c_str(), 1);
                  status[3] = config_read_file(dir.path().c_str(), 0);
                  status[4] = config_read_file(dir.path().c_str(), 1);
              }),
              missing + ": No such file or directory\n" + through + ": Not a directory\n" +
                  dir.path() + ": Is a directory\n");
    EXPECT_EQ((std::array{status[0], status[1], status[2], status[3], status[4]}),
              (std::array{2, 2, ENOTDIR, EISDIR, 2}));
}

// The indexes answer as the walk in order of addition would: names in any
// case, the first entry wins, walks resume after the position given.
TEST_F(ConfigStore, IndexedLookupsKeepTheOrderOfAddition)
{
    for (auto const& [sec, item, value] :
         std::vector<std::array<char const*, 3>>{{"TRAY1", "EPS.FILE", "a"},
                                                 {"tray1", "xofs", "1"},
                                                 {"TRAY2", "EPS.FILE", "b"},
                                                 {"Tray1", "Eps.File", "c"},
                                                 {"TRAY1", "EPS.FILE", ""}})
        ASSERT_EQ(config_add_value(sec, item, value), 0);
    EXPECT_STREQ(config_get_option("tray1", "eps.file", "none"), "a");
    EXPECT_STREQ(config_get_option("TRAY3", "EPS.FILE", "none"), "none");
    std::string walk;
    char const* item = nullptr;
    int index = 0;
    while (char const* v = config_enum_section("TRAY1", &item, &index))
        walk += std::string(item) + "=" + v + "@" + std::to_string(index) + " ";
    EXPECT_EQ(walk, "EPS.FILE=a@1 xofs=1@2 Eps.File=c@4 EPS.FILE=@5 ");
    index = 2;
    EXPECT_STREQ(config_enum_item("TRAY1", "EPS.FILE", &index), "c");
    EXPECT_EQ(index, 4);
    EXPECT_STREQ(config_enum_item("TRAY1", "EPS.FILE", &index), "");
    EXPECT_EQ(config_enum_item("TRAY1", "EPS.FILE", &index), nullptr);
    EXPECT_EQ(index, 5);
}

TEST_F(ConfigStore, ValuesStayValidWhileTheStoreGrows)
{
    ASSERT_EQ(config_add_value("S", "I", "v"), 0);
    char const* v = config_get_option("S", "I", nullptr);
    for (int i = 0; i < 5000; ++i)
        ASSERT_EQ(config_add_value("S", "other", "x"), 0);
    EXPECT_EQ(v, config_get_option("S", "I", nullptr));
    EXPECT_STREQ(v, "v");
    EXPECT_EQ(config_add_value(nullptr, "N", "1"), 0);
    EXPECT_STREQ(config_get_option("", "n", nullptr), "1");
}

}  // namespace
