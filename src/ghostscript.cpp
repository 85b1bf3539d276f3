// The Ghostscript pipeline: the shell command line, built once from the run
// mode and the CONFIG section, and the interpreter started lazily with the
// PostScript on its standard input.
#include "ghostscript.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/command_pipe.h"
#include "config_store.h"
#include "pcl/environment.h"
#include "pcl/ps/resources.h"
#include "pcl/ps/writer.h"
#include "run_mode.h"

std::string gs_cmd;

namespace {

CommandPipe gs_pipe;

// Output into the pipe is buffered in large blocks.
constexpr size_t kPipeBufferSize = 64 * 1024;
char pipe_buffer[kPipeBufferSize];

char const* cfg(char const* item) { return config_get_option("CONFIG", item, nullptr); }

// Appends `text` enclosed in double quotes, with the characters the shell
// still interprets there (\ " $ `) backslash-escaped, so any name reaches
// the program as one literal argument.
void append_quoted(std::string& cmd, char const* text)
{
    cmd += '"';
    for (char const* p = text; *p; ++p) {
        if (*p == '\\' || *p == '"' || *p == '$' || *p == '`')
            cmd += '\\';
        cmd += *p;
    }
    cmd += '"';
}

// Appends " text" when text is set; option texts go in as they are, so one
// item may hold several options.
void append_option(std::string& cmd, char const* text)
{
    if (text && *text) {
        cmd += ' ';
        cmd += text;
    }
}

}  // namespace

std::string gs_output_name(char const* output)
{
    if (!output)
        return "-";
    // A leading "|" or "%" would make the interpreter open a pipe or one of
    // its special devices; "./" in front keeps it a file name. A "%" inside
    // the name would be a page-number format; doubled it stands for itself.
    std::string name;
    if (output[0] == '|' || output[0] == '%')
        name = "./";
    for (char const* p = output; *p; ++p) {
        if (*p == '%')
            name += '%';
        name += *p;
    }
    return name;
}

void gs_setup(int level, char const* output, char const* options)
{
    if (char const* fontpath = cfg("GS.FONTPATH"))
        setenv("GS_FONTPATH", fontpath, 1);

    gs_cmd.clear();
    append_quoted(gs_cmd, config_get_option("CONFIG", "GS", "gs"));
    // The document may carry PostScript from the job itself (verbatim
    // data), so the interpreter never gets to open files or pipes of its
    // own choosing: every mode runs with SAFER.
    gs_cmd += " -q -dNOPAUSE -dBATCH -dSAFER";
    if (level <= 0) {
        append_option(gs_cmd, options);
        append_option(gs_cmd, cfg("GS.PRINT.OPT"));
    } else if (level == 1) {
        gs_cmd += " -sDEVICE=pdfwrite";
        append_option(gs_cmd, options);
        append_option(gs_cmd, cfg("GS.PDF.OPT"));
    } else {
        // PDF/A reads the sRGB profile for its output intent; that one
        // file is all the document may read.
        gs_cmd += " --permit-file-read=";
        append_quoted(gs_cmd, ps_icc_profile_path().c_str());
        gs_cmd += " -sDEVICE=pdfwrite -dPDFA=";
        gs_cmd += std::to_string(level - 1);
        append_option(gs_cmd, options);
        char const* pdfa = cfg("GS.PDFA.OPT");
        append_option(gs_cmd, pdfa ? pdfa
                                   : "-sColorConversionStrategy=RGB -sProcessColorModel=DeviceRGB "
                                     "-dPDFACompatibilityPolicy=1");
    }
    if (char const* paper = cfg("GS.PAPER.SIZE")) {
        gs_cmd += " -sPAPERSIZE=";
        gs_cmd += paper;
        // The document asks for each page's sheet; a configured paper size
        // holds against those requests (pages of another size are clipped).
        // The earlier rendering, which made no requests, did not need it.
        char const* compat = config_get_option("CONFIG", "BCOMPAT", nullptr);
        if (!compat || (config_int(compat) & COMPAT_LEGACY) == 0)
            gs_cmd += " -dFIXEDMEDIA";
    }
    append_option(gs_cmd, cfg("GS.OPT"));
    gs_cmd += " -sOutputFile=";
    append_quoted(gs_cmd, gs_output_name(output).c_str());
    // "-_" reads the program from standard input with normal buffering; a
    // bare "-" would make the interpreter read it one byte per system call.
    gs_cmd += " -_";

    if (verbose >= 1)
        std::fprintf(stderr, "%s\n", gs_cmd.c_str());
}

bool gs_names_device()
{
    auto names = [](char const* text) {
        return text && (std::strstr(text, "-sDEVICE") || std::strstr(text, "-dNODISPLAY"));
    };
    char const* device = std::getenv("GS_DEVICE");
    return names(gs_cmd.c_str()) || names(std::getenv("GS_OPTIONS")) || (device && *device);
}

bool gs_run()
{
    // An interpreter that dies early must not kill the converter; writes
    // into the broken pipe fail quietly and the exit status tells.
    std::signal(SIGPIPE, SIG_IGN);
    std::fflush(nullptr);
    gs_pipe = CommandPipe(gs_cmd.c_str());
    if (!gs_pipe) {
        std::perror("popen");
        return false;
    }
    std::setvbuf(gs_pipe.get(), pipe_buffer, _IOFBF, sizeof pipe_buffer);
    ps_out_set_stream(gs_pipe.get());
    return true;
}

int gs_close()
{
    if (gs_pipe && outfp == gs_pipe.get())
        ps_out_set_stream(nullptr);
    return gs_pipe.close();
}

void gs_reset()
{
    gs_close();
    gs_cmd.clear();
}
