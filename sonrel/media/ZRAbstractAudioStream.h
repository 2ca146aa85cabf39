// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/base/Export.h"
#include "sonrel/base/ZRMediaTypes.h"

namespace zrh::media {

/// One stream of a media file. Only a stream whose StreamType is 0 is an audio stream.
///
/// Threads: as its file, one thread at a time.
class SONREL_EXPORT ZRAbstractAudioStream {
public:
    virtual ~ZRAbstractAudioStream() = default;

    /// 0 for an audio stream; another value for another kind.
    virtual int StreamType() const = 0;
    /// Hertz.
    virtual int SampleRate() const = 0;
    /// A positive multiple of 8.
    virtual int BitsPerSample() const = 0;
    virtual ZRSampleDataType SampleDataType() const = 0;  ///< whole numbers or floats
    virtual int ChannelCount() const = 0;                 ///< channels of a sample frame
    /// Sample frames in the stream; exact once the file is prepared.
    virtual long long SampleCount() const = 0;

    /// Reads in the stream's own format: interleaved, BitsPerSample wide, ChannelCount per frame.
    /// The bytes of a range do not depend on earlier reads.
    /// @param start        first sample frame
    /// @param count        sample frames to read
    /// @param buffer       receives the samples
    /// @param bufferBytes  room in @p buffer, in bytes; never written beyond
    /// @param samplesRead  receives the sample frames delivered; fewer than @p count at the end
    /// @return 0 on success; otherwise nothing was delivered and @p samplesRead is 0
    virtual int GetSamples(long long start, int count, void* buffer, int bufferBytes,
                           int* samplesRead) = 0;
};

}  // namespace zrh::media
