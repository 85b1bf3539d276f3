#include "test_support.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <gtest/gtest.h>

#include "config_store.h"
#include "pcl/command_table.h"
#include "pcl/environment.h"
#include "pcl/escape_parser.h"
#include "pcl/input.h"
#include "pcl/macros.h"
#include "pcl/ps/writer.h"
#include "pcl/text_loop.h"
#include "reset.h"
#include "run_mode.h"

InputFromString::InputFromString(std::string_view bytes, bool piped) : data_(bytes), saved_(infp)
{
    int fd = -1;
    if (piped) {
        int ends[2];
        if (::pipe(ends) != 0)
            throw std::runtime_error("pipe failed");
        // The whole input is written before anything is read.
        if (data_.size() >= 65536)
            ::fcntl(ends[1], F_SETPIPE_SZ, static_cast<int>(data_.size() + 1));
        bool const ok =
            ::write(ends[1], data_.data(), data_.size()) == static_cast<ssize_t>(data_.size());
        ::close(ends[1]);
        if (!ok) {
            ::close(ends[0]);
            throw std::runtime_error("input too large for a pipe");
        }
        fd = ends[0];
    } else {
        FILE* tmp = std::tmpfile();
        if (!tmp)
            throw std::runtime_error("tmpfile failed");
        std::fwrite(data_.data(), 1, data_.size(), tmp);
        std::fflush(tmp);
        fd = ::dup(fileno(tmp));
        std::fclose(tmp);
        ::lseek(fd, 0, SEEK_SET);
    }
    file_ = input_open_fd(fd, true);
    if (!file_)
        throw std::runtime_error("input_open_fd failed");
    infp = file_;
}

InputFromString::~InputFromString()
{
    std::fclose(file_);
    infp = saved_;
}

OutputCapture::OutputCapture() : saved_(outfp)
{
    file_ = open_memstream(&buf_, &len_);
    if (!file_)
        throw std::runtime_error("open_memstream failed");
    ps_out_reset();
    ps_out_set_stream(file_);
}

OutputCapture::~OutputCapture()
{
    ps_out_reset();
    std::fclose(file_);
    std::free(buf_);
    ps_out_set_stream(saved_);
}

std::string OutputCapture::str()
{
    ps_out_flush();
    std::fflush(file_);
    return std::string(buf_, len_);
}

std::string capture_stdout(std::function<void()> const& fn)
{
    std::fflush(stdout);
    testing::internal::CaptureStdout();
    fn();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

std::string capture_stderr(std::function<void()> const& fn)
{
    testing::internal::CaptureStderr();
    fn();
    return testing::internal::GetCapturedStderr();
}

std::string read_file(std::string const& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

RunResult run_tarvo(std::vector<std::string> const& args, std::string_view input,
                    std::string const& cwd, std::vector<std::string> const& env)
{
    TempDir tmp;
    std::string const in_path = tmp.write("stdin", input), out_path = tmp.path() + "/stdout",
                      err_path = tmp.path() + "/stderr";

    std::vector<std::string> argv_store = {TARVO_BINARY};
    argv_store.insert(argv_store.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& a : argv_store)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    std::fflush(nullptr);
    pid_t pid = fork();
    if (pid == 0) {
        int in = open(in_path.c_str(), O_RDONLY);
        int out = open(out_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        int err = open(err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (in < 0 || out < 0 || err < 0)
            _exit(127);
        dup2(in, 0);
        dup2(out, 1);
        dup2(err, 2);
        if (!cwd.empty() && chdir(cwd.c_str()) != 0)
            _exit(127);
        for (auto const& e : env) {
            auto eq = e.find('=');
            if (eq == std::string::npos)
                unsetenv(e.c_str());
            else
                setenv(e.substr(0, eq).c_str(), e.substr(eq + 1).c_str(), 1);
        }
        execv(argv[0], argv.data());
        _exit(127);
    }
    int wstatus = 0;
    waitpid(pid, &wstatus, 0);
    return {WIFEXITED(wstatus) ? WEXITSTATUS(wstatus) : 256 + WTERMSIG(wstatus),
            read_file(out_path), read_file(err_path)};
}

TempDir::TempDir()
{
    std::string templ = (std::filesystem::temp_directory_path() / "tarvo-test-XXXXXX").string();
    if (!mkdtemp(templ.data()))
        throw std::runtime_error("mkdtemp failed");
    path_ = templ;
}

TempDir::~TempDir()
{
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

std::string TempDir::write(std::string const& name, std::string_view contents) const
{
    std::string p = path_ + "/" + name;
    std::filesystem::create_directories(std::filesystem::path(p).parent_path());
    std::ofstream out(p, std::ios::binary);
    out.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    return p;
}

void reset_converter()
{
    tarvo_reset();
    hash_setup();
    pcl_init();
}

std::string run_pcl(std::string_view bytes, int level)
{
    InputFromString in(bytes);
    return capture_stdout([level] {
        verbose = level;
        parse_text();
        verbose = 0;
    });
}
