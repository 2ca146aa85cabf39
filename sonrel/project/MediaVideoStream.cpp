// SPDX-License-Identifier: MIT
#include "sonrel/project/MediaVideoStream.h"

#include <cmath>
#include <stdexcept>

namespace orlo::project {

struct MediaVideoStreamImpl {
    double frameRate = 0.0;
    int frameCount = 0;
};

MediaVideoStream::MediaVideoStream(double frameRate, int frameCount)
    : impl_(std::make_unique<MediaVideoStreamImpl>()) {
    if (!std::isfinite(frameRate) || frameRate <= 0.0) {
        throw std::invalid_argument("a frame rate must be a finite number above 0");
    }
    if (frameCount < 0) throw std::invalid_argument("a frame count must not be negative");
    impl_->frameRate = frameRate;
    impl_->frameCount = frameCount;
}

MediaVideoStream::MediaVideoStream(MediaVideoStream const& source)
    : impl_(std::make_unique<MediaVideoStreamImpl>(*source.impl_)) {}

MediaVideoStream::~MediaVideoStream() = default;

double MediaVideoStream::FrameRate() const {
    return impl_->frameRate;
}
int MediaVideoStream::FrameCount() const {
    return impl_->frameCount;
}

}  // namespace orlo::project
