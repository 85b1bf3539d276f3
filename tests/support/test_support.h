// Helpers shared by the unit tests: byte strings as PCL input, captured
// PostScript output, captured standard streams and runs of the built binary.
#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Makes `bytes` the current input (infp) for the lifetime of the object:
// the counted input stream over a file, or over a pipe when `piped`.
class InputFromString {
public:
    explicit InputFromString(std::string_view bytes, bool piped = false);
    ~InputFromString();
    InputFromString(InputFromString const&) = delete;
    InputFromString& operator=(InputFromString const&) = delete;

private:
    std::string data_;
    FILE* file_;
    FILE* saved_;
};

// Points outfp at a memory stream; str() returns what was written so far.
class OutputCapture {
public:
    OutputCapture();
    ~OutputCapture();
    OutputCapture(OutputCapture const&) = delete;
    OutputCapture& operator=(OutputCapture const&) = delete;
    std::string str();

private:
    char* buf_ = nullptr;
    size_t len_ = 0;
    FILE* file_;
    FILE* saved_;
};

// Runs fn and returns what it printed on standard output (stdio flushed).
std::string capture_stdout(std::function<void()> const& fn);
// Runs fn and returns what it printed on standard error.
std::string capture_stderr(std::function<void()> const& fn);

struct RunResult {
    int status;  // exit status, or 256 + signal number
    std::string out;
    std::string err;
};

// Runs the built tarvo binary with the arguments, feeding `input` on its
// standard input, in directory `cwd` (empty: the current one) and with extra
// environment settings NAME=VALUE (a bare NAME unsets it).
RunResult run_tarvo(std::vector<std::string> const& args, std::string_view input = {},
                    std::string const& cwd = {}, std::vector<std::string> const& env = {});

// A fresh empty directory under the system's temporary directory, removed
// with its contents when the object dies.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(TempDir const&) = delete;
    TempDir& operator=(TempDir const&) = delete;
    std::string const& path() const { return path_; }
    // Writes a file below the directory and returns its full path.
    std::string write(std::string const& name, std::string_view contents) const;

private:
    std::string path_;
};

std::string read_file(std::string const& path);

// Puts the converter's process-wide state back to a fresh start: no
// configuration, no trace levels, start-up environment and fonts, no macros,
// reading from the file with nothing handed back.
void reset_converter();

// Runs `bytes` through the text loop at analysis level `level` and returns
// the trace it printed.
std::string run_pcl(std::string_view bytes, int level = 1);
