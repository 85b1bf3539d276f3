#include "pcl/passages.h"

#include <cstdio>

#include "pcl/input.h"
#include "pcl/macros.h"
#include "run_mode.h"

namespace {

constexpr int STATEMENT_MAX = 64;
constexpr char pjl_prefix[] = "@PJL";
constexpr int PJL_PREFIX_LEN = 4;

// The text of one PJL line or HP-GL/2 statement as the trace shows it:
// the first 64 characters, later ones are dropped.
struct statement {
    char text[STATEMENT_MAX + 1] = {};
    int len = 0;

    void add(int c)
    {
        if (len < STATEMENT_MAX)
            text[len++] = static_cast<char>(c);
        text[len] = '\0';
    }
    void clear()
    {
        len = 0;
        text[0] = '\0';
    }
    char const* more() const { return len == STATEMENT_MAX ? " ..." : ""; }
};

void trace_hpgl(statement const& st)
{
    bool const show = in_macro_definition == 0 ? verbose >= 1 : verbose >= 2;
    if (show)
        std::printf("HP-GL: %s%s\n", st.text, st.more());
}

}  // namespace

int parse_pjl()
{
    input_clear_lookahead();
    for (;;) {
        // A line that does not start with "@PJL" ends the passage; the
        // bytes read of it go back to the PCL parser.
        for (int i = 0; i < PJL_PREFIX_LEN; ++i) {
            int c = std::getc(infp);
            if (i == 0 && c == EOF)
                return -1;
            if (c != pjl_prefix[i]) {
                for (int j = 0; j < i; ++j)
                    input_unread(pjl_prefix[j]);
                input_unread(c == EOF ? -1 : c);
                return i + 1;
            }
        }

        statement line;
        int c;
        while ((c = std::getc(infp)) != EOF && c != '\n') {
            if (c == '\t')
                c = ' ';
            if (c == ' ' && line.len == 0)
                continue;
            line.add(c);
        }
        if (c == '\n' && line.len > 0 && line.text[line.len - 1] == '\r')
            line.text[--line.len] = '\0';
        if (verbose >= 1)
            std::printf("@PJL %s%s\n", line.text, line.more());
    }
}

void parse_hpgl(int)
{
    input_clear_lookahead();
    statement st;
    for (;;) {
        int c = pcl_getc();
        if (c < 0)
            return;
        if (c == ESC) {
            if (st.len > 0)
                trace_hpgl(st);
            input_unread(ESC);
            return;
        }
        if (c == '\r' || c == '\n')
            continue;
        st.add(c == '\t' ? ' ' : c);
        if (c == ';') {
            trace_hpgl(st);
            st.clear();
        }
    }
}
