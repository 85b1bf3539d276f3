#include "pcl/raster.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

#include "common/numeric.h"
#include "pcl/environment.h"
#include "pcl/input.h"
#include "pcl/ps/raster_output.h"
#include "pcl/raster_decode.h"
#include "pcl/rectangles.h"
#include "run_mode.h"

namespace {

// Pixel encodings of the configured image data.
enum pixel_encoding : int {
    INDEXED_BY_PLANE = 0,
    INDEXED_BY_PIXEL = 1,
    DIRECT_BY_PLANE = 2,
    DIRECT_BY_PIXEL = 3,
};

// Colour spaces of the configured image data; the colorimetric and other
// spaces are printed as device RGB.
constexpr int SPACE_CMY = 1;

struct image_config {
    bool set = false;
    int space = 0;
    int encoding = 0;
    int bits = 1;  // bits per index, or per primary
    std::array<int, 3> primary{};  // bits of each primary, for palette programming
};

// Settings that hold from one raster block to the next.
struct raster_settings {
    int presentation = 0;
    int32_t width = 0;  // source width in pixels, 0 when not given
    int32_t height = 0;  // source height in rows, 0 when not given
    int method = RASTER_UNENCODED;
    int32_t dest_width = 0;  // scaled width in decipoints, 0 when not given
    int32_t dest_height = 0;  // scaled height in decipoints, 0 when not given
    image_config config;
    // The palette of the configured image data, which palette programming
    // changes, and the colour components of the next assignment.
    std::vector<uint32_t> palette;
    std::array<int32_t, 3> component{};
};

// A palette pushed on the palette stack: the configured image data and its
// programmed colours (the simple palette is kept in the environment).
struct pushed_palette {
    image_config config;
    std::vector<uint32_t> palette;
};

// The raster block being received.
struct raster_block {
    bool active = false;
    raster_image image;
    int planes = 1;
    size_t plane_bytes = 0;
    std::vector<std::vector<uint8_t>> seed;  // one seed row per plane
    std::vector<uint8_t> pixels;  // the row in the image's format
    int plane = 0;  // next plane of the row
    int64_t rows = 0;  // rows advanced so far
    int dir_x = 0, dir_y = 1;  // direction rows advance in (y down)
    int32_t x0 = 0, y0 = 0;  // the cursor at the start
};

raster_settings settings;
raster_block block;
// One entry for each level of the environment's palette stack.
std::array<pushed_palette, std::extent_v<decltype(pcl_env::palette_stack)>> pushed_palettes;

// The run's drawing allowance (see RASTER_DRAW_BASE).
uint64_t draw_base = RASTER_DRAW_BASE;
uint64_t drawn;
uint64_t input_at_start;
bool limit_reported;

constexpr int32_t units_per_inch = 72000;
constexpr int32_t units_per_decipoint = 100;

bool valid_resolution(int32_t r)
{
    return r == 75 || r == 100 || r == 150 || r == 200 || r == 300 || r == 600;
}

uint32_t eight_color(int index, bool cmy)
{
    uint32_t const r = (index & 1) ? 0xff : 0;
    uint32_t const g = (index & 2) ? 0xff : 0;
    uint32_t const b = (index & 4) ? 0xff : 0;
    uint32_t const c = r << 16 | g << 8 | b;
    return cmy ? 0xffffff ^ c : c;
}

// The default palette of `bits` bits per index: white and black for one
// bit, else the eight device colours repeated.
std::vector<uint32_t> default_palette(int bits, bool cmy)
{
    std::vector<uint32_t> palette(size_t{1} << bits);
    if (bits == 1)
        return {0xffffff, 0x000000};
    for (size_t i = 0; i < palette.size(); ++i)
        palette[i] = eight_color(static_cast<int>(i & 7), cmy);
    return palette;
}

// The KCMY simple palette: the first plane is black, the next three cyan,
// magenta and yellow.
std::vector<uint32_t> kcmy_palette()
{
    std::vector<uint32_t> palette(16);
    for (size_t i = 0; i < palette.size(); ++i)
        palette[i] = (i & 1) ? 0x000000 : eight_color(static_cast<int>(i >> 1), true);
    return palette;
}

// Sets the image format, the number of planes and their row size for a
// block `width` pixels wide.
void choose_format(int32_t width)
{
    raster_image& im = block.image;
    image_config const& cfg = settings.config;
    size_t const w = static_cast<size_t>(width);
    size_t const bit_plane = (w + 7) / 8;
    im.palette.clear();
    im.inverted = false;
    if (!cfg.set) {
        if (env.palette == 3 || env.palette == -3 || env.palette == -4) {
            im.kind = raster_image::indexed;
            im.bits = 8;
            im.palette = env.palette == -4 ? kcmy_palette() : default_palette(3, env.palette == -3);
            block.planes = env.palette == -4 ? 4 : 3;
        } else {
            im.kind = raster_image::mask;
            im.bits = 1;
            block.planes = 1;
        }
        block.plane_bytes = bit_plane;
        return;
    }
    bool const cmy = cfg.space == SPACE_CMY;
    // One bit per index with white at index 0 is a mask: its white pixels
    // stay transparent. Black 1 bits paint in the foreground colour, any
    // other programmed colour in that colour.
    auto mask_palette = [&im](int bits) {
        if (bits != 1 || settings.palette.size() != 2 || settings.palette[0] != 0xffffff)
            return false;
        if (settings.palette[1] != 0x000000)
            im.color = settings.palette[1];
        return true;
    };
    switch (cfg.encoding) {
    case INDEXED_BY_PLANE:
        block.planes = cfg.bits;
        block.plane_bytes = bit_plane;
        im.kind = mask_palette(cfg.bits) ? raster_image::mask : raster_image::indexed;
        im.bits = im.kind == raster_image::mask ? 1 : 8;
        break;
    case INDEXED_BY_PIXEL:
        block.planes = 1;
        block.plane_bytes = (w * static_cast<size_t>(cfg.bits) + 7) / 8;
        im.kind = mask_palette(cfg.bits) ? raster_image::mask : raster_image::indexed;
        im.bits = cfg.bits;
        break;
    case DIRECT_BY_PLANE:
        block.planes = 3;
        block.plane_bytes = bit_plane;
        im.kind = raster_image::indexed;
        im.bits = 8;
        im.palette = default_palette(3, cmy);
        return;
    default:
        block.planes = 1;
        block.plane_bytes = w * 3;
        im.kind = raster_image::rgb;
        im.bits = 8;
        im.inverted = cmy;
        return;
    }
    if (im.kind == raster_image::indexed)
        im.palette = settings.palette;
}

// The size of a source pixel in PCL units, across and down, for a block in
// scale mode: the destination width and height over the source's, the one
// not given following the other so the image keeps its proportions. Without
// a destination size (or the source size it needs) the image stays at the
// raster resolution.
void scaled_dots(double& dot_w, double& dot_h)
{
    double const dw = static_cast<double>(settings.dest_width) * units_per_decipoint;
    double const dh = static_cast<double>(settings.dest_height) * units_per_decipoint;
    bool const has_w = dw > 0 && settings.width > 0;
    bool const has_h = dh > 0 && settings.height > 0;
    if (!has_w && !has_h)
        return;
    // A source pixel is at most 100 inches.
    constexpr double largest = 100.0 * units_per_inch;
    dot_w = has_w ? std::min(dw / settings.width, largest) : 0;
    dot_h = has_h ? std::min(dh / settings.height, largest) : dot_w;
    if (!has_w)
        dot_w = dot_h;
}

// Starts a block with its left edge at x (PCL units), scaled to the
// destination size when `scale` is set.
void start_block(int32_t x, bool scale)
{
    int32_t res = env.resolution;
    if (!valid_resolution(res))
        res = 75;
    double dot_w = static_cast<double>(units_per_inch / res);
    double dot_h = dot_w;
    if (scale)
        scaled_dots(dot_w, dot_h);

    block = raster_block{};
    block.active = true;
    // A printer's cursor never leaves the logical page; the image starts
    // inside it even when the cursor was moved past its left or top edge.
    block.x0 = std::clamp<int32_t>(x, 0, std::max<int32_t>(0, env.page_width));
    block.y0 = std::max<int32_t>(0, env.cur_y);

    // Presentation mode 3 lays the rows along the physical page: on a
    // rotated page the image turns back by the page's rotation.
    int rotate = 0;
    if (settings.presentation == 3)
        rotate = ((4 - (env.orientation & 3)) % 4) * 90;
    block.image.rotate = rotate;
    // The direction rows advance in (y downward) for each rotation, and the
    // room before the edge of the page the rows run toward.
    int64_t room_units;
    int32_t along;
    switch (rotate) {
    case 90:
        block.dir_x = 1;  // physical down is logical right
        block.dir_y = 0;
        room_units = block.y0;
        along = env.page_height;
        break;
    case 180:
        block.dir_y = -1;
        room_units = block.x0;
        along = env.page_width;
        break;
    case 270:
        block.dir_x = -1;
        block.dir_y = 0;
        room_units = static_cast<int64_t>(env.page_height) - block.y0;
        along = env.page_height;
        break;
    default:
        room_units = static_cast<int64_t>(env.page_width) - block.x0;
        along = env.page_width;
        break;
    }
    // Rows run to the source width, but never past the edge of the page
    // they run toward (nor past the largest width there is room for).
    int64_t const page_px = static_cast<int64_t>(std::ceil(along / dot_w));
    int64_t const room = std::clamp<int64_t>(
        static_cast<int64_t>(std::ceil(static_cast<double>(room_units) / dot_w)), 0,
        std::min<int64_t>(page_px, RASTER_MAX_WIDTH));
    int64_t width = settings.width > 0 ? std::min<int64_t>(settings.width, room) : room;

    block.image.width = static_cast<int32_t>(width);
    block.image.dot_w = dot_w;
    block.image.dot_h = dot_h;
    block.image.x = block.x0;
    block.image.y = block.y0;
    block.image.color = env.fg_color;
    choose_format(block.image.width);
    block.seed.assign(static_cast<size_t>(block.planes),
                      std::vector<uint8_t>(block.plane_bytes, 0));
    block.pixels.assign(raster_row_bytes(block.image), 0);
    ps_raster_begin(block.image);
}

void implicit_start()
{
    if (!block.active)
        start_block(0, false);
}

void zero_seeds()
{
    for (auto& s : block.seed)
        std::fill(s.begin(), s.end(), uint8_t{0});
}

// The distance `rows` rows of the block advance, in PCL units (rounded
// to whole units when the image is scaled).
int64_t advance(int64_t rows)
{
    double const d = std::floor(static_cast<double>(rows) * block.image.dot_h + 0.5);
    constexpr double limit = 4.0e15;
    return static_cast<int64_t>(std::clamp(d, -limit, limit));
}

// The cursor after the rows of the block so far.
void move_cursor()
{
    int64_t const d = advance(block.rows);
    env.cur_x = sat32(block.x0 + d * block.dir_x);
    env.cur_y = sat32(block.y0 + d * block.dir_y);
    env.pos_changed = 1;
}

// Whether row `index` lies on the page (or just beside it), measured
// along the direction the rows advance in.
bool row_on_page(int64_t index)
{
    int64_t const px = static_cast<int64_t>(std::ceil(block.image.dot_h));
    int64_t const d = advance(index);
    if (block.dir_x != 0) {
        int64_t const x = block.x0 + d * block.dir_x;
        return x >= -px && x <= static_cast<int64_t>(env.page_width) + px;
    }
    int64_t const y = block.y0 + d * block.dir_y;
    return y >= -px && y <= static_cast<int64_t>(env.page_height) + px;
}

// Combines the planes of the row into pixels of the image's format.
void compose_row()
{
    raster_image const& im = block.image;
    if (block.planes == 1) {
        std::copy(block.seed[0].begin(), block.seed[0].end(), block.pixels.begin());
        return;
    }
    // One index byte per pixel, plane 0 its lowest bit.
    size_t const w = static_cast<size_t>(im.width);
    std::fill(block.pixels.begin(), block.pixels.end(), uint8_t{0});
    for (int p = 0; p < block.planes; ++p) {
        uint8_t const* plane = block.seed[static_cast<size_t>(p)].data();
        uint8_t const bit = static_cast<uint8_t>(1u << p);
        for (size_t i = 0; i < w; ++i)
            if (plane[i >> 3] & (0x80u >> (i & 7)))
                block.pixels[i] |= bit;
    }
}

uint64_t draw_allowance()
{
    return input_allowance(draw_base, RASTER_DRAW_PER_INPUT_BYTE, input_at_start);
}

// Whether a row of `bytes` bytes may still be drawn; the first refusal of
// the run is reported.
bool may_draw(size_t bytes)
{
    uint64_t const allowance = draw_allowance();
    if (drawn + bytes <= allowance)
        return true;
    input_allowance_exceeded(limit_reported, "raster images drew", allowance,
                             "further rows skipped");
    return false;
}

bool row_has_ink()
{
    if (block.image.kind != raster_image::mask)
        return true;
    // Eight bytes at a time: most rows of a page are blank.
    uint8_t const* p = block.pixels.data();
    size_t const n = block.pixels.size();
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        uint64_t w;
        std::memcpy(&w, p + i, 8);
        if (w != 0)
            return true;
    }
    for (; i < n; ++i)
        if (p[i] != 0)
            return true;
    return false;
}

