// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/AudioStream.h"

#include <algorithm>

namespace zrh::media::detail {

AudioStream::AudioStream(std::shared_ptr<FileState> state, const StreamDescription& description)
    : state_(std::move(state)),
      info_(description.info),
      number_(description.number),
      type_(description.type),
      rate_(description.rate),
      channels_(description.channels),
      view_(description.view),
      sampleCount_(description.frames) {}

void AudioStream::SetIndex(std::shared_ptr<const StreamIndex> index) {
    index_ = std::move(index);
    reader_ = nullptr;
    sampleCount_ = 0;
    if (index_->error != MediaError::None) return;
    rate_ = index_->format.rate;
    channels_ = index_->format.channels;
    view_ = index_->view;
    sampleCount_ = index_->totalFrames;
}

MediaError AudioStream::Error() const {
    if (type_ != 0) return MediaError::NotAudio;
    if (index_ == nullptr || state_->file == nullptr) return MediaError::NotPrepared;
    return index_->error;
}

int AudioStream::GetSamples(long long start, int count, void* buffer, int bufferBytes,
                            int* samplesRead) {
    progress_.Count(count);
    int read = 0;
    MediaError error = MediaError::None;
    try {
        error = Read(start, count, static_cast<std::uint8_t*>(buffer), bufferBytes, &read);
    } catch (const std::bad_alloc&) {
        error = MediaError::OutOfMemory;
    } catch (const SilenceRefused& refusal) {
        // Stays an exception for the reason below.
        progress_.NoteFailure(refusal.what());
        throw;
    }
    if (error != MediaError::None) read = 0;
    // PeakFile::Create treats an error code as silence; an exception ends it.
    if (error != MediaError::None && state_->file != nullptr && state_->file->IsInterrupted()) {
        throw ReadCancelled();
    }
    progress_.CheckRead(error == MediaError::ReadFailed, start);
    if (samplesRead != nullptr) *samplesRead = read;
    return static_cast<int>(error);
}

MediaError AudioStream::Read(long long start, int count, std::uint8_t* buffer, int bufferBytes,
                             int* samplesRead) {
    if (Error() != MediaError::None) return Error();
    const std::int64_t bytesPerFrame =
        static_cast<std::int64_t>(view_.BytesPerSample()) * channels_;
    if (buffer == nullptr || start < 0 || count < 1 || count * bytesPerFrame > bufferBytes) {
        return MediaError::InvalidArgument;
    }
    if (channels_ > MAX_CHANNELS) return MediaError::TooManyChannels;
    if (start >= sampleCount_) return MediaError::EndOfStream;
    count = static_cast<int>(std::min<std::int64_t>(count, sampleCount_ - start));

    const int silent =
        static_cast<int>(std::clamp<std::int64_t>(index_->leadFrames - start, 0, count));
    std::fill_n(buffer, silent * bytesPerFrame, view_.bits == 8 ? 0x80 : 0);
    *samplesRead = silent;
    if (silent == count) return MediaError::None;

    if (reader_ == nullptr) {
        reader_ = index_->pcm.has_value() ? NewPcmReader(state_->file, index_)
                                          : NewPacketReader(state_->file, index_);
    }
    *samplesRead += reader_->Read(start + silent, count - silent, buffer + silent * bytesPerFrame);
    return *samplesRead > 0 ? MediaError::None : MediaError::ReadFailed;
}

}  // namespace zrh::media::detail
