// Data blocks that follow PCL commands: skipped raster and font data,
// transparent print data, and PostScript verbatim data with the in-band
// "%tarvo:" commands.
#pragma once

void readdesc(int kind, unsigned count);
void readchar(unsigned count);
void readps(unsigned count);
