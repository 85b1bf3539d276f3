// The print-system filter. CUPS starts it as
//     tarvo-cups job-id user title copies options [file]
// with the printer's name as argv[0]; it converts the PCL job to PostScript
// on standard output. The conversion runs in a child process whose output
// passes through here, so that the job's duplex and copies requests can go
// into the document setup, and whose messages are collected in a temporary
// file and passed on as "ERROR:"/"WARNING:" lines when it ends.
#include "cups_filter.h"

#include <unistd.h>

#include <array>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/wait.h>

#include "common/file_ptr.h"
#include "common/install_paths.h"
#include "config_store.h"
#include "driver.h"

namespace {

constexpr char const* kName = "tarvo-cups";
// Messages of one conversion passed on; the rest are counted.
constexpr int kMaxMessages = 100;
constexpr size_t kMaxMessageLength = 1024;
constexpr int kMaxCopies = 9999;
constexpr size_t kCopyBlock = 64 * 1024;

bool same_name(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) !=
            std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

// Media names of the print system (PPD and IPP self-describing names) and
// the converter's paper-size names.
struct MediaName {
    char const* media;
    char const* paper;
};
constexpr std::array kMedia{
    MediaName{"A4", "A4"},
    MediaName{"iso_a4_210x297mm", "A4"},
    MediaName{"A3", "A3"},
    MediaName{"iso_a3_297x420mm", "A3"},
    MediaName{"Letter", "LETTER"},
    MediaName{"na_letter_8.5x11in", "LETTER"},
    MediaName{"Legal", "LEGAL"},
    MediaName{"na_legal_8.5x14in", "LEGAL"},
    MediaName{"Executive", "EXECUTIVE"},
    MediaName{"na_executive_7.25x10.5in", "EXECUTIVE"},
    MediaName{"Ledger", "LEDGER"},
    MediaName{"Tabloid", "LEDGER"},
    MediaName{"na_ledger_11x17in", "LEDGER"},
};

// The paper of a media value, which may list several words ("A4,Tray1").
char const* paper_of(std::string_view media)
{
    while (!media.empty()) {
        size_t const comma = media.find(',');
        std::string_view const word = media.substr(0, comma);
        for (MediaName const& m : kMedia)
            if (same_name(word, m.media))
                return m.paper;
        if (comma == std::string_view::npos)
            break;
        media.remove_prefix(comma + 1);
    }
    return nullptr;
}

struct Duplex {
    char const* option;  // sides value
    char const* ppd;  // the same as a PPD Duplex choice
    char const* dict;
};
constexpr std::array kDuplex{
    Duplex{"one-sided", "None", "<< /Duplex false >>"},
    Duplex{"two-sided-long-edge", "DuplexNoTumble", "<< /Duplex true /Tumble false >>"},
    Duplex{"two-sided-short-edge", "DuplexTumble", "<< /Duplex true /Tumble true >>"},
};

char const* find_option(std::vector<CupsOption> const& options, char const* name)
{
    for (CupsOption const& o : options)
        if (same_name(o.first, name))
            return o.second.c_str();
    return nullptr;
}

void add_feature(std::string& code, std::string const& key, std::string const& dict)
{
    code += "[{\n%%BeginFeature: *" + key + "\n" + dict +
            " setpagedevice\n%%EndFeature\n} stopped cleartomark\n";
}

// A title or an option value on one line: control characters become
// blanks, so that a value cannot start a line of its own, which the print
// system would take as a message to it ("PPD:", "STATE:", "ATTR:").
std::string one_line(char const* text)
{
    std::string s = text;
    for (char& c : s)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            c = ' ';
    return s;
}

// Copies the conversion's output to standard output, putting `setup` right
// after the line that opens the document setup. Returns false when standard
// output fails.
bool relay(FILE* in, std::string const& setup)
{
    if (!setup.empty()) {
        char* line = nullptr;
        size_t cap = 0;
        ssize_t len;
        bool placed = false;
        while (!placed && (len = getline(&line, &cap, in)) > 0) {
            std::fwrite(line, 1, static_cast<size_t>(len), stdout);
            if (std::strcmp(line, "%%BeginSetup\n") == 0) {
                std::fputs(setup.c_str(), stdout);
                placed = true;
            }
        }
        std::free(line);
    }
    static char block[kCopyBlock];
    size_t n;
    while (!std::ferror(stdout) && (n = std::fread(block, 1, sizeof block, in)) > 0)
        std::fwrite(block, 1, n, stdout);
    return std::fflush(stdout) == 0 && !std::ferror(stdout);
}

// Passes the conversion's messages on with the print system's prefix;
// returns their number.
int report(FILE* messages, char const* prefix)
{
    std::rewind(messages);
    char* line = nullptr;
    size_t cap = 0;
    ssize_t len;
    int count = 0;
    while ((len = getline(&line, &cap, messages)) > 0) {
        if (++count > kMaxMessages)
            continue;
        std::string text(line, static_cast<size_t>(len));
        if (text.back() == '\n')
            text.pop_back();
        if (text.size() > kMaxMessageLength)
            text.resize(kMaxMessageLength);
        std::fprintf(stderr, "%s: %s\n", prefix, text.c_str());
    }
    std::free(line);
    if (count > kMaxMessages)
        std::fprintf(stderr, "%s: %s: %d more messages\n", prefix, kName, count - kMaxMessages);
    return count;
}

}  // namespace

