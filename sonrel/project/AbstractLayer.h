// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"
#include "sonrel/base/ListChangeObserver.h"
#include "sonrel/base/ZRID.h"
#include "sonrel/plugins/EffectInstance.h"
#include "sonrel/plugins/PropertyManager.h"
#include "sonrel/project/AbstractAssetInstance.h"

namespace orlo::project {

class AssetList;
class CompositionAsset;

/// What every layer has, whether it shows an asset or not.
class SONREL_EXPORT LayerBase {
public:
    LayerBase();
    /// Properties are copied and effects are shared. The copy has the same identity and belongs to
    /// no composition.
    LayerBase(LayerBase const& source);
    LayerBase& operator=(LayerBase const&) = delete;
    virtual ~LayerBase();

protected:
    friend class CompositionAsset;

    zrtl::ZRID id_;
    int startFrame_ = 0;
    int endFrame_ = 0;
    PropertyManager animation_;
    ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges> effects_;
    bool muted_ = false;
    bool visible_ = true;
    zrtl::ZRID parent_;
    /// How many compositions of that identity hold the layer: one, and its copies.
    int holders_ = 0;
};

/// A layer of a composition. It covers the frames from StartFrame, inclusive, to EndFrame,
/// exclusive.
class SONREL_EXPORT AbstractLayer : public LayerBase, public AbstractAssetInstance {
public:
    AbstractLayer() = default;
    AbstractLayer(AbstractLayer const& source, int = 0);
    ~AbstractLayer() override;

    zrtl::ZRID const& ID() const;
    int StartFrame() const;
    int EndFrame() const;
    /// Milliseconds on the composition's clock: RoundHalfAway(StartFrame / FrameRate * 1000);
    /// 0 for a layer without a composition.
    int StartTime(AssetList const& assets) const;
    /// The composition that holds the layer, or an empty pointer.
    std::shared_ptr<CompositionAsset> ParentComposition(AssetList const& assets) const;
    /// The layer's properties: "audioLevel" (float, dB) and "speed" (double).
    PropertyManager& Animation();
    bool IsMuted() const;
    /// An invisible layer does not sound.
    bool IsVisible() const;

    /// 0 for a layer that shows an asset; any other does not sound.
    virtual int LayerType() const = 0;
    /// False: the layer does not sound.
    virtual bool HasAudio() const = 0;
    /// Effects of any kind, in chain order.
    virtual ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges>&
    Effects() = 0;

    /// @throws std::invalid_argument when the range is empty or begins below 0
    void SetRange(int startFrame, int endFrame);
    void SetMuted(bool muted);
    void SetVisible(bool visible);
    /// Appends an effect of this plugin. @throws std::invalid_argument as EffectInstance
    std::shared_ptr<EffectInstance> AddEffect(std::shared_ptr<AbstractPlugin> plugin);
};

/// A layer that only draws.
class SONREL_EXPORT PictureLayer : public AbstractLayer {
public:
    PictureLayer() = default;
    ~PictureLayer() override;

    int LayerType() const override { return 1; }
    bool HasAudio() const override { return false; }
    ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges>& Effects()
        override;
    int SourceStartFrame() const override { return 0; }
    std::shared_ptr<AbstractAsset> Asset(AssetList const&) const override { return nullptr; }
};

}  // namespace orlo::project
