// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "sonrel/base/ZRID.h"
#include "sonrel/plugins/AbstractPluginAudio.h"
#include "sonrel/plugins/AbstractPluginAudioTransition.h"
#include "tests/reference/ReferenceConverter.h"
#include "tests/reference/ReferenceMeter.h"

/// The reference of a whole mix: the documented rules on plain data, one step after the other,
/// without table, cache or pool. The mixer must match it byte for byte.
namespace orlo::sonrel::reference {

/// A level in dB: key frames in milliseconds in ascending order, or one value.
struct Level {
    struct Key {
        int ms = 0;
        float value = 0.0f;
    };
    float fixed = 0.0f;
    std::vector<Key> keys;
};

/// The conformed samples of a stream, interleaved.
struct Media {
    std::vector<short> samples;
    bool available = true;
    bool merged = false;
    long long mergedFirst = 0;
    long long mergedEnd = 0;
    long long conformedCount = 0;
};

struct Effect {
    std::shared_ptr<project::AbstractPluginAudio> plugin;
    bool enabled = true;
};

/// @see Clip; the indices are of clips of the same track, -1 for none
struct Transition {
    std::shared_ptr<project::AbstractPluginAudioTransition> plugin;
    int from = -1;
    int to = -1;
    int length = 1;
    int relativeStart = 0;
};

/// An object of a track or a layer of a composition.
struct Clip {
    int startFrame = 0;
    int endFrame = 0;
    int inPointFrame = 0;
    int media = -1;        ///< index, or -1
    int composition = -1;  ///< index, or -1
    double speed = 1.0;
    Level level;
    bool muted = false;
    bool visible = true;   ///< layers only
    bool hasAudio = true;  ///< layers only
    std::vector<Effect> effects;
    int incoming = -1;  ///< index into the track's transitions; objects only
    int outgoing = -1;
};

struct Track {
    bool muted = false;
    bool solo = false;
    Level level;
    float balance = 0.0f;
    std::vector<Clip> clips;
    std::vector<Transition> transitions;
};

struct Settings {
    double frameRate = 25.0;
    int rate = 48000;
    int frameCount = 0;
};

struct Composition {
    Settings settings;
    std::vector<Clip> layers;
};

struct Sequence {
    Settings settings;
    std::vector<Track> tracks;
    Level master;
};

struct Scene {
    std::vector<Media> media;
    std::vector<Composition> compositions;
    Sequence sequence;
};

/// A range of samples in object position.
using Range = project::SampleRange;

class Mixer {
public:
    explicit Mixer(const Scene& scene) : scene_(scene), converter_(DitherType::None, 1) {}

    void SetDither(DitherType type, unsigned int seed) { converter_ = SampleConverter(type, seed); }
    /// Meters of @p blockFrames for the master and @p trackCount tracks.
    void StartMeterSession(std::size_t trackCount, int blockFrames);

    /// @param output  2 * count values
    int GetSequenceSamples(long long start, int count, short* output, int rateOverride,
                           int sampleRate);
    int GetCompositionSamples(int composition, long long start, int count, short* output,
                              int rateOverride, int sampleRate, bool meterAllowed);
    /// @param stopAt  index of the effect before which the chain ends; -1 runs all
    int RenderObject(const Clip& object, long long start, int count, int rate,
                     std::vector<short>& samples, int stopAt);
    int RenderLayer(const Composition& parent, const Clip& layer, long long start, int count,
                    int rate, std::vector<short>& samples, int stopAt);

    const AudioMeter& MasterMeter() const { return masterMeter_; }
    const AudioMeter& TrackMeter(std::size_t track) const { return *trackMeters_[track]; }

private:
    void MixSequenceBlock(long long start, int count, short* output, int rate);
    bool MixTrack(const Track& track, int frame, long long start, int count, int rate,
                  double startSeconds, double endSeconds, std::vector<float>& block,
                  std::vector<short>& samples, AudioMeter* meter);
    void RunTransition(const Track& track, const Clip& object, int frame, long long start,
                       int count, int rate, int got, std::vector<short>& samples);
    void MixCompositionBlock(const Composition& composition, long long start, int count,
                             short* output, int rate, bool meterAllowed);
    int Render(const Clip& clip, double frameRate, long long start, int count, int rate,
               std::vector<short>& samples, int stopAt);
    int ReadAsset(const Clip& clip, long long start, int count, double speed, int rate,
                  short* buffer, int bufferFrames);
    int ReadMedia(const Media& media, long long start, int count, double speed, int rate,
                  short* buffer, int bufferFrames);
    int ReadComposition(int composition, long long start, int count, double speed, short* buffer);
    int ReadConformed(const Media& media, long long start, int count, short* buffer,
                      int bufferFrames);

    const Scene& scene_;
    SampleConverter converter_;
    bool metering_ = false;
    AudioMeter masterMeter_;
    std::vector<std::unique_ptr<AudioMeter>> trackMeters_;
};

}  // namespace orlo::sonrel::reference
