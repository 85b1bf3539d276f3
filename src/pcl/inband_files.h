// What the in-band commands of a job may do: whether they act at all
// (CONFIG item INBAND) and which files they may read (INBAND.PATH).
#pragma once

#include <string>

// False when INBAND is 0: the in-band lines are then plain PostScript
// comments.
bool inband_enabled();

// Whether an in-band command may read `path`: always, unless INBAND.PATH
// is set; then the file must lie under one of its colon-separated
// directories once symbolic links are resolved. `name` receives the name to
// open (the resolved one when INBAND.PATH is set). A refused file gets one
// message on standard error.
bool inband_path_allows(char const* path, std::string* name);
