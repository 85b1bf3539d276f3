#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "config_store.h"
#include "ghostscript.h"
#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "pcl/ps/document.h"
#include "pcl/ps/rect_output.h"
#include "pcl/ps/text_emitter.h"
#include "pcl/text_buffer.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

// The prolog as the documents carry it, kept here as an independent copy so
// that any accidental edit of the generator shows up.
constexpr char kProlog[] =
    "\n"
    "%%BeginProlog\n"
    "/reencode_font {\n"
    "  findfont reencode 2 copy definefont exch pop def\n"
    "} bind def\n"
    "/M { moveto } def\n"
    "/S { show } def\n"
    "/GS { glyphshow } def\n"
    "\n"
    "/ushow {\n"
    "  gsave\n"
    "  exch 0 exch rmoveto\n"
    "  dup stringwidth rlineto\n"
    "  exch setlinewidth stroke\n"
    "  grestore\n"
    "  show\n"
    "} bind def\n"
    "/U { ushow } def\n"
    "\n"
    "% reencode the font\n"
    "% <encoding-vector> <fontdict> -> <newfontdict>\n"
    "/reencode {\n"
    "  dup length 5 add dict begin\n"
    "    { %forall\n"
    "      1 index /FID ne\n"
    "      { def }{ pop pop } ifelse\n"
    "    } forall\n"
    "    /Encoding exch def\n"
    "\n"
    "    % Use the font's bounding box to determine the ascent, descent,\n"
    "    % and overall height; don't forget that these values have to be\n"
    "    % transformed using the font's matrix.\n"
    "    % We use `load' because sometimes BBox is executable, sometimes not.\n"
    "    % Since we need 4 numbers an not an array avoid BBox from being executed\n"
    "    /FontBBox load aload pop\n"
    "    FontMatrix transform /Ascent exch def pop\n"
    "    FontMatrix transform /Descent exch def pop\n"
    "    /FontHeight Ascent Descent sub def\n"
    "\n"
    "    % Define these in case they're not in the FontInfo (also, here\n"
    "    % they're easier to get to.\n"
    "    /UnderlinePosition 1 def\n"
    "    /UnderlineThickness 1 def\n"
    "\n"
    "    % Get the underline position and thickness if they're defined.\n"
    "    currentdict /FontInfo known {\n"
    "      FontInfo\n"
    "\n"
    "      dup /UnderlinePosition known {\n"
    "        dup /UnderlinePosition get\n"
    "        0 exch FontMatrix transform exch pop\n"
    "        /UnderlinePosition exch def\n"
    "      } if\n"
    "\n"
    "      dup /UnderlineThickness known {\n"
    "        /UnderlineThickness get\n"
    "        0 exch FontMatrix transform exch pop\n"
    "        /UnderlineThickness exch def\n"
    "      } if\n"
    "\n"
    "    } if\n"
    "    currentdict\n"
    "  end\n"
    "} bind def\n"
    "%%EndProlog\n";

constexpr int32_t kLetterW = 612000;
constexpr int32_t kLetterH = 792000;
constexpr int32_t kA4W = 595200;
constexpr int32_t kA4H = 841680;

class Document : public ::testing::Test {
protected:
    void SetUp() override
    {
        ps_document_reset();
        config_clear();
        unsetenv("SOURCE_DATE_EPOCH");
        env = pcl_env{};
        set_sheet(kLetterW, kLetterH, 0);
        env.hmi = 7200;
        env.font_serial = 1;
        font[0] = pcl_font{};
        font[0].symset = 14;
        font[0].pitch = 10;
        font[0].point_size = 12;
        font[0].typeface = 3;
        font[1] = font[0];
        genps = 1;
        verbose = 0;
        doc_title = nullptr;
        cbuf_init();
    }

    void TearDown() override
    {
        genps = 0;
        doc_title = nullptr;
        unsetenv("SOURCE_DATE_EPOCH");
    }

    static void set_sheet(int32_t w, int32_t h, int orientation)
    {
        env.paper_width = w;
        env.paper_height = h;
        env.orientation = orientation;
        env.page_xofs = 18000;
        env.page_yofs = 0;
    }

    // One text run at (x, y) in internal units, with an absolute move.
    static void text_at(char const* text, int32_t x, int32_t y)
    {
        env.cur_x = x;
        env.cur_y = y;
        env.pos_changed = 1;
        for (char const* p = text; *p; ++p)
            cbuf_add(static_cast<unsigned char>(*p));
        cbuf_flush(1);
    }

    static std::string between(std::string const& s, std::string const& from, std::string const& to)
    {
        size_t const a = s.find(from);
        if (a == std::string::npos)
            return "<missing " + from + ">";
        size_t const b = s.find(to, a);
        return s.substr(a, b == std::string::npos ? std::string::npos : b - a);
    }
};

