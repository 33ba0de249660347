#!/usr/bin/env bash
# The built application in a real window: drops three clips on it from another window, makes their
# sheets with a pause in between, tries a second copy, kills it, and quits while it works.
# Usage: end_to_end.sh BUNDLE DRAG_SOURCE
set -euo pipefail
bundle=$1
drag_source=$2
. "$(dirname "$0")/screen.sh"
mkdir -p "$work/clips"

# Far key frames make each still take a while, so that there is time to pause.
for name in first second "third one"; do
    ffmpeg -v error -f lavfi -i "testsrc2=s=1280x720:r=25" -t 24 -g 600 -c:v libx264 \
        -preset ultrafast "$work/clips/$name.mp4" </dev/null
done
sheets=$HOME/Movies/Quorvantel

window() { xdotool search --all --onlyvisible --pid "$app" --name '^Quorvantel$' | tail -n 1; }
is_alone() { [ "$(xdotool search --all --onlyvisible --pid "$app" --name . | wc -l)" = 1 ]; }
tools() { pgrep -f "^[^ ]*ffmpeg.*$work/clips" || true; }
states() { tools | xargs -r ps -o stat= -p; }
has_tools() { [ -n "$(tools)" ]; }
is_stopped() { states | grep -q '^T'; }
goes_on() { ! states | grep -q '^T'; }
start() {
    "$bundle/Contents/MacOS/Quorvantel" "$@" 2>"$work/stderr" &
    app=$!
    pids+=("$app")
    wait_for 20 "the window" window
    xdotool windowactivate --sync "$(window)"
}

echo "== a drop, and the analysis"
start
"$drag_source" "$work/clips/first.mp4" "$work/clips/second.mp4" "$work/clips/third one.mp4" \
    >"$work/drag" &
pids+=($!)
wait_for 20 "the drag source" grep -q ready "$work/drag"
eval "$(xdotool getwindowgeometry --shell "$(window)")"
xdotool windowmove --sync "$(window)" 400 60
eval "$(xdotool getwindowgeometry --shell "$(window)")"
xdotool mousemove 80 70 mousedown 1
for step in 90 110 140 200 300 $((X + WIDTH / 4)) $((X + WIDTH / 2)); do
    xdotool mousemove "$step" $((Y + 180))
    sleep 0.1
done
sleep 0.3
xdotool mouseup 1
wait_for 10 "the drop" grep -q dropped "$work/drag"
wait_for 60 "the end of the analysis" logged "analysis            - fin (all src)"
logged "drag'n'drop, final  = 3" || fail "three videos were dropped"

echo "== Go, pause, resume"
xdotool windowactivate --sync "$(window)"
key ctrl+Return
wait_for 20 "a tool" has_tools
key ctrl+p
wait_for 10 "the pause" is_stopped
before=$(ls "$sheets" 2>/dev/null | wc -l)
sleep 2
is_stopped || fail "the pause did not last"
[ "$before" = "$(ls "$sheets" 2>/dev/null | wc -l)" ] || fail "sheets were made in a pause"
key ctrl+p
wait_for 10 "the resuming" goes_on

echo "== a second copy refuses, and hands over what it is given"
"$bundle/Contents/MacOS/Quorvantel" 2>"$work/second" &
second=$!
pids+=("$second")
wait_for 20 "the refusal" xdotool search --all --onlyvisible --pid "$second" --name .
xdotool windowactivate --sync "$(xdotool search --all --onlyvisible --pid "$second" --name . | tail -n 1)"
key Return
wait_for 10 "the end of the second copy" ended "$second"
grep -q 'APP number of copy  :-( 2' "$work/second" || fail "the second copy told nothing"
xdotool windowactivate --sync "$(window)"

wait_for 120 "the sheets" logged "enc fini            :-)"
for name in first second "third one"; do
    [ "$(ffprobe -v error -show_entries stream=width -of csv=p=0 "$sheets/$name.jpg")" = 960 ] ||
        fail "the sheet of $name"
done
[ "$(ls -A "$sheets" | wc -l)" = 3 ] || fail "something is left beside the sheets"
wait_for 10 "the destination" grep -q "$sheets" "$work/opened"

echo "== quitting while it works asks first"
wait_for 30 "the end of the message" is_alone
xdotool windowactivate --sync "$(window)"
rm -f "$sheets"/*.jpg
key ctrl+Return
wait_for 20 "a tool" has_tools
key ctrl+q
wait_for 10 "the question" logged "taskClass !"
sleep 0.5
key Escape
sleep 0.5
kill -0 "$app" || fail "the answer Cancel ended it"
has_tools || wait_for 10 "a tool after Cancel" has_tools
key ctrl+q
sleep 0.7
key Return
wait_for 10 "the end" ended "$app"
wait "$app" || fail "it ended with status $?"
! has_tools || fail "a tool outlived it"
[ "$(ls -A "$sheets" | grep -cv '\.jpg$' || true)" = 0 ] || fail "half-made files are left"
[ ! -e "$TMPDIR/Quorvantel" ] || fail "the temporary folder is left"

echo "== killed, started again with a file, and all is well"
start "$work/clips/first.mp4"
wait_for 30 "the analysis" logged "analysis            - fin (all src)"
rm -f "$sheets"/*.jpg
xdotool windowactivate --sync "$(window)"
key ctrl+Return
wait_for 20 "a tool" has_tools
kill -KILL "$app"
wait "$app" 2>/dev/null || true
[ ! -e "$sheets/first.jpg" ] || fail "half a sheet at its name"
start "$work/clips/second.mp4"
wait_for 30 "the analysis" logged "analysis            - fin (all src)"
"$bundle/Contents/MacOS/Quorvantel" "$work/clips/third one.mp4"
wait_for 30 "the handed-over video" logged "third one.mp4"
grep -qa processEncDico "$HOME/Library/Preferences/org.quorvantel.Quorvantel.plist" &&
    fail "working keys of the killed run are left"
kill -TERM "$app"
wait_for 10 "the end" ended "$app"
echo "all is well"
