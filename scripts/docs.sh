#!/bin/bash
# Makes the reference pages of Kavrix: scripts/docs.sh
#
# Installs what is missing on Debian 12 (as root or through sudo) and builds the target docs in build/docs;
# nothing is compiled. Exit status 0 when every public name is documented and Doxygen warned of nothing. The
# last line counts the pages of classes.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

scripts/install-packages.sh "${build_packages[@]}" doxygen python3

log=$(cmake -S . -B build/docs -DTELVANE_CAMERA=simulated -DTELVANE_TESTS=OFF 2>&1) || {
    echo "$log" >&2
    exit 1
}
cmake --build build/docs --target docs
echo "The pages begin at $PWD/build/docs/docs/html/index.html"
passed=$(find build/docs/docs/html -name 'class*.html' | wc -l)
tell_count
