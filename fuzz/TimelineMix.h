// SPDX-License-Identifier: MIT
#pragma once

#include "fuzz/Support.h"
#include "host/arrangement/TimelineImport.h"

namespace sonrel_fuzz {

/// Mixes a few video frames of a timeline and of one of its nested items. All clips show a short
/// recording or are silent, whatever media they name.
void MixSomeOf(orlo::host::otio::TimelineImport& import, Choices& choices);

}  // namespace sonrel_fuzz