TEST_F(Document, OnePageJobSkeleton)
{
    doc_title = "job";
    OutputCapture out;
    text_at("Hello", 0, 28800);
    ps_exit(nullptr);

    std::string const expected = std::string(
        "%!PS-Adobe-3.0\n"
        "%%BoundingBox: (atend)\n"
        "%%Title: job\n"
        "%%Orientation: Portrait\n"
        "%%Pages: (atend)\n"
        "%%PageOrder: Ascend\n"
        "%%DocumentFonts: (atend)\n"
        "%%Creator: tarvo A.01.00.00\n"
        "%%CreationDate: DATE\n"
        "%%DocumentData: Clean7Bit\n"
        "%%EndComments\n") + kProlog +
        "\n"
        "%%BeginSetup\n"
        "%%EndSetup\n"
        "\n"
        "%%Page: 1 1\n"
        "/Courier-l1 ISOLatin1Encoding /Courier reencode_font\n"
        "/Courier-l1 findfont 12 scalefont setfont\n"
        "18 763.2 M (Hello)S\n"
        "%%EndPage: 1 1\n"
        "showpage\n"
        "%%Trailer\n"
        "%%BoundingBox: 0 0 612 792\n"
        "%%Pages: 1\n"
        "%%DocumentFonts: Courier\n"
        "%%EOF\n";
    std::string actual = out.str();
    size_t const date = actual.find("%%CreationDate: ");
    ASSERT_NE(date, std::string::npos);
    size_t const eol = actual.find('\n', date);
    actual.replace(date, eol - date, "%%CreationDate: DATE");
    EXPECT_EQ(actual, expected);
}

TEST_F(Document, CreationDateHonoursSourceDateEpoch)
{
    setenv("SOURCE_DATE_EPOCH", "86461", 1);
    OutputCapture out;
    ps_ensure_output();
    EXPECT_NE(out.str().find("%%CreationDate: 1970-01-02 00:01:01\n"), std::string::npos);
    EXPECT_EQ(out.str().find("%%Title"), std::string::npos);
}

TEST_F(Document, NothingDrawnMeansNoOutput)
{
    TempDir dir;
    std::string const marks = dir.write("marks.ps", "[ /Title (x) /DOCINFO pdfmark\n");
    OutputCapture out;
    env.page_serial = 4;  // form feeds and control codes only
    cbuf_flush(1);
    ps_exit(marks.c_str());
    EXPECT_EQ(out.str(), "");
}

TEST_F(Document, PagesOpenOnlyForMarks)
{
    OutputCapture out;
    env.page_serial = 2;  // form feeds before the first mark
    text_at("one", 0, 28800);
    env.page_serial = 5;  // three form feeds
    text_at("two", 0, 28800);
    text_at("more", 0, 40800);
    ps_exit(nullptr);
    std::string const s = out.str();
    EXPECT_NE(s.find("%%Page: 1 1\n"), std::string::npos);
    EXPECT_NE(s.find("%%EndPage: 1 1\nshowpage\n\n%%Page: 2 2\n"), std::string::npos);
    EXPECT_EQ(s.find("%%Page: 3"), std::string::npos);
    EXPECT_NE(s.find("%%Pages: 2\n"), std::string::npos);
    // The font is selected again on the new page but reencoded only once.
    EXPECT_EQ(between(s, "%%Page: 2 2", "%%EndPage"),
              "%%Page: 2 2\n/Courier-l1 findfont 12 scalefont setfont\n18 763.2 M (two)S\n18 751.2 M (more)S\n");
}

TEST_F(Document, EnsureOutputStartsDocumentWithoutChangingPages)
{
    OutputCapture out;
    env.page_serial = 3;
    EXPECT_TRUE(ps_ensure_output());
    EXPECT_EQ(ps_page_counter, 1);
    EXPECT_EQ(last_page, 3);
    ps_ensure_output();
    text_at("x", 0, 28800);
    EXPECT_EQ(ps_page_counter, 1);
    EXPECT_EQ(out.str().find("%!PS-Adobe-3.0"), 0u);
    EXPECT_EQ(out.str().find("%!PS-Adobe-3.0", 1), std::string::npos);
}

TEST_F(Document, MissingStreamStartsTheInterpreterPipe)
{
    TempDir dir;
    std::string const target = dir.path() + "/doc.ps";
    gs_cmd = "cat > '" + target + "'";
    ASSERT_EQ(outfp, nullptr);
    text_at("piped", 0, 28800);
    ps_exit(nullptr);
    EXPECT_EQ(gs_close(), 0);
    std::string const doc = read_file(target);
    EXPECT_EQ(doc.rfind("%!PS-Adobe-3.0\n", 0), 0u);
    EXPECT_NE(doc.find("(piped)S\n"), std::string::npos);
    gs_cmd.clear();
}

