#!/bin/bash
# Measures how far from the true centre Telvane's answer lies, on drawn wheels of many kinds, by both methods:
#
#     scripts/accuracy.sh           prints the table
#     scripts/accuracy.sh --write   and renews the one in README.md
#
# Installs what is missing on Debian 12 (as root or through sudo). Takes about 2 minutes.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

page=()
case ${1:-} in
    '') ;;
    --write) page=(README.md) ;;
    *) sed -n '2,/^set/s/^# \{0,1\}//p' "$0" >&2 && exit 2 ;;
esac

build_programs python3
frames=$(mktemp -d)
trap 'rm -rf "$frames"' EXIT
python3 simulator/accuracy.py "$PWD/build/release/simulator/wheelsim" "$PWD/build/release/Telvane/Telvane" \
    "$frames" "${page[@]}"
