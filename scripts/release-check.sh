#!/bin/bash
# What a release must pass: .ci/run, and what takes too long for it.
#
#     scripts/release-check.sh              everything, several hours
#     scripts/release-check.sh arm fuzz     some of it, by the names below
#
# Every step is run, also after one has failed. The last lines say of each what it ended with. Exit status 0 when
# nothing failed. The working tree must be that of a commit; what passed on another one has to be run again.
set -uo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
exec </dev/null

steps=(ci code asan tsan faults arm fuzz coverage vectors report setup packages film verdicts)
declare -A command=(
    [ci]=".ci/run"
    [code]="scripts/check-code.sh --all"
    [tsan]="scripts/test.sh tsan"
    [asan]="scripts/test.sh asan" # the sanitizers of g++
    [faults]="scripts/faults.sh"
    [arm]="scripts/test-arm.sh"
    [fuzz]="scripts/fuzz.sh 600"
    [coverage]="scripts/coverage.sh"
    [vectors]="scripts/vector-report.sh"
    [report]="scripts/check-report.sh"
    [setup]="scripts/check-setup.sh --long"
    [packages]="scripts/check-packages.sh" # needs root
    [film]="scripts/check-camera.sh trixie" # needs root
    [verdicts]="scripts/accuracy.sh --verdicts"
)
(($# == 0)) || steps=("$@")
for step in "${steps[@]}"; do
    [[ ${command[$step]:-} ]] || {
        echo "No step $step; there are: ${!command[*]}" >&2
        exit 2
    }
done
[[ -z $(git status --porcelain) ]] || {
    echo "The working tree differs from its commit: what passed would be unknown" >&2
    exit 2
}
commit=$(git rev-parse --short HEAD)

mkdir -p build/release-check
rows=() failed=0
for step in "${steps[@]}"; do
    printf '\n==== %s: %s\n' "$step" "${command[$step]}"
    log=build/release-check/$step.log
    status=0
    # The commands above are made of words without blanks.
    # shellcheck disable=SC2086
    ${command[$step]} 2>&1 | tee "$log" || status=$?
    result=$(tail -n 1 "$log")
    if ((status)); then
        result="FAILED: $result"
        failed=$((failed + 1))
    fi
    rows+=("$(printf '%-10s %s' "$step" "$result")")
done

printf '\n==== %s\n' "$commit"
printf '%s\n' "${rows[@]}"
((failed == 0))
