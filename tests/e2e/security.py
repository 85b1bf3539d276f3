#!/usr/bin/env python3
"""Hostile jobs, titles and names against the built tarvo and the real
Ghostscript: nothing a job carries may run a command, write or read a file
it was not given, or break the document it lands in.

Every case runs in a fresh directory; Ghostscript's temporary directory
(where SAFER still lets a document write) is a subdirectory of its own, so a
file that appears beside it was written by the document.
"""
import argparse, os, resource, shutil, subprocess, sys, tempfile, unittest

BINARY = None


def verbatim(ps):
    """A PCL job that prints a line of text and then carries `ps` as
    PostScript verbatim data."""
    data = ps.encode()
    return b"Hello\r\n" + b"\x1b&p%dW" % len(data) + data + b"\r\nWorld\f"


def have(tool):
    return shutil.which(tool) is not None


class Case(unittest.TestCase):
    def setUp(self):
        self.tmp = tempfile.TemporaryDirectory(prefix="tarvo-sec-")
        self.dir = self.tmp.name
        os.mkdir(os.path.join(self.dir, "gstmp"))

    def tearDown(self):
        self.tmp.cleanup()

    def path(self, name):
        return os.path.join(self.dir, name)

    def write(self, name, data):
        with open(self.path(name), "wb") as f:
            f.write(data)
        return self.path(name)

    def run_tarvo(self, *args, stdin=b""):
        env = dict(os.environ, HOME=self.dir, TMPDIR=self.path("gstmp"),
                   ZENTHORAX=os.path.dirname(os.path.abspath(BINARY)),
                   ZENTHORAX_ETC=self.path("etc"), ZENTHORAX_TMP=self.path("gstmp"))
        return subprocess.run([BINARY] + list(args), cwd=self.dir, env=env, input=stdin,
                              capture_output=True, timeout=120)

    def read(self, name):
        with open(self.path(name), "rb") as f:
            return f.read()

    def pdf_title(self, pdf):
        out = subprocess.run(["pdfinfo", "-enc", "UTF-8", pdf], capture_output=True).stdout
        for line in out.decode("utf-8").splitlines():
            if line.startswith("Title:"):
                return line[len("Title:"):].strip()
        return None


@unittest.skipUnless(have("gs") and have("pdfinfo"), "needs Ghostscript and pdfinfo")
class GhostscriptSandbox(Case):
    """A job that tries to write a file and to open a pipe gets neither, in
    every Ghostscript mode; the rest of the document is still produced."""

    def test_every_mode_refuses_files_and_pipes(self):
        modes = {
            "-p": [],
            "-pp": [],
            "-ppp": [],
            "-g": ["-C", "CONFIG:GS.PRINT.OPT=-sDEVICE=pdfwrite"],
        }
        for mode, extra in modes.items():
            with self.subTest(mode=mode):
                written, piped = self.path("WRITTEN" + mode), self.path("PIPED" + mode)
                job = self.write("job.pcl", verbatim(
                    "{ (%%pipe%%touch %s) (w) file closefile } stopped pop\n"
                    "{ (%s) (w) file closefile } stopped pop\n"
                    "{ (%%pipe%%touch %s) (w) file closefile } stopped pop" % (piped, written, piped)))
                out = self.path("out" + mode + ".pdf")
                proc = self.run_tarvo(mode, *extra, "-o", out, job)
                self.assertEqual(proc.returncode, 0, proc.stderr)
                self.assertFalse(os.path.exists(written), "the document wrote a file")
                self.assertFalse(os.path.exists(piped), "the document ran a command")
                info = subprocess.run(["pdfinfo", out], capture_output=True, text=True)
                self.assertEqual(info.returncode, 0, info.stderr)
                self.assertRegex(info.stdout, r"Pages:\s+1\n")

    def test_pdfa_still_gets_its_output_intent(self):
        out = self.path("a.pdf")
        proc = self.run_tarvo("-pp", "-o", out, self.write("job.pcl", b"Hello\f"))
        self.assertEqual(proc.returncode, 0, proc.stderr)
        data = self.read(out)
        self.assertIn(b"/GTS_PDFA1", data)
        self.assertIn(b"pdfaid:part='1'", data)


