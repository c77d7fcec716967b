# shellcheck shell=bash
# Sourced by what runs a program on a virtual display: the display, the program's window, pictures of it. Sets `work`, a
# directory that is removed at the end, when the processes in `pids` are ended; `app` is the program's process.

work=$(mktemp -d /tmp/corvanta-demo.XXXXXX)
pids=()
app=

finish() {
    local status=$? last
    trap - EXIT
    # The last one started goes first: the program before the display it is on.
    for ((last = ${#pids[@]} - 1; last >= 0; last--)); do
        kill "${pids[last]}" 2>/dev/null || true
        wait "${pids[last]}" 2>/dev/null || true
    done
    rm -rf "$work"
    exit "$status"
}
trap finish EXIT
set -E
trap 'echo "${0##*/}: line $LINENO failed: $BASH_COMMAND" >&2' ERR
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM

die() {
    echo "${0##*/}: $*" >&2
    exit 1
}

# until_true SECONDS COMMAND...: repeats the command until it succeeds; gives up earlier when the program has ended.
until_true() {
    local tries=$(($1 * 10))
    shift
    while ! "$@"; do
        ((tries-- > 0)) || return 1
        [ -z "$app" ] || kill -0 "$app" 2>/dev/null || return 1
        sleep 0.1
    done
}

start_screen() {
    Xvfb -displayfd 3 -screen 0 1100x860x24 -nolisten tcp 3>"$work/display" >"$work/xvfb.log" 2>&1 &
    pids+=($!)
    until_true 20 test -s "$work/display" || die "the virtual display did not start: $(cat "$work/xvfb.log")"
    DISPLAY=:$(cat "$work/display")
    export DISPLAY QT_QPA_PLATFORM=xcb
    unset WAYLAND_DISPLAY
}

find_window() {
    local found
    mapfile -t found < <(xdotool search --onlyvisible --pid "$app" --name '^Corvanta$' 2>/dev/null || true)
    window=${found[0]-}
    [ -n "$window" ]
}

# look FORMAT:FILE: the window as it is now, as a file.
look() { import -window "$window" "$1" 2>/dev/null; }

# save FILE: the same, as a picture to keep.
save() {
    look "png:$1" || die "the window could not be saved"
    echo "The window is in $(realpath "$1")"
}

# still: true when the window looks the same twice in a row; the star turns as long as mail is on its way.
still() { look "rgb:$work/before" && sleep 0.4 && look "rgb:$work/after" && cmp -s "$work/before" "$work/after"; }

wait_for_window() {
    until_true 30 find_window || die "the window did not open"
    xdotool windowfocus "$window" 2>/dev/null || true
    until_true 10 still || true
}
