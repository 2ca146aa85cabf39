// SPDX-License-Identifier: MIT
// The first program of docs/tutorial-host.md: a second of silence.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project.h"

namespace project = orlo::project;
namespace sonrel = orlo::sonrel;

int main() {
    std::string reason;
    const auto engine = sonrel::Sonrel::Create(L"media.db", L"media-cache", &reason,
                                               sonrel::Sonrel::LogOption::WriteErrorLog);
    if (engine == nullptr) {
        std::fprintf(stderr, "%s\n", reason.c_str());
        return 1;
    }

    const auto project = std::make_shared<project::Project>();
    const auto& sequence = project->Sequence();  // 25 frames a second, 48000 Hz
    sequence->Settings().SetFrameCount(25);

    engine->Mixer()->SetDither(sonrel::DitherType::None, 1);
    std::vector<short> samples(2 * 48000, 1);
    const int mixed = engine->Mixer()->GetSamples(
        project, sequence, 0, 48000, reinterpret_cast<unsigned char*>(samples.data()), 0, 0, 0);
    std::printf("%d samples, the first is %d\n", mixed, samples.front());
}
