// The top-level loop of the PCL reader: printable characters, control
// codes and escape sequences.
#pragma once

void parse_text();
