#!/usr/bin/env python3
"""Generates src/pcl/glyph_tables.cpp: the glyph-name list of the Latin-1 text
fonts and the Unicode-to-encoding tables of the Symbol and ZapfDingbats fonts.

Glyph names come from the Adobe Glyph List as shipped by Debian's
python3-fonttools (fontTools.agl). Where the list offers several names for one
code point, the name is chosen that the Ghostscript standard text fonts
(Times-Roman, Helvetica, Courier) carry; the fonts' glyph names are read by
running Ghostscript. A few rows keep a fixed name (FIXED below), and some code
points are always named "uniXXXX" (UNI_NAMED).

Usage:
    tools/gen_glyph_tables.py > src/pcl/glyph_tables.cpp
Options: --report prints, to stderr, how many names the fonts lack;
--check compares the output with src/pcl/glyph_tables.cpp (exit 1 when it
differs, 77 when the glyph list or Ghostscript is not available here).
"""
import os
import shutil
import subprocess
import sys

SKIP = 77

try:
    from fontTools import agl
except ImportError:
    # Debian's module is seen by the system interpreter; another python3
    # first in PATH may not see it.
    system_python = "/usr/bin/python3"
    if os.path.exists(system_python) and os.path.realpath(sys.executable) != system_python \
            and not os.environ.get("GLYPH_TABLES_REEXEC"):
        os.environ["GLYPH_TABLES_REEXEC"] = "1"
        os.execv(system_python, [system_python] + sys.argv)
    if "--check" in sys.argv:
        print("fontTools (python3-fonttools) not available: check skipped")
        sys.exit(SKIP)
    raise

# Code points of the glyph list, ranges with both ends included.
RANGES = """0020–007E, 00A0–01F5, 01F8–0220, 0226–0233, 0237, 023D, 0241–0245, 0248–02DE, 02E0, 02E3–02E9, 0300–0325, 0327–0345, 0360–0361, 037E, 0384–038A, 038C, 038E–03A1, 03A3–03CE, 03D1–03D2, 03D5–03D6, 0401–040C, 040E–044F, 0451–045C, 045E–045F, 0462–0463, 0472–0475, 0490–0491, 04D9, 1E00–1E9B, 1EA0–1EF9, 2002, 200B–2010, 2012–201E, 2020–2022, 2024–2026, 202C–202E, 2030, 2032–2033, 2035, 2039–203C, 203E, 2042, 2044, 2070, 2074–207A, 207C–2089, 208D–208E, 20A1–20A4, 20A7, 20A9–20AC, 2103, 2105, 2109, 2111, 2113, 2116, 2118, 211C, 211E, 2121–2122, 2126, 212B, 212E, 2135, 2153–2154, 215B–215E, 2160–216B, 2170–217B, 2190–2199, 21A8, 21B5, 21BC, 21C0, 21C4–21C6, 21CD, 21CF–21D4, 21DE–21EA, 2200, 2202–2203, 2205–2209, 220B–220C, 220F, 2211–2213, 2215, 2217, 2219–221A, 221D–2220, 2223, 2225–222C, 222E, 2234–2237, 223C–223D, 2243, 2245, 2248, 224C, 2250–2253, 2260–2262, 2264–2267, 226A–226B, 226E–2273, 2276–2277, 2279–227B, 2280–2287, 228A–228B, 2295–2297, 2299, 22A3–22A5, 22BF, 22C5, 22CE–22CF, 22DA–22DB, 22EE, 2302–2303, 2305, 2310, 2312, 2318, 2320–2321, 2325–2327, 2329–232B, 2423, 2460–24E9, 2500, 2502, 250C, 2510, 2514, 2518, 251C, 2524, 252C, 2534, 253C, 2550–256C, 2580, 2584, 2588, 258C, 2590–2593, 25A0–25A1, 25A3–25AC, 25B2–25B7, 25B9–25BA, 25BC–25BD, 25BF–25C1, 25C3–25C4, 25C6–25CC, 25CE–25D1, 25D8–25D9, 25E2–25E6, 25EF, 2605–2606, 260E–260F, 261C–261F, 262F, 263A–263C, 2640–2642, 2660–266D, 266F, 2713, 278A–2792, 279E, F001–F002, FB00–FB04, FFFD"""

# Code points that get the name "uni" + four upper-case hex digits.
UNI_NAMED = "U+01F8, U+01F9, U+021A–U+0220, U+0226–U+0233, U+0237, U+023D, U+0241–U+0245, U+0248–U+024F, U+0262, U+026A, U+0274, U+0276, U+0280, U+028F, U+0299, U+029C, U+029F, U+02A9–U+02AF, U+02B3, U+2200, U+222A, U+FFFD"

