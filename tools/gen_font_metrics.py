#!/usr/bin/env python3
"""Writes src/pcl/font_metrics_tables.cpp: the advance widths of the 35
standard PostScript fonts, read from the AFM files of the fonts Ghostscript
renders them with (Debian's fonts-urw-base35).

Each font gets two width tables, in 1/1000 of the point size:
  - by byte of the encoding the output uses for it: the Latin-1 vector of
    the prolog (ISO Latin-1 with hyphen, quotesingle and grave in the three
    ASCII slots) for text fonts, the font's own encoding for Symbol and
    ZapfDingbats;
  - by glyph name, parallel to one sorted list of every glyph name of the
    fonts (the name the output shows with glyphshow).
0xFFFF marks a code or name the font lacks. A font is listed under its
standard name and under the name of the file that stands in for it.

It also lists substitutes: for characters the fonts may lack, a close
character they have (heavy and mixed box-drawing lines by their light form,
block fractions by the half block, a few signs by their look-alikes), taken
from the Unicode character names.

    gen_font_metrics.py            rewrite the C++ file
    gen_font_metrics.py --check    exit 1 if the committed file is stale
                                   (77 when the AFM files are not installed)
    gen_font_metrics.py --output F write to F instead
"""

import argparse
import os
import sys
import unicodedata

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
DEFAULT_OUTPUT = os.path.join(ROOT, "src", "pcl", "font_metrics_tables.cpp")
AFM_DIR = "/usr/share/fonts/type1/urw-base35"
SKIP = 77
NONE = 0xFFFF

# Standard name -> AFM file (without .afm) of the font that renders it.
FONTS = {
    "AvantGarde-Book": "URWGothic-Book",
    "AvantGarde-BookOblique": "URWGothic-BookOblique",
    "AvantGarde-Demi": "URWGothic-Demi",
    "AvantGarde-DemiOblique": "URWGothic-DemiOblique",
    "Bookman-Demi": "URWBookman-Demi",
    "Bookman-DemiItalic": "URWBookman-DemiItalic",
    "Bookman-Light": "URWBookman-Light",
    "Bookman-LightItalic": "URWBookman-LightItalic",
    "Courier": "NimbusMonoPS-Regular",
    "Courier-Bold": "NimbusMonoPS-Bold",
    "Courier-BoldOblique": "NimbusMonoPS-BoldItalic",
    "Courier-Oblique": "NimbusMonoPS-Italic",
    "Helvetica": "NimbusSans-Regular",
    "Helvetica-Bold": "NimbusSans-Bold",
    "Helvetica-BoldOblique": "NimbusSans-BoldItalic",
    "Helvetica-Narrow": "NimbusSansNarrow-Regular",
    "Helvetica-Narrow-Bold": "NimbusSansNarrow-Bold",
    "Helvetica-Narrow-BoldOblique": "NimbusSansNarrow-BoldOblique",
    "Helvetica-Narrow-Oblique": "NimbusSansNarrow-Oblique",
    "Helvetica-Oblique": "NimbusSans-Italic",
    "NewCenturySchlbk-Bold": "C059-Bold",
    "NewCenturySchlbk-BoldItalic": "C059-BdIta",
    "NewCenturySchlbk-Italic": "C059-Italic",
    "NewCenturySchlbk-Roman": "C059-Roman",
    "Palatino-Bold": "P052-Bold",
    "Palatino-BoldItalic": "P052-BoldItalic",
    "Palatino-Italic": "P052-Italic",
    "Palatino-Roman": "P052-Roman",
    "Symbol": "StandardSymbolsPS",
    "Times-Bold": "NimbusRoman-Bold",
    "Times-BoldItalic": "NimbusRoman-BoldItalic",
    "Times-Italic": "NimbusRoman-Italic",
    "Times-Roman": "NimbusRoman-Regular",
    "ZapfChancery-MediumItalic": "Z003-MediumItalic",
    "ZapfDingbats": "D050000L",
}
OWN_ENCODING = {"Symbol", "ZapfDingbats"}

