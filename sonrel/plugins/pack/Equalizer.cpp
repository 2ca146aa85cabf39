// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

#include "sonrel/plugins/pack/detail/AudioEffect.h"
#include "sonrel/plugins/pack/detail/EqualizerBands.h"
#include "sonrel/plugins/pack/detail/Plugins.h"
#include "sonrel/plugins/pack/detail/Raster.h"
#include "sonrel/plugins/pack/detail/StereoSamples.h"

namespace orlo::sonrel::detail {
namespace {

constexpr std::size_t BANDS = 3;

/// The maximum frequency of a band as a fraction of the rate, and at any rate: the fraction of the
/// maximum rate of media.
constexpr double MAX_BAND_OF_RATE = 0.45;
constexpr double MAX_BAND_HZ = MAX_BAND_OF_RATE * 768000;

/// Length of the cells in which the sound is filtered, and the limit of a cell and its run-in.
constexpr double CELL_SECONDS = 0.04;
constexpr double MEMORY_SECONDS = 1.0;

/// The sections that change the sound, one after the other.
struct Sections {
    std::array<BiquadCoefficients, BANDS> coefficients{};
    std::size_t count = 0;
};

/// COUNT sections in a row. The input of a section is the output of the section before it, so that
/// they share these values.
template <std::size_t COUNT>
class Cascade {
public:
    explicit Cascade(const Sections& sections) {
        for (std::size_t i = 0; i < COUNT; ++i) {
            const BiquadCoefficients& c = sections.coefficients[i];
            c_[i] = {Frame{c.b0, c.b0}, Frame{c.b1, c.b1}, Frame{c.b2, c.b2}, Frame{c.a1, c.a1},
                     Frame{c.a2, c.a2}};
        }
    }

    /// Processes a frame and returns its output.
    Frame Step(Frame x) {
        for (std::size_t i = 0; i < COUNT; ++i) {
            // The latest output is used last: only one product and one difference wait for it.
            const Frame y = x * c_[i].b0 + last_[i] * c_[i].b1 + before_[i] * c_[i].b2 -
                            before_[i + 1] * c_[i].a2 - last_[i + 1] * c_[i].a1;
            Remember(i, x);
            x = y;
        }
        Remember(COUNT, x);
        return x;
    }

private:
    struct Factors {
        Frame b0, b1, b2, a1, a2;
    };

    void Remember(std::size_t i, Frame value) {
        before_[i] = last_[i];
        last_[i] = value;
    }

    std::array<Factors, COUNT> c_{};
    std::array<Frame, COUNT + 1> last_{};    ///< the latest input, and the latest outputs
    std::array<Frame, COUNT + 1> before_{};  ///< the values before them
};

/// Frames of the buffer: the filter starts from rest at @c from, and writes from @c first to
/// @c end.
struct CellPart {
    long long from;
    long long first;
    long long end;
};

template <std::size_t COUNT>
void FilterCell(unsigned char* samples, const CellPart& part, const Sections& sections) {
    Cascade<COUNT> cascade(sections);
    for (long long at = part.from; at < part.first; ++at) cascade.Step(ReadFrame(samples, at));
    for (long long at = part.first; at < part.end; ++at) {
        WriteFrame(samples, at, cascade.Step(ReadFrame(samples, at)));
    }
}

using CellFilter = void (*)(unsigned char*, const CellPart&, const Sections&);

CellFilter FilterOf(std::size_t sections) {
    constexpr CellFilter FILTERS[] = {FilterCell<1>, FilterCell<2>, FilterCell<3>};
    return FILTERS[sections - 1];
}

class Equalizer final : public AudioEffect {
public:
    explicit Equalizer(const std::array<EqualizerBand, BANDS>& bands) : bands_(bands) {}

protected:
    long long LookBack(int rate, long long firstSample) const override {
        const Sections sections = SectionsAt(rate);
        if (sections.count == 0) return 0;
        return RunIn(sections, rate) + CellsAt(rate).Inside(firstSample);
    }

    /// The output replaces its input, from the last cell to the first, so that every earlier frame
    /// is still input when it is read. Then it is moved to the beginning.
    void Run(const EffectBlock& block) const override {
        const long long end = block.lookBack + block.outputCount;
        WriteSilence(block.samples, block.inputCount, end);
        const Sections sections = SectionsAt(block.rate);
        if (sections.count > 0) Filter(block, end, sections);
        std::memmove(block.samples, block.samples + ByteOf(block.lookBack),
                     static_cast<std::size_t>(block.outputCount) * FRAME_BYTES);
    }

private:
    static Raster CellsAt(int rate) { return RasterOf(rate, CELL_SECONDS); }

