#!/bin/bash
# Builds the Debian packages: scripts/package.sh [bookworm|trixie] [amd64|arm64]
#
# Each in a bare system of its release below build/roots, which is made at the first run and needs root; this machine
# only gets debootstrap. Packages for amd64 hold the simulated camera, those for arm64 libcamera; these are built
# by a cross compiler. lintian must have nothing to say that is not argued in packaging/debian. Without an argument
# all are built. The .deb files lie in build/packages; their names come last.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

releases=() architectures=()
for word in "$@"; do
    case $word in
    bookworm | trixie) releases+=("$word") ;;
    amd64 | arm64) architectures+=("$word") ;;
    *)
        echo "usage: scripts/package.sh [bookworm|trixie] [amd64|arm64]" >&2
        exit 2
        ;;
    esac
done
((${#releases[@]})) || releases=(bookworm trixie)
((${#architectures[@]})) || architectures=(amd64 arm64)
source scripts/roots.sh

# build_root <release> <architecture>: a system with everything that building takes.
build_root() {
    local release=$1 architecture=$2 root=$roots/$1-$2 foreign='' packages
    bare_root "$release"
    [[ -d $root ]] || {
        copy_root "$roots/$release" "$root.new"
        mv "$root.new" "$root"
    }

    packages=(make cmake file dpkg-dev lintian mandoc man-db)
    if [[ $architecture == "$(dpkg --print-architecture)" ]]; then
        packages+=(g++)
    else
        # That of the system in the folder, not this machine's.
        in_root "$root" dpkg --add-architecture "$architecture"
        foreign=:$architecture
        case $architecture in
        amd64) packages+=(g++-x86-64-linux-gnu) ;;
        arm64) packages+=(g++-aarch64-linux-gnu) ;;
        esac
    fi
    packages+=("${header_packages[@]}" "${library_packages[@]/%/$foreign}")
    [[ $architecture != arm64 ]] || packages+=("libcamera-dev$foreign")
    in_root "$root" /telvane/scripts/install-packages.sh "${packages[@]}"
}

mkdir -p build/packages "$roots"
exec 9>"$roots/lock"
flock 9 # one at a time
made=()
for release in "${releases[@]}"; do
    for architecture in "${architectures[@]}"; do
        what="$release, $architecture"
        echo "$what: a bare system with what building takes ..."
        root=$roots/$release-$architecture
        build_root "$release" "$architecture"
        echo "$what: building, lintian, manual pages: some five minutes ..."
        rm -rf "$root/build"
        mkdir "$root/build"
        log=build/packages/$release-$architecture.log
        in_root "$root" /telvane/packaging/build.sh "$architecture" /build >"$log" 2>&1 || {
            tail -n 40 "$log" >&2
            echo "$what: no packages; all of it is in $PWD/$log" >&2
            exit 1
        }
        rm -f build/packages/*~deb"$(release_number "$release")"u*_"$architecture".deb # of earlier versions
        for file in "$root"/build/packages/*.deb; do
            cp "$file" build/packages/
            made+=("build/packages/${file##*/}")
        done
    done
done

printf '%s\n' "${made[@]}"
echo "All is well: ${#made[@]} packages, about which lintian has nothing to say but notes; logs beside them"
