// SPDX-License-Identifier: MIT
#include "sonrel/media/index/IndexCache.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <utility>

#include "sonrel/media/index/SweptMap.h"

namespace zrh::media::detail {
namespace {

/// The entry of one file, shared by the readers that open it at the same time.
struct Slot {
    std::mutex mutex;
    std::condition_variable turnEnded;
    bool isTaken = false;                  ///< a BuildTurn exists; guarded by `mutex`
    std::weak_ptr<const FileIndex> index;  ///< accessed with a BuildTurn only
    int holders = 0;                       ///< guarded by `slotsMutex`
};

std::mutex slotsMutex;
SweptMap<FileIdentity, Slot>& Slots() {
    static auto* slots = new SweptMap<FileIdentity, Slot>;
    return *slots;
}

/// The indexes that were built last. A file is often examined, released and read soon after, and
/// need not be indexed twice.
class RecentIndexes {
public:
    void Keep(std::shared_ptr<const FileIndex> index) {
        packets_ += PacketsOf(*index);
        indexes_.push_back(std::move(index));
        while (packets_ > MAX_PACKETS) {
            packets_ -= PacketsOf(*indexes_.front());
            indexes_.pop_front();
        }
    }

private:
    /// 16 MB of packets.
    static constexpr std::int64_t MAX_PACKETS = 1 << 20;

    /// An index needs memory besides its packets: it counts as 64 packets more.
    static std::int64_t PacketsOf(const FileIndex& index) {
        std::int64_t packets = 64;
        for (const auto& stream : index.streams) packets += stream->packets.PacketCount();
        return packets;
    }

    std::deque<std::shared_ptr<const FileIndex>> indexes_;
    std::int64_t packets_ = 0;
};

/// Guarded by `slotsMutex`; never destroyed, like the slots.
RecentIndexes& Recent() {
    static auto* indexes = new RecentIndexes;
    return *indexes;
}

/// Keeps the slot of a file from being removed.
class SlotHold {
public:
    explicit SlotHold(const FileIdentity& identity) {
        const std::lock_guard lock(slotsMutex);
        slot_ = &Slots().At(
            identity, [](const Slot& slot) { return slot.holders == 0 && slot.index.expired(); });
        ++slot_->holders;
    }
    ~SlotHold() {
        const std::lock_guard lock(slotsMutex);
        --slot_->holders;
    }
    SlotHold(const SlotHold&) = delete;
    SlotHold& operator=(const SlotHold&) = delete;

    Slot& operator*() const { return *slot_; }

private:
    Slot* slot_;
};

/// The right to use and build the index of a slot. One thread has it at a time.
class BuildTurn {
public:
    /// Waits for the other threads.
    BuildTurn(Slot& slot, const std::function<bool()>& isInterrupted) : slot_(slot) {
        std::unique_lock lock(slot_.mutex);
        const auto isFree = [this] { return !slot_.isTaken; };
        while (!slot_.turnEnded.wait_for(lock, POLL_INTERVAL, isFree)) {
            if (isInterrupted()) return;
        }
        slot_.isTaken = true;
        isMine_ = true;
    }
    ~BuildTurn() {
        if (!isMine_) return;
        {
            const std::lock_guard lock(slot_.mutex);
            slot_.isTaken = false;
        }
        slot_.turnEnded.notify_one();
    }
    BuildTurn(const BuildTurn&) = delete;
    BuildTurn& operator=(const BuildTurn&) = delete;

    /// False when the wait was interrupted.
    bool IsMine() const { return isMine_; }

private:
    static constexpr std::chrono::milliseconds POLL_INTERVAL{50};

    Slot& slot_;
    bool isMine_ = false;
};

}  // namespace

MediaError SharedIndexOf(const FileIdentity& identity, const std::function<bool()>& isInterrupted,
                         const std::function<MediaError(FileIndex* index)>& make,
                         std::shared_ptr<const FileIndex>* index) {
    // Tested before the index is built: the index of a file that may still change unnoticed is not
    // kept.
    const bool isSettled = orlo::files::IsSettled(identity);
    const SlotHold hold(identity);
    Slot& slot = *hold;
    const BuildTurn turn(slot, isInterrupted);
    if (!turn.IsMine()) return MediaError::Cancelled;
    *index = slot.index.lock();
    if (*index != nullptr) return MediaError::None;
    auto made = std::make_shared<FileIndex>();
    const MediaError error = make(made.get());
    if (error != MediaError::None) return error;
    slot.index = made;
    if (isSettled) {
        const std::lock_guard slotsLock(slotsMutex);
        Recent().Keep(made);
    }
    *index = std::move(made);
    return MediaError::None;
}

}  // namespace zrh::media::detail
