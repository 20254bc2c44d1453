# shellcheck shell=bash
# Bare Debian systems in folders below build/roots, to build packages in and to try them in; to be sourced behind
# common.sh. They need root.
#
# Whatever runs in such a root runs in namespaces of its own: no mount is seen outside of them, and the kernel
# takes down mounts and processes as soon as the command or the script that started it ends, in whatever way.

roots=$PWD/build/roots

if ((EUID != 0)); then
    echo "Bare systems are made and entered by root: run this as root." >&2
    exit 1
fi

apart=(setpriv --pdeathsig KILL unshare --mount --pid --fork --kill-child)

# mirror <label> <address>: where this machine gets Debian's packages from, or that address if it does not say.
mirror() {
    # shellcheck disable=SC2016 # the $( ) are apt-get's
    { apt-get indextargets --format '$(LABEL) $(REPO_URI)' 'Created-By: Packages' 2>/dev/null || true; } |
        awk -v label="$1" -v address="$2" '$1 == label { address = $2; exit } END { print address }'
}

# in_root <root> <command>...: runs a command there. It sees this project, read only, as /telvane.
in_root() {
    cp --dereference /etc/resolv.conf "$1/etc/resolv.conf"
    mkdir -p "$1/telvane"
    # shellcheck disable=SC2016 # for the shell within
    "${apart[@]}" bash -c '
        set -e
        mount -t proc proc "$1/proc"
        mount --bind "$2" "$1/telvane"
        mount -o remount,bind,ro "$1/telvane"
        exec chroot "$1" /usr/bin/env --ignore-environment PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root \
            LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "${@:3}"' bash "$1" "$PWD" "${@:2}" </dev/null
}

# bare_root <release>: makes the smallest system of a Debian release, unless it is there, in build/roots/<release>.
bare_root() {
    local release=$1 root=$roots/$1 log debian security
    [[ ! -d $root ]] || return 0
    scripts/install-packages.sh debootstrap debian-archive-keyring
    debian=$(mirror Debian http://deb.debian.org/debian)
    security=$(mirror Debian-Security http://deb.debian.org/debian-security)
    echo "Making a bare $release from $debian"

    mkdir -p "$roots"
    rm -rf "$root.new"
    log=$root.log
    "${apart[@]}" debootstrap --variant=minbase "$release" "$root.new" "$debian" \
        >"$log" 2>&1 || {
        tail -n 20 "$log" >&2
        return 1
    }
    rm "$log"

    cat >"$root.new/etc/apt/sources.list" <<END
deb $debian $release main
deb $debian $release-updates main
deb $security $release-security main
END
    # What this machine's settings say of proxies and dates holds there too.
    apt-config dump | grep -E '^Acquire::(https?::[Pp]roxy|Check-Valid-Until|Check-Date) ' \
        >"$root.new/etc/apt/apt.conf.d/90machine" || true
    echo 'Acquire::Languages "none";' >>"$root.new/etc/apt/apt.conf.d/90machine"
    # It can be made again: nothing of it has to be on the disk before the next package is.
    echo force-unsafe-io >"$root.new/etc/dpkg/dpkg.cfg.d/90unsafe-io"
    in_root "$root.new" sh -c 'apt-get -qq update && apt-get -qq --yes dist-upgrade && apt-get clean' >/dev/null 2>&1
    mv "$root.new" "$root"
}

# release_number <release>: 12 for bookworm.
release_number() {
    # shellcheck source=/dev/null
    (source "$roots/$1/etc/os-release" && echo "$VERSION_ID")
}

# copy_root <root> <copy>: a copy that can be thrown away.
copy_root() {
    rm -rf "$2"
    cp --archive --reflink=auto "$1" "$2"
}
