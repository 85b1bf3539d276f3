#include "pcl/ps/eps.h"

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_set>

#include "common/file_ptr.h"
#include "common/regular_file.h"
#include "output_file.h"
#include "pcl/environment.h"
#include "pcl/inband_files.h"
#include "pcl/ps/document.h"
#include "pcl/ps/title.h"
#include "pcl/ps/writer.h"
#include "run_mode.h"

namespace {

// The names of included files already reported as unreadable.
std::unordered_set<std::string> reported;

// Whether the open file `fd` is the one the document (or Ghostscript's
// result) is being written to: copying it in would read back what is
// written and grow it without end.
bool is_output(int fd)
{
    struct stat in;
    if (::fstat(fd, &in) != 0)
        return false;
    auto same = [&in](struct stat const& st) {
        return st.st_dev == in.st_dev && st.st_ino == in.st_ino;
    };
    struct stat st;
    if (int const out = ps_out_fd(); out >= 0 && ::fstat(out, &st) == 0 && same(st))
        return true;
    if (::fstat(STDOUT_FILENO, &st) == 0 && same(st))
        return true;
    char const* written = out_file_name();
    return *written && ::stat(written, &st) == 0 && same(st);
}

// Opens a file to be included, a regular file only (a device or a FIFO
// would feed or block the converter without end). One that cannot be
// opened is reported on standard error the first time its name comes up (an
// overlay is drawn on every page), and the document goes on without it.
// `shown` is the name in the message, `path` the one opened.
FilePtr open_included(char const* path, char const* shown)
{
    RegularFile f = open_regular_file(path);
    char const* why = nullptr;
    if (!f.file)
        why = f.not_regular ? "not a regular file" : std::strerror(errno);
    else if (is_output(fileno(f.file.get())))
        why = "is the output file";
    if (why) {
        if (reported.insert(shown).second)
            std::fprintf(stderr, "%s: %s: %s\n", progname, shown, why);
        return nullptr;
    }
    return std::move(f.file);
}

FilePtr open_included(char const* path) { return open_included(path, path); }

// A file named by an in-band command: also subject to INBAND.PATH.
FilePtr open_inband(char const* path)
{
    std::string name;
    if (!inband_path_allows(path, &name))
        return nullptr;
    return open_included(name.c_str(), path);
}

constexpr unsigned char DOS_EPS_SIGNATURE[4] = {0xC5, 0xD0, 0xD3, 0xC6};
constexpr size_t DOS_EPS_HEADER_SIZE = 32;
// Bytes 0-3 signature, 4-7 offset, 8-11 length of the PostScript section.
constexpr size_t DOS_EPS_FIXED_PART = 12;

constexpr size_t HEADER_LINE_MAX = 255;  // header comments are read in pieces of this size
constexpr size_t COPY_LINE_MAX = 1023;  // lines of the copied PostScript section
constexpr size_t OVERLAY_BLOCK = 1024;  // binary section copy of overlays

constexpr char INVALID_HEADER[] = "% --invalid EPS header\n";
constexpr char END_EPS[] = "% --END EPS FILE\n";

// What the header reader found out; `dos` tells the two formats apart
// (a DOS file's section is copied by its length, a plain file to its end).
struct eps_info {
    bool dos = false;
    long offset = 0;
    int length = 0;
};

uint32_t le32(unsigned char const* p)
{
    return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
           static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}

// Reads one line, or the first `cap` bytes of a longer one, newline included.
// Returns the number of bytes stored (0 at end of file). Embedded NUL bytes
// are kept and counted.
size_t read_line(FILE* f, char* buf, size_t cap)
{
    size_t n = 0;
    while (n < cap) {
        int c = getc(f);
        if (c == EOF)
            break;
        buf[n++] = static_cast<char>(c);
        if (c == '\n')
            break;
    }
    return n;
}

bool starts_with(char const* s, size_t n, char const* prefix)
{
    size_t len = std::strlen(prefix);
    return n >= len && std::memcmp(s, prefix, len) == 0;
}

// Parses up to four box values after a box comment. Values that cannot be
// read keep their previous contents; a value that is not a finite number
// ends the parse as if it were unreadable, so nothing downstream computes
// with infinities or NaN. Returns the number of values taken.
int parse_box(char const* text, double box[4])
{
    double v[4] = {box[0], box[1], box[2], box[3]};
    int n = std::sscanf(text, "%lf %lf %lf %lf", &v[0], &v[1], &v[2], &v[3]);
    if (n < 0)
        n = 0;
    int taken = 0;
    while (taken < n && std::isfinite(v[taken])) {
        box[taken] = v[taken];
        ++taken;
    }
    return taken;
}

// Size of a seekable file, or -1.
long file_size(FILE* f)
{
    if (std::fseek(f, 0, SEEK_END) != 0)
        return -1;
    return std::ftell(f);
}

int invalid_header()
{
    ps_put(INVALID_HEADER);
    return -1;
}

// The header reader behind eps_read_header. A DOS header whose section
// starts beyond the end of the file, or whose section is empty, makes the
// file invalid; a section length reaching past the end of the file is cut
// to the bytes that are there (and to the int range), so the length always
// describes bytes that exist.
int read_header(FILE* f, int* count, double box[4], eps_info* info)
{
    unsigned char head[DOS_EPS_HEADER_SIZE];
    size_t got = std::fread(head, 1, sizeof head, f);
    *info = eps_info{};
    if (got >= DOS_EPS_FIXED_PART && std::memcmp(head, DOS_EPS_SIGNATURE, 4) == 0) {
        long size = file_size(f);
        uint32_t offset = le32(head + 4);
        uint32_t length = le32(head + 8);
        if (size < 0 || offset >= static_cast<uint64_t>(size) || length == 0)
            return invalid_header();
        uint64_t available = static_cast<uint64_t>(size) - offset;
        uint64_t len = length < available ? length : available;
        if (len > static_cast<uint64_t>(std::numeric_limits<int>::max()))
            len = std::numeric_limits<int>::max();
        info->dos = true;
        info->offset = static_cast<long>(offset);
        info->length = static_cast<int>(len);
    } else if (!(got >= 2 && head[0] == '%' && head[1] == '!')) {
        return invalid_header();
    }

    if (std::fseek(f, info->offset, SEEK_SET) != 0)
        return invalid_header();
    box[0] = box[1] = box[2] = box[3] = 0;
    *count = 0;
    char line[HEADER_LINE_MAX + 1];
    for (;;) {
        size_t n = read_line(f, line, HEADER_LINE_MAX);
        if (n == 0 || line[0] != '%')
            break;
        line[n] = '\0';
        if (starts_with(line, n, "%%BoundingBox:"))
            *count = parse_box(line + 14, box);
        else if (starts_with(line, n, "%%HiResBoundingBox:"))
            *count = parse_box(line + 19, box);
    }
    if (std::fseek(f, info->offset, SEEK_SET) != 0)
        return invalid_header();
    return info->length;
}

// Copies the PostScript section line by line, leaving out the lines that
// begin with "%%" (a long one in all its pieces). A DOS section is copied up
// to its length and no further, so no byte of a following preview reaches
// the output. Makes sure the copy ends with a newline, so that what follows
// starts on a line of its own.
void copy_filtered(FILE* f, eps_info const& info)
{
    char line[COPY_LINE_MAX];
    size_t remaining = static_cast<size_t>(info.length);
    bool at_line_start = true;
    bool dropping = false;
    bool ends_with_newline = true;
    while (!info.dos || remaining > 0) {
        size_t cap = info.dos && remaining < COPY_LINE_MAX ? remaining : COPY_LINE_MAX;
        size_t n = read_line(f, line, cap);
        if (n == 0)
            break;
        if (info.dos)
            remaining -= n;
        if (at_line_start)
            dropping = starts_with(line, n, "%%");
        if (!dropping) {
            ps_put({line, n});
            ends_with_newline = line[n - 1] == '\n';
        }
        at_line_start = line[n - 1] == '\n';
    }
    if (!ends_with_newline)
        ps_put('\n');
}

// Copies exactly the DOS section's bytes, unfiltered.
void copy_section_bytes(FILE* f, eps_info const& info)
{
    char block[OVERLAY_BLOCK];
    size_t remaining = static_cast<size_t>(info.length);
    char last = '\n';
    while (remaining > 0) {
        size_t want = remaining < sizeof block ? remaining : sizeof block;
        size_t n = std::fread(block, 1, want, f);
        if (n == 0)
            break;
        ps_put({block, n});
        last = block[n - 1];
        remaining -= n;
    }
    if (last != '\n')
        ps_put('\n');
}

void begin_eps(char const* path)
{
    ps_put("% --BEGIN EPS FILE ");
    ps_put(path);
    ps_put('\n');
}

void write_isolation_prologue()
{
    ps_put("save\n/showpage {} def\n/setpagedevice /pop load def\n");
}

void embed(FILE* f, eps_info const& info, double height)
{
    write_isolation_prologue();
    ps_put("currentpoint ");
    ps_put_num(height);
    ps_put(" sub translate\n");
    copy_filtered(f, info);
    ps_put("restore\n");
}

// The caller of eps_embed has read the header and left the file at the
// section's start; a positive length is a DOS section, 0 a plain file.
eps_info info_for_length(int length)
{
    eps_info info;
    info.dos = length > 0;
    info.length = length > 0 ? length : 0;
    return info;
}

}  // namespace

