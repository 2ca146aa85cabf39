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

# count_tests NAME COMMAND...: a run of ctest, counted test by test from its closing line. A run that
# fails without a failed test, or ran no test, counts as one failure.
count_tests() {
    local log status=0 failed total
    title "$1"
    log=$(mktemp)
    "${@:2}" | tee "$log" || status=$?
    read -r failed total < <(sed -nE \
        's/^[0-9]+% tests passed, ([0-9]+) tests? failed out of ([0-9]+)$/\1 \2/p' "$log") || true
    rm -f "$log"
    if [ -z "${total:-}" ] || { [ "$status" -ne 0 ] && [ "$failed" -eq 0 ]; }; then
        echo "$1 failed: status $status, ${total:-no} tests"
        FAILED=$((FAILED + 1))
        total=${total:-0} failed=${failed:-0}
    fi
    PASSED=$((PASSED + total - failed))
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

# run_tests PRESET LABEL_PATTERN: the tests with such a label, as many at once as there are cores.
run_tests() {
    ctest --test-dir "build/$1" --output-on-failure --no-tests=error -j "$(nproc)" -L "$2"
}