TEST_F(Document, LandscapeAndRotations)
{
    // Letter landscape: the sheet as oriented is 792 x 612.
    set_sheet(kLetterH, kLetterW, 1);
    OutputCapture out;
    text_at("land", 0, 0);
    std::string s = out.str();
    EXPECT_NE(s.find("%%Orientation: Landscape\n"), std::string::npos);
    EXPECT_NE(s.find("%%Page: 1 1\n90 rotate 0 -612 translate\n"), std::string::npos);
    EXPECT_EQ(s.find("%%PageOrientation"), std::string::npos);
    EXPECT_EQ(ps_page_rotate, 90);
    EXPECT_DOUBLE_EQ(ps_origin_y, 612.0);
    EXPECT_NE(s.find("18 612 M (land)S\n"), std::string::npos);

    // Print direction 90 on that page: undo 90, apply 180.
    env.direction = 90;
    text_at("up", 0, 0);
    s = out.str();
    EXPECT_NE(s.find("0 612 translate -90 rotate\n180 rotate -792 -612 translate\n"), std::string::npos);
    EXPECT_DOUBLE_EQ(ps_origin_y, 792.0 - 18.0);
    EXPECT_EQ(ps_last_rotate, 180);

    // The rotation in force again: nothing written, pos_changed untouched.
    size_t const before = out.str().size();
    env.pos_changed = 0;
    ps_rotate_page(180);
    EXPECT_EQ(out.str().size(), before);
    EXPECT_EQ(env.pos_changed, 0);

    // Back to direction 0: a text run restores the page's own rotation.
    env.direction = 0;
    text_at("back", 0, 0);
    EXPECT_NE(out.str().find("792 612 translate -180 rotate\n90 rotate 0 -612 translate\n", before),
              std::string::npos);

    // A later landscape page has no orientation comment; a portrait one does.
    env.page_serial = 1;
    text_at("p2", 0, 0);
    env.page_serial = 2;
    set_sheet(kLetterW, kLetterH, 0);
    text_at("p3", 0, 0);
    env.page_serial = 3;
    set_sheet(kLetterW, kLetterH, 2);
    text_at("p4", 0, 0);
    env.page_serial = 4;
    set_sheet(kLetterH, kLetterW, 3);
    text_at("p5", 0, 0);
    ps_exit(nullptr);
    s = out.str();
    EXPECT_EQ(between(s, "%%Page: 2 2", "/Courier"), "%%Page: 2 2\n90 rotate 0 -612 translate\n");
    EXPECT_EQ(between(s, "%%Page: 3 3", "/Courier"), "%%Page: 3 3\n%%PageOrientation: Portrait\n");
    EXPECT_EQ(between(s, "%%Page: 4 4", "/Courier"),
              "%%Page: 4 4\n%%PageOrientation: Portrait\n180 rotate -612 -792 translate\n");
    EXPECT_EQ(between(s, "%%Page: 5 5", "/Courier"), "%%Page: 5 5\n270 rotate -792 0 translate\n");
    // Every sheet here is Letter in portrait terms: no page box, and the
    // trailer describes the first page.
    EXPECT_EQ(s.find("%%PageBoundingBox"), std::string::npos);
    EXPECT_NE(s.find("%%BoundingBox: 0 0 612 792\n"), std::string::npos);
}

TEST_F(Document, OriginsFollowOrientationAndDirection)
{
    // Reverse landscape with text at right angles uses the page's own top.
    set_sheet(kLetterH, kLetterW, 3);
    env.page_yofs = 3600;
    OutputCapture out;
    ps_ensure_output();
    EXPECT_EQ(ps_page_rotate, 270);
    EXPECT_DOUBLE_EQ(ps_page_origin_y, 612.0 - 3.6);
    EXPECT_DOUBLE_EQ(ps_page_origin_width, 792.0 - 18.0);
    EXPECT_DOUBLE_EQ(ps_origin_y, ps_page_origin_y);
    ps_rotate_page(0);
    EXPECT_NE(out.str().find("792 0 translate -270 rotate\n"), std::string::npos);
    EXPECT_DOUBLE_EQ(ps_origin_y, ps_page_origin_width);
    EXPECT_EQ(env.pos_changed, 1);

    env.cur_x = 72000;
    env.cur_y = 144000;
    size_t const before = out.str().size();
    ps_setpos();
    EXPECT_EQ(out.str().substr(before), "90 630 M\n");
}