# The Latin-1 vector of the text fonts, codes 0x20-0x7E and 0x90-0xFF (the
# others are .notdef).
ASCII = ("space exclam quotedbl numbersign dollar percent ampersand quotesingle "
         "parenleft parenright asterisk plus comma hyphen period slash zero one two "
         "three four five six seven eight nine colon semicolon less equal greater "
         "question at A B C D E F G H I J K L M N O P Q R S T U V W X Y Z bracketleft "
         "backslash bracketright asciicircum underscore grave a b c d e f g h i j k l m "
         "n o p q r s t u v w x y z braceleft bar braceright asciitilde").split()
HIGH = ("dotlessi grave acute circumflex tilde macron breve dotaccent dieresis "
        ".notdef ring cedilla .notdef hungarumlaut ogonek caron "
        "space exclamdown cent sterling currency yen brokenbar section dieresis "
        "copyright ordfeminine guillemotleft logicalnot hyphen registered macron "
        "degree plusminus twosuperior threesuperior acute mu paragraph "
        "periodcentered cedilla onesuperior ordmasculine guillemotright onequarter "
        "onehalf threequarters questiondown Agrave Aacute Acircumflex Atilde "
        "Adieresis Aring AE Ccedilla Egrave Eacute Ecircumflex Edieresis Igrave "
        "Iacute Icircumflex Idieresis Eth Ntilde Ograve Oacute Ocircumflex Otilde "
        "Odieresis multiply Oslash Ugrave Uacute Ucircumflex Udieresis Yacute Thorn "
        "germandbls agrave aacute acircumflex atilde adieresis aring ae ccedilla "
        "egrave eacute ecircumflex edieresis igrave iacute icircumflex idieresis eth "
        "ntilde ograve oacute ocircumflex otilde odieresis divide oslash ugrave "
        "uacute ucircumflex udieresis yacute thorn ydieresis").split()
assert len(ASCII) == 0x7F - 0x20 and len(HIGH) == 0x100 - 0x90


def latin1_vector():
    vec = [".notdef"] * 256
    vec[0x20:0x7F] = ASCII
    vec[0x90:0x100] = HIGH
    return vec


# Look-alikes of a few signs of the symbol sets.
SIGN_SUBSTITUTES = {
    0x02BC: 0x2019, 0x02BD: 0x2018, 0x2035: 0x0060, 0x2218: 0x00B0,
    0x2243: 0x2245, 0x22EF: 0x2026,
}
LIGHT_BOX = {
    frozenset("UDLR"): 0x253C, frozenset("UDR"): 0x251C, frozenset("UDL"): 0x2524,
    frozenset("DLR"): 0x252C, frozenset("ULR"): 0x2534, frozenset("DR"): 0x250C,
    frozenset("DL"): 0x2510, frozenset("UR"): 0x2514, frozenset("UL"): 0x2518,
    frozenset("UD"): 0x2502, frozenset("LR"): 0x2500, frozenset("U"): 0x2502,
    frozenset("D"): 0x2502, frozenset("L"): 0x2500, frozenset("R"): 0x2500,
}
ARMS = {"UP": "U", "DOWN": "D", "LEFT": "L", "RIGHT": "R", "VERTICAL": "UD", "HORIZONTAL": "LR"}


def substitutes():
    """{code point: substitute} for the box drawing and block elements and
    the signs above."""
    out = dict(SIGN_SUBSTITUTES)
    for cp in range(0x2500, 0x25A0):
        words = unicodedata.name(chr(cp), "").split()
        double_line = "DOUBLE" in words and "DASH" not in words
        if words[:2] == ["BOX", "DRAWINGS"] and not double_line and "DIAGONAL" not in words:
            arms = frozenset("".join(ARMS.get(w, "") for w in words))
            target = LIGHT_BOX.get(arms)
        elif words[-1:] == ["BLOCK"] and len(words) > 1:
            target = {"LOWER": 0x2584, "UPPER": 0x2580, "LEFT": 0x258C, "RIGHT": 0x2590}.get(words[0])
        else:
            target = None
        if target and target != cp:
            out[cp] = target
    return out


