// SPDX-License-Identifier: MIT
#include "host/otio/ClipParser.h"

#include "host/otio/Fields.h"
#include "host/otio/SoundParser.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

constexpr int MAX_STREAMS = 4096;

/// A clip's media reference: of several, the active one.
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
            item.noMediaReason = "its media reference names no file; it is silent";
        }
        item.media = std::move(media);
        return;
    }
    if (reference != nullptr && reference->IsObject()) {
        // Also a reference that leads nowhere may tell how long its medium is.
        item.media =
            MediaReference{{}, RangeMember(*reference, "available_range", item.place, report)};
    }
    if (schema.empty() || schema == "MissingReference") {
        item.noMediaReason = "it has no medium; it is silent";
    } else if (schema == "GeneratorReference") {
        item.noMediaReason = "its medium is made by a generator; it is silent";
    } else if (schema == "ImageSequenceReference") {
        item.noMediaReason = "its medium is a sequence of images; it is silent";
    } else {
        item.noMediaReason = "its medium is an unknown " + Quoted(schema) + "; it is silent";
    }
}

/// @return -1 where the value is not a whole number
long long StreamIndex(const Json* value) {
    return value == nullptr ? -1 : value->AsInteger().value_or(-1);
}

/// Which stream of the medium the clip takes, and whether it takes the whole of it.
void ParseResolveChannels(const Json& metadata, Item& item, ImportReport& report) {
    const Json* channels = Member(metadata, "Channels");
    if (channels == nullptr || !channels->IsArray() || channels->AsArray().empty()) return;
    bool oneStream = true;
    bool inOrder = true;
    for (std::size_t i = 0; i < channels->AsArray().size(); ++i) {
        const Json& source = channels->AsArray()[i];
        const long long streamIndex = StreamIndex(Member(source, "Source Track ID"));
        if (streamIndex < 0 || streamIndex >= MAX_STREAMS) {
            report.Add("source stream", item.place, "it is no stream number; the first one sounds");
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
        report.Add("source streams", item.place, "of several only the first one sounds");
    } else if (!inOrder) {
        report.Add("source channels", item.place,
                   "all channels of the stream sound, in their order");
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
