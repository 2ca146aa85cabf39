// SPDX-License-Identifier: MIT
#include "host/parsing/SoundTarget.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace orlo::host::otio {

namespace {

constexpr double MS_PER_SECOND = 1000.0;
/// Level of a factor of 0: below the noise of any dither.
constexpr double SILENT_DECIBELS = -144.0;
/// Smaller levels and pans come from a file that stores a default as a rounded number.
constexpr double MIN_DECIBELS = 0.0005;
constexpr double MIN_PAN = 0.0005;
/// A level is interpolated in decibels, and a factor is not. Between two factors that differ by
/// more than a decibel, the level has this many parts.
constexpr int PARTS = 8;
constexpr double MAX_DECIBELS_OF_ONE_PART = 1.0;

double Decibels(double gain) {
    return gain > 0.0 ? std::max(20.0 * std::log10(gain), SILENT_DECIBELS) : SILENT_DECIBELS;
}

double TimeInSeconds(const RationalTime& time) {
    return time.rate > 0.0 ? time.value / time.rate : 0.0;
}

bool HasLevel(const Level& level) {
    return level.decibels.has_value() || !level.keys.empty();
}

LevelKey KeyOf(double seconds, double gain) {
    return {seconds * MS_PER_SECOND, static_cast<float>(Decibels(gain))};
}

void AddParts(const GainKey& from, const GainKey& to, std::vector<LevelKey>& keys) {
    const double difference = std::abs(Decibels(from.gain) - Decibels(to.gain));
    const int parts = difference > MAX_DECIBELS_OF_ONE_PART ? PARTS : 1;
    for (int part = 1; part <= parts; ++part) {
        const double t = static_cast<double>(part) / parts;
        keys.push_back(
            KeyOf(std::lerp(from.seconds, to.seconds, t), std::lerp(from.gain, to.gain, t)));
    }
}

void NoteSilentLevel(const SoundTarget& target, ImportReport& report) {
    report.Add("level", target.place, "it is 0 in the file; the sound is silent",
               Severity::Silence);
}

bool IsPanned(const Item& item) {
    return item.pan && std::abs(*item.pan) >= static_cast<float>(MIN_PAN);
}

/// Whether a clip is half of a stereo clip. A pan to one side is its channel.
bool IsHalf(const Item& item) {
    using Choice = zrh::media::SoundChoice;
    const bool isHalf =
        item.isStereoHalf || (item.sound.kind == Choice::Kind::Channels &&
                              (item.sound.left.channel == 0) != (item.sound.right.channel == 0));
    return isHalf && item.pan && std::abs(*item.pan) == 1.0f;
}

void SharePan(Track& track, ImportReport& report) {
    std::optional<float> shared;
    bool isShared = !track.stereoBalance;
    bool isFirst = true;
    for (const Item& item : track.items) {
        if (item.kind != Item::Kind::Clip && item.kind != Item::Kind::Nested) continue;
        isShared = isShared && (isFirst || shared == item.pan);
        shared = item.pan;
        isFirst = false;
    }
    if (isShared) {
        track.stereoBalance = shared;
        return;
    }
    for (const Item& item : track.items) {
        if (!IsPanned(item)) continue;
        report.Add("pan", item.place,
                   "the clips and their track have different pans, and only a whole track can be "
                   "panned; it is not imported");
    }
}

}  // namespace

SoundTarget TargetOf(Item& item) {
    SoundTarget target;
    target.place = item.place;
    target.level = &item.level;
    target.pan = &item.pan;
    target.muted = &item.muted;
    target.fades = &item.fades;
    target.isPicture = item.isPicture;
    if (item.speed >= MIN_SPEED && item.speed <= MAX_SPEED) target.speed = item.speed;
    if (item.media && item.media->availableRange) {
        target.mediaSeconds = TimeInSeconds(item.media->availableRange->start);
    }
    if (item.sourceRange) {
        target.startSeconds = TimeInSeconds(item.sourceRange->start);
        target.seconds = TimeInSeconds(item.sourceRange->duration);
    } else if (item.media && item.media->availableRange) {
        target.startSeconds = target.mediaSeconds;
        target.seconds = TimeInSeconds(item.media->availableRange->duration);
    }
    return target;
}

