// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sonrel/media/ZRAbstractMediaFile.h"
#include "sonrel/media/detail/AudioStream.h"
#include "sonrel/media/detail/FileDescription.h"
#include "sonrel/media/input/Demuxer.h"

namespace zrh::media::detail {

/// A media file opened through FFmpeg.
class MediaFile : public ZRAbstractMediaFile {
public:
    static MediaError Open(const wchar_t* path, ZRAbstractMediaFile** file);

    const std::vector<std::shared_ptr<ZRAbstractAudioStream>>& Streams() override {
        return streams_;
    }
    void SetReadOption(int option) override { readOption_ = option; }
    int Prepare() override;
    std::shared_ptr<ZRAbstractAudioStream> ChosenSound(const SoundChoice& choice) override;

    const FileDescription& Description() const { return *description_; }
    /// The reason why Prepare failed, with its numbers; empty where its result is sufficient.
    const std::string& Reason() const { return reason_; }

    ~MediaFile() override;

private:
    MediaFile(std::shared_ptr<const InputFile> file, std::unique_ptr<Demuxer> demuxer,
              std::shared_ptr<const FileDescription> description);
    MediaError FindIndex();
    std::shared_ptr<AudioStream> OwnAudioStream(int index) const;

    std::shared_ptr<FileState> state_;
    std::shared_ptr<const FileDescription> description_;
    std::string reason_;
    /// At the start of the file before the preparation; null afterwards, and for a file whose
    /// description was kept.
    std::unique_ptr<Demuxer> demuxer_;
    std::vector<std::shared_ptr<ZRAbstractAudioStream>> streams_;
    std::vector<std::shared_ptr<AudioStream>> ownStreams_;
    std::shared_ptr<const FileIndex> index_;
    /// Only the value 1 is ever set. It requests the sound only; nothing else is read in any case.
    int readOption_ = 0;
};

}  // namespace zrh::media::detail