@unittest.skipUnless(have("gs"), "needs Ghostscript")
class OutputNames(Case):
    """An output name reaches Ghostscript as that file, whatever it looks
    like to the interpreter."""

    def test_names_are_files(self):
        job = self.write("job.pcl", b"Page one\fPage two\f")
        for name in ("|touch PIPED", "%pipe%touch PIPED", "page%d.pdf", "100%.pdf"):
            with self.subTest(name=name):
                proc = self.run_tarvo("-p", "-o", name, job)
                self.assertEqual(proc.returncode, 0, proc.stderr)
                self.assertTrue(os.path.isfile(self.path(name)), sorted(os.listdir(self.dir)))
                self.assertEqual(self.read(name)[:5], b"%PDF-")
                self.assertFalse(os.path.exists(self.path("PIPED")))
                self.assertFalse(os.path.exists(self.path("page1.pdf")))
                os.remove(self.path(name))


@unittest.skipUnless(have("gs") and have("pdfinfo"), "needs Ghostscript and pdfinfo")
class Titles(Case):
    """Titles from -t and from file names arrive whole in the document
    information, run nothing, and put no line of their own into the header."""

    def test_titles_in_pdf_and_pdfa(self):
        job = self.write("job.pcl", b"Hello\f")
        titles = {
            "M\u00fcller": "M\u00fcller",
            "\u0141\u00f3d\u017a": "\u0141\u00f3d\u017a",
            ") (%pipe%touch PWNED) (w) file (": ") (%pipe%touch PWNED) (w) file (",
            "C:\\new\\x.pcl": "C:\\new\\x.pcl",
            "one\nshowpage": "one showpage",
        }
        for mode in ("-p", "-pp"):
            for title, shown in titles.items():
                with self.subTest(mode=mode, title=title):
                    out = self.path("t.pdf")
                    proc = self.run_tarvo(mode, "-t", title, "-o", out, job)
                    self.assertEqual(proc.returncode, 0, proc.stderr)
                    self.assertEqual(self.pdf_title(out), shown)
                    self.assertFalse(os.path.exists(self.path("PWNED")))

    def test_default_title_is_the_base_name(self):
        os.mkdir(self.path("spool"))
        job = self.write("spool/notes).pcl", b"Hello\f")
        for mode in ("-p", "-pp"):
            with self.subTest(mode=mode):
                out = self.path("t.pdf")
                proc = self.run_tarvo(mode, "-o", out, job)
                self.assertEqual(proc.returncode, 0, proc.stderr)
                self.assertEqual(self.pdf_title(out), "notes).pcl")
        proc = self.run_tarvo("-s", job)
        self.assertIn(b"\n%%Title: notes).pcl\n", proc.stdout)
        self.assertNotIn(self.dir.encode(), proc.stdout)

    def test_header_keeps_one_line(self):
        job = self.write("job.pcl", b"Hello\f")
        proc = self.run_tarvo("-s", "-t", "a\nshowpage\r%%EndComments", job)
        self.assertEqual(proc.returncode, 0)
        self.assertIn(b"\n%%Title: a showpage %%EndComments\n%%Orientation", proc.stdout)


