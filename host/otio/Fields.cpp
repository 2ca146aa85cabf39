// SPDX-License-Identifier: MIT
#include "host/otio/Fields.h"

#include <cmath>

#include "host/otio/JsonDocument.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

using nlohmann::json;

/// What a value is, with its article.
std::string TypeName(const json& value) {
    const std::string name = value.type_name();
    return (name == "array" || name == "object" ? "an " : "a ") + name;
}

[[noreturn]] void Refuse(const Place& place, const std::string& field, const json& value,
                         const char* wanted) {
    throw DocumentError(OneLine(ToText(place)) + ": " + field + " is " + TypeName(value) +
                        ", not a " + wanted);
}

/// A number that decides about positions. Missing and null, which a NaN reads as, give nothing.
std::optional<double> NumberMember(const json& object, const char* key, const std::string& field,
                                   const Place& place) {
    const json* member = Member(object, key);
    if (member == nullptr || member->is_null()) return std::nullopt;
    if (!member->is_number()) Refuse(place, field + "." + key, *member, "number");
    return member->get<double>();
}

/// @param path  the member's name for messages
RationalTime ReadTime(const json& owner, const char* key, const std::string& path,
                      const Place& place, ImportReport& report) {
    const json* member = Member(owner, key);
    if (member == nullptr || member->is_null()) return {};
    if (!member->is_object()) Refuse(place, path, *member, "time");
    RationalTime time;
    const std::optional<double> value = NumberMember(*member, "value", path, place);
    if (!value) report.Add(path, place, "it has no finite value and counts as 0");
    time.value = value.value_or(0.0);
    const double rate = NumberMember(*member, "rate", path, place).value_or(0.0);
    time.rate = rate > 0.0 ? rate : 0.0;
    return time;
}

std::optional<LevelKey> KeyValue(const json& pair, const std::string& what, const Place& place,
                                 ImportReport& report) {
    const bool isPair = pair.is_array() && pair.size() == 2 && pair[0].is_number();
    if (!isPair) {
        report.Add(what, place, "a key that is no pair of milliseconds and decibels is left out");
        return std::nullopt;
    }
    const std::optional<float> decibels = FloatValue(pair[1], what, place, report);
    if (!decibels) return std::nullopt;
    return LevelKey{pair[0].get<double>(), *decibels};
}

}  // namespace

const json* Member(const json& object, const char* key) {
    if (!object.is_object()) return nullptr;
    const auto at = object.find(key);
    return at == object.end() ? nullptr : &*at;
}

std::string SchemaName(const json& object) {
    std::string schema = StringMember(object, "OTIO_SCHEMA");
    schema.resize(std::min(schema.find('.'), schema.size()));
    if (schema == "Sequence") return "Track";
    if (schema == "Filler") return "Gap";
    if (schema == "SerializeableCollection") return "SerializableCollection";
    return schema;
}

std::string StringMember(const json& object, const char* key) {
    const json* member = Member(object, key);
    return member != nullptr && member->is_string() ? member->get<std::string>() : std::string();
}

const json& ListMember(const json& object, const char* key, const Place& place) {
    static const json EMPTY = json::array();
    const json* member = Member(object, key);
    if (member == nullptr || member->is_null()) return EMPTY;
    if (!member->is_array()) Refuse(place, key, *member, "list");
    return *member;
}

std::optional<TimeRange> RangeMember(const json& object, const char* key, const Place& place,
                                     ImportReport& report) {
    const json* member = Member(object, key);
    if (member == nullptr || member->is_null()) return std::nullopt;
    if (!member->is_object()) Refuse(place, key, *member, "time range");
    TimeRange range;
    const std::string field = key;
    range.start = ReadTime(*member, "start_time", field + ".start_time", place, report);
    range.duration = ReadTime(*member, "duration", field + ".duration", place, report);
    return range;
}

RationalTime TimeMember(const json& object, const char* key, const Place& place,
                        ImportReport& report) {
    return ReadTime(object, key, key, place, report);
}

bool BoolMember(const json& object, const char* key, bool fallback, const Place& place,
                ImportReport& report) {
    const json* member = Member(object, key);
    if (member == nullptr || member->is_null()) return fallback;
    if (member->is_boolean()) return member->get<bool>();
    report.Add(key, place, "it is " + TypeName(*member) + " and is passed over");
    return fallback;
}

const json* MetadataOf(const json& object, const char* program) {
    const json* metadata = Member(object, "metadata");
    if (metadata == nullptr) return nullptr;
    const json* entry = Member(*metadata, program);
    return entry != nullptr && entry->is_object() ? entry : nullptr;
}

std::optional<float> FloatValue(const json& value, const std::string& what, const Place& place,
                                ImportReport& report) {
    if (value.is_number()) {
        const auto number = value.get<double>();
        if (std::abs(number) <= std::numeric_limits<float>::max()) {
            return static_cast<float>(number);
        }
    }
    report.Add(what, place, "it is no usable number and is passed over");
    return std::nullopt;
}

Level LevelValue(const json& value, const std::string& what, const Place& place,
                 ImportReport& report) {
    Level level;
    if (!value.is_array()) {
        level.decibels = FloatValue(value, what, place, report);
        return level;
    }
    for (const json& pair : value) {
        if (const std::optional<LevelKey> key = KeyValue(pair, what, place, report)) {
            level.keys.push_back(*key);
        }
    }
    return level;
}

}  // namespace orlo::host::otio
