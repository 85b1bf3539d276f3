#include "pcl/ps/document.h"

#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

#include "common/file_ptr.h"
#include "common/regular_file.h"
#include "config_store.h"
#include "ghostscript.h"
#include "pcl/environment.h"
#include "pcl/ps/overlays.h"
#include "pcl/ps/raster_output.h"
#include "pcl/ps/rect_output.h"
#include "pcl/ps/resources.h"
#include "pcl/ps/text_emitter.h"
#include "pcl/ps/title.h"
#include "pcl/ps/writer.h"
#include "run_mode.h"
#include "version.h"

int ps_mode;
int ps_page_counter;
int last_page;
int ps_landscape;
double ps_paper_width, ps_paper_height;
double ps_bb_width, ps_bb_height;
double ps_bb_width_1, ps_bb_height_1;
double ps_origin_x;
double ps_origin_y;
double ps_page_origin_y;
double ps_page_origin_width;
int ps_page_rotate;
int ps_last_rotate;
int ps_tray;
std::vector<std::string> used_font_list;
int ps_barcode;
int ps_overlay_mode = 1;

namespace {

// A sheet the document asks for: its name and portrait size in points.
struct sheet {
    std::string name;
    double width;
    double height;
};

// Every distinct sheet of the document in first-use order (listed in the
// trailer as %%DocumentMedia), and the one the last page asked for.
std::vector<sheet> document_media;
sheet page_media;

// The procedures every page relies on: font reencoding, the short names for
// moveto/show/glyphshow, and underlined show.
constexpr char kProlog[] = R"PS(
%%BeginProlog
/reencode_font {
  findfont reencode 2 copy definefont exch pop def
} bind def
/M { moveto } def
/S { show } def
/GS { glyphshow } def

/ushow {
  gsave
  exch 0 exch rmoveto
  dup stringwidth rlineto
  exch setlinewidth stroke
  grestore
  show
} bind def
/U { ushow } def

% reencode the font
% <encoding-vector> <fontdict> -> <newfontdict>
/reencode {
  dup length 5 add dict begin
    { %forall
      1 index /FID ne
      { def }{ pop pop } ifelse
    } forall
    /Encoding exch def

    % Use the font's bounding box to determine the ascent, descent,
    % and overall height; don't forget that these values have to be
    % transformed using the font's matrix.
    % We use `load' because sometimes BBox is executable, sometimes not.
    % Since we need 4 numbers an not an array avoid BBox from being executed
    /FontBBox load aload pop
    FontMatrix transform /Ascent exch def pop
    FontMatrix transform /Descent exch def pop
    /FontHeight Ascent Descent sub def

    % Define these in case they're not in the FontInfo (also, here
    % they're easier to get to.
    /UnderlinePosition 1 def
    /UnderlineThickness 1 def

    % Get the underline position and thickness if they're defined.
    currentdict /FontInfo known {
      FontInfo

      dup /UnderlinePosition known {
        dup /UnderlinePosition get
        0 exch FontMatrix transform exch pop
        /UnderlinePosition exch def
      } if

      dup /UnderlineThickness known {
        /UnderlineThickness get
        0 exch FontMatrix transform exch pop
        /UnderlineThickness exch def
      } if

    } if
    currentdict
  end
} bind def
)PS";

// The text fonts' encoding: ISO Latin-1 with the ASCII hyphen, apostrophe
// and grave accent in their ASCII slots (ISOLatin1Encoding holds minus and
// curly quotes there, which text extraction reads as other characters).
// SF selects a text font by base name, Latin-1 name and size, re-encoding
// it first unless the Latin-1 copy is already defined, so that each page
// stands on its own when pages are extracted or reordered. XF shows a
// string or a named glyph in another font at the current font's size, for
// glyphs the current font lacks.
constexpr char kTextFontProlog[] = R"PS(/L1E ISOLatin1Encoding dup length array copy
dup 16#2D /hyphen put dup 16#27 /quotesingle put dup 16#60 /grave put def
/SF { 1 index where { pop } { 1 index L1E 4 index reencode_font } ifelse
  exch findfont exch scalefont setfont pop } bind def
/XF { currentfont 3 1 roll findfont currentfont /FontMatrix get 0 get 1000 mul
  scalefont setfont dup type /stringtype eq { show } { glyphshow } ifelse setfont } bind def
)PS";

// The creation date. SOURCE_DATE_EPOCH, when it holds a plain number of
// seconds, replaces the current time (reproducible output) and is shown in
// UTC; otherwise the local time is used. An unusable time leaves the buffer
// empty.
void format_creation_date(char (&buf)[65])
{
    buf[0] = '\0';
    std::tm parts{};
    bool have = false;
    char const* epoch = std::getenv("SOURCE_DATE_EPOCH");
    if (epoch && *epoch) {
        errno = 0;
        char* end = nullptr;
        long long const secs = std::strtoll(epoch, &end, 10);
        if (errno == 0 && end && *end == '\0' && secs >= 0) {
            std::time_t const t = static_cast<std::time_t>(secs);
            have = gmtime_r(&t, &parts) != nullptr;
        }
    }
    if (!have) {
        std::time_t const now = std::time(nullptr);
        if (now == static_cast<std::time_t>(-1) || !localtime_r(&now, &parts))
            return;
    }
    if (std::strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S", &parts) == 0)
        buf[0] = '\0';
}

// The media name of a page size: the table's name with only its first
// letter in capitals ("Letter", "A4").
std::string media_name(char const* page_name)
{
    std::string name = page_name ? page_name : "Custom";
    for (size_t i = 1; i < name.size(); ++i)
        if (name[i] >= 'A' && name[i] <= 'Z')
            name[i] = static_cast<char>(name[i] - 'A' + 'a');
    return name;
}

// Print settings in effect on the device: duplex mode, copies, tray.
int32_t asked_duplex;
int32_t asked_copies = 1;
int32_t asked_tray;
// The sheet and print settings the document setup asks for. A page that
// differs from them asks for its own in its page setup, so that it prints
// the same when it is selected on its own.
sheet document_sheet;
int32_t document_duplex;
int32_t document_copies = 1;
int32_t document_tray;

// A device request that a device without the feature skips.
void put_feature(char const* feature, std::string_view request)
{
    ps_put("[{\n%%BeginFeature: ");
    ps_put(feature);
    ps_put('\n');
    ps_put(request);
    ps_put("\n%%EndFeature\n} stopped cleartomark\n");
}

void put_number_feature(char const* feature, char const* key, int32_t v)
{
    std::string const n = std::to_string(v);
    put_feature((std::string(feature) + n).c_str(),
                "<< /" + std::string(key) + " " + n + " >> setpagedevice");
}

// The sheet of the environment's page: its name and its size in points as
// the page is set up (wide for a landscape page).
sheet current_sheet()
{
    bool const sideways = env.orientation == 1 || env.orientation == 3;
    double const width = ps_points(env.paper_width);
    double const height = ps_points(env.paper_height);
    return sheet{media_name(env.page_name), sideways ? height : width, sideways ? width : height};
}

bool same_size(sheet const& a, sheet const& b)
{
    return a.width == b.width && a.height == b.height;
}

// The device requests of the document setup (`document`) or of a page
// setup: the sheet, and, for a printing device (not PDF), the duplex mode,
// copies and tray. The document setup asks for the first page's sheet and
// for the settings that differ from the device's own; a page asks for each
// one that differs from the previous page's or from the document setup's.
// Requests reset the graphics state, so they come before the page's
// rotation.
void request_settings(bool document)
{
    sheet const wanted = current_sheet();
    bool const new_sheet =
        document || !same_size(wanted, page_media) || !same_size(wanted, document_sheet);
    bool const printing = ps_mode == 0;
    int32_t const copies = env.copies > 0 ? env.copies : 1;
    bool const new_duplex =
        printing && (env.duplex != asked_duplex || env.duplex != document_duplex);
    bool const new_copies = printing && (copies != asked_copies || copies != document_copies);
    bool const new_tray = printing && env.paper_source > 0 &&
                          (env.paper_source != asked_tray || env.paper_source != document_tray);
    if (!new_sheet && !new_duplex && !new_copies && !new_tray)
        return;
    if (!document) {
        if (new_sheet) {
            ps_put("%%PageMedia: ");
            ps_put(wanted.name);
            ps_put('\n');
        }
        ps_put("%%BeginPageSetup\n");
    }
    if (new_sheet) {
        page_media = wanted;
        ps_put("<< /PageSize [");
        ps_put_nums({wanted.width, wanted.height});
        ps_put("] >> setpagedevice\n");
    }
    if (new_duplex) {
        asked_duplex = env.duplex;
        if (env.duplex == 0)
            put_feature("*Duplex None", "<< /Duplex false >> setpagedevice");
        else if (env.duplex == 1)
            put_feature("*Duplex DuplexNoTumble", "<< /Duplex true /Tumble false >> setpagedevice");
        else
            put_feature("*Duplex DuplexTumble", "<< /Duplex true /Tumble true >> setpagedevice");
    }
    if (new_copies) {
        asked_copies = copies;
        put_number_feature("*NumCopies ", "NumCopies", copies);
    }
    if (new_tray) {
        asked_tray = env.paper_source;
        put_number_feature("*InputSlot Tray", "MediaPosition", env.paper_source);
    }
    if (document) {
        document_sheet = page_media;
        document_duplex = asked_duplex;
        document_copies = asked_copies;
        document_tray = asked_tray;
    } else {
        ps_put("%%EndPageSetup\n");
    }
    if (!new_sheet)
        return;
    for (sheet const& known : document_media)
        if (known.name == wanted.name && same_size(known, wanted))
            return;
    document_media.push_back(wanted);
}

// "%.0f": rounded to a whole number, ties to even.
void put_whole(double v)
{
    char* p = ps_out_reserve(400);
    ps_out_commit(std::to_chars(p, p + 400, v, std::chars_format::fixed, 0).ptr);
}

bool is_blank(char c) { return c == ' ' || c == '\t'; }

}  // namespace

// CONFIG item INCLUDE: a comma-separated list of resource names. Every name
// but the last loses its surrounding blanks and is cut to 255 characters;
// the last one only loses its leading blanks. Empty names are kept.
std::vector<std::string> ps_include_names(char const* list)
{
    constexpr size_t kMaxName = 255;
    std::vector<std::string> names;
    char const* p = list;
    for (;;) {
        while (is_blank(*p))
            ++p;
        char const* comma = std::strchr(p, ',');
        if (!comma) {
            names.emplace_back(p);
            return names;
        }
        char const* end = comma;
        while (end > p && is_blank(end[-1]))
            --end;
        size_t len = static_cast<size_t>(end - p);
        if (len > kMaxName)
            len = kMaxName;
        names.emplace_back(p, len);
        p = comma + 1;
    }
}

void ps_set_mode(int mode) { ps_mode = mode; }

void ps_init()
{
    if (!ps_out_ready() && !gs_run())
        ps_out_open_failed();
    // The driver ends the run when the pipe cannot be opened, so a missing
    // stream only happens when the converter is driven without output (as
    // in tests); then the document is not started and nothing is written.
    if (!ps_out_ready())
        return;

    char date[65];
    format_creation_date(date);

    ps_landscape = env.orientation & 1;
    ps_put("%!PS-Adobe-3.0\n"
           "%%BoundingBox: (atend)\n");
    if (doc_title) {
        ps_put("%%Title: ");
        ps_put(ps_dsc_title(doc_title));
        ps_put('\n');
    }
    ps_put(ps_landscape ? "%%Orientation: Landscape\n" : "%%Orientation: Portrait\n");
    ps_put("%%Pages: (atend)\n"
           "%%PageOrder: Ascend\n"
           "%%DocumentFonts: (atend)\n");
    if (!compat_legacy())
        ps_put("%%DocumentMedia: (atend)\n");
    ps_put("%%Creator: tarvo " TARVO_VERSION "\n");
    if (date[0]) {
        ps_put("%%CreationDate: ");
        ps_put(date);
        ps_put('\n');
    }
    ps_put("%%DocumentData: Clean7Bit\n"
           "%%EndComments\n");

    if (ps_mode >= 2)
        ps_pdfa_def();

    ps_put(kProlog);
    if (!compat_legacy())
        ps_put(kTextFontProlog);
    ps_put("%%EndProlog\n");

    ps_put("\n%%BeginSetup\n");
    if (!compat_legacy())
        request_settings(true);
    if (char const* v = config_get_option("CONFIG", "BARCODE", nullptr))
        ps_barcode = config_int(v);
    if (ps_barcode)
        ps_include_resource("barcode");
    if (char const* v = config_get_option("CONFIG", "INCLUDE", nullptr))
        for (std::string const& name : ps_include_names(v))
            ps_include_resource(name.c_str());
    ps_put("%%EndSetup\n");

    if (char const* v = config_get_option("CONFIG", "OVERLAY", nullptr))
        ps_overlay_mode = config_int(v);

    ps_page_header(1);
}

namespace {

// Ends the open page and opens the next one.
void next_page()
{
    ps_page_trailer();
    ps_page_header(0);
}

// Brings the output to the page the environment is on. Every page ended
// since the open one was a page of the job, printed or not: each ends in
// the output too, so blank pages come out blank. The earlier rendering
// skipped them and went straight to the new page.
void catch_up()
{
    if (compat_legacy()) {
        if (env.page_serial != last_page)
            next_page();
        last_page = env.page_serial;
        return;
    }
    while (last_page != env.page_serial) {
        next_page();
        last_page = next_serial(last_page);
    }
}

// Starts the document; the first output page belongs to the job's first
// page (the earlier rendering gave it to the current one).
bool start_document()
{
    ps_init();
    if (ps_page_counter == 0)
        return false;
    last_page = compat_legacy() ? env.page_serial : 0;
    return true;
}

}  // namespace

bool ps_sync_page()
{
    if (ps_page_counter == 0 && !start_document())
        return false;
    catch_up();
    return true;
}

bool ps_ensure_output()
{
    if (ps_page_counter != 0)
        return true;
    if (!start_document())
        return false;
    if (!compat_legacy())
        catch_up();
    return true;
}

void ps_page_header(int first)
{
    ps_put('\n');

    int const orientation = env.orientation;
    bool const sideways = orientation == 1 || orientation == 3;
    ps_paper_width = ps_points(env.paper_width);
    ps_paper_height = ps_points(env.paper_height);
    ps_bb_width = sideways ? ps_paper_height : ps_paper_width;
    ps_bb_height = sideways ? ps_paper_width : ps_paper_height;
    ps_origin_x = ps_points(env.page_xofs);
    ps_page_origin_y = ps_points(static_cast<int64_t>(env.paper_height) - env.page_yofs);
    ps_origin_y = ps_page_origin_y;
    ps_page_origin_width = ps_points(static_cast<int64_t>(env.paper_width) - env.page_xofs);

    if (ps_page_counter < INT_MAX)
        ++ps_page_counter;
    ps_put("%%Page: ");
    ps_put_int(ps_page_counter);
    ps_put(' ');
    ps_put_int(ps_page_counter);
    ps_put('\n');

    int const landscape = orientation & 1;
    if (landscape != ps_landscape)
        ps_put(landscape ? "%%PageOrientation: Landscape\n" : "%%PageOrientation: Portrait\n");

    if (first == 1) {
        ps_bb_width_1 = ps_bb_width;
        ps_bb_height_1 = ps_bb_height;
    } else if (ps_bb_width != ps_bb_width_1 || ps_bb_height != ps_bb_height_1) {
        ps_put("%%PageBoundingBox: ");
        ps_put_nums({0.0, 0.0, ps_bb_width, ps_bb_height});
        ps_put('\n');
    }
    if (!compat_legacy())
        request_settings(false);

    switch (orientation) {
    case 1:
        ps_page_rotate = 90;
        break;
    case 2:
        ps_page_rotate = 180;
        break;
    case 3:
        ps_page_rotate = 270;
        break;
    default:
        ps_page_rotate = 0;
        break;
    }
    ps_last_rotate = 0;
    ps_rotate_page(ps_page_rotate);

    ps_tray = env.paper_source;
    // showpage resets the graphics state: the font and the text colour must
    // be written again on the new page.
    ps_text_page_start();

    if (ps_overlay_mode & 1)
        ps_overlay();
}

void ps_page_trailer()
{
    ps_endemit();
    if (ps_overlay_mode & 2) {
        ps_rotate_page(ps_page_rotate);
        ps_overlay();
    }
    ps_put("%%EndPage: ");
    ps_put_int(ps_page_counter);
    ps_put(' ');
    ps_put_int(ps_page_counter);
    ps_put("\nshowpage\n");
}

void ps_rotate_page(int angle)
{
    if (angle == ps_last_rotate)
        return;

    // The translation that brings a turned frame back onto the sheet:
    // for 90 degrees across the sheet's width, for 180 across both, for
    // 270 along its length. It is measured on the physical sheet (portrait
    // width and length); the earlier rendering took the sheet as oriented,
    // which is the same for the page's own rotation but puts print
    // directions 90 and 270 off their place.
    bool const physical = !compat_legacy();
    double const across = physical ? ps_bb_width : ps_paper_height;  // 90, 180 (y)
    double const along = physical ? ps_bb_height : ps_paper_height;  // 180 (y)
    double const wide = physical ? ps_bb_width : ps_paper_width;  // 180 (x)
    double const turn = physical ? ps_bb_height : ps_paper_width;  // 270 (x)
    auto shift = [&](int a, double* tx, double* ty) {
        *tx = 0.0;
        *ty = 0.0;
        switch (a) {
        case 90:
            *ty = across;
            break;
        case 180:
            *tx = wide;
            *ty = along;
            break;
        case 270:
            *tx = turn;
            break;
        default:
            break;
        }
    };
    if (ps_last_rotate != 0) {
        double tx = 0.0;
        double ty = 0.0;
        shift(ps_last_rotate, &tx, &ty);
        ps_put_nums({tx, ty});
        ps_put(" translate ");
        ps_put_int(-ps_last_rotate);
        ps_put(" rotate\n");
    }
    if (angle != 0) {
        double tx = 0.0;
        double ty = 0.0;
        shift(angle, &tx, &ty);
        ps_put_int(angle);
        ps_put(" rotate ");
        ps_put_nums({0.0 - tx, 0.0 - ty});
        ps_put(" translate\n");
    }
    ps_last_rotate = angle;
    env.pos_changed = 1;

    bool const page_sideways = ps_page_rotate == 90 || ps_page_rotate == 270;
    if (angle == 90 || angle == 270)
        ps_origin_y = page_sideways ? ps_page_origin_y : ps_page_origin_width;
    else
        ps_origin_y = page_sideways ? ps_page_origin_width : ps_page_origin_y;
}

void ps_setpos()
{
    if (!ps_out_ready())
        return;
    ps_put_pos(ps_x(env.cur_x), ps_y(env.cur_y));
    ps_put('\n');
}

double ps_x(int64_t x) { return ps_points(x) + ps_origin_x; }

double ps_y(int64_t y) { return ps_origin_y - ps_points(y); }

void ps_exit(char const* marks_path)
{
    if (ps_page_counter == 0)
        return;

    ps_page_trailer();
    // Form feeds after the last marked page end blank pages of their own.
    if (!compat_legacy()) {
        uint32_t const ended =
            static_cast<uint32_t>(env.page_serial) - static_cast<uint32_t>(last_page);
        for (uint32_t blank = 1; blank < ended; ++blank) {
            ps_page_header(0);
            ps_page_trailer();
        }
    }
    ps_put("%%Trailer\n"
           "%%BoundingBox: 0 0 ");
    put_whole(ps_bb_width_1 + 0.4);
    ps_put(' ');
    put_whole(ps_bb_height_1 + 0.4);
    ps_put("\n%%Pages: ");
    ps_put_int(ps_page_counter);
    ps_put('\n');
    for (size_t i = 0; i < document_media.size(); ++i) {
        ps_put(i == 0 ? "%%DocumentMedia: " : "%%+ ");
        ps_put(document_media[i].name);
        ps_put(' ');
        ps_put_nums({document_media[i].width, document_media[i].height});
        ps_put(" 0 () ()\n");
    }
    for (size_t i = 0; i < used_font_list.size(); ++i) {
        std::string const& name = used_font_list[i];
        if (i == 0) {
            ps_put("%%DocumentFonts: ");
            ps_put(name);
            ps_put('\n');
            continue;
        }
        bool seen = false;
        for (size_t j = 0; j < i && !seen; ++j)
            seen = used_font_list[j] == name;
        if (!seen) {
            ps_put("%%+ ");
            ps_put(name);
            ps_put('\n');
        }
    }
    ps_put("%%EOF\n");

    if (marks_path) {
        RegularFile marks = open_regular_file(marks_path);
        if (!marks.file) {
            if (marks.not_regular)
                std::fprintf(stderr, "%s: %s: not a regular file\n", progname, marks_path);
            else
                std::perror(marks_path);
            ps_out_flush();
            return;
        }
        ps_put("\n% Begin ");
        ps_put(marks_path);
        ps_put('\n');
        ps_put_rest_of(marks.file.get());
        report_read_error(marks.file.get(), progname, marks_path);
        ps_put("% End\n");
    }
    ps_out_flush();
}

void ps_document_reset()
{
    ps_raster_reset();
    ps_rect_output_reset();
    ps_mode = 0;
    ps_page_counter = 0;
    last_page = 0;
    ps_landscape = 0;
    ps_paper_width = ps_paper_height = 0.0;
    ps_bb_width = ps_bb_height = 0.0;
    ps_bb_width_1 = ps_bb_height_1 = 0.0;
    ps_origin_x = ps_origin_y = 0.0;
    ps_page_origin_y = ps_page_origin_width = 0.0;
    ps_page_rotate = 0;
    ps_last_rotate = 0;
    ps_tray = 0;
    used_font_list.clear();
    document_media.clear();
    page_media = sheet{};
    asked_duplex = 0;
    asked_copies = 1;
    asked_tray = 0;
    document_sheet = sheet{};
    document_duplex = 0;
    document_copies = 1;
    document_tray = 0;
    ps_barcode = 0;
    ps_overlay_mode = 1;
    ps_text_reset();
    ps_out_reset();
}
