#!/usr/bin/env bash
# The built application brings itself to a newer version in a real window: it finds it at its start,
# is told to install it, is killed while it downloads, goes the whole road the second time, and is
# started again by itself. Everything happens in folders of this run, with a server on the loopback.
# Usage: update_end_to_end.sh BUNDLE UPDATE_SERVER SIGN_UPDATE
set -euo pipefail
bundle=$1
update_server=$2
sign_update=$3
. "$(dirname "$0")/screen.sh"
place=$work/apps/Quorvantel.app
site=$work/site
mkdir -p "$work/apps" "$work/new" "$site/ky" "$site/dlCenter"

# ---- a site with a newer version, and the older one at its place
"$sign_update" new-key "$work/key" >/dev/null 2>&1
"$update_server" "$site" --port-file "$work/port" --slow 3000000 >/dev/null &
pids+=($!)
wait_for 10 "the server" test -s "$work/port"
# set_info BUNDLE KEY VALUE
set_info() {
    sed -i "/<key>$2</{n;s|<string>.*</string>|<string>$3</string>|}" "$1/Contents/Info.plist"
}
cp -a "$bundle" "$place"
# What is large and not needed for this.
rm -f "$place"/Contents/Resources/fonts/*CJK* "$place"/Contents/Resources/fonts/*Emoji*
strip "$place"/Contents/MacOS/*
set_info "$place" QVUpdateAddress "http://127.0.0.1:$(cat "$work/port")/"
set_info "$place" QVUpdatePublicKey "$("$sign_update" public-key "$work/key")"
set_info "$place" CFBundleShortVersionString 1.0
# An archive has no links to elsewhere: what they lead to comes along.
cp -aL "$place" "$work/new/Quorvantel.app"
set_info "$work/new/Quorvantel.app" CFBundleShortVersionString 2.0
(cd "$work/new" && zip -qr "$site/dlCenter/Quorvantel-2.0.zip" Quorvantel.app)
echo connected >"$site/ky/isConnected.htm"
{
    echo "<key>systemVersionMin</key><value>4.0</value>"
    echo "<key>dlPath</key><value>Quorvantel-2.0.zip</value>"
    "$sign_update" sign "$work/key" "$site/dlCenter/Quorvantel-2.0.zip" 2>/dev/null
} >"$site/dlCenter/update.php"
echo "<h2>Version 2.0</h2><p>It is <b>better</b>.</p>" >"$site/dlCenter/notes.html"

# ---- the user wishes for checks
mkdir -p "$HOME/Library/Preferences"
cat >"$HOME/Library/Preferences/org.quorvantel.Quorvantel.plist" <<'END'
<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>update</key><integer>1</integer></dict></plist>
END

version_there() {
    sed -n '/CFBundleShortVersionString/{n;s/.*<string>\(.*\)<.*/\1/p}' "$1/Contents/Info.plist"
}
sheet() { xdotool search --all --onlyvisible --pid "$app" --name '^Updates$' | tail -n 1 | grep .; }
no_sheet() { ! sheet; }
# The file of the download has no name.
kept() { find -L "/proc/$app/fd" -maxdepth 1 -type f -links 0 -size +100k | grep .; }
staged() { find "$work/apps" "$TMPDIR" -maxdepth 1 -name '.quorvantel-update-*' | grep .; }
running() { pgrep -f "^$place/Contents/MacOS/Quorvantel" | grep .; }
start() {
    "$place/Contents/MacOS/Quorvantel" 2>"$work/stderr" &
    app=$!
    pids+=("$app")
    wait_for 20 "the offer" sheet
    wait_for 10 "the offer's end" logged "up                  - post"
    xdotool windowactivate --sync "$(sheet)"
}

echo "== the offer, and a look away"
start
key Escape
wait_for 10 "the closing of the sheet" no_sheet
kill -TERM "$app"
wait_for 10 "the end" ended "$app"

echo "== killed while it downloads: nothing is changed"
start
key Return
wait_for 10 "a part of the archive" kept
kill -KILL "$app"
wait "$app" 2>/dev/null || true
[ "$(version_there "$place")" = 1.0 ] || fail "the application was changed"
[ "$(ls -A "$work/apps")" = Quorvantel.app ] || fail "something is left beside the application"

echo "== cancelled, gone on with, installed"
start
key Return
wait_for 10 "a part of the archive" kept
key Escape
wait_for 10 "the cancelling" logged "dl                  - cancelled"
kill -0 "$app" || fail "it ended by the cancelling"
key Return
wait_for 60 "the end of version 1.0" ended "$app"
wait "$app" || fail "it ended with status $?"
[ "$(version_there "$place")" = 2.0 ] || fail "version 2.0 is not at its place"
trash=$XDG_DATA_HOME/Trash
[ "$(version_there "$trash/files/Quorvantel.app")" = 1.0 ] || fail "version 1.0 is not in the trash"
grep -q "^Path=$place\$" "$trash/info/Quorvantel.app.trashinfo" || fail "the trash knows no origin"
[ "$(ls -A "$work/apps")" = Quorvantel.app ] || fail "something is left beside the application"
[ ! -e "$TMPDIR/Quorvantel" ] || fail "the temporary folder is left"
! staged || fail "a folder of the update is left, of this or of the killed start"

echo "== it starts again by itself, and is up to date"
wait_for 30 "version 2.0" running
pids+=($(running))
wait_for 20 "its check" logged "update              :-) upToDate"
logged "app                 : Quorvantel - 2.0" || fail "another version was started"
kill -TERM "$(running)"
echo "all is well"
