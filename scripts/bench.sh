#!/bin/bash
# Builds the benchmarks and prints their tables:
#
#     scripts/bench.sh                         every step beside its plain version, whole runs, growth
#     scripts/bench.sh --write                 and renews the tables in docs/performance.md
#     scripts/bench.sh --filter 'flow|Norm'    only the steps whose names match
#     scripts/bench.sh --against <commit>      this tree and that commit, in turn; with --filter only those steps
#
# Installs what is missing on Debian 12 (as root or through sudo). Times are medians of the processor time of one
# thread, in milliseconds. Let nothing else run. Where OpenCV's packages are installed (libopencv-video-dev,
# libopencv-imgproc-dev) its times stand beside ours.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

filter=. commit='' page=''
while (($#)); do
    case $1 in
        --filter) filter=${2:?--filter needs a regular expression} && shift 2 ;;
        --write) page=docs/performance.md && shift ;;
        --against) commit=${2:?--against needs a commit} && shift 2 ;;
        *) sed -n '2,/^set/s/^# \{0,1\}//p' "$0" >&2 && exit 2 ;;
    esac
done
if [[ $page && ($filter != . || $commit) ]]; then
    echo "--write takes all tables of this tree" >&2
    exit 2
fi

scripts/install-packages.sh "${build_packages[@]}" libgtest-dev libbenchmark-dev pkg-config python3 git

configure bench
build build/bench telvane_bench telvane_growth Telvane wheelsim

if [[ $commit ]]; then
    commit=$(git rev-parse --short --verify "$commit^{commit}")
    other=build/bench-$commit
    mkdir -p "$other/source"
    git archive "$commit" | tar --extract --directory "$other/source"
    # What the commit says of itself: its own options, its own benchmarks.
    cmake -S "$other/source" -B "$other" -DCMAKE_BUILD_TYPE=Release -DTELVANE_CAMERA=simulated \
        -DTELVANE_BENCHMARKS=ON >"$other/configure.log" 2>&1 || { cat "$other/configure.log" >&2 && exit 1; }
    build "$other" telvane_bench Telvane
    python3 bench/tables.py compare "$filter" build/bench "$other" "$commit"
    exit
fi

others=()
if [[ $(uname -m) == x86_64 ]]; then
    configure bench-baseline
    build build/bench-baseline telvane_bench Telvane
    others=(build/bench-baseline)
fi
python3 bench/tables.py all "$filter" build/bench "${others[@]}" | tee build/bench/tables.md
[[ ! $page ]] || renew_section "$page" figures build/bench/tables.md
