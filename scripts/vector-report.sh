#!/bin/bash
# Shows which hot loops GCC turns into vector code for the board's 64-bit ARM processor: scripts/vector-report.sh
#
# Compiles them with Debian's cross compiler and the flags of a release build, and reads the compiler's own report.
# A function's loops are found by the name of the function, or of the one that it was inlined into, and the loop's
# place. Exit status 0 when every one of them became vector code.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

scripts/install-packages.sh g++-aarch64-linux-gnu

report=$(mktemp)
trap 'rm -f "$report"' EXIT
missing=0

# vectors <file> <function in the report> [<function whose own loop it is> [<the header that it stands in>]]
vectors() {
    local file=$1 function=$2 owner=${3:-} source=${4:-$1} place='KXelementwise.h:' found
    aarch64-linux-gnu-g++ -std=c++20 -O3 -DNDEBUG -ffp-contract=off -fno-math-errno -I. -Icamera/simulated \
        -fdump-tree-vect-optimized="$report" -c "$file" -o /dev/null
    if [[ $owner ]]; then
        # The first loop after the function's name.
        place=$source:$(awk -v name="$owner(" 'index($0, name) { inside = 1 }
            inside && /^ *for \(/ { print NR; exit }' "$source"):
    fi
    found=$(awk -v function_name="$function" -v place="$place" '
        /^;; Function / { inside = index($0, function_name) }
        inside && /loop vectorized using/ && index($1, place) { print $(NF - 2) }' "$report" |
        sort -n | tail -n 1)
    [[ $found ]] || missing=$((missing + 1))
    printf '| %-18s | %-30s | %-8s |\n' "$(basename "$file")" "${owner:-$function}" \
        "${found:+$found bytes}"
}

printf '| %-18s | %-30s | %-8s |\n' file loop vectors
echo '| ------------------ | ------------------------------ | -------- |'
vectors Kavrix/OptFlow.cpp PrepareFrame
vectors Kavrix/inner/FlowRows.cpp DerivativeRow DerivativeRow
vectors Kavrix/inner/FlowRows.cpp AverageRow AverageRow
vectors Kavrix/inner/FlowRows.cpp FirstSweepRow FirstSweepRow
vectors Kavrix/inner/FlowRows.cpp SweepRow SweepRow
vectors Kavrix/inner/FlowRows.cpp AddFlowRow
vectors Kavrix/OptFlow.cpp OF_Norm
vectors Kavrix/inner/Votes.cpp StrongPixels::StrongPixels
vectors Kavrix/Imgproc.cpp Filter3x3
vectors Kavrix/FindSemiCircle.cpp AddDifferences AddDifferences Kavrix/inner/PatternSums.h
vectors Kavrix/FindSemiCircle.cpp SumBounds
vectors Kavrix/KXshort2.cpp 'Elem<short int>::operator+='
vectors Telvane/Telvane.cpp 'RankOfEachPixel<unsigned char>'
vectors Telvane/Telvane.cpp 'RankOfEachPixel<short int>'
vectors Telvane/Grab.cpp Grab GreyRow

echo
echo "$missing of the loops are plain code"
((missing == 0))
