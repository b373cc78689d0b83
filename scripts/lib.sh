# Shared by the scripts beside it. A script sources this file first, without arguments, so the code
# here sees the script's own ones. It answers --help, and it makes the tree's root the current folder.
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive

# usage: prints the comment at the head of the script that runs.
usage() {
    sed -n '2,/^[^#]/{/^#/s/^# \{0,1\}//p}' "$0"
}

# Arguments after -- belong to another program, so a --help among them does too.
for argument; do
    case $argument in
    -h | --help)
        usage
        exit
        ;;
    --) break ;;
    esac
done
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# misuse MESSAGE: ends the script because of its arguments.
misuse() {
    echo "scripts/${0##*/}: $1; --help lists the arguments" >&2
    exit 2
}

# unknown ARGUMENT: ends the script because it takes no such argument.
unknown() {
    misuse "unknown argument '$1'"
}

# require_value OPTION [VALUE]: ends the script if the option stands without its value.
require_value() {
    [[ $# -ge 2 ]] || misuse "$1 takes a value"
}

# The targets besides the native one. Each has a preset, a toolchain file and packages of its name.
targets=(i686 ppc aarch64 armhf s390x riscv64)

# The Debian packages for each purpose. A script asks for the purposes that it serves.
declare -A packages=(
    [build]="cmake ninja-build g++"
    [test]="googletest clang gdb pkgconf python3"
    [i686]="g++-i686-linux-gnu"
    [ppc]="g++-powerpc-linux-gnu qemu-user locales"
    [aarch64]="g++-aarch64-linux-gnu qemu-user"
    [armhf]="g++-arm-linux-gnueabihf qemu-user"
    [s390x]="g++-s390x-linux-gnu qemu-user locales"
    [riscv64]="g++-riscv64-linux-gnu qemu-user"
    [package]="dpkg-dev file lintian"
    [trial]="mmdebstrap"
    [bench]="libbenchmark-dev libpoco-dev libinih-dev libglib2.0-dev libboost-dev libuv1-dev pkgconf python3"
    [format]="clang-format"
    [lint]="clang clang-tidy cppcheck"
    [docs]="doxygen doxygen-awesome-css libjs-lunr python3"
    [valgrind]="valgrind"
    [coverage]="gcovr"
    [fuzz]="libclang-rt-dev"
    [mutate]="python3"
    [soak]="python3"
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

# need PURPOSE...: installs the packages of these purposes that are missing. If none is missing, it
# asks no registry. On a system without Debian's packages it trusts that the tools are there.
need() {
    local purpose package missing=()
    command -v dpkg-query >/dev/null || return 0
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

# tree_files PATTERN...: prints the names of the tree's own files that match, with a zero byte after
# each. Without git, as in a release tarball, these are all files but those that were built.
tree_files() {
    if [[ -e .git ]] && git rev-parse --git-dir >/dev/null 2>&1; then
        git ls-files -z --cached --others --exclude-standard -- "$@"
        return
    fi
    local pattern any=(-false)
    for pattern; do
        any+=(-o -name "$pattern")
    done
    find . -mindepth 1 \( -path './build*' -o -path ./dist -o -path './.*' \) -prune -o \
        -type f \( "${any[@]}" \) -printf '%P\0'
}

# steady COMMAND...: runs it with a fixed address-space layout where the system allows that. The
# thread sanitizer needs this, because it finds no room for its shadow under a widely random layout.
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
    quietly cmake --preset "$preset" -B "$folder" "$@"
}

# build PRESET FOLDER [CMAKE ARGUMENT...]: configures and builds into build/FOLDER.
build() {
    echo "Building build/$2"
    configure "$@"
    quietly steady cmake --build "build/$2"
}
