#!/usr/bin/env bash
# Pictures of every window on X11 and Wayland, at 100% and 200%, in a light and a dark theme, to be looked at.
#   scripts/screenshots.sh [BUILD_DIRECTORY [TARGET_DIRECTORY]]     (build/release, build/screenshots)
# Needs what `install-packages.sh build test screen wayland` installs.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$here/build/release}
target=${2:-$here/build/screenshots}
work=$(mktemp -d /tmp/corvanta-screens.XXXXXX)
chmod 755 "$work"
pids=()
finish() {
    local status=$?
    for pid in "${pids[@]}"; do
        kill "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
    rm -rf "$work"
    exit "$status"
}
trap finish EXIT

until_there() {
    local tries=200
    until [ -s "$1" ] || [ -S "$1" ]; do
        ((tries-- > 0)) || { echo "screenshots: $1 did not come: $(cat "$work"/*.log)" >&2; exit 1; }
        sleep 0.1
    done
}

# Qt takes these desktops' colours from a file of theirs.
colours() {
    local theme=$1 window=$2 view=$3 text=$4 button=$5 link=$6 group
    mkdir -p "$work/$theme"
    {
        printf '[General]\nwidgetStyle=Fusion\n[KDE]\nwidgetStyle=Fusion\n'
        for group in Window View Button Tooltip; do
            case $group in Window | Tooltip) ground=$window ;; View) ground=$view ;; Button) ground=$button ;; esac
            printf '[Colors:%s]\nBackgroundNormal=%s\nBackgroundAlternate=%s\nForegroundNormal=%s\nForegroundLink=%s\n' \
                "$group" "$ground" "$window" "$text" "$link"
            printf 'ForegroundInactive=127,127,127\n'
        done
        printf '[Colors:Selection]\nBackgroundNormal=43,93,148\nForegroundNormal=255,255,255\n'
    } >"$work/$theme/kdeglobals"
}
colours light 239,240,241 255,255,255 35,38,41 252,252,252 41,128,185
colours dark 42,46,50 27,30,32 252,252,252 49,54,59 61,174,233

export XDG_RUNTIME_DIR=$work/runtime
mkdir -m 700 "$XDG_RUNTIME_DIR"
Xvfb -displayfd 3 -screen 0 2400x1900x24 -nolisten tcp 3>"$work/display" >"$work/xvfb.log" 2>&1 &
pids+=($!)
until_there "$work/display"
weston --backend=headless-backend.so --width=2400 --height=1900 --socket=corvanta --no-config --idle-time=0 \
    >"$work/weston.log" 2>&1 &
pids+=($!)
until_there "$XDG_RUNTIME_DIR/corvanta"

# Headless weston has no keyboard, and Qt's own input method for Wayland ends a program that types without one.
failed=0
for platform in xcb wayland; do
    for scale in 1 2; do
        for theme in light dark; do
            pictures=$target/$platform-$scale-$theme
            mkdir -p "$pictures"
            echo "$pictures"
            env DISPLAY=":$(cat "$work/display")" WAYLAND_DISPLAY="$XDG_RUNTIME_DIR/corvanta" \
                QT_QPA_PLATFORM=$platform QT_IM_MODULE=compose \
                QT_SCALE_FACTOR=$scale XDG_CURRENT_DESKTOP=KDE KDE_SESSION_VERSION=5 XDG_CONFIG_HOME="$work/$theme" \
                CORVANTA_SCREENSHOTS="$pictures" timeout 120 "$build/tests/ui/journeys" --gtest_filter=windows.* --gtest_brief=1 || failed=1
        done
    done
done
exit $failed
