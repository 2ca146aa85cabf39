// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "sonrel/media/detail/PartDecoder.h"

namespace zrh::media::detail {

/// Decodes the parts of a stream on threads and returns them in order. Without threads each part is
/// decoded when it is requested.
///
/// A thread takes the next part. It waits while twice as many parts as threads are decoded or
/// waiting, which bounds the memory. After a part that failed no further part is decoded.
///
/// Threads: one at a time.
class PartsInOrder {
public:
    /// @param firstPart  the first part that Next returns
    /// @param threads    at most 1 in Straight mode; 0 decodes on the calling thread
    PartsInOrder(const std::shared_ptr<const InputFile>& file,
                 const std::shared_ptr<const StreamIndex>& index, CursorMode mode,
                 std::int64_t firstPart, int threads);
    /// Stops the threads.
    ~PartsInOrder();
    PartsInOrder(const PartsInOrder&) = delete;
    PartsInOrder& operator=(const PartsInOrder&) = delete;

    /// Returns the next part, valid until the next call. Do not call it after the last part or
    /// after a part with an error.
    /// @throws the exception of the part
    const DecodedPart& Next();

private:
    /// A place for a part, used again for a later part.
    struct Slot {
        DecodedPart part;
        bool isDecoded = false;  // guarded by mutex_
    };

    Slot& SlotOf(std::int64_t part) {
        return slots_[static_cast<std::size_t>(part) % slots_.size()];
    }
    void StartThreads(int count);
    void Stop();
    void Work(PartDecoder& decoder);
    bool Claim(std::int64_t* part);
    void Deliver(std::int64_t part);
    void Await(std::int64_t part);

    std::vector<std::unique_ptr<PartDecoder>> decoders_;  ///< one for each thread, at least one
    std::vector<Slot> slots_;
    std::int64_t requested_;  ///< the part that Next returns

    std::mutex mutex_;  ///< guards the members below
    std::condition_variable changed_;
    std::int64_t next_;                  ///< the next part to decode
    std::int64_t released_;              ///< the parts before are no longer used
    std::int64_t end_;                   ///< no part from here on is decoded
    std::vector<std::jthread> threads_;  ///< last: they use the members above
};

}  // namespace zrh::media::detail