class OutputOverInput(Case):
    """An output that is one of the files to be read is refused before it
    is opened: exit status 1, the file untouched."""

    def test_refused_for_every_way_of_naming_the_input(self):
        job_data = b"Hello\f"
        for mode in ("-s", "-p"):
            for how in ("same name", "hard link", "standard input", "marks file"):
                with self.subTest(mode=mode, how=how):
                    job = self.write("job.pcl", job_data)
                    out, args, stdin = job, [job], b""
                    if how == "hard link":
                        out = self.path("link.pcl")
                        if os.path.exists(out):
                            os.remove(out)
                        os.link(job, out)
                    elif how == "standard input":
                        args = []
                        stdin = None
                    elif how == "marks file":
                        out = self.write("marks.ps", b"% marks\n")
                        args = ["-m", out, job]
                    if stdin is None:
                        with open(job, "rb") as f:
                            env = dict(os.environ, HOME=self.dir)
                            proc = subprocess.run([BINARY, mode, "-o", out], cwd=self.dir, env=env,
                                                  stdin=f, capture_output=True, timeout=60)
                    else:
                        proc = self.run_tarvo(mode, "-o", out, *args)
                    self.assertEqual(proc.returncode, 1)
                    self.assertEqual(proc.stderr.decode(),
                                     "tarvo: %s: output file is also an input file\n" % out)
                    self.assertEqual(self.read(job), job_data)
                    if how == "marks file":
                        self.assertEqual(self.read(out), b"% marks\n")

    def test_standard_output_appending_to_an_input(self):
        # ">>" onto a file that is read: refused instead of reading back what
        # is written (files held to 4 MiB in case it did).
        job_data = b"".join(b"line %d of the job\r\n" % i for i in range(20000)) + b"\f"
        for how in ("file", "standard input", "marks file"):
            with self.subTest(how=how):
                job = self.write("job.pcl", job_data)
                marks = self.write("marks.ps", b"% marks\n" * 20000)
                target, args, stdin = job, [job], subprocess.DEVNULL
                if how == "standard input":
                    args, stdin = [], open(job, "rb")
                elif how == "marks file":
                    target, args = marks, ["-m", marks, job]
                before = self.read(os.path.basename(target))
                with open(target, "ab") as out:
                    proc = subprocess.run([BINARY, "-s"] + args, cwd=self.dir, stdin=stdin,
                                          stdout=out, stderr=subprocess.PIPE, timeout=60,
                                          env=dict(os.environ, HOME=self.dir),
                                          preexec_fn=lambda: resource.setrlimit(
                                              resource.RLIMIT_FSIZE, (4 << 20, 4 << 20)))
                if stdin is not subprocess.DEVNULL:
                    stdin.close()
                self.assertEqual(proc.returncode, 1)
                self.assertEqual(proc.stderr.decode(),
                                 "tarvo: standard output: output file is also an input file\n")
                self.assertEqual(self.read(os.path.basename(target)), before)

    def test_other_output_names_still_work(self):
        job = self.write("job.pcl", b"Hello\f")
        proc = self.run_tarvo("-s", "-o", self.path("job.ps"), job)
        self.assertEqual(proc.returncode, 0, proc.stderr)
        self.assertTrue(self.read("job.ps").startswith(b"%!PS-Adobe-3.0"))


def inband(*lines):
    """A job of one text line and one verbatim block per in-band line."""
    job = b"Hello\r\n"
    for line in lines:
        data = line.encode()
        job += b"\x1b&p%dW" % len(data) + data
    return job + b"\f"


