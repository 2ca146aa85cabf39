#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Measures whole commands and comparable commands of other programs in one run, and prints CPU seconds
# and ratios as Markdown. Each figure is the median of user plus system time over the runs; on a shared
# machine only ratios of one run have a meaning.
#
#   bench/peers.sh [mix|cores|keys|tracks|memory|conform|peaks|waveform|all]
#
# Environment: SONREL (the program; default build/release/host/sonrel), MINUTES (10), RUNS (3),
# WORK (a folder for media and outputs, several GB; default a temporary one).
#
# The other programs are packages of Debian: ecasound ffmpeg gstreamer1.0-plugins-base
# gstreamer1.0-plugins-good gstreamer1.0-tools melt sox.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
SONREL=${SONREL:-$root/build/release/host/sonrel}
MINUTES=${MINUTES:-10}
RUNS=${RUNS:-3}
measurement=${1:-all}
RATE=48000
LEVEL_DB=-12

[ -x "$SONREL" ] || { echo "bench/peers.sh: $SONREL is missing; build the release preset first" >&2; exit 1; }
missing=()
for tool in ffmpeg ecasound sox gst-launch-1.0 melt; do
    command -v "$tool" >/dev/null || missing+=("$tool")
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "bench/peers.sh: missing ${missing[*]}; apt-get install ecasound ffmpeg" \
        "gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-tools melt sox" >&2
    exit 1
fi

if [ -z "${WORK:-}" ]; then
    WORK=$(mktemp -d)
    trap 'rm -rf "$WORK"' EXIT
fi
mkdir -p "$WORK"
export SDL_AUDIODRIVER=dummy QT_QPA_PLATFORM=offscreen
globals=(--cache "$WORK/cache" --db "$WORK/media.db" --no-log --quiet)

# Removes the outputs of the previous run, so that no measurement includes the removal.
clean_up() { rm -rf "$WORK"/out.* "$WORK/conform.cache" "$WORK"/conform.db*; }

# once NAME COMMAND...: CPU seconds and wall seconds of one run of the command.
once() {
    local name=$1 TIMEFORMAT='%U %S %R' log times
    shift
    log=$WORK/log.$name
    clean_up
    if ! times=$({ time "$@" >"$log" 2>&1 </dev/null; } 2>&1); then
        echo "bench/peers.sh: $name failed: $(tail -n 1 "$log")" >&2
        exit 1
    fi
    awk '{print $1 + $2, $3}' <<<"$times"
}

median() { sort -g | awk '{v[NR] = $1} END {print v[int((NR + 1) / 2)]}'; }

# cpu NAME COMMAND...: median CPU seconds of the command into the variable cpu.
cpu() {
    local i
    cpu=$(for ((i = 0; i < RUNS; i++)); do once "$@"; done | median)
}

# alternately FILE: median CPU and wall seconds of sonrel_conform and ffmpeg_conform of the file into own,
# own_wall, cpu and cpu_wall. They run alternately, so that a slow period of the machine affects both.
alternately() {
    local i both
    both=$(for ((i = 0; i < RUNS; i++)); do
        echo "$(once sonrel sonrel_conform "$1") $(once ffmpeg ffmpeg_conform "$1")"
    done)
    own=$(awk '{print $1}' <<<"$both" | median)
    own_wall=$(awk '{print $2}' <<<"$both" | median)
    cpu=$(awk '{print $3}' <<<"$both" | median)
    cpu_wall=$(awk '{print $4}' <<<"$both" | median)
}

ratio() { awk -v a="$1" -v b="$2" 'BEGIN {printf "%.2f", a / b}'; }
realtime() { awk -v s="$1" -v m="$MINUTES" 'BEGIN {printf "%.0f", m * 60 / s}'; }

