#!/usr/bin/env bash
# Installs into an empty prefix, and runs the command from there.
. "$(dirname "$0")/common.sh"

rm -rf "$scratch"
mkdir -p "$scratch"
cmake --install "$build" --prefix "$prefix" > "$scratch/install.log"
make_pdf "$scratch/report.pdf"

for file in bin/quarry libexec/quarry/quarry-helper libexec/quarry/mdimport libexec/quarry/quarry-pdf.so \
            libexec/quarry/quarry-exec libexec/quarry/quarry-office \
            lib/libquarry_client.a lib/libquarry_foundation.a include/quarry/client/HelperTask.h \
            include/quarry/foundation/Value.h include/quarry/platform/ipc/HaldenImExport.h share/man/man1/quarry.1 \
            share/bash-completion/completions/quarry share/zsh/site-functions/_quarry share/doc/quarry/copyright; do
  [ -e "$prefix/$file" ] || fail "not installed: $file"
done

# Nothing may point back at the tree it was built in.
if grep -rlF -e "$build" -e "$source_dir" "$prefix" --include='*.cmake' --include='*.pc' --include='*.h' > "$scratch/leaks"; then
  fail "paths of the build in: $(cat "$scratch/leaks")"
fi

# The man page has no mistakes that groff sees, and bash completes.
mistakes=$(man --warnings -l "$prefix/share/man/man1/quarry.1" 2>&1 > /dev/null) || fail "man: $mistakes"
[ -z "$mistakes" ] || fail "man: $mistakes"
complete() {  # WORDS...: what bash would offer for the last one
  bash -c '. "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _quarry 2> /dev/null; echo "${COMPREPLY[*]}"' \
    "$prefix/share/bash-completion/completions/quarry" "$@"
}
[ "$(complete quarry me)" = metadata ] || fail "completion of a command: $(complete quarry me)"
[ "$(complete quarry metadata --ti)" = --timeout ] || fail "completion of an option: $(complete quarry metadata --ti)"
[ "$(complete quarry metadata --data b)" = base64 ] || fail "completion of a choice: $(complete quarry metadata --data b)"
[ -z "$(complete quarry metadata a)" ] || fail "completion of a file: $(complete quarry metadata a)"

expect_metadata "$("$prefix/bin/quarry" metadata "$scratch/report.pdf")"
"$prefix/bin/quarry" importers | grep -qF "$prefix/lib/quarry/Spotlight/" || fail "importers of another prefix"