// Combines the planes of the row and tells whether it is drawn: it has ink
// and fits the run's allowance. A colour row always has ink, so the
// allowance is asked first: rows past it are not combined at all, which
// would cost a pass over every plane for each row of a few input bytes.
bool row_to_draw()
{
    size_t const bytes = block.pixels.size();
    if (block.image.kind != raster_image::mask) {
        if (!may_draw(bytes))
            return false;
        compose_row();
        return true;
    }
    compose_row();
    return row_has_ink() && may_draw(bytes);
}

// A vertical cursor move between rows (the rows advance along y) moves the
// rest of the image with it, as on a printer: the block's corner follows.
void follow_cursor()
{
    int64_t const d = advance(block.rows) * block.dir_y;
    int32_t const expected_y = sat32(block.y0 + d);
    if (block.dir_x != 0 || env.cur_y == expected_y)
        return;
    block.y0 = sat32(std::max<int64_t>(0, env.cur_y) - d);
    block.image.y = block.y0;
    ps_raster_begin(block.image);
}

// Hands the completed row to the output and moves the cursor down.
// Returns whether the row was drawn.
bool emit_row()
{
    if (settings.height > 0 && block.rows >= settings.height)
        return false;
    follow_cursor();
    bool drew = false;
    if (block.image.width > 0 && row_on_page(block.rows) && row_to_draw()) {
        drawn += block.pixels.size();
        ps_raster_row(block.rows, block.pixels);
        env.page_dirty = 1;
        drew = true;
    }
    ++block.rows;
    move_cursor();
    return drew;
}

