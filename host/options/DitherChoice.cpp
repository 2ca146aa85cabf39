// SPDX-License-Identifier: MIT
#include "host/options/DitherChoice.h"

#include <cstdint>
#include <limits>

#include "host/options/OptionTypes.h"

namespace orlo::host {

namespace {

/// Accepts a number or the word "random".
CLI::Validator Seed() {
    const CLI::Validator number = WholeNumber(1, std::numeric_limits<std::uint32_t>::max());
    const auto check = [number](std::string& text) -> std::string {
        if (text == "random") {
            text = "0";
            return {};
        }
        const std::string error = number(text);
        return error.empty() ? error : error + ", nor random";
    };
    return {check, ""};
}

}  // namespace

sonrel::DitherType EngineDither(DitherChoice choice) {
    switch (choice) {
        case DitherChoice::None:
            return sonrel::DitherType::None;
        case DitherChoice::Triangular:
            return sonrel::DitherType::Triangular;
        case DitherChoice::HighPass:
            break;
    }
    return sonrel::DitherType::HighPassTriangular;
}

const char* DitherName(DitherChoice choice) {
    switch (choice) {
        case DitherChoice::None:
            return "none";
        case DitherChoice::Triangular:
            return "triangular";
        case DitherChoice::HighPass:
            break;
    }
    return "highpass";
}

void DeclareDither(CLI::App& command, DitherChoice& dither, unsigned int& seed) {
    command
        .add_option("--dither", dither,
                    "Noise of the 16-bit samples: none, triangular or highpass (default: highpass)")
        ->type_name("TYPE")
        ->transform(
            OneOf<DitherChoice>({{DitherName(DitherChoice::None), DitherChoice::None},
                                 {DitherName(DitherChoice::Triangular), DitherChoice::Triangular},
                                 {DitherName(DitherChoice::HighPass), DitherChoice::HighPass}}));
    command.add_option("--seed", seed, "Seed of the noise, a number or random (default: 1)")
        ->type_name("N")
        ->transform(Seed());
}

}  // namespace orlo::host
