#!/bin/bash
# Opens reports in a browser as a technician would: scripts/check-report.sh
#
# Installs what is missing on Debian 12 (as root or through sudo), builds Telvane, wheelsim and telvane-report into
# build/release, makes the reports of a run by flow votes, of a ring search, and of a run with damaged files, and
# opens each from disk in headless Chromium at a phone's, a tablet's and a desktop's width. Every picture must be
# shown and nothing may be wider than the window. Screenshots stay in build/check-report. Exit status 0 when all
# is as it must be.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

build_programs chromium

programs=$PWD/build/release
folder=$PWD/build/check-report
rm -rf "$folder"
mkdir -p "$folder"
failed=0

# The browser keeps its own files in a folder that goes with this script.
profile=$(mktemp -d)
trap 'rm -rf "$profile"' EXIT
browse() {
    timeout 120 chromium --headless --no-sandbox --disable-gpu --no-first-run --disable-background-networking \
        --disable-component-update --disable-sync --hide-scrollbars --user-data-dir="$profile" \
        --virtual-time-budget=10000 "$@" 2>"$folder/browser.txt"
}

# measured <page> <width>: what the browser makes of a page in a window of that width, as
# "pictures=<n> broken=<n> beyond=<pixels that it is wider>". A copy of the page tells the page around it.
measured() {
    local copy=${1%.html}-checked.html around=${1%.html}-around.html
    sed 's|</body>|<script>addEventListener("load", () => { const all = [...document.images];\
        parent.postMessage("pictures=" + all.length + " broken=" + all.filter(i => !(i.naturalWidth > 0)).length +\
        " beyond=" + (document.documentElement.scrollWidth - innerWidth), "*"); });</script></body>|' "$1" >"$copy"
    cat >"$around" <<EOF
<!DOCTYPE html><html><body><p id="result">nothing</p><script>
addEventListener("message", e => { document.getElementById("result").textContent = e.data; });
</script><iframe src="$(basename "$copy")" style="width: $2px; height: 800px; border: 0"></iframe></body></html>
EOF
    browse --window-size=1600,1000 --dump-dom "file://$around" | sed -n 's|.*<p id="result">\([^<]*\)</p>.*|\1|p'
    rm "$copy" "$around"
}

# expect <what> <wanted> <got>
expect() {
    if [[ $3 == "$2" ]]; then
        echo "  $1: $3"
    else
        echo "  $1: '$3' instead of '$2'  FAILED"
        failed=$((failed + 1))
    fi
}

# check <name> <pictures>: the report of the run in that folder.
check() {
    local page=$folder/$1/report.html width
    echo "== $1"
    "$programs/report/telvane-report" --in "$folder/$1"
    for width in 360 768 1280; do
        expect "$width pixels wide" "pictures=$2 broken=0 beyond=0" "$(measured "$page" "$width")"
        # Headless windows have a least width; a phone's is below it and is seen through a frame.
        cat >"$folder/frame.html" <<EOF
<!DOCTYPE html><html><body style="margin: 0"><iframe src="$1/report.html"
style="width: ${width}px; height: 4400px; border: 0"></iframe></body></html>
EOF
        browse --window-size="$((width < 600 ? 600 : width)),4400" --screenshot="$folder/$1-$width.png" \
            "file://$folder/frame.html" >/dev/null
        rm "$folder/frame.html"
    done
}

# run <name> <VOTES or RING>: frames of the default wheel and a run by that method.
run() {
    local command
    mkdir "$folder/$1"
    "$programs/simulator/wheelsim" --out "$folder/$1" >"$folder/$1/scene.txt"
    command=$(sed -n "s/^$2=Telvane//p" "$folder/$1/scene.txt")
    # The command line is made of words without blanks.
    # shellcheck disable=SC2086
    (cd "$folder/$1" && "$programs/Telvane/Telvane" -s $command) >"$folder/$1/result.txt"
    grep -x 'RESULT=0' "$folder/$1/result.txt" >/dev/null
}

run votes VOTES
run ring RING
cp -a "$folder/votes" "$folder/damaged"
truncate --size=100000 "$folder/damaged/hough.bmp"
cp "$folder/damaged/img3.bmp" "$folder/damaged/v_sum_sh.bmp"

check votes 9
check ring 6
check damaged 3

# The measuring must see what it looks for.
echo "== pages that are wrong on purpose"
wrong=$folder/wrong.html
sed 's|;base64,iVBOR|;base64,xVBOR|' "$folder/ring/report.html" >"$wrong"
expect "damaged pictures" "pictures=6 broken=2 beyond=0" "$(measured "$wrong" 360)"
sed 's|<body>|<body><div style="width: 500px">wide</div>|' "$folder/ring/report.html" >"$wrong"
expect "too wide" "pictures=6 broken=0 beyond=156" "$(measured "$wrong" 360)"
rm "$wrong" "$folder/browser.txt"

echo
echo "Screenshots:"
printf '  %s\n' "$folder"/*.png
((failed == 0)) || {
    echo "$failed measurements are not as they must be" >&2
    exit 1
}
echo "every picture is shown, nothing is too wide"
