// An owning pipe into a shell command's standard input. Closing waits for
// the command and yields its status; a pipe still open when its owner goes
// away is closed the same way.
#pragma once

#include <cstdio>
#include <utility>

class CommandPipe {
public:
    CommandPipe() = default;
    // Starts `command`; a failure leaves the pipe closed with errno set.
    explicit CommandPipe(char const* command) : f_(popen(command, "w")) {}
    CommandPipe(CommandPipe&& other) noexcept : f_(std::exchange(other.f_, nullptr)) {}
    CommandPipe& operator=(CommandPipe&& other) noexcept
    {
        if (this != &other) {
            close();
            f_ = std::exchange(other.f_, nullptr);
        }
        return *this;
    }
    CommandPipe(CommandPipe const&) = delete;
    CommandPipe& operator=(CommandPipe const&) = delete;
    ~CommandPipe() { close(); }

    FILE* get() const { return f_; }
    explicit operator bool() const { return f_ != nullptr; }

    // Closes the pipe and returns pclose's raw status: -1 when no pipe is
    // open, else the command's wait status.
    int close()
    {
        if (!f_)
            return -1;
        return pclose(std::exchange(f_, nullptr));
    }

private:
    FILE* f_ = nullptr;
};
