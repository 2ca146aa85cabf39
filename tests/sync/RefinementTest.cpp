// SPDX-License-Identifier: MIT
// Results that are measured again in place, and results that are not.
#include <gtest/gtest.h>

#include <vector>

#include "sonrel/sync/detail/AssetSearch.h"
#include "tests/sync/AlignmentRig.h"

namespace sonrel_tests {
namespace {

using orlo::sonrel::detail::CollectReferenceSegments;
using orlo::sonrel::detail::ReferenceSet;
using orlo::sonrel::detail::RefineCandidates;
using orlo::sonrel::detail::SearchResult;
using orlo::sonrel::detail::SearchSetting;

/// A reference of a second, which is frames 3000 to 4000 of a long recording.
class Refinement : public testing::Test {
protected:
    Refinement() {
        const Samples event = Event(RATE, 50);
        reference_ = CollectReferenceSegments(*rig_.Engine()->Mixer(),
                                              rig_.AddWithoutPeaks(Take(RATE, 1, 0, event)));
        long_ = rig_.AddWithoutPeaks(Take(8 * RATE, 2, 3000, event));
    }

    /// Measures results on the left channel with these correlations, all at frame 3000.
    std::vector<SearchResult> Refine(const std::vector<double>& correlations) {
        std::vector<SearchResult> results;
        for (const double correlation : correlations) results.push_back({correlation, -3000});
        const SearchSetting setting{*rig_.Engine()->Mixer(), long_, reference_};
        RefineCandidates(setting, results);
        return results;
    }

    AlignmentRig rig_;
    ReferenceSet reference_;
    std::shared_ptr<project::MediaAsset> long_;
};

TEST_F(Refinement, MeasuresAResultInPlace) {
    ASSERT_EQ(reference_.segments.size(), 1u);

    const auto results = Refine({0.5, -0.5, 1e-300});

    for (const SearchResult& result : results) {
        EXPECT_GT(result.correlation, 0.99);
        EXPECT_EQ(result.offset, -3000);
    }
}

// The event is at this position, so that a measurement would find it.
TEST_F(Refinement, SkipsAResultWithoutCorrelation) {
    const auto results = Refine({0.5, 0.0, 0.5, -0.0, 0.5, 0.0});

    for (const std::size_t skipped : {1u, 3u, 5u}) {
        EXPECT_EQ(results[skipped].correlation, 0.0);
        EXPECT_EQ(results[skipped].offset, -3000);
    }
    for (const std::size_t measured : {0u, 2u, 4u}) {
        EXPECT_GT(results[measured].correlation, 0.99);
    }
}

}  // namespace
}  // namespace sonrel_tests
