#!/usr/bin/env bash
# Builds the example importers against the installed header and reads a file through each.
. "$(dirname "$0")/common.sh"

work=$scratch/importers
rm -rf "$work"
mkdir -p "$work/data/quarry/Spotlight"
for language in c cpp; do
  cp -r "$source_dir/examples/importer-$language" "$work/$language"
  cmake -S "$work/$language" -B "$work/$language-build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_INSTALL_PREFIX="$work" > "$work/log" 2>&1 &&
    cmake --build "$work/$language-build" >> "$work/log" 2>&1 || { cat "$work/log"; fail "importer-$language"; }
  bundle=$(find "$work/$language-build" "$work/$language" -maxdepth 2 -name '*.mdimporter' | head -n 1)
  [ -d "$bundle" ] || fail "importer-$language makes no bundle"
  cp -r "$bundle" "$work/data/quarry/Spotlight/"
done
export XDG_DATA_HOME=$work/data
listed=$("$prefix/bin/quarry" importers)
[ "$(grep -cF "$work/data/quarry/Spotlight/" <<<"$listed")" -eq 2 ] || fail "listed: $listed"
