// SPDX-License-Identifier: MIT
#include "tests/reference/ReferenceMix.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "sonrel/base/Numbers.h"
#include "tests/reference/ReferenceGainLaw.h"
#include "tests/reference/ReferenceResampler.h"

namespace orlo::sonrel::reference {
namespace {

double RoundHalfAway(double x) {
    if (x > 0.0) return std::floor(x + 0.5);
    return std::ceil(x - 0.5);
}

long long TotalSamples(const Settings& settings, int rate) {
    return static_cast<long long>(std::floor(settings.frameCount * (rate / settings.frameRate)));
}

int SamplesPerFrame(const Settings& settings, int rate) {
    return static_cast<int>(std::floor(rate / settings.frameRate));
}

float LevelAt(const Level& level, double seconds) {
    if (level.keys.empty()) return level.fixed;
    const int ms = static_cast<int>(RoundHalfAway(seconds * 1000.0));
    if (ms <= level.keys.front().ms) return level.keys.front().value;
    if (ms >= level.keys.back().ms) return level.keys.back().value;
    std::size_t later = 0;
    while (level.keys[later].ms <= ms) ++later;
    const Level::Key& a = level.keys[later - 1];
    const Level::Key& b = level.keys[later];
    const double v0 = a.value;
    const double v1 = b.value;
    const double fraction = (static_cast<double>(ms) - a.ms) / (static_cast<double>(b.ms) - a.ms);
    return static_cast<float>(v0 + (v1 - v0) * fraction);
}

/// Divides a request into blocks and runs them; the checks of sequences and compositions.
template <class Block>
int Walk(const Settings& settings, long long start, int count, short* output, int rateOverride,
         int sampleRate, Block block) {
    int rate = settings.rate;
    if ((rateOverride & 1) != 0) {
        if (sampleRate > 96000) return -4;
        rate = sampleRate;
    }
    const long long total = TotalSamples(settings, rate);
    const int samplesPerFrame = SamplesPerFrame(settings, rate);
    if (start < 0 || start > total || count < 1 || start + count > total) return -1;
    if (count > rate * 60) return -3;
    int done = 0;
    long long position = start;
    int chunk = samplesPerFrame;
    while (done < count) {
        if (chunk + done > count) chunk = count - done;
        block(position, chunk, output, rate);
        done += chunk;
        position += chunk;
        output += 2 * static_cast<std::ptrdiff_t>(chunk);
    }
    return done;
}

int StartMs(const Clip& clip, double frameRate) {
    return static_cast<int>(RoundHalfAway(clip.startFrame / frameRate * 1000.0));
}

}  // namespace

void Mixer::StartMeterSession(std::size_t trackCount, int blockFrames) {
    trackMeters_.clear();
    for (std::size_t i = 0; i < trackCount; ++i) {
        trackMeters_.push_back(std::make_unique<AudioMeter>());
        trackMeters_.back()->StartMeterSession(blockFrames);
    }
    masterMeter_.StartMeterSession(blockFrames);
    metering_ = true;
}

int Mixer::GetSequenceSamples(long long start, int count, short* output, int rateOverride,
                              int sampleRate) {
    return Walk(scene_.sequence.settings, start, count, output, rateOverride, sampleRate,
                [this](long long position, int chunk, short* to, int rate) {
                    MixSequenceBlock(position, chunk, to, rate);
                });
}

int Mixer::GetCompositionSamples(int composition, long long start, int count, short* output,
                                 int rateOverride, int sampleRate, bool meterAllowed) {
    const Composition& source = scene_.compositions[static_cast<std::size_t>(composition)];
    return Walk(source.settings, start, count, output, rateOverride, sampleRate,
                [&](long long position, int chunk, short* to, int rate) {
                    MixCompositionBlock(source, position, chunk, to, rate, meterAllowed);
                });
}

void Mixer::MixSequenceBlock(long long start, int count, short* output, int rate) {
    const Sequence& sequence = scene_.sequence;
    const double startSeconds = static_cast<double>(start) / rate;
    const double endSeconds = static_cast<double>(start + count) / rate;
    const int frame = static_cast<int>(RoundHalfAway(startSeconds * sequence.settings.frameRate));
    std::vector<float> block(2 * static_cast<std::size_t>(count), 0.0f);

    bool anySolo = false;
    for (const Track& track : sequence.tracks) anySolo = anySolo || track.solo;

    std::vector<short> samples;
    for (std::size_t i = 0; i < sequence.tracks.size(); ++i) {
        const Track& track = sequence.tracks[i];
        AudioMeter* meter = metering_ ? trackMeters_[i].get() : nullptr;
        bool sounds = !track.muted && !(anySolo && !track.solo);
        sounds = sounds && MixTrack(track, frame, start, count, rate, startSeconds, endSeconds,
                                    block, samples, meter);
        if (!sounds && meter != nullptr) meter->ProcessSamples(nullptr, count);
    }

    ApplyMasterLevel(block.data(), count, LevelAt(sequence.master, startSeconds),
                     LevelAt(sequence.master, endSeconds));
    if (metering_) masterMeter_.ProcessSamples(block.data(), count);
    converter_.FloatToInt16(block.data(), output, count);
}

bool Mixer::MixTrack(const Track& track, int frame, long long start, int count, int rate,
                     double startSeconds, double endSeconds, std::vector<float>& block,
                     std::vector<short>& samples, AudioMeter* meter) {
    const Clip* object = nullptr;
    for (const Clip& clip : track.clips) {
        if (clip.startFrame <= frame && frame < clip.endFrame) object = &clip;
    }
    if (object == nullptr || object->muted) return false;
    const int got = RenderObject(*object, start, count, rate, samples, -1);
    if (got < 1) return false;
    RunTransition(track, *object, frame, start, count, rate, got, samples);

    const double objectSeconds = StartMs(*object, scene_.sequence.settings.frameRate) / 1000.0;
    const double objectStart = startSeconds - objectSeconds;
    const double objectEnd = (endSeconds - startSeconds) + objectStart;
    const float startLevel =
        LevelAt(track.level, startSeconds) + LevelAt(object->level, objectStart);
    const float endLevel = LevelAt(track.level, endSeconds) + LevelAt(object->level, objectEnd);
    if (meter != nullptr) {
        MixObjectIntoBlockMetered(samples.data(), got, block.data(), count, startLevel, endLevel,
                                  track.balance, *meter);
    } else {
        MixObjectIntoBlock(samples.data(), got, block.data(), startLevel, endLevel, track.balance);
    }
    return true;
}

void Mixer::RunTransition(const Track& track, const Clip& object, int frame, long long start,
                          int count, int rate, int got, std::vector<short>& samples) {
    const double frameRate = scene_.sequence.settings.frameRate;
    const Transition* transition = nullptr;
    bool incoming = false;
    if (object.incoming >= 0) {
        const Transition& in = track.transitions[static_cast<std::size_t>(object.incoming)];
        if (frame < object.startFrame + in.relativeStart + in.length) {
            transition = &in;
            incoming = true;
        }
    }
    if (transition == nullptr && object.outgoing >= 0) {
        const Transition& out = track.transitions[static_cast<std::size_t>(object.outgoing)];
        if (frame >= object.endFrame + out.relativeStart) transition = &out;
    }
    if (transition == nullptr) return;

    const int other = incoming ? transition->from : transition->to;
    std::vector<short> otherSamples;
    int otherCount = 0;
    if (other >= 0) {
        otherCount = RenderObject(track.clips[static_cast<std::size_t>(other)], start, count, rate,
                                  otherSamples, -1);
    }
    auto* own = reinterpret_cast<unsigned char*>(samples.data());
    auto* neighbour =
        otherCount < 1 ? nullptr : reinterpret_cast<unsigned char*>(otherSamples.data());
    const double msPerFrame = 1000.0 / frameRate;
    const double exact = rate / frameRate;
    const int join = incoming ? object.startFrame : object.endFrame;
    const int positionMs =
        static_cast<int>((frame - join - transition->relativeStart) * msPerFrame);
    const int lengthMs = static_cast<int>(transition->length * msPerFrame);
    const int lengthSamples = static_cast<int>(transition->length * exact);
    const int joinOffsetMs = static_cast<int>(-transition->relativeStart * msPerFrame);
    if (incoming) {
        transition->plugin->ProcessTransition(nullptr, 1, 2, rate, 16, neighbour, otherCount, own,
                                              got, own, got, positionMs, lengthMs, lengthSamples,
                                              joinOffsetMs);
    } else {
        transition->plugin->ProcessTransition(nullptr, 2, 2, rate, 16, own, got, neighbour,
                                              otherCount, own, got, positionMs, lengthMs,
                                              lengthSamples, joinOffsetMs);
    }
}

void Mixer::MixCompositionBlock(const Composition& composition, long long start, int count,
                                short* output, int rate, bool meterAllowed) {
    const double frameRate = composition.settings.frameRate;
    const double startSeconds = static_cast<double>(start) / rate;
    const double endSeconds = static_cast<double>(start + count) / rate;
    const int frame = static_cast<int>(RoundHalfAway(frameRate * startSeconds));
    std::vector<float> block(2 * static_cast<std::size_t>(count), 0.0f);

    std::vector<short> samples;
    for (const Clip& layer : composition.layers) {
        if (!layer.hasAudio || !layer.visible || layer.muted) continue;
        if (layer.startFrame > frame || frame >= layer.endFrame) continue;
        const double layerStart = startSeconds - StartMs(layer, frameRate) / 1000.0;
        const double layerEnd = (endSeconds - startSeconds) + layerStart;
        const int got = RenderLayer(composition, layer, start, count, rate, samples, -1);
        if (got < 1) continue;
        MixObjectIntoBlock(samples.data(), got, block.data(), LevelAt(layer.level, layerStart),
                           LevelAt(layer.level, layerEnd), 0.0f);
    }
    if (meterAllowed && metering_) masterMeter_.ProcessSamples(block.data(), count);
    converter_.FloatToInt16(block.data(), output, count);
}

int Mixer::RenderObject(const Clip& object, long long start, int count, int rate,
                        std::vector<short>& samples, int stopAt) {
    return Render(object, scene_.sequence.settings.frameRate, start, count, rate, samples, stopAt);
}

int Mixer::RenderLayer(const Composition& parent, const Clip& layer, long long start, int count,
                       int rate, std::vector<short>& samples, int stopAt) {
    if (!layer.hasAudio) return -1;
    return Render(layer, parent.settings.frameRate, start, count, rate, samples, stopAt);
}

int Mixer::Render(const Clip& clip, double frameRate, long long start, int count, int rate,
                  std::vector<short>& samples, int stopAt) {
    const auto objectStart =
        static_cast<long long>(RoundHalfAway((clip.startFrame / frameRate) * rate));
    const auto inPoint = static_cast<long long>((clip.inPointFrame / frameRate) * rate);
    const long long position = start + inPoint - objectStart;
    const long long objectOffset = -inPoint;
    if (position < 0) return -1;
    const double objectSeconds = StartMs(clip, frameRate) / 1000.0;

    const Range request{position + objectOffset, position + objectOffset + count};
    std::vector<Range> ranges{request};
    int longest = count;
    const bool previewing = stopAt >= 0;
    const auto t = [&](const Range& range) { return static_cast<double>(range.first) / rate; };
    const auto end = [&](const Range& range) {
        return static_cast<double>(range.endExclusive) / rate;
    };
    const auto timelineMs = [&](const Range& range) {
        return static_cast<int>((t(range) + objectSeconds) * 1000.0);
    };
    const auto startMs = [&](const Range& range) { return static_cast<int>(t(range) * 1000.0); };
    const auto endMs = [&](const Range& range) {
        return static_cast<int>(((end(range) - t(range)) + t(range)) * 1000.0);
    };

    for (int i = static_cast<int>(clip.effects.size()) - 1; i >= 0; --i) {
        const Effect& effect = clip.effects[static_cast<std::size_t>(i)];
        if (i == stopAt) {
            ranges.clear();
            ranges.push_back(request);
            continue;
        }
        if (!effect.enabled) continue;
        if (effect.plugin->PluginKind() != 1) continue;
        Range range = ranges.back();
        std::vector<Range> needed;
        effect.plugin->RequiredRanges(nullptr, 2, rate, 16,
                                      static_cast<int>(range.endExclusive - range.first),
                                      timelineMs(range), startMs(range), endMs(range), range.first,
                                      objectOffset, &needed, previewing);
        if (!needed.empty()) range = needed[0];
        longest = std::max(longest, static_cast<int>(range.endExclusive - range.first));
        ranges.push_back(range);
    }

    samples.resize(2 * static_cast<std::size_t>(longest));
    Range& source = ranges.back();
    const int n = static_cast<int>(source.endExclusive - source.first);
    int result = 0;
    if (n > 0) {
        const auto sourceStart =
            static_cast<long long>(static_cast<double>(source.first - objectOffset) * clip.speed);
        result = ReadAsset(clip, sourceStart, n, clip.speed, rate, samples.data(),
                           static_cast<int>(samples.size() / 2));
    }
    for (int i = std::max(result, 0); i < n; ++i) {
        samples[2 * static_cast<std::size_t>(i)] = 0;
        samples[2 * static_cast<std::size_t>(i) + 1] = 0;
    }
    source.endExclusive = source.first + result;
    if (result < 1 && n != 0) return -1;

    for (int i = 0; i < static_cast<int>(clip.effects.size()); ++i) {
        const Effect& effect = clip.effects[static_cast<std::size_t>(i)];
        if (i == stopAt) break;
        if (!effect.enabled) continue;
        if (effect.plugin->PluginKind() != 1) continue;
        const Range input = ranges.back();
        ranges.pop_back();
        const Range out = ranges.back();
        effect.plugin->ProcessAudio(
            nullptr, 2, rate, 16, reinterpret_cast<unsigned char*>(samples.data()),
            static_cast<int>(input.endExclusive - input.first),
            static_cast<int>(out.endExclusive - out.first), timelineMs(out), startMs(out),
            endMs(out), out.first, input.first, objectOffset, previewing);
    }
    return static_cast<int>(ranges.back().endExclusive - ranges.back().first);
}

int Mixer::ReadAsset(const Clip& clip, long long start, int count, double speed, int rate,
                     short* buffer, int bufferFrames) {
    if (clip.media >= 0) {
        return ReadMedia(scene_.media[static_cast<std::size_t>(clip.media)], start, count, speed,
                         rate, buffer, bufferFrames);
    }
    const Settings& settings =
        scene_.compositions[static_cast<std::size_t>(clip.composition)].settings;
    const long long total = TotalSamples(settings, settings.rate);
    if (start < 0 || start >= total) return 0;
    if (start + count > total) {
        std::fill_n(buffer, 2 * static_cast<std::ptrdiff_t>(bufferFrames), short{0});
        count = static_cast<int>(total - start);
    }
    return ReadComposition(clip.composition, start, count, speed, buffer);
}

int Mixer::ReadMedia(const Media& media, long long start, int count, double speed, int rate,
                     short* buffer, int bufferFrames) {
    const int wanted = zrtl::TruncToInt32(count * speed);
    if (speed == 1.0 || wanted == count) {
        return ReadConformed(media, start, count, buffer, bufferFrames);
    }
    const int margin = start < 64 ? 0 : 64;
    const long long begin = start - margin;
    long long span = static_cast<long long>(wanted) + 128;
    if (media.conformedCount == 0) return 0;
    if (begin + span > media.conformedCount) span = media.conformedCount - begin;
    if (span < 1) return -1;
    std::vector<short> source(2 * static_cast<std::size_t>(span));
    const int got =
        ReadConformed(media, begin, static_cast<int>(span), source.data(), static_cast<int>(span));
    if (got < 1) return got;
    ResampleStereo(rate, speed, source.data(), margin, got, buffer, count);
    return count;
}

int Mixer::ReadComposition(int composition, long long start, int count, double speed,
                           short* buffer) {
    const int wanted = zrtl::TruncToInt32(count * speed);
    if (speed == 1.0 || wanted == count) {
        return GetCompositionSamples(composition, start, count, buffer, 0, 0, false);
    }
    const Settings& settings = scene_.compositions[static_cast<std::size_t>(composition)].settings;
    const long long total = TotalSamples(settings, settings.rate);
    const int margin = start < 64 ? 0 : 64;
    const long long begin = start - margin;
    long long span = static_cast<long long>(wanted) + 128;
    if (begin + span > total) span = total - begin;
    if (span < 1) return -1;
    std::vector<short> source(2 * static_cast<std::size_t>(span));
    const int got = GetCompositionSamples(composition, begin, static_cast<int>(span), source.data(),
                                          0, 0, false);
    if (got < 1) return got;
    ResampleStereo(settings.rate, speed, source.data(), margin, got, buffer, count);
    return count;
}

int Mixer::ReadConformed(const Media& media, long long start, int count, short* buffer,
                         int bufferFrames) {
    if (start < 0 || count < 0) return -1;
    const long long total = media.conformedCount;
    if (total == 0 || !media.available) return 0;
    int frames = std::min(count, bufferFrames);
    if (start >= total) {
        frames = 0;
    } else if (start + count > total) {
        frames = static_cast<int>(total - start);
    }
    const auto fileFrames = static_cast<long long>(media.samples.size() / 2);
    if (!media.merged) {
        if (frames > bufferFrames) return 0;
        const long long there = std::min<long long>(frames, std::max(fileFrames - start, 0LL));
        std::copy_n(media.samples.begin() + 2 * (there > 0 ? start : 0), 2 * there, buffer);
        return static_cast<int>(there);
    }
    if (frames < 1) return 0;
    if (start + frames > media.mergedEnd) return 0;
    if (frames > bufferFrames) return 0;
    for (int i = 0; i < frames; ++i) {
        const long long inFile = start + i - media.mergedFirst;
        const bool there = inFile >= 0 && inFile < fileFrames;
        for (int channel = 0; channel < 2; ++channel) {
            buffer[2 * i + channel] = there ? media.samples[2 * static_cast<std::size_t>(inFile) +
                                                            static_cast<std::size_t>(channel)]
                                            : short{0};
        }
    }
    return frames;
}

}  // namespace orlo::sonrel::reference
