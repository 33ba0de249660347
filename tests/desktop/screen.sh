# A screen of its own with a window manager, a home and a temporary folder, for scripts that drive
# the application. Sets `work`, a folder that goes with the script, and `pids`, what ends with it.
work=$(mktemp -d)
pids=()

finish() {
    local status=$?
    for pid in "${pids[@]}"; do
        kill -KILL "$pid" 2>/dev/null || true
    done
    if [ "$status" != 0 ]; then
        echo "---- last lines of the log" >&2
        tail -n 30 "$HOME/Library/Logs/Quorvantel/Details.log" >&2 || true
    fi
    rm -rf "$work"
    exit "$status"
}
trap finish EXIT

fail() {
    echo "failed: $1" >&2
    exit 1
}
# wait_for SECONDS WHAT COMMAND...
wait_for() {
    local end=$((SECONDS + $1)) what=$2
    shift 2
    until "$@" >/dev/null 2>&1; do
        [ "$SECONDS" -lt "$end" ] || fail "$what did not come"
        sleep 0.1
    done
}
logged() { grep -qF -- "$1" "$HOME/Library/Logs/Quorvantel/Details.log"; }
ended() { ! kill -0 "$1" 2>/dev/null; }
key() { xdotool key --clearmodifiers "$1"; }

mkfifo "$work/display"
Xvfb -displayfd 3 -screen 0 1400x900x24 -nolisten tcp 3>"$work/display" >/dev/null 2>&1 &
pids+=($!)
read -r -t 20 number <"$work/display" || fail "the screen"
export DISPLAY=:$number QT_QPA_PLATFORM=xcb LANG=en_US.UTF-8 LANGUAGE=en
unset http_proxy https_proxy all_proxy HTTP_PROXY HTTPS_PROXY ALL_PROXY
export DBUS_SESSION_BUS_ADDRESS=unix:path=$work/no-bus
openbox >/dev/null 2>&1 &
pids+=($!)
export HOME=$work/home TMPDIR=$work/tmp XDG_RUNTIME_DIR=$work/run XDG_CONFIG_HOME=$work/home/.config
export XDG_DATA_HOME=$work/home/.local/share XDG_CACHE_HOME=$work/home/.cache
mkdir -p "$HOME" "$TMPDIR" "$XDG_RUNTIME_DIR" "$work/bin"
chmod 700 "$XDG_RUNTIME_DIR"
# What opens folders on this desktop.
printf '#!/bin/sh\nprintf "%%s\\n" "$*" >>"%s/opened"\n' "$work" >"$work/bin/xdg-open"
chmod +x "$work/bin/xdg-open"
PATH=$work/bin:$PATH
