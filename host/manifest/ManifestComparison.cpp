// SPDX-License-Identifier: MIT
#include "host/manifest/ManifestComparison.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "host/manifest/Manifest.h"
#include "host/manifest/MixValues.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

/// "is 7, recorded as 5".
std::string ValuesClause(const Json& recorded, const Json& found) {
    return "is " + OneLine(found.ToLine()) + ", recorded as " + OneLine(recorded.ToLine());
}

std::string SoundSuffixOf(const Json& media) {
    const std::string& sound = media.Find("sound")->AsString();
    return sound == "audio stream 1" ? std::string() : " (" + OneLine(sound) + ")";
}

std::string FileNameOf(const Json& media) {
    return std::filesystem::path(media.Find("path")->AsString()).filename().string();
}

/// The file and the sound that a clip uses.
std::string MediaLabel(const Json& media) {
    return Quoted(media.Find("path")->AsString()) + SoundSuffixOf(media);
}

class ManifestDifferences {
public:
    ManifestDifferences(const Json& recorded, const Json& found)
        : recorded_(recorded), found_(NormalizedManifest(found)) {}

    std::vector<ManifestChange> List() {
        CompareChecksum();
        CompareVersions();
        const bool isSameTimeline = CompareTimeline();
        const bool isSameMedia = CompareMedia(isSameTimeline);
        CompareValues(isSameTimeline && isSameMedia);
        CompareSamples();
        CompareStems();
        for (const char* key : {"tracks", "master", "loudness", "normalization"}) {
            CompareLevels(key);
        }
        return std::move(changes_);
    }

private:
    static const Json& At(const Json& manifest, const char* section, const char* key) {
        return *manifest.Find(section)->Find(key);
    }

    void Add(const char* what, const std::string& key, const std::string& text,
             const Json& recorded, const Json& found) {
        changes_.push_back({what, key, text, recorded, found});
    }

    void CompareChecksum() {
        const std::string checksum = ManifestChecksum(recorded_);
        const Json& recorded = *recorded_.Find("checksum");
        if (recorded.AsString() == checksum) return;
        Add("manifest", "checksum", "it was edited after it was written", recorded, checksum);
    }

    void CompareVersions() {
        for (const auto& [key, name] :
             {std::pair{"program", "sonrel"}, std::pair{"library", "the library"},
              std::pair{"ffmpeg", "FFmpeg"}}) {
            const Json& recorded = At(recorded_, "versions", key);
            const Json& found = At(found_, "versions", key);
            if (recorded.ToLine() == found.ToLine()) continue;
            Add("version", std::string("versions.") + key,
                std::string(name) + " " + ValuesClause(recorded, found), recorded, found);
        }
    }

    bool CompareTimeline() {
        const Json& recorded = At(recorded_, "input", "sha256");
        const Json& found = At(found_, "input", "sha256");
        if (recorded.ToLine() == found.ToLine()) return true;
        const std::string& path = At(found_, "input", "path").AsString();
        Add("timeline", "input.sha256", Quoted(path) + " has another content", recorded, found);
        return false;
    }

    /// The files of one timeline are compared in order: with --media-root they may have other
    /// names. Media files of two timelines are compared by name and sound.
    bool CompareMedia(bool isSameTimeline) {
        const std::size_t before = changes_.size();
        const Json::Items& recorded = recorded_.Find("media")->AsArray();
        std::vector<const Json*> rest;
        for (const Json& file : found_.Find("media")->AsArray()) rest.push_back(&file);
        const bool inOrder = isSameTimeline && recorded.size() == rest.size();
        for (const Json& file : recorded) {
            const auto match = std::find_if(rest.begin(), rest.end(), [&](const Json* other) {
                return inOrder || (FileNameOf(file) == FileNameOf(*other) &&
                                   file.Find("sound")->ToLine() == other->Find("sound")->ToLine());
            });
            if (match == rest.end()) {
                Add("media", "media", MediaLabel(file) + " is not used any more", file, nullptr);
                continue;
            }
            CompareFile(file, **match);
            rest.erase(match);
        }
        for (const Json* file : rest) {
            Add("media", "media", MediaLabel(*file) + " was not used", nullptr, *file);
        }
        return changes_.size() == before;
    }