make_media() {
    local count=$1 i
    for ((i = 1; i <= count; i++)); do
        local file=$WORK/track$i.wav
        [ -s "$file" ] && continue
        ffmpeg -v error -y -f lavfi -i "sine=frequency=$((90 + 37 * i)):sample_rate=$RATE:duration=$((MINUTES * 60))" \
            -f lavfi -i "anoisesrc=color=pink:seed=$i:amplitude=0.2:sample_rate=$RATE:duration=$((MINUTES * 60))" \
            -filter_complex "[0:a][1:a]amerge=inputs=2,volume=0.5" -c:a pcm_s16le "$file"
    done
}

# make_timeline FILE TRACKS KEYS: one clip a track, a static level or KEYS level keys a clip.
make_timeline() {
    python3 - "$1" "$2" "$3" "$WORK" "$MINUTES" "$LEVEL_DB" <<'PY'
import json, sys
path, tracks, keys, work, minutes, level = sys.argv[1], *map(int, sys.argv[2:4]), sys.argv[4], int(sys.argv[5]), float(sys.argv[6])
seconds = minutes * 60
def span():
    return {"OTIO_SCHEMA": "TimeRange.1",
            "start_time": {"OTIO_SCHEMA": "RationalTime.1", "value": 0, "rate": 25},
            "duration": {"OTIO_SCHEMA": "RationalTime.1", "value": seconds * 25, "rate": 25}}
def clip(i):
    levels = level if keys == 0 else [[int(k * seconds * 1000 / max(keys - 1, 1)), level - 6 * (k % 2)] for k in range(keys)]
    return {"OTIO_SCHEMA": "Clip.1", "name": f"clip{i}", "source_range": span(),
            "media_reference": {"OTIO_SCHEMA": "ExternalReference.1", "target_url": f"{work}/track{i}.wav",
                                "available_range": span()},
            "metadata": {"sonrel": {"audioLevel": levels}}}
timeline = {"OTIO_SCHEMA": "Timeline.1", "name": "bench", "metadata": {"sonrel": {"frameRate": 25, "sampleRate": 48000}},
            "tracks": {"OTIO_SCHEMA": "Stack.1", "name": "tracks", "children": [
                {"OTIO_SCHEMA": "Track.1", "name": f"A{i}", "kind": "Audio", "children": [clip(i)]}
                for i in range(1, tracks + 1)]}}
json.dump(timeline, open(path, "w"))
PY
}

# sonrel_mix FILE [JOBS]: with one thread, like the other programs.
sonrel_mix() { "$SONREL" "${globals[@]}" mix "$1" -o "$WORK/out.wav" --jobs "${2:-1}"; }

# Conforms the media of a timeline, and waits until a mix no longer takes the new files for files that may
# still change unnoticed.
conform_settled() {
    local results
    results=$("$SONREL" "${globals[@]}" conform "$1")
    if grep -q '^made' <<<"$results"; then sleep 4; fi
}

ffmpeg_mix() {
    local count=$1 volume=$2 inputs=() graph='' pads='' i
    for ((i = 1; i <= count; i++)); do
        inputs+=(-i "$WORK/track$i.wav")
        graph+="[$((i - 1)):a]volume=$volume[v$i];"
        pads+="[v$i]"
    done
    ffmpeg -v error -nostdin -y -threads 1 -filter_complex_threads 1 "${inputs[@]}" \
        -filter_complex "$graph${pads}amix=inputs=$count:normalize=0" -c:a pcm_s16le "$WORK/out.wav"
}

ecasound_mix() {
    local count=$1 chains=() all='' i
    for ((i = 1; i <= count; i++)); do
        chains+=(-a:$i -i:"$WORK/track$i.wav" -eadb:$LEVEL_DB)
        all+="${all:+,}$i"
    done
    ecasound -q -D -B:nonrt -f:16,2,$RATE "${chains[@]}" -a:"$all" -o:"$WORK/out.wav"
}

sox_mix() {
    local count=$1 inputs=() i gain
    gain=$(awk -v d=$LEVEL_DB 'BEGIN {print 10 ^ (d / 20)}')
    for ((i = 1; i <= count; i++)); do inputs+=(-v "$gain" "$WORK/track$i.wav"); done
    sox -m "${inputs[@]}" -b 16 "$WORK/out.wav"
}

