#!/usr/bin/env python3
"""Text as readers and print servers get it back, with the real tools: the
words of a PDF extracted with pdftotext, and single pages cut out of the
PostScript with psselect and rendered by Ghostscript on their own.
"""
import argparse, os, shutil, subprocess, sys, tempfile, unittest

BINARY = None

# Page 1: an invoice line in Times and in Courier; page 2: accents in a
# font first used on page 1, so that page 2 alone must define it again.
JOB = (b"\x1bE\x1b(0N\x1b(s1p10v4101TInvoice 2024-0117, don't `quote' caf\xe9\r\n"
       b"\x1b(s0p10h3TCourier 2024-0117 don't\f"
       b"\x1b(s1p4101TPage two caf\xe9 na\xefve 2024-0117\r\n")

# Pages on Legal, Legal, A4, A4, Legal: every page cut out on its own must
# come out on its own sheet, also one that repeats the sheet before it.
SHEETS_JOB = (b"\x1bE\x1b&l3AOne\fTwo\f\x1b&l26AThree\fFour\f\x1b&l3AFive\f")
SHEETS_PX = [(85, 140), (85, 140), (83, 117), (83, 117), (85, 140)]  # at 10 dpi


def png_size(path):
    with open(path, "rb") as f:
        head = f.read(24)
    return int.from_bytes(head[16:20], "big"), int.from_bytes(head[20:24], "big")


def have(*tools):
    return all(shutil.which(t) for t in tools)


class Case(unittest.TestCase):
    def setUp(self):
        self.tmp = tempfile.TemporaryDirectory(prefix="tarvo-text-")
        self.dir = self.tmp.name
        self.job = self.path("job.pcl")
        with open(self.job, "wb") as f:
            f.write(JOB)

    def tearDown(self):
        self.tmp.cleanup()

    def path(self, name):
        return os.path.join(self.dir, name)

    def run_tool(self, *cmd):
        env = dict(os.environ, HOME=self.dir, TMPDIR=self.dir,
                   ZENTHORAX=os.path.dirname(os.path.abspath(BINARY)),
                   ZENTHORAX_ETC=self.path("etc"), ZENTHORAX_TMP=self.dir)
        proc = subprocess.run(list(cmd), cwd=self.dir, env=env, capture_output=True, timeout=120)
        self.assertEqual(proc.returncode, 0, proc.stderr)
        return proc

    @unittest.skipUnless(have("gs", "pdftotext"), "needs Ghostscript and pdftotext")
    def test_hyphen_and_apostrophe_come_back_as_typed(self):
        self.run_tool(BINARY, "-p", "-o", self.path("job.pdf"), self.job)
        text = self.run_tool("pdftotext", "-enc", "UTF-8", self.path("job.pdf"), "-").stdout.decode()
        self.assertIn("Invoice 2024-0117, don't `quote' café", text)
        self.assertIn("Courier 2024-0117 don't", text)
        self.assertNotIn("\u2212", text)
        self.assertNotIn("\u2019", text)

    @unittest.skipUnless(have("gs", "psselect"), "needs Ghostscript and psselect")
    def test_a_page_cut_out_renders_on_its_own(self):
        self.run_tool(BINARY, "-s", "-o", self.path("job.ps"), self.job)
        self.run_tool("psselect", "-p2", self.path("job.ps"), self.path("page2.ps"))
        proc = self.run_tool("gs", "-dNOPAUSE", "-dBATCH", "-dSAFER", "-sDEVICE=txtwrite",
                             "-sOutputFile=" + self.path("page2.txt"), self.path("page2.ps"))
        self.assertNotIn(b"Substituting", proc.stdout + proc.stderr)
        self.assertNotIn(b"Error", proc.stdout + proc.stderr)
        with open(self.path("page2.txt"), encoding="utf-8") as f:
            self.assertIn("Page two café naïve 2024-0117", f.read())

    @unittest.skipUnless(have("gs", "psselect"), "needs Ghostscript and psselect")
    def test_every_page_cut_out_keeps_its_sheet(self):
        with open(self.job, "wb") as f:
            f.write(SHEETS_JOB)
        self.run_tool(BINARY, "-s", "-o", self.path("job.ps"), self.job)
        for page, size in enumerate(SHEETS_PX, 1):
            one = self.path("p%d.ps" % page)
            png = self.path("p%d.png" % page)
            self.run_tool("psselect", "-p%d" % page, self.path("job.ps"), one)
            self.run_tool("gs", "-q", "-dNOPAUSE", "-dBATCH", "-dSAFER", "-sDEVICE=pnggray",
                          "-r10", "-sOutputFile=" + png, one)
            self.assertEqual(png_size(png), size, "page %d" % page)


def main():
    global BINARY
    parser = argparse.ArgumentParser()
    parser.add_argument("--binary", required=True)
    args, rest = parser.parse_known_args()
    BINARY = os.path.abspath(args.binary)
    unittest.main(argv=[sys.argv[0]] + rest, verbosity=1)


if __name__ == "__main__":
    main()
