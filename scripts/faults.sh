#!/bin/bash
# Faults at every system call of the tools that changes files, limits of memory every 100 KB, and a camera that loses,
# repeats and withholds frames at every grab: scripts/faults.sh
#
# Installs what is missing on Debian 12 (as root or through sudo) and builds into build/release. scripts/test.sh tries
# some of these; this tries all of them, which takes several minutes. Exit status 0 when all tests passed.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

tests=(test_CallFaults test_Memory test_RunMemory test_RunCamera)
scripts/install-packages.sh "${build_packages[@]}" libgtest-dev pkg-config
configure release -DTELVANE_TESTS=ON
build build/release "${tests[@]}"

export TELVANE_ALL_FAULTS=1
status=0
for test in "${tests[@]}"; do "build/release/tests/$test" || status=1; done
if ((status)); then echo "Some of the tests above failed"; else echo "All of ${tests[*]} passed"; fi
exit "$status"
