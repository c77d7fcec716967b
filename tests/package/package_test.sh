#!/usr/bin/env bash
# The package of a build tree: the same bytes when made twice, what lintian says, and the program in it, unpacked
# somewhere else, on the demo's mailbox with its own page server and user guide.
# scripts/try-package also builds from nothing, installs and removes.
#   package_test.sh SOURCE_DIRECTORY BUILD_DIRECTORY
set -euo pipefail
source=$1
build=$2
work=$(mktemp -d /tmp/corvanta-package.XXXXXX)
demo=
finish() {
    local status=$?
    [ -z "$demo" ] || kill "$demo" 2>/dev/null || true
    wait
    rm -rf "$work"
    exit "$status"
}
trap finish EXIT

die() {
    echo "package: $*" >&2
    exit 1
}

SOURCE_DATE_EPOCH=$(dpkg-parsechangelog -l "$source/packaging/debian/changelog" -S Timestamp)
export SOURCE_DATE_EPOCH
for copy in one two; do
    cpack --config "$build/CPackConfig.cmake" -B "$work/$copy" >"$work/log" || die "$(cat "$work/log")"
done
cmp "$work"/one/*.deb "$work"/two/*.deb || die "two packages of one build differ"
package=$(echo "$work"/one/*.deb)

lintian --allow-root --fail-on error "$package" || die "lintian found errors"
desktop-file-validate "$source/share/corvanta.desktop" || die "the desktop entry is wrong"
dpkg-deb --contents "$package" >"$work/contents"
! grep -v ' root/root ' "$work/contents" || die "not everything belongs to root"
for file in bin/corvanta libexec/corvanta/vserver share/Corvanta/index.html share/applications/corvanta.desktop \
    share/icons/hicolor/48x48/apps/corvanta.png share/man/man1/corvanta.1.gz share/man/man8/corvanta-vserver.8.gz; do
    grep -q " \./usr/$file\$" "$work/contents" || die "$file is missing"
done
# What the guide shows is beside it.
dpkg-deb -x "$package" "$work/root"
usr=$work/root/usr
grep -o 'src="[^"]*"' "$usr/share/Corvanta/index.html" | cut -d'"' -f2 | sort -u | while read -r picture; do
    [ -s "$usr/share/Corvanta/$picture" ] || die "the guide's picture $picture is missing"
done

[ "$(env -i "$usr/bin/corvanta" --version)" = "Corvanta $(dpkg-deb -f "$package" Version | cut -d- -f1)" ] ||
    die "a wrong version"
case "$(env -i "$usr/bin/corvanta" --help)" in
    "corvanta - This is a QNX/Photon Application."*"-x10 -y10 -h200 -w300") ;;
    *) die "no usage text" ;;
esac

# server: the command line of the page server that runs from the unpacked package.
server() {
    local exe
    for exe in /proc/[0-9]*/exe; do
        if [ "$(readlink "$exe" 2>/dev/null)" = "$usr/libexec/corvanta/vserver" ]; then
            tr '\0' ' ' <"${exe%/exe}/cmdline"
            return
        fi
    done
    return 1
}

env -u DISPLAY -u WAYLAND_DISPLAY "$source/scripts/demo.sh" "$usr/bin/corvanta" "$work/demo.png" >"$work/demo.log" 2>&1 &
demo=$!
seen=
while kill -0 "$demo" 2>/dev/null; do
    [ -n "$seen" ] || seen=$(server) || true
    sleep 0.1
done
result=0
wait "$demo" || result=$?
demo=
[ "$result" = 0 ] || die "the demo failed: $(cat "$work/demo.log")"
case $seen in
    *" -r $usr/share/Corvanta/ "*) ;;
    *) die "the page server in the package, with its user guide, was not used: '$seen'" ;;
esac
[ -s "$work/demo.png" ] || die "no picture of the window"
echo "OK: $(basename "$package"), $(stat -c %s "$package") bytes"
