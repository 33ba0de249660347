# shellcheck shell=bash
# Sourced by the scripts of this folder: a folder of this run in $work, and what they check with.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
bad=0
wrong() {
    echo "wrong: $*" >&2
    bad=1
}
# same WHAT WANTED HAVE: the lines of both, in any order.
same() {
    diff <(sort -u <<<"$2") <(sort -u <<<"$3") >"$work/diff" ||
        wrong "$1 (< wanted, > there):"$'\n'"$(cat "$work/diff")"
}
