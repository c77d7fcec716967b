#!/usr/bin/env bash
# Makes the Debian package of what is in the source tree: the same bytes from the same sources, wherever they are built.
#   scripts/package.sh BUILD_DIRECTORY
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
mkdir -p "$1"
build=$(cd "$1" && pwd)

# All dates in the package are the one of its changelog.
SOURCE_DATE_EPOCH=$(dpkg-parsechangelog -l "$here/packaging/debian/changelog" -S Timestamp)
export SOURCE_DATE_EPOCH QT_RCC_SOURCE_DATE_OVERRIDE=$SOURCE_DATE_EPOCH
umask 022

(cd "$here" && cmake --preset package -B "$build" >"$build/configure.log") || { cat "$build/configure.log" >&2; exit 1; }
cmake --build "$build" -j "$(nproc)" --target Corvanta vserver >&2
rm -f "$build"/corvanta_*.deb
(cd "$build" && cpack --config CPackConfig.cmake >cpack.log) || { cat "$build/cpack.log" >&2; exit 1; }
ls "$build"/corvanta_*.deb
