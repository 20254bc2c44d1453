#!/bin/bash
# Builds the Debian packages and tries them: scripts/check-packages.sh [bookworm|trixie]...
#
# Each release in bare systems of its own below build/roots, thrown away afterwards. The packages for amd64 are
# installed with what they depend on; the demo runs from the installed programs, manual pages are found, the
# library's examples are built by CMake and by pkg-config, and after removing nothing is left. Those for arm64 are
# looked into, installed as well, and their programs started by qemu's emulation. Needs root and an amd64 machine. The
# last line is the count of checks; exit status 0 when all passed.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
source scripts/roots.sh

releases=("$@")
((${#releases[@]})) || releases=(bookworm trixie)
root=$roots/check
kept=$(mktemp --directory)
trap 'rm -rf "$kept" "$root"' EXIT

# check <what> <command>...: one check; what the command prints is shown when it fails.
check() {
    if "${@:2}" >"$kept/log" 2>&1; then
        echo "ok      $1"
        passed=$((passed + 1))
    else
        echo "FAILED  $1"
        sed 's/^/    /' "$kept/log" | tail -n 30
        failed=$((failed + 1))
    fi
}

# here <command>...: in the system that is tried. here_sh <lines of shell>: the same.
here() { in_root "$root" "$@"; }
here_sh() { here bash -euo pipefail -c "$1"; }

# install <package or file>...; bring <package>: a package of ours, into the system's /packages.
install() { here apt-get -qq --yes --no-install-recommends install "$@"; }
bring() {
    mkdir -p "$root/packages"
    cp "$1" "$root/packages/"
}

# Names of all files, but those in which package managers keep their books.
files() {
    find "$root" -xdev \( -path "$root/var/lib/apt" -o -path "$root/var/lib/dpkg" -o -path "$root/var/cache" -o \
        -path "$root/var/log" -o -path "$root/tmp" -o -path "$root/root" \) -prune -o -printf '%P\n' | sort
}

same_files() {
    files >"$kept/after"
    diff "$kept/before" "$kept/after"
}

# package <name> <architecture>: the file of a package for the release that is tried.
package() { printf '%s\n' build/packages/"$1"_*~deb"$(release_number "$release")"u*_"$2".deb; }

holds() { # <package> <path>...: these files are in it
    local list path
    list=$(dpkg-deb --contents "$1")
    for path in "${@:2}"; do
        grep -q " \./$path\$" <<<"$list" || {
            echo "no $path in"
            echo "$list"
            return 1
        }
    done
}

programs=(Telvane telvane-setup telvane-run wheelsim telvane-report)
manual=("${programs[@]/#/usr/share/man/man1/}")
contents=("${programs[@]/#/usr/bin/}" "${manual[@]/%/.1.gz}"
    "${programs[@]/#/usr/share/bash-completion/completions/}" usr/share/doc/telvane/{copyright,changelog.Debian.gz,README.md})

# What libkavrix-dev is to hold for a triplet, and the control fields that a package must have.
library_contents() {
    printf '%s\n' usr/include/Kavrix/Kavrix.h "usr/lib/$1/libKavrix.a" "usr/lib/$1/pkgconfig/Kavrix.pc" \
        "usr/lib/$1/cmake/Kavrix/KavrixConfig.cmake" usr/share/doc/libkavrix-dev/{copyright,changelog.Debian.gz}
}
described() { # <package> <architecture>
    local field
    [[ $(dpkg-deb --field "$1" Architecture) == "$2" ]] || return 1
    for field in Package Version Maintainer Section Priority Depends Description Installed-Size; do
        [[ -n $(dpkg-deb --field "$1" "$field") ]] || {
            echo "no $field"
            return 1
        }
    done
}

check_amd64() {
    local telvane library program
    telvane=$(package telvane amd64)
    library=$(package libkavrix-dev amd64)
    copy_root "$roots/$release" "$root"
    check "telvane says what it is" described "$telvane" amd64
    check "telvane holds what it should" holds "$telvane" "${contents[@]}"
    mapfile -t paths < <(library_contents x86_64-linux-gnu)
    check "libkavrix-dev says what it is" described "$library" amd64
    check "libkavrix-dev holds what it should" holds "$library" "${paths[@]}"

    bring "$telvane"
    bring "$library"
    here apt-get -qq update
    files >"$kept/before"
    check "telvane installs into a bare system" install "/packages/${telvane##*/}"
    mkdir -p "$root/root/trial"
    cp --recursive scripts "$root/root/trial/"
    check "the demo runs from the installed programs" here /root/trial/scripts/demo.sh --installed
    # shellcheck disable=SC2016 # for the shell there
    check "a report of a run is made" here_sh '
        mkdir -p /root/report && cd /root/report && wheelsim >scene
        $(sed -n "s/^VOTES=Telvane/Telvane -s/p" scene) && telvane-report && test -s report.html'
    for program in "${programs[@]}"; do
        check "completion of $program loads" here_sh \
            "source /usr/share/bash-completion/completions/$program && complete -p $program"
    done
    here_sh 'cd /root && mkdir frames && wheelsim --out frames >/dev/null && sha256sum frames/*' >"$kept/frames"
    here apt-get -qq --yes --purge autoremove telvane >/dev/null 2>&1 || true
    check "removing telvane leaves nothing behind" same_files

    # What a user of the manual and of the library has.
    install man-db g++ cmake make pkg-config >/dev/null 2>&1
    files >"$kept/before"
    check "telvane installs beside other packages" install "/packages/${telvane##*/}"
    for program in "${programs[@]}"; do
        check "man finds $program(1)" here_sh "man -w $program && man $program >/tmp/page && grep 'EXIT STATUS' /tmp/page"
    done
    check "libkavrix-dev installs" install "/packages/${library##*/}"
    check "the examples build by find_package, and run" here_sh '
        mkdir /root/cmake && cd /root/cmake && cmake -S /usr/share/doc/libkavrix-dev/examples -B . && cmake --build .
        ./filter_views && ./flow_colours && ./draw_marks'
    # shellcheck disable=SC2016 # for the shell there
    check "the examples build by pkg-config, and run" here_sh '
        mkdir /root/pkg-config && cd /root/pkg-config
        for example in filter_views flow_colours draw_marks; do
            g++ -std=c++20 /usr/share/doc/libkavrix-dev/examples/$example.cpp $(pkg-config --cflags --libs Kavrix) \
                -o $example
            ./$example
        done'
    here apt-get -qq --yes --purge autoremove telvane libkavrix-dev >/dev/null 2>&1 || true
    check "removing both leaves nothing behind" same_files
}

# answers <status> <text> <command>...: the command ends with this status and says this somewhere.
answers() {
    local status=0
    here "${@:3}" >"$kept/answer" 2>&1 || status=$?
    cat "$kept/answer"
    echo "status $status"
    ((status == $1)) && grep -qF -e "$2" "$kept/answer"
}

check_arm64() {
    local telvane library
    telvane=$(package telvane arm64)
    library=$(package libkavrix-dev arm64)
    copy_root "$roots/$release" "$root"
    check "arm64: telvane says what it is" described "$telvane" arm64
    check "arm64: telvane holds what it should" holds "$telvane" "${contents[@]}"
    check "arm64: telvane depends on libcamera" grep -qE '(^| )libcamera[0-9.]+ ' <(dpkg-deb --field "$telvane" Depends)
    mapfile -t paths < <(library_contents aarch64-linux-gnu)
    check "arm64: libkavrix-dev says what it is" described "$library" arm64
    check "arm64: libkavrix-dev holds what it should" holds "$library" "${paths[@]}"

    bring "$telvane"
    here dpkg --add-architecture arm64 # that of the system in the folder
    here apt-get -qq update
    install qemu-user >/dev/null 2>&1
    check "arm64: telvane installs with its dependencies" install "/packages/${telvane##*/}"
    check "arm64: Telvane shows its usage" answers 1 'Telvane -n|-l <count>' qemu-aarch64 /usr/bin/Telvane
    check "arm64: Telvane finds no camera" answers 1 'Could not open the camera' \
        qemu-aarch64 /usr/bin/Telvane 300 260 150 130 216 250 0 0 360 360 40 1 0 0 0 0
    check "arm64: telvane-report shows its options" answers 0 --apart qemu-aarch64 /usr/bin/telvane-report --help
    here_sh 'cd /root && mkdir frames && qemu-aarch64 /usr/bin/wheelsim --out frames >/dev/null && sha256sum frames/*' \
        >"$kept/frames-arm64"
    check "arm64: wheelsim draws the same frames" diff "$kept/frames" "$kept/frames-arm64"
}

for release in "${releases[@]}"; do
    echo "== $release"
    scripts/package.sh "$release"
    check_amd64
    check_arm64
done
tell_count
