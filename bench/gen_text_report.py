#!/usr/bin/env python3
"""Generates a plain text report job for the throughput benchmark.

The job is a printer reset followed by 80-column lines ended by CR LF, with a
form feed after every 60 lines, and a final reset. It is the common case of
line-printer style output: one text run per line, no font changes.

Usage: gen_text_report.py MEGABYTES OUTPUT
"""
import sys

ESC = b"\x1b"


def main():
    if len(sys.argv) != 3:
        sys.stderr.write(__doc__)
        return 2
    target = int(float(sys.argv[1]) * 1000 * 1000)
    letters = b"ABCDEFGHIJKLMNOPQRSTUVWXYZ abcdefghijklmnopqrstuvwxyz 0123456789 .,-/"
    with open(sys.argv[2], "wb") as out:
        out.write(ESC + b"E")
        size = 2
        line_no = 0
        while size < target:
            start = line_no % len(letters)
            body = (b"%06d " % line_no + (letters[start:] + letters) * 2)[:80]
            chunk = body + b"\r\n"
            line_no += 1
            if line_no % 60 == 0:
                chunk += b"\x0c"
            out.write(chunk)
            size += len(chunk)
        out.write(ESC + b"E")
    return 0


if __name__ == "__main__":
    sys.exit(main())
