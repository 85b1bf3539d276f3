#!/usr/bin/env python3
"""Scaling of tarvo with the number of macros and configuration items.

Each case is run at three sizes, each four times the one before; the table
gives the CPU time of `tarvo -s` (best of --repeat runs) and the time per unit.
A constant time per unit across the three sizes shows linear cost.

  macro definitions  N definitions, IDs 0..32767 in turn (later ones
                     redefine earlier ones), each holding one character
  oldest macro       32768 macros defined, then macro 0 (the oldest) executed
                     N times
  config items       N items in the [CONFIG] section of the configuration
                     file, with a fixed 1 MB text job (every font selection
                     and every page looks items up)
  -C options         N -C definitions on the command line, with a fixed
                     100 KB text job

Usage: scaling.py [--binary build/tarvo] [--scale 1] [--repeat 3]
"""
import argparse
import os
import subprocess
import sys
import tempfile
import time

from common import generate

HERE = os.path.dirname(os.path.abspath(__file__))
ESC = b"\x1b"


def define(i):
    return ESC + b"&f%dY" % (i % 32768) + ESC + b"&f0Xm" + ESC + b"&f1X"


def macro_definitions(n):
    return b"".join(define(i) for i in range(n)) + b"x"


def oldest_macro(n):
    body = b"".join(define(i) for i in range(32768))
    return body + ESC + b"&f0Y" + (ESC + b"&f2X") * n


def text_job(path, megabytes):
    generate("text", megabytes, path)


def timed(cmd, repeat):
    """Least CPU time (user + system) of the program over `repeat` runs: on
    a shared machine the wall-clock time measures the neighbours."""
    best = None
    for _ in range(repeat):
        with open(os.devnull, "wb") as null:
            proc = subprocess.Popen(cmd, stdout=null, stderr=null, close_fds=False)
            _, status, usage = os.wait4(proc.pid, 0)
        if os.waitstatus_to_exitcode(status) != 0:
            raise SystemExit("%s: exit status %d" % (" ".join(cmd[:3]), os.waitstatus_to_exitcode(status)))
        cpu = usage.ru_utime + usage.ru_stime
        best = cpu if best is None else min(best, cpu)
    return best


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--binary", default=os.path.join(HERE, "..", "build", "tarvo"))
    ap.add_argument("--scale", type=float, default=1.0, help="multiplies every size")
    ap.add_argument("--repeat", type=int, default=3)
    opts = ap.parse_args()
    binary = os.path.abspath(opts.binary)
    sizes = lambda first: [int(first * opts.scale * 4 ** k) for k in range(3)]
    rows = []
    with tempfile.TemporaryDirectory(prefix="tarvo-scaling-") as tmp:
        env_cfg = os.path.join(tmp, "empty.cfg")
        open(env_cfg, "w").close()
        big = os.path.join(tmp, "text-1.pcl")
        text_job(big, 1)
        small = os.path.join(tmp, "text-0.1.pcl")
        text_job(small, 0.1)
        job = os.path.join(tmp, "job.pcl")
        cases = []
        for n in sizes(25000):
            cases.append(("macro definitions", n, macro_definitions(n), None, []))
        for n in sizes(25000):
            cases.append(("oldest macro", n, oldest_macro(n), None, []))
        for n in sizes(25000):
            cases.append(("config items", n, None, n, []))
        for n in sizes(3000):
            cases.append(("-C options", n, None, None,
                          [a for i in range(n) for a in ("-C", "i%d=v" % i)]))
        for name, n, pcl, cfg_items, extra in cases:
            cfg = env_cfg
            if cfg_items:
                cfg = os.path.join(tmp, "items.cfg")
                with open(cfg, "w") as f:
                    f.write("[CONFIG]\n")
                    for i in range(cfg_items):
                        f.write("ITEM%d = value\n" % i)
            if pcl is not None:
                with open(job, "wb") as f:
                    f.write(pcl)
                path = job
            else:
                path = big if cfg_items else small
            seconds = timed([binary, "-s", "-c", cfg] + extra + [path], opts.repeat)
            rows.append((name, n, seconds))
            print("  measured %s %d" % (name, n), file=sys.stderr)
    print("| case | N | CPU seconds | microseconds per N |")
    print("|---|---|---|---|")
    for name, n, seconds in rows:
        print("| %s | %d | %.3f | %.2f |" % (name, n, seconds, seconds * 1e6 / n))


if __name__ == "__main__":
    main()
