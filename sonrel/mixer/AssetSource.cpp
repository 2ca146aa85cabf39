// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/AssetSource.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

#include "sonrel/base/Numbers.h"
#include "sonrel/base/Timing.h"
#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "sonrel/mixer/detail/CompositionMixer.h"

namespace orlo::sonrel::detail {
namespace {

using zrtl::FRAME_BYTES;
using zrtl::StereoFrame;

/// Frames before the wanted frames that the speed filter reads, and half of the number by which the
/// span is longer than wanted.
constexpr int FILTER_MARGIN = 64;

/// Codes of a stream read. The callers return 0 for all of them.
constexpr int BAD_RANGE = 7;
constexpr int PAST_MERGED_END = 8;
constexpr int BUFFER_TOO_SMALL = 12;

/// The frames that the speed filter reads of a source for one range of output.
struct FilterRead {
    long long sourceStart = 0;
    int margin = 0;  ///< frames before the first wanted frame
    int count = 0;   ///< frames to read; below 1 when nothing is left
};

/// A start before the source leaves nothing to read.
FilterRead PlanFilterRead(long long sourceStart, int wanted, long long total) {
    if (sourceStart < 0) return {};
    const int margin = sourceStart < FILTER_MARGIN ? 0 : FILTER_MARGIN;
    const long long begin = sourceStart - margin;
    const long long span =
        std::min<long long>(static_cast<long long>(wanted) + 2 * FILTER_MARGIN, total - begin);
    if (span < 1 || span > INT_MAX / FRAME_BYTES) return {begin, margin, 0};
    return {begin, margin, static_cast<int>(span)};
}

/// Records that samples of an asset are missing. Called with the errno of the failure.
/// @param sourceStart  first missing sample
void NoteFailedRead(AudioMixerImpl& mixer, const project::MediaAsset& asset, ReadFailure reason,
                    long long sourceStart) {
    FailedRead read;
    read.systemError = errno;
    read.mediaPath = asset.IsMerged() ? asset.MergedAudioFilename() : asset.Filename();
    read.streamIndex = static_cast<int>(asset.AudioStreamIndex());
    read.conformedPath = asset.AudioStream()->ConformedFilePath();
    read.reason = reason;
    read.sourceSample = sourceStart;
    read.timelineSample = mixer.requestBlock.value_or(sourceStart);
    mixer.failedReads.Add(std::move(read));
}

/// Whether a code of a stream read is about the file, and not about the request.
bool IsReadFailure(int code) {
    return code != BAD_RANGE && code != PAST_MERGED_END && code != BUFFER_TOO_SMALL;
}

void WriteSilence(StereoFrame* frames, int count) {
    std::memset(frames, 0, static_cast<std::size_t>(count) * FRAME_BYTES);
}

/// The code of a read of a merged stream before its file is read; 0 when the file decides.
int CheckMergedRead(const project::MediaAudioStream& stream, long long sourceStart, int count,
                    FrameRoom room) {
    if (sourceStart < 0 || count < 1) return BAD_RANGE;
    if (sourceStart > stream.MergedSampleRange().second - count) return PAST_MERGED_END;
    return count > room.bytes / FRAME_BYTES ? BUFFER_TOO_SMALL : 0;
}

/// Frames that a read asks the file for. A read that reaches the end is not cut to the room: the
/// file and the merged test refuse it when the room is too small, and the caller gets 0.
int FramesToRead(long long total, long long sourceStart, int count, FrameRoom room) {
    if (sourceStart >= total) return 0;
    if (count > total - sourceStart) return static_cast<int>(total - sourceStart);
    return std::min(count, room.bytes / FRAME_BYTES);
}

/// The result of a read of a file that can be read.
int CountReadFrames(const project::MediaAudioStream& stream, long long sourceStart, int frames,
                    FrameRoom room) {
    if (!stream.SamplesAvailable() || stream.ConformedFilePath().empty()) return 0;
    if (!stream.IsMerged()) return frames > room.bytes / FRAME_BYTES ? 0 : frames;
    return CheckMergedRead(stream, sourceStart, frames, room) == 0 ? frames : 0;
}

/// The conformed audio of a media asset, as a source for ReadFrom.
struct MediaSource {
    AudioMixerImpl& mixer;
    const project::MediaAsset& asset;
    int filterRate = 0;

    long long Total() const { return asset.AudioStream()->ConformedSampleCount(); }
    int Rate() const { return filterRate; }
    int Read(long long sourceStart, int count, FrameRoom room) const {
        return ReadConformedSamples(mixer, asset, sourceStart, count, room);
    }
};

/// The mix of a composition at its own rate, as a source for ReadFrom.
struct CompositionSource {
    AudioMixerImpl& mixer;
    const std::shared_ptr<project::Project>& project;
    std::shared_ptr<project::CompositionAsset> composition;

