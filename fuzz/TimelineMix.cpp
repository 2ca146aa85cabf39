// SPDX-License-Identifier: MIT
#include "fuzz/TimelineMix.h"

#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "host/timeline/EffectChains.h"
#include "host/timeline/Input.h"
#include "sonrel/base/Timing.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_fuzz {

namespace {

namespace host = orlo::host;
namespace otio = orlo::host::otio;
namespace project = orlo::project;
using orlo::sonrel::Sonrel;

constexpr int CONFORMED_RATE = 48000;
constexpr int CONFORMED_FRAMES = 24000;
constexpr int WINDOWS = 3;
constexpr int BYTES_PER_FRAME = 4;
constexpr unsigned char GUARD = 0xA5;
constexpr std::size_t GUARD_BYTES = 64;

using MixBlock = std::function<int(long long start, int count, unsigned char* buffer)>;

/// Half a second of noise.
std::wstring ConformedFile() {
    static const InputFile FILE(
        [] {
            std::mt19937 random(1);
            std::string samples;
            for (int i = 0; i < 2 * CONFORMED_FRAMES; ++i) {
                samples += sonrel_tests::Little(random() & 0xFFFF, 2);
            }
            using sonrel_tests::Chunk;
            return sonrel_tests::Riff(
                Chunk("fmt ", sonrel_tests::PcmFormat(1, 2, CONFORMED_RATE, 16)) +
                Chunk("data", samples));
        }(),
        ".xwmc");
    return FILE.Wide();
}

/// Every third use is silent.
void GiveSound(std::vector<host::MediaUse>& media, project::Project& project) {
    for (std::size_t i = 0; i < media.size(); ++i) {
        auto asset = std::make_shared<project::MediaAsset>(project.Manager(), L"/nowhere/take.wav");
        if (i % 3 != 2) {
            auto stream = std::make_unique<project::MediaAudioStream>(
                CONFORMED_RATE, CONFORMED_FRAMES, zrh::media::ZRAudioCodec::Pcm);
            stream->SetConformedFile(ConformedFile(), CONFORMED_RATE);
            stream->SetSamplesAvailable(true);
            asset->SetAudioStream(std::move(stream));
        }
        media[i].asset = asset;
        project.Assets().Add(asset);
    }
}

/// Mixes frames of the engine at positions that the input chooses, and the last frame.
void MixWindows(const MixBlock& mix, const otio::Arrangement& arrangement, int frameCount,
                Choices& choices) {
    const long long total =
        zrtl::TotalSamples(frameCount, arrangement.rate, arrangement.EngineRate());
    if (total == 0) return;
    const int perFrame = zrtl::SamplesPerFrame(arrangement.rate, arrangement.EngineRate());
    for (int i = 0; i <= WINDOWS; ++i) {
        const long long place = choices.Take<std::uint32_t>() % total;
        const long long start = i < WINDOWS ? place : std::max<long long>(total - perFrame, 0);
        const int count = static_cast<int>(std::min<long long>(perFrame, total - start));
        const std::size_t bytes = static_cast<std::size_t>(count) * BYTES_PER_FRAME;
        std::vector<unsigned char> buffer(bytes + GUARD_BYTES, GUARD);
        Require(mix(start, count, buffer.data()) == count, "an accepted timeline can be mixed");
        for (std::size_t at = bytes; at < buffer.size(); ++at) {
            Require(buffer[at] == GUARD, "nothing mixed beyond the buffer");
        }
    }
}

/// A nested item: the first of the track that the input chooses, or one inside it.
const otio::PlacedClip* ChooseNested(const std::vector<otio::PlacedTrack>& tracks,
                                     Choices& choices) {
    if (tracks.empty()) return nullptr;
    const otio::PlacedTrack& track =
        tracks[choices.Below(static_cast<unsigned int>(std::min<std::size_t>(tracks.size(), 200)))];
    for (const otio::PlacedClip& clip : track.clips) {
        if (clip.composition == nullptr) continue;
        if (choices.Below(2) == 0) return &clip;
        const otio::PlacedClip* inner = ChooseNested(clip.composition->tracks, choices);
        return inner != nullptr ? inner : &clip;
    }
    return nullptr;
}

}  // namespace

void MixSomeOf(otio::TimelineImport& import, Choices& choices) {
    host::DropRefusedEffects(import);
    const otio::Arrangement& arrangement = import.arrangement;
    std::vector<host::MediaUse> media = host::CollectMedia(arrangement.tracks);
    const auto project = std::make_shared<project::Project>();
    GiveSound(media, *project);
    host::BuildSequence(arrangement, media, *project);

    const auto engine = Sonrel::Create({}, {}, nullptr, Sonrel::LogOption::NoErrorLog);
    const orlo::sonrel::AudioMixer& mixer = *engine->Mixer();
    engine->Mixer()->StartMeterSession(arrangement.tracks.size(), arrangement.rate / 10);
    const auto sequence = [&](long long start, int count, unsigned char* buffer) {
        return mixer.GetSamples(project, project->Sequence(), start, count, buffer,
                                count * BYTES_PER_FRAME, 0, 0);
    };
    MixWindows(sequence, arrangement, arrangement.frameCount, choices);

    const otio::PlacedClip* nested = ChooseNested(arrangement.tracks, choices);
    if (nested == nullptr) return;
    Require(otio::FindNested(arrangement.tracks, nested->name) != nullptr,
            "a nested item is found");
    const auto composition =
        host::BuildComposition(arrangement, *nested->composition, media, *project);
    const auto inside = [&](long long start, int count, unsigned char* buffer) {
        return mixer.GetSamples(project, composition, start, count, buffer, count * BYTES_PER_FRAME,
                                0, 0);
    };
    MixWindows(inside, arrangement, nested->composition->frameCount, choices);
}

}  // namespace sonrel_fuzz
