#!/usr/bin/python3
# SPDX-License-Identifier: 0BSD
"""Asks a quarry helper for the metadata of files, over D-Bus and without any library of quarry.

    metadata.py HELPER FILE...

HELPER is PREFIX/libexec/quarry/quarry-helper. Needs python3-gi.
"""

import json
import mmap
import os
import subprocess
import sys
import tempfile
import time

from gi.repository import Gio, GLib

INTERFACE = "org.quarry.HaldenImExport1"
EPOCH = 978307200  # 2001-01-01 in Unix time: dates are seconds since then


class Helper:
    """A helper process with a registry folder of its own, and the connection to it."""

    def __init__(self, program):
        self.folder = tempfile.TemporaryDirectory(prefix="quarry-")  # mode 0700, as the helper demands
        self.process = subprocess.Popen([program], env={**os.environ, "QUARRY_RUNTIME_DIR": self.folder.name})
        self.connection = self._connect(os.path.join(self.folder.name, "QuarryHelper64.sock"))

    def _connect(self, socket):
        deadline = time.monotonic() + 2
        while True:
            try:
                return Gio.DBusConnection.new_for_address_sync(
                    "unix:path=" + Gio.dbus_address_escape_value(socket),
                    Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT, None, None)
            except GLib.Error:
                if time.monotonic() > deadline or self.process.poll() is not None:
                    self.close()
                    raise
                time.sleep(0.01)

    def call(self, method, *arguments, timeout=60):
        """The result of a method, as Python values; None for nil. GLib.Error when the helper died or took too long."""
        reply, descriptors = self.connection.call_with_unix_fd_list_sync(
            None, "/QuarryHelper", INTERFACE, method, GLib.Variant.new_tuple(*arguments), None,
            Gio.DBusCallFlags.NONE, int(timeout * 1000), None, None)
        files = descriptors.steal_fds() if descriptors else []
        try:
            result = reply.get_child_value(0)
            if result.get_type_string() == "av":  # nullable: no element is nil
                return plain(result.get_child_value(0), files) if result.n_children() else None
            return plain(result, files)
        finally:
            for file in files:
                os.close(file)

    def close(self):
        self.process.kill()
        self.process.wait()
        self.folder.cleanup()


def text(string):
    """An argument of type string: as it is, or as UTF-16 units when it holds what D-Bus strings cannot.

    A path from os.fsdecode has the units U+DC80 to U+DCFF for bytes that are not UTF-8, which is the helper's form too.
    """
    try:
        string.encode("utf-8")
        if "\0" not in string:
            return GLib.Variant("v", GLib.Variant("s", string))
    except UnicodeEncodeError:
        pass
    units = string.encode("utf-16-le", "surrogatepass")
    return GLib.Variant("v", GLib.Variant("aq", memoryview(units).cast("H").tolist()))


def plain(value, files):
    """A value of the wire as a Python value. Big data and big strings are ranges of a memory file."""
    kind = value.get_type_string()
    if kind == "v":
        return plain(value.get_variant(), files)
    if kind == "av":
        return [plain(value.get_child_value(i), files) for i in range(value.n_children())]
    if kind in ("a{sv}", "a(vv)"):
        entries = (value.get_child_value(i) for i in range(value.n_children()))
        return {plain(e.get_child_value(0), files): plain(e.get_child_value(1), files) for e in entries}
    if kind == "ay":
        return value.get_data_as_bytes().get_data()
    if kind == "aq":
        return value.get_data_as_bytes().get_data().decode("utf-16-le", "surrogatepass")
    if kind == "(d)":
        return time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(value.unpack()[0] + EPOCH))
    if kind == "(y)":
        return None
    if kind == "(yhtt)":
        form, index, offset, length = value.unpack()
        with mmap.mmap(files[index], 0, mmap.MAP_PRIVATE, mmap.PROT_READ) as memory:
            data = memory[offset:offset + length]
        return data if form == ord("d") else data.decode("utf-16-le", "surrogatepass")
    return value.unpack()  # b, x, d, s


def main():
    helper = None
    for file in sys.argv[2:]:
        try:
            helper = helper or Helper(sys.argv[1])
            attributes = helper.call("MetaDataForFile", text(os.path.abspath(file)))
            print(json.dumps(attributes, indent=2, default=lambda data: {"bytes": len(data)}))
        except GLib.Error as error:  # it crashed on this file; the next one gets a new helper
            print(f"{file}: {error.message}", file=sys.stderr)
            if helper:
                helper.close()
            helper = None
    if helper:
        helper.close()


if len(sys.argv) < 3:
    sys.exit(__doc__)
main()
