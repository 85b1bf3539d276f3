// Fuzz entry point: feeds arbitrary bytes through the whole converter, once
// in PostScript mode and once in analysis mode, starting each run from the
// start-up state. Built with libFuzzer when clang provides it; otherwise
// fuzz/replay_main.cpp replays the seed corpus and past crashes through it.
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "config_store.h"
#include "pcl/command_table.h"
#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "pcl/glyph_map.h"
#include "pcl/macros.h"
#include "pcl/ps/document.h"
#include "pcl/text_buffer.h"
#include "pcl/text_loop.h"
#include "run_mode.h"

namespace {

FILE* null_output()
{
    static FILE* sink = std::fopen("/dev/null", "wb");
    return sink;
}

void start_up()
{
    static bool once = [] {
        hash_setup();
        ps_map_init();
        return true;
    }();
    (void)once;
}

void convert(uint8_t const* data, size_t size, int ps_mode)
{
    // An in-memory stream; an empty input still needs a stream to read EOF from.
    static uint8_t const empty = 0;
    FILE* in = size ? fmemopen(const_cast<uint8_t*>(data), size, "rb")
                    : fmemopen(const_cast<uint8_t*>(&empty), 1, "r");
    if (!in)
        return;
    if (!size)
        std::fgetc(in);

    genps = ps_mode;
    verbose = ps_mode ? 0 : 1;
    debug = 0;
    doc_title = "fuzz";
    infp = in;
    outfp = null_output();

    ps_document_reset();
    cbuf_init();
    pcl_init();
    if (ps_mode)
        ps_set_mode(0);
    parse_text();
    pcl_reset();
    if (ps_mode)
        ps_exit(nullptr);

    // Drop everything a run may leave behind, so leaks show and the next run
    // starts clean.
    mac_reset(3);
    while (font_list)
        fnt_free(font_list);
    std::fclose(in);
    infp = nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    start_up();
    config_clear();
    // Analysis output and diagnostics go to the standard streams; keep them
    // out of the fuzzer's log (sanitizer reports use the descriptor directly).
    FILE* saved_out = stdout;
    FILE* saved_err = stderr;
    stdout = stderr = null_output();
    convert(data, size, 1);
    convert(data, size, 0);
    stdout = saved_out;
    stderr = saved_err;
    return 0;
}
