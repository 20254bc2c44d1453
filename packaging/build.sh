#!/bin/bash
# Builds the packages on the Debian release that this runs on: packaging/build.sh <architecture> <empty folder>
#
# The packages go into <folder>/packages. What is needed must be installed; scripts/package.sh sees to that, and to
# a system with nothing else on it. Then lintian reads the packages and mandoc and man the manual pages; an error
# or a warning of theirs is a failure.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../scripts/common.sh"
umask 022

architecture=$1 build=$2
source /etc/os-release

# Debian's flags for hardened programs. What it says of optimising and debugging is left to the build type.
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
export DEB_CXXFLAGS_MAINT_STRIP="-g -O2"
# dpkg's tools take the architecture they work for from here, also those that CPack starts.
export DEB_HOST_ARCH=$architecture
triplet=$(dpkg-architecture --host-arch "$architecture" --query DEB_HOST_MULTIARCH)
options=(
    -DCMAKE_BUILD_TYPE=Release -DTELVANE_TESTS=OFF -DTELVANE_WERROR=ON
    -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_INSTALL_LIBDIR="lib/$triplet"
    -DCMAKE_CXX_FLAGS="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS)"
    -DCMAKE_EXE_LINKER_FLAGS="$(dpkg-buildflags --get LDFLAGS)"
    -DTELVANE_DEBIAN_RELEASE="$VERSION_CODENAME" -DTELVANE_DEBIAN_REVISION="1~deb${VERSION_ID}u1"
)
case $architecture in
amd64) options+=(-DTELVANE_CAMERA=simulated) ;;
arm64) options+=(-DTELVANE_CAMERA=libcamera) ;;
*)
    echo "Packages are built for amd64 and arm64, not for $architecture." >&2
    exit 2
    ;;
esac
if [[ $architecture != "$(dpkg --print-architecture)" ]]; then
    options+=(
        -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR="${triplet%%-*}" -DCMAKE_CXX_COMPILER="$triplet-g++"
    )
fi
cmake -S . -B "$build" "${options[@]}"
cmake --build "$build" --parallel "$(jobs_at_once)"

# Packages of the same sources are the same bytes.
SOURCE_DATE_EPOCH=$(dpkg-parsechangelog --file "$build/packaging/debian/changelog" --show-field Timestamp)
export SOURCE_DATE_EPOCH
(cd "$build" && cpack --config CPackConfig.cmake)

echo "lintian"
lintian --allow-root --fail-on error,warning --display-info --tag-display-limit 0 "$build"/packages/*.deb
echo "manual pages"
for page in packaging/man/*.1; do
    mandoc -T lint -W warning "$page"
    complaints=$(man --warnings --encoding=UTF-8 --local-file -Tutf8 "$page" 2>&1 >/dev/null)
    if [[ -n $complaints ]]; then
        echo "$page: $complaints" >&2
        exit 1
    fi
done