void skip_rows(int64_t n)
{
    follow_cursor();
    if (settings.height > 0)
        n = std::min<int64_t>(n, std::max<int64_t>(0, settings.height - block.rows));
    block.rows += n;
    move_cursor();
}

void end_block()
{
    if (!block.active)
        return;
    ps_raster_flush();
    block = raster_block{};
}

}  // namespace

bool raster_enabled() { return genps != 0 && !compat_legacy(); }

namespace {

// A source or destination size: not negative, and not changed inside a
// block.
void set_size(int32_t& size, double value)
{
    if (raster_enabled() && !block.active)
        size = std::max<int32_t>(0, to_int(value));
}

}  // namespace

void pcl_raster_presentation(double value)
{
    int32_t const v = to_int(value);
    if (raster_enabled() && !block.active && (v == 0 || v == 3))
        settings.presentation = v;
}

void pcl_raster_width(double value) { set_size(settings.width, value); }

void pcl_raster_height(double value) { set_size(settings.height, value); }

void pcl_raster_start(double value)
{
    if (!raster_enabled() || block.active)
        return;
    // 0 and 2 start at the left edge, 1 and 3 at the cursor; 2 and 3 scale
    // the image to the destination size.
    int32_t const v = to_int(value);
    start_block(v == 1 || v == 3 ? env.cur_x : 0, v == 2 || v == 3);
}

