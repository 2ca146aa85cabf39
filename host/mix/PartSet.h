// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/mix/MixReport.h"
#include "host/mix/PartFile.h"

namespace orlo::host {

/// All parts of one mix.
class PartSet {
public:
    /// Reads the manifests of all parts, in any order.
    /// @throws JobError when a file is not a part, the parts belong to several mixes, one is
    ///         missing or there twice
    explicit PartSet(const std::vector<std::string>& paths);

    /// The parts from the first to the last.
    const std::vector<std::unique_ptr<PartReader>>& Parts() const { return parts_; }

    const FrameGrid& Grid() const { return grid_; }
    /// The range of the whole mix.
    const zrtl::FrameRange& Span() const { return span_; }
    const std::vector<std::string>& TrackNames() const { return trackNames_; }
    int MeterBlockFrames() const { return meterBlockFrames_; }
    /// What all manifests have in common.
    const Json& Mix() const { return parts_.front()->Manifest().mix; }

    /// The blocks of the part with an index from 0.
    MixBlocks BlocksOfPart(std::size_t index) const;

    /// The meter blocks of the whole mix. A block that two parts share has the greater peaks of
    /// both.
    std::vector<sonrel::AudioMetrics> Meters() const;

private:
    void RequireOneMix() const;
    void Sort();
    void ReadMix();
    void RequireLengths() const;

    std::vector<std::unique_ptr<PartReader>> parts_;
    FrameGrid grid_;
    zrtl::FrameRange span_;
    std::vector<std::string> trackNames_;
    int meterBlockFrames_ = 1;
};

}  // namespace orlo::host
