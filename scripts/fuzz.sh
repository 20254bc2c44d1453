#!/bin/bash
# Fuzzes the program, the library and what the tools read: scripts/fuzz.sh [<seconds for each target>] [<target>...]
#                                                          scripts/fuzz.sh --short [<target>...]
#                                                          scripts/fuzz.sh --seeds
#
# Installs what is missing on Debian 12 (as root or through sudo), builds the targets of fuzz/ with clang,
# libFuzzer and the sanitizers into build/fuzz, and runs all of them, or those that are named, two at a time:
# every seed of fuzz/corpus first, then inputs made of them until the time is up (10 seconds unless another
# number is given; 0 replays the seeds). Inputs that reach something new stay in build/fuzz/runs, findings go
# to build/fuzz/findings; nothing is written into the tree. FUZZ_SEED=<n> makes other inputs, 0 new ones in
# each run. The last line counts targets. Exit status 0 when there was no finding.
#
# --short tries as many inputs as take a second or less after the seeds, the same ones on every machine and under every
# load: what it says about a change is no matter of luck.
# --seeds writes the seeds of the file readers anew.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

seconds=10 make_seeds='' short=''
if [[ ${1:-} == --seeds ]]; then
    make_seeds=1
    shift
elif [[ ${1:-} == --short ]]; then
    short=1
    shift
elif [[ ${1:-} =~ ^[0-9]+$ ]]; then
    seconds=$1
    shift
fi
mapfile -t all < <(printf '%s\n' fuzz/fuzz_*.cpp | sed 's|.*/fuzz_||; s|\.cpp$||')
targets=("$@")
((${#targets[@]})) || targets=("${all[@]}")
for target in "${targets[@]}"; do
    [[ -f fuzz/fuzz_$target.cpp ]] || {
        echo "There is no target $target; there are ${all[*]}" >&2
        exit 1
    }
done

scripts/install-packages.sh clang libclang-rt-14-dev llvm "${build_packages[@]}" libgtest-dev

jobs=$(jobs_at_once)
configure fuzz -DTELVANE_WERROR=ON
programs=("${targets[@]/#/fuzz_}")
if [[ $make_seeds ]]; then programs=(make_seeds); fi
cmake --build --preset fuzz --parallel "$jobs" --target "${programs[@]}" -- \
    --no-print-directory --silent >/dev/null
if [[ $make_seeds ]]; then
    build/fuzz/fuzz/make_seeds fuzz/corpus
    exit
fi

for_sanitizers
# Where things lie decides some branches of the libraries.
if [[ $short ]] && setarch --addr-no-randomize true 2>/dev/null; then sanitized=(setarch --addr-no-randomize); fi
# The freed memory that is kept for finding uses after free is most of what such a program takes.
ASAN_OPTIONS+=:quarantine_size_mb=16

seed=${FUZZ_SEED:-1}
[[ ! $short ]] || seed=1
# New inputs of --short: a second or two of each target on one core.
declare -A runs=([any]=10000 [detect]=2000 [driver]=500)

# fuzz <target>: its line of the table goes to build/fuzz/runs/<target>/line.
fuzz() {
    local target=$1 folder=build/fuzz/runs/$1 family=${1%%_*} options=() status=0 finding count
    rm -rf "$folder" build/fuzz/findings/"$target"-*
    mkdir -p "$folder/corpus" build/fuzz/findings
    # In the same order everywhere, which that of a folder is not.
    find fuzz/corpus -path "fuzz/corpus/$family/*" -o -path "fuzz/corpus/$target/*" | sort >"$folder/seeds"
    count=$(wc -l <"$folder/seeds")
    tr '\n' , <"$folder/seeds" | sed 's/,$//' >"$folder/list"
    ((count == 0)) || options+=("-seed_inputs=@$folder/list")
    [[ ! -f fuzz/$family.dict ]] || options+=("-dict=fuzz/$family.dict")
    # Few inputs fit into the time of a slow target: they are long ones from the beginning.
    [[ $target != driver ]] || options+=(-len_control=0)
    if [[ $short ]]; then
        # Compared values that mutations insert may be addresses, which differ from run to run.
        options+=("-runs=$((count + ${runs[$target]:-${runs[any]}}))" -shuffle=0 -reload=0 -use_cmp=0)
    elif ((seconds)); then
        options+=("-max_total_time=$seconds")
    else
        options+=(-runs=0)
    fi
    "${sanitized[@]}" "build/fuzz/fuzz/fuzz_$target" "${options[@]}" -seed="$seed" -max_len=4096 \
        -rss_limit_mb=2048 -malloc_limit_mb=128 -timeout=300 -report_slow_units=300 -print_final_stats=1 \
        -artifact_prefix="build/fuzz/findings/$target-" "$folder/corpus" >"$folder/log" 2>&1 || status=$?

    finding=$(find build/fuzz/findings -name "$target-*" ! -name '*-slow-unit-*' -print -quit)
    if ((status != 0)) && [[ -z $finding ]]; then finding="$folder/log"; fi
    awk -v target="$target" -v finding="$finding" '
        /^#[0-9]+.* cov: / {
            for (i = 1; i < NF; i++) {
                if ($i == "cov:") cov = $(i + 1)
                if ($i == "ft:") ft = $(i + 1)
            }
        }
        /^#[0-9]+/ { executions = substr($1, 2) + 0 }
        /^stat::number_of_executed_units:/ { executions = $2 }
        END {
            printf "%-14s %11d %6d / %-7d %s\n", target, executions, cov, ft, finding == "" ? "none" : finding
        }' "$folder/log" >"$folder/line"
}
for target in "${targets[@]}"; do
    if (($(jobs -rp | wc -l) >= 2 || jobs < 2)); then wait -n || true; fi
    fuzz "$target" &
done
wait

passed=0 failed=0
printf '%-14s %11s %16s %s\n' target executions "cov / ft" findings
for target in "${targets[@]}"; do
    folder=build/fuzz/runs/$target
    cat "$folder/line"
    if [[ $(<"$folder/line") == *none ]]; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        # What went wrong, and where.
        grep --max-count=12 -E 'FINDING|ERROR|runtime error|SUMMARY|^ +#[0-9]+ .*(Kavrix|Telvane)/' "$folder/log" || true
    fi
done
echo
echo "$passed passed, $failed failed"
((failed == 0))
