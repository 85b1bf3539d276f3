// Data blocks that follow PCL commands: skipped raster and font data,
// transparent print data, and PostScript verbatim data with the in-band
// "%tarvo:" commands.
#pragma once

#include <string_view>

// Bytes of a verbatim block that are kept; the rest is read and dropped.
constexpr unsigned PS_VERBATIM_MAX = 8192;

void readdesc(int kind, unsigned count);
void readchar(unsigned count);
void readps(unsigned count);

// An in-band command found in a trimmed verbatim line.
enum class inband_command { none, pos, include, eps };

// Recognises "%tarvo:pos", "%tarvo:include FILE" and "%tarvo:eps FILE" at the
// start of `line`; for include and eps `arg` receives FILE (verbatim).
inband_command parse_inband(std::string_view line, std::string_view* arg);
