// Shows every glyph-list name through the real Ghostscript in its standard
// text fonts and checks which names the fonts lack. A name a font lacks
// although the font has a glyph for that code point under another name is a
// wrong choice of name, unless the row's name is fixed by the output's
// contract (the names other output and users' PostScript rely on).
#include <cstdio>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "pcl/glyph_map.h"
#include "test_support.h"

namespace {

// For each font: the code points the font covers through a glyph-list name
// (the list Ghostscript carries) and through "uniXXXX" names; then every row
// is shown with glyphshow, and rows whose name the font lacks are printed as
// "MISSING font code name LISTED|UNI|ABSENT": the font has a glyph-list name
// for the code point, only a "uniXXXX" glyph, or nothing.
std::string checker_program()
{
    std::ostringstream ps;
    ps << "/rows [\n";
    for (glyph_row const* g = ps_glyph_list; g->code; ++g)
        ps << "[" << g->code << " /" << g->name << "]\n";
    ps << "] def\n";
    ps << R"(
/hexval { (16#) exch concatstrings cvi } bind def
/check {
  /fn exch def
  /f fn findfont def
  /cs f /CharStrings get def
  /listed 4096 dict def
  /uni 4096 dict def
  cs {
    pop dup AdobeGlyphList exch .knownget {
      dup type /arraytype eq { { listed exch true put } forall } { listed exch true put } ifelse
      pop
    } {
      dup length 7 eq {
        dup 100 string cvs dup 0 3 getinterval (uni) eq {
          3 4 getinterval hexval uni exch true put pop
        } { pop pop } ifelse
      } { pop } ifelse
    } ifelse
  } forall
  f 10 scalefont setfont
  rows {
    aload pop /nm exch def /cp exch def
    0 0 moveto nm glyphshow
    cs nm known not {
      (MISSING ) print fn =only ( ) print cp =only ( ) print nm =only
      listed cp known { ( LISTED) } { uni cp known { ( UNI) } { ( ABSENT) } ifelse } ifelse =
    } if
  } forall
  (DONE ) print fn =
} def
/Times-Roman check
/Helvetica check
/Courier check
)";
    return ps.str();
}

TEST(GlyphNamesInGhostscript, NamesAreTheOnesTheFontsCarry)
{
    if (std::system("gs --version >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "Ghostscript not installed";
    TempDir dir;
    std::string const prog = dir.write("check.ps", checker_program());
    std::string const cmd = "gs -q -dNODISPLAY -dBATCH -dNOPAUSE " + prog + " 2>&1";
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(cmd.c_str(), "r"), pclose);
    ASSERT_TRUE(pipe);

    std::map<std::string, std::set<std::string>> listed;  // font -> "code name"
    std::map<std::string, int> uni, absent;
    std::set<std::string> done;
    std::string other;
    char line[512];
    while (std::fgets(line, sizeof line, pipe.get())) {
        std::istringstream in(line);
        std::string tag, font, code, name, kind;
        in >> tag;
        if (tag == "MISSING" && in >> font >> code >> name >> kind) {
            if (kind == "LISTED")
                listed[font].insert(code + " " + name);
            else if (kind == "UNI")
                ++uni[font];
            else
                ++absent[font];
        } else if (tag == "DONE" && in >> font) {
            done.insert(font);
        } else {
            other += line;
        }
    }
    EXPECT_EQ(pclose(pipe.release()), 0);
    EXPECT_EQ(other, "") << "Ghostscript said more than expected";
    EXPECT_EQ(done, (std::set<std::string>{"Times-Roman", "Helvetica", "Courier"}));

    // Only rows with a fixed name may miss a glyph the font has under another
    // glyph-list name.
    std::set<std::string> const fixed{"8704 uni2200", "8746 uni222A"};
    for (auto const& [font, rows] : listed)
        for (auto const& r : rows)
            EXPECT_TRUE(fixed.count(r))
                << font << " has a glyph for " << r << " under another name";
    // The other missing rows are code points the fonts have no glyph for
    // (most of Latin Extended-B and Additional, many symbols; they show
    // .notdef), or have only as "uniXXXX" where the glyph list knows a
    // single name.
    for (auto const& [font, n] : absent)
        EXPECT_LT(n + uni[font], 1010) << font;
}

}  // namespace
