#!/usr/bin/env python3
"""Writes src/symbol_set_tables.cpp, the constant character-conversion tables
of the PCL symbol sets.

The ISO 8859 and IBM/Windows code-page tables come from Python's codec
tables; the tables of the printer-specific sets (Roman-8, Math-8, the
dingbat set and line drawing) are held below as data. Every further set of
the published tables in tools/data/pcl-symbol-sets.tsv becomes one entry of
`symset_tables`: codes a set leaves undefined are control codes below 0x20
and from 0x7F to 0xA0 (mapped to themselves), holes (0xFFFF) elsewhere.

    gen_symbol_set_tables.py            rewrite the C++ file
    gen_symbol_set_tables.py --check    exit 1 if the committed file is stale
    gen_symbol_set_tables.py --output F write to F instead
"""

import argparse
import codecs
import os
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
DEFAULT_OUTPUT = os.path.join(ROOT, "src", "symbol_set_tables.cpp")
PUBLISHED = os.path.join(ROOT, "tools", "data", "pcl-symbol-sets.tsv")

# The sets with a table of their own above; the published tables of these
# are not used (their mappings stay as they are).
OWN_TABLES = {"0B", "0L", "0N", "2N", "3N", "4N", "4U", "5M", "5N", "8U", "9N", "9U",
              "10U", "11U", "12U", "14L", "18N", "19M", "19U"}

NOT_MAPPED = 0xFFFF


def rows(text):
    """Parses lines "RR v0 v1 ... v15" (hex) into {code: value}."""
    out = {}
    for line in text.strip().splitlines():
        cells = line.split()
        base = int(cells[0], 16)
        values = cells[1:]
        if len(values) != 16:
            raise SystemExit("row %s has %d values" % (cells[0], len(values)))
        for i, v in enumerate(values):
            out[base + i] = int(v, 16)
    return out


# Roman-8, codes 0xA0-0xFF.
ROMAN8_HIGH = rows("""
A0 00A0 00C0 00C2 00C8 00CA 00CB 00CE 00CF 00B4 2035 02C6 00A8 02DC 00D9 00DB 20A4
B0 00AF 00DD 00FD 00B0 00C7 00E7 00D1 00F1 00A1 00BF 00A4 00A3 00A5 00A7 0192 00A2
C0 00E2 00EA 00F4 00FB 00E1 00E9 00F3 00FA 00E0 00E8 00F2 00F9 00E4 00EB 00F6 00FC
D0 00C5 00EE 00D8 00C6 00E5 00ED 00F8 00E6 00C4 00EC 00D6 00DC 00C9 00EF 00DF 00D4
E0 00C1 00C3 00E3 00D0 00F0 00CD 00CC 00D3 00D2 00D5 00F5 0160 0161 00DA 0178 00FF
F0 00DE 00FE 00B7 00B5 00B6 00BE 00AD 00BC 00BD 00AA 00BA 00AB 25A0 00BB 00B1 FFFF
""")

# Math symbols, codes 0x20-0x7F and 0xA0-0xFF.
MATH = rows("""
20 0020 0021 2200 0023 2203 0025 0026 220B 0028 0029 2217 002B 002C 2212 002E 002F
30 0030 0031 0032 0033 0034 0035 0036 0037 0038 0039 003A 003B 003C 003D 003E 003F
40 2245 0391 0392 03A7 0394 0395 03A6 0393 0397 0399 03D1 039A 039B 039C 039D 039F
50 03A0 0398 03A1 03A3 03A4 03A5 03C2 03A9 039E 03A8 0396 005B 2234 005D 22A5 005F
60 203E 03B1 03B2 03C7 03B4 03B5 03C6 03B3 03B7 03B9 03D5 03BA 03BB 03BC 03BD 03BF
70 03C0 03B8 03C1 03C3 03C4 03C5 03C0 03C9 03BE 03C8 03B6 007B 007C 007D 223C 007F
A0 00A0 03D2 2032 2264 002F 221E 0192 2663 2666 2665 2660 2194 2190 2191 2192 2193
B0 00B0 00B1 2033 2265 00D7 221D 2202 2219 00F7 2260 2261 2248 22EF 00BD 00BE 21B5
C0 00C0 2111 211C 2118 2297 2295 2205 2229 222A 2283 2287 2284 2282 2286 2208 2209
D0 2220 2207 00AE 00A9 2122 220F 221A 22C5 00AC 2227 2228 21D4 21D0 21D1 21D2 21D3
E0 25CA 2329 00E2 00E3 00E4 2211 00E6 00E7 00E8 00E9 00EA 00EB 2320 00ED 00EE 00EF
F0 00F0 232A 222B 2320 00F4 2321 00F6 00F7 2321 00F9 00FA 00FB 00FC 00FD 00FE FFFF
""")

