#!/bin/sh
# One check of what is installed:
#     check.sh Install|FindPackage|PkgConfig|Programs|Units|Symbols <working folder> [<emulator> <its option>...]
# Install makes <working folder>/prefix, which the others use. The environment tells BUILD, CMAKE, CXX,
# CXXFLAGS, LIBDIR, NM, PKG_CONFIG, and TOOLCHAIN where the programs are for another machine.
set -eu

here=$(cd "$(dirname "$0")" && pwd)
step=$1
dir=$2
shift 2
prefix=$dir/prefix

# An empty folder for this check, to work in.
enter() {
    rm -rf "${dir:?}/$1"
    mkdir -p "$dir/$1"
    cd "$dir/$1"
}

case $step in
Install)
    rm -rf "$prefix"
    "$CMAKE" --install "$BUILD" --prefix "$prefix"
    ;;
FindPackage)
    # The flags of the project's own build are no affair of its users.
    if grep -E 'ffp-contract|Wshadow|telvane' "$prefix/$LIBDIR/cmake/Kavrix/"*; then exit 1; fi
    enter find_package
    "$CMAKE" -S "$here/consumer" -B . -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$CXX" \
        ${TOOLCHAIN:+"-DCMAKE_TOOLCHAIN_FILE=$TOOLCHAIN" "-DCMAKE_FIND_ROOT_PATH=$prefix"} \
        -DCMAKE_CXX_FLAGS="$CXXFLAGS" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
    "$CMAKE" --build .
    "$@" ./consumer
    ;;
PkgConfig)
    enter pkgconfig
    export PKG_CONFIG_PATH="$prefix/$LIBDIR/pkgconfig"
    # The options are words for a shell, with what blanks there are in the path escaped.
    options=$("$PKG_CONFIG" --cflags --libs Kavrix)
    eval "\"\$CXX\" -std=c++20 $CXXFLAGS \"\$here/consumer/consumer.cpp\" $options -o consumer"
    LD_LIBRARY_PATH="$prefix/$LIBDIR" "$@" ./consumer
    ;;
Programs)
    enter programs
    "$@" "$prefix/bin/wheelsim" --help
    "$@" "$prefix/bin/wheelsim" --out . --count 4 | tee scene.txt
    # wheelsim tells the command line that fits its frames.
    # shellcheck disable=SC2046
    "$@" "$prefix/bin/Telvane" $(sed -n 's/^RING=Telvane //p' scene.txt) | tee result.txt
    grep -qx 'RESULT=0' result.txt
    "$@" "$prefix/bin/telvane-report"
    grep -q 'data:image/jpeg' report.html
    # It starts the program with the simulated camera by its place, which an emulator would have to do for it.
    if [ $# -eq 0 ]; then
        "$prefix/bin/telvane-run" --inner 216 --outer 250 --sense cw --region 300,260 --frames . | tee run.txt
        grep -qx 'Verdict: good' run.txt
        test -s runs/latest/run.json
    fi
    ;;
Units)
    if ! command -v systemd-analyze >/dev/null; then
        echo "skipped: systemd-analyze is not installed (package systemd)"
        exit 77
    fi
    enter units
    DESTDIR=$PWD/root "$CMAKE" --install "$BUILD" --component telvane >/dev/null
    find root -name '*.service' -o -name '*.timer' | sed 's|.*/||' >units.txt
    test "$(wc -l <units.txt)" -eq 2
    # It finds fault by words, not always by its status.
    xargs systemd-analyze verify --root="$PWD/root" --man=no --recursive-errors=no <units.txt >said.txt 2>&1
    cat said.txt
    test ! -s said.txt
    ;;
Symbols)
    # The shared library exports what its headers declare, and nothing else.
    enter symbols
    cat "$prefix/include/Kavrix/"*.h >headers.h
    "$NM" -DC --defined-only "$prefix/$LIBDIR/libKavrix.so" | cut -d' ' -f3- >exported.txt
    test -s exported.txt
    if grep -E 'inner::|std::|anonymous|\[clone|\[abi' exported.txt; then exit 1; fi
    # Each name without arguments: kavrix::Mat<short>::operator()(int, int) const is kavrix::Mat::operator().
    sed -E 's/operator\(\)/operator@/; s/\(.*//; s/operator@/operator()/; :a; s/<[A-Za-z_ ,:]*>//; ta' exported.txt |
        sort -u >names.txt
    set -f # operator* is no pattern of files
    while read -r name; do
        # shellcheck disable=SC2046 # a class and its member; a destructor counts as its class
        for part in $(echo "$name" | sed 's/::/ /g; s/~//'); do
            grep -qF "$part" headers.h || { echo "not declared: $name" >&2; exit 1; }
        done
    done <names.txt
    sed -nE 's/.*KAVRIX_EXPORT [A-Za-z]+ ([A-Za-z0-9_]+|operator\*)\(.*/\1/p' headers.h | sort -u >functions.txt
    test -s functions.txt
    while read -r name; do
        grep -qF "$name(" exported.txt || { echo "not exported: $name" >&2; exit 1; }
    done <functions.txt
    for name in 'Trace::level' 'Trace::msgarr' 'Datablock::mem' 'Datablock::nblocks' 'TestQ()'; do
        grep -qxF "$name" exported.txt || { echo "not exported: $name" >&2; exit 1; }
    done
    ;;
*)
    echo "check.sh: no check is named $step" >&2
    exit 2
    ;;
esac
