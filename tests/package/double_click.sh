#!/usr/bin/env bash
# Run as a user on a machine with Xvfb, openbox, pcmanfm, xdotool, ffmpeg and the package: opens the
# folder of a clip in the file manager, double-clicks the clip, and waits for the window, which must
# have looked at it. double_click.sh CLIP PICTURE: a picture of the screen goes to the file PICTURE.
set -euo pipefail
clip=$1
picture=$2
work=$(mktemp -d)
pids=()
finish() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    rm -rf "$work"
}
trap finish EXIT
wait_for() { # wait_for WHAT COMMAND...
    local i
    for i in {1..150}; do
        ! "${@:2}" >/dev/null 2>&1 || return 0
        sleep 0.2
    done
    echo "$1 did not come" >&2
    exit 1
}
look() { ffmpeg -v error -f x11grab -video_size 1280x800 -i "$DISPLAY" -frames:v 1 -y "$picture" </dev/null; }

folder=$work/clips
mkdir "$folder"
cp "$clip" "$folder/"
mkfifo "$work/display"
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$work/display" >/dev/null 2>&1 &
pids+=($!)
read -r -t 30 number <"$work/display"
export DISPLAY=:$number
openbox >/dev/null 2>&1 &
pids+=($!)
pcmanfm "$folder" >/dev/null 2>&1 &
pids+=($!)
wait_for "the file manager" xdotool search --onlyvisible --name '^clips$'
manager=$(xdotool search --onlyvisible --name '^clips$' | tail -n 1)
xdotool windowmove --sync "$manager" 0 0
sleep 2
look
# The only icon stands at the upper left, beside the list of places.
xdotool mousemove 207 120 click --repeat 2 --delay 80 1
wait_for "the window" xdotool search --onlyvisible --name '^Quorvantel$'
log=$HOME/Library/Logs/Quorvantel/Details.log
wait_for "the end of its look at the clip" grep -q "analysis            - fin (all src)" "$log"
sleep 1
look
pids+=($(xdotool getwindowpid "$(xdotool search --onlyvisible --name '^Quorvantel$' | tail -n 1)"))
grep -qF "$(basename "$clip")" "$log"
