#!/usr/bin/env bash
# Builds the application of examples/embed against the installation, once with find_package and once with pkg-config,
# runs it, and looks at what it links.
. "$(dirname "$0")/common.sh"

work=$scratch/embed
rm -rf "$work"
mkdir -p "$work"
cp -r "$source_dir/examples/embed" "$work/source"

cmake -S "$work/source" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" > "$work/log" 2>&1 &&
  cmake --build "$work/build" >> "$work/log" 2>&1 || { cat "$work/log"; fail "find_package"; }

export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
helper=$(pkg-config --variable=helper quarry-client)
[ "$(readlink -f "$helper")" = "$(readlink -f "$prefix/libexec/quarry/quarry-helper")" ] || fail "helper=$helper"
# shellcheck disable=SC2046
g++ -std=c++20 -DQUARRY_HELPER="\"$helper\"" "$work/source/titles.cpp" -o "$work/with-pkg-config" \
  $(pkg-config --cflags --libs quarry-client) || fail "pkg-config"

# The libraries that need no helper.
cat > "$work/letter.cpp" <<'END'
#include "foundation/Unicode.h"
#include "markup/Html2Text.h"
#include "richtext/RtfReader.h"
#include "richtext/RtfWriter.h"
#include <iostream>
int main() {
    const halden::AttributedString text(halden::stringByConvertingHtml2PlainText(u"<p>Dear&nbsp;<b>Ada</b>"));
    std::cout << halden::utf8FromUtf16(halden::documentFromRtf(halden::rtfFromDocument({text, {}}))->text.string());
}
END
# shellcheck disable=SC2046
g++ -std=c++20 "$work/letter.cpp" -o "$work/letter" $(pkg-config --cflags --libs quarry-richtext quarry-markup) ||
  fail "the libraries"
[[ $("$work/letter") == *"Dear"*"Ada"* ]] || fail "letter says: $("$work/letter")"

# Every header that is installed stands on what is installed.
(cd "$prefix/include/quarry" && find . -name '*.h' | sort | sed 's|^\./\(.*\)|#include "\1"|') > "$work/all.cpp"
# shellcheck disable=SC2046
g++ -std=c++20 -fsyntax-only "$work/all.cpp" $(pkg-config --cflags quarry-client quarry-sdk) || fail "headers"

for program in "$work/build/titles" "$work/with-pkg-config"; do
  output=$("$program" "$scratch/report.pdf")
  [[ $output == *"Yearly report"* && $output == *"Wool and water"* ]] || fail "$program says: $output"
done

# A document that kills the helper costs the application that document.
make_crasher
output=$("$work/build/titles" "$scratch/report.pdf" "$scratch/bad.deadly" "$scratch/report.pdf" 2> "$work/error")
[ "$(grep -c 'Yearly report' <<<"$output")" -eq 2 ] || fail "after a crash: $output"
grep -q 'bad.deadly: ' "$work/error" || fail "the crash was not seen: $(cat "$work/error")"

# What an application gets by linking the client: the GLib family (LGPL-2.1+), ICU (Unicode licence), and the compiler's
# and the C library's run-time (GPL with the run-time exception, LGPL-2.1+). A new name here needs a look at its licence.
allowed='lib(glib-2\.0|gobject-2\.0|gio-2\.0|gmodule-2\.0|icuuc|icudata|stdc\+\+|gcc_s|c|m|pthread)\.so|ld-linux'
linked=$(readelf -d "$work/build/titles" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
others=$(grep -Ev "$allowed" <<<"$linked" || true)
[ -z "$others" ] || fail "the client links: $others"
if nm -C "$prefix"/lib/libquarry_*.a 2>/dev/null | grep -qE ' (fz|pdf)_[a-z]'; then
  fail "a library for applications holds parts of the PDF engine"
fi
