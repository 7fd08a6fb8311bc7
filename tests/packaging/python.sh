#!/usr/bin/env bash
# Calls an installed helper from Python, over D-Bus alone.
. "$(dirname "$0")/common.sh"

/usr/bin/python3 -c 'from gi.repository import Gio' || fail "python3-gi is missing"
call() { /usr/bin/python3 "$source_dir/examples/python/metadata.py" "$prefix/libexec/quarry/quarry-helper" "$@"; }

expect_metadata "$(call "$scratch/report.pdf")"

# A name that is no UTF-8, and a text large enough to travel in a memory file.
name=$scratch/$'caf\xe9.txt'
/usr/bin/python3 -c 'print("wool and water " * 200000)' > "$name"
output=$(call "$name")
[ "$(grep -o 'wool and water' <<<"$output" | wc -l)" -eq 200000 ] || fail "the large text did not arrive whole"

# A document that kills the helper costs that document.
make_crasher
output=$(call "$scratch/report.pdf" "$scratch/bad.deadly" "$scratch/report.pdf" 2> "$scratch/python-error")
[ "$(grep -c 'Yearly report' <<<"$output")" -eq 2 ] || fail "after a crash: $output"
grep -q 'bad.deadly: ' "$scratch/python-error" || fail "the crash was not seen: $(cat "$scratch/python-error")"