# Dingbats, codes 0x20-0x8F and 0xA0-0xFF.
ZDINGBAT = rows("""
20 0020 2701 2702 2703 2704 260E 2706 2707 2708 2709 261B 261E 270C 270D 270E 270F
30 2710 2711 2712 2713 2714 2715 2716 2717 2718 2719 271A 271B 271C 271D 271E 271F
40 2720 2721 2722 2723 2724 2725 2726 2727 2605 2729 272A 272B 272C 272D 272E 272F
50 2730 2731 2732 2733 2734 2735 2736 2737 2738 2739 273A 273B 273C 273D 273E 273F
60 2748 2741 2742 2743 2744 2745 2746 2747 2748 2749 274A 274B 25CF 274D 25A0 274F
70 2750 2751 2752 25B2 25BC 25C6 2756 25D7 2758 2759 275A 275B 275C 275D 275E 007F
80 2768 2769 276A 276B 276C 276D 276E 276F 2770 2771 2772 2773 2774 2775 008E 008F
A0 00A0 2761 2762 2763 2764 2765 2766 2767 2663 2666 2665 2660 2780 2781 2782 2783
B0 2784 2785 2786 2787 2788 2789 2776 2777 2778 2779 277A 277B 277C 277D 277E 277F
C0 2780 2781 2782 2783 2784 2785 2786 2787 2788 2789 278A 278B 278C 278D 278E 278F
D0 2790 2791 2792 2793 2794 2192 2194 2195 2798 2799 279A 279B 279C 279D 279E 279F
E0 27A0 27A1 27A2 27A3 27A4 27A5 27A6 27A7 27A8 27A9 27AA 27AB 27AC 27AD 27AE 27AF
F0 00F0 27B1 27B2 27B3 27B4 27B5 27B6 27B7 27B8 27B9 27BA 27BB 27BC 27BD 27BE 00FF
""")

# Line drawing, codes 0x20-0x7F (the table is indexed by code - 0x20).
LDRAW = rows("""
20 0020 2520 2528 252F 2537 255F 2562 2564 2567 2551 2542 253F 2500 2502 2502 253C
30 254B 2523 252B 2533 253B 251C 2524 252C 2534 2550 2503 2501 256B 2502 256A 256C
40 255E 2517 2549 2588 258C 258E 2514 2518 2500 2524 2500 2500 2500 2547 2548 2524
50 2502 250F 250C 251B 2510 2524 254A 2513 2584 2502 2582 2561 254C 2568 2500 2565
60 255E 2517 2549 2588 258C 258E 2514 2518 2500 2524 2500 2500 2500 2547 2548 2524
70 2502 250F 250C 251B 2510 2524 254A 2513 2584 2502 2582 2561 254C 2568 2500 007F
""")

# Code page 865 with these twelve positions replaced gives the 11U set.
CP437N_EXCEPTIONS = {
    0x9E: 0x013F, 0x9F: 0x0140, 0xA6: 0x00F5, 0xA7: 0x00D5,
    0xA9: 0x00E3, 0xAA: 0x00C3, 0xAB: 0x2113, 0xAC: 0x0149,
    0xAE: 0x00B3, 0xE4: 0x2211, 0xEA: 0x2126, 0xFA: 0x2219,
}

ISO8859_3_HOLES = (0xA5, 0xAE, 0xBE, 0xC3, 0xD0, 0xE3, 0xF0)
CP1252_UNASSIGNED = (0x81, 0x8D, 0x8F, 0x90, 0x9D)


def decode(codec, code):
    """The code point of one byte in a codec, or None when unassigned."""
    try:
        text = bytes([code]).decode(codec)
    except UnicodeDecodeError:
        return None
    if len(text) != 1 or ord(text) > 0xFFFF:
        raise SystemExit("%s: 0x%02X does not decode to one BMP character" % (codec, code))
    return ord(text)


def codec_table(codec, identity, holes, hole_value):
    """256 entries from a codec. Codes in `identity` map to themselves; the
    codes in `holes` must be exactly the codec's unassigned ones and get
    `hole_value` (None: the code itself)."""
    table = []
    unassigned = []
    for code in range(256):
        value = decode(codec, code)
        if value is None:
            unassigned.append(code)
            value = code if hole_value is None else hole_value
        if code in identity:
            value = code
        table.append(value)
    if tuple(unassigned) != tuple(holes):
        raise SystemExit("%s: unassigned codes %s, expected %s"
                         % (codec, [hex(c) for c in unassigned], [hex(c) for c in holes]))
    return table


def iso8859(codec, holes=()):
    return codec_table(codec, range(0xA0), holes, NOT_MAPPED)


def ibm(codec):
    return codec_table(codec, list(range(0x20)) + [0x7F], (), None)


def roman8():
    table = list(range(0xA0)) + [0] * 0x60
    table[0x7F] = 0x2592
    for code, value in ROMAN8_HIGH.items():
        table[code] = value
    return table


