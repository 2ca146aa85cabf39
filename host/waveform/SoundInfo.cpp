// SPDX-License-Identifier: MIT
#include "host/waveform/SoundInfo.h"

#include "host/otio/FrameRates.h"
#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "host/shell/Timecode.h"
#include "host/timeline/MediaCatalog.h"
#include "host/waveform/ChannelNames.h"
#include "sonrel/base/Timing.h"

namespace orlo::host {

namespace {

using zrh::media::FindStream;
using zrh::media::MediaInfo;
using zrh::media::MediaStreamKind;
using zrh::media::SoundChoice;

double PictureRateOf(const MediaInfo& info, const GlobalOptions& global) {
    constexpr double DEFAULT_FPS = 25.0;
    const auto* picture = FindStream(info, MediaStreamKind::Video, 0);
    if (picture != nullptr && picture->frameRate > 0.0) return picture->frameRate;
    return global.fps.value_or(DEFAULT_FPS);
}

}  // namespace

std::vector<std::string> NamesOfSound(const MediaInfo& info, const SoundChoice& sound,
                                      int channels) {
    if (!sound.IsWholeStream()) return ChannelNames(channels == 1 ? "mono" : "stereo", channels);
    const auto index = static_cast<unsigned long long>(sound.Stream());
    const auto* stream = FindStream(info, MediaStreamKind::Audio, index);
    return ChannelNames(stream == nullptr ? std::string() : stream->layout, channels);
}

RulerClock ClockOfMedia(const MediaInfo& info, const GlobalOptions& global, std::string& note) {
    const double fps = otio::ExactRate(PictureRateOf(info, global));
    if (fps < 1.0) {
        throw UsageError("--timecode needs 1 frame a second or more, and there are " +
                         FormatShort(fps) + "; use --ruler");
    }
    const otio::MediaClock clock = ClockOf(info, fps);
    note = clock.problem;
    RulerClock ruler{fps, false, 0};
    ruler.dropFrame = HasDropFrame(fps) && (HasDropFrameTimecode(info) || global.dropFrame);
    ruler.startFrame = zrtl::TruncToInt64(zrtl::RoundHalfAway(clock.start.value_or(0.0) * fps));
    return ruler;
}

}  // namespace orlo::host
