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

/// The place of one file, where readers that open it at the same time meet.
struct Place {
    std::mutex mutex;
    std::condition_variable turnEnded;
    bool isTaken = false;                ///< a MakersTurn exists; under `mutex`
    std::weak_ptr<const FileIndex> map;  ///< of those who hold the place, for the MakersTurn
    int holders = 0;                     ///< under `placesMutex`
};

std::mutex placesMutex;
SweptMap<FileIdentity, Place>& Places() {
    static auto* places = new SweptMap<FileIdentity, Place>;
    return *places;
}

/// The maps that were made last. A file is often looked at, let go and read soon after: its map
/// need not be made twice.
class LastMaps {
public:
    void Keep(std::shared_ptr<const FileIndex> map) {
        packets_ += PacketsOf(*map);
        maps_.push_back(std::move(map));
        while (packets_ > MAX_PACKETS) {
            packets_ -= PacketsOf(*maps_.front());
            maps_.pop_front();
        }
    }

private:
    /// 16 MB.
    static constexpr std::int64_t MAX_PACKETS = 1 << 20;

    /// A map takes more than its packets: none counts as nothing.
    static std::int64_t PacketsOf(const FileIndex& map) {
        std::int64_t packets = 64;
        for (const auto& stream : map.streams) packets += stream->packets.PacketCount();
        return packets;
    }

    std::deque<std::shared_ptr<const FileIndex>> maps_;
    std::int64_t packets_ = 0;
};

/// Under `placesMutex`; never destroyed, as the places.
LastMaps& TheLastMaps() {
    static auto* maps = new LastMaps;
    return *maps;
}

/// Keeps the place of a file from being forgotten.
class PlaceHold {
public:
    explicit PlaceHold(const FileIdentity& identity) {
        const std::lock_guard lock(placesMutex);
        place_ = &Places().At(
            identity, [](const Place& place) { return place.holders == 0 && place.map.expired(); });
        ++place_->holders;
    }
    ~PlaceHold() {
        const std::lock_guard lock(placesMutex);
        --place_->holders;
    }
    PlaceHold(const PlaceHold&) = delete;
    PlaceHold& operator=(const PlaceHold&) = delete;

    Place& operator*() const { return *place_; }

private:
    Place* place_;
};

/// The turn to look at the map of a place and to make it. One thread at a time has it.
class MakersTurn {
public:
    /// Waits for the turn.
    MakersTurn(Place& place, const std::function<bool()>& isInterrupted) : place_(place) {
        std::unique_lock lock(place_.mutex);
        const auto isFree = [this] { return !place_.isTaken; };
        while (!place_.turnEnded.wait_for(lock, ASKING_PERIOD, isFree)) {
            if (isInterrupted()) return;
        }
        place_.isTaken = true;
        isMine_ = true;
    }
    ~MakersTurn() {
        if (!isMine_) return;
        {
            const std::lock_guard lock(place_.mutex);
            place_.isTaken = false;
        }
        place_.turnEnded.notify_one();
    }
    MakersTurn(const MakersTurn&) = delete;
    MakersTurn& operator=(const MakersTurn&) = delete;

    /// False when the wait was interrupted.
    bool IsMine() const { return isMine_; }

private:
    static constexpr std::chrono::milliseconds ASKING_PERIOD{50};

    Place& place_;
    bool isMine_ = false;
};

}  // namespace

MediaError SharedMapOf(const FileIdentity& identity, const std::function<bool()>& isInterrupted,
                       const std::function<MediaError(FileIndex* map)>& make,
                       std::shared_ptr<const FileIndex>* map) {
    // Looked at before the map is made: what a file may still become without showing it is not
    // kept.
    const bool isSettled = orlo::files::IsSettled(identity);
    const PlaceHold hold(identity);
    Place& place = *hold;
    const MakersTurn turn(place, isInterrupted);
    if (!turn.IsMine()) return MediaError::Cancelled;
    *map = place.map.lock();
    if (*map != nullptr) return MediaError::None;
    auto made = std::make_shared<FileIndex>();
    const MediaError error = make(made.get());
    if (error != MediaError::None) return error;
    place.map = made;
    if (isSettled) {
        const std::lock_guard placesLock(placesMutex);
        TheLastMaps().Keep(made);
    }
    *map = std::move(made);
    return MediaError::None;
}

}  // namespace zrh::media::detail
