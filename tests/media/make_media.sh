#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Makes the media files of the codec tests with the ffmpeg program, and for each the samples that this
# program decodes: NAME.s16 at its own rate; for some also NAME.48000.s16, stereo.
#   make_media.sh FOLDER
# A folder that this script filled with this ffmpeg is left as it is.
set -euo pipefail

folder=$1
version=$(ffmpeg -version | cat - "$0" | sha256sum)
mkdir -p "$folder"
cd "$folder"
[ "$(cat complete 2>/dev/null)" != "$version" ] || exit 0
rm -f -- *

run() { ffmpeg -nostdin -v error -y "$@"; }

# 12.3 seconds: two segments of the reader. Tones of changing pitch and noise, so that no two
# positions sound alike.
run -f lavfi -i "aevalsrc=0.4*sin(440*2*PI*t+9*sin(0.7*t))+0.05*random(0)|0.3*sin(660*2*PI*t+5*sin(t))+0.05*random(1):s=44100:d=12.3" \
    -c:a pcm_s16le source.wav
run -i source.wav -ar 8000 -ac 1 -c:a pcm_s16le speech.wav
run -f lavfi -i "aevalsrc=0.2*sin(440*2*PI*t)+0.001*random(0)|0.2*sin(660*2*PI*t):s=96000:d=3" \
    -c:a pcm_s24le fine.wav
run -f lavfi -i "testsrc2=s=64x48:r=25:d=4" -c:v mpeg4 picture.avi

# One run of the program for many files: starting it takes longer than most of them.
run -i source.wav \
    -c:a flac flac.flac -c:a flac flac.oga -c:a flac flac.mka -c:a alac alac.m4a -c:a wavpack wavpack.wv \
    -c:a tta tta.tta -c:a truehd -strict -2 truehd.thd -c:a pcm_s16be pcm.mov -c:a pcm_s16le pcm.w64 \
    -c:a adpcm_ms adpcm.wav -c:a adpcm_ima_qt qt.mov -c:a libmp3lame mp3.mp3 -c:a libmp3lame mp3.avi \
    -c:a mp2 mp2.mpg -c:a aac aac.m4a -c:a aac -aac_pns 0 aacplain.m4a -c:a aac aac.aac -c:a aac aac.ts \
    -c:a libvorbis vorbis.ogg -c:a libopus opus.opus -c:a libopus opus.webm -c:a ac3 ac3.ac3 \
    -c:a eac3 eac3.mp4 -c:a dca -strict -2 dts.dts -c:a wmav2 wma.wma
run -i speech.wav -c:a libgsm_ms gsm.wav -c:a libspeex speex.spx
run -i fine.wav -c:a flac flac24.flac

# Sound that starts half a second after, or before, the picture; sound without a picture that starts
# late.
run -i picture.avi -itsoffset 0.5 -i source.wav -t 4 -map 0:v -map 1:a -c:v copy -c:a pcm_s16le late.mkv
run -i picture.avi -itsoffset 0.5 -i source.wav -t 4 -map 0:v -map 1:a -c:v copy -c:a aac late.mp4
run -itsoffset 0.5 -i picture.avi -i source.wav -t 4 -map 0:v -map 1:a -c:v copy -c:a pcm_s16le early.mkv
run -itsoffset 0.5 -i source.wav -t 4 -c:a pcm_s16le latealone.mka
# Two audio streams after a picture.
run -i picture.avi -i source.wav -i speech.wav -t 4 -map 0:v -map 1:a -map 2:a -c:v copy -c:a flac two.mkv
run -i picture.avi -map 0:v -c copy silent.mp4
# Pictures in a container whose demuxer collects every packet.
run -i picture.avi -i source.wav -t 1 -map 0:v -map 1:a -c:v libtheora -c:a libvorbis picture.ogv
# A cover next to the sound.
run -f lavfi -i color=red:s=16x16:d=1 -frames:v 1 cover.png
run -i source.wav -i cover.png -t 2 -map 0:a -map 1:v -c:a flac -c:v copy -disposition:v attached_pic cover.flac
# Surround sound.
run -f lavfi -i "aevalsrc=0.3*sin(400*t)|0.3*sin(500*t)|0.3*sin(600*t)|0.9*sin(100*t)|0.3*sin(700*t)|0.3*sin(800*t):c=5.1:s=44100:d=2" \
    -c:a flac surround.flac

# The decoded samples. One channel is not converted to stereo: the program would lower it by 3 dB.
inputs=() outputs=()
for name in flac.flac flac24.flac flac.oga flac.mka alac.m4a wavpack.wv tta.tta truehd.thd pcm.mov pcm.w64 \
    adpcm.wav qt.mov mp3.mp3 mp3.avi mp2.mpg aac.m4a aacplain.m4a aac.aac aac.ts vorbis.ogg opus.opus \
    opus.webm ac3.ac3 eac3.mp4 dts.dts wma.wma gsm.wav speex.spx; do
    outputs+=(-map "$((${#inputs[@]} / 2)):a:0" -f s16le -c:a pcm_s16le "$name.s16")
    inputs+=(-i "$name")
done
run "${inputs[@]}" "${outputs[@]}"

# The converted samples. Sources of 16 bits are computed in floats, because the resampler adds random
# dither to 16-bit results.
inputs=() outputs=()
for name in flac.flac pcm.mov surround.flac flac24.flac mp3.mp3 aacplain.m4a vorbis.ogg opus.opus ac3.ac3; do
    filter=aresample=resampler=soxr:precision=20
    case $name in flac.flac | pcm.mov | surround.flac) filter+=:internal_sample_fmt=fltp ;; esac
    outputs+=(-map "$((${#inputs[@]} / 2)):a:0" -af "$filter" -ac 2 -ar 48000 -f s16le
        -c:a pcm_s16le "$name.48000.s16")
    inputs+=(-i "$name")
done
run "${inputs[@]}" "${outputs[@]}"
run -i surround.flac -ac 2 -f s16le -c:a pcm_s16le surround.flac.stereo.s16
echo "$version" >complete