int eps_read_header(FILE* f, int* count, double box[4])
{
    eps_info info;
    return read_header(f, count, box, &info);
}

void eps_embed(FILE* f, int length, double height) { embed(f, info_for_length(length), height); }

void ps_include_file(char const* path)
{
    if (!ps_ensure_output() || !ps_out_ready())
        return;
    ps_put("% --BEGIN PS FILE ");
    ps_put(path);
    ps_put('\n');
    if (FilePtr f = open_inband(path)) {
        // The file may be a whole document with page and trailer comments
        // of its own; marked as an embedded document, its comments do not
        // end the page for programs that split the output into pages.
        bool const marked = !compat_legacy();
        if (marked) {
            ps_put("%%BeginDocument: ");
            ps_put(ps_literal_string(path));
            ps_put('\n');
        }
        int const last = ps_put_rest_of(f.get());
        report_read_error(f.get(), progname, path);
        if (marked) {
            if (last != -1 && last != '\n')
                ps_put('\n');
            ps_put("%%EndDocument\n");
        }
    }
    ps_put("% --END PS FILE\n");
}

void ps_eps_file(char const* path)
{
    if (!ps_ensure_output() || !ps_out_ready())
        return;
    begin_eps(path);
    if (FilePtr f = open_inband(path)) {
        int count = 0;
        double box[4] = {0, 0, 0, 0};
        eps_info info;
        if (read_header(f.get(), &count, box, &info) >= 0) {
            if (count == 4) {
                embed(f.get(), info, box[3] - box[1]);
                double width = box[2] - box[0];
                if (width != 0) {
                    ps_put("currentpoint exch ");
                    ps_put_num(width);
                    ps_put(" add exch moveto\n");
                }
            } else {
                embed(f.get(), info, 0);
            }
        }
        report_read_error(f.get(), progname, path);
    }
    ps_put(END_EPS);
}

