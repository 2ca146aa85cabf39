// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sonrel/media/ZRAbstractAudioStream.h"
#include "sonrel/media/detail/AudioStream.h"

namespace zrh::media::detail {

/// The channel of a side; without a stream it is silent.
struct ChosenChannel {
    std::shared_ptr<AudioStream> stream;
    int channel = 0;  ///< from 1

    bool operator==(const ChosenChannel&) const = default;
};

struct ChosenChannels {
    ChosenChannel left;
    ChosenChannel right;

    bool IsMono() const { return left == right; }
    /// A stream of the choice; null when both sides are silent.
    const AudioStream* First() const {
        return left.stream != nullptr ? left.stream.get() : right.stream.get();
    }
    /// Why the channels cannot be read together, or None.
    MediaError Error() const;
};

/// Chosen channels as a stream in the format of their own streams. Of two streams the shorter one
/// is continued with silence.
class ChosenStream : public ZRAbstractAudioStream {
public:
    /// @param channels  at least one side has a stream
    explicit ChosenStream(ChosenChannels channels) : channels_(std::move(channels)) {}

    int StreamType() const override { return 0; }
    int SampleRate() const override { return channels_.First()->SampleRate(); }
    int BitsPerSample() const override { return channels_.First()->BitsPerSample(); }
    ZRSampleDataType SampleDataType() const override { return channels_.First()->SampleDataType(); }
    int ChannelCount() const override { return channels_.IsMono() ? 1 : 2; }
    long long SampleCount() const override;
    /// @throws the exceptions of AudioStream::GetSamples
    int GetSamples(long long start, int count, void* buffer, int bufferBytes,
                   int* samplesRead) override;

    const ChosenChannels& Channels() const { return channels_; }

private:
    /// A side to fill: its channel, and its position in a frame of the result.
    struct Target {
        int channel;
        int position;
    };

    std::vector<Target> TargetsOf(const AudioStream* stream) const;
    MediaError ReadStream(AudioStream& stream, long long start, int count,
                          const std::vector<Target>& targets, std::uint8_t* buffer);

    ChosenChannels channels_;
    std::vector<std::uint8_t> frames_;
};

}  // namespace zrh::media::detail
