#!/bin/bash
# Puts Debian packages of another architecture into a folder: scripts/sysroot.sh <architecture> <package>...
#
# The folder is build/sysroot-<architecture>, with Debian's name of the architecture: arm64 or armhf. It
# receives the packages and what they depend on, unpacked, as a root that cross compilers and emulators take.
# They come from this machine's own package sources and are checked against its keys; but all that the package
# manager remembers lies in the folder, so that the machine learns of no other architecture and none of its
# packages is touched. No rights are needed. When everything is there already nothing is asked of any package
# registry, so that this also works without a network.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

if (($# < 2)); then
    echo "usage: scripts/sysroot.sh <architecture> <package>..." >&2
    exit 2
fi
architecture=$1
shift
root=$PWD/build/sysroot-$architecture
unpacked=$root/packages # the names of the packages that are there

mkdir -p "$root"/var/lib/{apt/lists/partial,dpkg} "$root"/var/cache/apt/archives/partial
touch "$unpacked"
exec 9<"$unpacked"
flock 9 # one at a time

missing=()
for package in "$@"; do
    grep -qFx "$package" "$unpacked" || missing+=("$package")
done
((${#missing[@]})) || exit 0

echo "Fetching ${missing[*]} for $architecture"

# Read behind the machine's own settings: what they say of proxies and dates holds here too, what they want
# done after each update is for the machine alone. As far as this package manager knows nothing is installed.
: >"$root/var/lib/dpkg/status"
settings=$root/var/lib/apt/settings
cat >"$settings" <<END
APT::Architecture "$architecture";
#clear APT::Architectures;
APT::Architectures { "$architecture"; };
#clear APT::Update;
#clear DPkg;
APT::Sandbox::User "";
Acquire::Retries "3";
Acquire::Languages "none";
Dir::State "$root/var/lib/apt";
Dir::State::status "$root/var/lib/dpkg/status";
Dir::Cache "$root/var/cache/apt";
Dir::Log "$root/var/log/apt";
END
apt_get() { apt-get --config-file="$settings" -qq "$@" </dev/null; }

apt_get update || echo "Some package lists could not be renewed; going on with those that are there." >&2
apt_get install --yes --no-install-recommends --download-only "${missing[@]}" >/dev/null

names=()
for file in "$root"/var/cache/apt/archives/*.deb; do
    dpkg-deb --extract "$file" "$root"
    names+=("$(dpkg-deb --field "$file" Package)")
done

# Links that begin at / would lead out of the folder.
find "$root" -xdev -type l -lname '/*' -printf '%p\0%l\0' |
    while IFS= read -rd '' link && IFS= read -rd '' target; do
        ln --symbolic --force --no-dereference --relative "$root$target" "$link"
    done

sort -u - "$unpacked" < <(printf '%s\n' "${names[@]}") >"$root/packages.new"
cat "$root/packages.new" >"$unpacked" # the lock is on this very file
rm "$root/packages.new"
apt_get clean
