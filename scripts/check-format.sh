#!/bin/bash
# Checks that clang-format would change no C++ file; with --fix, changes those that it would. The last line counts them.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

scripts/install-packages.sh clang-format

how=(--dry-run -Werror)
[[ ${1:-} != --fix ]] || how=(-i)
mapfile -t files < <(cpp_files)
clang-format "${how[@]}" "${files[@]}"
passed=${#files[@]}
tell_count