    void CompareFile(const Json& recordedFile, const Json& foundFile) {
        const Json& recorded = *recordedFile.Find("sha256");
        const Json& found = *foundFile.Find("sha256");
        if (recorded.ToLine() == found.ToLine()) return;
        const char* change = " has another content";
        if (found.IsNull()) change = " is missing";
        if (recorded.IsNull()) change = " was missing";
        Add("media", "media.sha256", MediaLabel(foundFile) + change, recorded, found);
    }

    /// @param isSameSource  whether timeline and media files are equal; otherwise rates and range
    ///                      may follow from them
    void CompareValues(bool isSameSource) {
        for (const MixValue& value : MixValueList()) {
            if (!isSameSource && value.dependsOnSource) continue;
            const Json& recorded = At(recorded_, "mix", value.key);
            const Json& found = At(found_, "mix", value.key);
            if (recorded.ToLine() == found.ToLine()) continue;
            Add("options", std::string("mix.") + value.key,
                std::string("the value of ") + value.name + " " + ValuesClause(recorded, found),
                recorded, found);
        }
    }

    void CompareSamples() {
        const Json& recorded = *recorded_.Find("samples");
        const Json& found = *found_.Find("samples");
        const std::string key = FirstDifference(recorded, found, "samples");
        if (key.empty()) return;
        Add("samples", key,
            key == "samples.count" ? ValuesClause(*recorded.Find("count"), *found.Find("count"))
                                   : "they have the SHA-256 " + found.Find("sha256")->AsString() +
                                         ", recorded as " + recorded.Find("sha256")->AsString(),
            recorded, found);
    }

    void CompareStems() {
        const Json::Items& recorded = recorded_.Find("stems")->AsArray();
        const Json::Items& found = found_.Find("stems")->AsArray();
        if (recorded.size() != found.size()) {
            Add("stems", "stems", "their number " + ValuesClause(recorded.size(), found.size()),
                recorded.size(), found.size());
            return;
        }
        for (std::size_t i = 0; i < recorded.size(); ++i) {
            const std::string key = "stems[" + std::to_string(i) + "]";
            if (FirstDifference(recorded[i], found[i], key).empty()) continue;
            Add("stems", key,
                "stem " + std::to_string(i + 1) + " " + Quoted(found[i].Find("name")->AsString()) +
                    " has other samples",
                recorded[i], found[i]);
        }
    }

    void CompareLevels(const char* section) {
        const Json& recorded = *recorded_.Find(section);
        const Json& found = *found_.Find(section);
        const std::string key = FirstDifference(recorded, found, section);
        if (!key.empty()) Add("levels", key, key + " differs", recorded, found);
    }

    const Json& recorded_;
    const Json found_;
    std::vector<ManifestChange> changes_;
};

}  // namespace

std::string FirstDifference(const Json& one, const Json& other, const std::string& key) {
    if (one.IsObject() && other.IsObject()) {
        for (const auto& [name, value] : one.AsObject()) {
            const Json* match = other.Find(name);
            // NOLINTNEXTLINE(performance-inefficient-string-concatenation)  a key for each value
            std::string inner = key + "." + name;
            if (match == nullptr) return inner;
            std::string found = FirstDifference(value, *match, inner);
            if (!found.empty()) return found;
        }
        return one.AsObject().size() == other.AsObject().size() ? std::string() : key;
    }
    if (one.IsArray() && other.IsArray()) {
        if (one.AsArray().size() != other.AsArray().size()) return key;
        for (std::size_t i = 0; i < one.AsArray().size(); ++i) {
            std::string found = FirstDifference(one.AsArray()[i], other.AsArray()[i],
                                                key + "[" + std::to_string(i) + "]");
            if (!found.empty()) return found;
        }
        return {};
    }
    return one.ToLine() == other.ToLine() ? std::string() : key;
}

std::vector<ManifestChange> CompareManifests(const Json& recorded, const Json& found) {
    return ManifestDifferences(recorded, found).List();
}

}  // namespace orlo::host
