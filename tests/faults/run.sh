#!/bin/bash
# SPDX-License-Identifier: MIT
# What a failing disk, a killed process and a power cut leave of the media cache.
#
#   run.sh SONREL FAULTFS [quick|full]
#
# SONREL is the program, FAULTFS the library of this folder. Each part prints its name and one JSON
# object. After every disturbance no record may lead to half a file, no file may be left behind
# after a failure that was reported, and the next run of the program must find or make whole files.
# quick takes a minute or two and every few operations, full takes all of them.
set -u
program=$1 shim=$2 depth=${3:-quick}
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/sonrel-faults-XXXXXX")
box=$work/box
failed=0
trap 'rm -rf "$work"' EXIT

case $depth in
quick) step=11 points=15 variants=1 kills=40 room=90000 crowds=4 storm=8 ;;
full) step=1 points=1 variants=10 kills=1000 room=4096 crowds=200 storm=600 ;;
*) sed -n 's/^# \{0,1\}//p' "$0" | sed 1d; exit 2 ;;
esac

# A second of noise at the rate of the cache, and one at another rate.
"$here/makemedia.py" "$work/a.wav" 48000 && "$here/makemedia.py" "$work/b.wav" 44100 || exit 1

sonrel() { printf '"%s" --cache "%s/cache" --db "%s/media.db" ' "$program" "$1" "$1"; }
conform="$(sonrel '{root}') conform '$work/a.wav' '$work/b.wav'"
peaks="$(sonrel '{root}') peaks '$work/a.wav' '$work/b.wav'"
clean="$(sonrel '{root}') cache clean --days 0"
reference() { bash -c "${conform//'{root}'/$1} && ${peaks//'{root}'/$1}" >/dev/null || exit 1; }
reference "$work/reference"

check="'$here/checkcache.py' {root}/media.db {root}/cache \
--reference '$work/reference/media.db' '$work/reference/cache'"
heals="$check && $conform && $check --records 2"
peaks_heal="$check && $peaks && $check --records 2"

# part NAME COMMAND...: a part that must return 0.
part() {
    local name=$1
    shift
    printf '%s: ' "$name"
    "$@" || failed=1
}
sweep() { "$here/sweep.py" --shim "$shim" --root "$box" --step "$step" "$@"; }
# record FILE COMMAND: the journal of a command in the box.
record() {
    FAULTFS_ROOT=$box FAULTFS_MODE=none FAULTFS_JOURNAL=$1 LD_PRELOAD=$shim \
        bash -c "exec ${2//'{root}'/$box}" >/dev/null
}
cut() { "$here/powercut.py" --root "$box" --step "$points" --random "$variants" "$@"; }

# The tools must see what is wrong before they say that nothing is.
sees_half_a_file() {
    cp -r "$work/reference" "$work/half"
    local file
    file=$(ls "$work/half/cache" | head -1)
    truncate -s 1000 "$work/half/cache/$file"
    "$here/checkcache.py" "$work/half/media.db" "$work/half/cache" | grep '"wrong": \["' ||
        { echo 'half a file passes'; return 1; }
}
part "The check sees half a file" sees_half_a_file

part "Failing calls on cache files" sweep --match '*.xwmc' --run "$conform" \
    --ops create,open,write,fsync,close,read --errors EIO,ENOSPC --modes once,forever,short \
    --check-living "$check --no-orphans" --check "$heals"
part "Failing calls on peak files" sweep --match '*.xwpk' --run "$peaks" \
    --ops create,open,write,fsync,close,read --errors EIO,ENOSPC --modes once,forever,short \
    --check-living "$check --no-orphans" --check "$peaks_heal"
part "Failing calls on the database" sweep --match 'media.db*' --run "$conform" \
    --ops create,open,write,fsync,truncate --errors EIO,ENOSPC --modes once,forever \
    --check-living "$check --no-orphans" --check "$heals"
part "Failing calls on the folders" sweep --match '[cb]*[ex]' --run "$conform" \
    --ops mkdir,open,fsync --errors EIO,EACCES --modes once,forever \
    --check-living "$check --no-orphans" --check "$heals"

# Calls that are interrupted, and folders that are not synced, are no failures.
part "Interrupted calls on conformed files" sweep --match '*.xwmc' --run "$conform" \
    --ops create,open,write,fsync,close,read --errors EINTR --modes once \
    --check-living "$check --no-orphans --records 2" --check "$heals"
part "Interrupted calls on peak files" sweep --match '*.xwpk' --run "$peaks" \
    --ops create,open,write,fsync,close,read --errors EINTR --modes once \
    --check-living "$check --no-orphans --records 2" --check "$peaks_heal"
