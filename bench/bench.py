#!/usr/bin/env python3
"""Throughput and peak memory of tarvo on generated jobs.

For each kind of job (text report, form-heavy, raster rows, scanned
page raster) and each size,
measures: `cat` of the file (the I/O limit), `tarvo -s` (PostScript) by wall
clock and by CPU time (the steadier figure on a shared machine), with its
peak resident memory, and `tarvo -p` (PDF through Ghostscript, end to end).
Prints a Markdown table.

Usage: bench.py [--binary build/tarvo] [--sizes 1,10,100] [--no-pdf]
"""
import argparse
import os
import subprocess
import sys
import tempfile
import time

from common import generate, print_table

HERE = os.path.dirname(os.path.abspath(__file__))


def run(cmd, stdout_path=os.devnull):
    """Runs cmd; returns (seconds, peak RSS in MiB, exit status, CPU seconds)."""
    with open(stdout_path, "wb") as out:
        start = time.perf_counter()
        # close_fds=False lets Python use posix_spawn, so the child's peak
        # memory is the program's own, not a copy of this interpreter's.
        proc = subprocess.Popen(cmd, stdout=out, stderr=subprocess.DEVNULL, close_fds=False)
        _, status, usage = os.wait4(proc.pid, 0)
        elapsed = time.perf_counter() - start
    return (elapsed, usage.ru_maxrss / 1024.0, os.waitstatus_to_exitcode(status),
            usage.ru_utime + usage.ru_stime)


def peak_kib(cmd):
    """Peak resident memory of cmd in KiB, measured by GNU time (a child
    forked from this interpreter would count the interpreter's pages)."""
    with tempfile.NamedTemporaryFile("r") as rep, open(os.devnull, "wb") as out:
        subprocess.run(["/usr/bin/time", "-f", "%M", "-o", rep.name] + cmd,
                       stdout=out, stderr=subprocess.DEVNULL)
        text = rep.read().strip().splitlines()
    return float(text[-1]) if text else float("nan")


def best(cmd, repeat):
    """The fastest of `repeat` runs, with the least CPU time of them all."""
    results = [run(cmd) for _ in range(repeat)]
    fastest = min(results, key=lambda r: r[0])
    return fastest[:3] + (min(r[3] for r in results),)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--binary", default=os.path.join(HERE, "..", "build", "tarvo"))
    ap.add_argument("--sizes", default="1,10,100")
    ap.add_argument("--kinds", default="text,forms,raster,scan")
    ap.add_argument("--no-pdf", action="store_true")
    ap.add_argument("--pdf-max", type=float, default=100,
                    help="largest size (MiB) also converted to PDF")
    opts = ap.parse_args()
    binary = os.path.abspath(opts.binary)
    sizes = [float(s) for s in opts.sizes.split(",")]
    rows = []
    with tempfile.TemporaryDirectory(prefix="tarvo-bench-") as tmp:
        for kind in opts.kinds.split(","):
            for size in sizes:
                path = os.path.join(tmp, "%s-%g.pcl" % (kind, size))
                generate(kind, size, path)
                nbytes = os.path.getsize(path)
                mb = nbytes / 1e6
                repeat = 3 if size <= 10 else 1
                cat_t, _, _, _ = best(["cat", path], repeat)
                ps_t, _, ps_rc, ps_cpu = best([binary, "-s", path], repeat)
                ps_rss = peak_kib([binary, "-s", path]) / 1024.0
                row = [kind, "%.0f" % (nbytes / 1048576), "%.0f" % (mb / cat_t),
                       "%.0f" % (mb / ps_t), "%.0f" % (mb / max(ps_cpu, 1e-3)), "%.1f" % ps_rss,
                       "%.1f" % (ps_t / cat_t)]
                if not opts.no_pdf and size > opts.pdf_max:
                    row.append("-")
                elif not opts.no_pdf:
                    pdf = os.path.join(tmp, "out.pdf")
                    pdf_t, _, pdf_rc, _ = run([binary, "-p", "-o", pdf, path])
                    row.append("%.1f" % pdf_t if pdf_rc == 0 else "failed (%d)" % pdf_rc)
                if ps_rc != 0:
                    row[3] += " (exit %d)" % ps_rc
                rows.append(row)
                print("  measured %s %g MB" % (kind, size), file=sys.stderr)
    head = ["job", "MiB", "cat MB/s", "tarvo -s MB/s", "tarvo -s MB per CPU s", "tarvo -s peak MiB",
            "-s time / cat time"]
    if not opts.no_pdf:
        head.append("tarvo -p seconds")
    print_table(head, rows)


if __name__ == "__main__":
    main()
