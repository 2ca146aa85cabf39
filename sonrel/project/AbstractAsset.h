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

    virtual zrtl::ZRID const& ID() const = 0;  ///< the identity of the asset
    /// 0 for a MediaAsset, any other value for a CompositionAsset.
    virtual int AssetType() const = 0;
    virtual bool HasAudio() const = 0;  ///< whether the asset has sound
    virtual bool HasVideo() const = 0;  ///< whether the asset has a picture

    virtual bool HasAudioV2() const;                                     ///< not used by the engine
    virtual bool HasVideoV2() const;                                     ///< not used by the engine
    virtual void Sleep();                                                ///< not used by the engine
    virtual void Wake();                                                 ///< not used by the engine
    virtual void SetProxy(std::shared_ptr<AssetProxy> const& proxy);     ///< not used by the engine
    virtual std::shared_ptr<AssetProxy> Proxy() const;                   ///< not used by the engine
    virtual void RespondToNotification(NotificationState const& state);  ///< not used by the engine
    virtual void ProcessPixelDataChange();                               ///< not used by the engine
};

}  // namespace orlo::project
