// SPDX-License-Identifier: MIT
#include "host/otio/ClipParser.h"

#include "host/otio/Fields.h"
#include "host/otio/SoundParser.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

constexpr int MAX_STREAMS = 4096;

/// The media reference of a clip; the active reference when there are several.
const Json* ActiveReference(const Json& clip) {
    const Json* references = Member(clip, "media_references");
    if (references == nullptr || !references->IsObject()) return Member(clip, "media_reference");
    const std::string active = StringMember(clip, "active_media_reference_key");
    return Member(*references, active.empty() ? "DEFAULT_MEDIA" : active.c_str());
}

void ParseMedia(const Json& clip, Item& item, ImportReport& report) {
    const Json* reference = ActiveReference(clip);
    const std::string schema = reference == nullptr ? std::string() : SchemaName(*reference);
    if (reference != nullptr && schema == "ExternalReference") {
        MediaReference media;
        media.url = StringMember(*reference, "target_url");
        media.availableRange = RangeMember(*reference, "available_range", item.place, report);
        if (media.url.empty()) {
            item.noMediaReason = "its media reference does not name a file; it is silent";
        }
        item.media = std::move(media);
        return;
    }
    if (reference != nullptr && reference->IsObject()) {
        // A reference without a file may still contain the duration of the media.
        item.media =
            MediaReference{{}, RangeMember(*reference, "available_range", item.place, report)};
    }
    if (schema.empty() || schema == "MissingReference") {
        item.noMediaReason = "it has no media file; it is silent";
    } else if (schema == "GeneratorReference") {
        item.noMediaReason = "its media reference is a generator; it is silent";
    } else if (schema == "ImageSequenceReference") {
        item.noMediaReason = "its media reference is an image sequence; it is silent";
    } else {
        item.noMediaReason =
            "its media reference is an unknown " + Quoted(schema) + "; it is silent";
    }
}

/// @return -1 when the value is not an integer
long long StreamIndex(const Json* value) {
    return value == nullptr ? -1 : value->AsInteger().value_or(-1);
}

/// Parses the audio stream that a clip uses. Reports a selection of single channels or of several
/// streams, which is not supported.
void ParseResolveChannels(const Json& metadata, Item& item, ImportReport& report) {
    const Json* channels = Member(metadata, "Channels");
    if (channels == nullptr || !channels->IsArray() || channels->AsArray().empty()) return;
    bool oneStream = true;
    bool inOrder = true;
    for (std::size_t i = 0; i < channels->AsArray().size(); ++i) {
        const Json& source = channels->AsArray()[i];
        const long long streamIndex = StreamIndex(Member(source, "Source Track ID"));
        if (streamIndex < 0 || streamIndex >= MAX_STREAMS) {
            report.Add("source stream", item.place,
                       "it is not a stream number; the first stream is used");
            return;
        }
        if (i == 0) item.stream = static_cast<int>(streamIndex);
        if (streamIndex != item.stream) oneStream = false;
        const Json* channel = Member(source, "Source Channel ID");
        const bool isInPlace = channel != nullptr && channel->IsNumber() &&
                               channel->AsNumber() == static_cast<double>(i);
        if (!isInPlace) inOrder = false;
    }
    if (!oneStream) {
        report.Add("source streams", item.place, "only the first of several streams is used");
    } else if (!inOrder) {
        report.Add("source channels", item.place,
                   "all channels of the stream are used, in their order");
    }
}

}  // namespace

void ParseClip(const Json& clip, Item& item, ImportReport& report) {
    ParseMedia(clip, item, report);
    if (const Json* metadata = MetadataOf(clip, "Resolve_OTIO")) {
        ParseResolveChannels(*metadata, item, report);
    }
    ParseSound(clip, item, report);
}

}  // namespace orlo::host::otio
