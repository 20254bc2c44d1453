#!/bin/bash
# Makes sure that Debian packages are installed: scripts/install-packages.sh <package>...
#
# Those that are missing are installed with apt-get, as root or through sudo. When none is missing nothing is
# asked of any package registry, so that this also works without a network.
set -euo pipefail

if ! command -v dpkg-query >/dev/null; then
    echo "This is not a Debian system: what these packages hold must be there already: $*" >&2
    exit 0
fi

missing=()
for package in "$@"; do
    status=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
    [[ $status == installed ]] || missing+=("$package")
done
((${#missing[@]})) || exit 0

echo "Installing ${missing[*]}"
as_root=()
if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
        echo "Installing packages needs root: run 'apt-get install ${missing[*]}' as root, then try again." >&2
        exit 1
    fi
    as_root=(sudo)
fi

apt_get() {
    # Nothing may stop to ask a question: there may be nobody to answer it.
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o Acquire::Retries=3 \
        -o DPkg::Lock::Timeout=300 -o Dpkg::Use-Pty=0 "$@" </dev/null
}

apt_get update || echo "Some package lists could not be renewed; going on with those that are there." >&2
# Nothing that is installed may have to go for it.
apt_get install --yes --no-remove --no-install-recommends "${missing[@]}" >/dev/null
