#!/bin/bash
# Static checks; a finding is an error: scripts/check-code.sh [--all]
#
# clang-tidy, which tells clang++'s own warnings as well, and cppcheck read the program, the library, the cameras and
# the tools around them. clang-tidy reads each room as one file: the headers of the system, which take most of its time,
# then come once. --all is for releases and takes five times as long: every file by itself with the analysis of its
# paths, and of the tests the names. scripts/test.sh asan-clang compiles those with clang++; their macros stop cppcheck.
# The last line counts the files.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

scripts/install-packages.sh clang libclang-rt-14-dev clang-tidy cppcheck shellcheck "${build_packages[@]}" \
    libcamera-dev libgtest-dev libbenchmark-dev pkg-config

jobs=$(jobs_at_once)
folder=build/clang

echo "clang-tidy"
# tidy <build folder> [<option>...]: those of the files on standard input that the folder knows; some need libraries
# that are not everywhere.
tidy() {
    while read -r file; do
        if grep -qF "\"file\": \"$file\"" "$1/compile_commands.json"; then echo "$file"; fi
    done |
        xargs --max-procs="$jobs" --max-args=1 clang-tidy -p "$1" --quiet "${@:2}" 2>&1 |
        sed '/warnings generated\.$/d' # of the system's headers
}
# Only configured. libcamera is the back end with the most code.
if [[ ${1:-} == --all ]]; then
    configure debug -B "$folder" -DCMAKE_CXX_COMPILER=clang++ -DTELVANE_TESTS=ON -DTELVANE_BENCHMARKS=ON \
        -DTELVANE_CAMERA=libcamera -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON
    cpp_files | grep -v '^fuzz/' | sed "s|^|$PWD/|" | tidy "$folder" --checks='clang-diagnostic-*'
    configure fuzz -B "$folder-fuzz"
    cpp_files | grep '^fuzz/' | sed "s|^|$PWD/|" | tidy "$folder-fuzz" --checks='clang-diagnostic-*'
else
    configure debug -B "$folder-rooms" -DCMAKE_CXX_COMPILER=clang++ -DTELVANE_TESTS=OFF \
        -DTELVANE_CAMERA=libcamera -DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=0
    find "$PWD/$folder-rooms" -name 'unity_*.cxx' |
        tidy "$folder-rooms" --checks='clang-diagnostic-*,-clang-analyzer-*,-bugprone-suspicious-include'
fi

echo "private headers"
# What is installed, and the examples, which are built against that, cannot include what is not.
if grep -n '^ *# *include *[<"].*inner/' Kavrix/*.h examples/*.cpp >&2; then
    echo "Kavrix/inner is for the library's own units and the programs of this tree" >&2
    exit 1
fi

echo "cppcheck"
cppcheck --quiet -j "$jobs" --std=c++20 --language=c++ --error-exitcode=1 --inline-suppr \
    --enable=warning,performance,portability --suppressions-list=.cppcheck-suppressions \
    --library=posix -I. -Icamera/simulated -U__GNUC__ \
    --template='{file}:{line}: {severity}: {message} [{id}]' \
    Kavrix Telvane camera simulator tools diagnosis marks report run setup examples
echo "shellcheck"
mapfile -t scripts < <(shell_scripts)
shellcheck --external-sources --source-path=SCRIPTDIR "${scripts[@]}"

mapfile -t files < <(cpp_files)
passed=$((${#files[@]} + ${#scripts[@]}))
tell_count