std::vector<CupsOption> cups_parse_options(std::string_view text)
{
    std::vector<CupsOption> options;
    size_t i = 0;
    auto blank = [&] {
        return i < text.size() && std::isspace(static_cast<unsigned char>(text[i]));
    };
    while (i < text.size()) {
        while (blank())
            ++i;
        std::string name;
        while (i < text.size() && text[i] != '=' && !blank())
            name += text[i++];
        if (name.empty()) {
            if (i < text.size())
                ++i;  // a stray '='
            continue;
        }
        if (i >= text.size() || text[i] != '=') {
            // A bare name is a boolean; "noNAME" turns it off.
            if (name.size() > 2 && same_name(name.substr(0, 2), "no"))
                options.emplace_back(name.substr(2), "false");
            else
                options.emplace_back(name, "true");
            continue;
        }
        ++i;
        std::string value;
        char quote = 0;
        while (i < text.size() && (quote || !blank())) {
            char const c = text[i++];
            if (c == '\\' && i < text.size()) {
                value += text[i++];
            } else if (quote && c == quote) {
                quote = 0;
            } else if (!quote && (c == '\'' || c == '"')) {
                quote = c;
            } else {
                value += c;
            }
        }
        options.emplace_back(std::move(name), std::move(value));
    }
    return options;
}

CupsRequests cups_requests(std::vector<CupsOption> const& options, std::string_view copies)
{
    CupsRequests r;
    char const* media = find_option(options, "PageSize");
    if (!media)
        media = find_option(options, "media");
    if (media && *media) {
        if (char const* paper = paper_of(media))
            r.paper = paper;
        else
            r.warnings.push_back(
                "media " + one_line(media) +
                " is not supported; the job's own or the configured paper size is used");
    }

    char const* sides = find_option(options, "sides");
    char const* ppd_duplex = find_option(options, "Duplex");
    if (sides || ppd_duplex) {
        bool found = false;
        for (Duplex const& d : kDuplex) {
            if (sides ? same_name(sides, d.option) : same_name(ppd_duplex, d.ppd)) {
                r.duplex = d.dict;
                r.duplex_key = std::string("Duplex ") + d.ppd;
                found = true;
            }
        }
        if (!found)
            r.warnings.push_back(std::string(sides ? "sides " : "Duplex ") +
                                 one_line(sides ? sides : ppd_duplex) + " is not supported");
    }

    std::string const count(copies);
    char* end = nullptr;
    errno = 0;
    long const n = std::strtol(count.c_str(), &end, 10);
    if (count.empty() || *end || errno || n < 1 || n > kMaxCopies)
        r.warnings.push_back("copies " + one_line(count.c_str()) +
                             " is not a number from 1 to 9999; one copy is made");
    else
        r.copies = static_cast<int>(n);
    return r;
}

