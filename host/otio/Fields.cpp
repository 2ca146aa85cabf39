// SPDX-License-Identifier: MIT
#include "host/otio/Fields.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "host/otio/JsonDocument.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

/// Name of the value's type, with its article.
std::string TypeName(const Json& value) {
    const std::string name = value.TypeName();
    return (name == "array" || name == "object" ? "an " : "a ") + name;
}

[[noreturn]] void Refuse(const SourceLocation& place, const std::string& field, const Json& value,
                         const char* wanted) {
    throw DocumentError(OneLine(ToText(place)) + ": " + field + " is " + TypeName(value) +
                        ", not a " + wanted);
}

/// A number that determines positions; nullopt when it is missing or null. A NaN reads as null.
std::optional<double> NumberMember(const Json& object, const char* key, const std::string& field,
                                   const SourceLocation& place) {
    const Json* member = Member(object, key);
    if (member == nullptr || member->IsNull()) return std::nullopt;
    if (!member->IsNumber()) Refuse(place, field + "." + key, *member, "number");
    return member->AsNumber();
}

/// @param path  name of the member in messages
RationalTime ReadTime(const Json& owner, const char* key, const std::string& path,
                      const SourceLocation& place, ImportReport& report) {
    const Json* member = Member(owner, key);
    if (member == nullptr || member->IsNull()) return {};
    if (!member->IsObject()) Refuse(place, path, *member, "time");
    RationalTime time;
    const std::optional<double> value = NumberMember(*member, "value", path, place);
    if (!value) report.Add(path, place, "its value is not finite and counts as 0");
    time.value = value.value_or(0.0);
    const double rate = NumberMember(*member, "rate", path, place).value_or(0.0);
    time.rate = rate > 0.0 ? ExactRate(rate) : 0.0;
    return time;
}

std::optional<LevelKey> KeyValue(const Json& pair, const std::string& what,
                                 const SourceLocation& place, ImportReport& report) {
    const bool isPair =
        pair.IsArray() && pair.AsArray().size() == 2 && pair.AsArray()[0].IsNumber();
    if (!isPair) {
        report.Add(what, place,
                   "a key that is not a pair of milliseconds and decibels is left out");
        return std::nullopt;
    }
    const std::optional<float> decibels = FloatValue(pair.AsArray()[1], what, place, report);
    if (!decibels) return std::nullopt;
    return LevelKey{pair.AsArray()[0].AsNumber(), *decibels};
}

constexpr const char* DEFAULT_REFERENCE = "DEFAULT_MEDIA";

/// The media references of a clip that has a choice of them; null for other clips.
const Json* ReferencesOf(const Json& clip) {
    const Json* references = Member(clip, "media_references");
    if (references == nullptr || !references->IsObject()) return nullptr;
    return references->AsObject().empty() ? nullptr : references;
}

std::string WantedReference(const Json& clip) {
    const std::string key = StringMember(clip, "active_media_reference_key");
    return key.empty() ? DEFAULT_REFERENCE : key;
}

/// The name of the media reference that is used.
/// @param references  not empty
std::string UsedReference(const Json& clip, const Json& references) {
    for (const std::string& key : {WantedReference(clip), std::string(DEFAULT_REFERENCE)}) {
        if (Member(references, key.c_str()) != nullptr) return key;
    }
    return references.AsObject().front().key;
}

}  // namespace

const Json* Member(const Json& object, const char* key) {
    return object.Find(key);
}

std::string SchemaName(const Json& object) {
    std::string schema = StringMember(object, "OTIO_SCHEMA");
    schema.resize(std::min(schema.find('.'), schema.size()));
    if (schema == "Sequence") return "Track";
    if (schema == "Filler") return "Gap";
    if (schema == "SerializeableCollection") return "SerializableCollection";
    return schema;
}

std::string StringMember(const Json& object, const char* key) {
    const Json* member = Member(object, key);
    return member != nullptr && member->IsString() ? member->AsString() : std::string();
}

const Json::Items& ListMember(const Json& object, const char* key, const SourceLocation& place) {
    static const Json::Items EMPTY;
    const Json* member = Member(object, key);
    if (member == nullptr || member->IsNull()) return EMPTY;
    if (!member->IsArray()) Refuse(place, key, *member, "list");
    return member->AsArray();
}

std::optional<TimeRange> RangeMember(const Json& object, const char* key,
                                     const SourceLocation& place, ImportReport& report) {
    const Json* member = Member(object, key);
    if (member == nullptr || member->IsNull()) return std::nullopt;
    if (!member->IsObject()) Refuse(place, key, *member, "time range");
    TimeRange range;
    const std::string field = key;
    range.start = ReadTime(*member, "start_time", field + ".start_time", place, report);
    range.duration = ReadTime(*member, "duration", field + ".duration", place, report);
    return range;
}

RationalTime TimeMember(const Json& object, const char* key, const SourceLocation& place,
                        ImportReport& report) {
    return ReadTime(object, key, key, place, report);
}

bool BoolMember(const Json& object, const char* key, bool fallback, const SourceLocation& place,
                ImportReport& report) {
    const Json* member = Member(object, key);
    if (member == nullptr || member->IsNull()) return fallback;
    if (member->IsBool()) return member->AsBool();
    report.Add(key, place, "it is " + TypeName(*member) + "; it is ignored");
    return fallback;
}

const Json* ActiveReference(const Json& clip) {
    const Json* references = ReferencesOf(clip);
    if (references == nullptr) return Member(clip, "media_reference");
    return Member(*references, UsedReference(clip, *references).c_str());
}

void NoteActiveReference(const Json& clip, const SourceLocation& place, ImportReport& report) {
    const Json* references = ReferencesOf(clip);
    if (references == nullptr) return;
    const std::string wanted = WantedReference(clip);
    const std::string used = UsedReference(clip, *references);
    if (used == wanted) return;
    report.Add(
        "active_media_reference_key", place,
        "the clip has no media reference " + Quoted(wanted) + "; " + Quoted(used) + " is used");
}

const Json* MetadataOf(const Json& object, const char* program) {
    const Json* metadata = Member(object, "metadata");
    if (metadata == nullptr) return nullptr;
    const Json* entry = Member(*metadata, program);
    return entry != nullptr && entry->IsObject() ? entry : nullptr;
}

const Json* OwnMetadataOf(const Json& object, const SourceLocation& place, ImportReport& report) {
    const Json* metadata = Member(object, "metadata");
    const Json* own = metadata == nullptr ? nullptr : Member(*metadata, "sonrel");
    if (own == nullptr || own->IsNull()) return nullptr;
    if (own->IsObject()) return own;
    report.Add("metadata.sonrel", place, "it is not an object and is ignored");
    return nullptr;
}

std::optional<float> FloatValue(const Json& value, const std::string& what,
                                const SourceLocation& place, ImportReport& report) {
    if (value.IsNumber()) {
        const auto number = value.AsNumber();
        if (std::abs(number) <= std::numeric_limits<float>::max()) {
            return static_cast<float>(number);
        }
    }
    report.Add(what, place, "it is not a usable number and is ignored");
    return std::nullopt;
}

Level LevelValue(const Json& value, const std::string& what, const SourceLocation& place,
                 ImportReport& report) {
    Level level;
    if (!value.IsArray()) {
        level.decibels = FloatValue(value, what, place, report);
        return level;
    }
    for (const Json& pair : value.AsArray()) {
        if (const std::optional<LevelKey> key = KeyValue(pair, what, place, report)) {
            level.keys.push_back(*key);
        }
    }
    return level;
}

}  // namespace orlo::host::otio
