// SPDX-License-Identifier: MIT
#include "host/otio/ClipParser.h"

#include <nlohmann/json.hpp>

#include "host/otio/Fields.h"
#include "host/otio/SoundParser.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

using nlohmann::json;

constexpr int MAX_STREAMS = 4096;

/// A clip's media reference: of several, the active one.
const json* ActiveReference(const json& clip) {
    const json* references = Member(clip, "media_references");
    if (references == nullptr || !references->is_object()) return Member(clip, "media_reference");
    const std::string active = StringMember(clip, "active_media_reference_key");
    return Member(*references, active.empty() ? "DEFAULT_MEDIA" : active.c_str());
}

void ParseMedia(const json& clip, Item& item, ImportReport& report) {
    const json* reference = ActiveReference(clip);
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
    if (reference != nullptr && reference->is_object()) {
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

/// Which stream of the medium the clip takes, and whether it takes the whole of it.
void ParseResolveChannels(const json& metadata, Item& item, ImportReport& report) {
    const json* channels = Member(metadata, "Channels");
    if (channels == nullptr || !channels->is_array() || channels->empty()) return;
    bool oneStream = true;
    bool inOrder = true;
    for (std::size_t i = 0; i < channels->size(); ++i) {
        const json* stream = Member((*channels)[i], "Source Track ID");
        const json* channel = Member((*channels)[i], "Source Channel ID");
        const long long streamIndex =
            stream != nullptr && stream->is_number_integer() ? stream->get<long long>() : -1;
        if (streamIndex < 0 || streamIndex >= MAX_STREAMS) {
            report.Add("source stream", item.place, "it is no stream number; the first one sounds");
            return;
        }
        if (i == 0) item.stream = static_cast<int>(streamIndex);
        if (streamIndex != item.stream) oneStream = false;
        if (channel == nullptr || *channel != i) inOrder = false;
    }
    if (!oneStream) {
        report.Add("source streams", item.place, "of several only the first one sounds");
    } else if (!inOrder) {
        report.Add("source channels", item.place,
                   "all channels of the stream sound, in their order");
    }
}

}  // namespace

void ParseClip(const json& clip, Item& item, ImportReport& report) {
    ParseMedia(clip, item, report);
    if (const json* metadata = MetadataOf(clip, "Resolve_OTIO")) {
        ParseResolveChannels(*metadata, item, report);
    }
    ParseSound(clip, item, report);
}

}  // namespace orlo::host::otio
