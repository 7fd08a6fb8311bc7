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
# What `quarry importer new` writes builds, and passes its own check.
(cd "$work" && "$prefix/bin/quarry" importer new Notes > "$work/log") || fail "importer new"
cmake -S "$work/Notes" -B "$work/Notes/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" > "$work/log" 2>&1 &&
  cmake --build "$work/Notes/build" >> "$work/log" 2>&1 || { cat "$work/log"; fail "the new importer does not build"; }
printf 'A title\nand text\n' > "$work/a.notes"
checked=$("$prefix/bin/quarry" importer check "$work/Notes/build/Notes.mdimporter" "$work/a.notes") || fail "check: $checked"
[[ $checked == *'kMDItemTitle: "A title"'* ]] || fail "check: $checked"
# Who writes an importer in C needs the header alone: no C++ compiler, no library.
mkdir "$work/alone"
cat > "$work/alone/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(alone LANGUAGES C)
find_package(quarry REQUIRED COMPONENTS sdk)
add_library(alone MODULE alone.c)
target_link_libraries(alone PRIVATE quarry::sdk)
CMAKE
echo '#include <quarry_importer.h>' > "$work/alone/alone.c"
cmake -S "$work/alone" -B "$work/alone/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" > "$work/log" 2>&1 &&
  cmake --build "$work/alone/build" >> "$work/log" 2>&1 || { cat "$work/log"; fail "the header alone"; }

# A bundle shows its factory and nothing of the libraries inside.
for binary in "$prefix"/lib/quarry/Spotlight/*.mdimporter/Contents/Linux/*; do
  shown=$(nm -D --defined-only "$binary" | awk '{ print $3 }')
  [[ $shown =~ ^make[A-Za-z]+$ ]] || fail "$binary shows ${shown:0:200}"
done

# The importer of movies is installed with its reader.
movies=$prefix/lib/quarry/Spotlight/Movie.mdimporter
if [ -e "$movies" ]; then
  [ -e "$movies/Contents/PlugIns/MovieReader.so" ] || fail "no reader of movies"
  { printf '.snd\0\0\0\030\0\0\037\100\0\0\0\001\0\0\037\100\0\0\0\001'; head -c 8000 /dev/zero; } > "$work/a.au"
  [[ $("$prefix/bin/quarry" metadata "$work/a.au") == *'"kMDItemAudioSampleRate": 8000'* ]] || fail "a.au is not read"
fi

export XDG_DATA_HOME=$work/data
listed=$("$prefix/bin/quarry" importers)
[ "$(grep -cF "$work/data/quarry/Spotlight/" <<<"$listed")" -eq 2 ] || fail "listed: $listed"

printf '1\n00:00:01,000 --> 00:00:03,500\nGood evening.\n\n' > "$work/evening.srt"
printf '@book{a,\n  title = {Wool and {Water}},\n  author = {Lewis Writer}\n}\n' > "$work/books.bibx"
read_as() {  # FILE WORD...: reads the file and looks for the words
  local result word
  result=$("$prefix/bin/quarry" metadata "$1") || fail "$1 is not read"
  for word in "${@:2}"; do
    [[ $result == *"$word"* ]] || fail "no '$word' in $result"
  done
}
read_as "$work/evening.srt" 'Good evening.' '"kMDItemDurationSeconds": 3.5'
read_as "$work/books.bibx" 'Wool and Water' 'Lewis Writer'
