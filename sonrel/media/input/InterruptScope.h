// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

#include "sonrel/base/Export.h"

namespace zrh::media {

namespace detail {
class InterruptFlag;
}

/// Lets a host stop the opening, the probing and the reading of media files.
///
/// It applies to the media files that this thread opens while the scope lives, on all threads that
/// read them. The function is called on those threads, one call at a time, before each read of a
/// file and before each packet is decoded, so that 0.2 s pass between two calls at most, except
/// inside one system call. It must return quickly and must not throw.
///
/// Once it returns true it is not called any more, and every operation on those files ends early:
/// ZRMediaFileCreate, Prepare and Convert return MediaError::Cancelled, and GetSamples throws
/// ReadCancelled.
///
/// Of several scopes on one thread the last one applies. They are destroyed in reverse order, on
/// the thread that made them; after that the function is not called.
class SONREL_EXPORT InterruptScope {
public:
    /// @return true to stop
    using Function = std::function<bool()>;

    explicit InterruptScope(Function isInterrupted);
    ~InterruptScope();
    InterruptScope(const InterruptScope&) = delete;
    InterruptScope& operator=(const InterruptScope&) = delete;

private:
    std::shared_ptr<detail::InterruptFlag> flag_;
    std::shared_ptr<detail::InterruptFlag> outer_;
};

}  // namespace zrh::media
