#!/usr/bin/env python3
"""A PCL job through CUPS's own conversion chain with cupsfilter (no
scheduler): to PostScript by tarvo-cups, then on to PDF by CUPS's filters.

With --filter and --rules the built filter and its type and conversion rules
are put into a private copy of CUPS's filter and rule directories; without
them the installed ones are used. Exits 77 (skipped) when cupsfilter is not
installed.
"""
import argparse, os, shutil, subprocess, sys, tempfile

SKIP = 77
CUPSFILTER = "cupsfilter"


def private_cups(tmp, filter_path, rules_dir):
    """A cups-files.conf whose directories hold the system's filters and
    rules plus the ones under test."""
    server_bin = os.path.join(tmp, "lib")
    data = os.path.join(tmp, "share")
    for d in ("filter", "backend"):
        os.makedirs(os.path.join(server_bin, d))
    os.makedirs(os.path.join(data, "mime"))
    os.makedirs(os.path.join(tmp, "etc"))
    for src, dst in (("/usr/lib/cups/filter", os.path.join(server_bin, "filter")),
                     ("/usr/share/cups/mime", os.path.join(data, "mime"))):
        for name in os.listdir(src):
            # An installed tarvo's own files give way to the ones under test.
            if not name.startswith("tarvo"):
                os.symlink(os.path.join(src, name), os.path.join(dst, name))
    os.symlink(os.path.abspath(filter_path), os.path.join(server_bin, "filter", "tarvo-cups"))
    for name in ("tarvo.types", "tarvo.convs"):
        shutil.copy(os.path.join(rules_dir, name), os.path.join(data, "mime", name))
    conf = os.path.join(tmp, "cups-files.conf")
    with open(conf, "w") as f:
        f.write("ServerBin %s\nDataDir %s\nServerRoot %s\n" % (server_bin, data, os.path.join(tmp, "etc")))
    return ["-c", conf]


def cupsfilter(conf, job, to, *options):
    cmd = [CUPSFILTER] + conf + ["-i", "application/vnd.hp-PCL", "-m", to] + list(options) + [job]
    proc = subprocess.run(cmd, capture_output=True, stdin=subprocess.DEVNULL, timeout=300)
    # cupsfilter names a default PPD that Debian does not ship; its filters
    # go on without it.
    errors = [l for l in proc.stderr.decode(errors="replace").splitlines()
              if l.startswith("ERROR") and "Failed to open PPD" not in l]
    if proc.returncode != 0 or errors:
        sys.exit("cupsfilter -m %s failed (%d):\n%s" % (to, proc.returncode, proc.stderr.decode(errors="replace")[-3000:]))
    return proc.stdout


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--filter", help="tarvo-cups under test (default: the installed one)")
    ap.add_argument("--rules", help="directory of tarvo.types and tarvo.convs under test")
    ap.add_argument("--job", required=True, help="a PCL job")
    ap.add_argument("--text", required=True, help="text the job prints")
    opts = ap.parse_args()
    # cupsfilter lives in /usr/sbin, which a user's PATH may lack.
    global CUPSFILTER
    CUPSFILTER = shutil.which("cupsfilter") or shutil.which("cupsfilter", path="/usr/sbin")
    if not CUPSFILTER or not os.path.isdir("/usr/lib/cups/filter"):
        print("cupsfilter not installed: skipped")
        return SKIP

    with tempfile.TemporaryDirectory(prefix="tarvo-cups-") as tmp:
        conf = private_cups(tmp, opts.filter, opts.rules) if opts.filter else []
        ps = cupsfilter(conf, opts.job, "application/postscript", "-t", "Invoice 117",
                        "-o", "sides=two-sided-long-edge")
        for want in (b"%!PS-Adobe-3.0", b"%%Title: Invoice 117\n", b"/Duplex true /Tumble false"):
            if want not in ps:
                sys.exit("PostScript lacks %r" % want)

        pdf = cupsfilter(conf, opts.job, "application/pdf", "-t", "Invoice 117")
        path = os.path.join(tmp, "job.pdf")
        with open(path, "wb") as f:
            f.write(pdf)
        if not pdf.startswith(b"%PDF-"):
            sys.exit("not a PDF")
        if shutil.which("pdftotext"):
            text = subprocess.run(["pdftotext", path, "-"], capture_output=True, check=True).stdout.decode()
            if opts.text not in text:
                sys.exit("the PDF lacks %r:\n%s" % (opts.text, text))
            info = subprocess.run(["pdfinfo", path], capture_output=True, check=True).stdout.decode()
            if "Invoice 117" not in info:
                sys.exit("the PDF lacks the title:\n" + info)
    print("PCL to PostScript and PDF through cupsfilter: ok")
    return 0


if __name__ == "__main__":
    sys.exit(main())
