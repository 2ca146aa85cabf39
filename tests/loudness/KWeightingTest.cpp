// SPDX-License-Identifier: MIT
#include "sonrel/loudness/detail/KWeighting.h"

#include <cmath>
#include <vector>

#include "tests/loudness/LoudnessSignals.h"
#include "tests/support/CpuPaths.h"

namespace orlo::sonrel::detail {
namespace {

/// A section as its definition has it, one value at a time.
class PlainSection {
public:
    explicit PlainSection(const FilterSection& section) : section_(section) {}

    double Filter(double x) {
        const double y = section_.b0 * x + section_.b1 * x1_ + section_.b2 * x2_ -
                         section_.a1 * y1_ - section_.a2 * y2_;
        x2_ = x1_;
        x1_ = x;
        y2_ = y1_;
        y1_ = y;
        return y;
    }

private:
    FilterSection section_;
    double x1_ = 0.0, x2_ = 0.0, y1_ = 0.0, y2_ = 0.0;
};

double PlainEnergy(const sonrel_tests::Frames& frames, std::size_t from, std::size_t to, int rate) {
    double energy = 0.0;
    for (const std::size_t channel : {0, 1}) {
        PlainSection shelf(ShelfSection(rate));
        PlainSection highPass(HighPassSection(rate));
        for (std::size_t i = 0; i < to; ++i) {
            const double y = highPass.Filter(shelf.Filter(frames[2 * i + channel] / 32768.0));
            if (i >= from) energy += y * y;
        }
    }
    return energy;
}

class KWeightingTest : public test::OnEveryCpuPath {};
SONREL_ON_EVERY_CPU_PATH(KWeightingTest);

TEST(KWeightingSections, At48000HertzAreThoseOfTheStandard) {
    const FilterSection shelf = ShelfSection(48000);
    const FilterSection highPass = HighPassSection(48000);

    // The tables 1 and 2 of ITU-R BS.1770-4.
    EXPECT_NEAR(shelf.b0, 1.53512485958697, 1e-12);
    EXPECT_NEAR(shelf.b1, -2.69169618940638, 1e-12);
    EXPECT_NEAR(shelf.b2, 1.19839281085285, 1e-12);
    EXPECT_NEAR(shelf.a1, -1.69065929318241, 1e-12);
    EXPECT_NEAR(shelf.a2, 0.73248077421585, 1e-12);
    EXPECT_EQ(highPass.b0, 1.0);
    EXPECT_EQ(highPass.b1, -2.0);
    EXPECT_EQ(highPass.b2, 1.0);
    EXPECT_NEAR(highPass.a1, -1.99004745483398, 1e-12);
    EXPECT_NEAR(highPass.a2, 0.99007225036621, 1e-12);
}

TEST_P(KWeightingTest, SumsTheSquaresOfTheTwoSectionsOneAfterTheOther) {
    const sonrel_tests::Frames noise = sonrel_tests::WhiteNoise(4000, 1);
    for (const int rate : {8000, 44100, 192000}) {
        // Even and odd numbers of frames, down to one.
        const std::vector<int> cuts = {0, 1, 2, 5, 9, 11, 12, 500, 1001, 3999, 4000};
        KWeighting filter(rate);
        for (std::size_t i = 0; i + 1 < cuts.size(); ++i) {
            const double energy = filter.Energy(noise.data() + 2 * cuts[i], cuts[i + 1] - cuts[i]);

            const double expected = PlainEnergy(noise, static_cast<std::size_t>(cuts[i]),
                                                static_cast<std::size_t>(cuts[i + 1]), rate);
            EXPECT_NEAR(energy / expected, 1.0, 1e-9) << rate << " Hz, from " << cuts[i];
        }
    }
}

TEST_P(KWeightingTest, HasTheBitsOfTheBaseline) {
    const sonrel_tests::Frames noise = sonrel_tests::WhiteNoise(3001, 2);
    for (const int rate : {8000, 44100, 192000}) {
        KWeighting filter(rate);
        const double energy = filter.Energy(noise.data(), 3001);

        ASSERT_TRUE(ForceCpuPath(CpuPath::Baseline));
        KWeighting baseline(rate);
        EXPECT_EQ(energy, baseline.Energy(noise.data(), 3001)) << rate << " Hz";
        ASSERT_TRUE(ForceCpuPath(GetParam()));
    }
}

TEST_P(KWeightingTest, SoundDecaysToExactlyNothing) {
    const sonrel_tests::Frames noise = sonrel_tests::WhiteNoise(480, 3);
    const sonrel_tests::Frames silence(2 * 480);
    KWeighting filter(48000);
    filter.Energy(noise.data(), 480);

    double energy = 1.0;
    for (int step = 0; step < 100; ++step) energy = filter.Energy(silence.data(), 480);

    EXPECT_EQ(energy, 0.0);
}

}  // namespace
}  // namespace orlo::sonrel::detail
