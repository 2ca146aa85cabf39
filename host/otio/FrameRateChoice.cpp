// SPDX-License-Identifier: MIT
#include "host/otio/FrameRateChoice.h"

#include <optional>

#include "host/otio/Fields.h"

namespace orlo::host::otio {

namespace {

constexpr double DEFAULT_FPS = 25.0;

/// The exact rate when it is a picture rate, else 0.
double PictureRate(double rate) {
    const double exact = ExactRate(rate);
    return IsPictureRate(exact) ? exact : 0.0;
}

double PictureRate(const Json* time) {
    const Json* rate = time == nullptr ? nullptr : Member(*time, "rate");
    return rate != nullptr && rate->IsNumber() ? PictureRate(rate->AsNumber()) : 0.0;
}

double DurationRate(const Json* range) {
    return range == nullptr ? 0.0 : PictureRate(Member(*range, "duration"));
}

/// The rate of the range that determines the length of an item.
double ItemRate(const Json& item, const std::string& schema) {
    const Json* range = Member(item, "source_range");
    if (range != nullptr && !range->IsNull()) return DurationRate(range);
    const Json* reference = schema == "Clip" ? ActiveReference(item) : nullptr;
    return reference == nullptr ? 0.0 : DurationRate(Member(*reference, "available_range"));
}

std::optional<double> RateOfPictures(const std::vector<ReferencedMedia>& media,
                                     const PictureRateOf& pictureRateOf) {
    RateVote pictures;
    if (!pictureRateOf) return std::nullopt;
    for (const ReferencedMedia& file : media) {
        if (!file.images) pictures.Add(PictureRate(pictureRateOf(file.path)));
    }
    return pictures.Winner();
}

}  // namespace

void CountStartRate(const Json& timeline, RateVotes& votes) {
    const double rate = PictureRate(Member(timeline, "global_start_time"));
    if (rate > 0.0) votes.start = rate;
}

void CountItemRate(const Json& item, Track::Kind kind, RateVotes& votes) {
    const std::string schema = SchemaName(item);
    const bool isNested = schema == "Stack" || schema == "Track";
    if (!isNested && schema != "Clip" && schema != "Gap") return;
    const double rate = ItemRate(item, schema);
    if (rate == 0.0 && isNested) return CountTrackRates(item, kind, votes);
    if (kind == Track::Kind::Video) votes.pictures.Add(rate);
    if (kind == Track::Kind::Audio) votes.sound.Add(rate);
}

void CountTrackRates(const Json& track, Track::Kind kind, RateVotes& votes) {
    const Json* children = Member(track, "children");
    if (children == nullptr || !children->IsArray()) return;
    for (const Json& child : children->AsArray()) CountItemRate(child, kind, votes);
}

double ChooseFrameRate(const Timeline& timeline, const std::vector<ReferencedMedia>& media,
                       const PictureRateOf& pictureRateOf) {
    if (timeline.frameRate) return *timeline.frameRate;
    const RateVotes& rates = timeline.rates;
    if (rates.start) return *rates.start;
    if (const std::optional<double> rate = rates.pictures.Winner()) return *rate;
    if (const std::optional<double> rate = rates.sound.Winner()) return *rate;
    return RateOfPictures(media, pictureRateOf).value_or(DEFAULT_FPS);
}

}  // namespace orlo::host::otio
