#include "output_file.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "run_mode.h"

namespace {

std::string target_name;
std::string write_name;
// The temporary file while it exists, in a fixed buffer so the signal
// handler can remove it.
char temp_path[PATH_MAX + 32];
volatile sig_atomic_t temp_active;

void remove_temp()
{
    if (temp_active) {
        temp_active = 0;
        ::unlink(temp_path);
    }
}

void on_signal(int sig)
{
    if (temp_active)
        ::unlink(temp_path);
    std::signal(sig, SIG_DFL);
    std::raise(sig);
}

void report(char const* name, int err)
{
    std::fprintf(stderr, "%s: %s: %s\n", progname, name, std::strerror(err));
}

}  // namespace

bool out_file_begin(char const* target)
{
    target_name = target;
    write_name = target;
    // Through a symbolic link the file it names is replaced, not the link.
    std::string resolved = target;
    struct stat st;
    if (::lstat(target, &st) == 0 && S_ISLNK(st.st_mode)) {
        if (char* real = ::realpath(target, nullptr)) {
            resolved = real;
            std::free(real);
        }
    }
    bool const exists = ::stat(resolved.c_str(), &st) == 0;
    if (exists && !S_ISREG(st.st_mode))
        return true;  // a device or pipe: written directly
    target_name = resolved;

    size_t const slash = resolved.rfind('/');
    std::string const dir = slash == std::string::npos ? "."
                            : slash == 0               ? "/"
                                                       : resolved.substr(0, slash);
    std::string const pattern = dir + "/.tarvo-XXXXXX";
    if (pattern.size() >= sizeof temp_path) {
        errno = ENAMETOOLONG;
        std::perror(target);
        return false;
    }
    std::memcpy(temp_path, pattern.c_str(), pattern.size() + 1);
    int const fd = ::mkstemp(temp_path);
    if (fd < 0) {
        std::perror(target);
        return false;
    }
    temp_active = 1;
    // The file keeps the permissions of the one it replaces (a private
    // document stays private), or gets those a newly created file would have.
    mode_t const mask = ::umask(0);
    ::umask(mask);
    ::fchmod(fd, exists ? st.st_mode & 07777 : 0666 & ~mask);
    ::close(fd);
    write_name = temp_path;

    static bool const hooked = [] {
        std::atexit(remove_temp);
        for (int sig : {SIGINT, SIGTERM, SIGHUP})
            std::signal(sig, on_signal);
        return true;
    }();
    (void)hooked;
    return true;
}

char const* out_file_name() { return write_name.c_str(); }

OutputCommit out_file_commit(bool success)
{
    if (!temp_active)
        return success ? OutputCommit::committed : OutputCommit::failed;
    if (!success) {
        remove_temp();
        return OutputCommit::failed;
    }
    struct stat st;
    if (::stat(temp_path, &st) != 0 || st.st_size == 0) {
        remove_temp();
        return OutputCommit::empty;
    }
    if (::rename(temp_path, target_name.c_str()) != 0) {
        report(target_name.c_str(), errno);
        remove_temp();
        return OutputCommit::failed;
    }
    temp_active = 0;
    return OutputCommit::committed;
}

void out_file_reset()
{
    remove_temp();
    target_name.clear();
    write_name.clear();
}
