#!/bin/bash
# Measures on drawn wheels of many kinds how far from the true centre Telvane's answer lies, by both methods, and how
# often the diagnosis is mistaken about the answer:
#
#     scripts/accuracy.sh             prints the tables and the budget of errors
#     scripts/accuracy.sh --write     and renews them in docs/accuracy.md, and the part of the first in README.md
#     scripts/accuracy.sh --verdicts  prints the table of the diagnosis only; exit status 1 where it misses its goals
#
# Installs what is missing on Debian 12 (as root or through sudo). Takes about 20 minutes on two cores, 15 of them for
# the diagnosis.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

case ${1:-} in
    '' | --write | --verdicts) ;;
    *) sed -n '2,/^set/s/^# \{0,1\}//p' "$0" >&2 && exit 2 ;;
esac

results=$(mktemp -d)
trap 'rm -rf "$results"' EXIT
if [[ ${1:-} != --verdicts ]]; then
    build_programs python3
    python3 scripts/accuracy.py "$PWD/build/release/simulator/wheelsim" "$PWD/build/release/Telvane/Telvane" \
        "$results" "$@"
    echo
fi
scripts/install-packages.sh "${build_packages[@]}" libgtest-dev
configure release -DTELVANE_TESTS=ON
build build/release judged_runs
status=0
build/release/tests/judged_runs --runs 2000 --jobs "$(nproc)" >"$results/verdicts" || status=$?
cat "$results/verdicts"
if [[ ${1:-} == --write ]]; then renew_section docs/accuracy.md verdicts "$results/verdicts"; fi
exit "$status"
