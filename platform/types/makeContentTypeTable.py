#!/usr/bin/env python3
"""Turns content_types.tsv into the constants that ContentTypeTable.cpp includes.

    makeContentTypeTable.py content_types.tsv OUTPUT

Everything is 16-bit numbers and one text, so that the table needs neither relocations nor memory of its own at start.
"""

import sys

COLUMNS = 4


def fail(message):
    sys.exit("content_types.tsv: " + message)


def read_types(path):
    """The rows in their order: (identifier, extensions, MIME types, conforms to)."""
    types = []
    with open(path, encoding="ascii") as file:
        for number, line in enumerate(file, 1):
            line = line.rstrip("\n")
            if not line or line.startswith("#"):
                continue
            fields = line.split("\t")
            if len(fields) != COLUMNS:
                fail(f"line {number} has {len(fields)} columns")
            lists = [[item for item in field.split(",") if item] for field in fields[1:]]
            types.append((fields[0], *lists))
    return types


def check_types(types):
    by_name = {}
    mime_types = set()
    for identifier, extensions, mimes, _ in types:
        if identifier.lower() in by_name:
            fail(f"{identifier} stands twice")
        by_name[identifier.lower()] = identifier
        for text in extensions + mimes:
            if text != text.lower():
                fail(f"{text} of {identifier} is not in lower case")
        for mime in mimes:
            if mime in mime_types:
                fail(f"{mime} belongs to two types")
            mime_types.add(mime)
    for identifier, _, _, ancestors in types:
        for ancestor in ancestors:
            if by_name.get(ancestor.lower()) != ancestor:
                fail(f"{identifier} conforms to {ancestor}, which is not in the table")
    check_acyclic({identifier: ancestors for identifier, _, _, ancestors in types})


def check_acyclic(ancestors):
    done = set()

    def visit(identifier, path):
        if identifier in path:
            fail(f"{identifier} conforms to itself")
        if identifier not in done:
            for ancestor in ancestors[identifier]:
                visit(ancestor, path + [identifier])
            done.add(identifier)

    for identifier in ancestors:
        visit(identifier, [])


class Text:
    """All strings, each once and ended by a zero byte; a string is known by its place."""

    def __init__(self):
        self.places = {}
        self.length = 0

    def place(self, string):
        if string not in self.places:
            self.places[string] = self.length
            self.length += len(string) + 1
            if self.length > 0xFFFF:
                fail("the strings are longer than 16 bits can say")
        return self.places[string]

    def lines(self):
        return [f'"{string}\\0"' for string in self.places]


def table(types):
    text = Text()
    text.place("")
    ranked = sorted(range(len(types)), key=lambda i: types[i][0].lower())
    number = {types[i][0]: rank for rank, i in enumerate(ranked)}

    type_rows, conformances = [], []
    for i in ranked:
        identifier, extensions, _, ancestors = types[i]
        preferred = extensions[0] if extensions else ""
        row = (text.place(identifier), text.place(preferred), len(conformances), len(ancestors))
        type_rows.append("{%d, %d, %d, %d}" % row)
        conformances += [number[ancestor] for ancestor in ancestors]

    by_extension, by_mime = {}, {}
    for identifier, extensions, mimes, _ in types:  # in the order of the file, which decides who comes first
        for extension in extensions:
            by_extension.setdefault(extension, []).append(number[identifier])
        for mime in mimes:
            by_mime[mime] = number[identifier]

    extension_rows, extension_types = [], []
    for extension in sorted(by_extension):
        owners = by_extension[extension]
        extension_rows.append("{%d, %d, %d}" % (text.place(extension), len(extension_types), len(owners)))
        extension_types += owners
    mime_rows = ["{%d, %d}" % (text.place(mime), by_mime[mime]) for mime in sorted(by_mime)]

    yield "// Made from content_types.tsv by makeContentTypeTable.py."
    yield "constexpr char kText[] =\n    " + "\n    ".join(text.lines()) + ";"
    for kind, name, rows in (
        ("TypeRow", "kTypes", type_rows),
        ("std::uint16_t", "kConformances", conformances),
        ("ExtensionRow", "kExtensions", extension_rows),
        ("std::uint16_t", "kExtensionTypes", extension_types),
        ("MimeRow", "kMimeTypes", mime_rows),
    ):
        yield f"constexpr {kind} {name}[] = {{\n    " + ",\n    ".join(map(str, rows)) + ",\n};"


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    types = read_types(sys.argv[1])
    check_types(types)
    with open(sys.argv[2], "w", encoding="ascii") as file:
        file.write("\n".join(table(types)) + "\n")


if __name__ == "__main__":
    main()
