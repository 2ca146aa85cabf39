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
struct MediaAssetImpl;

/// A media file with at most one audio and one video stream.
class SONREL_EXPORT MediaAsset : public AbstractAsset,
                                 public std::enable_shared_from_this<MediaAsset> {
public:
    /// @param manager   its locks are taken while cache files of this media file are made
    /// @param filename  full path of the media file
    MediaAsset(std::shared_ptr<orlo::project::MediaManager> const& manager, std::wstring filename);
    /// The copy has the same identity and its own copies of the streams.
    /// @param manager  the copy's manager; that of @p source when empty
    MediaAsset(MediaAsset const& source,
               std::weak_ptr<orlo::project::MediaManager> const& manager = {}, int = 0);
    MediaAsset& operator=(MediaAsset const&) = delete;
    ~MediaAsset() override;

    zrtl::ZRID const& ID() const override;  ///< the identity of the asset
    int AssetType() const override { return 0; }
    /// True when the asset has an audio stream.
    bool HasAudio() const override;
    /// True when the asset has a video stream.
    bool HasVideo() const override;

    /// Empty for an asset without sound; a read of it returns 0 samples.
    std::unique_ptr<MediaAudioStream> const& AudioStream() const;
    std::unique_ptr<MediaVideoStream> const& VideoStream() const;  ///< empty without a picture
    /// The index of the audio stream among the audio streams of the file, from 0.
    unsigned long long AudioStreamIndex() const;
    std::wstring Filename() const;  ///< full path of the media file
    /// True when the sound comes from a separate file.
    bool IsMerged() const;
    /// The separate file with the sound. It replaces Filename() for every audio purpose.
    std::wstring MergedAudioFilename() const;
    std::shared_ptr<orlo::project::MediaManager> MediaManager() const;  ///< empty when it is gone

    void SetAudioStream(std::unique_ptr<MediaAudioStream> stream);  ///< empty removes the sound
    void SetVideoStream(std::unique_ptr<MediaVideoStream> stream);  ///< empty removes the picture
    void SetAudioStreamIndex(unsigned long long index);             ///< or the number of a choice
    void SetMerged(std::wstring mergedAudioFilename);               ///< the sound is in this file
    void ClearMerged();  ///< the sound is in the media file

private:
    std::unique_ptr<MediaAssetImpl> impl_;
};

}  // namespace orlo::project