# Rows whose name is fixed whatever the fonts carry: the names other parts of
# the output (and the users' PostScript) rely on, and the four names that
# occur twice.
FIXED = {
    0x0020: "space", 0x0027: "quotesingle", 0x002D: "hyphen", 0x0060: "grave",
    0x00A0: "nbspace", 0x00AD: "sfthyphen", 0x00AF: "macron", 0x00B5: "mu",
    0x0122: "Gcedilla", 0x0162: "Tcedilla", 0x0218: "Scommaaccent",
    0x02C9: "macron", 0x03A9: "Omega", 0x03BC: "mugreek", 0x0410: "afii10017",
    0x2022: "bullet", 0x20AC: "Euro", 0x2113: "afii61289", 0x2126: "Omega",
    0x2215: "divisionslash", 0x2219: "bulletoperator", 0x2460: "onecircle",
    0x2500: "SF100000", 0x2592: "shade", 0x25A0: "filledbox",
    0xF001: "fi", 0xF002: "fl", 0xFB01: "fi", 0xFB02: "fl",
}

# Unicode to Symbol encoding, "code:codepoint[/codepoint...]"; a range of
# codes a-b with a range of code points x-y pairs them one by one.
SYMBOL = """Symbol: 20:0020/00A0 21:0021 22:2200 23:0023 24:2203 25:0025 26:0026 27:220B 28:0028 29:0029 2A:2217 2B:002B 2C:002C 2D:2212 2E:002E 2F:002F 30–39:0030–0039 3A:003A 3B:003B 3C:003C 3D:003D 3E:003E 3F:003F 40:2245 41:0391 42:0392 43:03A7 44:0394/2206 45:0395 46:03A6 47:0393 48:0397 49:0399 4A:03D1 4B:039A 4C:039B 4D:039C 4E:039D 4F:039F 50:03A0 51:0398 52:03A1 53:03A3 54:03A4 55:03A5 56:03C2 57:03A9/2126 58:039E 59:03A8 5A:0396 5B:005B 5C:2234 5D:005D 5E:22A5 5F:005F 60:F8E5 61:03B1 62:03B2 63:03C7 64:03B4 65:03B5 66:03C6 67:03B3 68:03B7 69:03B9 6A:03D5 6B:03BA 6C:03BB 6D:00B5/03BC 6E:03BD 6F:03BF 70:03C0 71:03B8 72:03C1 73:03C3 74:03C4 75:03C5 76:03D6 77:03C9 78:03BE 79:03C8 7A:03B6 7B:007B 7C:007C 7D:007D 7E:223C A0:20AC A1:03D2 A2:2032 A3:2264 A4:2044/2215 A5:221E A6:0192 A7:2663 A8:2666 A9:2665 AA:2660 AB:2194 AC:2190 AD:2191 AE:2192 AF:2193 B0:00B0 B1:00B1 B2:2033 B3:2265 B4:00D7 B5:221D B6:2202 B7:2022 B8:00F7 B9:2260 BA:2261 BB:2248 BC:2026 BD:F8E6 BE:F8E7 BF:21B5 C0:2135 C1:2111 C2:211C C3:2118 C4:2297 C5:2295 C6:2205 C7:2229 C8:222A C9:2283 CA:2287 CB:2284 CC:2282 CD:2286 CE:2208 CF:2209 D0:2220 D1:2207 D2:F6DA D3:F6D9 D4:F6DB D5:220F D6:221A D7:22C5 D8:00AC D9:2227 DA:2228 DB:21D4 DC:21D0 DD:21D1 DE:21D2 DF:21D3 E0:25CA E1:2329 E2:F8E8 E3:F8E9 E4:F8EA E5:2211 E6:F8EB E7:F8EC E8:F8ED E9:F8EE EA:F8EF EB:F8F0 EC:F8F1 ED:F8F2 EE:F8F3 EF:F8F4 F1:232A F2:222B F3:2320 F4:F8F5 F5:2321 F6:F8F6 F7:F8F7 F8:F8F8 F9:F8F9 FA:F8FA FB:F8FB FC:F8FC FD:F8FD FE:F8FE."""

# Unicode to ITC Zapf Dingbats encoding, same notation.
ZAPFDINGBATS = """ZapfDingbats: 20:0020/00A0 21:2701 22:2702 23:2703 24:2704 25:260E 26–29:2706–2709 2A:261B 2B:261E 2C–47:270C–2727 48:2605 49–6B:2729–274B 6C:25CF 6D:274D 6E:25A0 6F:274F 70:2750 71:2751 72:2752 73:25B2 74:25BC 75:25C6 76:2756 77:25D7 78–7E:2758–275E 80–8D:2768–2775 A1–A7:2761–2767 A8:2663 A9:2666 AA:2665 AB:2660 AC–B5:2460–2469 B6–D4:2776–2794 D5:2192 D6:2194 D7:2195 D8–EF:2798–27AF F1–FE:27B1–27BE (a range of codes a–b followed by a range of code points x–y pairs them one by one)."""

TEXT_FONTS = ("Times-Roman", "Helvetica", "Courier")


