// SPDX-License-Identifier: MIT
#include "host/otio/MediaReferences.h"

#include <unordered_set>

#include "host/otio/Fields.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

/// The clip and the track around a reference.
struct Surroundings {
    const std::string* clip = nullptr;  ///< its name; null outside a clip
    std::size_t track = 0;              ///< from 1; 0 outside a track
};

std::string UseText(const Surroundings& around) {
    std::string text =
        around.clip == nullptr || around.clip->empty() ? "a clip" : "clip " + Quoted(*around.clip);
    if (around.track > 0) text += " on track " + std::to_string(around.track);
    return text;
}

/// Goes through all objects and lists of a document, whatever their schemas are.
class Walk {
public:
    explicit Walk(const MediaResolver& resolver) : resolver_(resolver) {}

    void Visit(const Json& value, const Surroundings& around) {
        if (value.IsArray()) {
            for (const Json& element : value.AsArray()) Visit(element, around);
        } else if (value.IsObject()) {
            VisitObject(value, around);
        }
    }

    std::vector<ReferencedMedia> Take() { return std::move(media_); }

private:
    void VisitObject(const Json& object, Surroundings around) {
        const std::string schema = SchemaName(object);
        const std::string name = schema == "Clip" ? StringMember(object, "name") : std::string();
        if (schema == "Clip") around.clip = &name;
        if (schema == "ImageSequenceReference") AddImages(object, around);
        Add(StringMember(object, "target_url"), around);
        for (const auto& [key, member] : object.AsObject()) {
            // The children of the outermost stack are the tracks.
            if (key == "children" && schema == "Stack" && around.track == 0 && member.IsArray()) {
                VisitTracks(member, around);
            } else {
                Visit(member, around);
            }
        }
    }

    void VisitTracks(const Json& tracks, Surroundings around) {
        for (const Json& track : tracks.AsArray()) {
            ++around.track;
            Visit(track, around);
        }
    }

    void Add(const std::string& url, const Surroundings& around) {
        if (url.empty() || !known_.insert(url).second) return;
        const MediaLocation location = resolver_.Resolve(url);
        if (location.problem.empty()) media_.push_back({location.path, UseText(around), {}});
    }

    void AddImages(const Json& reference, const Surroundings& around) {
        const MediaLocation folder = resolver_.Resolve(StringMember(reference, "target_url_base"));
        if (!folder.problem.empty()) return;
        const ImageNames names{StringMember(reference, "name_prefix"),
                               StringMember(reference, "name_suffix")};
        media_.push_back({folder.path, UseText(around), names});
    }

    const MediaResolver& resolver_;
    std::unordered_set<std::string> known_;
    std::vector<ReferencedMedia> media_;
};

}  // namespace

std::vector<ReferencedMedia> ReferencedMediaOf(const Json& document,
                                               const MediaResolver& resolver) {
    Walk walk(resolver);
    walk.Visit(document, {});
    return walk.Take();
}

}  // namespace orlo::host::otio
