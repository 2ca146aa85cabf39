// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

namespace zrh::media {

class ConversionObserver;

namespace detail {

class InterruptFlag;
class ReadMonitor;

/// The innermost scope of each kind on one thread; null where the thread has none.
///
/// ZRMediaFileCreate, Prepare, GetSamples and Convert have no parameter for progress and
/// cancellation, so their callers set it for the thread. The library has no other thread-local
/// variable. Files and streams take over the scopes of the thread that opens them; a conversion
/// uses the observer of its own thread.
struct ThreadScopes {
    std::shared_ptr<InterruptFlag> interrupt;  ///< of the last InterruptScope
    std::shared_ptr<ReadMonitor> readMonitor;  ///< of the last ReadObserver
    ConversionObserver* conversion = nullptr;

    /// The scopes of the calling thread.
    static ThreadScopes& Current();
};

}  // namespace detail
}  // namespace zrh::media
