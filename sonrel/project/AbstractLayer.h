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
struct CompositionAssetImpl;
struct LayerImpl;

/// The state that every layer has, whether it shows an asset or not.
class SONREL_EXPORT LayerBase {
public:
    LayerBase();
    /// Copies the properties and shares the effects. The copy has the same identity and belongs to
    /// no composition.
    LayerBase(LayerBase const& source);
    LayerBase& operator=(LayerBase const&) = delete;
    virtual ~LayerBase();

protected:
    friend struct CompositionAssetImpl;

    std::unique_ptr<LayerImpl> impl_;  ///< the state of the layer
};

/// A layer of a composition. It covers the frames from StartFrame, inclusive, to EndFrame,
/// exclusive.
class SONREL_EXPORT AbstractLayer : public LayerBase, public AbstractAssetInstance {
public:
    AbstractLayer() = default;
    AbstractLayer(AbstractLayer const& source, int = 0);  ///< as LayerBase
    ~AbstractLayer() override;

    zrtl::ZRID const& ID() const;  ///< the identity of the layer
    int StartFrame() const;        ///< inclusive
    int EndFrame() const;          ///< exclusive
    /// Milliseconds on the clock of the composition: RoundHalfAway(StartFrame / FrameRate * 1000);
    /// 0 for a layer without a composition.
    int StartTime(AssetList const& assets) const;
    /// The composition that contains the layer, or an empty pointer.
    std::shared_ptr<CompositionAsset> ParentComposition(AssetList const& assets) const;
    /// The properties of the layer: "audioLevel" (float, dB) and "speed" (double).
    PropertyManager& Animation();
    bool IsMuted() const;  ///< whether the layer is silent
    /// An invisible layer is silent.
    bool IsVisible() const;

    /// 0 for a layer that shows an asset; a layer of any other type is silent.
    virtual int LayerType() const = 0;
    /// False: the layer is silent.
    virtual bool HasAudio() const = 0;
    /// Effects of any kind, in chain order.
    virtual ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges>&
    Effects() = 0;

    /// @throws std::invalid_argument when the range is empty or begins below 0
    void SetRange(int startFrame, int endFrame);
    void SetMuted(bool muted);      ///< a muted layer is silent
    void SetVisible(bool visible);  ///< an invisible layer is silent
    /// Appends an effect of this plugin. @throws std::invalid_argument as EffectInstance
    std::shared_ptr<EffectInstance> AddEffect(std::shared_ptr<AbstractPlugin> plugin);
};

/// A layer with a picture and without sound.
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
