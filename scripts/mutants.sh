#!/bin/bash
# Counts how many single faults in the production code the tests notice: scripts/mutants.sh [<option>...]
#
# docs/mutants.md says what is broken and how to read the report; --help lists the options. The last line is the
# count. Exit status 0 when at least 95 in 100 were noticed.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

scripts/install-packages.sh python3 g++ ninja-build cmake libjpeg-dev libpng-dev libgtest-dev pkg-config
exec python3 scripts/mutants.py "$@"
