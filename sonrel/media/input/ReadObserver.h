// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "sonrel/base/Export.h"

namespace zrh::media {

/// What GetSamples throws once an observer or an InterruptScope asked to stop.
class SONREL_EXPORT ReadCancelled : public std::runtime_error {
public:
    ReadCancelled() : std::runtime_error("the reading was cancelled") {}
};

/// Thrown by GetSamples of a watched stream once a watched file could not be read.
class SONREL_EXPORT ReadFailed : public std::runtime_error {
public:
    ReadFailed() : std::runtime_error("the media file could not be read") {}
};

/// Thrown by GetSamples of a stream that needs more silence than the limit allows; its text is the
/// reason with both numbers, as a clause.
class SONREL_EXPORT SilenceRefused : public std::runtime_error {
public:
    explicit SilenceRefused(const std::string& reason) : std::runtime_error(reason) {}
};

namespace detail {
class ReadMonitor;
}

/// Watches what is read of the media files that this thread opens while the observer lives,
/// whatever threads read them. It is how a host follows and stops work that has no way to tell how
/// far it is, as the making of peak files.
///
/// The function is called on the reading threads, one call at a time, with the frames that all the
/// files have delivered since: at a stream's first samples and once for every 65536 of its frames
/// from then on. Once it returns false it is not called any more, and from the next of these times
/// on each stream throws ReadCancelled instead of reading.
///
/// A watched file that cannot be read is never silence: from its first failed read on, GetSamples
/// of every watched stream throws ReadFailed, whatever it would have returned, and Failure returns
/// the reason. A read fails when the system refuses it, when the file has become shorter since it
/// was opened, and when the samples that its preparation found are not found again. Damage that the
/// preparation found is no failure and reads as it always does, until the silence for it exceeds
/// its limit: then the stream throws SilenceRefused, the others ReadFailed.
///
/// Of several observers on one thread the one made last watches. They are destroyed in reverse
/// order, on the thread that made them; from then on nothing is called.
class SONREL_EXPORT ReadObserver {
public:
    using Function = std::function<bool(long long doneFrames)>;

    explicit ReadObserver(Function function);
    ~ReadObserver();
    ReadObserver(const ReadObserver&) = delete;
    ReadObserver& operator=(const ReadObserver&) = delete;

    /// Why the first failed read failed, as a clause without the name of the file; empty when every
    /// read succeeded. Any thread.
    std::string Failure() const;

private:
    std::shared_ptr<detail::ReadMonitor> monitor_;
    std::shared_ptr<detail::ReadMonitor> outer_;
};

}  // namespace zrh::media
