// SPDX-License-Identifier: MIT
#include "sonrel/project/MediaVideoStream.h"

#include <cmath>
#include <stdexcept>

namespace orlo::project {

MediaVideoStream::MediaVideoStream(double frameRate, int frameCount)
    : frameRate_(frameRate), frameCount_(frameCount) {
    if (!std::isfinite(frameRate) || frameRate <= 0.0) {
        throw std::invalid_argument("a frame rate must be a finite number above 0");
    }
    if (frameCount < 0) throw std::invalid_argument("a frame count must not be negative");
}

double MediaVideoStream::FrameRate() const {
    return frameRate_;
}
int MediaVideoStream::FrameCount() const {
    return frameCount_;
}

}  // namespace orlo::project
