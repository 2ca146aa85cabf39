# SPDX-License-Identifier: MIT
# Sourced by the programs of this folder: clean Debian 12 systems below a folder, in which commands run as on a new
# machine. Needs root, debootstrap (Debian: debootstrap) and a mirror of Debian's packages.

MIRROR=${SONREL_DEBIAN_MIRROR:-http://deb.debian.org/debian}
SECURITY=${SONREL_DEBIAN_SECURITY:-http://deb.debian.org/debian-security}

die() {
    echo "$0: $*" >&2
    exit 1
}

# new_folder [FOLDER]: sets FOLDER, where the systems are made, and removes it at the end of the program.
new_folder() {
    [ "$(id -u)" -eq 0 ] || die "a clean system can only be made by root; start it with sudo"
    command -v debootstrap >/dev/null || die "debootstrap is not installed; run tools/setup check"
    FOLDER=${1-$(mktemp -d)}
    [ -z "${1-}" ] || { [ ! -e "$1" ] && mkdir -p "$1"; } || die "$1 exists; name a new folder"
    FOLDER=$(cd "$FOLDER" && pwd)
    trap 'rm -rf --one-file-system "$FOLDER"' EXIT
}

# make_system ROOT: the smallest system of debootstrap, with the lists of Debian's packages and updates.
# SONREL_CLEAN_SYSTEM is a folder with such a system, made by "debootstrap --variant=minbase bookworm", to copy instead.
make_system() {
    local log=$1.log
    if [ -n "${SONREL_CLEAN_SYSTEM-}" ]; then
        cp -a --one-file-system "$SONREL_CLEAN_SYSTEM" "$1"
    else
        debootstrap --variant=minbase bookworm "$1" "$MIRROR" >"$log" 2>&1 ||
            { tail -n 20 "$log" >&2; die "debootstrap failed; its last lines are above"; }
    fi
    printf 'deb %s\n' "$MIRROR bookworm main" "$SECURITY bookworm-security main" \
        >"$1/etc/apt/sources.list"
    mkdir -p "$1/root/try"
    inside "$1" "apt-get -q update" >"$log" 2>&1 ||
        { tail -n 20 "$log" >&2; die "apt-get update failed; its last lines are above"; }
}

# inside ROOT COMMANDS: runs the commands of a shell in the system, in /root/try, with processes, terminals and an
# separate environment. Whatever is mounted or still runs there ends with the commands.
inside() {
    unshare --mount --pid --fork --kill-child -- bash -euo pipefail -c '
        mount -t proc proc "$1/proc"
        mount -t devpts -o newinstance,ptmxmode=0666,mode=0620 devpts "$1/dev/pts"
        exec env -i HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive TERM=dumb \
            PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
            ${http_proxy:+http_proxy="$http_proxy"} \
            chroot "$1" /bin/bash -euo pipefail -c "cd /root/try; $2"' inside "$1" "$2" </dev/null
}

# show ROOT COMMANDS: the same, and prints the commands before their output.
show() {
    printf '\n$ %s\n' "$2"
    inside "$1" "$2" 2>&1 || die "the command above failed"
}

# quiet ROOT COMMANDS: the same, with the output only of a failure.
quiet() {
    printf '\n$ %s\n' "$2"
    inside "$1" "$2" >"$FOLDER/quiet.log" 2>&1 ||
        { tail -n 40 "$FOLDER/quiet.log"; die "the command above failed"; }
}