gst_mix() {
    local count=$1 sources=() i gain
    gain=$(awk -v d=$LEVEL_DB 'BEGIN {print 10 ^ (d / 20)}')
    for ((i = 1; i <= count; i++)); do
        sources+=(filesrc location="$WORK/track$i.wav" ! wavparse ! audioconvert !
            volume volume="$gain" ! mix.)
    done
    gst-launch-1.0 -q audiomixer name=mix ! audioconvert ! audio/x-raw,format=S16LE ! wavenc ! \
        filesink location="$WORK/out.wav" "${sources[@]}"
}

melt_mix() {
    local count=$1 tracks=() i
    for ((i = 1; i <= count; i++)); do
        tracks+=(-track "$WORK/track$i.wav" -attach-track volume level=$LEVEL_DB)
    done
    for ((i = 1; i < count; i++)); do tracks+=(-transition mix:-1 always_active=1 a_track=0 b_track=$i sum=1); done
    melt -silent "${tracks[@]}" -consumer avformat:"$WORK/out.wav" vn=1 acodec=pcm_s16le \
        frequency=$RATE channels=2 real_time=0
}

# Alternately with one job and with one for each core, so that a slow period affects both.
bench_cores() {
    local tracks=16 i both one all
    make_media $tracks
    make_timeline "$WORK/cores.otio" $tracks 0
    conform_settled "$WORK/cores.otio"
    both=$(for ((i = 0; i < RUNS; i++)); do
        echo "$(wall sonrel_mix "$WORK/cores.otio" 1) $(wall sonrel_mix "$WORK/cores.otio" "$(nproc)")"
    done)
    one=$(awk '{print $1}' <<<"$both" | median)
    all=$(awk '{print $2}' <<<"$both" | median)
    echo "### Wall time of $tracks tracks of $MINUTES minutes on $(nproc) cores"
    echo
    echo "| jobs | wall s | ratio |"
    echo "|---|---|---|"
    echo "| 1 | $one | 1 |"
    echo "| $(nproc) | $all | $(ratio "$one" "$all") |"
    echo
}

bench_mix() {
    local tracks=16
    make_media $tracks
    make_timeline "$WORK/mix.otio" $tracks 0
    conform_settled "$WORK/mix.otio"
    cpu sonrel sonrel_mix "$WORK/mix.otio"
    local own=$cpu
    echo
    echo "### Mix of $tracks tracks, static levels, $MINUTES minutes at $RATE Hz"
    echo
    echo "| program | CPU s | times real time | CPU of program / CPU of sonrel |"
    echo "|---|---|---|---|"
    echo "| sonrel mix | $own | $(realtime "$own") | 1 |"
    cpu ffmpeg ffmpeg_mix $tracks ${LEVEL_DB}dB
    echo "| ffmpeg amix | $cpu | $(realtime "$cpu") | $(ratio "$cpu" "$own") |"
    cpu ecasound ecasound_mix $tracks
    echo "| ecasound | $cpu | $(realtime "$cpu") | $(ratio "$cpu" "$own") |"
    cpu sox sox_mix $tracks
    echo "| sox -m | $cpu | $(realtime "$cpu") | $(ratio "$cpu" "$own") |"
    cpu gst gst_mix $tracks
    echo "| gst-launch-1.0 audiomixer | $cpu | $(realtime "$cpu") | $(ratio "$cpu" "$own") |"
    cpu melt melt_mix $tracks
    echo "| melt | $cpu | $(realtime "$cpu") | $(ratio "$cpu" "$own") |"
}

