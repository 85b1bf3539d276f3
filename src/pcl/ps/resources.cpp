// PostScript resource files copied into the document setup, and the PDF/A
// definitions (output intent with the sRGB profile, document title).
#include "pcl/ps/resources.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "common/file_ptr.h"
#include "common/install_paths.h"
#include "common/regular_file.h"
#include "config_store.h"
#include "pcl/ps/title.h"
#include "pcl/ps/writer.h"
#include "run_mode.h"

namespace {

// Longest resource path accepted; longer ones are refused like a file
// whose name is too long.
constexpr size_t kMaxResourcePath = 1023;
// Lines of a resource's header comments are examined in pieces of this size.
constexpr size_t kLineBuffer = 8192;
constexpr size_t kCopyBlock = 8192;

// The directory of resource files: PS.INCLUDE, else the installation's
// share directory + "/tarvo/ps".
std::string resource_dir()
{
    if (char const* dir = config_get_option("CONFIG", "PS.INCLUDE", nullptr))
        return dir;
    return std::string(zx_share_path()) + "/tarvo/ps";
}

// Reads up to `cap` bytes, stopping after a newline; returns the count.
// Unlike fgets it keeps NUL bytes.
size_t read_piece(FILE* in, char* buf, size_t cap)
{
    size_t n = 0;
    int c;
    while (n < cap && (c = std::getc(in)) != EOF) {
        buf[n++] = static_cast<char>(c);
        if (c == '\n')
            break;
    }
    return n;
}

// Copies a resource file: its leading comment lines one by one, dropping a
// "%%Title:" line that would clash with the document's own title; the first
// line that is not a comment ends that phase, and the rest goes in blocks.
void copy_resource(FILE* in)
{
    char line[kLineBuffer];
    bool at_line_start = true;
    bool skipping = false;  // inside a %%Title: line
    size_t len;
    while ((len = read_piece(in, line, sizeof line)) > 0) {
        if (at_line_start) {
            if (len >= 8 && std::memcmp(line, "%%Title:", 8) == 0) {
                skipping = true;
            } else if (line[0] != '%') {
                ps_put({line, len});
                break;
            } else {
                skipping = false;
            }
        }
        if (!skipping)
            ps_put({line, len});
        at_line_start = line[len - 1] == '\n';
    }
    ps_put_rest_of(in);
}

// Whether `path` can be opened for reading; reports it with `what` when not.
bool readable(std::string const& path, char const* what)
{
    if (path.size() > kMaxResourcePath) {
        errno = ENAMETOOLONG;
    } else if (FilePtr in{std::fopen(path.c_str(), "rb")}) {
        return true;
    }
    std::fprintf(stderr, "%s: %s: %s: %s\n", progname, what, path.c_str(), std::strerror(errno));
    return false;
}

}  // namespace

std::string ps_icc_profile_path() { return resource_dir() + "/sRGB.icc"; }

bool ps_resources_present(int pdf_level)
{
    if (pdf_level >= 2 && !config_get_option("CONFIG", "PS.PDFA_DEF", nullptr) &&
        !readable(ps_icc_profile_path(), "PDF/A needs the sRGB profile"))
        return false;
    char const* barcode = config_get_option("CONFIG", "BARCODE", nullptr);
    if (barcode && config_int(barcode) != 0 &&
        !readable(resource_dir() + "/barcode.ps", "barcodes need the barcode library"))
        return false;
    return true;
}

void ps_include_resource(char const* name)
{
    if (!ps_out_ready())
        return;
    bool const wrapped = std::strcmp(name, "barcode") != 0;
    std::string const path = resource_dir() + "/" + name + ".ps";

    if (wrapped) {
        ps_put("%%BeginResource: ");
        ps_put(name);
        ps_put('\n');
    }
    if (path.size() > kMaxResourcePath) {
        errno = ENAMETOOLONG;
        std::perror(path.c_str());
    } else if (FilePtr in{std::fopen(path.c_str(), "rb")}) {
        copy_resource(in.get());
        report_read_error(in.get(), progname, path.c_str());
    } else {
        std::perror(path.c_str());
    }
    if (wrapped)
        ps_put("%%EndResource\n");
}

void ps_pdfa_def()
{
    if (!ps_out_ready())
        return;
    if (char const* def = config_get_option("CONFIG", "PS.PDFA_DEF", nullptr)) {
        ps_put("\n%%BeginResource: ");
        ps_put(def);
        ps_put('\n');
        if (FilePtr in{std::fopen(def, "rb")}) {
            ps_put_rest_of(in.get());
            report_read_error(in.get(), progname, def);
        } else
            std::perror(def);
    } else {
        // The profile is read by Ghostscript when it runs the document.
        std::string const icc = ps_icc_profile_path();
        ps_put("\n"
               "%%BeginResource: builtin_pdfa_def\n"
               "/ICCProfile ");
        ps_put(ps_literal_string(icc));
        ps_put("\n"
               "def\n"
               "[ /Title ");
        ps_put(ps_title_string(doc_title ? doc_title : ""));
        ps_put("\n"
               "  /DOCINFO pdfmark\n"
               "[/_objdef {icc_PDFA} /type /stream /OBJ pdfmark\n"
               "[{icc_PDFA} <<\n"
               "  /N currentpagedevice /ProcessColorModel known {\n"
               "    currentpagedevice /ProcessColorModel get dup /DeviceGray eq\n"
               "    {pop 1} {\n"
               "      /DeviceRGB eq\n"
               "      {3}{4} ifelse\n"
               "    } ifelse\n"
               "  } {\n"
               "    (ERROR, unable to determine ProcessColorModel) == flush\n"
               "  } ifelse\n"
               ">> /PUT pdfmark\n"
               "[{icc_PDFA} ICCProfile (r) file /PUT pdfmark\n"
               "[/_objdef {OutputIntent_PDFA} /type /dict /OBJ pdfmark\n"
               "[{OutputIntent_PDFA} <<\n"
               "  /Type /OutputIntent\n"
               "  /S /GTS_PDFA1\n"
               "  /DestOutputProfile {icc_PDFA}\n"
               "  /OutputConditionIdentifier (sRGB IEC61966-2.1)\n"
               ">> /PUT pdfmark\n"
               "[{Catalog} <</OutputIntents [ {OutputIntent_PDFA} ]>> /PUT pdfmark\n");
    }
    ps_put("%%EndResource\n");
}
