// Fuzz entry point: feeds arbitrary bytes through the whole converter, in
// PostScript mode and in analysis mode, each once from a file and once
// through a pipe (as spoolers deliver jobs), starting each run from the
// start-up state. Everything written goes to a sink that counts it: output
// beyond a fixed multiple of the work allowed to the run is reported as a
// crash, as is any run that does not end. Built with libFuzzer when clang
// provides it; otherwise fuzz/replay_main.cpp replays the seed corpus and
// past failures through it.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "pcl/command_table.h"
#include "pcl/environment.h"
#include "pcl/glyph_map.h"
#include "pcl/input.h"
#include "pcl/macros.h"
#include "pcl/ps/document.h"
#include "pcl/ps/writer.h"
#include "pcl/raster.h"
#include "pcl/text_loop.h"
#include "reset.h"
#include "run_mode.h"

namespace {

// Smaller than a real run's, so that each input stays quick.
constexpr uint64_t kReplayBase = 256 << 10;
constexpr uint64_t kRasterBase = 256 << 10;
// Output allowed per byte of input or replay, plus a fixed amount.
constexpr uint64_t kOutputPerByte = 1024;
constexpr uint64_t kOutputBase = 1 << 20;

size_t input_size;
uint64_t written;

ssize_t sink_write(void*, char const*, size_t size)
{
    written += size;
    uint64_t const limit = kOutputBase + kOutputPerByte * (input_size + mac_replay_work());
    if (written > limit) {
        // Standard error is this sink during a run; write to the descriptor.
        dprintf(STDERR_FILENO, "output of %llu bytes exceeds the limit of %llu\n",
                static_cast<unsigned long long>(written), static_cast<unsigned long long>(limit));
        std::abort();
    }
    return static_cast<ssize_t>(size);
}

FILE* counting_sink()
{
    static FILE* sink =
        fopencookie(nullptr, "wb", cookie_io_functions_t{nullptr, sink_write, nullptr, nullptr});
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

// A descriptor from which `data` can be read: a pipe, or an unnamed file.
// An input too large for a pipe is read from a file.
int input_fd(uint8_t const* data, size_t size, bool piped)
{
    int ends[2];
    if (piped && ::pipe(ends) == 0) {
        if (size >= 65536)
            ::fcntl(ends[1], F_SETPIPE_SZ, static_cast<int>(size + 1));
        bool const ok = ::write(ends[1], data, size) == static_cast<ssize_t>(size);
        ::close(ends[1]);
        if (ok)
            return ends[0];
        ::close(ends[0]);
    }
    int fd = memfd_create("fuzz-input", MFD_CLOEXEC);
    if (fd < 0)
        return -1;
    if (::write(fd, data, size) != static_cast<ssize_t>(size) || ::lseek(fd, 0, SEEK_SET) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

void convert(uint8_t const* data, size_t size, int ps_mode, bool piped)
{
    int const fd = input_fd(data, size, piped);
    if (fd < 0)
        return;
    FILE* in = input_open_fd(fd, true);
    if (!in) {
        ::close(fd);
        return;
    }

    tarvo_reset();
    genps = ps_mode;
    verbose = ps_mode ? 0 : 1;
    doc_title = "fuzz";
    infp = in;
    ps_out_set_stream(counting_sink());
    input_size = size;
    written = 0;

    pcl_init();
    mac_set_replay_base(kReplayBase);
    raster_set_draw_base(kRasterBase);
    if (ps_mode)
        ps_set_mode(0);
    parse_text();
    pcl_reset();
    if (ps_mode)
        ps_exit(nullptr);
    std::fflush(outfp);

    // Drop everything a run may leave behind, so leaks show and the next run
    // starts clean.
    std::fclose(in);
    tarvo_reset();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    start_up();
    // Analysis output and diagnostics go to the standard streams; keep them
    // out of the fuzzer's log (sanitizer reports use the descriptor directly)
    // but count them with the rest.
    FILE* saved_out = stdout;
    FILE* saved_err = stderr;
    stdout = stderr = counting_sink();
    for (bool piped : {false, true}) {
        convert(data, size, 1, piped);
        convert(data, size, 0, piped);
    }
    stdout = saved_out;
    stderr = saved_err;
    return 0;
}
