# A clean Debian root for the scripts that try something in one. It is made in the folder $root, and
# removed when the shell that made it ends. The script works as root.

# make_root SUITE PACKAGE...: a root of that Debian suite with apt and these packages, from the same
# servers as this machine's own.
make_root() {
    local suite=$1 own sources
    shift
    own=$(. /etc/os-release && echo "$VERSION_CODENAME")
    sources=$(mktemp -d)
    root=$(mktemp -d)
    trap 'rm -rf "$root"' EXIT
    find /etc/apt \( -name '*.sources' -o -name '*.list' \) -type f -exec cp {} "$sources" \;
    sed -i "s/\b$own\b/$suite/g" "$sources"/*
    quietly mmdebstrap --variant=essential --include="apt,$(IFS=, && echo "$*")" \
        "$suite" "$root" "$sources"/*
    rm -rf "$sources"
}

# in_root COMMAND...: runs it in the root, with the folders that a running system has.
in_root() {
    unshare --mount sh -ec '
        mount -t proc proc "$0/proc"
        mount -t tmpfs tmpfs "$0/dev/shm"
        exec chroot "$0" env -i DEBIAN_FRONTEND=noninteractive LC_ALL=C HOME=/root \
            PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin "$@"' "$root" "$@"
}
