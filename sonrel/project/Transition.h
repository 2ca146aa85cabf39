// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"
#include "sonrel/plugins/AbstractPluginInstance.h"

namespace orlo::project {

class SequenceObjectList;

/// A transition between two neighbouring objects of a track, or from or to silence where an
/// identity is null.
class SONREL_EXPORT Transition : public AbstractPluginInstance {
public:
    /// @param plugin              an AbstractPluginAudioTransition, never empty
    /// @param from                the object that ends
    /// @param to                  the object that begins
    /// @param length              frames, above 0
    /// @param relativeStartFrame  frames from the join: from the start frame of the object that is
    ///                            entered, from the end frame of the object that is left
    /// @throws std::invalid_argument for an empty plugin, one of another class, or a length below 1
    Transition(std::shared_ptr<AbstractPlugin> plugin, zrtl::ZRID const& from, zrtl::ZRID const& to,
               int length, int relativeStartFrame);
    /// Shares the plugin and has the same identity.
    Transition(Transition& source, int = 0);
    Transition& operator=(Transition const&) = delete;
    ~Transition() override;

    zrtl::ZRID const& ID() const override;
    std::shared_ptr<AbstractPlugin> Plugin() override;

    int Length() const;
    int RelativeStartFrame() const;
    zrtl::ZRID const& FromObject() const;
    zrtl::ZRID const& ToObject() const;

private:
    zrtl::ZRID id_;
    std::shared_ptr<AbstractPlugin> plugin_;
    zrtl::ZRID from_;
    zrtl::ZRID to_;
    int length_;
    int relativeStartFrame_;
};

/// Joins two objects of one track with a transition: outgoing of the one, incoming of the other.
/// @throws std::invalid_argument when the list does not hold both or they are one, and as
///         Transition
SONREL_EXPORT std::shared_ptr<Transition> JoinWithTransition(SequenceObjectList& objects,
                                                             zrtl::ZRID const& from,
                                                             zrtl::ZRID const& to,
                                                             std::shared_ptr<AbstractPlugin> plugin,
                                                             int length, int relativeStartFrame);

}  // namespace orlo::project
