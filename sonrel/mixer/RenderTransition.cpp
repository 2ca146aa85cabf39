// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/RenderTransition.h"

#include "sonrel/base/Numbers.h"
#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "sonrel/mixer/detail/ObjectRenderer.h"
#include "sonrel/plugins/AbstractPluginAudioTransition.h"

namespace orlo::sonrel::detail {
namespace {

/// The side on which the transition meets the block's object. Plugins receive the number.
enum class Direction : int { Entered = 1, Left = 2 };

/// A transition of the block's object.
struct Join {
    project::Transition& transition;
    Direction direction;
    long long videoFrame;  ///< of the cut between the two objects
};

/// The object on the other side of the join, rendered for the same block.
struct Neighbour {
    std::vector<unsigned char> samples;
    int count = 0;  ///< result of the rendering, 0 or -1 included; 0 without an object

    unsigned char* Data() { return count < 1 ? nullptr : samples.data(); }
};

/// The mute flag of the neighbour has no effect: a muted neighbour still sounds through the
/// transition.
Neighbour RenderNeighbour(const TrackBlock& at, const zrtl::ZRID& id) {
    Neighbour neighbour;
    const auto object =
        std::static_pointer_cast<project::AudioObject>(at.track.Objects().GetByID(id));
    if (!object) return neighbour;
    ObjectRenderer renderer(at.mixer, at.project, at.block, neighbour.samples);
    neighbour.count = renderer.Render(ClipOf(*at.project, at.sequence, *object));
    return neighbour;
}

void Run(const TrackBlock& at, const Join& join, int frames, std::vector<unsigned char>& samples) {
    project::Transition& transition = join.transition;
    const bool entered = join.direction == Direction::Entered;
    Neighbour neighbour =
        RenderNeighbour(at, entered ? transition.FromObject() : transition.ToObject());
    if (at.mixer.OnlyCounts()) return;

    const double frameRate = at.sequence->Settings().FrameRate();
    const double msPerFrame = project::AudioVideoSettings::MsPerFrame(frameRate);
    const double samplesPerFrame = at.block.rate / frameRate;  // exact, not cut to whole samples
    const long long relativeStart = transition.RelativeStartFrame();
    const long long position = at.videoFrame - join.videoFrame - relativeStart;
    const int length = transition.Length();

    const auto plugin = transition.Plugin();
    auto& audio = static_cast<project::AbstractPluginAudioTransition&>(*plugin);
    unsigned char* const own = samples.data();
    audio.ProcessTransition(
        &transition, static_cast<int>(join.direction), MIX_CHANNELS, at.block.rate,
        MIX_BITS_PER_SAMPLE, entered ? neighbour.Data() : own, entered ? neighbour.count : frames,
        entered ? own : neighbour.Data(), entered ? frames : neighbour.count, own, frames,
        zrtl::TruncToInt32(static_cast<double>(position) * msPerFrame),
        zrtl::TruncToInt32(length * msPerFrame), zrtl::TruncToInt32(length * samplesPerFrame),
        zrtl::TruncToInt32(static_cast<double>(-relativeStart) * msPerFrame));
}

}  // namespace

void RenderTransition(const TrackBlock& trackBlock, project::AudioObject& object, int frames,
                      std::vector<unsigned char>& samples) {
    const int videoFrame = trackBlock.videoFrame;
    const long long startFrame = object.StartFrame();
    const auto& incoming = object.IncomingTransition();
    if (incoming && videoFrame < startFrame + incoming->RelativeStartFrame() + incoming->Length()) {
        Run(trackBlock, {*incoming, Direction::Entered, startFrame}, frames, samples);
        return;
    }
    const long long endFrame = object.EndFrame();
    const auto& outgoing = object.OutgoingTransition();
    if (outgoing && videoFrame >= endFrame + outgoing->RelativeStartFrame()) {
        Run(trackBlock, {*outgoing, Direction::Left, endFrame}, frames, samples);
    }
}

}  // namespace orlo::sonrel::detail