void pcl_raster_dest_width(double value) { set_size(settings.dest_width, value); }

void pcl_raster_dest_height(double value) { set_size(settings.dest_height, value); }

void pcl_raster_compression(double value)
{
    int32_t const v = to_int(value);
    if (!raster_enabled())
        return;
    switch (v) {
    case RASTER_UNENCODED:
    case RASTER_RUN_LENGTH:
    case RASTER_PACKBITS:
    case RASTER_DELTA_ROW:
    case RASTER_ADAPTIVE:
    case RASTER_REPLACEMENT_DELTA:
        settings.method = v;
        break;
    default:
        break;
    }
}

void pcl_raster_y_offset(double value)
{
    if (!raster_enabled())
        return;
    implicit_start();
    int32_t const n = to_int(value);
    ps_raster_flush();
    zero_seeds();
    block.plane = 0;
    if (n > 0)
        skip_rows(n);
}

void pcl_raster_end(double)
{
    if (raster_enabled())
        end_block();
}

void pcl_raster_end_reset(double)
{
    if (!raster_enabled())
        return;
    end_block();
    settings.method = RASTER_UNENCODED;
}

void pcl_raster_simple_color(double value)
{
    int32_t const v = to_int(value);
    bool const drawn = raster_enabled() && !block.active;
    // The CMY and KCMY palettes exist for raster images only.
    if (drawn && (v == -3 || v == -4))
        env.palette = v;
    else
        pcl_simple_color(value);
    if (drawn && (v == 1 || v == 3 || v == -3 || v == -4)) {
        settings.config = image_config{};
        settings.palette.clear();
    }
}

