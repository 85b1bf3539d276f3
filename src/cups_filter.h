// The print-system filter: CUPS's filter arguments turned into a PostScript
// conversion, the job's print options turned into defaults the PCL job can
// still override, and messages in the form the print system logs.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

// One option of CUPS's option argument, name and value ("" for a bare name).
using CupsOption = std::pair<std::string, std::string>;

// Splits CUPS's option argument: blank-separated name=value words, a value
// quoted with ' or " or with backslash-escaped characters, a bare name.
std::vector<CupsOption> cups_parse_options(std::string_view text);

// What the job's options ask for, where the PCL job does not say otherwise.
struct CupsRequests {
    std::string paper;  // a PAPER.SIZE name, or empty
    std::string duplex;  // PostScript setpagedevice dictionary, or empty
    std::string duplex_key;  // its feature name, e.g. "DuplexNoTumble"
    int copies = 1;
    std::vector<std::string> warnings;  // options that cannot be honoured
};

CupsRequests cups_requests(std::vector<CupsOption> const& options, std::string_view copies);

// The PostScript that asks the device for the requests, each wrapped so
// that a device without the feature ignores it; written at the start of the
// document setup, where the job's own requests come later and win.
std::string cups_setup_code(CupsRequests const& requests);

// The converter's arguments for one job: PostScript with the job's title and
// paper size, the given configuration file, the file or standard input. Jobs
// come from other users, so the in-band commands (which read files on the
// print server) are off unless `inband_configured`: the configuration file
// sets INBAND itself.
std::vector<std::string> cups_tarvo_args(std::string const& title, CupsRequests const& requests,
                                         std::string const& config, char const* file,
                                         bool inband_configured);

// Whether the configuration file at `path` sets the INBAND item.
bool cups_inband_configured(std::string const& path);

// The whole filter: CUPS's arguments (job user title copies options [file]).
// Returns the exit status.
int cups_filter_main(int argc, char** argv);
