#!/usr/bin/env python3
"""Checks of the files that ship beside the binary: the manual page formats
without a single groff warning, and the Debian changelog names the
project's version. Exits 77 (skipped) when groff is not installed."""
import argparse, re, shutil, subprocess, sys


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--man", required=True)
    ap.add_argument("--changelog")
    ap.add_argument("--version", required=True, help="the CMake project version")
    opts = ap.parse_args()
    problems = []
    if opts.changelog:
        first = open(opts.changelog).readline()
        m = re.match(r"\S+ \(([^)-]+)(-[^)]*)?\)", first)
        if not m or m.group(1) != opts.version:
            problems.append("debian/changelog names %r, the project is %s" % (first.strip(), opts.version))
    if not shutil.which("groff"):
        print("groff not installed: manual page not checked")
        return 77 if not problems else 1
    proc = subprocess.run(["groff", "-ww", "-man", "-z", opts.man], capture_output=True, text=True)
    if proc.returncode or proc.stderr:
        problems.append("groff -ww: " + proc.stderr)
    for p in problems:
        print(p)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
