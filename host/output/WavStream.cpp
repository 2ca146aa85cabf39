// SPDX-License-Identifier: MIT
#include "host/output/WavStream.h"

#include "host/output/StandardOutput.h"
#include "sonrel/base/StereoFrame.h"
#include "sonrel/base/WavHeader.h"

namespace orlo::host {

WavStream::WavStream(int rate, long long frames) : stream_(OpenStandardOutput()) {
    stream_.Write(zrtl::WavHeader(zrtl::WavFormatFor(frames), rate, frames));
}

void WavStream::Write(const short* frames, long long count) {
    stream_.Write({reinterpret_cast<const char*>(frames),
                   static_cast<std::size_t>(count * zrtl::FRAME_BYTES)});
}

}  // namespace orlo::host
