// SPDX-License-Identifier: MIT
#include "host/output/OutputStream.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <thread>
#include <utility>

#include "host/shell/Interrupt.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

/// Interval at which a wait polls for an interrupt.
constexpr std::chrono::milliseconds POLL_INTERVAL{50};

void CheckInterrupt(const std::string& label) {
    if (Interrupted()) ThrowInterrupted(Quoted(label) + " is not complete");
}

}  // namespace

OutputStream::OutputStream(const OutputTarget& target, std::string label)
    : label_(std::move(label)), blocks_(false) {
    const bool isPipe = target.kind == OutputTarget::Kind::Pipe;
    for (;;) {
        // A blocking open or write would not notice an interrupt that occurred just before it.
        descriptor_ = open(target.path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
        if (descriptor_ >= 0) return;
        CheckInterrupt(label_);
        const bool hasNoReader = isPipe && errno == ENXIO;
        if (!hasNoReader && errno != EINTR) ThrowWriteError(label_, errno);
        if (hasNoReader) std::this_thread::sleep_for(POLL_INTERVAL);
    }
}

OutputStream::OutputStream(int descriptor, std::string label)
    : label_(std::move(label)), descriptor_(descriptor), blocks_(true) {
    if (descriptor_ < 0) ThrowWriteError(label_, errno);
}

OutputStream::~OutputStream() {
    if (descriptor_ >= 0) close(descriptor_);
}

/// @return false after a time-out
bool OutputStream::WaitForRoom() const {
    pollfd waiting{descriptor_, POLLOUT, 0};
    return poll(&waiting, 1, static_cast<int>(POLL_INTERVAL.count())) > 0;
}

void OutputStream::Write(std::string_view bytes) {
    while (!bytes.empty()) {
        CheckInterrupt(label_);
        // A pipe with room takes this many bytes without blocking.
        if (blocks_ && !WaitForRoom()) continue;
        const std::size_t count =
            blocks_ ? std::min<std::size_t>(bytes.size(), PIPE_BUF) : bytes.size();
        const ssize_t written = write(descriptor_, bytes.data(), count);
        if (written > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (written < 0 && errno == EAGAIN) {
            WaitForRoom();
        } else if (written == 0 || errno != EINTR) {
            ThrowWriteError(label_, written < 0 ? errno : 0);
        }
    }
}

void OutputStream::Close() {
    if (close(std::exchange(descriptor_, -1)) != 0) ThrowWriteError(label_, errno);
}

}  // namespace orlo::host
