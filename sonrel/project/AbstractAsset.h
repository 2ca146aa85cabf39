// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"
#include "sonrel/base/ZRID.h"

namespace orlo::project {

/// A smaller copy of an asset's picture; not used for sound.
class AssetProxy;
/// A change of an asset's file; not used for sound.
struct NotificationState;

/// An asset: a media file or a composition that objects and layers show.
class SONREL_EXPORT AbstractAsset {
public:
    virtual ~AbstractAsset();

    virtual zrtl::ZRID const& ID() const = 0;
    /// 0 for a MediaAsset, any other value for a CompositionAsset.
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