bench_keys() {
    local tracks=16 keys
    make_media $tracks
    echo
    echo "### Mix of $tracks tracks with level key frames, $MINUTES minutes"
    echo
    echo "| program | keys a clip | CPU s | times real time | CPU of ffmpeg / CPU of sonrel |"
    echo "|---|---|---|---|---|"
    # The same triangle of 6 dB, once a second, evaluated for each frame of samples.
    cpu ffmpeg ffmpeg_mix $tracks "'pow(10,($LEVEL_DB-6*abs(mod(t,2)-1))/20)':eval=frame"
    local theirs=$cpu
    echo "| ffmpeg volume + amix | - | $theirs | $(realtime "$theirs") | |"
    for keys in 2 20 200 2000; do
        make_timeline "$WORK/keys.otio" $tracks $keys
        conform_settled "$WORK/keys.otio"
        cpu sonrel sonrel_mix "$WORK/keys.otio"
        echo "| sonrel mix | $keys | $cpu | $(realtime "$cpu") | $(ratio "$theirs" "$cpu") |"
    done
}

peak_memory() { # KB of the largest single process
    python3 - "$@" <<'PY'
import resource, subprocess, sys
subprocess.run(sys.argv[1:], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)
PY
}

bench_tracks() {
    local tracks keys
    make_media 16
    echo
    echo "### sonrel mix by number of tracks, $MINUTES minutes"
    echo
    echo "| tracks | levels | CPU s | times real time | peak memory MB |"
    echo "|---|---|---|---|---|"
    for tracks in 2 8 16 32 64; do
        for ((i = 17; i <= tracks; i++)); do ln -sf "track$(((i - 1) % 16 + 1)).wav" "$WORK/track$i.wav"; done
        for keys in 0 200; do
            make_timeline "$WORK/tracks.otio" $tracks $keys
            conform_settled "$WORK/tracks.otio"
            cpu sonrel sonrel_mix "$WORK/tracks.otio"
            local kb
            kb=$(peak_memory "$SONREL" "${globals[@]}" mix "$WORK/tracks.otio" -o "$WORK/out.wav" --jobs 1)
            echo "| $tracks | $([ $keys = 0 ] && echo static || echo "$keys keys a clip") | $cpu | $(realtime "$cpu") | $((kb / 1024)) |"
        done
    done
}

sonrel_conform() {
    "$SONREL" --cache "$WORK/conform.cache" --db "$WORK/conform.db" --no-log --quiet --rate $RATE conform "$@"
}
ffmpeg_conform() {
    ffmpeg -v error -nostdin -y -threads 1 -i "$1" -vn -threads 1 -ac 2 -ar $RATE \
        -af aresample=$RATE:resampler=soxr:precision=20 -c:a pcm_s16le "$WORK/out.wav"
}
wall() {
    local TIMEFORMAT='%R'
    clean_up
    { time "$@" >/dev/null 2>&1; } 2>&1
}

bench_conform() {
    local RUNS=$((RUNS > 7 ? RUNS : 7))
    make_media 4
    local source=$WORK/track1.wav i
    [ -s "$WORK/media44.flac" ] || ffmpeg -v error -y -i "$source" -ar 44100 "$WORK/media44.flac"
    [ -s "$WORK/media44.mp3" ] || ffmpeg -v error -y -i "$source" -ar 44100 -b:a 192k "$WORK/media44.mp3"
    [ -s "$WORK/media44.m4a" ] || ffmpeg -v error -y -i "$source" -ar 44100 -c:a aac -b:a 192k "$WORK/media44.m4a"
    [ -s "$WORK/media48.flac" ] || ffmpeg -v error -y -i "$source" "$WORK/media48.flac"
    [ -s "$WORK/media44.wav" ] || ffmpeg -v error -y -i "$source" -ar 44100 -c:a pcm_s16le "$WORK/media44.wav"
    echo
    echo "### Conform of $MINUTES minutes to $RATE Hz, medians of $RUNS runs"
    echo
    echo "| media | sonrel CPU s | ffmpeg CPU s | sonrel / ffmpeg | sonrel wall s | ffmpeg wall s | sonrel / ffmpeg |"
    echo "|---|---|---|---|---|---|---|"
    local file own own_wall cpu_wall
    for file in media44.flac media44.mp3 media44.m4a media44.wav track1.wav media48.flac; do
        alternately "$WORK/$file"
        echo "| ${file/track1.wav/media48.wav} | $own | $cpu | $(ratio "$own" "$cpu")" \
            "| $own_wall | $cpu_wall | $(ratio "$own_wall" "$cpu_wall") |"
    done
    local several=()
    for i in 1 2 3 4; do
        [ -s "$WORK/several$i.flac" ] || ffmpeg -v error -y -i "$WORK/track$i.wav" -ar 44100 "$WORK/several$i.flac"
        several+=("$WORK/several$i.flac")
    done
    local one two
    one=$(wall sonrel_conform --jobs 1 "${several[@]}")
    two=$(wall sonrel_conform --jobs 2 "${several[@]}")
    echo
    echo "Four FLAC files: --jobs 1 $one s, --jobs 2 $two s of wall time, ratio $(ratio "$one" "$two")."
}

