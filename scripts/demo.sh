#!/bin/bash
# Shows Telvane at work: scripts/demo.sh [--installed]
#
# Installs what is missing on Debian 12 (as root or through sudo), builds the programs into build/release, draws a
# sequence of a wheel whose centre is known, and lets Telvane find it: from files by both methods, and once from the
# simulated camera. With --installed, nothing is installed or built, and the programs are those that are installed. What
# the programs print stays in build/demo. The last line counts the runs that found their centre, and the report.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

root=$PWD
if [[ ${1:-} == --installed ]]; then
    telvane=Telvane wheelsim=wheelsim report=telvane-report
else
    # shellcheck disable=SC2119 # no more packages than these
    build_programs
    telvane=$root/build/release/Telvane/Telvane wheelsim=$root/build/release/simulator/wheelsim
    report=$root/build/release/report/telvane-report
fi

demo=$root/build/demo
rm -rf "$demo"
mkdir -p "$demo"

# The text after <name>= in what wheelsim printed.
value() { sed -n "s/^$1=//p" "$demo/scene.txt"; }

# draw <folder> <wheelsim option>...: frames into that folder of the demo, where the next runs take place.
draw() {
    frames=$demo/$1
    "$wheelsim" --out "$frames" "${@:2}" >"$demo/scene.txt"
}

# run <name> <title> <the larger error that passes> <Telvane command line>
run() {
    local name=$1 title=$2 limit=$3 command=$4 start end status=0
    rm -f "$frames/detected.jpg"
    start=$EPOCHREALTIME
    # Telvane writes its pictures into the current folder. The command line is made of words without blanks.
    # shellcheck disable=SC2086
    (cd "$frames" && "$telvane" ${command#Telvane }) >"$demo/$name.txt" 2>&1 || status=$?
    end=$EPOCHREALTIME
    [[ ! -e $frames/detected.jpg ]] || cp "$frames/detected.jpg" "$demo/detected-$name.jpg"

    # The centre found is the output region's corner and the place of the centre within it that was asked for:
    # the positional arguments are the last 16 words, the centre's place the third and fourth of them.
    awk -v title="$title" -v truth="$(value TRUE_CENTRE)" -v command="$command" -v status="$status" \
        -v limit="$limit" -v seconds="$(awk "BEGIN { print $end - $start }")" '
        $0 == "RESULT=0" { found = 1 }
        /^OROI=\[/ { split($0, region, /[[,\]]/) }
        END {
            split(truth, t, ",")
            n = split(command, word, " ")
            x = region[2] + word[n - 13]
            y = region[3] + word[n - 12]
            error = sqrt((x - t[1]) ^ 2 + (y - t[2]) ^ 2)
            ok = status == 0 && found && 2 in region && error <= limit
            printf "%-36s %-14s ", title, t[1] ", " t[2]
            if (2 in region) printf "%-14s %6.2f px  (%g allowed)", x ", " y, error, limit
            else printf "%-14s %31s", "none", ""
            printf "  %5.2f s%s\n", seconds, ok ? "" : "  FAILED"
            exit !ok
        }' "$demo/$name.txt" >>"$demo/table.txt" || {
        failed=$((failed + 1))
        echo "$command" >&2
        cat "$demo/$name.txt" >&2
        return
    }
    passed=$((passed + 1))
}

# Half the width of the ring between the radii of a command line.
half_ring() { awk '{ print ($(NF - 10) - $(NF - 11)) / 2 }' <<<"$1"; }

draw files --centre 583.7,446.2 --inner 224 --outer 258 --teeth 36 --speed -0.45
votes=$(value VOTES)
run votes "files, flow voting (R3 = 0)" "$(half_ring "$votes")" "$votes"
ring=$(value RING)
run ring "files, ring search (R3 = -1)" 2 "$ring"

# The simulated camera films wheelsim's default scene; one frame is enough to learn where its centre lies.
draw camera --count 1
votes=$(value VOTES)
run camera "simulated camera, flow voting" "$(half_ring "$votes")" "${votes/-l 1/-n 15}"

# Whether that can be trusted. The command line is made of words without blanks.
# shellcheck disable=SC2086
if "$report" --in "$demo/files" --out "$demo/report.html" -- $ring >"$demo/report.txt" 2>&1; then
    passed=$((passed + 1))
else
    failed=$((failed + 1))
fi

printf '%-36s %-14s %-14s %-24s %s\n' Run "True centre" "Found centre" Error Time
cat "$demo/table.txt"
echo
echo "The first frame of each run with the result marked on it: $demo/detected-*.jpg"
echo "The ring search on one page, with the verdict:            $demo/report.html"
echo "Next: your own wheel, by the README's \"From nothing to a first result\"."
tell_count