void ps_include_eps_file(double x, double y, char const* path, int scale, int align)
{
    if (!ps_out_ready())
        return;
    begin_eps(path);
    FilePtr f = open_included(path);
    int count = 0;
    double box[4] = {0, 0, 0, 0};
    eps_info info;
    if (f && read_header(f.get(), &count, box, &info) >= 0) {
        bool usable = count == 4;
        double factor = scale == 0 ? 1.0 : scale / 100.0;
        if (usable && scale != 100)
            for (double& v : box)
                v *= factor;
        double const llx = box[0], lly = box[1], urx = box[2], ury = box[3];
        double const w = urx - llx, h = ury - lly;
        double const page_w = ps_paper_width;

        bool frame_only = false;
        if (usable && (ps_overlay_mode & 4)) {
            double fx, fy;
            switch (align) {
            case 0:
                fx = 0;
                fy = ps_origin_y - h;
                break;
            case 1:
                fx = page_w - w;
                fy = ps_origin_y - h;
                break;
            case 2:
                fx = 0;
                fy = 0;
                break;
            case 3:
                fx = page_w - w;
                fy = 0;
                break;
            default:
                fx = llx;
                fy = lly;
                break;
            }
            ps_put_rect_path(fx + x, fy - y, w, h);
            ps_put("1 setlinewidth\nstroke\n");
            frame_only = (ps_overlay_mode & 8) != 0;
        }

        if (!frame_only) {
            double tx = 0, ty = 0;
            if (usable) {
                switch (align) {
                case 0:
                    tx = -llx;
                    ty = ps_origin_y - ury;
                    break;
                case 1:
                    tx = page_w - urx;
                    ty = ps_origin_y - ury;
                    break;
                case 2:
                    tx = -llx;
                    ty = -lly;
                    break;
                case 3:
                    tx = page_w - urx;
                    ty = -lly;
                    break;
                default:
                    break;
                }
            }
            write_isolation_prologue();
            ps_put_nums({tx + x, ty - y});
            ps_put(" translate");
            if (scale != 0 && scale != 100) {
                ps_put(' ');
                ps_put_nums({factor, factor});
                ps_put(" scale");
            }
            ps_put('\n');
            // A DOS section is copied as it stands, with its own trailer
            // comments: marked as an embedded document, they do not end the
            // page for programs that split the output into pages.
            bool const marked = info.dos && !compat_legacy();
            if (marked) {
                ps_put("%%BeginDocument: ");
                ps_put(ps_literal_string(path));
                ps_put('\n');
            }
            if (info.dos)
                copy_section_bytes(f.get(), info);
            else
                copy_filtered(f.get(), info);
            if (marked)
                ps_put("%%EndDocument\n");
            ps_put("restore\n");
        }
    }
    // An overlay is drawn on every page; its read error is told once.
    if (f && std::ferror(f.get()) && reported.insert(path).second)
        report_read_error(f.get(), progname, path);
    ps_put(END_EPS);
}

void eps_reset() { reported.clear(); }
