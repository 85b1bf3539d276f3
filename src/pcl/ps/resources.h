// PostScript resource files copied into the setup, and the PDF/A block.
#pragma once

#include <string>

// The sRGB profile the built-in PDF/A definitions read.
std::string ps_icc_profile_path();

void ps_include_resource(char const* name);
void ps_pdfa_def();