# Peak files: made in one pass and in four, and found; compared with a bare decode.
bench_peaks() {
    make_media 1
    local form file mode bare
    [ -s "$WORK/track1.flac" ] || ffmpeg -v error -y -i "$WORK/track1.wav" "$WORK/track1.flac"
    [ -s "$WORK/track1.mp3" ] || ffmpeg -v error -y -i "$WORK/track1.wav" -b:a 192k "$WORK/track1.mp3"
    echo
    echo "### Peak files of $MINUTES minutes"
    echo
    echo "| command | CPU s | of the decode | wall s |"
    echo "|---|---|---|---|"
    for form in wav flac mp3; do
        file=$WORK/track1.$form
        cpu ffmpeg ffmpeg -v error -nostdin -i "$file" -f null -
        bare=$cpu
        echo "| $form: ffmpeg -f null - | $bare | 1 | |"
        for mode in single multi; do
            local make=("$SONREL" --quiet peaks "$file" -o "$WORK/out.xwpk" --mode "$mode")
            cpu sonrel "${make[@]}"
            echo "| $form: sonrel peaks --mode $mode | $cpu | $(ratio "$cpu" "$bare") | $(wall "${make[@]}") |"
        done
        local find=("$SONREL" "${globals[@]}" peaks "$file")
        "${find[@]}" >/dev/null
        cpu sonrel "${find[@]}"
        echo "| $form: sonrel peaks, found | $cpu | $(ratio "$cpu" "$bare") | $(wall "${find[@]}") |"
    done
}

sonrel_waveform() { "$SONREL" "${globals[@]}" waveform "$@" -o "$WORK/out.png"; }

bench_waveform() {
    make_media 1
    local file=$WORK/track1.wav
    sonrel_waveform "$file" >/dev/null
    echo
    echo "### Picture of $MINUTES minutes at 1800x280, the peak file made before"
    echo
    echo "| program | CPU s | CPU of program / CPU of sonrel |"
    echo "|---|---|---|"
    cpu sonrel sonrel_waveform "$file"
    local own=$cpu
    echo "| sonrel waveform | $own | 1 |"
    cpu sonrel sonrel_waveform "$file" --range 30:40
    echo "| sonrel waveform, ten seconds of it | $cpu | $(ratio "$cpu" "$own") |"
    cpu sonrel "$SONREL" --version
    echo "| sonrel --version: the program and its libraries begin | $cpu | $(ratio "$cpu" "$own") |"
    cpu ffmpeg ffmpeg -v error -nostdin -y -i "$file" -filter_complex showwavespic=s=1800x280 \
        -frames:v 1 "$WORK/out.png"
    echo "| ffmpeg showwavespic | $cpu | $(ratio "$cpu" "$own") |"
}

case $measurement in
    mix) bench_mix ;;
    cores) bench_cores ;;
    keys) bench_keys ;;
    tracks | memory) bench_tracks ;;
    conform) bench_conform ;;
    peaks) bench_peaks ;;
    waveform) bench_waveform ;;
    all)
        bench_mix
        bench_cores
        bench_keys
        bench_tracks
        bench_conform
        bench_peaks
        bench_waveform
        ;;
    *)
        echo "bench/peers.sh: unknown measurement '$measurement'" >&2
        exit 2
        ;;
esac
