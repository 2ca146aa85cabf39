// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "sonrel/plugins/SampleRange.h"
#include "sonrel/project.h"

namespace orlo::sonrel::detail {

using EffectList = project::ListChangeObserver<std::shared_ptr<project::EffectInstance>,
                                               project::ResponseDelegate::RecordChanges>;

/// The values that all effects of one render share. Positions count from the first sample of the
/// object on its timeline.
struct ChainContext {
    project::SampleRange request;     ///< the range that the caller of the render wants
    long long objectOffset = 0;       ///< minus the in-point
    double objectStartSeconds = 0.0;  ///< the object's start on its timeline
    int rate = 0;
    zrtl::ZRID stopAtEffect;  ///< the effect before which the chain ends; null runs all
};

/// Asks the effects, last to first, which input each needs.
///
/// The vector is a stack: its bottom is the range of the caller, each enabled audio effect pushes
/// the range that it needs of its input, and its top is the range to read from the source.
/// @param ranges  holds the request; receives one range for each effect that will run
/// @return length of the longest range, in samples
long long PlanEffectRanges(const ChainContext& context, const EffectList& effects,
                           std::vector<project::SampleRange>& ranges);

/// Whether the running walk looks at the kind of a plugin. An object's list holds audio effects
/// only; a layer's may hold others.
enum class KindTest { Skip, Apply };

/// Runs the effects, first to last, in place.
/// @param ranges   the stack of the plan; each effect that runs removes one range
/// @param samples  room for the longest range of the plan
void RunEffects(const ChainContext& context, const EffectList& effects, KindTest kindTest,
                std::vector<project::SampleRange>& ranges, std::vector<unsigned char>& samples);

}  // namespace orlo::sonrel::detail
