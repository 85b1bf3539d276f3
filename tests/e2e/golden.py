#!/usr/bin/env python3
"""Golden end-to-end tests: run the built tarvo on every tests/data case.

A case is <name>.pcl with <name>.args (options, one per line; the input file
is appended), the expected <name>.out (the %%CreationDate value is masked)
and optionally <name>.about (one line: what the case proves, printed on
failure), <name>.err, <name>.status (default 0) and <name>.cfg (passed
with -c). With --legacy every case runs with compatibility bit 4 added to the
BCOMPAT the case configures, and is compared with <name>.legacy.out (and
.legacy.err) where present, else with the ordinary expected files: the
legacy output must not change when the default rendering does. It runs in a fresh directory holding a copy of <name>.pcl, with HOME
and the installation variables pointed there. On a mismatch the actual output
is written beside the expected file as <file>.actual; --update rewrites the
expected files instead.
"""
import argparse, os, re, shutil, subprocess, sys, tempfile


LEGACY_BIT = 4


def configured_compat(path):
    """The BCOMPAT value a case's configuration file sets (0 when none)."""
    if not os.path.exists(path):
        return 0
    for line in open(path, errors="replace"):
        m = re.match(r"\s*BCOMPAT\s*=\s*(\d+)", line, re.I)
        if m:
            return int(m.group(1))
    return 0


def expected_path(data, name, suffix, legacy):
    if legacy:
        candidate = os.path.join(data, name + ".legacy" + suffix)
        if os.path.exists(candidate):
            return candidate
    return os.path.join(data, name + suffix)


def run_case(binary, data, name, update, legacy=False):
    path = lambda suffix: os.path.join(data, name + suffix)
    with open(path(".args")) as f:
        args = [line.rstrip("\n").replace("{data}", data) for line in f if line.strip()]
    if legacy:
        compat = configured_compat(path(".cfg")) | LEGACY_BIT
        args = ["-C", "CONFIG:BCOMPAT=%d" % compat] + args
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
        expected = expected_path(data, name, suffix, legacy)
        if update and legacy:
            # Legacy files exist only where the legacy output differs.
            plain = path(suffix)
            legacy_file = path(".legacy" + suffix)
            same = (open(plain, "rb").read() == actual) if os.path.exists(plain) else not actual
            if same:
                if os.path.exists(legacy_file):
                    os.remove(legacy_file)
            else:
                with open(legacy_file, "wb") as f:
                    f.write(actual)
        elif update and (suffix == ".out" or actual):
            with open(path(suffix), "wb") as f:
                f.write(actual)
        elif not update and (suffix == ".out" or os.path.exists(expected)):
            if open(expected, "rb").read() != actual:
                with open(expected + ".actual", "wb") as f:
                    f.write(actual)
                problems.append("%s differs (see %s.actual)" % (suffix[1:], expected))
            elif os.path.exists(expected + ".actual"):
                os.remove(expected + ".actual")
    return problems


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--binary", required=True)
    ap.add_argument("--data", required=True)
    ap.add_argument("--update", action="store_true")
    ap.add_argument("--legacy", action="store_true",
                    help="add compatibility bit 4 and compare with the legacy files")
    ap.add_argument("cases", nargs="*")
    opts = ap.parse_args()
    opts.data = os.path.abspath(opts.data)
    names = opts.cases or sorted(f[:-5] for f in os.listdir(opts.data) if f.endswith(".args"))
    failed = 0
    for name in names:
        problems = run_case(os.path.abspath(opts.binary), opts.data, name, opts.update, opts.legacy)
        failed += bool(problems)
        print("FAIL %s: %s" % (name, "; ".join(problems)) if problems else "ok   " + name)
        about = os.path.join(opts.data, name + ".about")
        if problems and os.path.exists(about):
            print("     (this case checks: %s)" % open(about).read().strip())
    print("%d passed, %d failed" % (len(names) - failed, failed))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
