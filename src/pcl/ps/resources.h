// PostScript resource files copied into the setup, and the PDF/A block.
#pragma once

void ps_include_resource(char const* name);
void ps_pdfa_def();
