// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/TransitionStep.h"

#include "sonrel/base/Numbers.h"
#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "sonrel/mixer/detail/ObjectRender.h"
#include "sonrel/plugins/AbstractPluginAudioTransition.h"

namespace orlo::sonrel::detail {
namespace {

constexpr int CHANNELS = 2;
constexpr int BITS_PER_SAMPLE = 16;

/// From which side the transition touches the block's object; plugins are told the number.
enum class Direction : int { Entered = 1, Left = 2 };

/// The object on the other side of the join, rendered at the same place.
struct Neighbour {
    std::vector<unsigned char> samples;
    int count = 0;  ///< what the rendering gave, 0 or -1 included; 0 without an object

    unsigned char* Data() { return count < 1 ? nullptr : samples.data(); }
};

/// Its mute flag is not looked at: a muted neighbour still sounds through the transition.
Neighbour RenderNeighbour(AudioMixerImpl& mixer, const TrackBlock& block, const zrtl::ZRID& id) {
    Neighbour neighbour;
    const auto object =
        std::static_pointer_cast<project::AudioObject>(block.track.Objects().GetByID(id));
    if (!object) return neighbour;
    neighbour.count = RenderAudioObject(mixer, block.project, block.sequence, object, block.start,
                                        block.count, block.rate, neighbour.samples, zrtl::ZRID());
    return neighbour;
}

void Run(AudioMixerImpl& mixer, const TrackBlock& block, project::Transition& transition,
         Direction direction, long long joinFrame, int frames,
         std::vector<unsigned char>& samples) {
    const bool entered = direction == Direction::Entered;
    Neighbour neighbour =
        RenderNeighbour(mixer, block, entered ? transition.FromObject() : transition.ToObject());

    const double frameRate = block.sequence->Settings().FrameRate();
    const double msPerFrame = project::AudioVideoSettings::MsPerFrame(frameRate);
    const double samplesPerFrame = block.rate / frameRate;  // exact, not cut to whole samples
    const long long relativeStart = transition.RelativeStartFrame();
    const long long position = block.frame - joinFrame - relativeStart;
    const int length = transition.Length();

    const auto plugin = transition.Plugin();
    auto& audio = static_cast<project::AbstractPluginAudioTransition&>(*plugin);
    unsigned char* const own = samples.data();
    audio.ProcessTransition(
        &transition, static_cast<int>(direction), CHANNELS, block.rate, BITS_PER_SAMPLE,
        entered ? neighbour.Data() : own, entered ? neighbour.count : frames,
        entered ? own : neighbour.Data(), entered ? frames : neighbour.count, own, frames,
        zrtl::TruncToInt32(static_cast<double>(position) * msPerFrame),
        zrtl::TruncToInt32(length * msPerFrame), zrtl::TruncToInt32(length * samplesPerFrame),
        zrtl::TruncToInt32(static_cast<double>(-relativeStart) * msPerFrame));
}

}  // namespace

void ApplyTransition(AudioMixerImpl& mixer, const TrackBlock& block, project::AudioObject& object,
                     int frames, std::vector<unsigned char>& samples) {
    const long long start = object.StartFrame();
    const auto& incoming = object.IncomingTransition();
    if (incoming && block.frame < start + incoming->RelativeStartFrame() + incoming->Length()) {
        Run(mixer, block, *incoming, Direction::Entered, start, frames, samples);
        return;
    }
    const long long end = object.EndFrame();
    const auto& outgoing = object.OutgoingTransition();
    if (outgoing && block.frame >= end + outgoing->RelativeStartFrame()) {
        Run(mixer, block, *outgoing, Direction::Left, end, frames, samples);
    }
}

}  // namespace orlo::sonrel::detail
