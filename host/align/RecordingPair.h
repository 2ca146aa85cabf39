// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sonrel/base/FrameRange.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/project/MediaAsset.h"
#include "sonrel/sync/AudioSync.h"
#include "sonrel/sync/LevelProfile.h"

namespace orlo::host {

using zrtl::FrameRange;

/// A recording that is ready to be compared (conformed, and with its peak file), unless it has an
/// error.
struct Recording {
    std::string input;  ///< the name on the command line
    std::string path;   ///< absolute
    std::shared_ptr<project::MediaAsset> asset;
    sonrel::LevelProfile levels;
    std::string error;  ///< why it cannot be compared; empty when it can

    long long Frames() const { return asset->AudioStream()->ConformedSampleCount(); }
    bool HasPicture() const { return asset->HasVideo(); }
};

/// The result of a comparison at one place.
struct Measure {
    double correlation = 0.0;
    long long offset = 0;  ///< of the whole recordings: frame t of B matches frame t + offset of A
    FrameRange place;      ///< in B
    FrameRange compared;   ///< the part of place that A covers at this offset, in B
};

/// Two recordings and comparisons of their ranges. Offsets are in sample frames at the common rate.
class RecordingPair {
public:
    RecordingPair(std::shared_ptr<sonrel::Sonrel> engine, const Recording& a, const Recording& b,
                  int rate)
        : engine_(std::move(engine)), a_(a), b_(b), rate_(rate) {}

    const std::shared_ptr<sonrel::Sonrel>& Engine() const { return engine_; }
    const Recording& A() const { return a_; }
    const Recording& B() const { return b_; }
    int Rate() const { return rate_; }
    /// Whether A is the reference, whose ranges are searched for in the other recording. The
    /// reference is the shorter recording; B when both have the same length.
    bool ReferenceIsA() const { return a_.Frames() < b_.Frames(); }

    /// The part of B that overlaps with A.
    FrameRange OverlapAt(long long offset) const;

    /// The range of at most @p length frames in @p within where both are loudest.
    FrameRange LoudestRange(long long offset, const FrameRange& within, long long length) const;
    /// The product of both levels over a range of B; 0 when either recording is silent.
    double CommonLevel(long long offset, const FrameRange& place) const;

    /// Compares a range of B with A at an offset. Adds the resulting lag to the offset.
    Measure MeasureAt(long long offset, const FrameRange& place) const;

    /// Measures an offset again over the loudest range of the overlap, up to five seconds. Repeats
    /// the measurement from the new offset when the offset was so wrong that the ranges hardly
    /// overlapped.
    Measure Refine(long long offset) const;

    /// Measures at places of up to two seconds along the overlap, each the loudest of its part.
    /// Skips the parts in which both are silent; when one is silent, the correlation is 0.
    std::vector<Measure> MeasureAlong(long long offset) const;

private:
    std::shared_ptr<sonrel::Sonrel> engine_;
    const Recording& a_;
    const Recording& b_;
    int rate_;
};

}  // namespace orlo::host
