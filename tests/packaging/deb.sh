#!/usr/bin/env bash
# Makes the Debian packages and installs them with dpkg: into a root folder of its own that knows which packages this
# machine has, so that dependencies are checked as on a real installation. Without root, what they hold is unpacked.
. "$(dirname "$0")/common.sh"

work=$scratch/deb
rm -rf "$work"
mkdir -p "$work/packages" "$work/root"
(cd "$work" && cpack --config "$build/CPackConfig.cmake" -B "$work/packages") > "$work/log" 2>&1 ||
  { cat "$work/log"; fail "cpack"; }
runtime=$(find "$work/packages" -maxdepth 1 -name 'quarry_*.deb')
development=$(find "$work/packages" -maxdepth 1 -name 'quarry-dev_*.deb')
[ -f "$runtime" ] && [ -f "$development" ] || fail "packages: $(ls "$work/packages")"

depends=$(dpkg-deb -f "$runtime" Depends)
for library in libc6 libglib2.0-0 libicu shared-mime-info; do
  grep -q "$library" <<<"$depends" || fail "Depends lacks $library: $depends"
done
grep -q libreoffice-writer <<<"$(dpkg-deb -f "$runtime" Recommends)" || fail "Recommends lacks libreoffice-writer"
dpkg-deb -c "$runtime" > "$work/contents"
! grep -qE '\.(a|h|cmake|pc)$' "$work/contents" || fail "development files in quarry: $(grep -E '\.(a|h|pc)$' "$work/contents")"
dpkg-deb -c "$development" > "$work/contents"
grep -q 'usr/include/quarry/client/HelperTask.h' "$work/contents" || fail "quarry-dev has no headers"

if [ "$(id -u)" -eq 0 ]; then
  mkdir -p "$work/root/var/lib/dpkg/info" "$work/root/var/lib/dpkg/updates"
  cp /var/lib/dpkg/status "$work/root/var/lib/dpkg/status"
  [ -e /var/lib/dpkg/arch ] && cp /var/lib/dpkg/arch "$work/root/var/lib/dpkg/"
  in_root() { dpkg --root="$work/root" --log="$work/dpkg.log" "$@" > "$work/log" 2>&1 || { cat "$work/log"; fail "dpkg $*"; }; }
  in_root --install "$runtime" "$development"
else
  dpkg-deb -x "$runtime" "$work/root"
fi
expect_metadata "$("$work/root/usr/bin/quarry" metadata "$scratch/report.pdf")"
[ "$("$work/root/usr/bin/quarry" supports "$scratch/report.pdf")" = YES ] || fail "supports"

if [ "$(id -u)" -eq 0 ]; then
  in_root --purge quarry-dev quarry
  left=$(find "$work/root/usr" -type f 2> /dev/null || true)
  [ -z "$left" ] || fail "left behind: $left"
fi
