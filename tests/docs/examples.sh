#!/usr/bin/env bash
# Runs every command line of the documents, as a reader would type it, in a folder of its own with a
# clip or two: lines of code blocks that call quorvantel-cli and have no placeholder in capitals.
# Also checks that every file that a document links to is there.
# Usage: examples.sh PROJECT BUNDLE
set -euo pipefail
project=$1
bundle=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HOME=$work/home TMPDIR=$work/tmp
mkdir -p "$HOME/Videos" "$TMPDIR" "$work/bin" "$work/here/clips"
ln -s "$bundle/Contents/MacOS/quorvantel-cli" "$work/bin/quorvantel-cli"
PATH=$work/bin:$PATH
cd "$work/here"
ffmpeg -v error -f lavfi -i "testsrc2=s=320x180:r=25" -f lavfi -i "sine=b=4" -t 20 -g 25 \
    -c:v libx264 -preset ultrafast -c:a aac clips/walk.mp4 </dev/null
cp clips/walk.mp4 clips/second.mp4
cp clips/walk.mp4 "$HOME/Videos/at home.mp4"
cp clips/walk.mp4 "$HOME/Videos/at home.mov"

bad=0
count=0
documents=("$project"/README.md "$project"/docs/*.md)
while IFS= read -r line; do
    count=$((count + 1))
    if ! bash -o pipefail -c "$line" >out 2>err </dev/null; then
        echo "this line of the documents fails: $line" >&2
        cat err >&2
        bad=1
    fi
done < <(sed -n 's/^    \(.*quorvantel-cli .*\)$/\1/p' "${documents[@]}" |
    grep -vE '(SOURCE|SHEET|DIR|FILE|\\$|exec )')
[ "$count" -ge 15 ] || { echo "only $count command lines were found" >&2; bad=1; }

for document in "${documents[@]}" "$project"/{ARCHITECTURE,CONTRIBUTING}.md; do
    while IFS= read -r target; do
        [ -e "$(dirname "$document")/$target" ] || {
            echo "$document leads to $target, which is not there" >&2
            bad=1
        }
    done < <(grep -oE '\]\([^)#]+\)' "$document" | sed -e 's/^](//' -e 's/)$//' | grep -v '^https\?:')
done
echo "$count command lines"
exit "$bad"
