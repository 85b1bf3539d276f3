#include "driver.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/file_ptr.h"
#include "common/install_paths.h"
#include "config_store.h"
#include "ghostscript.h"
#include "output_file.h"
#include "pcl/command_table.h"
#include "pcl/environment.h"
#include "pcl/glyph_map.h"
#include "pcl/input.h"
#include "pcl/ps/document.h"
#include "pcl/ps/resources.h"
#include "pcl/ps/writer.h"
#include "pcl/text_loop.h"
#include "reset.h"
#include "run_mode.h"
#include "version.h"

int genps = 0;
int verbose = 0;
int debug = 0;
char const* doc_title = nullptr;
FILE* infp = nullptr;
char const* in_name = nullptr;
char const* progname = "tarvo";

namespace {

constexpr char const* kName = "tarvo";
constexpr char const* kVersion = TARVO_VERSION;
constexpr char const* kDocAddress = "https://docs.zenthorax.com/tarvo/";
constexpr char const* kOptString = ":spdaVc:o:m:gG:t:vC:";
constexpr char const* kConfigName = "tarvo.cfg";
constexpr char const* kStdinName = "standard input";
constexpr char const* kStdoutName = "standard output";
constexpr size_t kOutputBufferSize = 64 * 1024;
constexpr size_t kInputBufferSize = 64 * 1024;

constexpr char const* kHelpOutput = "output options:\n"
                                    " -p       create PDF output (-pp for PDF/A)\n"
                                    " -s       create postscript output\n"
                                    " -a       analyze pcl data (-aa more verbose)\n"
                                    " -g       create postscript and pass to ghostscript\n";

constexpr char const* kHelpOptions =
    "options:\n"
    " -c cfg   specify config file (default is tarvo.cfg, ~/.tarvo)\n"
    " -o out   specify output file (default is stdout)\n"
    " -m file  specify PDF marks input file\n"
    " -G opt   additional ghostscript options\n"
    " -C opt   define config option ([section:]item=value)\n"
    " -V       output version and exit\n";

char const* base_name(char const* path)
{
    if (!path || !*path)
        return kName;
    char const* slash = std::strrchr(path, '/');
    if (!slash)
        return path;
    return slash[1] ? slash + 1 : kName;
}

// The last component of a path, trailing slashes ignored ("a/b/" gives "b");
// a path of slashes only stays as it is.
std::string file_base_name(std::string_view path)
{
    size_t end = path.find_last_not_of('/');
    if (end == std::string_view::npos)
        return std::string(path);
    std::string_view const trimmed = path.substr(0, end + 1);
    size_t const slash = trimmed.rfind('/');
    return std::string(slash == std::string_view::npos ? trimmed : trimmed.substr(slash + 1));
}

// The build date as "Mmm d yyyy": the compiler's date with the blank that
// pads a one-digit day removed.
void print_version_long()
{
    char const date[] = __DATE__;  // "Mmm dd yyyy", day padded with a blank
    char month[4] = {date[0], date[1], date[2], '\0'};
    int day = (date[4] == ' ' ? 0 : date[4] - '0') * 10 + (date[5] - '0');
    std::printf("%s: %s %s%s (%s %d %s %s)\n", progname, kName, kVersion, "", month, day, date + 7,
                __TIME__);
}

void print_help()
{
    product_banner("TARVO", stdout);
    std::printf("usage: %s [options] [pcl-file ...]\n", progname);
    std::fputs(kHelpOutput, stdout);
    std::fputs(kHelpOptions, stdout);
    std::printf("\n"
                "The tarvo utility converts PCL documents to PDF or Postscript.\n"
                "It implements a commonly used subset of PCL functionality.\n"
                "For more information, please refer to the Zenthorax web site:\n"
                "%s\n"
                "\n",
                kDocAddress);
}

// Reads one optional configuration file named by a printf format and one
// directory. A name that would not fit the path buffer is skipped as if the
// file did not exist, and so is an empty directory.
int read_optional_config(char const* fmt, char const* dir)
{
    char path[1024];
    if (!dir || !*dir)
        return 2;
    int n = std::snprintf(path, sizeof path, fmt, dir);
    if (n < 0 || static_cast<size_t>(n) >= sizeof path)
        return 2;
    return config_read_file(path, 1);
}

// Reads the configuration named with -c, or the first default file that
// exists. Returns 0 to go on, or the exit status.
int load_configuration(char const* cfg_file)
{
    if (cfg_file)
        return config_read_file(cfg_file, 0) == 0 ? 0 : 1;
    int rc = config_read_file(kConfigName, 1);
    if (rc == 2) {
        if (char const* home = std::getenv("HOME"))
            rc = read_optional_config("%s/.tarvo", home);
    }
    if (rc == 2)
        rc = read_optional_config("%s/tarvo.cfg", zx_config_path());
    if (rc != 0 && rc != 2) {
        std::fprintf(stderr, "%s: Unable to read config file\n", progname);
        return 1;
    }
    return 0;
}

// Turns a non-zero status from closing the Ghostscript pipe into the code
// reported to the user.
int wait_status_code(int status)
{
    if (status == -1)
        return -1;
    if (WIFEXITED(status))
        return WEXITSTATUS(status);
    if (WIFSIGNALED(status))
        return 256 + WTERMSIG(status);
    return status;
}

// True when `out` names an existing file that is also one of the files to
// be read: an input file, standard input when no file is named, or the
// marks file. Opening the output would truncate it before it is read.
bool is_input(struct stat const& target, char** inputs, int count, char const* marks)
{
    auto same = [&target](struct stat const& st) {
        return st.st_dev == target.st_dev && st.st_ino == target.st_ino;
    };
    struct stat st;
    bool reads_stdin = count == 0;  // also when "-" is among the files
    for (int i = 0; i < count; ++i)
        reads_stdin = reads_stdin || std::strcmp(inputs[i], "-") == 0;
    if (reads_stdin && fstat(STDIN_FILENO, &st) == 0 && same(st))
        return true;
    for (int i = 0; i < count; ++i)
        if (stat(inputs[i], &st) == 0 && same(st))
            return true;
    return marks && stat(marks, &st) == 0 && same(st);
}

bool output_is_input(char const* out, char** inputs, int count, char const* marks)
{
    struct stat target;
    return stat(out, &target) == 0 && is_input(target, inputs, count, marks);
}

// True when standard output, where the output goes without -o, is a regular
// file that is also one to be read (as with ">>"): the run would read back
// what it writes without end.
bool stdout_is_input(char** inputs, int count, char const* marks)
{
    struct stat target;
    return fstat(STDOUT_FILENO, &target) == 0 && S_ISREG(target.st_mode) &&
           is_input(target, inputs, count, marks);
}

// Opens an input file as the counted input stream. A directory is refused
// like a file that cannot be opened. Returns null after reporting.
FILE* open_input(char const* name)
{
    int const fd = ::open(name, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        std::perror(name);
        return nullptr;
    }
    struct stat st;
    if (::fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
        ::close(fd);
        errno = EISDIR;
        std::perror(name);
        return nullptr;
    }
    FILE* f = input_open_fd(fd, true);
    if (!f) {
        int const err = errno;
        ::close(fd);
        errno = err;
        std::perror(name);
    }
    return f;
}

// Reports a failed read of the input that just ended. Returns true when
// there was one.
bool input_failed()
{
    if (!std::ferror(infp))
        return false;
    int const err = input_read_error();
    std::fprintf(stderr, "%s: %s: %s\n", progname, in_name, std::strerror(err ? err : EIO));
    return true;
}

// The output in messages: the -o file, standard output or the interpreter.
char const* out_display = kStdoutName;

void report_gs_status(int rc)
{
    std::fprintf(stderr, "%s: ghostscript returned exit status %d\n", progname,
                 wait_status_code(rc));
}

// The output failed (a write, or the start of the interpreter): the run
// ends, unwinding to the driver, which reports and sets the exit status.
struct OutputFailed {
    int err;  // of the failed write; 0 when the opener has reported
};

[[noreturn]] void output_failed(int err) { throw OutputFailed{err}; }

// Reports the failure that ended the run and returns the exit status. The
// interpreter is waited for, so that it does not write on after the run;
// the temporary output file goes at exit.
int report_output_failure(OutputFailed const& failure)
{
    infp = nullptr;  // its owner in the file loop has closed it
    if (failure.err != 0) {
        std::fprintf(stderr, "%s: %s: %s\n", progname, out_display, std::strerror(failure.err));
        if (int const rc = gs_close(); rc > 0)
            report_gs_status(rc);
    }
    ps_out_set_stream(nullptr);
    return 1;
}

// Flushes the output and reports a failed write (analysis traces, and the
// document's last bytes). Returns false when the output is damaged.
bool output_written()
{
    errno = 0;
    if (std::fflush(outfp) == 0 && !std::ferror(outfp))
        return true;
    int const err = errno;
    std::fprintf(stderr, "%s: %s: %s\n", progname, out_display, std::strerror(err ? err : EIO));
    return false;
}

// Whether the input starts like a file of another kind given by mistake.
bool looks_foreign(std::string_view head)
{
    for (std::string_view magic : {std::string_view("%PDF-"), std::string_view("\x89PNG\r\n\x1a\n"),
                                   std::string_view("\xff\xd8\xff"), std::string_view("PK\x03\x04"),
                                   std::string_view("\x7f"
                                                    "ELF")})
        if (head.substr(0, magic.size()) == magic)
            return true;
    return false;
}

// What the command line asks for, besides the run-mode globals it sets.
struct Options {
    int pdf_level = 0;
    bool gs_flag = false;
    char const* cfg_file = nullptr;
    char const* out_file = nullptr;
    char const* marks_file = nullptr;
    char const* gs_options = nullptr;
    char** files = nullptr;  // the input files; none means standard input
    int file_count = 0;

