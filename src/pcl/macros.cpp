#include "pcl/macros.h"

#include <cstdio>
#include <new>
#include <utility>

#include "common/numeric.h"
#include "invariant.h"
#include "pcl/environment.h"
#include "pcl/input.h"
#include "pcl/text_buffer.h"
#include "run_mode.h"

std::map<int32_t, pcl_macro> macro_store;
pcl_macro* cur_macro;
int in_macro_definition;
int mac_nesting;

namespace {

// The bytes of the closing command ESC & f 1 X, recorded with the body and
// cut off at the end of a definition.
constexpr int CLOSING_COMMAND_LEN = 5;

// The body of the macro being defined, and the bytes staged for it: they
// are appended in blocks of MAC_TMP_BUF_SIZE, and the size limit is checked
// per block.
std::vector<uint8_t> recording;
unsigned char staged[MAC_TMP_BUF_SIZE];
int staged_len;

// The level being replayed: its body, the next byte and the end, and its ID
// for messages. Null body at the file level.
struct replay_pos {
    macro_body body;
    uint8_t const* pos = nullptr;
    uint8_t const* end = nullptr;
    int32_t id = 0;
};
replay_pos exec;

// What a level started from: the caller's replay position and, for a call
// or an overlay, its environment and fonts.
struct macro_frame {
    int32_t mode;
    replay_pos caller;
    pcl_env env;
    pcl_font font[2];
};
macro_frame macro_stack[MAC_MAX_NESTING];

// Replay units spent in this run, the absolute part of the allowance, and
// the input count when the run started.
uint64_t replay_spent;
uint64_t replay_base = MAC_REPLAY_BASE;
uint64_t input_at_start;
bool limit_reported;

// Overlay text loops that still have to see the end of their input, and the
// page counter when the last of them was counted (each such loop belongs to
// a form feed that moves the counter on once its loop has returned).
int drain_left;
int32_t drain_serial;

[[noreturn]] void macro_assert(char const* expr, char const* func)
{
    invariant_failed("pcl/macro", func, expr);
}

bool valid_id(int id) { return id >= 0 && id <= MAC_ID_MAX; }

void empty_staging() { staged_len = 0; }

// The definition in progress ends without a macro.
void forget_recording()
{
    cur_macro = nullptr;
    empty_staging();
    std::vector<uint8_t>().swap(recording);
}

// The raw reader of the level that is active now.
getchar_fn level_reader()
{
    if (mac_nesting == 0)
        return in_macro_definition ? getc_copy : getc_only;
    return macro_stack[mac_nesting - 1].mode == MAC_OVERLAY ? auto_getc : mac_getc;
}

int resume_getc();

// The run's allowance: the absolute part plus a fixed amount per byte of
// input read so far (saturating).
uint64_t replay_allowance()
{
    return input_allowance(replay_base, MAC_REPLAY_PER_INPUT_BYTE, input_at_start);
}

// Whether a new level may start; the first refusal of the run is reported.
bool replay_allowed(int id)
{
    uint64_t const allowance = replay_allowance();
    if (replay_spent < allowance)
        return true;
    if (verbose)
        std::printf("macro %d not started: replay limit reached\n", id);
    input_allowance_exceeded(limit_reported, "macros replayed", allowance,
                             "further macro calls skipped");
    return false;
}

// Installs the reader for the current level, going through resume_getc
// while overlay loops must still end.
void install_reader()
{
    if (drain_left > 0)
        input_set_reader(resume_getc);
    else
        input_set_reader(level_reader());
}

// Stands in front of the reader of the current level after a level ended.
int resume_getc()
{
    if (drain_left > 0) {
        if (env.page_serial != drain_serial) {
            drain_serial = env.page_serial;
            --drain_left;
        }
        if (drain_left > 0)
            return -1;
    }
    input_set_reader(level_reader());
    return getchar_func();
}

void start_drain(int loops)
{
    if (loops <= 0)
        return;
    if (drain_left == 0)
        drain_serial = env.page_serial;
    drain_left += loops;
}

// Back to the caller's environment and fonts. The page counter and the page
// state stay as they are now, so output never returns to an earlier page; a
// font changed inside the level gets a fresh serial, so the output selects
// the caller's font again.
void restore_frame(macro_frame const& f)
{
    int32_t const page_serial = env.page_serial;
    int32_t const page_dirty = env.page_dirty;
    int32_t const font_serial = env.font_serial;
    env = f.env;
    fnt_restore(f.font);
    env.page_serial = page_serial;
    env.page_dirty = page_dirty;
    if (font_serial != f.env.font_serial)
        env.font_serial = next_serial(font_serial);
    env.pos_changed = 1;
}

// Leaves the innermost level without choosing the next reader.
void pop_level(bool restore)
{
    --mac_nesting;
    macro_frame& f = macro_stack[mac_nesting];
    // The ending level's body stays alive until the flush below has run.
    replay_pos const ended = std::exchange(exec, std::move(f.caller));
    if (restore && f.mode != MAC_EXECUTE) {
        // Text of the ending level is written in its own font and place
        // before the caller's environment comes back.
        cbuf_flush(f.mode == MAC_OVERLAY ? 2 : 1);
        restore_frame(f);
    }
}

// Ends every active level at once; overlay loops are then drained.
void abandon_levels(bool restore)
{
    int overlays = 0;
    while (mac_nesting > 0) {
        if (macro_stack[mac_nesting - 1].mode == MAC_OVERLAY)
            ++overlays;
        pop_level(restore);
    }
    start_drain(overlays);
}

void delete_all()
{
    if (cur_macro != nullptr)
        forget_recording();
    macro_store.clear();
}

void delete_type(int kind)
{
    if (cur_macro != nullptr && cur_macro->type == kind)
        forget_recording();
    std::erase_if(macro_store, [kind](auto const& entry) { return entry.second.type == kind; });
}

// Drops the macro being defined after a failed or refused growth.
void drop_current() { mac_free(cur_macro); }

}  // namespace

