#!/bin/bash
# Tries what the README says of frames from elsewhere: scripts/check-frames.sh
#
# Each of its commands that can run here, word for word: of a video, of one picture, of a Python program. From the frames
# that they make telvane-run has to find the wheel. The last line counts. Exit status 0 when all passed.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

build_programs ffmpeg imagemagick python3 python3-opencv
root=$PWD/build/release work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
# A film of another size, with the wheel's frames in its middle.
"$root/simulator/wheelsim" --out source >/dev/null
ffmpeg -loglevel error -i source/img%d.bmp -vf pad=1920:1080:320:60 -c:v libx264 -qp 0 -pix_fmt yuv444p video.mp4
ffmpeg -loglevel error -i source/img1.bmp photo.png

# block <n> <language>: the n-th block of that language in the README's section.
block() {
    awk -v n="$1" -v fence='```'"$2" '
        /^## / { inside = $0 == "## Frames from elsewhere" }
        inside && $0 == fence { count++; show = count == n; next }
        /^```/ { show = 0 }
        show' "$OLDPWD/README.md"
}

# check <what> <command>...
check() {
    if "${@:2}" >log 2>&1; then
        echo "ok      $1" && passed=$((passed + 1))
    else
        echo "FAILED  $1" && failed=$((failed + 1))
        tail -n 20 log
    fi
}

finds_the_wheel() {
    "$root/run/telvane-run" --inner 216 --outer 250 --region 560,560 --frames frames --json >run.json &&
        python3 -c '
import json, sys
run = json.load(open("run.json"))
x, y = run["centre"]
sys.exit(not (run["verdict"] == "good" and abs(x - 652.4) < 2 and abs(y - 471.7) < 2))'
}

check "the video's frames are made" bash -euc "$(block 1 sh)"
check "the wheel is found in them" finds_the_wheel
check "one picture becomes a frame" bash -euc "$(block 2 sh)"
check "and is taken with the others" finds_the_wheel
rm -r frames && mkdir frames
# Debian's own Python has Debian's OpenCV.
ffmpeg -loglevel error -y -i source/img%d.bmp -c:v libx264 -qp 0 -pix_fmt yuv444p video.mp4
check "a Python program writes frames" /usr/bin/python3 -c "$(block 1 python)"
check "the wheel is found in them" finds_the_wheel
tell_count
