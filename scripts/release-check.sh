#!/bin/bash
# What a release must pass beside .ci/run, and what takes too long for it:
#
#     scripts/release-check.sh              everything, several hours
#     scripts/release-check.sh arm fuzz     some of it, by the names below
#
# Every step is run, also after one has failed. The last lines are rows for the table in docs/release-check.md: step,
# commit, day, result. Exit status 0 when nothing failed. The working tree must be that of a commit.
set -uo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
exec </dev/null

declare -A command=(
    [ci]=".ci/run"
    [arm]="scripts/test-arm.sh"
    [fuzz]="scripts/fuzz.sh 600"
    [coverage]="scripts/coverage.sh"
    [vectors]="scripts/vector-report.sh"
    [report]="scripts/check-report.sh"
    [packages]="scripts/check-packages.sh"
)
steps=("$@")
((${#steps[@]})) || steps=(ci arm fuzz coverage vectors report packages)
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
    rows+=("| \`${command[$step]}\` | $commit | $(date +%F) | $result |")
done

printf '\n==== summary\n'
printf '%s\n' "${rows[@]}"
((failed == 0))
