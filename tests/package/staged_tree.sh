#!/usr/bin/env bash
# Installs both components into folders of this run and looks at what came.
# Usage: staged_tree.sh BUILD_FOLDER
set -euo pipefail
build=$1
. "$(dirname "$0")/checks.sh"

for component in cli desktop; do
    DESTDIR=$work/$component cmake --install "$build" --prefix /usr --component $component \
        >"$work/log" || { cat "$work/log" >&2; exit 1; }
    (cd "$work/$component" && find . ! -type d | sort) >"$work/$component.list"
done
[ -z "$(comm -12 "$work"/{cli,desktop}.list)" ] ||
    wrong "both packages hold $(comm -12 "$work"/{cli,desktop}.list)"
grep -v '^\./usr/' "$work"/{cli,desktop}.list && wrong "these are not under /usr"

# Both together are what a machine has.
stage=$work/stage
mkdir "$stage"
cp -a "$work"/{cli,desktop}/usr "$stage"
app=usr/lib/quorvantel/Quorvantel.app/Contents
for command in quorvantel quorvantel-cli; do
    for file in bin/$command share/man/man1/$command.1.gz share/doc/$command/copyright \
        share/doc/$command/changelog.gz share/doc/$command/changelog.Debian.gz \
        share/bash-completion/completions/$command share/zsh/vendor-completions/_$command \
        share/fish/vendor_completions.d/$command.fish; do
        [ -s "$stage/usr/$file" ] || wrong "$file is missing"
    done
done

[ -s "$stage/usr/share/man/fr/man1/quorvantel.1.gz" ] || wrong "the French man page is missing"

# What the built bundle has is installed, and nothing else.
same "contents of the bundle" "$(cd "$build/Quorvantel.app/Contents" && find . ! -type d)" \
    "$(cd "$stage/$app" && find . ! -type d)"

# A link leads to something that is installed, or to a file of the system by the way that counts
# from its place.
while IFS= read -r link; do
    target=$(readlink "$link")
    [[ $target != /* ]] || wrong "$link is absolute"
    resolved=$(realpath -m "$(dirname "$link")/$target")
    [ -e "$resolved" ] || [ -e "${resolved#"$stage"}" ] || wrong "$link leads nowhere: $target"
    [[ $resolved == "$stage"/usr/* ]] || wrong "$link leaves the system: $target"
done < <(find "$stage" -type l)
[ "$(realpath -m "$stage/$app/Resources/tools/ffmpeg")" = "$stage/usr/bin/ffmpeg" ] ||
    wrong "the link to ffmpeg"

# The command's package pulls none of the window's libraries.
while IFS= read -r file; do
    if ldd "$file" | grep -E 'libQt6(Widgets|Svg|Network)|not found'; then wrong "$file loads these"; fi
    if readelf -d "$file" | grep -E 'R(UN)?PATH|NEEDED.*(Qt6DBus|sodium|minizip)'; then
        wrong "$file names these"
    fi
done < <(find "$work/cli" -type f \( -perm -u+x -o -name '*.so' \) | sort)

# The installed command finds its bundle through the link in /usr/bin, and leaves nothing but the
# sheet.
ln -s "$(command -v ffmpeg)" "$stage/usr/bin/ffmpeg"
mkdir "$work/home" "$work/tmp"
ffmpeg -v error -f lavfi -i testsrc=s=320x240:r=10 -t 4 -c:v mpeg4 "$work/clip.avi" </dev/null
sheet=$(env -u XDG_RUNTIME_DIR HOME="$work/home" TMPDIR="$work/tmp" \
    "$stage/usr/bin/quorvantel-cli" sheet -o "$work/sheets" "$work/clip.avi") ||
    wrong "no sheet is made"
left=$(find "$work/home" "$work/tmp" -mindepth 1)
[ -z "$left" ] || wrong "left behind: $left"
[ -s "$sheet" ] || wrong "there is no sheet '$sheet'"
exit "$bad"
