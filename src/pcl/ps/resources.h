// PostScript resource files copied into the setup, and the PDF/A block.
#pragma once

#include <string>

// The sRGB profile the built-in PDF/A definitions read.
std::string ps_icc_profile_path();

void ps_include_resource(char const* name);
void ps_pdfa_def();

// Checks, before anything is written, that the files the run will need
// exist: the sRGB profile for PDF/A (`pdf_level` >= 2, unless PS.PDFA_DEF
// replaces the built-in definitions) and the barcode library when barcodes
// are enabled. Reports the first one missing, with its path, and returns
// false.
bool ps_resources_present(int pdf_level);
