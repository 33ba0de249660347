#!/usr/bin/env bash
# What is said of the program outside of it is true: options, file types, versions.
# Usage: papers.sh SOURCE_FOLDER BUNDLE VERSION
set -euo pipefail
top=$1
bundle=$2
version=$3
packaging=$top/packaging
id=org.quorvantel.Quorvantel
. "$(dirname "$0")/checks.sh"

# ---- options

long_options() { grep -oE -e '--[a-z][a-z0-9-]+' | sort -u; }
help_of() { "$bundle/Contents/MacOS/$1" "${@:2}" --help; }
options_of_help() { sed -nE 's/^  (-[a-z], )?(--[a-z0-9-]+).*/\2/p'; }

declare -A options
every=--version
for command in sheet info plan read; do
    options[$command]=$(help_of quorvantel-cli $command | options_of_help)
    [ -n "${options[$command]}" ] || wrong "$command --help shows no options"
    every+=$'\n'${options[$command]}
done
commands=$(help_of quorvantel-cli | sed -nE '/^Commands:/,/^$/s/^  ([a-z]+) .*/\1/p')

roff_text() { sed 's/\\-/-/g' "$packaging/man/$1.1"; }
same "options in quorvantel-cli(1)" "$every" "$(roff_text quorvantel-cli | long_options)"
same "commands in quorvantel-cli(1)" "$commands" \
    "$(sed -n '/^\.SH COMMANDS/,/^\.SH OPTIONS/s/^\.B //p' "$packaging/man/quorvantel-cli.1")"
# Of the window's program everything is short enough to be looked at as a whole.
options_of_window=$(help_of Quorvantel | options_of_help)
while IFS= read -r text; do
    same "options in ${text##*/}" "$options_of_window" \
        "$(sed -E 's/\\-/-/g; s/ -l / --/' "$text" | long_options)"
done < <(ls "$packaging"/{man/{,fr/}quorvantel.1,completions/{quorvantel.bash,_quorvantel,quorvantel.fish}})
used=$(sed -nE 's/^Exec=quorvantel (--.*)/\1/p' "$packaging/$id.desktop")
[ -z "$(grep -vFx -e "$options_of_window" <<<"$used")" ] || wrong "options of the desktop entry: $used"
for page in quorvantel fr/quorvantel quorvantel-cli; do
    groff -man -Kutf8 -Tutf8 -ww "$packaging/man/$page.1" 2>"$work/groff" >/dev/null || true
    [ ! -s "$work/groff" ] || wrong "$page.1: $(cat "$work/groff")"
done

# What bash offers behind these words.
offered() {
    bash -c '
        _init_completion() { words=("${COMP_WORDS[@]}") cword=$COMP_CWORD cur=${words[cword]} prev=${words[cword-1]}; }
        _filedir() { :; }
        compopt() { :; }
        . "$1"; shift
        COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
        _quorvantel_cli && printf "%s\n" "${COMPREPLY[@]}"
    ' _ "$packaging/completions/quorvantel-cli.bash" quorvantel-cli "$@"
}
for command in sheet info plan read; do
    same "bash's options of $command" "${options[$command]}" "$(offered $command --)"
done
same "bash's commands" "$commands"$'\n--help\n--version' "$(offered "")"
same "bash's captions" $'name,date\nname,duration' "$(offered sheet --caption name,d)"
same "zsh's options" "$every" "$(long_options <"$packaging/completions/_quorvantel-cli")"
same "fish's options" "${every//--/}" \
    "$(sed -nE 's/^complete .* -l ([a-z0-9-]+).*/\1/p' "$packaging/completions/quorvantel-cli.fish")"

# ---- file types

# Their other meanings are the usual ones, or they are folders.
others="cin cpk drc eyetv film imovieproject mod mtv mve pmp ps rpl str ty ty+ vid wsv"
mkdir -p "$work/mime/packages"
cp /usr/share/mime/packages/freedesktop.org.xml "$packaging/$id.mime.xml" "$work/mime/packages"
update-mime-database "$work/mime" 2>"$work/log" || wrong "$(cat "$work/log")"
admitted=$(sed -n '/CFBundleTypeExtensions/,/<\/array>/s/.*<string>\(.*\)<\/string>.*/\1/p' \
    "$bundle/Contents/Info.plist" | tr '[:upper:]' '[:lower:]')
types=$(sed -n 's/^MimeType=//p' "$packaging/$id.desktop" | tr ';' '\n' | sed '/^$/d')
# extensions of the types that the desktop entry names: "type extension"
known=$(awk -F: 'NR == FNR { wanted[$1]; next } $2 in wanted { print $2, tolower(substr($3, 3)) }' \
    <(echo "$types") "$work/mime/globs2")
same "admitted extensions with a type" "$admitted" \
    "$(grep -Fxf <(echo "$admitted") <(cut -d ' ' -f 2 <<<"$known"); tr ' ' '\n' <<<"$others")"
same "types with an admitted extension" "$types" \
    "$(awk 'NR == FNR { admitted[$1]; next } $2 in admitted { print $1 }' \
        <(echo "$admitted") <(echo "$known"))"
desktop-file-validate "$packaging/$id.desktop" >&2 || wrong "the desktop entry"

# ---- versions and pictures

metainfo=$packaging/$id.metainfo.xml
appstreamcli validate --no-net "$metainfo" >&2 || wrong "the metainfo"
same "newest version of the metainfo" "$version" \
    "$(grep -oP '<release version="\K[^"]+' "$metainfo" | head -n 1)"
same "newest version of CHANGELOG.md" "$version" \
    "$(sed -nE 's/^## ([0-9.]+).*/\1/p' "$top/CHANGELOG.md" | head -n 1)"
same "newest version of the Debian changelog" "$version-1" \
    "$(sed -nE '1s/.*\((.*)\).*/\1/p' "$packaging/changelog")"
while read -r width height picture; do
    # The size stands in the first bytes of a PNG.
    size=$(od -An -tu1 -j16 -N8 "$top/docs/pictures/$picture" |
        awk '{ print $3 * 256 + $4, $7 * 256 + $8 }')
    same "size of $picture" "$width $height" "$size"
done < <(sed -nE 's|.*width="([0-9]+)" height="([0-9]+)".*/screenshots/([^<]+)<.*|\1 \2 \3|p' "$metainfo")
exit "$bad"
