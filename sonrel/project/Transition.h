// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"
#include "sonrel/plugins/AbstractPluginInstance.h"

namespace orlo::project {

class SequenceObjectList;
struct TransitionImpl;

/// A transition between two neighbouring objects of a track. A null identity means silence in place
/// of an object.
class SONREL_EXPORT Transition : public AbstractPluginInstance {
public:
    /// @param plugin              an AbstractPluginAudioTransition, never empty
    /// @param from                the object that ends
    /// @param to                  the object that begins
    /// @param length              frames, above 0
    /// @param relativeStartFrame  frames from the join: from the start frame of the object that is
    ///                            entered, from the end frame of the object that is left
    /// @throws std::invalid_argument for an empty plugin, a plugin of another class, or a length
    ///         below 1
    Transition(std::shared_ptr<AbstractPlugin> plugin, zrtl::ZRID const& from, zrtl::ZRID const& to,
               int length, int relativeStartFrame);
    /// Shares the plugin and has the same identity.
    Transition(Transition& source, int = 0);
    Transition& operator=(Transition const&) = delete;
    ~Transition() override;

    zrtl::ZRID const& ID() const override;
    std::shared_ptr<AbstractPlugin> Plugin() override;

    int Length() const;                    ///< frames
    int RelativeStartFrame() const;        ///< frames from the join
    zrtl::ZRID const& FromObject() const;  ///< the object that ends
    zrtl::ZRID const& ToObject() const;    ///< the object that begins

private:
    std::unique_ptr<TransitionImpl> impl_;
};

/// Joins two objects of one track with a transition: outgoing of @p from, incoming of @p to.
/// @throws std::invalid_argument when the list does not contain two such objects, and as Transition
SONREL_EXPORT std::shared_ptr<Transition> JoinWithTransition(SequenceObjectList& objects,
                                                             zrtl::ZRID const& from,
                                                             zrtl::ZRID const& to,
                                                             std::shared_ptr<AbstractPlugin> plugin,
                                                             int length, int relativeStartFrame);

}  // namespace orlo::project
