// The title in the DSC header and in the document information string.
#include <string>

#include <gtest/gtest.h>

#include "pcl/ps/title.h"

namespace {

TEST(Title, HeaderCommentStaysOneSevenBitLine)
{
    struct {
        char const* title;
        char const* dsc;
    } const cases[] = {
        {"job.pcl", "job.pcl"},
        {"a\nshowpage\r\tb\x7f", "a showpage  b "},
        {"notes).pcl", "notes).pcl"},
        {"C:\\new\\x.pcl", "C:\\new\\x.pcl"},
        {"a\\101", "a\\134101"},  // not decoded as "aA"
        {"M\xc3\xbcller", "M\\374ller"},  // Latin-1 characters as their bytes
        {"\xc5\x81\xc3\xb3"
         "d\xc5\xba",
         "\\376\\377\\001\\101\\000\\363\\000\\144\\001\\172"},
        {"M\xfcller", "M\\374ller"},  // not UTF-8: bytes kept
        {"a\xc2\x85"
         "b",
         "a b"},  // C1 control
    };
    for (auto const& c : cases)
        EXPECT_EQ(ps_dsc_title(c.title), c.dsc) << c.title;
}

// A long title is cut to fit one DSC line (255 characters with "%%Title: "),
// after a whole character: never inside an escape or a UTF-16 code unit.
TEST(Title, HeaderCommentFitsOneDscLine)
{
    constexpr size_t room = 255 - 9;
    std::string const ascii(400, 'a');
    EXPECT_EQ(ps_dsc_title(ascii), ascii.substr(0, room));
    EXPECT_EQ(ps_dsc_title(ascii.substr(0, room)), ascii.substr(0, room));

    // "\374" is four characters: 61 of them fill 244, the 62nd would not fit.
    std::string latin1;
    for (int i = 0; i < 100; ++i)
        latin1 += "\xc3\xbc";
    std::string const cut = ps_dsc_title("ab" + latin1);
    EXPECT_EQ(cut.size(), 2 + 61 * 4u);
    EXPECT_EQ(cut.substr(cut.size() - 4), "\\374");

    // UTF-16: the mark (8) and units of 8 or, beyond the plane, 16.
    std::string wide = "\xc5\x81";  // U+0141
    for (int i = 0; i < 40; ++i)
        wide += "\xf0\x9f\x98\x80";  // U+1F600, a surrogate pair
    std::string const units = ps_dsc_title(wide);
    EXPECT_LE(units.size(), room);
    EXPECT_EQ((units.size() - 16) % 16, 0u);
    EXPECT_EQ(units.substr(units.size() - 16), "\\330\\075\\336\\000");

    std::string const bytes(300, '\xff');  // not UTF-8
    EXPECT_EQ(ps_dsc_title(bytes).size(), room / 4 * 4);
}

TEST(Title, DocumentInformationIsOneValidString)
{
    struct {
        char const* title;
        char const* string;
    } const cases[] = {
        {"", "()"},
        {"job", "(job)"},
        {") (%pipe%id) (w) file (", "(\\) \\(%pipe%id\\) \\(w\\) file \\()"},
        {"C:\\new\\x.pcl", "(C:\\\\new\\\\x.pcl)"},
        {"two\nlines", "(two lines)"},
        {"M\xc3\xbcller", "<FEFF004D00FC006C006C00650072>"},
        {"\xf0\x9f\x98\x80", "<FEFFD83DDE00>"},  // beyond the BMP: a surrogate pair
        {"M\xfcller", "(M\\374ller)"},  // not UTF-8: bytes kept
        {"\xc0\xaf", "(\\300\\257)"},  // overlong form is not UTF-8
        {"\xed\xa0\x80", "(\\355\\240\\200)"},  // nor is a surrogate
    };
    for (auto const& c : cases)
        EXPECT_EQ(ps_title_string(c.title), c.string) << c.title;
}

}  // namespace
