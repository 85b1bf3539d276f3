// The document title as it goes into the PostScript: the DSC header comment
// and the PostScript string of the document information. Titles come from
// job names and file names, so nothing in them may end the comment or the
// string early.
#pragma once

#include <string>
#include <string_view>

// The text after "%%Title: ". Control characters become blanks. Characters
// beyond ASCII are written as octal escapes, which interpreters reading the
// header decode: a title of Latin-1 characters as those bytes, any other
// UTF-8 title as UTF-16BE with a byte-order mark. A backslash that an escape
// could swallow is itself written as an escape. The line stays 7-bit and
// within DSC's 255 characters: a longer title is cut after a whole character.
std::string ps_dsc_title(std::string_view title);

// A PostScript string token for the title: "(...)" with \ ( ) escaped, or,
// for a UTF-8 title with characters beyond ASCII, a hex string of UTF-16BE
// with a byte-order mark. Control characters become blanks here too.
std::string ps_title_string(std::string_view title);

// A PostScript string token holding `text` byte for byte.
std::string ps_literal_string(std::string_view text);
