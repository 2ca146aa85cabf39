// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"
#include "sonrel/base/ListChangeObserver.h"
#include "sonrel/base/ZRID.h"
#include "sonrel/plugins/EffectInstance.h"
#include "sonrel/plugins/PropertyManager.h"
#include "sonrel/project/AbstractAssetInstance.h"
#include "sonrel/project/Transition.h"

namespace orlo::project {

class EditorSequence;
struct SequenceObjectImpl;
struct SequenceObjectListImpl;

/// The state that every object on a track has, whether it shows an asset or not.
class SONREL_EXPORT SequenceObjectBase {
public:
    SequenceObjectBase();
    /// Copies the properties and shares effects and transitions. The copy has the same identity
    /// and is on no track.
    SequenceObjectBase(SequenceObjectBase const& source);
    SequenceObjectBase& operator=(SequenceObjectBase const&) = delete;
    virtual ~SequenceObjectBase();

protected:
    friend struct SequenceObjectListImpl;

    std::unique_ptr<SequenceObjectImpl> impl_;  ///< the state of the object
};

/// An object on a track. It covers the frames from StartFrame, inclusive, to EndFrame, exclusive.
class SONREL_EXPORT AbstractSequenceObject : public SequenceObjectBase,
                                             public AbstractAssetInstance {
public:
    AbstractSequenceObject() = default;
    AbstractSequenceObject(AbstractSequenceObject const& source, bool = false, int = 0);  ///< copy
    ~AbstractSequenceObject() override;

    zrtl::ZRID const& ID() const;  ///< the identity of the object
    int StartFrame() const;        ///< inclusive, of the sequence
    int EndFrame() const;          ///< exclusive
    /// Milliseconds on the clock of the sequence: RoundHalfAway(StartFrame / FrameRate * 1000).
    int StartTime(std::shared_ptr<EditorSequence> const& sequence) const;
    /// The properties of the object: "audioLevel" (float, dB) and "speed" (double).
    PropertyManager& Animation();
    /// Effects in chain order. The list refuses a plugin that is not an audio plugin.
    ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges>& Effects();
    std::shared_ptr<Transition> const& IncomingTransition() const;  ///< empty without one
    std::shared_ptr<Transition> const& OutgoingTransition() const;  ///< empty without one
    /// 0 for an object that shows an asset and can have sound.
    virtual int ObjectType() const = 0;

    /// Places the object.
    /// @throws std::invalid_argument when the range is empty or begins below 0, or when it would
    ///         overlap another object of the track
    void SetRange(int startFrame, int endFrame);
    /// Moves the object and keeps its length. @throws std::invalid_argument as SetRange
    void MoveTo(int startFrame);
    /// Appends an effect of this plugin.
    /// @throws std::invalid_argument when it is empty or not an audio plugin
    std::shared_ptr<EffectInstance> AddEffect(std::shared_ptr<AbstractPlugin> plugin);
    void SetIncomingTransition(std::shared_ptr<Transition> transition);  ///< empty: none
    void SetOutgoingTransition(std::shared_ptr<Transition> transition);  ///< empty: none
};

}  // namespace orlo::project
