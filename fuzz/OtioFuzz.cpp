// SPDX-License-Identifier: MIT
// Any text as a timeline, read with options that the last bytes choose. The model must accept every
// timeline that is accepted here (clips in order and without overlap, finite speeds,
// in-points of 0 or more, transitions on clips that meet), and a mix of it must work.
#include <cmath>

#include "fuzz/Support.h"
#include "fuzz/TimelineMix.h"
#include "host/arrangement/TimelineImport.h"
#include "host/otio/JsonDocument.h"

namespace {

namespace otio = orlo::host::otio;
using sonrel_fuzz::Choices;
using sonrel_fuzz::Require;

/// Bytes at the end of an input that choose options; the text ends before them.
constexpr std::size_t CHOICE_BYTES = 16;

void CheckTransition(const otio::PlacedTransition& transition, const otio::PlacedTrack& track) {
    Require(transition.from || transition.to, "a transition has a clip");
    Require(transition.length > 0 && transition.relativeStartFrame <= 0 &&
                transition.length >= -transition.relativeStartFrame,
            "a transition covers its join");
    if (transition.from) {
        Require(track.clips.at(*transition.from).endFrame == transition.joinFrame,
                "a clip ends at the join");
    }
    if (transition.to) {
        Require(track.clips.at(*transition.to).startFrame == transition.joinFrame,
                "a clip begins at the join");
    }
}

void CheckTrack(const otio::PlacedTrack& track) {
    int end = 0;
    for (const otio::PlacedClip& clip : track.clips) {
        Require(clip.startFrame >= end && clip.endFrame > clip.startFrame, "clips in order");
        Require(clip.sourceStartFrame >= 0 && clip.sound.Stream() >= -1,
                "an in-point of 0 or more");
        Require(clip.speed >= 0.01 && clip.speed <= 100.0, "a speed in range");
        Require(clip.fades.inFrames >= 0.0 && clip.fades.outFrames >= 0.0, "fades of 0 or more");
        for (const otio::LevelCurve::Key& key : clip.level.keys) {
            Require(std::isfinite(key.decibels), "finite levels");
        }
        end = clip.endFrame;
        if (clip.composition == nullptr) continue;
        Require(clip.composition->frameCount >= 0, "a nested length of 0 or more");
        for (const otio::PlacedTrack& inner : clip.composition->tracks) CheckTrack(inner);
    }
    for (const otio::PlacedTransition& transition : track.transitions) {
        CheckTransition(transition, track);
    }
}

otio::ImportOptions Options(Choices& choices) {
    constexpr double FRAME_RATES[] = {24000.0 / 1001.0, 25.0, 60.0, 1.0, 1000.0};
    constexpr int RATES[] = {48000, 44100, 96000, 8000, 192000};
    otio::ImportOptions options;
    if (const unsigned int fps = choices.Below(16); fps < 5) options.rates.fps = FRAME_RATES[fps];
    if (const unsigned int rate = choices.Below(16); rate < 5) options.rates.rate = RATES[rate];
    const unsigned int bits = choices.Below(8);
    if ((bits & 1) != 0) options.retime = otio::Retime::Media;
    if ((bits & 2) != 0) options.audioFrom = otio::AudioFrom::Video;
    if ((bits & 4) != 0) options.mediaRoots = {{"/media", "/else"}, {"D:", "/d"}};
    return options;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Choices choices(data, size);
    const std::string_view text = sonrel_fuzz::AllBytes(data, size - std::min(size, CHOICE_BYTES));
    const sonrel_fuzz::InputFile input(text, ".otio");
    try {
        otio::TimelineImport import = otio::ImportTimeline(input.Path(), Options(choices));
        Require(import.arrangement.frameCount >= 0, "a length of 0 or more");
        for (const otio::PlacedTrack& track : import.arrangement.tracks) CheckTrack(track);
        import.report.Entries();
        sonrel_fuzz::MixSomeOf(import, choices);
    } catch (const otio::DocumentError&) {
    }
    return 0;
}
