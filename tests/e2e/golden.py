#!/usr/bin/env python3
"""Golden end-to-end tests: run the built tarvo on every tests/data case.

A case is <name>.pcl with:
  <name>.args    options, one per line (required; the input file is appended)
  <name>.cfg     optional configuration file, passed with -c
  <name>.out     expected standard output (the %%CreationDate value is masked)
  <name>.err     optional expected standard error
  <name>.status  optional expected exit status (default 0)

The case runs in a fresh directory holding a copy of <name>.pcl (so the
document title is "<name>.pcl"), with HOME and the installation variables
pointed there, so no configuration of the machine leaks in. On a mismatch the
actual output is written beside the expected file as <file>.actual; --update
rewrites the expected files instead.
"""
import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile

DATE = re.compile(rb"^(%%CreationDate: ).*$", re.M)


def mask(data):
    return DATE.sub(rb"\1DATE", data)


def run_case(binary, data_dir, name, update):
    pcl = os.path.join(data_dir, name + ".pcl")
    with open(os.path.join(data_dir, name + ".args")) as f:
        args = [line.rstrip("\n") for line in f if line.strip()]
    with tempfile.TemporaryDirectory(prefix="tarvo-e2e-") as tmp:
        shutil.copy(pcl, os.path.join(tmp, name + ".pcl"))
        cfg = os.path.join(data_dir, name + ".cfg")
        if os.path.exists(cfg):
            args = ["-c", cfg] + args
        env = dict(os.environ)
        env.update(HOME=tmp, ZENTHORAX=os.path.join(tmp, "base"),
                   ZENTHORAX_ETC=os.path.join(tmp, "etc"),
                   ZENTHORAX_TMP=os.path.join(tmp, "tmp"),
                   TARVO_DATA=data_dir)
        env.pop("SOURCE_DATE_EPOCH", None)
        args = [a.replace("{data}", data_dir) for a in args]
        proc = subprocess.run([binary] + args + [name + ".pcl"], cwd=tmp, env=env,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=120)
    problems = []
    expected_status = 0
    status_file = os.path.join(data_dir, name + ".status")
    if os.path.exists(status_file):
        with open(status_file) as f:
            expected_status = int(f.read().strip())
    if proc.returncode != expected_status:
        problems.append("exit status %d, expected %d" % (proc.returncode, expected_status))
    for suffix, actual in ((".out", proc.stdout), (".err", proc.stderr)):
        path = os.path.join(data_dir, name + suffix)
        if suffix == ".err" and not os.path.exists(path) and not update:
            continue
        actual = mask(actual)
        if update:
            if suffix == ".out" or actual:
                with open(path, "wb") as f:
                    f.write(actual)
            continue
        with open(path, "rb") as f:
            expected = f.read()
        if expected != actual:
            with open(path + ".actual", "wb") as f:
                f.write(actual)
            problems.append("%s differs (see %s.actual)" % (suffix[1:], path))
        elif os.path.exists(path + ".actual"):
            os.remove(path + ".actual")
    return problems


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--binary", required=True)
    ap.add_argument("--data", required=True)
    ap.add_argument("--update", action="store_true")
    ap.add_argument("cases", nargs="*")
    opts = ap.parse_args()
    opts.binary = os.path.abspath(opts.binary)
    names = opts.cases or sorted(f[:-5] for f in os.listdir(opts.data)
                                 if f.endswith(".args"))
    passed = failed = 0
    for name in names:
        problems = run_case(opts.binary, opts.data, name, opts.update)
        if problems:
            failed += 1
            print("FAIL %s: %s" % (name, "; ".join(problems)))
        else:
            passed += 1
            print("ok   %s" % name)
    print("%d passed, %d failed" % (passed, failed))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