part "Interrupted deletions of cache files" sweep --match '*.xwmc' --setup "$conform" \
    --run "$clean" --ops unlink --errors EINTR --modes once \
    --check-living '[ -z "$(ls {root}/cache)" ]' --check "$heals"
part "A cache folder whose sync is interrupted" sweep --match cache --run "$conform" \
    --ops fsync --errors EINTR --modes once \
    --check-living "$check --no-orphans --records 2" --check "$heals"
part "A cache folder that is not synced" sweep --match cache --run "$conform" \
    --ops fsync --errors EINVAL,ENOTSUP --modes once,forever \
    --check-living "$check --no-orphans --records 2" --check "$heals"
part "A cache folder that may not be listed" sweep --match cache --run "$conform" \
    --ops open --errors EACCES --modes once,forever \
    --check-living "$check --no-orphans --records 2" --check "$heals"

part "Failing deletions" sweep --run "$conform" --ops unlink --errors EACCES \
    --modes once,forever --check "$heals"
part "Failing calls while the cache is cleaned" sweep --setup "$conform" --run "$clean" \
    --ops unlink,write,fsync,truncate --errors EIO --modes once,forever \
    --check-living "$check --no-orphans" --check "$heals"

part "Death at a call of a conversion" sweep --run "$conform" \
    --ops create,write,fsync,truncate,unlink,mkdir --modes kill,killafter,torn --check "$heals"
part "Death at a call of the making of peaks" sweep --run "$peaks" \
    --ops create,write,fsync,truncate,unlink,mkdir --modes kill,killafter,torn --check "$peaks_heal"
part "Death at a call of a cleaning" sweep --setup "$conform" --run "$clean" \
    --ops unlink,write,fsync,truncate --modes kill,killafter --check "$heals"

# A disk that takes so many bytes and no more, until one is large enough.
full_disk() {
    local sizes=0 quota code
    for ((quota = 0; ; quota += room)); do
        rm -rf "$box" && mkdir "$box"
        FAULTFS_ROOT=$box FAULTFS_QUOTA=$quota LD_PRELOAD=$shim \
            bash -c "exec ${conform//'{root}'/$box}" >/dev/null 2>&1
        code=$?
        [ "$code" -le 1 ] || { echo "exit $code with $quota bytes"; return 1; }
        bash -c "${check//'{root}'/$box} --no-orphans" >"$work/answer" ||
            { echo "with $quota bytes: $(cat "$work/answer")"; return 1; }
        [ "$code" = 0 ] && break
        sizes=$((sizes + 1))
        bash -c "{ ${heals//'{root}'/$box}; } >/dev/null" ||
            { echo "$quota bytes do not heal"; return 1; }
    done
    echo "{\"full disks\": $sizes, \"bytes needed\": $quota}"
}
part "A disk that fills up" full_disk

# Four programs that want the same files at the same time.
crowd() {
    local round programs process
    for ((round = 0; round < crowds; round++)); do
        rm -rf "$box" && mkdir "$box"
        programs=()
        for _ in 1 2 3 4; do
            bash -c "exec ${conform//'{root}'/$box}" >"$work/answer" 2>&1 &
            programs+=($!)
        done
        for process in "${programs[@]}"; do
            wait "$process" || { echo "round $round: $(cat "$work/answer")"; return 1; }
        done
        bash -c "${check//'{root}'/$box} --no-orphans --records 2" >"$work/answer" ||
            { echo "round $round: $(cat "$work/answer")"; return 1; }
    done
    echo "{\"rounds of four\": $crowds}"
}
part "Four programs at once" crowd

part "A storm of programs on one cache" "$here/storm.py" "$program" "$work/storm" --seconds "$storm"

rm -rf "$box" && mkdir "$box"
part "Death at random moments" "$here/killloop.py" --rounds "$kills" \
    --run "${conform//'{root}'/$box}; ${clean//'{root}'/$box}" \
    --check "${check//'{root}'/$box}"
part "What random deaths left heals" bash -c "{ ${heals//'{root}'/$box}; } | tail -1; exit \${PIPESTATUS[0]}"

rm -rf "$box" && mkdir "$box"
record "$work/made" "$conform"
for model in ordered posix; do
    part "Power cut while conforming, names $model" cut --journal "$work/made" --model "$model" \
        --check "$check"
done
cp -r "$box" "$work/initial"
record "$work/cleaned" "$clean"
for model in ordered posix; do
    part "Power cut while cleaning, names $model" cut --journal "$work/cleaned" \
        --initial "$work/initial" --model "$model" --check "$check"
done
sees_missing_syncs() {
    cut --journal "$work/made" --forget-syncs '*.xwmc' --check "$check" | grep -v '"bad": 0,' ||
        { echo 'files without a sync pass'; return 1; }
}
part "The power cut sees missing syncs" sees_missing_syncs

exit $failed
