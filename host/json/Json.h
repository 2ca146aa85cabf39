// SPDX-License-Identifier: MIT
#pragma once

#include <concepts>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace orlo::host {

/// A JSON value, used for the results of the program and for timeline documents. Members of an
/// object keep the order in which they were added.
class Json {
public:
    struct Member;
    using Items = std::vector<Json>;
    using Members = std::vector<Member>;

    /// Null.
    Json();
    Json(std::nullptr_t);
    template <std::same_as<bool> Bool>
    Json(Bool value) : Json(Truth{value}) {}
    template <std::signed_integral Number>
    Json(Number value) : Json(Signed{value}) {}
    template <std::unsigned_integral Number>
    requires(!std::same_as<Number, bool>) Json(Number value) : Json(Unsigned{value}) {}
    /// Numbers that are not finite are written as null.
    Json(double value);
    Json(const char* text);
    Json(std::string text);
    Json(const std::vector<std::string>& texts);

    Json(const Json& other);
    Json(Json&& other) noexcept;
    Json& operator=(const Json& other);
    Json& operator=(Json&& other) noexcept;
    ~Json();

    static Json Array(Items items);
    static Json Array() { return Array(Items()); }
    static Json Object(Members members);
    static Json Object();

    /// The member of an object; a missing member is added as null. A null value first becomes an
    /// object.
    Json& operator[](std::string_view key);
    /// Appends to an array. A null value first becomes an array.
    void Append(Json value);

    bool IsNull() const { return Is<std::nullptr_t>(); }
    bool IsBool() const { return Is<bool>(); }
    bool IsNumber() const;
    bool IsString() const { return Is<std::string>(); }
    bool IsArray() const { return Is<Items>(); }
    bool IsObject() const { return Is<Members>(); }
    /// The JSON name of the type: "null", "boolean", "number", "string", "array" or "object".
    const char* TypeName() const;

    /// Precondition: the value has this type.
    bool AsBool() const { return std::get<bool>(value_); }
    double AsNumber() const;
    const std::string& AsString() const { return std::get<std::string>(value_); }
    /// A number without a fraction or exponent.
    /// @return empty for other values and for numbers outside the range of signed 64 bits
    std::optional<long long> AsInteger() const;
    const Items& AsArray() const { return std::get<Items>(value_); }
    const Members& AsObject() const { return std::get<Members>(value_); }

    /// The member of an object; null when it is missing or this is not an object.
    const Json* Find(std::string_view key) const;

    /// The value as text on one line. Bytes that are not UTF-8 are replaced.
    std::string ToLine() const;
    /// The value as text with a line for each item and member, indented by two spaces.
    std::string ToIndentedText() const;

private:
    class Writer;
    struct Truth {
        bool value;
    };
    struct Signed {
        long long value;
    };
    struct Unsigned {
        unsigned long long value;
    };

    explicit Json(Truth truth);
    explicit Json(Signed number);
    explicit Json(Unsigned number);

    template <class Type>
    bool Is() const {
        return std::holds_alternative<Type>(value_);
    }

    std::variant<std::nullptr_t, bool, long long, unsigned long long, double, std::string, Items,
                 Members>
        value_;
};

struct Json::Member {
    std::string key;
    Json value;
};

inline Json Json::Object() {
    return Object(Members());
}

}  // namespace orlo::host
