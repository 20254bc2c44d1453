#!/bin/bash
# Whole runs of the program and a choice of the unit tests under valgrind's memcheck: scripts/valgrind.sh
#
# Installs what is missing on Debian 12 (as root or through sudo) and uses the build in build/release, which it makes
# where it is not there yet. Nothing may be decided by a value that was never set, no access may leave its storage,
# and a run that comes back to its end may leave no memory but what tests/valgrind.supp names. The last line counts
# the checks. Exit status 0 when all passed.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

scripts/install-packages.sh valgrind "${build_packages[@]}" libgtest-dev pkg-config

# Those of them that do not need minutes here.
tests=(test_bmpread test_bmpwrite test_jpegwrite test_rawfiles test_arraydump test_views test_Mask test_Grab
    test_GetBackground test_FindSemiCircle test_OptFlow test_Overlay)
# A routine that halts is ended in a child, and a program is another process: neither is looked at here.
not_here='*Halt*:*Stop*:*EndTheProcess*:*EndsTheProcess*:*Million*'

at_once=$(jobs_at_once)
configure release -DTELVANE_TESTS=ON
cmake --build --preset release --parallel "$at_once" \
    --target Telvane Telvane_film_camera Telvane_closed_camera wheelsim "${tests[@]}" -- --no-print-directory --silent

root=$PWD
program=$root/build/release/Telvane/Telvane
cameras=$root/build/release/tests
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/frames" "$work/log"
build/release/simulator/wheelsim --out "$work/frames" --count 2 >"$work/log/wheelsim"

# memcheck <name> <exit status> <kinds of leaks that are errors> <command>...
memcheck() {
    local log=$work/log/$1 status=0
    (cd "$work/$1" && timeout 300 valgrind --log-file="$log" --error-exitcode=99 --child-silent-after-fork=yes \
        --leak-check=full --show-leak-kinds="$3" --errors-for-leak-kinds="$3" \
        --suppressions="$root/tests/valgrind.supp" "${@:4}" >"$log.out" 2>&1) || status=$?
    if ((status == $2)) && grep -q 'ERROR SUMMARY: 0 errors' "$log"; then
        echo "passed $1"
    else
        echo "FAILED $1: exit status $status instead of $2"
        cat "$log.out" "$log" >&2
    fi
}

# check <name> <exit status> <kinds> <command>...: does so in a folder of that name, beside other checks.
started=0
check() {
    started=$((started + 1))
    while (($(jobs -rp | wc -l) >= at_once)); do wait -n || true; done
    mkdir -p "$work/$1"
    memcheck "$@" | tee -a "$work/results" &
}

# with_frames <name>: a folder of that name with frames in it.
with_frames() { mkdir "$work/$1" && cp "$work"/frames/img*.bmp "$work/$1"; }

# What is ended by exit(), libjpeg's end too, leaves what main() holds; nothing of it may be out of reach.
at_the_end=all lost=definite,indirect,possible

wheel=(600 560 300 280 216 250)
ring_search=("${wheel[@]}" -1 10 200 360 40 1 0 0 0 -50)
votes=("${wheel[@]}" 0 0 360 360 40 -1 0 0 0 0)
refused=(600 560 600 "${ring_search[@]:3}") # the detection itself is not wanted here

# The longest first.
with_frames ring_search
check ring_search 0 $at_the_end "$program" -l 2 -s -m 1 1 50 60 -m 900 900 99 99 "${ring_search[@]}"
with_frames votes
check votes 0 $at_the_end "$program" -l 2 -s -p2 2 "${votes[@]}"
check simulated_camera 0 $at_the_end "$program" -n 2 -s -jpg "${refused[@]}"
mkdir "$work/camera_without_buffer" && echo "11 null" >"$work/camera_without_buffer/camera.fault"
check camera_without_buffer 0 $at_the_end "$cameras/Telvane_film_camera" -n 2 -s -p1 2 "${votes[@]}"

for name in "${tests[@]}"; do
    check "$name" 0 $lost "$root/build/release/tests/$name" --gtest_brief=1 --gtest_filter="-$not_here"
done

check camera_that_does_not_open 1 $at_the_end "$cameras/Telvane_closed_camera" -n 2 "${votes[@]}"
check no_arguments 1 $lost "$program"
check missing_frame 255 $lost "$program" -l 2 "${votes[@]}"
mkdir "$work"/{empty,short,coloured}_frame "$work"/full_disk_for_{bmp,jpeg}
: >"$work/empty_frame/img1.bmp"
check empty_frame 255 $lost "$program" -l 1 "${votes[@]}"
head -c 700000 "$work/frames/img1.bmp" >"$work/short_frame/img1.bmp"
check short_frame 255 $lost "$program" -l 1 "${votes[@]}"
{ head -c 28 "$work/frames/img1.bmp" && printf '\x18' && tail -c +30 "$work/frames/img1.bmp"; } \
    >"$work/coloured_frame/img1.bmp"
check coloured_frame 255 $lost "$program" -l 1 "${votes[@]}"
ln -s /dev/full "$work/full_disk_for_bmp/img1.bmp"
check full_disk_for_bmp 0 $at_the_end "$cameras/Telvane_film_camera" -n 1 -s "${refused[@]}"
ln -s /dev/full "$work/full_disk_for_jpeg/img1.jpg"
check full_disk_for_jpeg 1 $lost "$cameras/Telvane_film_camera" -n 1 -s -jpg "${refused[@]}"
wait

passed=$(grep -c '^passed' "$work/results" || true)
failed=$((started - passed)) # also those that did not come to an end
tell_count
