// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"

namespace orlo::project {

struct MediaVideoStreamImpl;

/// The video stream of a media asset.
class SONREL_EXPORT MediaVideoStream {
public:
    /// @param frameRate   frames a second, finite and above 0
    /// @param frameCount  0 or more
    /// @throws std::invalid_argument otherwise
    MediaVideoStream(double frameRate, int frameCount);
    MediaVideoStream(MediaVideoStream const& source);  ///< copies rate and length
    MediaVideoStream& operator=(MediaVideoStream const&) = delete;
    ~MediaVideoStream();

    double FrameRate() const;  ///< frames a second
    int FrameCount() const;    ///< length in frames

private:
    std::unique_ptr<MediaVideoStreamImpl> impl_;
};

}  // namespace orlo::project
