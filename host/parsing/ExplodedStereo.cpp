// SPDX-License-Identifier: MIT
#include <cmath>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "host/parsing/ChannelMappings.h"

namespace orlo::host::otio {

namespace {

using zrh::media::ChannelPlace;
using zrh::media::SoundChoice;

double Seconds(const RationalTime& time) {
    return time.rate > 0.0 ? time.value / time.rate : 0.0;
}

const TimeRange* ExtentOf(const Item& item) {
    if (item.sourceRange) return &*item.sourceRange;
    if (item.media && item.media->availableRange) return &*item.media->availableRange;
    return nullptr;
}

/// The key that both halves of a stereo clip share: file, position, range, and the pair of
/// channels. Times are in milliseconds.
using PairKey = std::tuple<std::string, double, double, double, int>;

PairKey KeyOf(const Item& item, double position) {
    const TimeRange* extent = ExtentOf(item);
    const double start = extent == nullptr ? 0.0 : Seconds(extent->start);
    const double duration = extent == nullptr ? 0.0 : Seconds(extent->duration);
    return {item.media ? item.media->url : std::string(), std::round(1000.0 * position),
            std::round(1000.0 * start), std::round(1000.0 * duration), (item.sourceTrack - 1) / 2};
}

/// Collects the halves of stereo clips.
class Pairs {
public:
    void Add(Track& track) {
        double position = 0.0;
        for (Item& item : track.items) {
            const TimeRange* extent = ExtentOf(item);
            if (item.kind == Item::Kind::Transition) continue;
            if (item.kind == Item::Kind::Clip && item.sourceTrack > 0) {
                halves_[KeyOf(item, position)].push_back({&item, &track});
            }
            if (extent != nullptr) position += Seconds(extent->duration);
        }
    }

    void SetSounds() {
        for (auto& [key, halves] : halves_) {
            for (const Half& half : halves) SetSound(half, HasOther(halves, half));
        }
    }

private:
    struct Half {
        Item* item;
        const Track* track;
    };

    static bool HasOther(const std::vector<Half>& halves, const Half& half) {
        for (const Half& other : halves) {
            const bool isOther = other.item->sourceTrack != half.item->sourceTrack;
            if (isOther && other.track != half.track) return true;
        }
        return false;
    }

    /// A half without a second half on an exploded track is used for both channels: the adapter of
    /// OpenTimelineIO keeps only the first track of a stereo track.
    static void SetSound(const Half& half, bool hasOther) {
        const int channel = half.item->sourceTrack;
        const bool isLeft = channel % 2 == 1;
        ChannelPlace left{ChannelPlace::ANY_STREAM, channel};
        ChannelPlace right{ChannelPlace::ANY_STREAM, channel};
        if (hasOther) {
            (isLeft ? right : left).channel = 0;
        } else if (half.track->isExploded && isLeft && half.item->isStereoHalf) {
            right.channel = channel + 1;
        }
        half.item->sound = SoundChoice::OfChannels(left, right);
    }

    std::map<PairKey, std::vector<Half>> halves_;
};

}  // namespace

void PairExplodedStereo(std::vector<Track>& tracks) {
    Pairs pairs;
    for (Track& track : tracks) {
        pairs.Add(track);
        for (Item& item : track.items) PairExplodedStereo(item.tracks);
    }
    pairs.SetSounds();
}

}  // namespace orlo::host::otio
