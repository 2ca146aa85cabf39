// SPDX-License-Identifier: MIT
#include "host/output/WavStream.h"

#include <fcntl.h>
#include <unistd.h>

#include "host/shell/Errors.h"
#include "sonrel/base/StereoFrame.h"
#include "sonrel/base/WavHeader.h"

namespace orlo::host {

WavStream::WavStream(int rate, long long frames)
    : stream_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0), STANDARD_OUTPUT) {
    stream_.Write(zrtl::WavHeader(zrtl::WavFormatFor(frames), rate, frames));
}

void WavStream::Write(const short* frames, long long count) {
    stream_.Write({reinterpret_cast<const char*>(frames),
                   static_cast<std::size_t>(count * zrtl::FRAME_BYTES)});
}

void CheckStandardOutput() {
    if (fcntl(STDOUT_FILENO, F_GETFD) < 0) {
        throw JobError("cannot write to standard output: it is closed");
    }
    if (isatty(STDOUT_FILENO) == 0) return;
    throw UsageError("-o - would write sound to the terminal; redirect standard output");
}

}  // namespace orlo::host
