#include "common/regular_file.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

RegularFile open_regular_file(char const* path)
{
    RegularFile result;
    struct stat st;
    if (::stat(path, &st) == 0 && !S_ISREG(st.st_mode)) {
        result.not_regular = true;
        return result;
    }
    // Non-blocking, so a name swapped for a FIFO after the check above does
    // not hang the open; the type is checked again on what was opened.
    int const fd = ::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0)
        return result;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        result.not_regular = true;
        return result;
    }
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    result.file.reset(::fdopen(fd, "rb"));
    if (!result.file) {
        int const err = errno;
        ::close(fd);
        errno = err;
    }
    return result;
}

bool report_read_error(FILE* f, char const* prog, char const* name)
{
    if (!f || !std::ferror(f))
        return false;
    std::fprintf(stderr, "%s: %s: read error, the copy is cut short\n", prog, name);
    return true;
}
