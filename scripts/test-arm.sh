#!/bin/bash
# Builds for ARM and runs the tests by emulation: scripts/test-arm.sh [aarch64|armhf] [--golden]
#
# Installs the cross compilers and the emulator on Debian 12 (as root or through sudo), unpacks the foreign
# libraries below build/, builds the preset, both of them unless one is named, with the simulated camera and
# with warnings as errors, and runs all tests but those labelled `native`, which need the real machine; their
# number is told. --golden: only what compares the kept results of the detection is built and run. The last
# line is the count of all tests. Exit status 0 when every test passed.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

presets=()
golden=no
for word in "$@"; do
    case $word in
    aarch64 | armhf) presets+=("$word") ;;
    --golden) golden=yes ;;
    *)
        echo "usage: scripts/test-arm.sh [aarch64|armhf] [--golden]" >&2
        exit 2
        ;;
    esac
done
((${#presets[@]})) || presets=(aarch64 armhf)

packages=(make cmake pkg-config qemu-user)
for preset in "${presets[@]}"; do
    case $preset in
    aarch64) packages+=(g++-aarch64-linux-gnu) ;;
    armhf) packages+=(g++-arm-linux-gnueabihf) ;;
    esac
done
scripts/install-packages.sh "${packages[@]}"

jobs=$(jobs_at_once)
for preset in "${presets[@]}"; do
    architecture=$preset
    [[ $preset != aarch64 ]] || architecture=arm64 # Debian's name
    scripts/sysroot.sh "$architecture" "${header_packages[@]}" "${library_packages[@]}" \
        libgtest-dev libstdc++6

    echo "== $preset"
    targets=() tests=()
    if [[ $golden == yes ]]; then
        targets=(--target test_Golden)
        tests=(--tests-regex '^Golden\.')
    fi
    configure "$preset" -DTELVANE_TESTS=ON -DTELVANE_WERROR=ON
    cmake --build --preset "$preset" --parallel "$jobs" "${targets[@]}"
    count_tests "build/$preset/test.log" \
        ctest --preset "$preset" --parallel "$jobs" --no-tests=error "${tests[@]}"
    if [[ $golden == no ]]; then
        left_out=$(ctest --test-dir "build/$preset" --show-only --label-regex '^native$' |
            sed -n 's/^Total Tests: //p')
        echo "$left_out tests that need the real machine were left out"
    fi
done
tell_count