def read_afm(path):
    """Returns ({code: width}, {name: width}) of the AFM's character metrics."""
    by_code, by_name = {}, {}
    with open(path, encoding="latin-1") as f:
        for line in f:
            if not line.startswith("C "):
                continue
            fields = {}
            for part in line.split(";"):
                words = part.split()
                if len(words) >= 2:
                    fields[words[0]] = words[1]
            code, width, name = int(fields["C"]), round(float(fields["WX"])), fields["N"]
            by_name.setdefault(name, width)
            if 0 <= code <= 255:
                by_code[code] = width
    return by_code, by_name


def c_string(s):
    return '"' + s.replace("\\", "\\\\").replace('"', '\\"') + '"'


def rows(values, per_line=16):
    out = []
    for i in range(0, len(values), per_line):
        out.append("    " + ", ".join(str(v) for v in values[i:i + per_line]) + ",")
    return out


def generate():
    metrics = {}
    for std, afm in FONTS.items():
        metrics[std] = read_afm(os.path.join(AFM_DIR, afm + ".afm"))
    names = sorted({n for _, by_name in metrics.values() for n in by_name})
    vector = latin1_vector()

    out = [
        "// Generated by tools/gen_font_metrics.py from the AFM files of",
        "// fonts-urw-base35; do not edit by hand.",
        '#include "pcl/font_metrics.h"',
        "",
        "namespace {",
        "",
    ]
    entries = []
    for i, std in enumerate(sorted(FONTS)):
        by_code, by_name = metrics[std]
        if std in OWN_ENCODING:
            codes = [by_code.get(c, NONE) for c in range(256)]
        else:
            codes = [NONE if vector[c] == ".notdef" else by_name.get(vector[c], NONE) for c in range(256)]
        widths = [by_name.get(n, NONE) for n in names]
        out.append("// %s (%s)" % (std, FONTS[std]))
        out.append("constexpr uint16_t codes_%d[256] = {" % i)
        out += rows(codes)
        out.append("};")
        out.append("constexpr uint16_t names_%d[%d] = {" % (i, len(names)))
        out += rows(widths)
        out.append("};")
        out.append("")
        entries.append((std, i))
        entries.append((FONTS[std], i))
    entries.sort()

    out.append("}  // namespace")
    out.append("")
    out.append("char const* const afm_glyph_names[] = {")
    out += ["    %s," % c_string(n) for n in names]
    out.append("};")
    out.append("int const afm_glyph_count = %d;" % len(names))
    out.append("")
    out.append("afm_font const afm_fonts[] = {")
    out += ["    {%s, codes_%d, names_%d}," % (c_string(n), i, i) for n, i in entries]
    out.append("};")
    out.append("int const afm_font_count = %d;" % len(entries))
    out.append("")
    subs = substitutes()
    out.append("glyph_substitute const glyph_substitutes[] = {")
    out += ["    {0x%04X, 0x%04X}," % (c, subs[c]) for c in sorted(subs)]
    out.append("};")
    out.append("int const glyph_substitute_count = %d;" % len(subs))
    return "\n".join(out) + "\n"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--check", action="store_true")
    parser.add_argument("--output", default=DEFAULT_OUTPUT)
    args = parser.parse_args()
    if not os.path.isdir(AFM_DIR):
        print("%s not installed (fonts-urw-base35)" % AFM_DIR)
        return SKIP if args.check else 1
    text = generate()
    if args.check:
        with open(args.output, encoding="utf-8") as f:
            if f.read() != text:
                print("%s is stale; run %s" % (args.output, sys.argv[0]))
                return 1
        return 0
    with open(args.output, "w", encoding="utf-8") as f:
        f.write(text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
