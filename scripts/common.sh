# shellcheck shell=bash
# Shared by the scripts; to be sourced. Goes to the project's root, so that they work from everywhere.

export LC_ALL=C
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1

# A generator named by the environment need not be installed; make is.
unset CMAKE_GENERATOR

# Debian's packages of the libraries that everything together needs, and what building takes.
header_packages=(libcli11-dev libeigen3-dev nlohmann-json3-dev) # the same on every architecture
library_packages=(libjpeg-dev libmicrohttpd-dev libpng-dev libtomlplusplus-dev)
# shellcheck disable=SC2034 # by those who source this
build_packages=(g++ make cmake "${header_packages[@]}" "${library_packages[@]}")

# How many jobs run at once: one for each core, and not more than there is memory for at 1 GB a compiler.
jobs_at_once() {
    awk -v cores="$(nproc)" '
        $1 == "MemAvailable:" { fit = int($2 / 1000000) }
        END { print fit < 1 ? 1 : fit < cores ? fit : cores }' /proc/meminfo
}

# configure <preset> [<cmake option>...]: the build folder build/<preset>, with the simulated camera.
# CMake's many lines are shown only when it fails.
configure() {
    local log
    if ! log=$(cmake --preset "$1" -DTELVANE_CAMERA=simulated "${@:2}" 2>&1); then
        echo "$log" >&2
        return 1
    fi
}

# build <folder> <target>...: the compiler's many lines are shown only when it fails.
build() {
    cmake --build "$1" --parallel "$(jobs_at_once)" --target "${@:2}" >"$1/build.log" 2>&1 || {
        cat "$1/build.log" >&2
        return 1
    }
}

# build_programs [<package>...]: Telvane and the tools but telvane-setup in build/release, with what building them
# needs and the packages named.
build_programs() {
    scripts/install-packages.sh "${build_packages[@]}" "$@"
    # The tests need more packages. They stay as they are where the folder is configured with them, and are left
    # out everywhere else.
    local options=()
    grep -qs '^GTest_DIR:PATH=/' build/release/CMakeCache.txt || options=(-DTELVANE_TESTS=OFF)
    echo "Building into build/release, which takes some two minutes the first time ..."
    configure release "${options[@]}"
    build build/release Telvane telvane-from-files wheelsim telvane-report telvane-run
}

# For programs under the sanitizers: what they look for, and in the array `sanitized` what they are started through.
# The address sanitizer keeps a fixed range of addresses for itself. Kernels that spread programs over more than 28
# bits now and then put one there, and it dies before its first line.
sanitized=()
for_sanitizers() {
    # Tests that replace a unit of the shared library have its variables twice, in the same size.
    export ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1:strict_string_checks=1:detect_odr_violation=1
    export UBSAN_OPTIONS=print_stacktrace=1
    local bits
    bits=$(cat /proc/sys/vm/mmap_rnd_bits 2>/dev/null || echo 0)
    if ((bits > 28)) && setarch --addr-no-randomize true 2>/dev/null; then
        # shellcheck disable=SC2034 # by those who source this
        sanitized=(setarch --addr-no-randomize)
    fi
}

# Tests that passed and failed in this script; its last line tells them.
passed=0 failed=0

# count_tests <log> <command>...: runs ctest, logs what it says and adds its results to the count. Tests that pass are
# not shown.
count_tests() {
    local log=$1 status=0 good bad
    "${@:2}" 2>&1 | tee "$log" | sed -E '/^ +Start +[0-9]+: /d; /^ *[0-9]+\/[0-9]+ Test .* Passed +[0-9.]+ sec$/d' ||
        status=$?
    # A test that was skipped or could not be started has not passed.
    read -r good bad < <(awk '
        /tests passed, .* tests? failed out of/ { failed = $4; all = $NF }
        /^The following tests did not run:/ { not_run = 1 }
        not_run && /\((Skipped|Disabled)\)/ { failed++ }
        END { print all - failed, failed + 0 }' "$log")
    # Nor has a run that ended early.
    if ((status != 0 && bad == 0)); then bad=1; fi
    passed=$((passed + good)) failed=$((failed + bad))
}

# Prints the count. Exit status 0 when tests were run and all of them passed.
tell_count() {
    echo
    echo "$passed passed, $failed failed"
    ((failed == 0 && passed > 0))
}

# renew_section <page> <name> <file>: what the page has between the comments "<name>: begin" and "<name>: end" becomes
# what is in the file.
renew_section() {
    awk -v begin="<!-- $2: begin -->" -v end="<!-- $2: end -->" -v file="$3" '
        $0 == end { inside = 0; ends++ }
        !inside
        $0 == begin { inside = 1; begins++; while ((getline line < file) > 0) print line }
        END { exit begins != 1 || ends != 1 }' "$1" >"$3.page" || {
        echo "$1 has no place for $2" >&2
        return 1
    }
    cp "$3.page" "$1"
}

# own_files <test of find>...: the project's files, wherever they lie; build folders and git's are none of them.
own_files() {
    find . \( -path ./build -o -path ./.git \) -prune -o -type f "$@" -printf '%P\n' | sort
}

# The C++ files, by every suffix that compilers know.
cpp_files() {
    own_files -regextype posix-extended -regex '.*\.([ch](pp|xx|\+\+|c|h)?|[CH]|ipp|inl|tpp|ixx|cppm)'
}

# The shell scripts, by how they begin: those that are started, and those that say for which shell they are.
shell_scripts() {
    own_files | tr '\n' '\0' | xargs -0 awk '
        FNR == 1 && /^#!.*[\/ ](ba|da)?sh( |$)/ || /^# shellcheck shell=/ { print FILENAME; nextfile }
        FNR == 3 { nextfile }'
}
