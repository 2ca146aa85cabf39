// SPDX-License-Identifier: MIT
#include "host/json/Json.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <type_traits>

namespace orlo::host {

namespace {

/// A number, a string, a boolean or null.
template <class Scalar>
std::string ScalarText(const Scalar& value) {
    return nlohmann::json(value).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace

// Defined here so that sources that fill an object do not compile the copies of the variant.
Json::Json() = default;
Json::Json(std::nullptr_t) {}
Json::Json(Truth truth) : value_(truth.value) {}
Json::Json(Signed number) : value_(number.value) {}
Json::Json(Unsigned number) : value_(number.value) {}
Json::Json(double value) : value_(value) {}
Json::Json(const char* text) : value_(std::string(text)) {}
Json::Json(std::string text) : value_(std::move(text)) {}
Json::Json(const std::vector<std::string>& texts) : value_(Items(texts.begin(), texts.end())) {}
Json::Json(const Json& other) = default;
Json::Json(Json&& other) noexcept = default;
Json& Json::operator=(const Json& other) = default;
Json& Json::operator=(Json&& other) noexcept = default;
Json::~Json() = default;

/// Appends a value piece by piece, which avoids a second copy in memory.
class Json::Writer {
public:
    /// @param indent  number of spaces per level; 0 writes a single line
    explicit Writer(std::size_t indent) : indent_(indent) {}

    std::string Take() { return std::move(text_); }

    void Write(const Json& value, std::size_t depth) {
        std::visit([&](const auto& content) { WriteContent(content, depth); }, value.value_);
    }

private:
    template <class Scalar>
    void WriteContent(const Scalar& value, std::size_t) {
        text_ += ScalarText(value);
    }

    void WriteContent(const Items& items, std::size_t depth) {
        WriteList('[', items, ']', depth, [&](const Json& item) { Write(item, depth + 1); });
    }

    void WriteContent(const Members& members, std::size_t depth) {
        WriteList('{', members, '}', depth, [&](const Member& member) {
            text_ += ScalarText(member.key) + (indent_ > 0 ? ": " : ":");
            Write(member.value, depth + 1);
        });
    }

    template <class List, class WriteOne>
    void WriteList(char open, const List& list, char close, std::size_t depth,
                   const WriteOne& writeOne) {
        text_ += open;
        bool isFirst = true;
        for (const auto& item : list) {
            if (!isFirst) text_ += ',';
            isFirst = false;
            BreakLine(depth + 1);
            writeOne(item);
        }
        if (!list.empty()) BreakLine(depth);
        text_ += close;
    }

    void BreakLine(std::size_t depth) {
        if (indent_ > 0) text_.append(1, '\n').append(depth * indent_, ' ');
    }

    const std::size_t indent_;
    std::string text_;
};

Json Json::Array(Items items) {
    Json array;
    array.value_ = std::move(items);
    return array;
}

Json Json::Object(Members members) {
    Json object;
    object.value_ = std::move(members);
    return object;
}

Json& Json::operator[](std::string_view key) {
    if (IsNull()) value_ = Members();
    auto& members = std::get<Members>(value_);
    const auto found = std::find_if(members.begin(), members.end(),
                                    [&](const Member& member) { return member.key == key; });
    if (found != members.end()) return found->value;
    members.push_back({std::string(key), {}});
    return members.back().value;
}

void Json::Append(Json value) {
    if (IsNull()) value_ = Items();
    std::get<Items>(value_).push_back(std::move(value));
}

bool Json::IsNumber() const {
    return Is<long long>() || Is<unsigned long long>() || Is<double>();
}

const char* Json::TypeName() const {
    if (IsNumber()) return "number";
    if (IsString()) return "string";
    if (IsArray()) return "array";
    if (IsObject()) return "object";
    return IsBool() ? "boolean" : "null";
}

double Json::AsNumber() const {
    if (const auto* whole = std::get_if<long long>(&value_)) return static_cast<double>(*whole);
    if (const auto* whole = std::get_if<unsigned long long>(&value_)) {
        return static_cast<double>(*whole);
    }
    return std::get<double>(value_);
}

std::optional<long long> Json::AsInteger() const {
    if (const auto* whole = std::get_if<long long>(&value_)) return *whole;
    const auto* whole = std::get_if<unsigned long long>(&value_);
    if (whole == nullptr || !std::in_range<long long>(*whole)) return std::nullopt;
    return static_cast<long long>(*whole);
}

const Json* Json::Find(std::string_view key) const {
    const auto* members = std::get_if<Members>(&value_);
    if (members == nullptr) return nullptr;
    for (const Member& member : *members) {
        if (member.key == key) return &member.value;
    }
    return nullptr;
}

std::string Json::ToLine() const {
    Writer writer(0);
    writer.Write(*this, 0);
    return writer.Take();
}

std::string Json::ToIndentedText() const {
    Writer writer(2);
    writer.Write(*this, 0);
    return writer.Take();
}

}  // namespace orlo::host