void pcl_macro_id(double value) { env.macro_id = to_int(value); }

void pcl_macro_ctl(double value)
{
    int const v = to_int(value);
    if (in_macro_definition) {
        if (v == 1) {
            in_macro_definition = 0;
            install_reader();
            mac_end_def();
        } else if (verbose) {
            std::printf("Invalid macro %d command ignored", env.macro_id);
        }
        return;
    }
    switch (v) {
    case 0: {
        // A definition records from the file; levels being replayed end
        // here as if their bytes were used up. The ID is the one in force
        // at the command, not the one a called level restores.
        int const id = env.macro_id;
        abandon_levels(true);
        mac_start_def(id);
        in_macro_definition = 1;
        install_reader();
        break;
    }
    case 1:
        if (verbose)
            std::printf("Invalid macro command ignored");
        break;
    case 2:
        mac_call(env.macro_id, MAC_EXECUTE);
        break;
    case 3:
        mac_call(env.macro_id, MAC_CALL);
        break;
    case 4:
        env.overlay_id = env.macro_id;
        break;
    case 5:
        env.overlay_id = -1;
        break;
    case 6:
        delete_all();
        break;
    case 7:
        delete_type(TEMPORARY);
        break;
    case 8:
        if (pcl_macro* m = mac_get_byid(env.macro_id))
            mac_free(m);
        break;
    case 9:
    case 10:
        if (pcl_macro* m = mac_get_byid(env.macro_id))
            m->type = v == 9 ? TEMPORARY : PERMANENT;
        break;
    default:
        if (verbose)
            std::printf("Unknown: macro ctl %d\n", v);
        break;
    }
}

void mac_start_def(int id)
{
    empty_staging();
    if (!valid_id(id)) {
        // Nothing is recorded; the definition is still read to its end.
        if (verbose)
            std::printf("macro %d: ID outside 0..%d, not stored\n", id, MAC_ID_MAX);
        cur_macro = nullptr;
        return;
    }
    // An old body that a level still replays stays with that level.
    pcl_macro& m = macro_store[id];
    m = pcl_macro{id, TEMPORARY, nullptr};
    std::vector<uint8_t>().swap(recording);
    cur_macro = &m;
}

void mac_buf_add(int byte)
{
    if (cur_macro == nullptr)
        return;
    if (staged_len >= MAC_TMP_BUF_SIZE) {
        mac_buf_flush();
        if (cur_macro == nullptr)
            return;
    }
    staged[staged_len++] = static_cast<unsigned char>(byte);
}

void mac_buf_flush()
{
    if (cur_macro == nullptr || staged_len == 0)
        return;
    int const n = static_cast<int>(recording.size()) + staged_len;
    if (n > MAC_MAX_SIZE) {
        if (verbose)
            std::printf("memory allocation exceeds limit for macro %d (%d bytes)\n", cur_macro->id,
                        n);
        drop_current();
        return;
    }
    try {
        recording.insert(recording.end(), staged, staged + staged_len);
    } catch (std::bad_alloc const&) {
        if (verbose)
            std::printf("memory allocation failed for macro %d (%d bytes)\n", cur_macro->id, n);
        drop_current();
        return;
    }
    empty_staging();
}

