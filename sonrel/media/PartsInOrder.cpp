// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/PartsInOrder.h"

#include <algorithm>
#include <system_error>

namespace zrh::media::detail {
namespace {

/// Parts for each thread that are decoded or wait for the caller of Next.
constexpr std::size_t SLOTS_PER_THREAD = 2;
/// The part that the caller of Next uses.
constexpr std::size_t SLOTS_OF_CALLER = 1;

}  // namespace

PartsInOrder::PartsInOrder(const std::shared_ptr<const InputFile>& file,
                           const std::shared_ptr<const StreamIndex>& index, CursorMode mode,
                           std::int64_t firstPart, int threads)
    : slots_(SLOTS_OF_CALLER + SLOTS_PER_THREAD * static_cast<std::size_t>(threads)),
      requested_(firstPart),
      next_(firstPart),
      released_(firstPart),
      end_(PacketParts(index).Count()) {
    for (int i = 0; i < std::max(threads, 1); ++i) {
        decoders_.push_back(std::make_unique<PartDecoder>(file, index, mode));
    }
    StartThreads(threads);
}

PartsInOrder::~PartsInOrder() {
    Stop();
}

void PartsInOrder::Stop() {
    {
        const std::lock_guard lock(mutex_);
        end_ = 0;
    }
    changed_.notify_all();
}

/// A system that refuses some of the threads makes the decoding slower only.
void PartsInOrder::StartThreads(int count) {
    try {
        for (int i = 0; i < count; ++i) {
            PartDecoder& decoder = *decoders_[static_cast<std::size_t>(i)];
            threads_.emplace_back([this, &decoder] { Work(decoder); });
        }
    } catch (const std::system_error&) {
    } catch (...) {
        Stop();
        throw;
    }
}

void PartsInOrder::Work(PartDecoder& decoder) {
    std::int64_t part = 0;
    while (Claim(&part)) {
        decoder.Decode(part, &SlotOf(part).part);
        Deliver(part);
    }
}

/// Takes the next part when there is room for it. @return false when none is left
bool PartsInOrder::Claim(std::int64_t* part) {
    std::unique_lock lock(mutex_);
    const auto room = static_cast<std::int64_t>(slots_.size());
    changed_.wait(lock, [&] { return next_ >= end_ || next_ < released_ + room; });
    if (next_ >= end_) return false;
    *part = next_++;
    return true;
}

void PartsInOrder::Deliver(std::int64_t part) {
    Slot& slot = SlotOf(part);
    {
        const std::lock_guard lock(mutex_);
        slot.isDecoded = true;
        const bool failed = slot.part.error != MediaError::None || slot.part.exception != nullptr;
        if (failed) end_ = std::min(end_, part + 1);
    }
    changed_.notify_all();
}

/// Waits for a part, and allows the part before it to be replaced.
void PartsInOrder::Await(std::int64_t part) {
    std::unique_lock lock(mutex_);
    released_ = part;
    changed_.notify_all();
    Slot& slot = SlotOf(part);
    changed_.wait(lock, [&] { return slot.isDecoded; });
    slot.isDecoded = false;
}

const DecodedPart& PartsInOrder::Next() {
    const std::int64_t number = requested_++;
    DecodedPart& part = SlotOf(number).part;
    if (threads_.empty()) {
        decoders_.front()->Decode(number, &part);
    } else {
        Await(number);
    }
    if (part.exception != nullptr) std::rethrow_exception(part.exception);
    return part;
}

}  // namespace zrh::media::detail