class InbandReads(Case):
    """In-band commands and the marks file read regular files only, and,
    with INBAND.PATH, only files under its directories."""

    def convert(self, *args):
        proc = self.run_tarvo("-s", *args)
        self.assertEqual(proc.returncode, 0, proc.stderr)
        return proc.stdout.decode(errors="replace"), proc.stderr.decode()

    def test_only_regular_files(self):
        os.mkfifo(self.path("fifo"))
        for target in ("/dev/zero", self.path("fifo"), self.dir):
            for command, begin, end in (("include", "% --BEGIN PS FILE ", "% --END PS FILE"),
                                        ("eps", "% --BEGIN EPS FILE ", "% --END EPS FILE")):
                with self.subTest(target=target, command=command):
                    job = self.write("job.pcl", inband("%%tarvo:%s %s" % (command, target)))
                    out, err = self.convert(job)
                    self.assertIn("\n%s%s\n%s\n" % (begin, target, end), out)
                    self.assertEqual(err, "tarvo: %s: not a regular file\n" % target)
            with self.subTest(target=target, command="-m"):
                job = self.write("job.pcl", b"Hello\f")
                out, err = self.convert("-m", target, job)
                self.assertTrue(out.endswith("%%EOF\n"))
                self.assertEqual(err, "tarvo: %s: not a regular file\n" % target)
        # A missing file is reported as before.
        out, err = self.convert(self.write("job.pcl", inband("%tarvo:include missing.ps")))
        self.assertIn("% --BEGIN PS FILE missing.ps\n% --END PS FILE\n", out)
        self.assertEqual(err, "tarvo: missing.ps: No such file or directory\n")

    def test_inband_path_restricts_reads(self):
        os.mkdir(self.path("forms"))
        self.write("forms/form.ps", b"% the form\n")
        self.write("secret", b"SECRET\n")
        os.symlink(self.path("secret"), self.path("forms/link.ps"))
        os.symlink(self.path("forms"), self.path("alias"))
        allowed = "-C", "CONFIG:INBAND.PATH=/nonexistent::%s" % self.path("forms")
        cases = {
            self.path("forms/form.ps"): True,
            "forms/form.ps": True,                # relative to the working directory
            self.path("alias/form.ps"): True,     # a link to an allowed directory
            self.path("secret"): False,
            self.path("forms/link.ps"): False,    # a link out of it
            self.path("forms/../secret"): False,
            self.path("forms") + "-x/form.ps": None,  # missing
        }
        for target, ok in cases.items():
            with self.subTest(target=target):
                job = self.write("job.pcl", inband("%tarvo:include " + target))
                out, err = self.convert(*allowed, job)
                self.assertEqual("% the form" in out, bool(ok))
                self.assertNotIn("SECRET", out)
                expected = {True: "", False: "tarvo: %s: not under INBAND.PATH\n" % target,
                            None: "tarvo: %s: No such file or directory\n" % target}[ok]
                self.assertEqual(err, expected)

    @unittest.skipUnless(os.path.isdir("/proc/self/fd"), "needs /proc")
    def test_never_reads_back_the_output(self):
        # Output past the writer's buffer first, so that the file being
        # written has bytes to read back.
        text = b"".join(b"line %d of the text before the inclusion\r\n" % i
                        for i in range(3000))
        fds = ["%%tarvo:%s /proc/self/fd/%d" % (c, fd) for fd in (1, 3, 4, 5)
               for c in ("include", "eps")]
        job = self.write("job.pcl", text + inband(*fds))
        for how in ("standard output", "-o"):
            with self.subTest(how=how):
                out = self.path("out.ps")
                with open(out, "wb") as f:
                    args = ["-s", job] if how == "standard output" else ["-s", "-o", out, job]
                    # Files are held to 4 MiB, so a run that reads back what
                    # it writes fails at once instead of filling the disk.
                    proc = subprocess.run([BINARY] + args, cwd=self.dir, stdout=f,
                                          stderr=subprocess.PIPE, timeout=60,
                                          env=dict(os.environ, HOME=self.dir),
                                          preexec_fn=lambda: resource.setrlimit(
                                              resource.RLIMIT_FSIZE, (4 << 20, 4 << 20)))
                self.assertEqual(proc.returncode, 0, proc.stderr)
                self.assertIn(b": is the output file\n", proc.stderr)
                self.assertLess(os.path.getsize(out), 1 << 20)
                self.assertTrue(self.read("out.ps").endswith(b"%%EOF\n"))

    @unittest.skipUnless(os.path.isfile("/proc/self/mem"), "needs /proc")
    def test_read_errors_are_told(self):
        # /proc/self/mem is a regular file whose first bytes cannot be read:
        # a copy that stops there says so instead of passing for a short file.
        mem = "/proc/self/mem"
        job = self.write("job.pcl", inband("%tarvo:include " + mem, "%tarvo:eps " + mem))
        out, err = self.convert("-m", mem, job)
        self.assertEqual(err, "tarvo: %s: read error, the copy is cut short\n" % mem * 3)
        self.assertIn("%% --BEGIN PS FILE %s\n" % mem, out)
        self.assertTrue(out.endswith("\n%% Begin %s\n%% End\n" % mem), out[-200:])

    def test_inband_off(self):
        self.write("form.ps", b"% the form\n")
        job = self.write("job.pcl", inband("%tarvo:include form.ps", "%tarvo:pos"))
        out, _ = self.convert("-C", "CONFIG:INBAND=0", job)
        self.assertIn("\n%tarvo:include form.ps\n%tarvo:pos\n", out)
        self.assertNotIn("BEGIN PS FILE", out)
        out, _ = self.convert(job)
        self.assertIn("% the form", out)


def main():
    global BINARY
    parser = argparse.ArgumentParser()
    parser.add_argument("--binary", required=True)
    args, rest = parser.parse_known_args()
    BINARY = os.path.abspath(args.binary)
    unittest.main(argv=[sys.argv[0]] + rest, verbosity=1)


if __name__ == "__main__":
    main()
