// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/base/Export.h"
#include "sonrel/project/AbstractAsset.h"
#include "sonrel/project/MediaAudioStream.h"
#include "sonrel/project/MediaVideoStream.h"

namespace orlo::project {

class MediaManager;

/// A media file with at most one audio and one video stream.
class SONREL_EXPORT MediaAsset : public AbstractAsset,
                                 public std::enable_shared_from_this<MediaAsset> {
public:
    /// @param manager   the manager whose locks the cache work on this file takes
    /// @param filename  full path of the media file
    MediaAsset(std::shared_ptr<orlo::project::MediaManager> const& manager, std::wstring filename);
    /// The copy has the same identity and its own copies of the streams.
    /// @param manager  the copy's manager; that of @p source when empty
    MediaAsset(MediaAsset const& source,
               std::weak_ptr<orlo::project::MediaManager> const& manager = {}, int = 0);
    MediaAsset& operator=(MediaAsset const&) = delete;
    ~MediaAsset() override;

    zrtl::ZRID const& ID() const override;
    int AssetType() const override { return 0; }
    /// True when there is an audio stream.
    bool HasAudio() const override;
    /// True when there is a video stream.
    bool HasVideo() const override;

    /// Empty for an asset without sound, which reads as 0 samples.
    std::unique_ptr<MediaAudioStream> const& AudioStream() const;
    std::unique_ptr<MediaVideoStream> const& VideoStream() const;
    /// Which audio stream of the file, counted among its audio streams, from 0.
    unsigned long long AudioStreamIndex() const;
    std::wstring Filename() const;
    /// The sound comes from a separate file.
    bool IsMerged() const;
    /// That file; it replaces Filename() for every audio purpose.
    std::wstring MergedAudioFilename() const;
    std::shared_ptr<orlo::project::MediaManager> MediaManager() const;

    void SetAudioStream(std::unique_ptr<MediaAudioStream> stream);
    void SetVideoStream(std::unique_ptr<MediaVideoStream> stream);
    void SetAudioStreamIndex(unsigned long long index);
    void SetMerged(std::wstring mergedAudioFilename);
    void ClearMerged();

private:
    zrtl::ZRID id_;
    std::weak_ptr<orlo::project::MediaManager> manager_;
    std::wstring filename_;
    std::unique_ptr<MediaAudioStream> audio_;
    std::unique_ptr<MediaVideoStream> video_;
    unsigned long long audioStreamIndex_ = 0;
    bool merged_ = false;
    std::wstring mergedAudioFilename_;
};

}  // namespace orlo::project
