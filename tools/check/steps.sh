# SPDX-License-Identifier: MIT
# Sourced by ./run, ./test and ./check: the settings of the compiler, and steps that are counted.

export SONREL_COMPILER_LAUNCHER="${SONREL_COMPILER_LAUNCHER-$(command -v ccache || true)}"
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

# require NAME COMMAND...: a step that all later steps need. It is not counted as a test; its failure
# counts as one failure and ends the run.
require() {
    title "$1"
    "${@:2}" && return
    echo "$1 failed"
    FAILED=$((FAILED + 1))
    closing
    exit 1
}

# check NAME COMMAND...: one counted check.
check() {
    title "$1"
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
    title "$1"
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

# run_tests PRESET LABEL_PATTERN [PREFIX...]: the tests with such a label, as many at once as there are
# cores; the prefix is a command that runs CTest. Tests with a label that LEFT_OUT matches are left out.
run_tests() {
    "${@:3}" ctest --test-dir "build/$1" --output-on-failure --no-tests=error -j "$(nproc)" -L "$2" \
        ${LEFT_OUT:+-LE "$LEFT_OUT"}
}
