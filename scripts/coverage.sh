#!/bin/bash
# Measures what the tests reach: scripts/coverage.sh [<option of ctest>...]
#
# Installs what is missing on Debian 12 (as root or through sudo), builds everything without optimisation and with
# counters into build/coverage, runs the tests, and prints for each file of the library, the programs and the cameras
# how many of its lines and branches were reached. Branches that only the compiler made
# (the ways of exceptions) do not count. build/coverage/html/index.html shows every line. docs/coverage.md tells why
# the branches that remain are not reached. Exit status 0 when every test passed.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

scripts/install-packages.sh "${build_packages[@]}" libgtest-dev pkg-config gcovr

folder=build/coverage
jobs=$(jobs_at_once)
mkdir -p "$folder/html"
g++ -O1 -c tests/coverage/counts_on_sigterm.cpp -o "$folder/counts_on_sigterm.o"
configure coverage -DTELVANE_TESTS=ON -DCMAKE_EXE_LINKER_FLAGS="--coverage $PWD/$folder/counts_on_sigterm.o"
cmake --build --preset coverage --parallel "$jobs"

# Without the tests that build programs outside the tree, which know nothing of counters, and those under a limit for
# files, which holds for the counts as well and would damage them.
find "$folder" -name '*.gcda' -delete # the counts of earlier runs
status=0
ctest --preset coverage --parallel "$jobs" --no-tests=error "$@" \
    --exclude-regex '^(install|compile)\.|FileSizeLimit|OutputThatNobodyTakes|AReportThatCannotBeWritten' >"$folder/test.log" 2>&1 || status=$?
tail -n 3 "$folder/test.log"

rooms=({Kavrix,Telvane,camera,simulator,tools,diagnosis,marks,report,run,setup}/)
gcovr --root . --object-directory "$folder" "$folder" -j "$jobs" \
    "${rooms[@]/#/--filter=}" \
    --exclude-throw-branches --exclude-unreachable-branches \
    --csv "$folder/coverage.csv" --html-details "$folder/html/index.html" --html-title "Coverage" >"$folder/gcovr.log"

awk -F, '
    function share(reached, all) { return all ? sprintf("%.1f %%", 100 * reached / all) : "" }
    function row(name, lines, lines_reached, branches, branches_reached) {
        printf "%-34s %6d %8s  %8d %8s\n", name, lines, share(lines_reached, lines), branches,
            share(branches_reached, branches)
    }
    NR == 1 {
        for (i = 1; i <= NF; i++) column[$i] = i
        printf "%-34s %6s %8s  %8s %8s\n", "File", "lines", "reached", "branches", "reached"
        next
    }
    {
        lines += n = $column["line_total"]; lines_reached += m = $column["line_covered"]
        branches += k = $column["branch_total"]; branches_reached += j = $column["branch_covered"]
        row($1, n, m, k, j)
    }
    END { row("all", lines, lines_reached, branches, branches_reached) }' "$folder/coverage.csv"
echo "Line by line: $folder/html/index.html"
((status == 0)) || exit "$status"