std::string cups_setup_code(CupsRequests const& requests)
{
    std::string code;
    if (!requests.duplex.empty())
        add_feature(code, requests.duplex_key, requests.duplex);
    if (requests.copies > 1)
        add_feature(code, "NumCopies " + std::to_string(requests.copies),
                    "<< /NumCopies " + std::to_string(requests.copies) + " >>");
    return code;
}

std::vector<std::string> cups_tarvo_args(std::string const& title, CupsRequests const& requests,
                                         std::string const& config, char const* file,
                                         bool inband_configured)
{
    std::vector<std::string> args{kName, "-s", "-c", config, "-t", title};
    // A value given with -C comes before the file's, so it is given only
    // when the file is silent.
    if (!inband_configured)
        args.insert(args.end(), {"-C", "CONFIG:INBAND=0"});
    if (!requests.paper.empty())
        args.insert(args.end(), {"-C", "DEFAULT:PAPER.SIZE=" + requests.paper});
    // "--" keeps a file name that begins with '-' a file name.
    args.insert(args.end(), {"--", file ? file : "-"});
    return args;
}

bool cups_inband_configured(std::string const& path)
{
    config_clear();
    bool const set = config_read_file(path.c_str(), 1) == 0 &&
                     config_get_option("CONFIG", "INBAND", nullptr) != nullptr;
    config_clear();
    return set;
}

int cups_filter_main(int argc, char** argv)
{
    if (argc < 6 || argc > 7) {
        std::fprintf(stderr, "Usage: %s job-id user title copies options [file]\n", kName);
        return 1;
    }
    CupsRequests const requests = cups_requests(cups_parse_options(argv[5]), argv[4]);
    for (std::string const& w : requests.warnings)
        std::fprintf(stderr, "WARNING: %s: %s\n", kName, w.c_str());

    // Only the print server's own configuration applies, never one found in
    // the working or home directory of the spooler; none is an empty one.
    std::string config = std::string(zx_config_path()) + "/tarvo.cfg";
    if (access(config.c_str(), F_OK) != 0)
        config = "/dev/null";
    std::vector<std::string> args =
        cups_tarvo_args(one_line(argv[3]), requests, config, argc == 7 ? argv[6] : nullptr,
                        cups_inband_configured(config));
    std::string const setup = cups_setup_code(requests);

    FilePtr messages{std::tmpfile()};
    int out[2];
    if (pipe(out) != 0) {
        std::fprintf(stderr, "ERROR: %s: pipe: %s\n", kName, std::strerror(errno));
        return 1;
    }
    std::fflush(nullptr);
    pid_t const pid = fork();
    if (pid < 0) {
        std::fprintf(stderr, "ERROR: %s: fork: %s\n", kName, std::strerror(errno));
        return 1;
    }
    if (pid == 0) {
        dup2(out[1], STDOUT_FILENO);
        close(out[0]);
        close(out[1]);
        if (messages)
            dup2(fileno(messages.get()), STDERR_FILENO);
        std::vector<char*> argv2;
        for (std::string& a : args)
            argv2.push_back(a.data());
        argv2.push_back(nullptr);
        std::exit(tarvo_main(static_cast<int>(args.size()), argv2.data()));
    }
    close(out[1]);
    // A reader that goes away must not kill the filter before it reports.
    std::signal(SIGPIPE, SIG_IGN);
    bool written = false;
    if (FilePtr in{fdopen(out[0], "rb")})
        written = relay(in.get(), setup);
    else
        close(out[0]);

    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    bool const ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    int const reported = messages ? report(messages.get(), ok ? "WARNING" : "ERROR") : 0;
    if (WIFSIGNALED(status))
        std::fprintf(stderr, "ERROR: %s: the conversion ended by signal %d\n", kName,
                     WTERMSIG(status));
    else if (!ok && reported == 0)
        std::fprintf(stderr, "ERROR: %s: the conversion failed with exit status %d\n", kName,
                     WEXITSTATUS(status));
    if (ok && !written)
        std::fprintf(stderr, "ERROR: %s: writing the output failed\n", kName);
    return ok && written ? 0 : 1;
}
