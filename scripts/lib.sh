# Shared by the scripts beside it, which source it first: the tree's root as the current folder, and
# the Debian packages that each purpose needs.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
export DEBIAN_FRONTEND=noninteractive

# One list for each purpose; a script asks for the purposes that it serves.
declare -A packages=(
    [build]="cmake ninja-build g++"
    [test]="googletest clang pkgconf"
    [i686]="g++-i686-linux-gnu"
    [ppc]="g++-powerpc-linux-gnu qemu-user locales"
    [package]="dpkg-dev file"
    [trial]="mmdebstrap"
    [bench]="libbenchmark-dev libpoco-dev libinih-dev libglib2.0-dev libboost-dev libuv1-dev pkgconf python3"
    [format]="clang-format"
    [lint]="clang-tidy"
    [docs]="doxygen"
    [valgrind]="valgrind"
)

as_root() {
    if [[ $(id -u) -eq 0 ]]; then
        "$@"
    else
        sudo "$@"
    fi
}

is_installed() {
    dpkg-query -W -f='${db:Status-Status}\n' "$1" 2>/dev/null | grep -qx installed
}

# quietly COMMAND...: shows what the command prints only if it fails.
quietly() {
    local log status=0
    log=$(mktemp)
    "$@" >"$log" 2>&1 || status=$?
    [[ $status -eq 0 ]] || cat "$log" >&2
    rm -f "$log"
    return $status
}

# need PURPOSE...: installs what is missing of these purposes' packages; without a missing one it
# asks no registry.
need() {
    local purpose package missing=()
    for purpose; do
        for package in ${packages[$purpose]}; do
            is_installed "$package" || missing+=("$package")
        done
    done
    [[ ${#missing[@]} -gt 0 ]] || return 0
    echo "Installing ${missing[*]}"
    quietly as_root apt-get update -qq
    quietly as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

# steady COMMAND...: runs it with a fixed address-space layout where the system allows that, for the
# thread sanitizer finds no room for its shadow under a widely randomised one.
steady() {
    if setarch -R true 2>/dev/null; then
        setarch -R "$@"
    else
        "$@"
    fi
}

# configure PRESET FOLDER [CMAKE ARGUMENT...]: configures into build/FOLDER.
configure() {
    local preset=$1 folder=build/$2
    shift 2
    quietly cmake --preset "$preset" -B "$folder" -G Ninja "$@"
}

# build PRESET FOLDER [CMAKE ARGUMENT...]: configures and builds into build/FOLDER.
build() {
    echo "Building build/$2"
    configure "$@"
    quietly steady cmake --build "build/$2"
}

# usage: prints the comment at the head of the script that runs.
usage() {
    sed -n '2,/^[^#]/{/^#/s/^# \{0,1\}//p}' "$0"
}
