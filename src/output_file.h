// The -o file. A regular file (or a name that does not exist yet) is
// written under a temporary name in the same directory and renamed over the
// target only when the run succeeded and wrote something, so a failed run
// never leaves a plausible-looking file behind and an earlier file of that
// name stays as it was. Other targets (devices, pipes) are written directly.
// One output per process; the temporary file is removed at exit and on a
// terminating signal unless it was committed.
#pragma once

enum class OutputCommit {
    committed,  // the target now holds the output
    empty,  // nothing was written; the target is untouched
    failed,  // the run failed or the rename failed (reported); target untouched
};

// Prepares writing to `target`. Returns false after reporting the error
// (as for a file that cannot be created).
bool out_file_begin(char const* target);
// The name the converter or Ghostscript writes to.
char const* out_file_name();
// Ends the output: with `success`, a non-empty temporary file replaces the
// target; otherwise it is removed.
OutputCommit out_file_commit(bool success);
// Start-up state: no target, no temporary file (one left over is removed).
void out_file_reset();