    // The PostScript goes to the interpreter.
    bool gs_mode() const { return gs_flag || pdf_level > 0; }
    // The -o file is written under a temporary name while PostScript is
    // produced; analysis output goes to standard output.
    bool to_file() const { return out_file && genps; }
};

// Reads the command line into `o` and the run-mode globals. Returns -1 to go
// on, or the exit status when the run ends here (version, help, a bad
// option, nothing to do).
int parse_options(int argc, char** argv, Options& o)
{
    if (argc == 2 &&
        (std::strcmp(argv[1], "-version") == 0 || std::strcmp(argv[1], "--version") == 0)) {
        print_version_long();
        return 0;
    }
    if (argc == 2 && (std::strcmp(argv[1], "-help") == 0 || std::strcmp(argv[1], "--help") == 0)) {
        print_help();
        return 0;
    }

    optind = 0;  // full re-initialisation of getopt's state
    int opt;
    while ((opt = getopt(argc, argv, kOptString)) != -1) {
        switch (opt) {
        case 's':
            ++genps;
            o.pdf_level = 0;
            break;
        case 'p':
            ++genps;
            ++o.pdf_level;
            break;
        case 'g':
            ++genps;
            o.gs_flag = true;
            o.pdf_level = 0;
            break;
        case 'a':
            ++verbose;
            genps = 0;
            o.pdf_level = 0;
            break;
        case 'v':
            ++verbose;
            break;
        case 'd':
            ++debug;
            genps = 0;
            o.pdf_level = 0;
            break;
        case 'V':
            std::printf("%s: %s %s\n", progname, kName, kVersion);
            return 0;
        case 'c':
            o.cfg_file = optarg;
            break;
        case 'o':
            o.out_file = optarg;
            break;
        case 'm':
            o.marks_file = optarg;
            break;
        case 'G':
            o.gs_options = optarg;
            break;
        case 't':
            doc_title = optarg;
            break;
        case 'C':
            if (config_parse_option(optarg) != 0)
                std::fprintf(stderr, "%s: bad option, ignored\n", optarg);
            break;
        case ':':
            std::fprintf(stderr, "%s: option -%c requires an argment\n", progname, optopt);
            usage(progname);
            return 2;
        case '?':
            std::fprintf(stderr, "%s: unrecognized option -%c\n", progname, optopt);
            usage(progname);
            return 2;
        default:
            break;
        }
    }
    o.files = argv + optind;
    o.file_count = argc - optind;

    if (verbose == 0 && o.pdf_level == 0 && genps == 0) {
        usage(progname);
        return 2;
    }
    return -1;
}

// Checks what the run needs (configuration, installed resources, an output
// that is not an input) and opens the output: the -o file, standard output
// or, later, the interpreter. `out_owner` receives a file opened here.
// Returns 0 to go on, or the exit status.
int set_up_output(Options const& o, FilePtr& out_owner)
{
    if (int rc = load_configuration(o.cfg_file); rc != 0)
        return rc;

    // Missing installed resources would only show as PostScript errors.
    if (genps && !ps_resources_present(o.pdf_level))
        return 1;

    if (o.to_file() && output_is_input(o.out_file, o.files, o.file_count, o.marks_file)) {
        std::fprintf(stderr, "%s: %s: output file is also an input file\n", progname, o.out_file);
        return 1;
    }
    if (!o.to_file() && stdout_is_input(o.files, o.file_count, o.marks_file)) {
        std::fprintf(stderr, "%s: %s: output file is also an input file\n", progname, kStdoutName);
        return 1;
    }
    if (o.to_file() && !out_file_begin(o.out_file))
        return 1;
    char const* const write_to = o.to_file() ? out_file_name() : nullptr;
    if (o.gs_mode())
        out_display = "ghostscript";
    else if (o.to_file())
        out_display = o.out_file;
    ps_out_on_error(output_failed);
    if (o.gs_flag) {
        gs_setup(0, genps ? write_to : o.out_file, o.gs_options);
        // Without a device Ghostscript would open a display window.
        if (genps && !gs_names_device()) {
            std::fprintf(
                stderr,
                "%s: -g needs an output device: give -sDEVICE=... in GS.PRINT.OPT, GS.OPT or -G\n",
                progname);
            return 1;
        }
    } else if (o.pdf_level > 0) {
        gs_setup(o.pdf_level, write_to, o.gs_options);
    } else if (o.to_file()) {
        out_owner.reset(std::fopen(write_to, "wb"));
        if (!out_owner) {
            std::perror(o.out_file);
            out_file_commit(false);
            return 1;
        }
        ps_out_set_stream(out_owner.get());
    } else {
        ps_out_set_stream(stdout);
    }
    if (outfp) {
        static char out_buffer[kOutputBufferSize];
        std::setvbuf(outfp, out_buffer, _IOFBF, sizeof out_buffer);
    }
    // A reader that goes away (Ghostscript, or whatever reads standard
    // output) must not kill us silently: the failed write is reported.
    std::signal(SIGPIPE, SIG_IGN);
    return 0;
}

// Opens the next input: standard input when no file is named, else the
// next named file (advancing `next`). Returns null after reporting a file
// that cannot be read.
FILE* open_next_input(Options const& o, int& next)
{
    if (o.file_count == 0) {
        in_name = kStdinName;
        FILE* in = input_open_fd(STDIN_FILENO, false);
        if (!in)
            std::perror(in_name);
        return in;
    }
    char const* name = o.files[next++];
    if (verbose)
        std::printf("processing file %s\n", name);
    if (std::strcmp(name, "-") == 0) {
        // "-" names standard input, which gives no title.
        in_name = kStdinName;
        FILE* in = input_open_fd(STDIN_FILENO, false);
        if (!in)
            std::perror(in_name);
        return in;
    }
    if (!doc_title) {
        // Titles end up in archived documents: the file's own name only,
        // never the directories it was spooled in.
        static std::string default_title;
        default_title = file_base_name(name);
        doc_title = default_title.c_str();
    }
    FILE* in = open_input(name);
    if (in)
        in_name = name;
    return in;
}

// Converts every input in turn. Returns the exit status so far: 1 after an
// input that could not be opened or read.
int convert_files(Options const& o)
{
    hash_setup();
    pcl_init();
    ps_map_init();
    if (genps)
        ps_set_mode(o.pdf_level);

    int status = 0;
    int next = 0;
    // One input stream is open at a time; a large buffer saves read calls
    // on big jobs.
    static char in_buffer[kInputBufferSize];
    do {
        FilePtr in_owner(open_next_input(o, next));
        if (!in_owner) {
            status = 1;
            continue;
        }
        infp = in_owner.get();
        std::setvbuf(infp, in_buffer, _IOFBF, sizeof in_buffer);
        parse_text();
        if (looks_foreign(input_head()))
            std::fprintf(stderr, "%s: %s: does not look like PCL\n", progname, in_name);
        if (input_failed())
            status = 1;
        pcl_reset();
        infp = nullptr;
    } while (next < o.file_count);
    return status;
}

// Ends the document, closes the output and decides whether the -o file
// replaces its target. Returns the exit status.
int finish(Options const& o, FilePtr& out_owner, int status)
{
    if (genps) {
        ps_exit(o.marks_file);
        // A job that draws nothing writes nothing; the exit status stays.
        // (After an input error that error already says why.)
        if (ps_page_counter == 0 && status == 0)
            std::fprintf(stderr, "%s: no page was drawn; no output written\n", progname);
    }
    if (outfp && !output_written())
        status = 1;

    if (out_owner) {
        // The document is complete; closing may still fail (a full disk).
        ps_out_set_stream(nullptr);
        errno = 0;
        if (std::fclose(out_owner.release()) != 0) {
            std::fprintf(stderr, "%s: %s: %s\n", progname, o.out_file,
                         std::strerror(errno ? errno : EIO));
            status = 1;
        }
    }
    if (o.gs_mode() && outfp) {
        if (int const rc = gs_close(); rc != 0) {
            report_gs_status(rc);
            status = 1;
        }
    }
    if (o.to_file()) {
        // Only a complete, non-empty result replaces the target. The
        // interpreter may end well and still write nothing.
        bool const drawn = ps_page_counter != 0;
        OutputCommit const done = out_file_commit(status == 0 && drawn);
        if (done == OutputCommit::empty && drawn) {
            std::fprintf(stderr, "%s: %s: ghostscript wrote nothing; no output written\n", progname,
                         o.out_file);
            status = 1;
        } else if (done == OutputCommit::failed && status == 0 && drawn) {
            status = 1;
        }
    }
    return status;
}

}  // namespace

void run_mode_reset()
{
    genps = 0;
    verbose = 0;
    debug = 0;
    doc_title = nullptr;
    infp = nullptr;
    in_name = nullptr;
    progname = kName;
    out_display = kStdoutName;
}

int tarvo_main(int argc, char** argv)
{
    tarvo_reset();
    progname = base_name(argc > 0 ? argv[0] : nullptr);
    Options o;
    if (int const rc = parse_options(argc, argv, o); rc >= 0)
        return rc;
    FilePtr out_owner;
    if (int const rc = set_up_output(o, out_owner); rc != 0)
        return rc;
    try {
        int const status = convert_files(o);
        return finish(o, out_owner, status);
    } catch (OutputFailed const& failure) {
        return report_output_failure(failure);
    }
}

void usage(char const* prog)
{
    std::fprintf(stderr, "usage: %s [options] [pcl files ...]\n", prog);
    std::fprintf(stderr, "Please use the -help option to get more information\n");
}
