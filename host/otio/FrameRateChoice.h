// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/json/Json.h"
#include "host/otio/MediaReferences.h"
#include "host/otio/Timeline.h"

/// The choice of the frame rate of a timeline. Of the rates in a document and its media files, only
/// picture rates count (IsPictureRate). Values of a wrong type are ignored.
namespace orlo::host::otio {

/// Counts the rate of the global_start_time of a timeline.
void CountStartRate(const Json& timeline, RateVotes& votes);

/// Counts the rate of an item's duration. A nested item without a picture rate counts the items
/// inside it instead.
/// @param item  a clip, gap, stack or track; other objects are not counted
/// @param kind  of the track that contains the item
void CountItemRate(const Json& item, Track::Kind kind, RateVotes& votes);

/// Counts the rates of the items of a track.
void CountTrackRates(const Json& track, Track::Kind kind, RateVotes& votes);

/// Returns the frame rate of the picture in a media file; 0 when the file cannot be read or has no
/// picture.
using PictureRateOf = std::function<double(const std::string& path)>;

/// The frame rate of a timeline, the first that exists of: the rate in its metadata; the rate of
/// its global_start_time; the most frequent rate of the items on picture tracks; of those on audio
/// tracks; of the pictures in its media files; 25.
/// @param media          the files of the document, read only when the document has no rate
/// @param pictureRateOf  may be empty
double ChooseFrameRate(const Timeline& timeline, const std::vector<ReferencedMedia>& media,
                       const PictureRateOf& pictureRateOf);

}  // namespace orlo::host::otio