SoundTarget TargetOf(Track& track) {
    SoundTarget target;
    target.place = track.place;
    target.level = &track.level;
    target.pan = &track.stereoBalance;
    target.muted = &track.muted;
    if (track.sourceRange) target.seconds = TimeInSeconds(track.sourceRange->duration);
    return target;
}

double SecondsFromStart(const SoundTarget& target, double mediaTime) {
    const bool isTimecode = target.mediaSeconds > 0.0 && mediaTime >= target.mediaSeconds;
    if (!isTimecode) return SecondsFromStartOfClip(target, mediaTime);
    return (mediaTime - target.startSeconds) / target.speed;
}

double SecondsFromStartOfClip(const SoundTarget& target, double secondsFromFirstFrame) {
    const double begin = target.startSeconds - target.mediaSeconds;
    return (secondsFromFirstFrame - begin) / target.speed;
}

void AddLevel(const SoundTarget& target, const Level& more, ImportReport& report) {
    Level& level = *target.level;
    if (!HasLevel(level)) {
        level = more;
    } else if (!level.keys.empty() && !more.keys.empty()) {
        report.Add("level", target.place,
                   "two effects have level keys; those of the first effect are used");
    } else {
        const bool addsKeys = level.keys.empty() && !more.keys.empty();
        const float constant = (addsKeys ? level : more).decibels.value_or(0.0f);
        if (addsKeys) level = more;
        if (level.decibels) *level.decibels += constant;
        for (LevelKey& key : level.keys) key.decibels += constant;
    }
}

void AddGain(const SoundTarget& target, double gain, ImportReport& report) {
    if (!(gain >= 0.0)) {
        report.Add("level", target.place, "it is negative in the file and is ignored");
        return;
    }
    if (gain == 0.0) NoteSilentLevel(target, report);
    const double decibels = Decibels(gain);
    if (std::abs(decibels) < MIN_DECIBELS) return;
    Level level;
    level.decibels = static_cast<float>(decibels);
    AddLevel(target, level, report);
}

void AddGains(const SoundTarget& target, std::vector<GainKey> keys, ImportReport& report) {
    const auto lost =
        std::erase_if(keys, [](const GainKey& key) { return !std::isfinite(key.seconds); });
    if (lost > 0) report.Add("level key", target.place, "its time is out of range");
    if (keys.empty()) return;
    std::stable_sort(keys.begin(), keys.end(),
                     [](const GainKey& a, const GainKey& b) { return a.seconds < b.seconds; });
    const bool isSilent =
        std::all_of(keys.begin(), keys.end(), [](const GainKey& key) { return key.gain <= 0.0; });
    if (isSilent) NoteSilentLevel(target, report);
    Level level;
    level.keys.push_back(KeyOf(keys.front().seconds, keys.front().gain));
    for (std::size_t i = 1; i < keys.size(); ++i) AddParts(keys[i - 1], keys[i], level.keys);
    AddLevel(target, level, report);
}

void SetPan(const SoundTarget& target, double pan, ImportReport& report) {
    if (!(pan >= -1.0 && pan <= 1.0)) {
        report.Add("pan", target.place, "it is outside its range and is ignored");
    } else if (std::abs(pan) >= MIN_PAN) {
        *target.pan = static_cast<float>(pan);
    }
}

void NoteMovingPan(const SoundTarget& target, ImportReport& report) {
    report.Add("pan", target.place, "it moves; its first value is used");
}

void SharePans(std::vector<Track>& tracks, ImportReport& report) {
    for (Track& track : tracks) {
        for (Item& item : track.items) {
            if (IsHalf(item)) item.pan.reset();
            SharePans(item.tracks, report);
        }
        if (track.sounds) SharePan(track, report);
    }
}

}  // namespace orlo::host::otio
