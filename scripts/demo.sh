#!/usr/bin/env bash
# Shows a program on a throw-away home directory: a mail and a news profile, servers of its own for both, sample mail
# and two newsgroups.
#   scripts/demo.sh PROGRAM [screenshot]
# With a display the window is the user's. Without one, a virtual display is started, the mail is fetched and a
# message with pictures is opened by pressing the real buttons, and the window is saved as an image (demo.png). Then a
# group is opened and an article read, and the window saved once more (demo-news.png).
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
program=$1
picture=${2:-demo.png}

account=alex
password=seagull
groups=(example.gardening example.photography)
. "$here/scripts/virtual-screen.sh"

# start_server NAME ARGUMENT...: starts NAME-server; `port` is then its port, empty when it does not start.
start_server() {
    local name=$1 word=
    shift
    port=
    # Its first line tells the port; the pipe to it stays open as long as this script runs.
    exec {ready}< <(exec python3 -B "$here/scripts/servers/$name-server" "$work/$name" 0 --with-parent "$@" \
        2>"$work/$name.err")
    pids+=($!)
    read -r -t 30 -u "$ready" word port || true
    [ "$word" = READY ] || port=
}

start_servers() {
    start_server pop3 --user "$account:$password" --preload "$account=$here/share/demo/mail"
    mail_port=$port
    [ -n "$mail_port" ] || die "the mail server did not start: $(cat "$work/pop3.err")"
    local article articles=()
    for article in "$here"/share/demo/news/*; do
        articles+=(--preload "$article")
    done
    start_server news --user "$account:$password" "${groups[@]/#/--group=}" "${articles[@]}"
    news_port=$port
    [ -n "$news_port" ] || echo "demo: without news, its server did not start: $(cat "$work/news.err")" >&2
}

# The accounts' files as the program itself would write them, ready for the first check.
make_home() {
    local root=$home/.Corvanta folder
    mkdir -m 700 "$home" "$root" "$root/Demo"
    printf '%s\n' "127.0.0.1:$mail_port" "127.0.0.1:2525" "$account" "$(printf %s "$password" | base64)" "Alex Morgan" \
        "alex@example.org" 300 LEAVEONSERVER "$home/signature.txt" "" "" >"$root/Demo.dat"
    chmod 600 "$root/Demo.dat"
    printf 'Alex\n' >"$home/signature.txt"
    for folder in Inbox Saved Outbox Travel; do
        mkdir -m 700 "$root/Demo/$folder"
        { printf '\2\0\1\0' && head -c 20 /dev/zero; } >"$root/Demo/$folder/index2"
        chmod 600 "$root/Demo/$folder/index2"
    done
    [ -z "$news_port" ] || make_news "$root/news"
    # The program asks the password database for its home directory.
    printf '%s:x:%d:%d:Alex Morgan:%s:/bin/sh\n' "$(id -un)" "$(id -u)" "$(id -g)" "$home" >"$work/passwd"
    printf '%s:x:%d:\n' "$(id -gn)" "$(id -g)" >"$work/group"
}

make_news() {
    local group
    mkdir -m 700 "$1" "$1/Usenet" "$1/Usenet/groups"
    printf '%s\n' "127.0.0.1:$news_port" "$account" "$(printf %s "$password" | base64)" "Alex Morgan" \
        "alex@example.org" "$home/signature.txt" "" "" "" "" "" >"$1/Usenet.dat"
    for group in "${groups[@]}"; do
        # A name taken from the server's list keeps the blank that ended it there.
        : >"$1/Usenet/groups/$group "
    done
    chmod 600 "$1/Usenet.dat" "$1/Usenet/groups/"*
}

start_program() {
    local wrapper
    # Not on every user's PATH. To the list's end: ldconfig would die of a pipe closed early, and the pipeline with it.
    wrapper=$(PATH=$PATH:/usr/sbin:/sbin ldconfig -p | awk '/libnss_wrapper\.so /{path = $NF} END {print path}')
    [ -n "$wrapper" ] || die "libnss_wrapper.so is not installed"
    mkdir -m 700 "$work/runtime"
    # A proxy would be connected to in place of the local server.
    env -u http_proxy LD_PRELOAD="$wrapper" NSS_WRAPPER_PASSWD="$work/passwd" NSS_WRAPPER_GROUP="$work/group" \
        HOME="$home" XDG_RUNTIME_DIR="${XDG_RUNTIME_DIR:-$work/runtime}" "$program" "$@" &
    app=$!
    pids+=("$app")
}

click() { xdotool mousemove --window "$window" "$1" "$2" click 1; }
logged_in() { grep -Eqs "(Login|Logged in): user=<$account>" "$work"/pop3/*.log; }
page_written() { grep -qs "IMG SRC" "$home/.Corvanta/.tmp/msg.html"; }
article_written() { grep -qs "Newsgroups:" "$home/.Corvanta/.tmp/msg.html"; }

# The places are those of the window's own layout at this size.
act() {
    wait_for_window
    click 80 126                     # the Inbox of the only profile: its mail is fetched
    until_true 20 logged_in || die "the mail was not fetched"
    until_true 20 still || true
    click 32 50                      # the button that checks again
    until_true 20 still || true
    click 300 106                    # the first message,
    until_true 10 test -s "$home/.Corvanta/.tmp/msg.html" || die "no message was shown"
    xdotool key --delay 100 End      # then the last one, with its pictures
    until_true 10 page_written || die "the message with pictures was not shown"
    until_true 10 still || true
    # Away from the rows, so that none looks hovered.
    xdotool mousemove --window "$window" 1000 500
    until_true 5 still || true
    save "$picture"
    [ -z "$news_port" ] || act_on_news
}

act_on_news() {
    click 110 231                    # the first group: its articles come in
    until_true 20 test -s "$home/.Corvanta/news/Usenet/list_${groups[0]}" || die "the group was not opened"
    until_true 20 still || true
    click 300 126                    # its second thread, opened to its answers
    until_true 10 article_written || die "the article was not shown"
    xdotool key --delay 100 Right
    xdotool mousemove --window "$window" 1000 500
    until_true 10 still || true
    save "${picture%.png}-news.png"
}

home=$work/home
chmod 755 "$work"
start_servers
make_home
if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    start_screen
    start_program -x0 -y0 -w1100 -h860
    act
else
    echo "Click the Inbox of the profile Demo: its mail is fetched from a local server."
    [ -z "$news_port" ] || echo "Click a group of the profile Usenet: its articles come from a local server, too."
    start_program
    wait "$app"
fi
