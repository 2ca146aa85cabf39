// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace orlo::sonrel {

/// Why conformed samples could not be read.
enum class ReadFailure : int {
    CannotOpen = 1,  ///< the conformed file cannot be opened, or is not a whole conformed file
    CannotRead = 2,  ///< the file was opened and fails now, or ends earlier than when it was opened
    TooShort = 3,    ///< the file has fewer samples than MediaAudioStream::ConformedSampleCount
};

/// The first failed read of one conformed file since a mark, as AudioMixer::FailedReadsSince
/// returns it. A plain copy: it stays valid when the project or the mixer is gone.
///
/// A stream whose conformed file cannot be read sounds as silence, and the results of GetSamples
/// equal the samples of a silent stream. These records are the only difference between silence and
/// sound that is missing. A stream has nothing to read, and no record, while SamplesAvailable is
/// false, while its path is empty and while its ConformedSampleCount is 0: a host that conforms
/// media compares the count with the file.
struct FailedRead {
    std::wstring mediaPath;  ///< the file that the sound comes from; of a merged asset the merged
                             ///< file
    int streamIndex = 0;     ///< MediaAsset::AudioStreamIndex
    std::wstring conformedPath;                    ///< MediaAudioStream::ConformedFilePath
    ReadFailure reason = ReadFailure::CannotRead;  ///< the kind of the failure
    int systemError = 0;  ///< errno of the failed operation; 0 when the system reported none,
                          ///< as for a file that is too short
    /// First sample of the media asset that the read did not deliver, at the conformed rate. A read
    /// at a speed other than 1.0 begins some samples early.
    long long sourceSample = 0;
    /// First sample of the mix block with the failed read, on the timeline of the request: the
    /// sequence or composition that was mixed, also when the media asset is inside a nested
    /// composition. A mix block is one video frame at most. For a layer or an audio object the
    /// first sample of the request; for an asset that is read directly @p sourceSample.
    long long timelineSample = 0;
};

}  // namespace orlo::sonrel
