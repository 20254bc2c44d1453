#!/bin/bash
# Goes the whole way through telvane-setup's page in a browser: scripts/check-setup.sh [--long]
#
# Installs what is missing on Debian 12 (as root or through sudo), builds the programs into build/release with the
# simulated camera, and aims, reads off, measures, tries and keeps in headless Chromium at a phone's width; with --long
# also at a desktop's, and both in light and dark. Screenshots stay in build/check-setup. The last line counts. Exit
# status 0 when all is as it must be.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

passes=(360-light)
case ${1:-} in
'') ;;
--long) passes=(360-light 360-dark 1280-light 1280-dark) ;;
*)
    echo "check-setup.sh: no option is named '$1'" >&2
    exit 2
    ;;
esac
build_programs chromium chromium-driver python3-selenium
build build/release telvane-setup

rm -rf build/check-setup
mkdir -p build/check-setup
/usr/bin/python3 scripts/setup_page.py build/release/setup/telvane-setup build/check-setup "${passes[@]}"
