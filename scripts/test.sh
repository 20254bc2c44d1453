#!/bin/bash
# Builds everything and runs all tests: scripts/test.sh [<preset>]
#
# Installs what is missing on Debian 12 (as root or through sudo), builds the preset, `release` unless another
# is named, into build/<preset> with the simulated camera and with warnings as errors, and runs the tests, as
# many at once as there are cores. The last line is their count. Exit status 0 when every test passed.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

preset=${1:-release}
scripts/install-packages.sh g++ make cmake libjpeg-dev libpng-dev libgtest-dev pkg-config

jobs=$(jobs_at_once)
configure "$preset" -DTELVANE_TESTS=ON -DTELVANE_WERROR=ON
cmake --build --preset "$preset" --parallel "$jobs"

run=()
if [[ $preset == asan ]]; then
    export ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1:strict_string_checks=1
    export UBSAN_OPTIONS=print_stacktrace=1
    # The sanitizer keeps a fixed range of addresses for itself. Kernels that spread programs over more than 28
    # bits now and then put one there, and it dies before its first line.
    bits=$(cat /proc/sys/vm/mmap_rnd_bits 2>/dev/null || echo 0)
    if ((bits > 28)) && setarch --addr-no-randomize true 2>/dev/null; then
        run=(setarch --addr-no-randomize)
    fi
fi

count_tests "build/$preset/test.log" "${run[@]}" \
    ctest --preset "$preset" --parallel "$jobs" --no-tests=error
tell_count
