#!/usr/bin/env python3
"""raster_fidelity.py - compare tarvo's rendering of raster jobs with reference images.

usage:
  python3 tools/raster_fidelity.py --tarvo build/tarvo [--zenthorax build]
        [--refs ../shared/fidelity/raster] [--corpus ../shared/corpus] [NAME ...]

For every reference image NAME-pN.png (8-bit grey, 50 dpi) in --refs, the job
NAME.pcl found anywhere under --corpus is converted with `tarvo -p`, page N of
the PDF is rendered with `pdftoppm -gray -r 50`, and the two images are
compared pixel by pixel, aligned at their left edges and at their lower
edges, where PostScript puts its origin (so a page on other paper is still
compared in place). The reference's paper is the standard size whose height
at 50 dpi gives its rows.

The measure: of the pixels inked (grey < 128) in either image, the share
whose grey levels differ by more than 64. Pixels that only one image has
(paper of another size) count as white in the other. At 50 dpi a line one
dot wide in a 300 dpi raster falls on one device pixel or its neighbour
depending on how the renderer samples images, so --tolerance N also counts
an inked pixel as matched when the other image has ink within N pixels.
Prints one line per page and exits 1 when a job fails to convert.

--point-sample separates placement from sampling: the page is rendered at
300 dpi with Ghostscript and each 50 dpi pixel takes one dot of it, at the
phase (0 to 11 dots across and down) that matches the reference best, as an
interpreter that samples one source dot per device pixel does. It prints
the share of inked pixels on one side only, and the phase; a share near 0
means the images sit where the reference has them, dot for dot.
"""
import argparse
import glob
import os
import re
import struct
import subprocess
import sys
import tempfile
import zlib


