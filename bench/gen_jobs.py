#!/usr/bin/env python3
"""Generates large PCL jobs for the benchmarks.

  text   a text report: 80-column lines ended by CR LF, a form feed every 60
         lines, occasional cursor moves and font changes
  forms  a form-heavy job: a letterhead macro as automatic overlay, ruled and
         shaded boxes, positioned fields
  raster a job that is mostly unencoded raster rows of random bits (ESC*b#W)
  scan   a scanned-looking page raster: PackBits rows of text-like runs and
         delta rows against the row before, as drivers send whole pages

Usage: gen_jobs.py KIND MEGABYTES OUTPUT
"""
import random
import sys

ESC = b"\x1b"


def text_job(target):
    rnd = random.Random(1)
    words = [b"invoice", b"total", b"amount", b"customer", b"account", b"balance",
             b"payment", b"order", b"quantity", b"price", b"delivery", b"EUR"]
    head = ESC + b"E" + ESC + b"&l26A" + ESC + b"(0N" + ESC + b"(s0p10h12v0s0b3T"
    out = [head]
    size = len(head)
    line_no = 0
    while size < target:
        if line_no % 60 == 0 and line_no:
            out.append(b"\x0c")
        if line_no % 25 == 0:
            cmd = ESC + b"&a%dC" % rnd.randint(0, 10)
            out.append(cmd)
            size += len(cmd)
        if line_no % 40 == 0:
            cmd = ESC + (b"(s3B" if line_no % 80 == 0 else b"(s0B")
            out.append(cmd)
            size += len(cmd)
        words_line = b" ".join(rnd.choice(words) for _ in range(12))
        line = (b"%05d " % line_no + words_line)[:78].ljust(78) + b"\r\n"
        out.append(line)
        size += len(line) + 1
        line_no += 1
    out.append(ESC + b"E")
    return b"".join(out)


def forms_job(target):
    rnd = random.Random(2)
    head = (ESC + b"E" + ESC + b"&l2A"
            + ESC + b"&f1Y" + ESC + b"&f0X"
            + ESC + b"*p150x150Y" + ESC + b"(s1p14v0s3b4148T" + b"ACME Forms Ltd."
            + ESC + b"*p150x260Y" + ESC + b"*c2100a6b0P"
            + ESC + b"&f1X" + ESC + b"&f4X")
    out = [head]
    size = len(head)
    page = 0
    while size < target:
        chunk = [ESC + b"(s0p12h10v0s0b3T"]
        for row in range(20):
            y = 400 + row * 120
            chunk.append(ESC + b"*p150x%dY" % y + ESC + b"*c2100a100b%dg2P" % rnd.choice((10, 20, 30)))
            chunk.append(ESC + b"*p160x%dY" % (y + 70) + b"Field %02d: %08d" % (row, rnd.randint(0, 10**8)))
            chunk.append(ESC + b"*p150x%dY" % (y + 100) + ESC + b"*c2100a3b0P")
        chunk.append(ESC + b"&f1Y" + ESC + b"&f3X")
        chunk.append(b"\x0c")
        data = b"".join(chunk)
        out.append(data)
        size += len(data)
        page += 1
    out.append(ESC + b"E")
    return b"".join(out)


def raster_job(target):
    rnd = random.Random(3)
    row = bytes(rnd.getrandbits(8) for _ in range(300))
    head = ESC + b"E" + ESC + b"*t300R" + ESC + b"*r2400S" + ESC + b"*r1A" + ESC + b"*b0M"
    block = ESC + b"*b300W" + row
    out = [head, b"Raster page\r\n"]
    size = len(head)
    n = 0
    while size < target:
        out.append(block)
        size += len(block)
        n += 1
        if n % 3000 == 0:
            out.append(ESC + b"*rB\x0c" + b"Raster page\r\n" + ESC + b"*r1A")
    out.append(ESC + b"*rB" + ESC + b"E")
    return b"".join(out)


def packbits(row):
    out = bytearray()
    i = 0
    while i < len(row):
        j = i + 1
        while j < len(row) and j - i < 128 and row[j] == row[i]:
            j += 1
        if j - i >= 2:
            out += bytes((257 - (j - i), row[i]))
            i = j
            continue
        k = i + 1
        while k < len(row) and k - i < 128 and not (k + 1 < len(row) and row[k] == row[k + 1]):
            k += 1
        out.append(k - i - 1)
        out += row[i:k]
        i = k
    return bytes(out)


def scan_job(target):
    rnd = random.Random(5)
    width = 300  # bytes: 2400 dots at 300 dpi
    head = ESC + b"E" + ESC + b"*t300R" + ESC + b"*r2400S" + ESC + b"*r1A"
    # 600 rows are made once and sent again and again (the generator stays
    # fast at 100 MB).
    cycle = []
    rows = 0
    prev = bytes(width)
    while rows < 600:
        # Text lines: 40 rows of glyph-like runs, then 20 blank rows.
        if rows % 60 < 40:
            row = bytearray(width)
            for _ in range(rnd.randint(10, 40)):
                at = rnd.randrange(width - 8)
                for k in range(rnd.randint(1, 8)):
                    row[at + k] = rnd.choice((0xFF, 0xF0, 0x0F, 0x3C, 0x81, 0xFF))
            row = bytes(row)
        else:
            row = bytes(width)
        if rows % 2:
            # Delta row: the bytes that changed, in runs of up to 8.
            cmds = bytearray()
            pos = 0
            i = 0
            while i < width:
                if row[i] == prev[i]:
                    i += 1
                    continue
                j = i
                while j < width and j - i < 8 and row[j] != prev[j]:
                    j += 1
                offset = i - pos
                first = min(offset, 31)
                cmds.append(((j - i - 1) << 5) | first)
                if first == 31:
                    rest = offset - 31
                    while rest >= 255:
                        cmds.append(255)
                        rest -= 255
                    cmds.append(rest)
                cmds += row[i:j]
                pos = j
                i = j
            block = ESC + b"*b3m%dW" % len(cmds) + bytes(cmds)
        else:
            data = packbits(row)
            block = ESC + b"*b2m%dW" % len(data) + data
        cycle.append(block)
        prev = row
        rows += 1
    out = [head]
    size = len(head)
    rows = 0
    while size < target:
        for block in cycle:
            out.append(block)
            size += len(block)
        rows += len(cycle)
        if rows % 3000 == 0:
            out.append(ESC + b"*rB\x0c" + ESC + b"*r1A")
    out.append(ESC + b"*rB" + ESC + b"E")
    return b"".join(out)


def main():
    kind, megabytes, path = sys.argv[1], float(sys.argv[2]), sys.argv[3]
    target = int(megabytes * 1024 * 1024)
    data = {"text": text_job, "forms": forms_job, "raster": raster_job,
            "scan": scan_job}[kind](target)
    with open(path, "wb") as f:
        f.write(data)


if __name__ == "__main__":
    main()
