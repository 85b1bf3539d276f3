#!/usr/bin/env python3
"""Golden end-to-end tests: run the built tarvo on every tests/data case.

A case is <name>.pcl with <name>.args (options, one per line; the input file
is appended), the expected <name>.out (the %%CreationDate value is masked)
and optionally <name>.err, <name>.status (default 0) and <name>.cfg (passed
with -c). It runs in a fresh directory holding a copy of <name>.pcl, with HOME
and the installation variables pointed there. On a mismatch the actual output
is written beside the expected file as <file>.actual; --update rewrites the
expected files instead.
"""
import argparse, os, re, shutil, subprocess, sys, tempfile


def run_case(binary, data, name, update):
    path = lambda suffix: os.path.join(data, name + suffix)
    with open(path(".args")) as f:
        args = [line.rstrip("\n").replace("{data}", data) for line in f if line.strip()]
    if os.path.exists(path(".cfg")):
        args = ["-c", path(".cfg")] + args
    with tempfile.TemporaryDirectory(prefix="tarvo-e2e-") as tmp:
        shutil.copy(path(".pcl"), os.path.join(tmp, name + ".pcl"))
        env = dict(os.environ, HOME=tmp, ZENTHORAX=os.path.join(tmp, "base"),
                   ZENTHORAX_ETC=os.path.join(tmp, "etc"),
                   ZENTHORAX_TMP=os.path.join(tmp, "tmp"), TARVO_DATA=data)
        env.pop("SOURCE_DATE_EPOCH", None)
        proc = subprocess.run([binary] + args + [name + ".pcl"], cwd=tmp, env=env,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=120)
    problems = []
    status = int(open(path(".status")).read()) if os.path.exists(path(".status")) else 0
    if proc.returncode != status:
        problems.append("exit status %d, expected %d" % (proc.returncode, status))
    for suffix, actual in ((".out", proc.stdout), (".err", proc.stderr)):
        actual = re.sub(rb"^(%%CreationDate: ).*$", rb"\1DATE", actual, flags=re.M)
        if update and (suffix == ".out" or actual):
            with open(path(suffix), "wb") as f:
                f.write(actual)
        elif not update and (suffix == ".out" or os.path.exists(path(suffix))):
            if open(path(suffix), "rb").read() != actual:
                with open(path(suffix) + ".actual", "wb") as f:
                    f.write(actual)
                problems.append("%s differs (see %s.actual)" % (suffix[1:], path(suffix)))
            elif os.path.exists(path(suffix) + ".actual"):
                os.remove(path(suffix) + ".actual")
    return problems


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--binary", required=True)
    ap.add_argument("--data", required=True)
    ap.add_argument("--update", action="store_true")
    ap.add_argument("cases", nargs="*")
    opts = ap.parse_args()
    opts.data = os.path.abspath(opts.data)
    names = opts.cases or sorted(f[:-5] for f in os.listdir(opts.data) if f.endswith(".args"))
    failed = 0
    for name in names:
        problems = run_case(os.path.abspath(opts.binary), opts.data, name, opts.update)
        failed += bool(problems)
        print("FAIL %s: %s" % (name, "; ".join(problems)) if problems else "ok   " + name)
    print("%d passed, %d failed" % (len(names) - failed, failed))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