void pcl_raster_component(int which, double value)
{
    if (raster_enabled())
        settings.component[static_cast<size_t>(which)] = to_int(value);
}

void pcl_raster_component_1(double value) { pcl_raster_component(0, value); }
void pcl_raster_component_2(double value) { pcl_raster_component(1, value); }
void pcl_raster_component_3(double value) { pcl_raster_component(2, value); }

void pcl_raster_assign_color(double value)
{
    if (!raster_enabled())
        return;
    int32_t const i = to_int(value);
    auto& palette = settings.palette;
    if (!block.active && i >= 0 && static_cast<size_t>(i) < palette.size()) {
        // Each component runs from 0 to the largest value of its bits.
        uint32_t color = 0;
        for (size_t k = 0; k < 3; ++k) {
            int const bits = settings.config.primary[k];
            int64_t const top = (int64_t{1} << bits) - 1;
            int64_t const c = std::clamp<int64_t>(settings.component[k], 0, top);
            auto level = static_cast<uint32_t>((c * 255 + top / 2) / top);
            if (settings.config.space == SPACE_CMY)
                level = 255 - level;
            color = color << 8 | level;
        }
        palette[static_cast<size_t>(i)] = color;
    }
    settings.component = {};
}

void raster_palette_push(int32_t slot)
{
    if (!raster_enabled() || slot < 0 || static_cast<size_t>(slot) >= pushed_palettes.size())
        return;
    pushed_palettes[static_cast<size_t>(slot)] = {settings.config, settings.palette};
}

void raster_palette_pop(int32_t slot)
{
    if (!raster_enabled() || slot < 0 || static_cast<size_t>(slot) >= pushed_palettes.size())
        return;
    // The slot keeps its copy: a called macro's environment comes back with
    // the stack position of its caller, whose own pop must still find it.
    pushed_palette const& saved = pushed_palettes[static_cast<size_t>(slot)];
    settings.config = saved.config;
    settings.palette = saved.palette;
}

