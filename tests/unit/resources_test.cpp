// Resource files wrapped into the document and the PDF/A definitions.
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "config_store.h"
#include "pcl/ps/resources.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

class Resources : public testing::Test {
protected:
    void SetUp() override
    {
        config_clear();
        doc_title = nullptr;
        unsetenv("ZENTHORAX");
    }
    void TearDown() override { SetUp(); }
    // Runs fn with the output captured; returns the output, stores stderr.
    std::string run(void (*fn)(char const*), char const* name)
    {
        OutputCapture out;
        err = capture_stderr([&] { fn(name); });
        return out.str();
    }
    std::string run_pdfa()
    {
        OutputCapture out;
        err = capture_stderr([] { ps_pdfa_def(); });
        return out.str();
    }
    TempDir dir;
    std::string err;
};

TEST_F(Resources, HeaderTitleIsDroppedOnlyAmongLeadingComments)
{
    config_add_value("CONFIG", "PS.INCLUDE", dir.path().c_str());
    dir.write("r.ps", "%!PS\n%%Title: x\n%%Creator: y\n/a 1 def\n%%Title: later\nend");
    EXPECT_EQ(
        run(ps_include_resource, "r"),
        "%%BeginResource: r\n%!PS\n%%Creator: y\n/a 1 def\n%%Title: later\nend%%EndResource\n");
    // A title longer than the line buffer is dropped whole, a long comment is
    // kept whole, bytes after a NUL survive.
    std::string const long_comment = "%" + std::string(20000, 'c') + "\n";
    std::string const body("x\0y\n", 4);
    dir.write("long.ps", "%%Title: " + std::string(20000, 't') + "\n" + long_comment + body);
    EXPECT_EQ(run(ps_include_resource, "long"),
              "%%BeginResource: long\n" + long_comment + body + "%%EndResource\n");
    // The barcode library is not wrapped.
    dir.write("barcode.ps", "%!PS\n%%Title: lib\n/bwipp 1 def\n");
    EXPECT_EQ(run(ps_include_resource, "barcode"), "%!PS\n/bwipp 1 def\n");
    EXPECT_EQ(err, "");
}

TEST_F(Resources, MissingAndOverlongPaths)
{
    setenv("ZENTHORAX", "/nonexistent/zx", 1);
    EXPECT_EQ(run(ps_include_resource, "forms"), "%%BeginResource: forms\n%%EndResource\n");
    EXPECT_EQ(err, "/nonexistent/zx/share/tarvo/ps/forms.ps: No such file or directory\n");
    EXPECT_EQ(run(ps_include_resource, "barcode"), "");  // missing library: nothing at all
    // Paths are limited to 1023 characters: 1023 is tried, 1024 refused.
    std::string const base = "/nonexistent/zx/share/tarvo/ps/";
    std::string const fits(1023 - base.size() - 3, 'n');
    run(ps_include_resource, fits.c_str());
    EXPECT_EQ(err, base + fits + ".ps: No such file or directory\n");
    std::string const too_long = fits + "n";
    EXPECT_EQ(run(ps_include_resource, too_long.c_str()),
              "%%BeginResource: " + too_long + "\n%%EndResource\n");
    EXPECT_EQ(err, base + too_long + ".ps: File name too long\n");
}

// The number of times `part` occurs in `text`.
size_t count(std::string const& text, std::string const& part)
{
    size_t n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++n;
    return n;
}

TEST_F(Resources, PdfaBlockBuiltInOrReplaced)
{
    config_add_value("CONFIG", "PS.INCLUDE", "/S");
    doc_title = "job";
    // The built-in block: the profile's path and the title, then the marks
    // that embed the profile and make it the document's output intent.
    std::string const block = run_pdfa();
    EXPECT_EQ(block.rfind("\n%%BeginResource: builtin_pdfa_def\n/ICCProfile (/S/sRGB.icc)\ndef\n"
                          "[ /Title (job)\n  /DOCINFO pdfmark\n",
                          0),
              0u);
    EXPECT_TRUE(block.ends_with("\n%%EndResource\n"));
    for (char const* part :
         {"[{icc_PDFA} ICCProfile (r) file /PUT pdfmark\n", "/S /GTS_PDFA1\n",
          "/DestOutputProfile {icc_PDFA}\n",
          "[{Catalog} <</OutputIntents [ {OutputIntent_PDFA} ]>> /PUT pdfmark\n"})
        EXPECT_EQ(count(block, part), 1u) << part;
    // Each object is declared before it is used, and each pdfmark has its
    // own mark at the start of a line.
    for (char const* object : {"{icc_PDFA}", "{OutputIntent_PDFA}"})
        EXPECT_EQ(block.find(object), block.find(std::string("[/_objdef ") + object) + 10)
            << object;
    EXPECT_EQ(count(block, "pdfmark"), count(block, "\n["));
    // The profile from the share directory; path and title are PostScript
    // strings whatever they hold.
    config_clear();
    setenv("ZENTHORAX", "/z(1)\\", 1);
    doc_title = ") (%pipe%id) (w) file (";
    std::string const out = run_pdfa();
    EXPECT_NE(out.find("/ICCProfile (/z\\(1\\)\\\\/share/tarvo/ps/sRGB.icc)\n"), std::string::npos);
    EXPECT_NE(out.find("[ /Title (\\) \\(%pipe%id\\) \\(w\\) file \\()\n"), std::string::npos);

    std::string const def = dir.write("pdfa.ps", "%%Title: kept\n/custom true def\n");
    config_add_value("CONFIG", "PS.PDFA_DEF", def.c_str());
    EXPECT_EQ(run_pdfa(),
              "\n%%BeginResource: " + def + "\n%%Title: kept\n/custom true def\n%%EndResource\n");
    config_clear();
    std::string const missing = dir.path() + "/missing.ps";
    config_add_value("CONFIG", "PS.PDFA_DEF", missing.c_str());
    EXPECT_EQ(run_pdfa(), "\n%%BeginResource: " + missing + "\n%%EndResource\n");
    EXPECT_EQ(err, missing + ": No such file or directory\n");
}

}  // namespace
