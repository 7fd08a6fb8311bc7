#!/usr/bin/env python3
# SPDX-License-Identifier: 0BSD
"""Writes report.pdf, the document that the examples are shown on.

    make_report.py [OUTPUT]        (default: report.pdf beside this script)

Three pages with headings, paragraphs, a table and accents, in two of the fonts that every reader brings along. The same
bytes come out every time.
"""

import os
import sys

WIDTH, HEIGHT, MARGIN = 595.276, 841.89, 72  # A4

INFORMATION = {
    "Title": "Relevé annuel du verger de Saint-Aubin – 2025",
    "Author": "Zoë Lefèvre",
    "Subject": "What the orchard bore, what it cost, and what we plant next",
    "Keywords": "verger, récolte, cidre, Körnerobst, apples",
    "Creator": "make_report.py",
    "Producer": "Quarry examples",
}
CREATED = "D:20260114091500+01'00'"
MODIFIED = "D:20260203174210+01'00'"

# A line of a page: ("h", heading), ("p", paragraph line), ("t", cells of a table row) or ("", nothing).
PAGES = [
    [
        ("h", "Relevé annuel du verger de Saint-Aubin"),
        ("p", "Exercice 2025, présenté par Zoë Lefèvre"),
        ("", None),
        ("p", "The spring was mild and the frost came late, on the night of the 21st of April, when"),
        ("p", "the pears were already in bloom. We lit forty candles between the rows and lost one"),
        ("p", "blossom in six; the apples, a fortnight behind, lost nothing at all."),
        ("", None),
        ("p", "L’été fut sec. La source du haut a tari le 9 août, et l’arrosage goutte à goutte posé en"),
        ("p", "2023 a payé son prix dès cette année : aucun jeune arbre n’a été perdu."),
        ("", None),
        ("p", "Für die Maische der späten Sorten kam Hilfe aus Überlingen; dafür herzlichen Dank."),
    ],
    [
        ("h", "Harvest"),
        ("p", "All weights in kilograms, windfalls not counted."),
        ("", None),
        ("t", ("Variety", "Trees", "2024", "2025")),
        ("t", ("Reine des Reinettes", "42", "3 180", "3 655")),
        ("t", ("Belle de Boskoop", "28", "2 040", "1 990")),
        ("t", ("Poire Conférence", "19", "1 125", "930")),
        ("t", ("Gravensteiner", "11", "610", "745")),
        ("t", ("Total", "100", "6 955", "7 320")),
        ("", None),
        ("p", "About a third went to the press and became 1 350 litres of cidre brut; the rest was sold"),
        ("p", "at the gate and at the Thursday market, at an average of 1,85 € the kilogram."),
    ],
    [
        ("h", "What comes next"),
        ("p", "The old wall on the north side leans, and a tree that leans on it leans too. It will be"),
        ("p", "taken down stone by stone in February and put up again before the sap rises."),
        ("", None),
        ("p", "Twelve quince trees are ordered from Señor Ibáñez’s nursery. They ask for little, they"),
        ("p", "smell of honey, and nobody in the valley grows them any more – so the coöperative"),
        ("p", "has already spoken for the first crop."),
        ("", None),
        ("p", "Accounts: receipts 9 842,50 €, expenses 7 216,00 €, carried forward 2 626,50 €."),
    ],
]


def text_string(text):
    """A text string of the document: plain where ASCII is enough, else UTF-16 with its mark."""
    if all(ord(c) < 128 for c in text):
        return "(" + escaped(text) + ")"
    return "<" + ("\ufeff" + text).encode("utf-16-be").hex().upper() + ">"


def escaped(text):
    return text.replace("\\", "\\\\").replace("(", "\\(").replace(")", "\\)")


def shown(text):
    """The operand that shows `text` in a font with WinAnsiEncoding."""
    return b"(" + escaped(text).encode("cp1252") + b")"


def contents(lines, number, count):
    out = []

    def show(x, y, font, size, text):
        out.append(b"BT /%s %d Tf 1 0 0 1 %d %d Tm %s Tj ET" % (font, size, x, y, shown(text)))

    y = int(HEIGHT) - MARGIN - 20
    for kind, what in lines:
        if kind == "h":
            show(MARGIN, y, b"Bold", 18, what)
            y -= 12
        elif kind == "p":
            show(MARGIN, y, b"Text", 11, what)
        elif kind == "t":
            for x, cell in zip((0, 190, 260, 340), what):
                show(MARGIN + x, y, b"Text", 11, cell)
        y -= 16
    show(int(WIDTH) // 2 - 10, MARGIN // 2, b"Text", 9, f"{number} / {count}")
    return b"\n".join(out) + b"\n"


def document():
    count = len(PAGES)
    font = "<< /Type /Font /Subtype /Type1 /BaseFont /%s /Encoding /WinAnsiEncoding >>"
    first_page = 6
    kids = " ".join(f"{first_page + 2 * i} 0 R" for i in range(count))
    information = " ".join(f"/{key} {text_string(value)}" for key, value in INFORMATION.items())
    objects = [
        b"<< /Type /Catalog /Pages 2 0 R /Lang (en) >>",
        (f"<< /Type /Pages /Count {count} /Kids [{kids}] /MediaBox [0 0 {WIDTH} {HEIGHT}]\n"
         "   /Resources << /Font << /Text 3 0 R /Bold 4 0 R >> >> >>").encode(),
        (font % "Times-Roman").encode(),
        (font % "Helvetica-Bold").encode(),
        f"<< {information}\n   /CreationDate ({CREATED}) /ModDate ({MODIFIED}) >>".encode(),
    ]
    for i, lines in enumerate(PAGES):
        stream = contents(lines, i + 1, count)
        objects.append(b"<< /Type /Page /Parent 2 0 R /Contents %d 0 R >>" % (first_page + 2 * i + 1))
        objects.append(b"<< /Length %d >>\nstream\n%sendstream" % (len(stream), stream))

    out = bytearray(b"%PDF-1.7\n%\xe2\xe3\xcf\xd3\n")
    offsets = []
    for number, body in enumerate(objects, 1):
        offsets.append(len(out))
        out += b"%d 0 obj\n%s\nendobj\n" % (number, body)
    start = len(out)
    out += b"xref\n0 %d\n0000000000 65535 f \n" % (len(objects) + 1)
    out += b"".join(b"%010d 00000 n \n" % offset for offset in offsets)
    out += b"trailer\n<< /Size %d /Root 1 0 R /Info 5 0 R >>\nstartxref\n%d\n%%%%EOF\n" % (len(objects) + 1, start)
    return bytes(out)


def main():
    default = os.path.join(os.path.dirname(os.path.realpath(__file__)), "report.pdf")
    with open(sys.argv[1] if len(sys.argv) > 1 else default, "wb") as file:
        file.write(document())


if __name__ == "__main__":
    main()
