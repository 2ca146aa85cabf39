// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/AssetSource.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>
#include <vector>

#include "sonrel/base/Numbers.h"
#include "sonrel/base/Timing.h"
#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "sonrel/mixer/detail/CompositionMix.h"

namespace orlo::sonrel::detail {
namespace {

constexpr int FRAME_BYTES = 4;

/// Frames in front of the wanted ones that the speed filter gets to see, and half of those that the
/// span is longer than wanted.
constexpr int FILTER_MARGIN = 64;

/// Codes of a stream read; callers above fold them into "nothing there".
constexpr int BAD_RANGE = 7;
constexpr int PAST_MERGED_END = 8;
constexpr int BUFFER_TOO_SMALL = 12;

/// What the speed filter reads of a source for one stretch of output.
struct FilterRead {
    long long begin = 0;  ///< first source frame
    int margin = 0;       ///< frames in front of the first wanted one
    int frames = 0;       ///< frames to read; below 1 when there is nothing left
};

/// A start in front of the source leaves nothing to read.
FilterRead PlanFilterRead(long long start, int wanted, long long total) {
    if (start < 0) return {};
    const int margin = start < FILTER_MARGIN ? 0 : FILTER_MARGIN;
    const long long begin = start - margin;
    const long long span =
        std::min<long long>(static_cast<long long>(wanted) + 2 * FILTER_MARGIN, total - begin);
    if (span < 1 || span > INT_MAX / FRAME_BYTES) return {begin, margin, 0};
    return {begin, margin, static_cast<int>(span)};
}

/// Records that samples of an asset are missing. Called with the errno of the failure.
/// @param start  first missing sample
void NoteFailedRead(AudioMixerImpl& mixer, const project::MediaAsset& asset, ReadFailure reason,
                    long long start) {
    FailedRead read;
    read.systemError = errno;
    read.mediaPath = asset.IsMerged() ? asset.MergedAudioFilename() : asset.Filename();
    read.streamIndex = static_cast<int>(asset.AudioStreamIndex());
    read.conformedPath = asset.AudioStream()->ConformedFilePath();
    read.reason = reason;
    read.sourceSample = start;
    read.timelineSample = mixer.requestBlock.value_or(start);
    mixer.failedReads.Add(std::move(read));
}

/// Whether a code of a stream read is about the file, and not about the request.
bool IsReadFailure(int code) {
    return code != BAD_RANGE && code != PAST_MERGED_END && code != BUFFER_TOO_SMALL;
}

/// Samples are stored as bytes at the interfaces and as pairs of 16-bit values here.
short* AsSamples(unsigned char* bytes) {
    return reinterpret_cast<short*>(bytes);
}

}  // namespace

int ReadStreamSamples(const project::MediaAudioStream& stream,
                      const project::ConformedAudioFile& file, long long start, int count,
                      unsigned char* buffer, int bufferSize, int* read) {
    if (!stream.IsMerged()) return file.GetSamples(start, count, buffer, bufferSize, read);

    const auto [first, end] = stream.MergedSampleRange();
    if (start < 0 || count < 1) return BAD_RANGE;
    if (start > end - count) return PAST_MERGED_END;
    if (count > bufferSize / FRAME_BYTES) return BUFFER_TOO_SMALL;

    int done = 0;
    if (start < first) {
        done = static_cast<int>(std::min<long long>(count, first - start));
        std::memset(buffer, 0, static_cast<std::size_t>(done) * FRAME_BYTES);
    }
    const long long position = start + done - first;
    if (done < count && position < file.SampleCount()) {
        const int wanted =
            static_cast<int>(std::min<long long>(count - done, file.SampleCount() - position));
        int fromFile = 0;
        const int code = file.GetSamples(position, wanted, buffer + done * FRAME_BYTES,
                                         bufferSize - done * FRAME_BYTES, &fromFile);
        if (code != 0) return code;
        done += fromFile;
    }
    std::memset(buffer + static_cast<std::size_t>(done) * FRAME_BYTES, 0,
                static_cast<std::size_t>(count - done) * FRAME_BYTES);
    *read = count;
    return 0;
}

int ReadConformedSamples(AudioMixerImpl& mixer, const project::MediaAsset& asset, long long start,
                         int count, unsigned char* buffer, int bufferSize) {
    const auto& stream = asset.AudioStream();
    if (!stream) return 0;
    if (start < 0 || count < 0) return -1;
    const long long total = stream->ConformedSampleCount();
    if (total == 0) return 0;
    errno = 0;
    const project::ConformedAudioFile* file = FindConformedFile(mixer, *stream);
    if (!file) {
        const bool isExpected = stream->SamplesAvailable() && !stream->ConformedFilePath().empty();
        if (isExpected) NoteFailedRead(mixer, asset, ReadFailure::CannotOpen, start);
        return 0;
    }

    // A read that reaches the end is not cut to the buffer here: the file and the merged test
    // refuse it when the room is too small, and the caller gets 0.
    int frames = 0;
    if (start >= total) {
        frames = 0;
    } else if (count > total - start) {
        frames = static_cast<int>(total - start);
    } else {
        frames = std::min(count, bufferSize / FRAME_BYTES);
    }
    int read = 0;
    errno = 0;
    const int code = ReadStreamSamples(*stream, *file, start, frames, buffer, bufferSize, &read);
    if (code != 0) {
        if (IsReadFailure(code)) NoteFailedRead(mixer, asset, ReadFailure::CannotRead, start);
        return 0;
    }
    if (read < frames) NoteFailedRead(mixer, asset, ReadFailure::TooShort, start + read);
    return read;
}

int ReadMediaSamples(AudioMixerImpl& mixer, const project::MediaAsset& asset, long long start,
                     int count, double speed, int rate, unsigned char* buffer, int bufferSize) {
    const auto& stream = asset.AudioStream();
    if (!stream) return 0;
    const int wanted = zrtl::TruncToInt32(count * speed);
    if (speed == 1.0 || wanted == count) {
        return ReadConformedSamples(mixer, asset, start, count, buffer, bufferSize);
    }

    const long long total = stream->ConformedSampleCount();
    if (total == 0) return 0;
    const FilterRead plan = PlanFilterRead(start, wanted, total);
    if (plan.frames < 1) return -1;
    std::vector<unsigned char> source(static_cast<std::size_t>(plan.frames) * FRAME_BYTES);
    const int got = ReadConformedSamples(mixer, asset, plan.begin, plan.frames, source.data(),
                                         plan.frames * FRAME_BYTES);
    if (got < 1) return got;
    mixer.resampler.ResampleStereo(rate, speed, AsSamples(source.data()), plan.margin, got,
                                   AsSamples(buffer), count);
    return count;
}

int ReadCompositionSamples(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                           const std::shared_ptr<project::CompositionAsset>& composition,
                           long long start, int count, double speed, unsigned char* buffer) {
    const int wanted = zrtl::TruncToInt32(count * speed);
    if (speed == 1.0 || wanted == count) {
        return GetCompositionSamples(mixer, project, composition, start, count, buffer, 0, 0,
                                     Metering::Off);
    }

    const project::AudioVideoSettings& settings = composition->Settings();
    const int rate = settings.AudioSampleRateValue();
    const FilterRead plan = PlanFilterRead(
        start, wanted, zrtl::TotalSamples(settings.FrameCount(), rate, settings.FrameRate()));
    if (plan.frames < 1) return -1;
    std::vector<unsigned char> source(static_cast<std::size_t>(plan.frames) * FRAME_BYTES);
    const int got = GetCompositionSamples(mixer, project, composition, plan.begin, plan.frames,
                                          source.data(), 0, 0, Metering::Off);
    if (got < 1) return got;
    mixer.resampler.ResampleStereo(rate, speed, AsSamples(source.data()), plan.margin, got,
                                   AsSamples(buffer), count);
    return count;
}

int ReadAssetSamples(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                     const std::shared_ptr<project::AbstractAsset>& asset, long long start,
                     int count, double speed, int rate, unsigned char* buffer, int bufferSize) {
    if (asset->AssetType() == 0) {
        const auto& media = static_cast<const project::MediaAsset&>(*asset);
        return ReadMediaSamples(mixer, media, start, count, speed, rate, buffer, bufferSize);
    }

    const auto composition = std::static_pointer_cast<project::CompositionAsset>(asset);
    const project::AudioVideoSettings& settings = composition->Settings();
    const long long total = zrtl::TotalSamples(
        settings.FrameCount(), settings.AudioSampleRateValue(), settings.FrameRate());
    if (start < 0 || start >= total) return 0;
    // The bound is compared unscaled by speed, on purpose: a fast composition is cut where its
    // output would pass the composition's own length.
    if (count > total - start) {
        std::memset(buffer, 0, static_cast<std::size_t>(std::max(bufferSize, 0)));
        count = static_cast<int>(total - start);
    }
    return ReadCompositionSamples(mixer, project, composition, start, count, speed, buffer);
}

}  // namespace orlo::sonrel::detail
