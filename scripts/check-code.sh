#!/bin/bash
# Static checks; a finding is an error. clang-tidy, which tells clang++'s own warnings as well, and cppcheck read the
# program, the library, the cameras and the tools around them. Of the tests clang-tidy looks at the names alone, and
# scripts/test.sh asan-clang compiles them with clang++; their macros stop cppcheck.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

scripts/install-packages.sh clang libclang-rt-14-dev clang-tidy cppcheck shellcheck "${build_packages[@]}" \
    libcamera-dev libgtest-dev libbenchmark-dev pkg-config

jobs=$(jobs_at_once)
folder=build/clang

echo "clang-tidy"
# Only configured. libcamera is the back end with the most code.
configure debug -B "$folder" -DCMAKE_CXX_COMPILER=clang++ -DTELVANE_TESTS=ON -DTELVANE_BENCHMARKS=ON \
    -DTELVANE_CAMERA=libcamera -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON
configure fuzz # built and run by fuzz.sh
# tidy <build folder>: those of the files on standard input that the folder knows; some need libraries that are
# not everywhere.
tidy() {
    while read -r file; do
        if grep -qF "\"file\": \"$PWD/$file\"" "$1/compile_commands.json"; then echo "$file"; fi
    done |
        xargs --max-procs="$jobs" --max-args=1 clang-tidy -p "$1" --quiet --checks='clang-diagnostic-*' 2>&1 |
        sed '/warnings generated\.$/d' # of the system's headers
}
cpp_files | grep '\.cpp$' | grep -v '^fuzz/' | tidy "$folder"
cpp_files | grep '^fuzz/.*\.cpp$' | tidy build/fuzz

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
    Kavrix Telvane camera simulator tools diagnosis report examples
echo "shellcheck"
shellcheck --external-sources --source-path=SCRIPTDIR scripts/*.sh packaging/*.sh tests/packaging/*.sh .ci/run

echo "no findings"
