#include "pcl/ps/barcodes.h"

// Placeholder until the module is implemented.
char const* const BARCODE_RESOURCE_CATEGORY = "uk.co.terryburton.bwipp";

int ps_barcode_run(uint16_t const*, int) { return 0; }
