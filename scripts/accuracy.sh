#!/bin/bash
# Measures how far from the true centre Telvane's answer lies, on drawn wheels of many kinds, by both methods:
#
#     scripts/accuracy.sh           prints the table and the budget of errors
#     scripts/accuracy.sh --write   and renews them in docs/accuracy.md, and the part of the table in README.md
#
# Installs what is missing on Debian 12 (as root or through sudo). Takes about 5 minutes on two cores.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

case ${1:-} in
    '' | --write) ;;
    *) sed -n '2,/^set/s/^# \{0,1\}//p' "$0" >&2 && exit 2 ;;
esac

build_programs python3
frames=$(mktemp -d)
trap 'rm -rf "$frames"' EXIT
python3 scripts/accuracy.py "$PWD/build/release/simulator/wheelsim" "$PWD/build/release/Telvane/Telvane" \
    "$frames" "$@"
