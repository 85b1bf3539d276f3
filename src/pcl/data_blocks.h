// Data blocks that follow PCL commands: skipped raster and font data,
// transparent print data, and PostScript verbatim data with the in-band
// "%tarvo:" commands.
#pragma once

#include <string_view>

// Bytes of a verbatim block that are kept; the rest is read and dropped.
constexpr unsigned PS_VERBATIM_MAX = 8192;

// The kind of a data block, chosen by the command that carries it.
enum data_block_kind : int {
    RASTER_ROW = 1,  // *bW raster row
    TRANSPARENT_PRINT = 2,  // &pX transparent print: the bytes become text
    FONT_HEADER = 3,  // )sW soft-font header
    FONT_CHARACTER = 4,  // (sW soft-font character
    SYMSET_DEFINITION = 5,  // (fW symbol-set definition
    PATTERN = 6,  // *cW user pattern
    PAPER_TYPE = 7,  // &nW paper type
    PS_VERBATIM = 8,  // &pW PostScript copied into the output
    RASTER_PLANE = 9,  // *bV raster plane
    IMAGE_CONFIG = 10,  // *vW image configuration
    SKIPPED_CONFIG = 11,  // other configuration data, skipped
};

// Consumes the `count` bytes of a block of kind `kind` (a data_block_kind).
void readdesc(int kind, unsigned count);
void readchar(unsigned count);
void readps(unsigned count);

// An in-band command found in a trimmed verbatim line.
enum class inband_command { none, pos, include, eps };

// Recognises "%tarvo:pos", "%tarvo:include FILE" and "%tarvo:eps FILE" at the
// start of `line`; for include and eps `arg` receives FILE (verbatim).
inband_command parse_inband(std::string_view line, std::string_view* arg);
