// SPDX-License-Identifier: MIT
#include "host/parsing/ClipParser.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "host/otio/Fields.h"
#include "host/parsing/ChannelMappings.h"
#include "host/parsing/SoundParser.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

/// Whether a file is a still image by its name, images of cameras included. The files of stills may
/// be missing: they have no sound.
bool IsStillImage(const std::string& url) {
    constexpr std::string_view STILLS[] = {
        ".3fr",  ".ai",  ".ari", ".arw", ".avif", ".bmp",  ".cap",  ".cin", ".cr2", ".cr3", ".crw",
        ".dcr",  ".dds", ".dng", ".dpx", ".erf",  ".exr",  ".fff",  ".gif", ".gpr", ".hdr", ".heic",
        ".heif", ".ico", ".iiq", ".j2k", ".jp2",  ".jpeg", ".jpg",  ".jxl", ".k25", ".kdc", ".mef",
        ".mos",  ".mrw", ".nef", ".nrw", ".orf",  ".pbm",  ".pcx",  ".pdf", ".pef", ".pgm", ".pict",
        ".png",  ".pnm", ".ppm", ".psb", ".psd",  ".qoi",  ".raf",  ".rw2", ".rwl", ".sgi", ".sr2",
        ".srf",  ".srw", ".svg", ".tga", ".tif",  ".tiff", ".webp", ".x3f", ".xbm", ".xpm"};
    const std::size_t dot = std::min(url.rfind('.'), url.size());
    const std::string extension = LowerCase(url.substr(dot));
    return std::find(std::begin(STILLS), std::end(STILLS), extension) != std::end(STILLS);
}

void SetSilentPicture(Item& item) {
    item.isSilentPicture = true;
    item.noMediaReason = "its media has no sound";
}

/// Why a clip without a media file is silent.
std::string NoFileReason(const std::string& schema) {
    if (schema.empty() || schema == "MissingReference") {
        return "it has no media file; it is silent";
    }
    if (schema == "GeneratorReference") return "its media reference is a generator; it is silent";
    if (schema == "ImageSequenceReference") {
        return "its media reference is an image sequence; it is silent";
    }
    return "its media reference is an unknown " + Quoted(schema) + "; it is silent";
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
        if (item.isPicture && IsStillImage(media.url)) SetSilentPicture(item);
        item.media = std::move(media);
        return;
    }
    if (reference != nullptr && reference->IsObject()) {
        // A reference without a file may still contain the duration of the media.
        item.media =
            MediaReference{{}, RangeMember(*reference, "available_range", item.place, report)};
    }
    const bool isGenerated = schema == "GeneratorReference" || schema == "ImageSequenceReference";
    if (item.isPicture && isGenerated) {
        SetSilentPicture(item);
    } else {
        item.noMediaReason = NoFileReason(schema);
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
