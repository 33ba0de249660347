# Shared by the scripts: installs what is missing and builds. All messages go to standard error.

# packages_missing <source folder> <list>...: of scripts/packages/<list>.txt
packages_missing() {
    local wanted list
    wanted=$(for list in "${@:2}"; do sed -e '/^#/d' -e '/^$/d' "$1/scripts/packages/$list.txt"; done)
    # shellcheck disable=SC2086
    comm -23 <(sort <<<"$wanted") <(
        dpkg-query -W -f='${Package} ${db:Status-Status}\n' $wanted 2>/dev/null |
            sed -n 's/ installed$//p' | sort
    )
}

as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

# Whether each of these commands is there.
has_tools() {
    local tool
    for tool; do
        command -v "$tool" >/dev/null || return 1
    done
}

# install_packages <source folder> [list...]: all lists by default
install_packages() {
    local missing lists=("${@:2}")
    [ ${#lists[@]} -gt 0 ] || lists=(command window test)
    missing=$(packages_missing "$1" "${lists[@]}")
    [ -n "$missing" ] || return 0
    echo "Installing: $(echo "$missing" | tr '\n' ' ')" >&2
    {
        as_root apt-get update -q &&
            # shellcheck disable=SC2086
            as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q \
                --no-install-recommends $missing
    } >&2
}

# What one build folder has compiled serves the others, in another clone, too; ccache leaves files
# with precompiled headers alone unless it is told that they hold no dates.
build_with_ccache() {
    CCACHE_BASEDIR=$1 CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros \
        cmake --build "$1/build/$2" "${@:3}"
}

# build <source folder> <preset> [options of cmake --build...]: shows the build's own progress on a
# terminal; elsewhere it is silent unless it fails
build() {
    configure "$1" "$2" || return
    if [ -t 2 ]; then
        build_with_ccache "$@" 2>&1 | show_progress >&2
    else
        quietly build_with_ccache "$@"
    fi
}

# The lines "[12/170] Building..." of ninja, each in the place of the one before; nothing of a build
# that has nothing to do.
show_progress() {
    local line columns
    columns=$(tput cols 2>/dev/null || echo 80)
    while IFS= read -r line; do
        case $line in
        *"] Re-checking globbed"* | "ninja: Entering"* | "ninja: no work"*) ;;
        "["*"] "*) printf '\r%s\033[K' "${line:0:columns-1}" ;;
        *) printf '\r\033[K%s\n' "$line" ;;
        esac
    done
    printf '\r\033[K'
}

# The command and the window share build/release. What only the window needs is left out until it is
# asked for.
build_command() {
    [ -f "$1/build/release/build.ninja" ] || configure "$1" release -DQV_SHELL=OFF -DQV_MOVIES=OFF
    build "$1" release
}
build_window() {
    configure "$1" release -DQV_SHELL=ON -DQV_MOVIES=ON && build "$1" release
}

# configure <source folder> <preset> [-DNAME=ON|OFF...]: nothing when it is configured so; from then
# on the build itself knows when to configure again
configure() {
    is_configured "$@" || quietly cmake -S "$1" --preset "$2" "${@:3}"
}

is_configured() {
    local option folder=$1/build/$2
    [ -f "$folder/build.ninja" ] || return 1
    for option in "${@:3}"; do
        grep -q "^$(cut -d= -f1 <<<"${option#-D}"):BOOL=${option#*=}\$" "$folder/CMakeCache.txt" ||
            return 1
    done
}

quietly() {
    local log
    log=$(mktemp)
    if ! "$@" >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}