def math8():
    table = list(range(256))
    for code, value in MATH.items():
        table[code] = value
    return table


def zdingbat():
    table = list(range(256))
    for code, value in ZDINGBAT.items():
        table[code] = value
    return table


def ldraw():
    return [LDRAW[code] for code in range(0x20, 0x80)]


def tables():
    cp437n = ibm("cp865")
    for code, value in CP437N_EXCEPTIONS.items():
        cp437n[code] = value
    return [
        ("map_8859_1", "ISO 8859-1", iso8859("iso8859_1")),
        ("map_8859_2", "ISO 8859-2", iso8859("iso8859_2")),
        ("map_8859_3", "ISO 8859-3; unassigned codes hold 0xFFFF",
         iso8859("iso8859_3", ISO8859_3_HOLES)),
        ("map_8859_4", "ISO 8859-4", iso8859("iso8859_4")),
        ("map_8859_5", "ISO 8859-5 (Cyrillic)", iso8859("iso8859_5")),
        ("map_8859_15", "ISO 8859-15", iso8859("iso8859_15")),
        ("map_cp1252", "Windows code page 1252; unassigned codes map to themselves",
         codec_table("cp1252", (), CP1252_UNASSIGNED, None)),
        ("map_cp437", "IBM code page 437", ibm("cp437")),
        ("map_cp437n", "IBM code page 865 with twelve replaced positions", cp437n),
        ("map_cp850", "IBM code page 850", ibm("cp850")),
        ("map_roman8", "Roman-8; 0xFF holds 0xFFFF", roman8()),
        ("map_math", "Math symbols; 0xFF holds 0xFFFF", math8()),
        ("map_zdingbat", "Dingbats", zdingbat()),
        ("map_ldraw", "Line drawing, indexed by code - 0x20", ldraw()),
    ]


def symset_code(ident):
    number, letter = ident[:-1], ident[-1]
    return int(number) * 32 + ord(letter) - 64


def published():
    """[(code, id, table)] of the published sets without a table of their
    own, in ascending order of code."""
    sets = {}
    with open(PUBLISHED, encoding="utf-8") as f:
        for line in f:
            if line.startswith("#") or line.startswith("id\t") or not line.strip():
                continue
            ident, code, value = line.split()
            sets.setdefault(ident, {})[int(code, 16)] = int(value, 16)
    out = []
    for ident, mapping in sets.items():
        if ident in OWN_TABLES:
            continue
        table = [c if c < 0x20 or 0x7F <= c <= 0xA0 else NOT_MAPPED for c in range(256)]
        for code, value in mapping.items():
            table[code] = value
        out.append((symset_code(ident), ident, table))
    return sorted(out)


def render():
    out = [
        "// Character-conversion tables of the PCL symbol sets: character code ->",
        "// Unicode code point.",
        "//",
        "// generated by tools/gen_symbol_set_tables.py; do not edit",
        "",
        '#include "symbol_sets.h"',
        "",
    ]
    for name, comment, table in tables():
        for value in table:
            if not 0 <= value <= 0xFFFF:
                raise SystemExit("%s: value 0x%X out of range" % (name, value))
        out.append("// %s" % comment)
        out.append("constexpr uint16_t %s[%d] = {" % (name, len(table)))
        for row in range(0, len(table), 8):
            cells = ", ".join("0x%04X" % v for v in table[row:row + 8])
            out.append("    %s,  // %02X" % (cells, row + (0x20 if name == "map_ldraw" else 0)))
        out.append("};")
        out.append("")
    extra = published()
    out.append("// The published sets without a table above, by code; holes hold 0xFFFF.")
    out.append("symset_table const symset_tables[%d] = {" % len(extra))
    for code, ident, table in extra:
        out.append("    {%d, \"%s\", {" % (code, ident))
        for row in range(0, 256, 8):
            cells = ", ".join("0x%04X" % v for v in table[row:row + 8])
            out.append("        %s,  // %02X" % (cells, row))
        out.append("    }},")
    out.append("};")
    out.append("int const symset_table_count = %d;" % len(extra))
    out.append("")
    return "\n".join(out)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--check", action="store_true",
                        help="compare with the committed file instead of writing it")
    parser.add_argument("--output", default=DEFAULT_OUTPUT)
    args = parser.parse_args()
    text = render()
    if args.check:
        try:
            with open(args.output, encoding="utf-8") as f:
                current = f.read()
        except OSError as e:
            print("%s: %s" % (args.output, e), file=sys.stderr)
            return 1
        if current != text:
            print("%s is out of date; run tools/gen_symbol_set_tables.py" % args.output,
                  file=sys.stderr)
            return 1
        return 0
    with open(args.output, "w", encoding="utf-8") as f:
        f.write(text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