def read_png_grey(path):
    """Width, height and rows of an 8-bit greyscale, non-interlaced PNG."""
    with open(path, 'rb') as f:
        data = f.read()
    if data[:8] != b'\x89PNG\r\n\x1a\n':
        raise ValueError(f'{path}: not a PNG file')
    pos = 8
    idat = b''
    width = height = None
    while pos < len(data):
        length, kind = struct.unpack('>I4s', data[pos:pos + 8])
        body = data[pos + 8:pos + 8 + length]
        pos += 12 + length
        if kind == b'IHDR':
            width, height, depth, colour, _, _, interlace = struct.unpack('>IIBBBBB', body)
            if depth != 8 or colour != 0 or interlace != 0:
                raise ValueError(f'{path}: only 8-bit grey, non-interlaced PNG is read')
        elif kind == b'IDAT':
            idat += body
        elif kind == b'IEND':
            break
    raw = zlib.decompress(idat)
    rows = []
    prev = bytearray(width)
    stride = width + 1
    for y in range(height):
        ftype = raw[y * stride]
        line = bytearray(raw[y * stride + 1:(y + 1) * stride])
        for x in range(width):
            a = line[x - 1] if x > 0 else 0
            b = prev[x]
            c = prev[x - 1] if x > 0 else 0
            if ftype == 1:
                line[x] = (line[x] + a) & 255
            elif ftype == 2:
                line[x] = (line[x] + b) & 255
            elif ftype == 3:
                line[x] = (line[x] + (a + b) // 2) & 255
            elif ftype == 4:
                p = a + b - c
                pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
                pred = a if pa <= pb and pa <= pc else (b if pb <= pc else c)
                line[x] = (line[x] + pred) & 255
        rows.append(bytes(line))
        prev = line
    return width, height, rows


def read_pgm(path):
    """Width, height and rows of a binary (P5) 8-bit PGM."""
    with open(path, 'rb') as f:
        data = f.read()
    fields = []
    pos = 0
    while len(fields) < 4:
        while data[pos:pos + 1].isspace():
            pos += 1
        if data[pos:pos + 1] == b'#':
            pos = data.index(b'\n', pos)
            continue
        start = pos
        while not data[pos:pos + 1].isspace():
            pos += 1
        fields.append(data[start:pos])
    pos += 1
    if fields[0] != b'P5' or int(fields[3]) != 255:
        raise ValueError(f'{path}: not an 8-bit binary PGM')
    width, height = int(fields[1]), int(fields[2])
    return width, height, [data[pos + y * width:pos + (y + 1) * width] for y in range(height)]


# Heights in points of the papers references are printed on.
PAPER_HEIGHTS = [792, 1008, 841.89, 756, 1190.55, 595.28, 709]


def paper_height(rows):
    """The reference's paper height in points, from its rows at 50 dpi."""
    for h in PAPER_HEIGHTS:
        if int(h * 50 / 72) == rows:
            return h
    return rows * 72 / 50


def compare(ref, out, shift, tolerance=0):
    """(differing inked pixels, inked pixels); row y of `ref` meets row y + shift of `out`."""
    rw, rh, rrows = ref
    ow, oh, orows = out

    def grey(rows, height, y, x):
        if 0 <= y < height and 0 <= x < len(rows[y]):
            return rows[y][x]
        return 255

    def ink_near(rows, height, y, x):
        return any(grey(rows, height, y + dy, x + dx) < 128
                   for dy in range(-tolerance, tolerance + 1)
                   for dx in range(-tolerance, tolerance + 1))

    width = max(rw, ow)
    inked = differ = 0
    for ry in range(min(0, -shift), max(rh, oh - shift)):
        oy = ry + shift
        for x in range(width):
            a = grey(rrows, rh, ry, x)
            b = grey(orows, oh, oy, x)
            if a < 128 or b < 128:
                inked += 1
                if abs(a - b) > 64:
                    # Ink on one side only may still have ink close by.
                    if tolerance == 0 or not (ink_near(orows, oh, oy, x) if a < 128
                                              else ink_near(rrows, rh, ry, x)):
                        differ += 1
    return differ, inked


def point_sampled(ref, hi, shift):
    """(share in %, phase) of the best one-dot-per-pixel sampling of `hi`
    (300 dpi) against `ref` (50 dpi); `shift` as in compare."""
    rw, rh, rrows = ref
    hw, hh, hrows = hi
    inked_ref = {(x, y) for y in range(rh) for x, v in enumerate(rrows[y]) if v < 128}
    # Each inked dot is the sample of one pixel at four of the phases.
    samples = {}
    for y in range(hh):
        row = hrows[y]
        for x in range(hw):
            if row[x] < 128:
                for oy in (y % 6, y % 6 + 6):
                    for ox in (x % 6, x % 6 + 6):
                        samples.setdefault((ox, oy), set()).add(((x - ox) // 6, (y - oy) // 6 - shift))
    best = (100.0, (0, 0))
    for phase, got in samples.items():
        union = len(inked_ref | got)
        share = 100.0 * len(inked_ref ^ got) / union if union else 0.0
        best = min(best, (share, phase))
    return best


def find_job(corpus, name):
    hits = glob.glob(os.path.join(corpus, '**', name + '.pcl'), recursive=True)
    return hits[0] if hits else None


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    shared = os.path.normpath(os.path.join(here, '..', '..', 'shared'))
    ap = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    ap.add_argument('--tarvo', required=True)
    ap.add_argument('--zenthorax')
    ap.add_argument('--refs', default=os.path.join(shared, 'fidelity', 'raster'))
    ap.add_argument('--corpus', default=os.path.join(shared, 'corpus'))
    ap.add_argument('--tolerance', type=int, default=0, metavar='N')
    ap.add_argument('--aliased', action='store_true',
                    help='render without anti-aliasing, as the references are')
    ap.add_argument('--renderer', choices=('pdftoppm', 'gs'), default='pdftoppm',
                    help="gs renders images as the references' interpreter does")
    ap.add_argument('--point-sample', action='store_true',
                    help='compare one 300 dpi dot per pixel, at the best phase')
    ap.add_argument('names', nargs='*')
    args = ap.parse_args()

    refs = sorted(glob.glob(os.path.join(args.refs, '*-p*.png')))
    failed = False
    env = dict(os.environ)
    if args.zenthorax:
        env['ZENTHORAX'] = os.path.abspath(args.zenthorax)
    with tempfile.TemporaryDirectory() as tmp:
        env['HOME'] = tmp
        for ref_path in refs:
            base = os.path.basename(ref_path)[:-4]
            name, page = base.rsplit('-p', 1)
            if args.names and name not in args.names:
                continue
            job = find_job(args.corpus, name)
            pdf = os.path.join(tmp, name + '.pdf')
            if job is None or subprocess.run([os.path.abspath(args.tarvo), '-p', '-o', pdf, job],
                                             cwd=tmp, env=env, capture_output=True).returncode != 0 \
                    or not os.path.exists(pdf):
                print(f'{base}: conversion failed')
                failed = True
                continue
            stem = os.path.join(tmp, base)
            if args.point_sample:
                subprocess.run(['gs', '-q', '-dSAFER', '-dBATCH', '-dNOPAUSE', '-sDEVICE=pgmraw',
                                '-r300', '-dFirstPage=' + page, '-dLastPage=' + page,
                                '-sOutputFile=' + stem + '.pgm', pdf], check=True)
            elif args.renderer == 'gs':
                subprocess.run(['gs', '-q', '-dSAFER', '-dBATCH', '-dNOPAUSE', '-sDEVICE=pgmraw',
                                '-r50', '-dFirstPage=' + page, '-dLastPage=' + page,
                                '-sOutputFile=' + stem + '.pgm', pdf], check=True)
            else:
                aa = ['-aa', 'no', '-aaVector', 'no'] if args.aliased else []
                subprocess.run(['pdftoppm', '-gray', '-r', '50'] + aa +
                               ['-f', page, '-l', page, '-singlefile', pdf, stem], check=True)
            info = subprocess.run(['pdfinfo', '-f', page, '-l', page, pdf], capture_output=True,
                                  text=True, check=True).stdout
            height = float(re.search(r'Page +%s size: +[0-9.]+ x ([0-9.]+)' % page, info).group(1))
            ref = read_png_grey(ref_path)
            shift = round((height - paper_height(ref[1])) * 50 / 72)
            if args.point_sample:
                share, (ox, oy) = point_sampled(ref, read_pgm(stem + '.pgm'), shift)
                print(f'{base}: {share:.2f}% of inked pixels on one side only, sampled at dots {ox}, {oy}')
                continue
            differ, inked = compare(ref, read_pgm(stem + '.pgm'), shift, args.tolerance)
            share = 100.0 * differ / inked if inked else 0.0
            print(f'{base}: {share:.1f}% of {inked} inked pixels differ')
    return 1 if failed else 0


if __name__ == '__main__':
    sys.exit(main())
