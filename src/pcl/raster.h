// PCL raster graphics: the raster settings, the raster block from its start
// to its end, the rows and planes of each transfer, and the configured
// image data (indexed or direct colour). Rows are decoded as they arrive and
// handed to the PostScript image output; the cursor moves down one raster
// row per row. With the earlier rendering (compatibility bit 4) and in
// analysis mode the commands change nothing and their data is skipped.
#pragma once

#include <cstdint>

// Command handlers.
void pcl_raster_presentation(double value);  // ESC*r#F
void pcl_raster_width(double value);  // ESC*r#S
void pcl_raster_height(double value);  // ESC*r#T
void pcl_raster_start(double value);  // ESC*r#A
void pcl_raster_compression(double value);  // ESC*b#M
void pcl_raster_y_offset(double value);  // ESC*b#Y
void pcl_raster_end(double value);  // ESC*rB
void pcl_raster_end_reset(double value);  // ESC*rC
void pcl_raster_simple_color(double value);  // ESC*r#U
void pcl_raster_dest_width(double value);  // ESC*t#H
void pcl_raster_dest_height(double value);  // ESC*t#V
void pcl_raster_component_1(double value);  // ESC*v#A
void pcl_raster_component_2(double value);  // ESC*v#B
void pcl_raster_component_3(double value);  // ESC*v#C
void pcl_raster_assign_color(double value);  // ESC*v#I

// The colour at `index` (taken modulo its size) of the palette of the
// configured image data; false when there is none (a simple palette is in
// use, or raster data is not drawn).
bool raster_palette_color(int32_t index, uint32_t& color);
// The palette stack's part of the raster state: a push saves the configured
// image data and its programmed palette in `slot` of the stack, a pop
// restores them from it, so a pushed palette comes back as it was.
void raster_palette_push(int32_t slot);
void raster_palette_pop(int32_t slot);

// True when raster data is drawn (PostScript output, not the earlier
// rendering).
bool raster_enabled();

// The data of ESC*b#W (the row's last plane, `last_plane` true) and ESC*b#V.
void raster_transfer(unsigned count, bool last_plane);
// The data of ESC*v#W: configure image data.
void raster_configure(unsigned count);

// Ends the raster block, writing what it holds; called before the page ends.
void raster_end_block();
// Ends the block and returns the raster settings to their start-up state.
void raster_reset();

// Bytes of rows a run may draw: RASTER_DRAW_BASE plus
// RASTER_DRAW_PER_INPUT_BYTE for each byte of input read so far. Duplicate
// rows and delta-row repeats turn a few input bytes into whole pages of
// rows; past the allowance rows are still read and move the cursor, but
// are not drawn (reported once on standard error).
constexpr uint64_t RASTER_DRAW_BASE = uint64_t{64} << 20;
constexpr uint64_t RASTER_DRAW_PER_INPUT_BYTE = 256;
// Bytes of rows drawn in this run.
uint64_t raster_drawn();
// Starts a new run's allowance with `base` as its fixed part (tests use a
// small one).
void raster_set_draw_base(uint64_t base);

// The largest image width, in pixels, a block allocates: wider source
// widths are clipped to it (and to the page).
constexpr int32_t RASTER_MAX_WIDTH = 32768;
