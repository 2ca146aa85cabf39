// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/MediaFile.h"

#include <utility>

#include "sonrel/media/detail/ChosenStream.h"
#include "sonrel/media/detail/DownmixedStream.h"
#include "sonrel/media/detail/MediaFileFactory.h"
#include "sonrel/media/index/FileIndexer.h"
#include "sonrel/media/index/IndexCache.h"
#include "sonrel/media/input/FfmpegLibrary.h"
#include "sonrel/media/input/MediaErrors.h"

namespace zrh::media {
namespace detail {
namespace {

MediaFileFactory& Factory() {
    static auto* factory = new MediaFileFactory;
    return *factory;
}

}  // namespace

void SetMediaFileFactoryForTests(MediaFileFactory factory) {
    Factory() = std::move(factory);
}

MediaError MediaFile::Open(const wchar_t* path, ZRAbstractMediaFile** file) {
    // Before the file takes the last free descriptor.
    const bool isLoaded = LoadFfmpeg() != nullptr;
    std::shared_ptr<const InputFile> input;
    MediaError error = InputFile::Open(path, &input);
    if (error != MediaError::None) return error;
    if (!isLoaded) return MediaError::LibraryNotLoaded;
    std::unique_ptr<Demuxer> demuxer;
    std::shared_ptr<const FileDescription> description;
    error = DescribeFile(input, &demuxer, &description);
    if (error != MediaError::None) return error;
    *file = new MediaFile(std::move(input), std::move(demuxer), std::move(description));
    return MediaError::None;
}

MediaFile::MediaFile(std::shared_ptr<const InputFile> file, std::unique_ptr<Demuxer> demuxer,
                     std::shared_ptr<const FileDescription> description)
    : state_(std::make_shared<FileState>()),
      description_(std::move(description)),
      demuxer_(std::move(demuxer)) {
    state_->file = std::move(file);
    for (const StreamDescription& stream : description_->streams) {
        ownStreams_.push_back(std::make_shared<AudioStream>(state_, stream));
        streams_.push_back(ownStreams_.back());
    }
}

MediaFile::~MediaFile() {
    state_->file = nullptr;
    demuxer_ = nullptr;
}

int MediaFile::Prepare() {
    try {
        return static_cast<int>(FindIndex());
    } catch (const std::bad_alloc&) {
        return static_cast<int>(MediaError::OutOfMemory);
    }
}

MediaError MediaFile::FindIndex() {
    if (index_ != nullptr) return MediaError::None;
    const MediaError error = SharedIndexOf(
        state_->file->Identity(), [this] { return state_->file->IsInterrupted(); },
        [this](FileIndex* index) {
            if (demuxer_ == nullptr) {
                const MediaError opened = Demuxer::Open(state_->file, &demuxer_);
                if (opened != MediaError::None) return opened;
            }
            const MediaError indexed = IndexFile(state_->file, std::move(demuxer_), index);
            reason_ = index->reason;
            return indexed;
        },
        &index_);
    demuxer_ = nullptr;
    if (error != MediaError::None) return error;
    for (const auto& stream : ownStreams_) {
        if (auto index = index_->Find(stream->Number())) stream->SetIndex(std::move(index));
    }
    return MediaError::None;
}

std::shared_ptr<AudioStream> MediaFile::OwnAudioStream(int index) const {
    for (const auto& stream : ownStreams_) {
        if (stream->StreamType() == 0 && index-- == 0) return stream;
    }
    return nullptr;
}

std::shared_ptr<ZRAbstractAudioStream> MediaFile::ChosenSound(const SoundChoice& choice) {
    if (choice.kind == SoundChoice::Kind::Downmix) {
        auto stream = OwnAudioStream(choice.left.stream);
        if (stream == nullptr) return nullptr;
        return std::make_shared<DownmixedStream>(std::move(stream));
    }
    ChosenChannels channels;
    for (const auto& [place, side] :
         {std::pair(&choice.left, &channels.left), std::pair(&choice.right, &channels.right)}) {
        if (place->channel == 0) continue;
        *side = {OwnAudioStream(place->stream), place->channel};
        if (side->stream == nullptr) return nullptr;
    }
    if (channels.First() == nullptr) return nullptr;
    return std::make_shared<ChosenStream>(std::move(channels));
}

}  // namespace detail

int ZRMediaFileCreate(const wchar_t* path, ZRAbstractMediaFile** file, ZRMediaReaderType) {
    if (path == nullptr || file == nullptr) return static_cast<int>(MediaError::InvalidArgument);
    if (detail::Factory()) return detail::Factory()(path, file);
    try {
        return static_cast<int>(detail::MediaFile::Open(path, file));
    } catch (const std::bad_alloc&) {
        return static_cast<int>(MediaError::OutOfMemory);
    }
}

int ZRMediaFileRelease(ZRAbstractMediaFile* file) {
    delete file;
    return 0;
}

}  // namespace zrh::media
