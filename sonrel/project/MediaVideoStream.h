// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/base/Export.h"

namespace orlo::project {

/// The picture stream of a media asset.
class SONREL_EXPORT MediaVideoStream {
public:
    /// @param frameRate   frames a second, finite and above 0
    /// @param frameCount  0 or more
    /// @throws std::invalid_argument otherwise
    MediaVideoStream(double frameRate, int frameCount);

    double FrameRate() const;
    int FrameCount() const;

private:
    double frameRate_;
    int frameCount_;
};

}  // namespace orlo::project
