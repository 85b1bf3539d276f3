// Opening files that must hold data: a device, a FIFO or a directory named
// where a file is expected would block the converter or feed it without end.
#pragma once

#include "common/file_ptr.h"

struct RegularFile {
    FilePtr file;  // open for reading; null when refused or missing
    bool not_regular = false;  // the name exists but is not a regular file
};

// Opens `path` for reading if it is a regular file. Anything else is not
// opened at all (a FIFO or a device would act on being opened), so the
// answer is null with `not_regular` set; a name that cannot be opened gives
// null with errno set.
RegularFile open_regular_file(char const* path);

// Says on standard error, as "PROG: NAME: read error, the copy is cut short",
// when the stream `f` met a read error; returns whether it did. Copies call
// it when they end, so a failing disk or file system does not pass for a
// shorter file.
bool report_read_error(FILE* f, char const* prog, char const* name);
