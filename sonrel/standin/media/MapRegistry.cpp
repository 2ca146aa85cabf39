// SPDX-License-Identifier: MIT
#include "sonrel/standin/media/detail/MapRegistry.h"

#include <map>
#include <mutex>
#include <utility>

namespace zrh::media::detail {
namespace {

/// The place of one file: held by everyone who asks for its map at the moment.
struct Place {
    std::mutex making;
    std::weak_ptr<const FileMap> map;
};

std::mutex placesMutex;
std::map<FileIdentity, std::shared_ptr<Place>>& Places() {
    static auto* places = new std::map<FileIdentity, std::shared_ptr<Place>>;
    return *places;
}

std::shared_ptr<Place> PlaceOf(const FileIdentity& identity) {
    const std::lock_guard lock(placesMutex);
    auto& places = Places();
    // Files that nobody reads any longer are forgotten.
    std::erase_if(places, [](const auto& entry) {
        return entry.second.use_count() == 1 && entry.second->map.expired();
    });
    std::shared_ptr<Place>& place = places[identity];
    if (place == nullptr) place = std::make_shared<Place>();
    return place;
}

}  // namespace

MediaError SharedMapOf(const FileIdentity& identity,
                       const std::function<MediaError(FileMap* map)>& make,
                       std::shared_ptr<const FileMap>* map) {
    const std::shared_ptr<Place> place = PlaceOf(identity);
    const std::lock_guard lock(place->making);
    *map = place->map.lock();
    if (*map != nullptr) return MediaError::None;
    auto made = std::make_shared<FileMap>();
    const MediaError error = make(made.get());
    if (error != MediaError::None) return error;
    place->map = made;
    *map = std::move(made);
    return MediaError::None;
}

}  // namespace zrh::media::detail
