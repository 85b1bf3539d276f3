// The title in the DSC header and in the document information string.
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