    long long Total() const {
        const project::AudioVideoSettings& settings = composition->Settings();
        return zrtl::TotalSamples(settings.FrameCount(), settings.AudioSampleRateValue(),
                                  settings.FrameRate());
    }
    int Rate() const { return composition->Settings().AudioSampleRateValue(); }
    int Read(long long sourceStart, int count, FrameRoom room) const {
        return CompositionMixer(mixer, project, composition, Metering::Off)
            .Mix({.timelineStart = sourceStart, .count = count, .output = room.frames});
    }
};

/// Reads a source straight into the room when the speed needs no filter, otherwise with a margin
/// for the filter into frames of the result.
template <class Source>
SourceFrames ReadFrom(const Source& source, const SourceRange& range, FrameRoom room) {
    SourceFrames read;
    const int wanted = zrtl::TruncToInt32(range.count * range.speed);
    if (range.speed == 1.0 || wanted == range.count) {
        read.count = source.Read(range.sourceStart, range.count, room);
        return read;
    }

    const long long total = source.Total();
    if (total == 0) return read;
    const FilterRead plan = PlanFilterRead(range.sourceStart, wanted, total);
    if (plan.count < 1) {
        read.count = -1;
        return read;
    }
    read.frames =
        std::make_unique_for_overwrite<StereoFrame[]>(static_cast<std::size_t>(plan.count));
    read.margin = plan.margin;
    read.outputCount = range.count;
    read.speed = range.speed;
    read.rate = source.Rate();
    read.count =
        source.Read(plan.sourceStart, plan.count, {read.frames.get(), plan.count * FRAME_BYTES});
    return read;
}

}  // namespace

int ReadStreamSamples(const project::MediaAudioStream& stream,
                      const project::ConformedAudioFile& file, long long sourceStart, int count,
                      FrameRoom room, int* read) {
    if (!stream.IsMerged()) {
        return file.GetSamples(sourceStart, count, zrtl::BytesOf(room.frames), room.bytes, read);
    }

    const int refused = CheckMergedRead(stream, sourceStart, count, room);
    if (refused != 0) return refused;

    const long long first = stream.MergedSampleRange().first;
    int done = 0;
    if (sourceStart < first) {
        done = static_cast<int>(std::min<long long>(count, first - sourceStart));
        WriteSilence(room.frames, done);
    }
    const long long position = sourceStart + done - first;
    if (done < count && position < file.SampleCount()) {
        const int wanted =
            static_cast<int>(std::min<long long>(count - done, file.SampleCount() - position));
        int fromFile = 0;
        const int code = file.GetSamples(position, wanted, zrtl::BytesOf(room.frames + done),
                                         room.bytes - done * FRAME_BYTES, &fromFile);
        if (code != 0) return code;
        done += fromFile;
    }
    WriteSilence(room.frames + done, count - done);
    *read = count;
    return 0;
}

int ReadConformedSamples(AudioMixerImpl& mixer, const project::MediaAsset& asset,
                         long long sourceStart, int count, FrameRoom room) {
    const auto& stream = asset.AudioStream();
    if (!stream) return 0;
    if (sourceStart < 0 || count < 0) return -1;
    const long long total = stream->ConformedSampleCount();
    if (total == 0) return 0;
    const int frames = FramesToRead(total, sourceStart, count, room);
    if (mixer.OnlyCounts()) return CountReadFrames(*stream, sourceStart, frames, room);
    errno = 0;
    const project::ConformedAudioFile* file = FindConformedFile(mixer, *stream);
    if (!file) {
        const bool isExpected = stream->SamplesAvailable() && !stream->ConformedFilePath().empty();
        if (isExpected) NoteFailedRead(mixer, asset, ReadFailure::CannotOpen, sourceStart);
        return 0;
    }

    int read = 0;
    errno = 0;
    const int code = ReadStreamSamples(*stream, *file, sourceStart, frames, room, &read);
    if (code != 0) {
        if (IsReadFailure(code)) NoteFailedRead(mixer, asset, ReadFailure::CannotRead, sourceStart);
        return 0;
    }
    if (read < frames) NoteFailedRead(mixer, asset, ReadFailure::TooShort, sourceStart + read);
    return read;
}

SourceFrames ReadMedia(AudioMixerImpl& mixer, const project::MediaAsset& asset,
                       const SourceRange& range, FrameRoom room) {
    if (!asset.AudioStream()) return {};
    return ReadFrom(MediaSource{mixer, asset, range.rate}, range, room);
}

SourceFrames ReadAsset(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                       const std::shared_ptr<project::AbstractAsset>& asset, SourceRange range,
                       FrameRoom room) {
    if (asset->AssetType() == 0) {
        return ReadMedia(mixer, static_cast<const project::MediaAsset&>(*asset), range, room);
    }

    const CompositionSource source{mixer, project,
                                   std::static_pointer_cast<project::CompositionAsset>(asset)};
    const long long total = source.Total();
    if (range.sourceStart < 0 || range.sourceStart >= total) return {};
    // The bound is compared unscaled by speed, on purpose: a fast composition is cut where its
    // output would pass the composition's own length.
    if (range.count > total - range.sourceStart) {
        std::memset(zrtl::BytesOf(room.frames), 0,
                    static_cast<std::size_t>(std::max(room.bytes, 0)));
        range.count = static_cast<int>(total - range.sourceStart);
    }
    return ReadFrom(source, range, room);
}

int CountAfterFilter(const SourceFrames& source) {
    return !source.frames || source.count < 1 ? source.count : source.outputCount;
}

int ResampleSource(Resampler& resampler, const SourceFrames& source, StereoFrame* output) {
    if (!source.frames || source.count < 1) return source.count;
    resampler.ResampleStereo(source.rate, source.speed, zrtl::ValuesOf(source.frames.get()),
                             source.margin, source.count, zrtl::ValuesOf(output),
                             source.outputCount);
    return source.outputCount;
}

}  // namespace orlo::sonrel::detail
