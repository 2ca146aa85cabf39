// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "sonrel/base/Export.h"
#include "sonrel/base/ZRMediaTypes.h"

namespace orlo::project {

using zrh::media::ZRAudioCodec;

/// The audio stream of a media asset, with the state of its cache files.
///
/// Sample counts are sample frames. Threads: the cache setters run on the thread of whoever makes
/// the files, while nothing mixes the stream.
class SONREL_EXPORT MediaAudioStream {
public:
    /// @param nativeRate   the media file's own rate, hertz
    /// @param nativeCount  its length at that rate
    /// @throws std::invalid_argument when one of them is negative
    MediaAudioStream(int nativeRate, long long nativeCount, ZRAudioCodec codec);

    ZRAudioCodec Codec() const;

    /// A conformed file is ready, or the question is settled: an available stream without a path is
    /// silent.
    bool SamplesAvailable() const;
    void SetSamplesAvailable(bool available);

    /// Full path of the conformed file; empty without one.
    std::wstring const& ConformedFilePath() const;
    /// Records a conformed file. Its length is read from the file; a file that cannot be opened, as
    /// an empty path, has none.
    void SetConformedFile(std::wstring const& path, int sampleRate);
    /// Forgets path, rate and length.
    void ClearConformedFile();
    /// Length at the conformed rate; 0 means that nothing can be read.
    long long ConformedSampleCount() const;
    /// Hertz.
    int ConformedSampleRate() const;

    long long NativeSampleCount() const;
    /// Hertz.
    int NativeSampleRate() const;
    /// The frame rate that timing uses for an asset without video.
    double FrameRate() const;

    /// MediaAsset::IsMerged of the asset that the stream belongs to: the samples come from another
    /// file that is merged with the asset. False for a stream without an asset.
    bool IsMerged() const;
    /// first: the position on the asset's timeline of the merged file's first sample; second: the
    /// end of valid positions, exclusive. Until one is set, the range of the conformed samples from
    /// position 0.
    std::pair<long long, long long> MergedSampleRange() const;

    std::wstring const& WaveformPeakFilePath() const;
    void SetWaveformPeakFilePath(std::wstring const& path);
    bool WaveformPreviewAvailable() const;
    void SetWaveformPreviewAvailable(bool available);

    /// @throws std::invalid_argument when not finite and above 0
    void SetFrameRate(double frameRate);
    /// Sets where the merged file is placed. It counts while the asset is merged.
    /// @throws std::invalid_argument when a position is negative or @p end is below @p first
    void SetMergedSampleRange(long long first, long long end);
    /// Forgets the range that was set.
    void ClearMergedSampleRange();
    /// Overrides the length that SetConformedFile read.
    /// @throws std::invalid_argument when negative
    void SetConformedSampleCount(long long count);

private:
    friend class MediaAsset;

    ZRAudioCodec codec_;
    int nativeRate_;
    long long nativeCount_;
    double frameRate_ = 25.0;
    bool samplesAvailable_ = false;
    std::wstring conformedPath_;
    int conformedRate_ = 0;
    long long conformedCount_ = 0;
    bool merged_ = false;  // written by the asset
    std::optional<std::pair<long long, long long>> mergedRange_;
    std::wstring peakPath_;
    bool previewAvailable_ = false;
};

}  // namespace orlo::project