    Sections SectionsAt(int rate) const {
        Sections sections;
        for (EqualizerBand band : bands_) {
            // Without a gain the section is 1.
            if (band.gainDb == 0.0) continue;
            band.frequency = std::min(band.frequency, MAX_BAND_OF_RATE * rate);
            sections.coefficients[sections.count++] = BandCoefficients(band, rate);
        }
        return sections;
    }

    /// Frames from rest to the start of a cell: until the ringing of all sections has ended.
    static long long RunIn(const Sections& sections, int rate) {
        const double most = std::max(
            1.0, std::floor(rate * MEMORY_SECONDS) - static_cast<double>(CellsAt(rate).Frames()));
        double frames = 1.0;
        for (std::size_t i = 0; i < sections.count; ++i) {
            frames = std::max(frames, std::ceil(RingingFrames(sections.coefficients[i])));
        }
        return static_cast<long long>(std::min(frames, most));
    }

    static void Filter(const EffectBlock& block, long long end, const Sections& sections) {
        const CellFilter filter = FilterOf(sections.count);
        const Raster cells = CellsAt(block.rate);
        const long long runIn = RunIn(sections, block.rate);
        while (end > block.lookBack) {
            const long long last = end - 1;
            const long long position = block.firstSample + (last - block.lookBack);
            const long long start = last - cells.Inside(position);
            const long long first = std::max(start, block.lookBack);
            filter(block.samples, {std::max(start - runIn, 0LL), first, end}, sections);
            end = first;
        }
    }

    std::array<EqualizerBand, BANDS> bands_;
};

PluginPack::ParameterInfo Frequency(const std::string& band, const char* meaning, double hertz) {
    PluginPack::ParameterInfo frequency;
    frequency.name = band + "Hz";
    frequency.meaning = meaning;
    frequency.unit = "Hz";
    frequency.minimum = 10.0;
    frequency.maximum = MAX_BAND_HZ;
    frequency.defaultValue = hertz;
    frequency.maximumOfRate = MAX_BAND_OF_RATE;
    return frequency;
}

PluginPack::ParameterInfo BandGain(const std::string& band, const char* meaning) {
    PluginPack::ParameterInfo gain;
    gain.name = band + "Db";
    gain.meaning = meaning;
    gain.unit = "dB";
    gain.minimum = -24.0;
    gain.maximum = 24.0;
    return gain;
}

PluginPack::ParameterInfo BandQ(const std::string& band, const char* meaning, double q) {
    PluginPack::ParameterInfo sharpness;
    sharpness.name = band + "Q";
    sharpness.meaning = meaning;
    sharpness.minimum = 0.1;
    sharpness.maximum = 10.0;
    sharpness.defaultValue = q;
    return sharpness;
}

EqualizerBand BandOf(EqualizerBand::Kind kind, const std::string& band,
                     const PluginPack::Parameters& parameters) {
    return {kind, parameters.at(band + "Hz"), parameters.at(band + "Db"),
            parameters.at(band + "Q")};
}

}  // namespace

PluginPack::PluginInfo EqualizerInfo() {
    constexpr const char* SLOPE = "Steepness of the shelf; above 0.7071 it overshoots.";
    return {"equalizer",
            "Raises or lowers low, middle and high sound.",
            {Frequency("low", "Middle of the slope of the low shelf.", 100.0),
             BandGain("low", "Change of the sound below it."), BandQ("low", SLOPE, 0.7071),
             Frequency("mid", "Middle frequency of the bell.", 1000.0),
             BandGain("mid", "Change of the sound around it."),
             BandQ("mid", "Narrowness of the bell.", 1.0),
             Frequency("high", "Middle of the slope of the high shelf.", 8000.0),
             BandGain("high", "Change of the sound above it."), BandQ("high", SLOPE, 0.7071)}};
}

EffectPointer MakeEqualizer(const PluginPack::Parameters& parameters) {
    using Kind = EqualizerBand::Kind;
    return std::make_shared<Equalizer>(std::array<EqualizerBand, BANDS>{
        BandOf(Kind::LowShelf, "low", parameters), BandOf(Kind::Peak, "mid", parameters),
        BandOf(Kind::HighShelf, "high", parameters)});
}

}  // namespace orlo::sonrel::detail
