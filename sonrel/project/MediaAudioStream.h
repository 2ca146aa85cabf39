// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "sonrel/base/Export.h"
#include "sonrel/base/ZRMediaTypes.h"

namespace orlo::project {

using zrh::media::ZRAudioCodec;

struct MediaAudioStreamImpl;

/// The audio stream of a media asset, with the state of its cache files.
///
/// Sample counts are sample frames. Threads: the setters of the cache files run on the thread that
/// makes the files, while nothing mixes the stream.
class SONREL_EXPORT MediaAudioStream {
public:
    /// @param nativeRate   the media file's own rate, hertz
    /// @param nativeCount  its length at that rate
    /// @throws std::invalid_argument when the rate or the length is negative
    MediaAudioStream(int nativeRate, long long nativeCount, ZRAudioCodec codec);
    MediaAudioStream(MediaAudioStream const& source);  ///< copies the state
    MediaAudioStream& operator=(MediaAudioStream const&) = delete;
    ~MediaAudioStream();

    ZRAudioCodec Codec() const;  ///< of the media file

    /// True when a conformed file is ready, or when it is known that none can be made: an available
    /// stream without a path is silent.
    bool SamplesAvailable() const;
    void SetSamplesAvailable(bool available);  ///< see SamplesAvailable

    /// Full path of the conformed file; empty without one.
    std::wstring const& ConformedFilePath() const;
    /// Records a conformed file. Its length is read from the file; it is 0 for an empty path and
    /// for a file that cannot be opened.
    void SetConformedFile(std::wstring const& path, int sampleRate);
    /// Clears path, rate and length.
    void ClearConformedFile();
    /// Length at the conformed rate; 0 when nothing can be read.
    long long ConformedSampleCount() const;
    /// Hertz.
    int ConformedSampleRate() const;

    long long NativeSampleCount() const;  ///< length at the native rate
    /// Hertz.
    int NativeSampleRate() const;
    /// The frame rate that timing uses for an asset without video.
    double FrameRate() const;

    /// MediaAsset::IsMerged of the asset that the stream belongs to: the samples come from another
    /// file that is merged with the asset. False for a stream without an asset.
    bool IsMerged() const;
    /// first: the position of the first sample of the merged file on the timeline of the asset;
    /// second: the end of valid positions, exclusive. Until a range is set: all conformed samples
    /// from position 0.
    std::pair<long long, long long> MergedSampleRange() const;

    std::wstring const& WaveformPeakFilePath() const;        ///< empty without one
    void SetWaveformPeakFilePath(std::wstring const& path);  ///< full path
    bool WaveformPreviewAvailable() const;                   ///< see the setter
    void SetWaveformPreviewAvailable(bool available);        ///< a peak file was made

    /// @throws std::invalid_argument when not finite and above 0
    void SetFrameRate(double frameRate);
    /// Sets the place of the merged file. It is used while the asset is merged.
    /// @throws std::invalid_argument when a position is negative or @p end is below @p first
    void SetMergedSampleRange(long long first, long long end);
    /// Removes the range that was set.
    void ClearMergedSampleRange();
    /// Overrides the length that SetConformedFile read.
    /// @throws std::invalid_argument when negative
    void SetConformedSampleCount(long long count);

private:
    friend class MediaAsset;

    void SetMerged(bool merged);

    std::unique_ptr<MediaAudioStreamImpl> impl_;
};

}  // namespace orlo::project
