#!/bin/bash
# Builds everything and runs all tests: scripts/test.sh [<preset>]
#
# Installs what is missing on Debian 12 (as root or through sudo), builds the preset, `release` unless another
# is named, into build/<preset> with the simulated camera and with warnings as errors, and runs the tests, one
# more at once than there are cores, for many of them wait. Of the preset `shared` the tests of what is installed: all
# others link the shared library under the sanitizers of `asan-clang`. Of the preset `tsan`, the thread sanitizer's, the
# tests of what has threads. The last line is their count. Exit status 0 when every test passed.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

preset=${1:-release}
packages=("${build_packages[@]}" libgtest-dev pkg-config python3-jsonschema systemd) targets=(all) tests=()
case $preset in
asan*) for_sanitizers ;;&
*-clang) packages+=(clang libclang-rt-14-dev) ;;
tsan)
    for_sanitizers
    packages+=(clang libclang-rt-14-dev)
    targets=(setup_tests)
    ;;
shared) targets=(installed) tests=(--label-regex '^install$') ;;
esac
scripts/install-packages.sh "${packages[@]}"

case $preset in
shared | tsan) minutes=2 ;;
asan*) minutes=8 ;;
*) minutes=6 ;;
esac
echo "Building into build/$preset and testing: $minutes minutes on two cores when nothing is built yet ..."
jobs=$(jobs_at_once)
configure "$preset" -DTELVANE_TESTS=ON -DTELVANE_WERROR=ON
build "build/$preset" "${targets[@]}"
count_tests "build/$preset/test.log" "${sanitized[@]}" \
    ctest --preset "$preset" --parallel $((jobs + 1)) --no-tests=error "${tests[@]}"
tell_count
