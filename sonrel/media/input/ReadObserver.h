// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "sonrel/base/Export.h"

namespace zrh::media {

/// Thrown by GetSamples after an observer or an InterruptScope requested to stop.
class SONREL_EXPORT ReadCancelled : public std::runtime_error {
public:
    ReadCancelled() : std::runtime_error("the reading was cancelled") {}
};

/// Thrown by GetSamples of a watched stream after a watched file could not be read.
class SONREL_EXPORT ReadFailed : public std::runtime_error {
public:
    ReadFailed() : std::runtime_error("the media file could not be read") {}
};

/// Thrown by GetSamples of a stream that needs more silence than the limit allows; its text is the
/// reason with both numbers, as a clause.
class SONREL_EXPORT SilenceRefused : public std::runtime_error {
public:
    explicit SilenceRefused(const std::string& reason) : std::runtime_error(reason) {}  ///< reason
};

namespace detail {
class ReadMonitor;
}

/// Watches the reading of the media files that this thread opens during the lifetime of the
/// observer, on all threads that read them. With it a host reports the progress of work that has no
/// progress function, like PeakFile::Create, and stops it.
///
/// The function is called on the reading threads, one call at a time, with the frames that all
/// watched files have delivered: at the first samples of each stream and then once for every 65536
/// of its frames. After the function returned false it is not called again, and at the next of
/// these times each stream throws ReadCancelled instead of reading.
///
/// A watched file that cannot be read never counts as silence: from the first failed read on,
/// GetSamples of every watched stream throws ReadFailed instead of returning a result, and Failure
/// returns the reason. A read fails when the system refuses it, when the file has become shorter
/// since it was opened, and when the samples that the preparation found are not found again. Damage
/// that the preparation found is not a failure and is read as usual until the silence for it
/// exceeds its limit; then the stream throws SilenceRefused and the others throw ReadFailed.
///
/// If a thread has several observers, the last one watches. Destroy them in reverse order, on the
/// thread that made them. No function is called after that.
class SONREL_EXPORT ReadObserver {
public:
    using Function = std::function<bool(long long doneFrames)>;  ///< returns false to stop

    explicit ReadObserver(Function function);  ///< observes from now on
    ~ReadObserver();
    ReadObserver(const ReadObserver&) = delete;
    ReadObserver& operator=(const ReadObserver&) = delete;

    /// The reason of the first failed read, as a clause without the name of the file; empty when
    /// every read succeeded. Any thread.
    std::string Failure() const;

private:
    std::shared_ptr<detail::ReadMonitor> monitor_;
    std::shared_ptr<detail::ReadMonitor> outer_;
};

}  // namespace zrh::media
