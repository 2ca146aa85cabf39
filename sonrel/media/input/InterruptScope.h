// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

#include "sonrel/base/Export.h"

namespace zrh::media {

namespace detail {
class InterruptFlag;
}

/// Lets a host stop the opening, the preparation and the reading of media files.
///
/// A scope applies to the media files that this thread opens during the lifetime of the scope, on
/// all threads that read them. The function is called on those threads, one call at a time, before
/// each read of a file and before each packet is decoded: at most 0.2 s pass between two calls,
/// except during a system call. The function must return quickly and must not throw.
///
/// After it returned true the function is not called again, and every operation on those files ends
/// early: ZRMediaFileCreate, Prepare and Convert return MediaError::Cancelled, and GetSamples
/// throws ReadCancelled.
///
/// If a thread has several scopes, the last applies. Destroy them in reverse order, on the thread
/// that made them. The function is not called after that.
class SONREL_EXPORT InterruptScope {
public:
    /// @return true to stop
    using Function = std::function<bool()>;

    explicit InterruptScope(Function isInterrupted);  ///< begins the scope
    ~InterruptScope();
    InterruptScope(const InterruptScope&) = delete;
    InterruptScope& operator=(const InterruptScope&) = delete;

private:
    std::shared_ptr<detail::InterruptFlag> flag_;
    std::shared_ptr<detail::InterruptFlag> outer_;
};

}  // namespace zrh::media
