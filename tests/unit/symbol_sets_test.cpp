// Conversion through the symbol-set tables: the supported sets, the known
// holes, the reports and the Nordic variant. The tables themselves are
// checked against their generator; selection is the font_commands golden case.
#include <map>
#include <set>

#include "converter_test.h"

namespace {

constexpr int S_0B = symset_code(0, 'B'), S_0L = symset_code(0, 'L'), S_0N = symset_code(0, 'N'),
              S_3N = symset_code(3, 'N'), S_5M = symset_code(5, 'M'), S_11U = symset_code(11, 'U'),
              S_18N = symset_code(18, 'N');

std::vector<int> const own_tables = {2,   12,  14,  78,  110, 142, 149, 173, 174, 277,
                                     302, 309, 341, 373, 405, 460, 590, 621, 629};

// The sets with a table of their own and the published ones, by code.
std::vector<int> supported_sets()
{
    std::set<int> all(own_tables.begin(), own_tables.end());
    for (int i = 0; i < symset_table_count; ++i)
        all.insert(symset_tables[i].code);
    return {all.begin(), all.end()};
}

TEST(SymbolSets, ConversionAndReports)
{
    // Line drawing folds the high half onto the low half.
    for (int s : {S_0B, S_0L}) {
        EXPECT_EQ(cv_symset(s, 0xC1), cv_symset(s, 0x41));
        EXPECT_EQ(cv_symset(s, 0x85), 0x0005);
    }
    EXPECT_EQ(cv_symset(S_18N, 0xFFFF), 0xFFFF);

    struct Report {
        int set, ch;
        char const* err;
        int result;
    };
    Report const reports[] = {
        {S_3N, 0xA5, "unmapped: 00a5\n", 0xBF},
        {S_5M, 0xFF, "unmapped: 00ff\n", 0xBF},
        {S_0N, 0x8140, "invalid: 8140\n", 0xA1},
        {S_18N, 0x10000, "invalid: 10000\n", 0xA1},
        {symset_code(7, 'Q'), 0x41, "invalid: 0041\n", 0xA1},
        {S_18N, -1, "invalid: ffffffff\n", 0xA1},
    };
    for (int level : {1, 0}) {
        verbose = level;
        for (Report const& rep : reports) {
            int r = 0;
            EXPECT_EQ(capture_stderr([&] { r = cv_symset(rep.set, rep.ch); }),
                      level ? rep.err : "");
            EXPECT_EQ(r, rep.result);
        }
    }
}

// The nineteen sets with tables of their own and the published ones are
// supported. Every byte of every one converts; exactly the known holes are
// unmapped, and no table sentinel ever escapes.
TEST(SymbolSets, EveryByteOfEverySetConverts)
{
    std::map<int, std::set<int>> const holes = {
        {110, {0xA5, 0xAE, 0xBE, 0xC3, 0xD0, 0xE3, 0xF0}},
        {149, {0xFF}},
        {277, {0xFF}},
        {173, {0xFF}},
        {621, {0xFF}},
    };
    std::map<int, std::set<int>> published_holes;
    for (int i = 0; i < symset_table_count; ++i)
        for (int ch = 0; ch < 256; ++ch)
            if (symset_tables[i].map[ch] == 0xFFFF)
                published_holes[symset_tables[i].code].insert(ch);
    std::vector<int> const supported = supported_sets();
    EXPECT_EQ(supported.size(), 19u + 36u);
    std::vector<int> found;
    for (int code = -100; code < 600 * 32; ++code)
        if (cv_symset_supported(code))
            found.push_back(code);
    EXPECT_EQ(found, supported);
    EXPECT_EQ(cv_symset_supported(INT32_MIN) + cv_symset_supported(INT32_MAX), 0);
    verbose = 1;
    for (int s : supported) {
        std::set<int> unmapped;
        for (int ch = 0; ch < 256; ++ch) {
            int r = 0;
            std::string const err = capture_stderr([&] { r = cv_symset(s, ch); });
            EXPECT_NE(r, 0xFFFF) << s << " " << ch;
            if (!err.empty()) {
                EXPECT_EQ(err.rfind("unmapped: ", 0), 0u) << s << " " << ch;
                unmapped.insert(ch);
            }
        }
        auto const h = holes.find(s);
        EXPECT_EQ(unmapped, h != holes.end() ? h->second : published_holes[s]) << "set " << s;
    }
    verbose = 0;
}

// The Nordic variant is code page 437 except for the three positions in
// which code page 865 differs and the twelve replaced ones.
TEST(SymbolSets, NordicVariantDiffersFromCodePage437InFifteenPlaces)
{
    std::map<int, int> const expected = {
        {0x9B, 0x00F8}, {0x9D, 0x00D8}, {0xAF, 0x00A4}, {0x9E, 0x013F}, {0x9F, 0x0140},
        {0xA6, 0x00F5}, {0xA7, 0x00D5}, {0xA9, 0x00E3}, {0xAA, 0x00C3}, {0xAB, 0x2113},
        {0xAC, 0x0149}, {0xAE, 0x00B3}, {0xE4, 0x2211}, {0xEA, 0x2126}, {0xFA, 0x2219},
    };
    for (int c = 0; c < 256; ++c) {
        auto const e = expected.find(c);
        EXPECT_EQ(cv_symset(S_11U, c), e == expected.end() ? map_cp437[c] : e->second)
            << std::hex << c;
    }
}

}  // namespace
