# SPDX-License-Identifier: MIT
# Sourced by ./run, ./test and ./check: the settings of the compiler, and steps that are counted.

export SONREL_COMPILER_LAUNCHER="${SONREL_COMPILER_LAUNCHER-$(command -v ccache || true)}"
# For the projects of hosts, which have no presets.
export CMAKE_CXX_COMPILER_LAUNCHER=$SONREL_COMPILER_LAUNCHER
# Another clone of the same tree uses the compiled files of this clone.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1

# Independent of the machine: no display, and the same words in every locale.
export QT_QPA_PLATFORM=offscreen LC_ALL=C.UTF-8

PASSED=0
FAILED=0

die() {
    echo "$0: $*" >&2
    exit 1
}

title() { printf '\n== %s\n' "$*"; }

# step NAME: a title with the time since the start.
step() { title "$1 (after $SECONDS s)"; }

# require NAME COMMAND...: a step that all later steps need. It is not counted as a test; its failure
# counts as one failure and ends the run.
require() {
    step "$1"
    "${@:2}" && return
    echo "$1 failed"
    FAILED=$((FAILED + 1))
    closing
    exit 1
}

# check NAME COMMAND...: one counted check.
check() {
    step "$1"
    if "${@:2}"; then
        PASSED=$((PASSED + 1))
    else
        echo "$1 failed"
        FAILED=$((FAILED + 1))
    fi
}

# count_tests NAME PRESET LABEL_PATTERN [PREFIX...]: the tests with such a label, each of them counted. A
# run that fails without a failed test, or ran no test, counts as one failure.
count_tests() {
    local status=0 failed passed
    step "$1"
    rm -f "build/$2/Testing/Temporary/LastTest.log"
    run_tests "${@:2}" || status=$?
    read -r passed failed < <(tools/check/count_tests.py "build/$2") || true
    printf '%s: %s passed, %s failed\n' "$1" "${passed:-0}" "${failed:-0}"
    if [ "${passed:-0}" -eq 0 ] || { [ "$status" -ne 0 ] && [ "$failed" -eq 0 ]; }; then
        echo "$1 failed: status $status, ${passed:-no} tests passed"
        failed=$((${failed:-0} + 1))
    fi
    PASSED=$((PASSED + ${passed:-0}))
    FAILED=$((FAILED + failed))
}

# closing: prints the summary, the last line.
closing() {
    printf '\n%d passed, %d failed\n' "$PASSED" "$FAILED"
    [ "$FAILED" -eq 0 ]
}

configure() { cmake --preset "$@" >"build/configure-$1.log" 2>&1 || { cat "build/configure-$1.log"; return 1; }; }

# build PRESET [TARGET...]
build() {
    local preset=$1
    shift
    cmake --build --preset "$preset" ${1+--target "$@"}
}

# run_tests PRESET LABEL_PATTERN [PREFIX...]: the tests with such a label, one busy test more than there are
# cores, because a busy test waits at times, and one test that only waits. With fewer tests at the same
# time, two cores are idle for a tenth of the time. The prefix is a command that runs CTest. Tests with a
# label that LEFT_OUT matches are left out.
run_tests() {
    "${@:3}" ctest --test-dir "build/$1" --output-on-failure --no-tests=error -j "$((4 * ($(nproc) + 1) + 1))" \
        -L "$2" ${LEFT_OUT:+-LE "$LEFT_OUT"}
}

# in_memory: temporary files are in memory from now on, so that no test waits for a disk. Not where the
# memory has less than 4 GB, or runs no programs.
in_memory() {
    local free
    free=$(df --output=avail -k /dev/shm 2>/dev/null | tail -n 1)
    [ "${free:-0}" -ge 4000000 ] || return 0
    ! findmnt --noheadings --output OPTIONS --target /dev/shm | grep -qw noexec || return 0
    TMPDIR=$(mktemp -d /dev/shm/sonrel-test-XXXXXX)
    chmod 1777 "$TMPDIR"
    export TMPDIR
    trap 'rm -rf "$TMPDIR"' EXIT
}
