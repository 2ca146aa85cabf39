// SPDX-License-Identifier: MIT
#include "host/manifest/MixRecorder.h"

#include <cstdint>
#include <filesystem>
#include <system_error>
#include <utility>

#include "host/manifest/Manifest.h"
#include "host/manifest/RecordedOptions.h"
#include "host/manifest/Sha256.h"
#include "host/otio/TimelinePath.h"
#include "host/shell/Errors.h"
#include "host/shell/Paths.h"
#include "host/shell/SoundText.h"
#include "host/shell/Text.h"
#include "host/shell/Version.h"
#include "host/source/TimelineSource.h"
#include "sonrel/base/Paths.h"
#include "sonrel/cache/CacheFileCheck.h"
#include "sonrel/engine/LibraryVersion.h"
#include "sonrel/media/input/DecoderVersion.h"

namespace orlo::host {

namespace {

[[noreturn]] void RefuseChanged(const std::string& path) {
    throw JobError(Quoted(path) + " changed while it was mixed; mix again");
}

/// @param decodes  whether the mix has media files
Json VersionsJson(bool decodes) {
    const std::string decoder = decodes ? zrh::media::DecoderVersion() : std::string();
    return Json::Object({{"program", VERSION},
                         {"library", sonrel::LibraryVersion()},
                         {"ffmpeg", decoder.empty() ? Json() : Json(decoder)}});
}

Json StemsJson(const std::vector<StemHash>& stems) {
    Json list = Json::Array();
    for (const StemHash& stem : stems) {
        list.Append(Json::Object({{"name", stem.name}, {"sha256", stem.sha256}}));
    }
    return list;
}

}  // namespace

MixRecorder::MixRecorder(const GlobalOptions& global, std::string manifest, std::string input)
    : global_(global), manifest_(std::move(manifest)), input_(std::move(input)) {}

void MixRecorder::Begin(const std::vector<MediaUse>& media) {
    if (otio::IsTimelinePath(input_)) timelineHash_ = Sha256OfFile(DocumentOf(input_, global_));
    for (const MediaUse& use : media) {
        const std::string& path = use.location.path;
        if (use.isMissing || states_.contains(path)) continue;
        states_[path] = StateOf(path);
    }
}

MixRecorder::FileState MixRecorder::StateOf(const std::string& path) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error) throw JobError("cannot read " + Quoted(path) + ": " + error.message());
    const std::wstring fingerprint = sonrel::CacheFileCheck::MediaFingerprint(WidePath(path));
    if (fingerprint.empty()) {
        throw JobError("cannot read " + Quoted(path) + ": its size and time cannot be found");
    }
    return {static_cast<long long>(size), zrtl::ToUtf8(fingerprint)};
}

void MixRecorder::HashMedia(Progress& progress) {
    long long total = 0;
    for (const auto& [path, state] : states_) total += state.size;
    progress.Begin("hash", "bytes", total);
    long long done = 0;
    for (const auto& [path, state] : states_) {
        progress.SetFile(path);
        hashes_[path] = Sha256OfFile(path, [&](long long bytes) { progress.Update(done + bytes); });
        done += state.size;
        if (StateOf(path).fingerprint != state.fingerprint) RefuseChanged(path);
    }
    progress.End();
}

/// A file of an unpacked timeline has the name that it has in the archive.
std::string MixRecorder::ShownPath(const std::string& path) const {
    if (otio::FormatOf(input_) != otio::TimelineFormat::Otioz) return path;
    const std::string folder = global_.spool.FolderOf(input_);
    return path.starts_with(folder) ? input_ + path.substr(folder.size()) : path;
}

Json MixRecorder::InputJson() const {
    const bool isTimeline = !timelineHash_.empty();
    return Json::Object(
        {{"path", input_},
         {"relative", manifest_.empty() ? input_ : PathFromFolderOf(manifest_, input_)},
         {"kind", isTimeline ? "timeline" : "media"},
         {"sha256", isTimeline ? Json(timelineHash_) : Json()}});
}

Json MixRecorder::MediaJson(const MediaUse& use, const Json& ranges) const {
    Json json = Json::Object({{"path", ShownPath(use.location.path)},
                              {"sound", ClauseOf(use.sound)},
                              {"size", nullptr},
                              {"fingerprint", nullptr},
                              {"sha256", nullptr}});
    const auto state = states_.find(use.location.path);
    if (state != states_.end()) {
        json["size"] = state->second.size;
        json["fingerprint"] = state->second.fingerprint;
        json["sha256"] = hashes_.at(use.location.path);
    }
    const bool hasAudio = use.asset && use.asset->HasAudio();
    json["samples"] = hasAudio ? use.asset->AudioStream()->ConformedSampleCount() : 0;
    json["ranges"] = ranges;
    return json;
}

Json MixRecorder::Finish(const GivenOptions& given, const MixResult& result,
                         const std::vector<MediaUse>& media, const RangesOfMedia& rangesOf,
                         Progress& progress) {
    HashMedia(progress);
    if (!timelineHash_.empty() && Sha256OfFile(DocumentOf(input_, global_)) != timelineHash_) {
        RefuseChanged(input_);
    }
    Json list = Json::Array();
    for (const MediaUse& use : media) list.Append(MediaJson(use, rangesOf(use)));
    Json json = Json::Object({{"format", MANIFEST_FORMAT},
                              {"versions", VersionsJson(!states_.empty())},
                              {"input", InputJson()},
                              {"options", RecordedOptions(given)},
                              {"mix", result.values},
                              {"media", std::move(list)},
                              {"tracks", result.tracks},
                              {"master", result.master},
                              {"loudness", result.loudness},
                              {"normalization", result.normalization}});
    json["samples"] = Json::Object({{"count", result.samples}, {"sha256", result.sampleHash}});
    json["stems"] = StemsJson(result.stems);
    json["checksum"] = ManifestChecksum(json);
    return json;
}

}  // namespace orlo::host
