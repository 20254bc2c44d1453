#!/bin/bash
# Checks the camera back ends as far as that goes without a camera: the program is built over the real libcamera and
# run to its end on this machine, which must have no camera; it films through libcamera's virtual camera, where this
# libcamera has one; it is compiled for raspicam against declarations of that library; and the build chooses the back end
# that it should. What could not be tried is told as skipped, with the reason. The last line is the count of what passed
# and failed.
#
#     scripts/check-camera.sh           on this machine
#     scripts/check-camera.sh trixie    in a bare system of that Debian release; needs root
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

if (($# > 0)); then
    source scripts/roots.sh
    root=$roots/camera
    trap 'rm -rf "$root"' EXIT
    bare_root "$1"
    copy_root "$roots/$1" "$root"
    in_root "$root" bash -c 'mkdir /root/telvane && cd /root/telvane &&
        tar -C /telvane --exclude=./build --exclude=./.git -cf - . | tar -xf - && scripts/check-camera.sh'
    exit
fi

scripts/install-packages.sh "${build_packages[@]}" libcamera-dev

jobs=$(jobs_at_once)
work=$PWD/build/camera
rm -rf "$work"
mkdir -p "$work/run" "$work/raspicam/lib"
passed=0 failed=0 skipped=0

# skip <what> <why>: what could not be tried has not passed.
skip() {
    skipped=$((skipped + 1))
    echo "skipped $1: $2"
}

# check <what> <command>...: counts whether the command succeeds. What it printed is shown when it does not.
check() {
    if "${@:2}" >"$work/log.txt" 2>&1; then
        passed=$((passed + 1))
        echo "ok      $1"
    else
        failed=$((failed + 1))
        echo "FAILED  $1"
        cat "$work/log.txt"
    fi
}

# Built without optimisation: it does not get to its calculations.
build() { # <folder> <cmake option>...
    configure debug -B "$1" -DCMAKE_CXX_FLAGS_DEBUG=-O0 -DTELVANE_TESTS=OFF -DTELVANE_WERROR=ON "${@:2}"
}

# The library with our declarations of it, and an empty file to link.
ln -s "$PWD/tests/camera/declared_camera" "$work/raspicam/include"
g++ -shared -x c++ /dev/null -o "$work/raspicam/lib/libraspicam.so"

# --- libcamera

over_libcamera() {
    build build/libcamera -DTELVANE_CAMERA=libcamera
    cmake --build build/libcamera --parallel "$jobs" --target Telvane -- --no-print-directory --silent
}
check "the program is built over libcamera" over_libcamera

# Without a camera: the one line on standard error, nothing on standard output, status 1.
no_camera() { # <word>...: as <variable>=<value> or an option
    local out status=0
    out=$(cd "$work/run" && env "$@" 2>stderr.txt) || status=$?
    echo "status $status, standard output '$out', standard error:"
    cat "$work/run/stderr.txt"
    [[ $status == 1 && -z $out ]] && printf 'Could not open the camera\n' | cmp - "$work/run/stderr.txt"
}
program=$PWD/build/libcamera/Telvane/Telvane
geometry=(300 260 150 130 216 250 -1 0 360 360 40 1 0 0 0 0)
check "it says that it could not open the camera" no_camera "$program" -n 3 "${geometry[@]}"
check "it says so when frames come from files" no_camera "$program" -l 3 "${geometry[@]}"
check "libcamera says nothing, even when asked to" \
    no_camera LIBCAMERA_LOG_LEVELS='*:DEBUG' "$program" "${geometry[@]}"

# --- filming, where there is something that libcamera can film without a camera

library=$(sed -n 's/^LIBCAMERA_LIBRARY:[A-Z]*=//p' build/libcamera/CMakeCache.txt)

filming_program() {
    configure release -B build/film -DTELVANE_CAMERA=libcamera -DTELVANE_TESTS=OFF -DTELVANE_WERROR=ON
    cmake --build build/film --parallel "$jobs" --target Telvane telvane-from-files -- --no-print-directory --silent
}

# What the virtual camera needs, and the pictures that it shows: those of the simulated camera, two teeth in 45 frames,
# so that the last is followed by the first. It shows each of them four times.
virtual_camera() {
    mkdir -p "$work/film/pictures"
    (
        cd "$work/film"
        "$simulated" -n 45 -s -jpg "${wheel[@]}"
        for i in {1..45}; do mv "img$i.jpg" "pictures/$((i - 1)).jpg"; done
    )
    cat >"$work/film/virtual.yaml" <<END
"Virtual0":
  supported_formats:
  - width: 1280
    height: 960
    frame_rates: [30, 60]
  frames:
    path: "$work/film/pictures"
    scale_mode: "fill"
  model: "Virtual"
END
    g++ -std=c++20 -Wall -Wextra -Werror -O1 -shared -fPIC tests/camera/virtual_camera/stand_in.cpp \
        -o "$work/film/stand_in.so"
    g++ -std=c++20 -Wall -Wextra -Werror -O1 -I. -Icamera/libcamera tests/camera/virtual_camera/films.cpp \
        build/film/camera/libtelvane_camera_{libcamera,frames,losses}.a "$library" "${library%.so}-base.so" \
        -o "$work/film/films"
}

before_virtual_camera() { env VIRTUAL_CAMERA="$work/film/virtual.yaml" LD_PRELOAD="$work/film/stand_in.so" "$@"; }

# The region of the program's run there, frames from pictures that follow each other. A machine that is busy with other
# things may lose some: then it is tried again, five times in all.
region_filmed() {
    for _ in {1..5}; do
        (cd "$work/film" && before_virtual_camera "$film" -n 15 -p1 4 -p2 4 -s "${wheel[@]}" >filmed.txt 2>lost.txt) ||
            return 1
        cat "$work/film/lost.txt"
        [[ -s $work/film/lost.txt ]] || break
    done
    [[ ! -s $work/film/lost.txt && $(md5sum "$work"/film/img*.bmp | cut -d ' ' -f 1 | sort -u | wc -l) == 15 ]] || return 1
    (cd "$work/film" && "$simulated" -n 15 "${wheel[@]}" >simulated.txt)
    grep -h '^OROI=' "$work"/film/{filmed,simulated}.txt
    [[ $(grep '^OROI=' "$work/film/filmed.txt") == "$(grep '^OROI=' "$work/film/simulated.txt")" ]]
}

# While one process films, a second one tries to. Status 2: it films as well.
busy() {
    local first status=0
    mkdir -p "$work/film/first"
    (cd "$work/film/first" && before_virtual_camera "$film" -n 50 -p1 5 -p2 5 "${wheel[@]}" >out.txt 2>&1) &
    first=$!
    until grep -q -- '-5 ' "$work/film/first/out.txt" 2>/dev/null || ! kill -0 "$first" 2>/dev/null; do sleep 0.1; done
    (cd "$work/film" && before_virtual_camera "$film" -n 1 "${geometry[@]}") 2>"$work/film/busy.txt" || status=$?
    wait "$first" || return 1
    cat "$work/film/busy.txt"
    ((status == 0)) && return 2
    [[ $status == 1 && $(<"$work/film/busy.txt") == "Could not open the camera" ]]
}

film=$PWD/build/film/Telvane/Telvane simulated=$PWD/build/film/lib/telvane/Telvane
wheel=(560 560 280 280 216 250 -1 0 360 360 40 1 0 0 0 0)
if grep -q PipelineHandlerVirtual "$library"; then
    check "the program that films is built" filming_program
    check "the virtual camera is set up" virtual_camera
    check "a camera is opened, grabbed from, closed, opened again" before_virtual_camera "$work/film/films"
    check "the region is that of the simulated camera for the same pictures" region_filmed
    status=0
    busy >"$work/busy.txt" 2>&1 || status=$?
    if ((status == 2)); then
        skip "a second process finds the camera busy" "this libcamera lets several processes have its virtual camera"
    else
        check "a second process finds the camera busy" eval "cat '$work/busy.txt' && ((status == 0))"
    fi
else
    skip "filming through libcamera" \
        "$library has no virtual camera; that of Debian 13 has: scripts/check-camera.sh trixie"
fi

# --- raspicam

over_raspicam() {
    build build/raspicam -DTELVANE_CAMERA=raspicam -DCMAKE_PREFIX_PATH="$work/raspicam"
    # Only compiled: there is nothing to link.
    make --no-print-directory --silent -C build/raspicam/Telvane Main.cpp.o Grab.cpp.o
}
check "the program compiles for raspicam" over_raspicam

# --- the choice

printf 'Raspberry Pi 4 Model B Rev 1.5\0' >"$work/board"
printf 'Another board\0' >"$work/other"

# chooses <text> <cmake option>...: configuring says the text, whether it succeeds or not.
chooses() {
    cmake -S . -B "$work/choice" -DTELVANE_TESTS=OFF -DCMAKE_PREFIX_PATH= -DCMAKE_IGNORE_PATH= -U 'RASPICAM_*' \
        -U 'LIBCAMERA_*' "${@:2}" >"$work/choice.txt" 2>&1 || true
    cat "$work/choice.txt"
    # CMake breaks the lines of its errors.
    tr -s ' \n' '  ' <"$work/choice.txt" | grep -q -- "$1"
}
auto=(-DTELVANE_CAMERA=auto)
on_board=(-DTELVANE_MACHINE_MODEL="$work/board")
elsewhere=(-DTELVANE_MACHINE_MODEL="$work/other")
raspicam=(-DCMAKE_PREFIX_PATH="$work/raspicam")
no_libcamera=(-DCMAKE_IGNORE_PATH=/usr/include/libcamera)

check "auto takes raspicam on the board" chooses "Camera: raspicam" "${auto[@]}" "${on_board[@]}" "${raspicam[@]}"
check "auto takes raspicam elsewhere" chooses "Camera: raspicam" "${auto[@]}" "${elsewhere[@]}" "${raspicam[@]}"
check "auto takes libcamera on the board" chooses "Camera: libcamera" "${auto[@]}" "${on_board[@]}"
check "auto simulates elsewhere" chooses "Camera: simulated" "${auto[@]}" "${elsewhere[@]}"
check "auto names both libraries on the board without either" \
    chooses "CMake Error.*package libcamera-dev.*raspicam library" "${auto[@]}" "${on_board[@]}" "${no_libcamera[@]}"
check "libcamera is not replaced by anything" \
    chooses "CMake Error.*TELVANE_CAMERA=libcamera: .*package libcamera-dev" \
    -DTELVANE_CAMERA=libcamera "${on_board[@]}" "${raspicam[@]}" "${no_libcamera[@]}"
check "raspicam is not replaced by anything" chooses "CMake Error.*TELVANE_CAMERA=raspicam: " \
    -DTELVANE_CAMERA=raspicam "${on_board[@]}"
check "an unknown name is refused" chooses "CMake Error.*TELVANE_CAMERA is 'webcam'" -DTELVANE_CAMERA=webcam
# A compiler for another system: what this machine is says nothing about that one.
rm -rf "$work/choice"
check "auto simulates when cross-compiling on the board" chooses "Camera: simulated" "${auto[@]}" "${on_board[@]}" \
    -DCMAKE_SYSTEM_NAME=Linux

echo
((skipped == 0)) || echo "$skipped skipped"
echo "$passed passed, $failed failed"
((failed == 0))
