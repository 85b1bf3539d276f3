#include "pcl/ps/raster_output.h"

#include <string>
#include <string_view>

#include "pcl/environment.h"
#include "pcl/ps/document.h"
#include "pcl/ps/image_encoding.h"
#include "pcl/ps/writer.h"
#include "run_mode.h"

namespace {

raster_image current;
std::vector<uint8_t> strip;  // rows collected, in the image's format
int64_t strip_first = 0;  // index of the strip's first row
int64_t strip_rows = 0;
// Run-length data and its ASCII85 text; they only grow (up to what a full
// strip needs), so their bytes are not cleared again for every strip.
std::vector<char> encoded;
std::vector<char> text;

constexpr double points_per_unit = 72.0 / 72000.0;

void write_color(uint32_t color)
{
    uint32_t const r = (color >> 16) & 0xff;
    uint32_t const g = (color >> 8) & 0xff;
    uint32_t const b = color & 0xff;
    if (r == g && g == b) {
        ps_put_num(r / 255.0);
        ps_put(" setgray\n");
    } else {
        ps_put_nums({r / 255.0, g / 255.0, b / 255.0});
        ps_put(" setrgbcolor\n");
    }
}

// The palette as a hexadecimal string, 24 entries a line.
void write_palette(std::vector<uint32_t> const& palette)
{
    static char const hex[] = "0123456789abcdef";
    ps_put("[/Indexed /DeviceRGB ");
    ps_put_int(static_cast<long long>(palette.size()) - 1);
    ps_put(" <");
    for (size_t i = 0; i < palette.size(); ++i) {
        if (i % 24 == 0)
            ps_put('\n');
        for (int shift = 20; shift >= 0; shift -= 4)
            ps_put(hex[(palette[i] >> shift) & 0xf]);
    }
    ps_put("\n>] setcolorspace\n");
}

// "[w 0 0 -h 0 h]": the image's rows from the top of the unit square down.
void write_matrix(long long w, long long h)
{
    ps_put('[');
    ps_put_int(w);
    ps_put(" 0 0 ");
    ps_put_int(-h);
    ps_put(" 0 ");
    ps_put_int(h);
    ps_put(']');
}

// Writes the collected rows as one image whose top edge is row
// `strip_first` of the block.
void write_strip()
{
    raster_image const& im = current;
    int64_t const w = im.width;
    int64_t const h = strip_rows;

    // The strip's top-left corner: the block's corner moved down (along the
    // rotated axis) by the rows before it.
    double dx = 0;
    double dy = 0;
    double const down = static_cast<double>(strip_first) * im.dot_h;
    switch (im.rotate) {
    case 90:
        dx = down;
        break;
    case 180:
        dy = -down;
        break;
    case 270:
        dx = -down;
        break;
    default:
        dy = down;
        break;
    }
    double const x = (im.x + dx) * points_per_unit + ps_origin_x;
    double const y = ps_origin_y - (im.y + dy) * points_per_unit;
    double const sx = static_cast<double>(w) * im.dot_w * points_per_unit;
    double const sy = static_cast<double>(h) * im.dot_h * points_per_unit;

    ps_put("gsave\n");
    ps_put_nums({x, y});
    ps_put(" translate\n");
    if (im.rotate != 0) {
        ps_put_int(im.rotate);
        ps_put(" rotate\n");
    }
    ps_put_nums({sx, sy});
    ps_put(" scale 0 -1 translate\n");

    // The data follows inline: the filters read it from the document, and
    // once the image has its samples both are read to their ends, so the
    // document goes on after the "~>".
    char const* decode = "";
    if (im.kind == raster_image::mask) {
        write_color(im.color);
    } else if (im.kind == raster_image::indexed) {
        write_palette(im.palette);
        decode = im.bits == 8   ? "[0 255]"
                 : im.bits == 4 ? "[0 15]"
                 : im.bits == 2 ? "[0 3]"
                                : "[0 1]";
    } else {
        ps_put("/DeviceRGB setcolorspace\n");
        decode = im.inverted ? "[1 0 1 0 1 0]" : "[0 1 0 1 0 1]";
    }
    ps_put("currentfile /ASCII85Decode filter dup /RunLengthDecode filter\n");
    if (im.kind == raster_image::mask) {
        ps_put("dup ");
        ps_put_int(w);
        ps_put(' ');
        ps_put_int(h);
        ps_put(" true ");
        write_matrix(w, h);
        ps_put(" 5 -1 roll\n{imagemask flushfile flushfile} exec\n");
    } else {
        ps_put("<< /ImageType 1 /Width ");
        ps_put_int(w);
        ps_put(" /Height ");
        ps_put_int(h);
        ps_put(" /BitsPerComponent ");
        ps_put_int(im.bits);
        ps_put(" /Decode ");
        ps_put(decode);
        ps_put("\n/ImageMatrix ");
        write_matrix(w, h);
        ps_put(" >> dup /DataSource 3 index put\n{image flushfile flushfile} exec\n");
    }

    size_t const rle_room = run_length_bound(strip.size()) + 1;
    if (encoded.size() < rle_room)
        encoded.resize(rle_room);
    size_t rle = run_length_encode(strip, encoded.data());
    encoded[rle++] = static_cast<char>(128);  // end of data
    size_t const text_room = ascii85_bound(rle);
    if (text.size() < text_room)
        text.resize(text_room);
    size_t const chars = ascii85_encode(
        std::span(reinterpret_cast<uint8_t const*>(encoded.data()), rle), text.data());
    ps_put(std::string_view(text.data(), chars));
    ps_put("grestore\n");
    env.pos_changed = 1;
}

}  // namespace

size_t raster_row_bytes(raster_image const& image)
{
    size_t const w = image.width > 0 ? static_cast<size_t>(image.width) : 0;
    switch (image.kind) {
    case raster_image::rgb:
        return w * 3;
    case raster_image::indexed:
        return (w * static_cast<size_t>(image.bits) + 7) / 8;
    default:
        return (w + 7) / 8;
    }
}

void ps_raster_begin(raster_image const& image)
{
    ps_raster_flush();
    current = image;
}

void ps_raster_row(int64_t index, std::span<uint8_t const> row)
{
    if (strip_rows > 0 &&
        (index != strip_first + strip_rows || strip.size() + row.size() > RASTER_STRIP_BYTES))
        ps_raster_flush();
    if (strip_rows == 0)
        strip_first = index;
    strip.insert(strip.end(), row.begin(), row.end());
    ++strip_rows;
}

void ps_raster_flush()
{
    if (strip_rows == 0)
        return;
    if (genps && current.width > 0 && ps_sync_page()) {
        // Raster follows the page's orientation, not the print direction.
        ps_rotate_page(ps_page_rotate);
        write_strip();
    }
    strip.clear();
    strip_rows = 0;
}

void ps_raster_reset()
{
    current = raster_image{};
    strip.clear();
    strip.shrink_to_fit();
    encoded = {};
    text = {};
    strip_rows = 0;
    strip_first = 0;
}
