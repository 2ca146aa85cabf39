// SPDX-License-Identifier: MIT
#include "host/otio/MediaReferences.h"

#include <unordered_set>

#include "host/otio/Fields.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

/// The clip and the track that contain a reference.
struct Context {
    const std::string* clip = nullptr;  ///< name of the clip; null outside a clip
    std::size_t track = 0;              ///< number of the track, from 1; 0 outside a track
};

std::string UseText(const Context& context) {
    std::string text = context.clip == nullptr || context.clip->empty()
                           ? "a clip"
                           : "clip " + Quoted(*context.clip);
    if (context.track > 0) text += " on track " + std::to_string(context.track);
    return text;
}

/// Visits all objects and lists of a document, of any schema, and collects references.
class ReferenceCollector {
public:
    explicit ReferenceCollector(const MediaResolver& resolver) : resolver_(resolver) {}

    void Visit(const Json& value, const Context& context) {
        if (value.IsArray()) {
            for (const Json& element : value.AsArray()) Visit(element, context);
        } else if (value.IsObject()) {
            VisitObject(value, context);
        }
    }

    std::vector<ReferencedMedia> Take() { return std::move(media_); }

private:
    void VisitObject(const Json& object, Context context) {
        const std::string schema = SchemaName(object);
        const std::string name = schema == "Clip" ? StringMember(object, "name") : std::string();
        if (schema == "Clip") context.clip = &name;
        if (schema == "ImageSequenceReference") AddImages(object, context);
        Add(StringMember(object, "target_url"), context);
        for (const auto& [key, member] : object.AsObject()) {
            // The children of the outermost stack are the tracks.
            if (key == "children" && schema == "Stack" && context.track == 0 && member.IsArray()) {
                VisitTracks(member, context);
            } else {
                Visit(member, context);
            }
        }
    }

    void VisitTracks(const Json& tracks, Context context) {
        for (const Json& track : tracks.AsArray()) {
            ++context.track;
            Visit(track, context);
        }
    }

    void Add(const std::string& url, const Context& context) {
        if (url.empty() || !known_.insert(url).second) return;
        const MediaLocation location = resolver_.Resolve(url);
        if (location.problem.empty()) media_.push_back({location.path, UseText(context), {}});
    }

    void AddImages(const Json& reference, const Context& context) {
        const MediaLocation folder = resolver_.Resolve(StringMember(reference, "target_url_base"));
        if (!folder.problem.empty()) return;
        const ImageNames names{StringMember(reference, "name_prefix"),
                               StringMember(reference, "name_suffix")};
        media_.push_back({folder.path, UseText(context), names});
    }

    const MediaResolver& resolver_;
    std::unordered_set<std::string> known_;
    std::vector<ReferencedMedia> media_;
};

}  // namespace

std::vector<ReferencedMedia> ReferencedMediaOf(const Json& document,
                                               const MediaResolver& resolver) {
    ReferenceCollector collector(resolver);
    collector.Visit(document, {});
    return collector.Take();
}

}  // namespace orlo::host::otio
