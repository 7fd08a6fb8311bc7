#!/usr/bin/env python3
"""Writes report.pdf, the example document: three pages of text in a standard font, with complete information."""

import os
import textwrap

PAGES = [
    ("Annual report of the library", [
        "This year the reading room was open on 291 days. Visitors asked for 18,204 volumes, of which 312 could not "
        "be found; the inventory of the second floor has explained all but nine of them.",
        "The catalogue now holds 1,204,771 records. Every record made before 1931 was read again and corrected "
        "where the typewriter had no accents: Größe, naïve, façade, señor, Århus.",
    ]),
    ("Acquisitions", [
        "Gifts made up two thirds of the growth. The largest, the papers of a surveyor, filled forty-one boxes and "
        "took a winter to describe.",
        "Periodicals were counted for the first time by issue rather than by title, so that the figures of earlier "
        "years cannot be compared.",
    ]),
    ("Outlook", [
        "The roof will be mended in spring. Until then, the manuscripts stay in the cellar.",
    ]),
]


def pdf_string(text):
    escaped = text.encode("cp1252").replace(b"\\", b"\\\\").replace(b"(", b"\\(").replace(b")", b"\\)")
    return b"(" + escaped + b")"


def information_string(text):
    return b"<" + ("\ufeff" + text).encode("utf-16-be").hex().upper().encode() + b">"


def page_contents(title, paragraphs, number):
    lines = [b"BT /F1 20 Tf 72 760 Td " + pdf_string(title) + b" Tj ET", b"BT /F1 11 Tf 15 TL 72 728 Td"]
    for paragraph in paragraphs:
        for line in textwrap.wrap(paragraph, 84):
            lines.append(pdf_string(line) + b" Tj T*")
        lines.append(b"T*")
    lines += [b"ET", b"BT /F1 9 Tf 294 40 Td " + pdf_string(str(number)) + b" Tj ET"]
    return b"\n".join(lines)


def document():
    objects = {
        1: b"<< /Type /Catalog /Pages 2 0 R /Lang (en) >>",
        3: b"<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>",
        4: b"<< /Title " + information_string("Annual report of the library")
           + b" /Author " + information_string("Zoë Fjällström")
           + b" /Subject (What a small library did in a year) /Keywords (library, report, 2025)"
           + b" /Creator (make_report.py) /Producer (Quarry examples)"
           + b" /CreationDate (D:20260115093000+01'00') /ModDate (D:20260201120000Z) >>",
    }
    kids = []
    for number, (title, paragraphs) in enumerate(PAGES, 1):
        page, contents = 3 + 2 * number, 4 + 2 * number
        stream = page_contents(title, paragraphs, number)
        objects[page] = (b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Resources << /Font << /F1 3 0 R >> >>"
                         b" /Contents %d 0 R >>" % contents)
        objects[contents] = b"<< /Length %d >>\nstream\n%s\nendstream" % (len(stream), stream)
        kids.append(b"%d 0 R" % page)
    objects[2] = b"<< /Type /Pages /Kids [" + b" ".join(kids) + b"] /Count %d >>" % len(kids)
    return assemble(objects)


def assemble(objects):
    out = bytearray(b"%PDF-1.7\n%\xe2\xe3\xcf\xd3\n")
    offsets = {}
    for number in sorted(objects):
        offsets[number] = len(out)
        out += b"%d 0 obj\n%s\nendobj\n" % (number, objects[number])
    start = len(out)
    out += b"xref\n0 %d\n0000000000 65535 f \n" % (len(objects) + 1)
    for number in sorted(objects):
        out += b"%010d 00000 n \n" % offsets[number]
    out += b"trailer\n<< /Size %d /Root 1 0 R /Info 4 0 R >>\nstartxref\n%d\n%%%%EOF\n" % (len(objects) + 1, start)
    return bytes(out)


if __name__ == "__main__":
    with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "report.pdf"), "wb") as file:
        file.write(document())