TEST_F(Document, PageBoundingBoxForOtherSheetsAndTrailerRounding)
{
    set_sheet(kA4W, kA4H, 0);
    OutputCapture out;
    text_at("a4", 0, 0);
    env.page_serial = 1;
    set_sheet(kLetterW, kLetterH, 0);
    text_at("letter", 0, 0);
    env.page_serial = 2;
    set_sheet(kA4H, kA4W, 1);  // A4 landscape: same box as the first page
    text_at("a4 landscape", 0, 0);
    ps_exit(nullptr);
    std::string const s = out.str();
    EXPECT_EQ(between(s, "%%Page: 2 2", "/Courier"), "%%Page: 2 2\n%%PageBoundingBox: 0 0 612 792\n");
    EXPECT_EQ(between(s, "%%Page: 3 3", "/Courier"),
              "%%Page: 3 3\n%%PageOrientation: Landscape\n90 rotate 0 -595.2 translate\n");
    EXPECT_NE(s.find("%%Trailer\n%%BoundingBox: 0 0 596 842\n%%Pages: 3\n"), std::string::npos);
}

TEST_F(Document, DocumentFontsListsEachFontOnce)
{
    OutputCapture out;
    text_at("c", 0, 0);
    font[0].stroke = 3;
    ++env.font_serial;
    text_at("b", 0, 0);
    env.page_serial = 1;
    text_at("b again", 0, 0);
    font[0].stroke = 0;
    ++env.font_serial;
    env.page_serial = 2;
    text_at("c again", 0, 0);
    ps_exit(nullptr);
    std::string const s = out.str();
    EXPECT_NE(s.find("%%DocumentFonts: Courier\n%%+ Courier-Bold\n%%EOF\n"), std::string::npos) << s;
}

TEST_F(Document, MarksFileFollowsTheDocument)
{
    TempDir dir;
    std::string const marks = dir.write("marks.ps", "[ /Title (T) /DOCINFO pdfmark\n[ /Author (A) /DOCINFO pdfmark\n");
    {
        OutputCapture out;
        text_at("x", 0, 0);
        ps_exit(marks.c_str());
        std::string const s = out.str();
        EXPECT_EQ(s.substr(s.find("%%EOF")),
                  "%%EOF\n\n% Begin " + marks + "\n[ /Title (T) /DOCINFO pdfmark\n[ /Author (A) /DOCINFO pdfmark\n% End\n");
    }

    // A marks file that cannot be read is reported; the document is complete.
    ps_document_reset();
    std::string const missing = dir.path() + "/none.ps";
    OutputCapture out;
    text_at("x", 0, 0);
    std::string const err = capture_stderr([&] { ps_exit(missing.c_str()); });
    EXPECT_EQ(err.rfind(missing + ": ", 0), 0u) << err;
    std::string const s = out.str();
    EXPECT_EQ(s.substr(s.size() - 6), "%%EOF\n");
}

TEST_F(Document, SetupReadsConfiguration)
{
    config_add_value("CONFIG", "OVERLAY", "6");
    config_add_value("CONFIG", "BARCODE", "1");
    OutputCapture out;
    ps_ensure_output();
    EXPECT_EQ(ps_overlay_mode, 6);
    EXPECT_EQ(ps_barcode, 1);
    EXPECT_NE(out.str().find("%%EndProlog\n\n%%BeginSetup\n"), std::string::npos);
}

TEST_F(Document, IncludeListParsing)
{
    using names = std::vector<std::string>;
    EXPECT_EQ(ps_include_names("one"), names{"one"});
    EXPECT_EQ(ps_include_names("  a , b\t,  c  "), (names{"a", "b", "c  "}));
    EXPECT_EQ(ps_include_names("a,,b"), (names{"a", "", "b"}));
    EXPECT_EQ(ps_include_names("a,"), (names{"a", ""}));
    std::string const long_name(300, 'n');
    EXPECT_EQ(ps_include_names((long_name + "," + long_name).c_str()),
              (names{std::string(255, 'n'), long_name}));
}

TEST_F(Document, EndEmitClosesOpenStrings)
{
    OutputCapture out;
    emitting = 2;
    ps_endemit();
    emitting = 1;
    ps_endemit();
    ps_endemit();
    EXPECT_EQ(out.str(), ")U\n)S\n");
    EXPECT_EQ(emitting, 0);
}

TEST_F(Document, PrologIsExact)
{
    OutputCapture out;
    ps_ensure_output();
    std::string const s = out.str();
    EXPECT_EQ(between(s, "\n%%BeginProlog", "\n%%BeginSetup"), kProlog);
    EXPECT_NE(s.find("%%EndComments\n\n%%BeginProlog\n"), std::string::npos);
}

}  // namespace
