// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/ZRAbstractAudioStream.h"
#include "sonrel/media/detail/FileDescription.h"
#include "sonrel/media/detail/StreamReader.h"
#include "sonrel/media/index/StreamIndex.h"
#include "sonrel/media/input/InputFile.h"
#include "sonrel/media/input/ReadMonitor.h"

namespace zrh::media::detail {

/// The state that an opened file shares with its streams. Releasing the file closes it.
struct FileState {
    std::shared_ptr<const InputFile> file;
};

/// One stream of an opened file.
class AudioStream : public ZRAbstractAudioStream {
public:
    AudioStream(std::shared_ptr<FileState> state, const StreamDescription& description);

    int StreamType() const override { return type_; }
    int SampleRate() const override { return rate_; }
    int BitsPerSample() const override { return view_.bits; }
    ZRSampleDataType SampleDataType() const override { return view_.dataType; }
    int ChannelCount() const override { return channels_; }
    long long SampleCount() const override { return sampleCount_; }
    /// @throws ReadCancelled when the observer or the interrupt scope of the file requested to
    ///         stop; ReadFailed when a file of the observer could not be read; SilenceRefused when
    ///         a packet that cannot be decoded exceeds the limit of silence
    int GetSamples(long long start, int count, void* buffer, int bufferBytes,
                   int* samplesRead) override;

    /// Sets the index that the preparation of the file built.
    void SetIndex(std::shared_ptr<const StreamIndex> index);

    int Number() const { return number_; }
    const MediaStreamInfo& Info() const { return info_; }
    /// Null before the preparation and for streams other than audio.
    const std::shared_ptr<const StreamIndex>& Index() const { return index_; }
    /// Null after the release.
    const std::shared_ptr<const InputFile>& File() const { return state_->file; }
    /// Why the stream cannot be read, or None.
    MediaError Error() const;
    /// The reason for Error with its numbers; empty where the error is sufficient.
    std::string Reason() const { return index_ == nullptr ? std::string() : index_->reason; }

private:
    MediaError Read(long long start, int count, std::uint8_t* buffer, int bufferBytes,
                    int* samplesRead);

    std::shared_ptr<FileState> state_;
    MediaStreamInfo info_;
    int number_;
    int type_;
    int rate_ = 0;
    int channels_ = 0;
    ViewFormat view_;
    long long sampleCount_ = 0;
    std::shared_ptr<const StreamIndex> index_;
    std::unique_ptr<StreamReader> reader_;
    ReadProgress progress_;
};

}  // namespace zrh::media::detail