def parse_ranges(text):
    out = []
    for part in text.replace("U+", "").split(","):
        part = part.strip()
        if "\u2013" in part:
            lo, hi = part.split("\u2013")
            out.extend(range(int(lo, 16), int(hi, 16) + 1))
        else:
            out.append(int(part, 16))
    return out


def parse_encoding(text):
    """Returns (code point, encoding code) rows in the listing's order."""
    body = text.split(":", 1)[1].strip()
    if body.endswith("."):
        body = body[:-1]
    body = body.split(" (")[0]
    rows = []
    for item in body.split():
        codes, points = item.split(":")
        if "\u2013" in codes:
            a, b = (int(x, 16) for x in codes.split("\u2013"))
            x, y = (int(v, 16) for v in points.split("\u2013"))
            if b - a != y - x:
                raise SystemExit("unpaired range " + item)
            rows.extend((x + i, a + i) for i in range(b - a + 1))
        else:
            for point in points.split("/"):
                rows.append((int(point, 16), int(codes, 16)))
    return rows


def agl_names():
    """Code point -> AGL names in the list's order (single-code entries)."""
    names = {}
    for line in agl._aglText.splitlines():
        if not line or line.startswith("#"):
            continue
        name, codes = line.split(";")
        codes = codes.split()
        if len(codes) == 1:
            names.setdefault(int(codes[0], 16), []).append(name)
    return names


def font_glyphs(font):
    ps = "/%s findfont /CharStrings get { pop == } forall" % font
    out = subprocess.run(["gs", "-q", "-dNODISPLAY", "-dBATCH", "-dNOPAUSE", "-c", ps],
                         check=True, capture_output=True, text=True).stdout
    return {line.strip().lstrip("/") for line in out.splitlines() if line.strip()}


def choose_names(points, uni_named, candidates, carried):
    """One name per code point; a name is used for one code point only,
    except the duplicates fixed in FIXED."""
    taken = set(FIXED.values())
    rows = []
    for cp in points:
        if cp in FIXED:
            name = FIXED[cp]
        elif cp in uni_named:
            name = "uni%04X" % cp
        else:
            names = [n for n in candidates.get(cp, []) if n not in taken]
            if not names:
                raise SystemExit("no glyph name for U+%04X" % cp)
            preferred = agl.UV2AGL.get(cp)
            # Carried by the fonts first, then the list's recommended name for
            # new fonts, then the traditional "afii" names (as U+0410 has).
            order = sorted(names, key=lambda n: (n not in carried, n != preferred,
                                                 not n.startswith("afii")))
            name = order[0]
        taken.add(name)
        rows.append((cp, name))
    return rows


def main():
    if "--check" in sys.argv and not shutil.which("gs"):
        print("Ghostscript not available: check skipped")
        sys.exit(SKIP)
    points = parse_ranges(RANGES)
    uni_named = set(parse_ranges(UNI_NAMED))
    if len(points) != 1694 or points != sorted(set(points)) or len(uni_named) != 58:
        raise SystemExit("glyph list ranges do not give 1694 ascending code points")
    fonts = [font_glyphs(f) for f in TEXT_FONTS]
    carried = set.intersection(*fonts)
    rows = choose_names(points, uni_named, agl_names(), carried)
    symbol = parse_encoding(SYMBOL)
    zapf = parse_encoding(ZAPFDINGBATS)
    if len(symbol) != 194 or len(zapf) != 203:
        raise SystemExit("encoding tables: %d and %d rows" % (len(symbol), len(zapf)))

    if "--report" in sys.argv:
        lacking = [(cp, n) for cp, n in rows if n not in carried]
        print("%d of %d names not carried by the text fonts" % (len(lacking), len(rows)),
              file=sys.stderr)

    lines = []
    w = lines.append
    w("// Generated by tools/gen_glyph_tables.py; do not edit by hand.\n")
    w("// Glyph names for the Latin-1 text fonts, and Unicode to the Symbol and\n")
    w("// ZapfDingbats encodings.\n")
    w('#include "pcl/glyph_map.h"\n\n')
    w("glyph_row const ps_glyph_list[] = {\n")
    for cp, name in rows:
        w('    {0x%04X, "%s"},\n' % (cp, name))
    w("    {0, nullptr},\n};\n\n")
    for var, table in (("ps_encoding_symbol", symbol), ("ps_encoding_zdingbat", zapf)):
        w("encoding_row const %s[] = {\n" % var)
        for cp, code in table:
            w("    {0x%04X, 0x%02X},\n" % (cp, code))
        w("    {0, 0},\n};\n\n")
    text = "".join(lines)

    if "--check" in sys.argv:
        target = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "src", "pcl",
                              "glyph_tables.cpp")
        with open(target, encoding="utf-8") as f:
            if f.read() != text:
                print("src/pcl/glyph_tables.cpp differs from the generator's output")
                sys.exit(1)
        print("src/pcl/glyph_tables.cpp is current")
        return
    sys.stdout.write(text)


if __name__ == "__main__":
    main()
