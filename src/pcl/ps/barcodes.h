// Text in a configured barcode typeface, written as a BWIPP encoder call.
#pragma once

#include <cstdint>

// The resource category under which the barcode library registers its
// encoders.
extern char const* const BARCODE_RESOURCE_CATEGORY;

// Returns 1 when the run was written as a barcode (the active font's
// typeface is configured in section BARCODE), 0 for ordinary text.
int ps_barcode_run(uint16_t const* codes, int count);
