// PCL macros: recording, the store, execute, call and automatic overlay.
//
// Replay swaps the raw input function of the reader: mac_getc replays an
// executed or called macro, auto_getc an overlay, and the parser reads the
// macro exactly as it reads a file. At most two replay levels are active.
//
// Safety rules kept by this module beyond the plain algorithms:
// - A body that a replay level still reads is never freed or rewritten:
//   each level holds its own reference to the bytes it reads, so deleting
//   or redefining the macro leaves them in place until the level ends.
// - An overlay runs its own text loop, which must see the end of its input
//   exactly once even when its bytes end inside an escape sequence, a UTF-8
//   sequence or a data block: after the overlay ends, the reader keeps
//   reporting end of input until the form feed that started it has moved
//   the page counter on, and only then resumes the enclosing source.
// - The printer reset (mac_reset, called by pcl_reset) and the start of a
//   definition from inside a replay abandon every active level; abandoned
//   overlays end their text loops as above.
// - When a called level or an overlay ends, its pending text run is flushed
//   before the caller's environment is restored, so that run keeps the
//   level's font and line.
// - Replay is bounded by the input: every replayed byte and every started
//   level counts, and once the run's total reaches MAC_REPLAY_BASE plus
//   MAC_REPLAY_PER_INPUT_BYTE for each byte of input read so far, no new
//   level starts (one message on standard error says so). This stops macros
//   that end by executing or calling themselves (or each other), which would
//   otherwise re-enter forever at the same depth, whether the input is a
//   file or a pipe, and keeps the work of a job linear in its size.
// - Macro IDs are 0..32767. A definition under another ID is read and
//   dropped, and such an ID names no macro.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "pcl/environment.h"
#include "pcl/fonts.h"

constexpr int MAC_EXECUTE = 0;
constexpr int MAC_CALL = 1;
constexpr int MAC_OVERLAY = 2;
constexpr int MAC_MAX_SIZE = 1048576;
constexpr int MAC_MAX_NESTING = 2;
constexpr int MAC_TMP_BUF_SIZE = 1024;
constexpr int MAC_ID_MAX = 32767;
// The replay allowance of a run: one unit per replayed byte, MAC_LEVEL_COST
// units per started level, up to MAC_REPLAY_BASE plus
// MAC_REPLAY_PER_INPUT_BYTE per byte of input read.
constexpr uint64_t MAC_REPLAY_BASE = uint64_t{64} << 20;
constexpr uint64_t MAC_REPLAY_PER_INPUT_BYTE = 64;
constexpr uint64_t MAC_LEVEL_COST = 256;

// The recorded bytes of a macro, shared with the replay levels reading them.
using macro_body = std::shared_ptr<std::vector<uint8_t> const>;

struct pcl_macro {
    int32_t id;
    int32_t type;
    macro_body body;  // null while the definition is open

    int32_t size() const { return body ? static_cast<int32_t>(body->size()) : 0; }
};

// The defined macros by ID (and the one being defined).
extern std::map<int32_t, pcl_macro> macro_store;
extern pcl_macro* cur_macro;
extern int in_macro_definition;
extern int mac_nesting;

void pcl_macro_id(double value);
void pcl_macro_ctl(double value);

void mac_start_def(int id);
void mac_end_def();
void mac_buf_add(int byte);
void mac_buf_flush();
pcl_macro* mac_call(int id, int mode);
int mac_getc();
int auto_getc();
void mac_pop();
pcl_macro* mac_get_byid(int id);
void mac_free(pcl_macro* macro);
// The printer reset's entry: ends a definition being recorded, abandons
// every replay level (without restoring their saved environments: the
// reset's own state wins), then deletes all macros (kind PERMANENT) or those
// of the given type, and reinstalls the reader of the file.
void mac_reset(int kind);
// Start-up state: no macros, no definition or replay, nothing replayed and
// the standard replay allowance.
void macros_reset();
// Replay units spent so far in this run.
uint64_t mac_replay_work();
// The absolute part of the replay allowance (MAC_REPLAY_BASE unless a test
// or the fuzzer sets a smaller one); setting it also clears the units
// spent, as at the start of a run.
void mac_set_replay_base(uint64_t base);
