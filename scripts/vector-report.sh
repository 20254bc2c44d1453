#!/bin/bash
# Shows which hot loops GCC turns into vector code for the board's 64-bit ARM processor: scripts/vector-report.sh
#
# Compiles them with Debian's cross compiler and the flags of a release build, and reads the compiler's own report.
# A function's loops are found by the name of the function, or of the one that it was inlined into, and the loop's
# place. Exit status 0 when every one of them became vector code.
#
# Beside the loops of the flow stand the cycles that they take for a pixel, and at the end what all of them take for
# a pixel of a pair of frames, by the models that LLVM has of the processors: it counts instructions that wait for
# each other and for the processor's units, not memory. For 32-bit ARM, which Debian compiles for without vectors, the
# last column has the instructions for a pixel.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

scripts/install-packages.sh g++-aarch64-linux-gnu g++-arm-linux-gnueabihf llvm-19 python3

report=$(mktemp) listing=$(mktemp) sums=$(mktemp)
trap 'rm -f "$report" "$listing" "$sums"' EXIT
missing=0
models=(cortex-a53 cortex-a72 neoverse-n1)

row() { printf '| %-18s | %-30s | %-8s | %11s | %11s | %11s | %5s |\n' "$@"; }

# vectors <file> <function in the report> [<function whose own loop it is> [<the header that it stands in>]]
times=0
vectors() {
    local file=$1 function=$2 owner=${3:-} source=${4:-$1} place='KXelementwise.h:' found cycles=('' '' '' '')
    local flags=(-std=c++20 -O3 -DNDEBUG -ffp-contract=off -fno-math-errno -I. -Icamera/simulated)
    aarch64-linux-gnu-g++ "${flags[@]}" -fdump-tree-vect-optimized="$report" -S "$file" -o "$listing"
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
    if ((times)); then
        read -ra cycles < <(python3 scripts/loop_cycles.py cycles "$listing" "$symbol" "$bytes" "${models[@]}")
        arm-linux-gnueabihf-g++ "${flags[@]}" -S "$file" -o "$listing"
        cycles+=("$(python3 scripts/loop_cycles.py instructions "$listing" "$symbol" "$stores")")
        for ((; times > 0; times--)); do echo "${cycles[@]}"; done >>"$sums"
    fi
    row "$(basename "$file")" "${owner:-$function}" "${found:+$found bytes}" "${cycles[@]}"
}

# flow <how often for a pixel> <bytes of the smallest element> <stores for a pixel> <function in the listing>
#      <what vectors takes>
flow() {
    times=$1 bytes=$2 stores=$3 symbol=$4
    vectors "${@:5}"
}

row file loop vectors "${models[@]}" armhf
row ------------------ ------------------------------ -------- ----------: ----------: ----------: ----:
vectors Kavrix/OptFlow.cpp PrepareFrame
flow 1 1 1 'Smooth(MatByte const&)::{lambda' Kavrix/Imgproc.cpp Filter3x3
flow 1 2 4 inner::DerivativeRow Kavrix/inner/FlowRows.cpp DerivativeRow DerivativeRow
flow 2 2 1 inner::AverageRow Kavrix/inner/FlowRows.cpp AverageRow AverageRow
flow 1 2 2 inner::FirstSweepRow Kavrix/inner/FlowRows.cpp FirstSweepRow FirstSweepRow
flow 1 2 2 inner::SweepRow Kavrix/inner/FlowRows.cpp SweepRow SweepRow
flow 1 2 2 inner::AddFlowRow Kavrix/inner/FlowRows.cpp AddFlowRow
read -ra together < <(awk '{ for (i = 1; i <= NF; i++) sum[i] += $i }
    END { printf "%.1f %.1f %.1f %.1f\n", sum[1], sum[2], sum[3], sum[4] }' "$sums")
row '' 'the flow of a pair' '' "${together[@]}"
vectors Kavrix/OptFlow.cpp OF_Norm
vectors Kavrix/inner/Votes.cpp StrongPixels::StrongPixels
vectors Kavrix/FindSemiCircle.cpp AddDifferences AddDifferences Kavrix/inner/PatternSums.h
vectors Kavrix/FindSemiCircle.cpp SumBounds
vectors Kavrix/KXshort2.cpp 'Elem<short int>::operator+='
vectors Telvane/Telvane.cpp 'RankOfEachPixel<unsigned char>'
vectors Telvane/Telvane.cpp 'RankOfEachPixel<short int>'
vectors Telvane/Grab.cpp Grab GreyRow

echo
echo "$missing of the loops are plain code"
((missing == 0))
