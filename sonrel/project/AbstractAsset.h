// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"
#include "sonrel/base/ZRID.h"

namespace orlo::project {

/// A stand-in for an asset at another size; has no meaning for sound.
class AssetProxy;
/// What an asset hears of when its file changes; has no meaning for sound.
struct NotificationState;

/// A thing that can be placed on a timeline.
class SONREL_EXPORT AbstractAsset {
public:
    virtual ~AbstractAsset();

    virtual zrtl::ZRID const& ID() const = 0;
    /// 0 for a MediaAsset, anything else for a CompositionAsset.
    virtual int AssetType() const = 0;
    virtual bool HasAudio() const = 0;
    virtual bool HasVideo() const = 0;

    virtual bool HasAudioV2() const;
    virtual bool HasVideoV2() const;
    virtual void Sleep();
    virtual void Wake();
    virtual void SetProxy(std::shared_ptr<AssetProxy> const& proxy);
    virtual std::shared_ptr<AssetProxy> Proxy() const;
    virtual void RespondToNotification(NotificationState const& state);
    virtual void ProcessPixelDataChange();
};

}  // namespace orlo::project
