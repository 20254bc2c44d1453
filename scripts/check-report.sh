#!/bin/bash
# Opens reports in a browser as a technician would: scripts/check-report.sh
#
# Installs what is missing on Debian 12 (as root or through sudo), builds Telvane, wheelsim and telvane-report into
# build/release, makes a report for every verdict, and one of a run with damaged files, and opens each from disk in
# headless Chromium at a phone's, a tablet's and a desktop's width, light and dark. Every picture must be shown,
# nothing may be wider than the window, and a phone must show everything down to the drawing on its first screen.
# Pages and screenshots stay in build/check-report. Exit status 0 when all is as it must be.
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
# "pictures=<n> broken=<n> beyond=<pixels that it is wider> drawn=<row where the drawing ends>". A copy of the page
# tells the page around it. A picture inside a drawing has no size to ask for: it is loaded once more beside it.
measured() {
    local copy=${1%.html}-checked.html around=${1%.html}-around.html found=nothing
    sed 's|</body>|<script>for (const below of document.querySelectorAll("svg image")) {\
        const beside = document.body.appendChild(new Image());\
        beside.hidden = true; beside.src = below.getAttribute("href"); }\
    addEventListener("load", () => {\
        const all = [...document.images], drawing = document.querySelector("svg.marked");\
        parent.postMessage("pictures=" + all.length + " broken=" + all.filter(i => !(i.naturalWidth > 0)).length +\
        " beyond=" + (document.documentElement.scrollWidth - innerWidth) +\
        " drawn=" + (drawing ? Math.ceil(drawing.getBoundingClientRect().bottom) : 0), "*"); });</script></body>|' \
        "$1" >"$copy"
    cat >"$around" <<END
<!DOCTYPE html><html><body><p id="result">nothing</p><script>
addEventListener("message", e => { document.getElementById("result").textContent = e.data; });
</script><iframe src="$(basename "$copy")" style="width: $2px; height: 800px; border: 0"></iframe></body></html>
END
    for _ in 1 2 3; do # a busy machine may be asked before the page has told
        [[ $found != nothing ]] ||
            found=$(browse --window-size=1600,1000 --dump-dom "file://$around" |
                sed -n 's|.*<p id="result">\([^<]*\)</p>.*|\1|p')
    done
    rm "$copy" "$around"
    echo "$found"
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

# check <name> <verdict> <pictures> [<word>...]: the report of the run in that folder. The words are its command line.
check() {
    local name=$1 verdict=$2 pictures=$3 page=$folder/$1/report.html width scheme found
    shift 3
    local run=()
    (($# == 0)) || run=(-- "$@")
    echo "== $name"
    "$programs/report/telvane-report" --in "$folder/$name" "${run[@]}"
    expect "verdict" "$verdict" "$(sed -n 's|.*<p>Verdict: \([a-z-]*\)\..*|\1|p' "$page")"
    for width in 360 768 1280; do
        found=$(measured "$page" "$width")
        expect "$width pixels wide" "pictures=$pictures broken=0 beyond=0" "${found% drawn=*}"
        # A telephone of this width shows 640 rows and more, and scrolls little further.
        if ((width == 360)); then
            local end=${found##*drawn=}
            expect "the drawing ends by row 720" yes "$([[ $end =~ ^[0-9]+$ ]] && ((end <= 720)) && echo yes || echo "$end")"
        fi
        # Headless windows have a least width; a phone's is below it and is seen through a frame.
        cat >"$folder/frame.html" <<END
<!DOCTYPE html><html><body style="margin: 0"><iframe src="$name/report.html"
style="width: ${width}px; height: 4400px; border: 0"></iframe></body></html>
END
        for scheme in dark light; do
            browse --window-size="$((width < 600 ? 600 : width)),4400" --screenshot="$folder/$name-$width-$scheme.png" \
                --blink-settings="preferredColorScheme=$([[ $scheme == dark ]] && echo 0 || echo 1)" \
                "file://$folder/frame.html" >/dev/null
        done
        rm "$folder/frame.html"
    done
}

# frames <name> [<option>...]: frames of a wheel, in a folder of that name.
frames() {
    local name=$1
    shift
    mkdir "$folder/$name"
    "$programs/simulator/wheelsim" --out "$folder/$name" "$@" >"$folder/$name/scene.txt"
}

# run <name> <word>...: a run of the program there.
run() {
    local name=$1
    shift
    (cd "$folder/$name" && "$programs/Telvane/Telvane" "$@") >"$folder/$name/result.txt" 2>&1
}

# judged <verdict> <pictures> <R3> <innerR> <outerR> <angSpd> [<option of wheelsim>...]: frames, a run and its report.
judged() {
    local verdict=$1 pictures=$2
    local words=(-l 15 -s 300 260 150 130 "$4" "$5" "$3" 0 360 360 40 "$6" 0 0 0 0)
    shift 6
    frames "$verdict" "$@"
    run "$verdict" "${words[@]}"
    check "$verdict" "$verdict" "$pictures" Telvane "${words[@]}"
}

judged good 10 0 216 250 1
judged still 7 -1 216 250 1 --speed 0
judged too-fast 10 0 216 250 1 --speed 4.5
judged other-motion 10 0 216 250 1 --disc 1000,200,60,6,3
judged wrong-radii 7 -1 270 310 1
judged wrong-sense 10 0 216 250 -1
judged disagree 7 -1 216 250 1 --eccentric 6,30
judged bad-frames 7 -1 216 250 1 --repeat 4
judged no-result 7 -1 60 80 1 --inner 60 --outer 80 --centre 120,110
frames unclear
check unclear unclear 6
frames failed
check failed failed 6 Telvane -l 15 -m 10 10 0 5 300 260 150 130 216 250 -1 0 360 360 40 1 0 0 0 0

cp -a "$folder/good" "$folder/damaged"
truncate --size=100000 "$folder/damaged/hough.bmp"
cp "$folder/damaged/img3.bmp" "$folder/damaged/v_sum_sh.bmp"
check damaged unclear 7

# The measuring must see what it looks for.
echo "== pages that are wrong on purpose"
wrong=$folder/wrong.html
sed 's|;base64,iVBOR|;base64,xVBOR|' "$folder/disagree/report.html" >"$wrong"
found=$(measured "$wrong" 360)
expect "damaged pictures" "pictures=7 broken=2 beyond=0" "${found% drawn=*}"
sed 's|href="data:image/jpeg;base64,/9j|href="data:image/jpeg;base64,AAAA|' "$folder/disagree/report.html" >"$wrong"
found=$(measured "$wrong" 360)
expect "damaged drawing" "pictures=7 broken=1 beyond=0" "${found% drawn=*}"
sed 's|<body>|<body><div style="width: 500px">wide</div>|' "$folder/disagree/report.html" >"$wrong"
found=$(measured "$wrong" 360)
expect "too wide" "pictures=7 broken=0 beyond=152" "${found% drawn=*}"
rm "$wrong" "$folder/browser.txt"

echo
echo "Pages and screenshots:"
printf '  %s\n' "$folder"/*/report.html "$folder"/*.png
((failed == 0)) || {
    echo "$failed measurements are not as they must be" >&2
    exit 1
}
echo "every verdict is told, every picture is shown, nothing is too wide"
