# Shared by the scripts: installs what is missing and builds. Everything is told on standard error.

packages_missing() {
    local wanted
    wanted=$(sed -e '/^#/d' -e '/^$/d' "$1/scripts/packages.txt")
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

install_packages() {
    local missing
    missing=$(packages_missing "$1")
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

# build <source folder> <preset> [options of cmake --build...]
build() {
    local log
    log=$(mktemp)
    # Once configured, the build itself knows when to configure again.
    if ! {
        { [ -f "$1/build/$2/build.ninja" ] || cmake -S "$1" --preset "$2"; } &&
            build_with_ccache "$@"
    } >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}
