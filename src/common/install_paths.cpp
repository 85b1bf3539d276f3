#include "common/install_paths.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "install_config.h"
#include "version.h"

namespace {

constexpr char const* kProduct = "ZENTHORAX";
constexpr char const* kVersion = TARVO_FAMILY_VERSION;
constexpr char const* kNotice = "- Document Conversion Utilities";

// The directories the binary was configured for; the variables win.
constexpr char const* kBaseDefault = TARVO_INSTALL_PREFIX;
constexpr char const* kTmpDefault = TARVO_INSTALL_LOCALSTATEDIR;
constexpr char const* kEtcDefault = TARVO_INSTALL_SYSCONFDIR;

// Shared result buffer: every call overwrites the previous result.
char path[1024];

char const* env_or(char const* name, char const* def)
{
    char const* v = std::getenv(name);
    return (v && *v) ? v : def;
}

// Writes a formatted path into `path`. A result that does not fit is
// refused as a whole: `path` becomes the empty string, never a cut-off
// directory name that could name some other directory. Callers treat an
// empty result as "no such directory".
template <typename... Args>
char* put(char const* fmt, Args... args)
{
    int n = std::snprintf(path, sizeof path, fmt, args...);
    if (n < 0 || static_cast<size_t>(n) >= sizeof path)
        path[0] = '\0';
    return path;
}

char* base_with(char const* suffix)
{
    return put("%s%s", env_or("ZENTHORAX", kBaseDefault), suffix);
}

}  // namespace

char* zx_path() { return base_with(""); }
char* zx_lib_path() { return base_with("/lib"); }
char* zx_bin_path() { return base_with("/bin"); }
char* zx_lbin_path() { return base_with("/lbin"); }
char* zx_dll_path() { return base_with("/dll"); }
char* zx_terminal_path() { return base_with("/share/terminal"); }
char* zx_terminfo_path() { return base_with("/share/terminfo"); }
char* zx_share_path() { return base_with("/share"); }
char* zx_tmp_path() { return put("%s", env_or("ZENTHORAX_TMP", kTmpDefault)); }
char* zx_config_path() { return put("%s", env_or("ZENTHORAX_ETC", kEtcDefault)); }

nl_catd zx_catopen(char const* name, char const* locale)
{
    if (!locale)
        locale = "C";
    put("%s/lib/nls/%s/%s.cat", env_or("ZENTHORAX", kBaseDefault), locale, name ? name : "");
    if (!path[0])
        return reinterpret_cast<nl_catd>(-1);
    return catopen(path, 0);
}

void product_banner(char const* name, FILE* out)
{
    if (!name)
        std::fprintf(out, "\n%s %s (%s)\n", kProduct, kNotice, kVersion);
    else if (*name)
        std::fprintf(out, "\n%s %s %s (%s)\n", kProduct, name, kNotice, kVersion);
}

void validate_product(char const* name)
{
    if (!name)
        return;
    product_banner(name);
    std::fputc('\n', stderr);
}