void mac_end_def()
{
    if (cur_macro == nullptr)
        return;
    mac_buf_flush();
    if (cur_macro == nullptr)
        return;
    pcl_macro* const m = cur_macro;
    int const size = static_cast<int>(recording.size()) - CLOSING_COMMAND_LEN;
    if (size > 0) {
        if (verbose >= 2)
            std::printf("=> macro %d size %d\n", m->id, size);
        recording.resize(static_cast<size_t>(size));
        recording.shrink_to_fit();
        m->body = std::make_shared<std::vector<uint8_t> const>(std::move(recording));
        forget_recording();
    } else {
        if (verbose)
            std::printf("macro %d is empty\n", m->id);
        mac_free(m);
    }
}

pcl_macro* mac_call(int id, int mode)
{
    // A level whose bytes are all read ends before the next one starts, so
    // a macro that calls another as its last command does not nest deeper.
    while (mac_nesting > 0 && macro_stack[mac_nesting - 1].mode != MAC_OVERLAY &&
           exec.pos >= exec.end) {
        if (verbose >= 2)
            std::printf("=> completed macro %d\n", exec.id);
        mac_pop();
    }
    if (verbose >= 2)
        std::printf("executing macro %d\n", id);
    if (mac_nesting >= MAC_MAX_NESTING) {
        if (verbose)
            std::printf("Macro nesting exceeds maximum (%d)\n", MAC_MAX_NESTING);
        return nullptr;
    }
    pcl_macro* const m = mac_get_byid(id);
    // A macro whose definition is still open does not exist yet.
    if (m == nullptr || m == cur_macro || m->size() <= 0) {
        if (verbose)
            std::printf("macro %d does not exist\n", id);
        return nullptr;
    }
    if (!replay_allowed(id))
        return nullptr;
    replay_spent += MAC_LEVEL_COST;
    macro_frame& f = macro_stack[mac_nesting];
    f.mode = mode;
    f.caller = std::move(exec);
    ++mac_nesting;
    if (mode != MAC_EXECUTE) {
        f.env = env;
        f.font[0] = font[0];
        f.font[1] = font[1];
    }
    input_set_reader(mode == MAC_OVERLAY ? auto_getc : mac_getc);
    exec.body = m->body;
    exec.pos = exec.body->data();
    exec.end = exec.pos + exec.body->size();
    exec.id = m->id;
    return m;
}

int mac_getc()
{
    if (exec.body == nullptr)
        macro_assert("exec_macro != NULL", "mac_getc");
    if (mac_nesting == 0)
        macro_assert("mac_nesting != 0", "mac_getc");
    if (exec.pos >= exec.end) {
        // The level's last command has run in its own environment; the
        // caller's comes back now and its source delivers the byte.
        if (verbose >= 2 && !compat_legacy())
            std::printf("=> completed macro %d\n", exec.id);
        mac_pop();
        return getchar_func();
    }
    int const c = *exec.pos++;
    ++replay_spent;
    if (exec.pos == exec.end && compat_legacy()) {
        // The earlier rendering gave the caller's environment back as the
        // last byte was read, before its command ran.
        if (verbose >= 2)
            std::printf("=> completed macro %d\n", exec.id);
        mac_pop();
    }
    return c;
}

int auto_getc()
{
    if (exec.body == nullptr)
        macro_assert("exec_macro != NULL", "auto_getc");
    if (mac_nesting == 0)
        macro_assert("mac_nesting != 0", "auto_getc");
    if (exec.pos >= exec.end) {
        pop_level(true);
        start_drain(1);
        install_reader();
        return -1;
    }
    ++replay_spent;
    return *exec.pos++;
}

void mac_pop()
{
    if (mac_nesting <= 0)
        macro_assert("mac_nesting != 0", "mac_pop");
    pop_level(true);
    install_reader();
}

pcl_macro* mac_get_byid(int id)
{
    auto const it = macro_store.find(id);
    return it == macro_store.end() ? nullptr : &it->second;
}

void mac_free(pcl_macro* macro)
{
    if (mac_get_byid(macro->id) != macro)
        macro_assert("mac_get_byid(macro->id) == macro", "mac_free");
    if (macro == cur_macro)
        forget_recording();
    macro_store.erase(macro->id);
}

void mac_reset(int kind)
{
    in_macro_definition = 0;
    abandon_levels(false);
    if (kind == PERMANENT)
        delete_all();
    else
        delete_type(kind);
    install_reader();
}

uint64_t mac_replay_work() { return replay_spent; }

void mac_set_replay_base(uint64_t base)
{
    replay_base = base;
    replay_spent = 0;
    input_at_start = input_bytes_read();
    limit_reported = false;
}

void macros_reset()
{
    macro_store.clear();
    forget_recording();
    in_macro_definition = 0;
    mac_nesting = 0;
    exec = replay_pos{};
    for (macro_frame& f : macro_stack)
        f = macro_frame{};
    replay_spent = 0;
    replay_base = MAC_REPLAY_BASE;
    input_at_start = 0;
    limit_reported = false;
    drain_left = 0;
    drain_serial = 0;
}
