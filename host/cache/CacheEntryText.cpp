// SPDX-License-Identifier: MIT
#include "host/cache/CacheEntryText.h"

#include <cstdio>
#include <ctime>

#include "host/shell/SoundText.h"
#include "host/shell/Text.h"
#include "sonrel/base/Paths.h"

namespace orlo::host {

namespace {

using project::CacheFileKind;

const char* StateName(CacheEntry::State state) {
    switch (state) {
        case CacheEntry::State::Ok:
            return "ok";
        case CacheEntry::State::Missing:
            return "missing";
        case CacheEntry::State::Orphan:
            break;
    }
    return "orphan";
}

/// Decodes the choice of stream and channels in the stream index of a record.
zrh::media::SoundChoice SoundOf(const project::CacheRecord& record) {
    return zrh::media::SoundChoice::FromNumber(static_cast<unsigned long long>(record.streamIndex));
}

/// Milliseconds since 1970 as "2024-01-31T12:00:00.123Z".
std::string IsoTime(long long ms) {
    const long long seconds = ms >= 0 ? ms / 1000 : (ms - 999) / 1000;
    const std::time_t time = seconds;
    std::tm parts = {};
    if (gmtime_r(&time, &parts) == nullptr) return "";
    char text[64];
    const std::size_t length = std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &parts);
    char fraction[16];
    std::snprintf(fraction, sizeof(fraction), ".%03lldZ", ms - seconds * 1000);
    return std::string(text, length) + fraction;
}

}  // namespace

Json EntryJson(const CacheEntry& entry) {
    Json json;
    json["kind"] = entry.kind;
    json["media"] = nullptr;
    json["fingerprint"] = nullptr;
    json["stream"] = nullptr;
    json["rate"] = nullptr;
    json["file"] = entry.file;
    json["bytes"] = entry.bytes;
    json["lastUse"] = nullptr;
    json["state"] = StateName(entry.state);
    if (!entry.record) return json;
    json["media"] = zrtl::ToUtf8(entry.record->mediaPath);
    json["fingerprint"] = zrtl::ToUtf8(entry.record->mediaFingerprint);
    const zrh::media::SoundChoice sound = SoundOf(*entry.record);
    json["stream"] = StreamJson(sound);
    if (!sound.IsWholeStream()) json["channels"] = ChannelsText(sound);
    if (entry.record->kind == CacheFileKind::Conformed) json["rate"] = entry.record->sampleRate;
    json["lastUse"] = IsoTime(entry.record->lastUseMs);
    return json;
}

std::string Megabytes(long long bytes) {
    return FormatNumber(static_cast<double>(bytes) / 1e6, 1) + " MB";
}

std::string EntryText(const CacheEntry& entry) {
    return std::string(StateName(entry.state)) + "  " + EntryTextWithoutState(entry);
}

std::string EntryTextWithoutState(const CacheEntry& entry) {
    std::string text = entry.kind + "  " +
                       (entry.file.empty() ? "(no name)" : OneLine(entry.file)) + "  " +
                       Megabytes(entry.bytes);
    if (entry.record) {
        text += "  " + IsoTime(entry.record->lastUseMs) + "  " +
                OneLine(zrtl::ToUtf8(entry.record->mediaPath)) +
                SoundSuffix(SoundOf(*entry.record));
        if (entry.record->kind == CacheFileKind::Conformed) {
            text += " at " + std::to_string(entry.record->sampleRate) + " Hz";
        }
    }
    return text + "\n";
}

}  // namespace orlo::host
