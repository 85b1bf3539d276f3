// PostScript output of raster images. The rows of a raster block are
// collected in a strip of bounded size and written as one image per strip:
// ASCII85 over run-length encoded data, read inline from the document.
// Monochrome rows become an imagemask (0 bits stay transparent), colour rows
// an indexed or RGB image.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

struct raster_image {
    enum kind_t { mask, indexed, rgb } kind = mask;
    int bits = 1;  // bits per pixel (indexed: 1, 2, 4, 8)
    bool inverted = false;  // rgb: the samples are C, M, Y
    std::vector<uint32_t> palette;  // indexed: 0xRRGGBB per index
    int32_t width = 0;  // pixels per row
    double dot_w = 240;  // PCL units per pixel along a row
    double dot_h = 240;  // PCL units from one row to the next
    int32_t x = 0, y = 0;  // top-left corner of row 0, PCL units
    int rotate = 0;  // degrees, applied at the corner
    uint32_t color = 0;  // mask: the colour 1 bits paint in
};

// Bytes of one row in the image's format.
size_t raster_row_bytes(raster_image const& image);

// Starts a new image; rows that are still collected are written first.
void ps_raster_begin(raster_image const& image);
// Adds row `index` (counted from the corner) of the current image. Rows
// that do not follow the previous one start a new strip.
void ps_raster_row(int64_t index, std::span<uint8_t const> row);
// Writes the rows collected so far.
void ps_raster_flush();
void ps_raster_reset();

// Bytes of decoded rows one strip holds before it is written.
constexpr size_t RASTER_STRIP_BYTES = 256 * 1024;
