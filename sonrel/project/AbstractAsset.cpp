// SPDX-License-Identifier: MIT
#include "sonrel/project/AbstractAsset.h"

namespace orlo::project {

AbstractAsset::~AbstractAsset() = default;

bool AbstractAsset::HasAudioV2() const {
    return HasAudio();
}
bool AbstractAsset::HasVideoV2() const {
    return HasVideo();
}
void AbstractAsset::Sleep() {}
void AbstractAsset::Wake() {}
void AbstractAsset::SetProxy(std::shared_ptr<AssetProxy> const&) {}
std::shared_ptr<AssetProxy> AbstractAsset::Proxy() const {
    return nullptr;
}
void AbstractAsset::RespondToNotification(NotificationState const&) {}
void AbstractAsset::ProcessPixelDataChange() {}

}  // namespace orlo::project
