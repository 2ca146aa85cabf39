// SPDX-License-Identifier: MIT
#include "host/otio/ClipParser.h"

#include "host/otio/ChannelMappings.h"
#include "host/otio/Fields.h"
#include "host/otio/SoundParser.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

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

}  // namespace

void ParseClip(const Json& clip, Item& item, ImportReport& report) {
    NoteActiveReference(clip, item.place, report);
    ParseMedia(clip, item, report);
    ParseChannelMappings(clip, item, report);
    ParseSound(clip, item, report);
}

}  // namespace orlo::host::otio
