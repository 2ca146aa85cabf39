// SPDX-License-Identifier: MIT
#include "sonrel/standin/media/detail/MapRegistry.h"

#include <map>
#include <mutex>
#include <utility>

namespace zrh::media::detail {
namespace {

/// The place of one file, where readers that open it at the same time meet.
struct Place {
    std::mutex making;
    std::weak_ptr<const FileMap> map;  ///< of those who hold the place, under `making`
    int holders = 0;                   ///< under `placesMutex`
};

std::mutex placesMutex;
std::map<FileIdentity, Place>& Places() {
    static auto* places = new std::map<FileIdentity, Place>;
    return *places;
}

/// Keeps the place of a file from being forgotten.
class PlaceHold {
public:
    explicit PlaceHold(const FileIdentity& identity) {
        const std::lock_guard lock(placesMutex);
        // Files that nobody reads any longer are forgotten.
        std::erase_if(Places(), [](const auto& entry) {
            return entry.second.holders == 0 && entry.second.map.expired();
        });
        place_ = &Places()[identity];
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

}  // namespace

MediaError SharedMapOf(const FileIdentity& identity,
                       const std::function<MediaError(FileMap* map)>& make,
                       std::shared_ptr<const FileMap>* map) {
    const PlaceHold hold(identity);
    Place& place = *hold;
    const std::lock_guard lock(place.making);
    *map = place.map.lock();
    if (*map != nullptr) return MediaError::None;
    auto made = std::make_shared<FileMap>();
    const MediaError error = make(made.get());
    if (error != MediaError::None) return error;
    place.map = made;
    *map = std::move(made);
    return MediaError::None;
}

}  // namespace zrh::media::detail
