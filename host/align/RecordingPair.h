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

/// A recording that is ready to be compared, conformed and with its peak file, unless it has an
/// error.
struct Recording {
    std::string input;  ///< as it was named
    std::string path;   ///< absolute
    std::shared_ptr<project::MediaAsset> asset;
    sonrel::LevelProfile levels;
    std::string error;  ///< why it cannot be compared; empty where it can

    long long Frames() const { return asset->AudioStream()->ConformedSampleCount(); }
};

/// What a comparison at one place gave.
struct Measure {
    double correlation = 0.0;
    long long offset = 0;  ///< of the whole recordings: what B has at t, A has at t + offset
    FrameRange place;      ///< in B
    FrameRange compared;   ///< the part of it that has sound of A at this offset, in B
};

/// Two recordings, and comparisons of stretches of them. Offsets are in sample frames at the common
/// rate.
class RecordingPair {
public:
    RecordingPair(std::shared_ptr<sonrel::Sonrel> engine, const Recording& a, const Recording& b,
                  int rate)
        : engine_(std::move(engine)), a_(a), b_(b), rate_(rate) {}

    const std::shared_ptr<sonrel::Sonrel>& Engine() const { return engine_; }
    const Recording& A() const { return a_; }
    const Recording& B() const { return b_; }
    int Rate() const { return rate_; }
    /// Whether A is the recording that stretches are taken from and searched for in the other one:
    /// the shorter recording; B where both are equally long.
    bool ReferenceIsA() const { return a_.Frames() < b_.Frames(); }

    /// The part of B during which A runs too.
    FrameRange OverlapAt(long long offset) const;

    /// The stretch of at most @p length frames within @p within where both are loudest.
    FrameRange LoudestRange(long long offset, const FrameRange& within, long long length) const;
    /// The product of both levels over a stretch of B: 0 where either is silent.
    double CommonLevel(long long offset, const FrameRange& place) const;

    /// Compares a stretch of B with A at an offset. The lag found is added to the offset.
    Measure MeasureAt(long long offset, const FrameRange& place) const;

    /// Measures an offset once more, over up to five seconds of the overlap, where both are
    /// loudest; and again from there when it was so far off that the stretches hardly met.
    Measure Refine(long long offset) const;

    /// Measures at places of up to two seconds along the overlap, each the loudest of its part.
    /// Parts in which both are silent are left out; where one is silent, the correlation is 0.
    std::vector<Measure> MeasureAlong(long long offset) const;

private:
    std::shared_ptr<sonrel::Sonrel> engine_;
    const Recording& a_;
    const Recording& b_;
    int rate_;
};

}  // namespace orlo::host