bool raster_palette_color(int32_t index, uint32_t& color)
{
    if (!raster_enabled() || settings.palette.empty())
        return false;
    int64_t const n = static_cast<int64_t>(settings.palette.size());
    color = settings.palette[static_cast<size_t>(((static_cast<int64_t>(index) % n) + n) % n)];
    return true;
}

void raster_transfer(unsigned count, bool last_plane)
{
    byte_source src(count);
    block_reader in(src, count);
    implicit_start();

    if (settings.method == RASTER_ADAPTIVE) {
        // Whole rows of one plane, each entry choosing its own method.
        for (size_t p = 1; p < block.seed.size(); ++p)
            std::fill(block.seed[p].begin(), block.seed[p].end(), uint8_t{0});
        for (;;) {
            auto& seed = block.seed[0];
            adaptive_entry const e = decode_adaptive_entry(in, seed);
            if (e.kind == adaptive_entry::end)
                break;
            if (e.kind == adaptive_entry::row) {
                emit_row();
            } else if (e.kind == adaptive_entry::empty_rows) {
                std::fill(seed.begin(), seed.end(), uint8_t{0});
                ps_raster_flush();
                skip_rows(e.count);
            } else {
                for (uint32_t i = 0; i < e.count; ++i) {
                    // Repeats of a row that was not drawn (blank, off the
                    // page, past the source height or the allowance) are
                    // not drawn either: they cost nothing more.
                    if (!emit_row()) {
                        skip_rows(e.count - i - 1);
                        break;
                    }
                }
            }
        }
        block.plane = 0;
        return;
    }

    if (block.plane < block.planes) {
        decode_row(settings.method, in, block.seed[static_cast<size_t>(block.plane)]);
        ++block.plane;
    } else {
        in.skip_rest();
    }
    if (!last_plane)
        return;
    // Planes the row did not send are blank.
    for (int p = block.plane; p < block.planes; ++p) {
        auto& s = block.seed[static_cast<size_t>(p)];
        std::fill(s.begin(), s.end(), uint8_t{0});
    }
    block.plane = 0;
    emit_row();
}

void raster_configure(unsigned count)
{
    byte_source src(count);
    block_reader in(src, count);
    std::array<int, 6> b{};
    for (int& v : b)
        v = in.next();
    in.skip_rest();
    if (b[5] < 0 || block.active)
        return;
    image_config cfg;
    cfg.set = true;
    cfg.space = b[0];
    cfg.encoding = b[1];
    int const index_bits = b[2];
    switch (cfg.encoding) {
    case INDEXED_BY_PLANE:
        if (index_bits < 1 || index_bits > 8)
            return;
        cfg.bits = index_bits;
        break;
    case INDEXED_BY_PIXEL:
        if (index_bits != 1 && index_bits != 2 && index_bits != 4 && index_bits != 8)
            return;
        cfg.bits = index_bits;
        break;
    case DIRECT_BY_PLANE:
        if (b[3] != 1 || b[4] != 1 || b[5] != 1)
            return;
        cfg.bits = 1;
        break;
    case DIRECT_BY_PIXEL:
        if (b[3] != 8 || b[4] != 8 || b[5] != 8)
            return;
        cfg.bits = 8;
        break;
    default:
        return;
    }
    for (size_t k = 0; k < 3; ++k)
        cfg.primary[k] = b[3 + k] >= 1 && b[3 + k] <= 16 ? b[3 + k] : 8;
    settings.config = cfg;
    // Indexed data starts from the default palette of its bits; direct
    // colour has no palette to program.
    bool const indexed = cfg.encoding == INDEXED_BY_PLANE || cfg.encoding == INDEXED_BY_PIXEL;
    settings.palette =
        indexed ? default_palette(cfg.bits, cfg.space == SPACE_CMY) : std::vector<uint32_t>{};
    settings.component = {};
}

uint64_t raster_drawn() { return drawn; }

void raster_set_draw_base(uint64_t base)
{
    draw_base = base;
    drawn = 0;
    input_at_start = input_bytes_read();
    limit_reported = false;
}

void raster_end_block() { end_block(); }

void raster_reset()
{
    end_block();
    settings = raster_settings{};
    pushed_palettes = {};
}
