# Completion of quorvantel-cli for bash.

_quorvantel_cli_captions() {
    local names="name location date duration picture size contents timecode" done=
    [[ $cur != *,* ]] || done=${cur%,*},
    mapfile -t COMPREPLY < <(compgen -P "$done" -W "$names" -- "${cur##*,}")
    [ -n "$done" ] || [[ none != "$cur"* ]] || COMPREPLY+=(none)
    compopt -o nospace
}

_quorvantel_cli() {
    local cur prev words cword
    _init_completion || return
    local every="--help --json --quiet --from"
    local common="$every --log --verbose --hang-timeout --no-confinement --quick --strict"
    local options
    case ${words[1]} in
    sheet)
        options="$common --layout --count --output --format --keep --replace --update"
        options="$options --no-paths --print0 --jobs --shard --no-timecode --caption --background --border-color --border-size"
        ;;
    info) options=$common ;;
    plan) options="$common --layout --count" ;;
    read) options=$every ;;
    *) options="" ;;
    esac
    if [ "$cword" = 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "sheet info plan read --help --version" -- "$cur")
        return
    fi
    case $prev in
    -l | --layout) mapfile -t COMPREPLY < <(compgen -W "big medium minimum mixed" -- "$cur") ;;
    -f | --format) mapfile -t COMPREPLY < <(compgen -W "jpg png" -- "$cur") ;;
    --caption) _quorvantel_cli_captions ;;
    -o | --output) _filedir -d ;;
    --log | --from) _filedir ;;
    -n | --count | --jobs | --shard | --background | --border-color | --border-size | --hang-timeout) ;;
    *)
        if [[ $cur == -* ]]; then
            mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
        else
            _filedir
        fi
        ;;
    esac
}

complete -F _quorvantel_cli quorvantel-cli
