#include "config_store.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unordered_map>
#include <vector>

#include "common/file_ptr.h"
#include "common/numeric.h"

namespace {

// Three parallel columns, one element per entry, in order of addition.
// A deque never moves its elements when it grows, so the value pointers
// handed out by the lookups stay valid for the life of the process even
// if entries are added later.
//
// Two indexes keep every lookup independent of the store's size: for each
// section name, and for each section and item name, the positions of its
// entries in order (names folded to upper case, which is how strcasecmp
// compares them in the C locale).
struct ConfigStore {
    std::deque<std::string> sections;
    std::deque<std::string> items;
    std::deque<std::string> values;
    std::unordered_map<std::string, std::vector<int>> by_section;
    std::unordered_map<std::string, std::vector<int>> by_name;
    int count() const { return static_cast<int>(values.size()); }
};

ConfigStore cfg;
uint32_t changes;

// White space of the C locale, tested without consulting the locale.
constexpr bool is_space(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

constexpr bool is_eol(char c) { return c == '\0' || c == '\n' || c == '\r'; }

void upcase(std::string& s)
{
    for (char& c : s)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
}

std::string trimmed_upper(std::string_view s)
{
    size_t b = 0, e = s.size();
    while (b < e && is_space(s[b]))
        ++b;
    while (e > b && is_space(s[e - 1]))
        --e;
    std::string r(s.substr(b, e - b));
    upcase(r);
    return r;
}

std::string folded(char const* name)
{
    std::string r(name ? name : "");
    upcase(r);
    return r;
}

// The key of a section and item name; a NUL cannot occur in either.
std::string name_key(char const* section, char const* item)
{
    std::string key = folded(section);
    key += '\0';
    key += folded(item);
    return key;
}

std::vector<int> const* positions(std::unordered_map<std::string, std::vector<int>> const& index,
                                  std::string const& key)
{
    auto const it = index.find(key);
    return it == index.end() ? nullptr : &it->second;
}

// The first of `list` at or after `from`, or -1.
int next_position(std::vector<int> const* list, int from)
{
    if (list == nullptr)
        return -1;
    auto const it = std::lower_bound(list->begin(), list->end(), from < 0 ? 0 : from);
    return it == list->end() ? -1 : *it;
}

// Handles one line as fgets delivered it (at most 1023 characters, maybe
// without its line feed). Returns config_add_value's result, 0 for lines
// that add nothing.
int parse_line(char const* line, std::string& section)
{
    if (line[0] == ';' || line[0] == '#')
        return 0;
    if (line[0] == '[') {
        if (char const* close = std::strchr(line, ']')) {
            section =
                trimmed_upper(std::string_view(line + 1, static_cast<size_t>(close - line - 1)));
            return 0;
        }
    }
    char const* eq = std::strchr(line, '=');
    if (!eq)
        return 0;
    std::string item = trimmed_upper(std::string_view(line, static_cast<size_t>(eq - line)));
    // A line with nothing before the '=' names no item; nobody could look it
    // up and a section walk would only trip over it, so it is skipped.
    if (item.empty())
        return 0;

    char const* p = eq + 1;
    while (!is_eol(*p) && is_space(*p))
        ++p;
    std::string value;
    if (*p == '"' || *p == '\'') {
        char const quote = *p++;
        char const* end = p;
        while (!is_eol(*end) && *end != quote)
            ++end;
        value.assign(p, static_cast<size_t>(end - p));
    } else {
        char const* end = p;
        while (!is_eol(*end) && *end != ';' && *end != '#')
            ++end;
        while (end > p && is_space(end[-1]))
            --end;
        value.assign(p, static_cast<size_t>(end - p));
    }
    return config_add_value(section.c_str(), item.c_str(), value.c_str());
}

}  // namespace

int config_add_value(char const* section, char const* item, char const* value)
{
    ++changes;
    size_t const n = cfg.values.size();
    std::vector<int>* in_section = nullptr;
    std::vector<int>* in_name = nullptr;
    try {
        cfg.sections.emplace_back(section ? section : "");
        cfg.items.emplace_back(item ? item : "");
        cfg.values.emplace_back(value ? value : "");
        in_section = &cfg.by_section[folded(section)];
        in_section->push_back(static_cast<int>(n));
        in_name = &cfg.by_name[name_key(section, item)];
        in_name->push_back(static_cast<int>(n));
    } catch (std::bad_alloc const&) {
        // Drop the partly added entry so the columns and the indexes stay
        // as they were (an empty index list is harmless).
        cfg.sections.resize(n);
        cfg.items.resize(n);
        cfg.values.resize(n);
        if (in_section && !in_section->empty() && in_section->back() == static_cast<int>(n))
            in_section->pop_back();
        return -1;
    }
    return 0;
}

char const* config_get_option(char const* section, char const* item, char const* def)
{
    std::vector<int> const* list = positions(cfg.by_name, name_key(section, item));
    if (list == nullptr || list->empty())
        return def;
    std::string const& value = cfg.values[static_cast<size_t>(list->front())];
    return value.empty() ? def : value.c_str();
}

char const* config_enum_section(char const* section, char const** item, int* index)
{
    int const i = next_position(positions(cfg.by_section, folded(section)), *index);
    if (i < 0)
        return nullptr;
    *item = cfg.items[static_cast<size_t>(i)].c_str();
    *index = i + 1;
    return cfg.values[static_cast<size_t>(i)].c_str();
}

char const* config_enum_item(char const* section, char const* item, int* index)
{
    int const i = next_position(positions(cfg.by_name, name_key(section, item)), *index);
    if (i < 0)
        return nullptr;
    *index = i + 1;
    return cfg.values[static_cast<size_t>(i)].c_str();
}

int config_read_file(char const* path, int optional)
{
    FilePtr fp(std::fopen(path, "rb"));
    if (!fp) {
        int err = errno;
        if (err == ENOENT && optional)
            return 2;
        std::perror(path);
        return err ? err : EIO;
    }
    // A directory opens but cannot be read: where the file is optional it
    // counts as absent, else it is refused like a file that cannot be opened.
    struct stat st;
    if (::fstat(fileno(fp.get()), &st) == 0 && S_ISDIR(st.st_mode)) {
        if (optional)
            return 2;
        errno = EISDIR;
        std::perror(path);
        return EISDIR;
    }
    std::string section;
    char line[1024];
    while (std::fgets(line, sizeof line, fp.get())) {
        if (parse_line(line, section) < 0)
            return -1;
    }
    if (std::ferror(fp.get())) {
        int const err = errno ? errno : EIO;
        std::perror(path);
        return err;
    }
    return 0;
}

int config_parse_option(char const* text)
{
    if (!text)
        return 1;
    std::string_view t(text);
    size_t eq = t.find('=');
    if (eq == std::string_view::npos)
        return 1;
    std::string name;
    std::string value;
    std::string section;
    try {
        name.assign(t.substr(0, eq));
        value.assign(t.substr(eq + 1));
        upcase(name);
        size_t colon = name.find(':');
        if (colon != std::string::npos && colon != 0 && colon != name.size() - 1) {
            section = name.substr(0, colon);
            name.erase(0, colon + 1);
        } else {
            section = "DEFAULT";
        }
    } catch (std::bad_alloc const&) {
        return -1;
    }
    return config_add_value(section.c_str(), name.c_str(), value.c_str());
}

uint32_t config_changes() { return changes; }

void config_clear()
{
    ++changes;
    cfg.sections.clear();
    cfg.items.clear();
    cfg.values.clear();
    cfg.by_section.clear();
    cfg.by_name.clear();
}

int32_t config_int(char const* text) { return sat32(std::strtol(text, nullptr, 10)); }
