// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::project {

/// A range of samples in object position: counted from the first sample of the object on its
/// timeline.
struct SampleRange {
    long long first = 0;         ///< first sample of the range
    long long endExclusive = 0;  ///< after the last sample
};

}  // namespace orlo::project
