#!/bin/bash
# Checks the camera back ends as far as that goes without a camera: the program is built over the real libcamera and
# run to its end on this machine, which must have no camera; it is compiled for raspicam against declarations of that
# library; and the build chooses the back end that it should. The last line is the count of what passed and failed.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

scripts/install-packages.sh "${build_packages[@]}" libcamera-dev

jobs=$(jobs_at_once)
work=$PWD/build/camera
rm -rf "$work"
mkdir -p "$work/run" "$work/raspicam/lib"
passed=0 failed=0

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
echo "$passed passed, $failed failed"
((failed == 0))
