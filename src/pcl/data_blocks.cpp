#include "pcl/data_blocks.h"

#include <cstdio>
#include <string>

#include "pcl/inband_files.h"
#include "pcl/input.h"
#include "pcl/macros.h"
#include "pcl/ps/document.h"
#include "pcl/ps/eps.h"
#include "pcl/ps/writer.h"
#include "pcl/raster.h"
#include "pcl/text_buffer.h"
#include "run_mode.h"

namespace {

constexpr std::string_view inband_marker = "%tarvo:";

}  // namespace

void readdesc(int kind, unsigned count)
{
    // While a macro is recorded the input source copies the block into it;
    // here it is only consumed.
    if (in_macro_definition != 0) {
        pcl_skip(count);
        return;
    }
    switch (kind) {
    case TRANSPARENT_PRINT:
        readchar(count);
        break;
    case PS_VERBATIM:
        readps(count);
        break;
    case RASTER_ROW:
    case RASTER_PLANE:
    case IMAGE_CONFIG:
        // Drawn in PostScript output; skipped otherwise.
        if (!raster_enabled())
            pcl_skip(count);
        else if (kind == IMAGE_CONFIG)
            raster_configure(count);
        else
            raster_transfer(count, kind == RASTER_ROW);
        break;
    default:
        pcl_skip(count);
        break;
    }
}

void readchar(unsigned count)
{
    for (unsigned i = 0; i < count; ++i) {
        int c = pcl_getc();
        if (c < 0)
            break;
        if (verbose >= 1)
            std::printf("Char: 0x%02x\n", c);
        cbuf_add(c);
    }
    cbuf_flush(1);
}

inband_command parse_inband(std::string_view line, std::string_view* arg)
{
    *arg = {};
    if (line.substr(0, inband_marker.size()) != inband_marker)
        return inband_command::none;
    std::string_view rest = line.substr(inband_marker.size());
    std::string_view word = rest;
    bool has_space = false;
    if (auto blank = rest.find(' '); blank != std::string_view::npos) {
        word = rest.substr(0, blank);
        *arg = rest.substr(blank + 1);
        has_space = true;
    }
    if (word == "pos")
        return arg->empty() ? inband_command::pos : inband_command::none;
    if (has_space && !arg->empty()) {
        if (word == "include")
            return inband_command::include;
        if (word == "eps")
            return inband_command::eps;
    }
    *arg = {};
    return inband_command::none;
}

void readps(unsigned count)
{
    cbuf_flush(1);

    std::string text;
    text.reserve(count < PS_VERBATIM_MAX ? count : PS_VERBATIM_MAX);
    for (unsigned i = 0; i < count; ++i) {
        int c = pcl_getc();
        if (c < 0)
            break;
        if (text.size() < PS_VERBATIM_MAX)
            text.push_back(static_cast<char>(c));
    }

    // One line end (LF, CR LF or CR) and then trailing blanks are removed.
    if (!text.empty() && text.back() == '\n')
        text.pop_back();
    if (!text.empty() && text.back() == '\r')
        text.pop_back();
    while (!text.empty() && text.back() == ' ')
        text.pop_back();

    // The block is handled as a C string: an embedded NUL ends it.
    std::string_view const line(text.c_str());
    if (verbose >= 1)
        std::printf("ps: %.*s\n", static_cast<int>(line.size()), line.data());
    if (!genps)
        return;

    ps_ensure_output();
    if (!ps_out_ready())
        return;
    ps_put(line);
    ps_put('\n');

    std::string_view arg;
    inband_command command = parse_inband(line, &arg);
    if (command != inband_command::none && !inband_enabled())
        command = inband_command::none;  // the line stays a plain comment
    switch (command) {
    case inband_command::pos:
        ps_setpos();
        break;
    case inband_command::include:
        ps_include_file(std::string(arg).c_str());
        break;
    case inband_command::eps:
        ps_eps_file(std::string(arg).c_str());
        break;
    case inband_command::none:
        break;
    }
}
