#!/usr/bin/env bash
# Installs a build into a temporary prefix and checks what a desktop reads there: nothing written
# outside the prefix, a valid desktop entry and metainfo, every icon size, clean manual pages.
# Usage: scripts/check-install.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
id=io.github.quillon.Quillon
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
failed=0
fail() { echo "check-install: $*" >&2; failed=1; }

cmake --install "$build" --prefix "$prefix" >/dev/null
while read -r f; do
  case "$f" in "$prefix"/*) ;; *) fail "installed outside the prefix: $f" ;; esac
done <"$build/install_manifest.txt"

share=$prefix/share
out=$(desktop-file-validate "$share/applications/$id.desktop" 2>&1) || fail "desktop-file-validate failed"
[ -z "$out" ] || fail "desktop-file-validate: $out"
echo "desktop-file-validate: ${out:-no errors or warnings}"
appstreamcli validate --no-net "$share/metainfo/$id.metainfo.xml" || fail "appstreamcli validate failed"

[ -f "$share/icons/hicolor/scalable/apps/$id.svg" ] || fail "scalable icon missing"
for size in 16 24 32 48 64 128 256 512; do
  png=$share/icons/hicolor/${size}x$size/apps/$id.png
  # PNG width and height: big-endian at bytes 16 and 20 of the header.
  read -r w1 w2 w3 w4 h1 h2 h3 h4 < <(od -An -tu1 -j16 -N8 "$png" 2>/dev/null || echo x)
  [ "$(((w1 << 24) | (w2 << 16) | (w3 << 8) | w4))x$(((h1 << 24) | (h2 << 16) | (h3 << 8) | h4))" = "${size}x$size" ] 2>/dev/null ||
    fail "icon $png is not ${size}x$size"
done

for page in quillon quillon-scan; do
  warnings=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l "$share/man/man1/$page.1.gz" 2>&1 >/dev/null) || fail "man $page failed"
  [ -z "$warnings" ] || fail "man $page: $warnings"
  "$prefix/bin/$page" --version
done

[ "$failed" -eq 0 ] && echo "check-install: all installed files check out"
exit "$failed"
