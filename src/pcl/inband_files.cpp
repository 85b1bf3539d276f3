#include "pcl/inband_files.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "config_store.h"
#include "run_mode.h"

namespace {

// The path with every symbolic link, "." and ".." resolved, or "" when it
// does not exist.
std::string resolved(char const* path)
{
    std::unique_ptr<char, decltype(&std::free)> real(realpath(path, nullptr), &std::free);
    return real ? std::string(real.get()) : std::string();
}

bool lies_under(std::string const& file, std::string const& dir)
{
    if (dir == "/")
        return true;
    return file.size() > dir.size() && file.compare(0, dir.size(), dir) == 0 &&
           file[dir.size()] == '/';
}

bool allowed_by(char const* list, std::string const& file)
{
    std::string_view rest = list;
    while (!rest.empty()) {
        size_t const colon = rest.find(':');
        std::string const entry(rest.substr(0, colon));
        rest = colon == std::string_view::npos ? std::string_view() : rest.substr(colon + 1);
        if (entry.empty())
            continue;
        std::string const dir = resolved(entry.c_str());
        if (!dir.empty() && lies_under(file, dir))
            return true;
    }
    return false;
}

}  // namespace

bool inband_enabled()
{
    char const* v = config_get_option("CONFIG", "INBAND", nullptr);
    return !v || config_int(v) != 0;
}

bool inband_path_allows(char const* path, std::string* name)
{
    *name = path;
    char const* list = config_get_option("CONFIG", "INBAND.PATH", nullptr);
    if (!list)
        return true;
    std::string const real = resolved(path);
    if (real.empty())
        return true;  // missing: the opener reports it
    if (!allowed_by(list, real)) {
        std::fprintf(stderr, "%s: %s: not under INBAND.PATH\n", progname, path);
        return false;
    }
    *name = real;
    return true;
}
