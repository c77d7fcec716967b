#!/usr/bin/env bash
# Runs the program on a virtual display, saves a picture of its window and ends it.
#   scripts/picture.sh PICTURE PROGRAM [options]
set -euo pipefail
. "$(dirname "$0")/virtual-screen.sh"
picture=$1
shift
start_screen
"$@" &
app=$!
pids+=("$app")
wait_for_window
save "$picture"
