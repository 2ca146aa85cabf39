// SPDX-License-Identifier: MIT
#include "host/otio/JsonDocument.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <string_view>
#include <vector>

#include "host/Text.h"

namespace orlo::host::otio {

namespace {

constexpr int MAX_DEPTH = 1000;
constexpr std::size_t MAX_VALUES = 10'000'000;
constexpr long long MAX_BYTES = 256LL << 20;

constexpr std::string_view NULL_TOKEN = "null";

/// The text with its non-finite numbers made null, and the way back to positions in the original.
struct CleanText {
    std::string text;
    /// Places in text at which one character was put in.
    std::vector<std::size_t> insertions;

    /// A position in text as a place in the original.
    std::string LineAndColumn(std::size_t position) const {
        position = std::min(position, text.size());
        const std::string_view before = std::string_view(text).substr(0, position);
        const auto line = std::count(before.begin(), before.end(), '\n') + 1;
        const std::size_t lineStart = before.rfind('\n') + 1;  // npos + 1 is 0
        const auto inserted = std::lower_bound(insertions.begin(), insertions.end(), position) -
                              std::lower_bound(insertions.begin(), insertions.end(), lineStart);
        const std::size_t column = position - lineStart - static_cast<std::size_t>(inserted) + 1;
        return "line " + std::to_string(line) + ", column " + std::to_string(column);
    }
};

bool IsWordCharacter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '_' || character == '.';
}

/// Length of the non-finite number at the beginning of @p rest; 0 when there is none.
std::size_t NonFiniteLength(std::string_view rest) {
    for (const std::string_view token : {"-Infinity", "Infinity", "-NaN", "-Inf", "NaN", "Inf"}) {
        if (!rest.starts_with(token)) continue;
        const bool ends = rest.size() == token.size() || !IsWordCharacter(rest[token.size()]);
        if (ends) return token.size();
    }
    return 0;
}

/// Length of the string, quotation marks included, at the beginning of @p rest.
std::size_t StringLength(std::string_view rest) {
    std::size_t at = 1;
    while (at < rest.size() && rest[at] != '"') at += rest[at] == '\\' ? 2 : 1;
    return std::min(at + 1, rest.size());
}

CleanText ReplaceNonFinite(std::string original) {
    CleanText clean;
    const std::string_view all = original;
    std::size_t copied = 0;
    std::size_t at = 0;
    while (at < all.size()) {
        if (all[at] == '"') {
            at += StringLength(all.substr(at));
            continue;
        }
        if (IsWordCharacter(all[at]) && all[at] != 'N' && all[at] != 'I') {
            // The rest of a word is no number of its own.
            while (at < all.size() && IsWordCharacter(all[at])) ++at;
            continue;
        }
        const std::size_t length = NonFiniteLength(all.substr(at));
        if (length == 0) {
            ++at;
            continue;
        }
        clean.text.append(all, copied, at - copied);
        if (length < NULL_TOKEN.size()) clean.insertions.push_back(clean.text.size() + length);
        clean.text += NULL_TOKEN;
        if (length > NULL_TOKEN.size()) clean.text.append(length - NULL_TOKEN.size(), ' ');
        at += length;
        copied = at;
    }
    if (copied == 0) {
        clean.text = std::move(original);
    } else {
        clean.text.append(all, copied);
    }
    return clean;
}

/// Watches the parser: counts what it makes, and tells which keys lead to nothing that is read.
class ParseGuard {
public:
    bool operator()(int depth, nlohmann::json::parse_event_t event, nlohmann::json& parsed) {
        using Event = nlohmann::json::parse_event_t;
        if (depth > MAX_DEPTH) {
            throw DocumentError("nested deeper than " + std::to_string(MAX_DEPTH) + " levels");
        }
        if (event == Event::object_start || event == Event::array_start || event == Event::value) {
            if (++values_ > MAX_VALUES) {
                throw DocumentError("more than " + std::to_string(MAX_VALUES) + " values");
            }
        }
        if (event == Event::key) return KeepKey(depth, parsed.get_ref<const std::string&>());
        const bool ends =
            event == Event::value || event == Event::object_end || event == Event::array_end;
        if (ends && depth == metadataDepth_) metadataDepth_ = 0;
        return true;
    }

private:
    /// Of the metadata, which is most of many files, only two programs' entries are read.
    bool KeepKey(int depth, const std::string& key) {
        if (metadataDepth_ != 0 && depth <= metadataDepth_) metadataDepth_ = 0;
        if (metadataDepth_ != 0) {
            return depth > metadataDepth_ + 1 || key == "sonrel" || key == "Resolve_OTIO";
        }
        if (key == "metadata") metadataDepth_ = depth;
        return key != "markers";
    }

    std::size_t values_ = 0;
    /// Depth of the key "metadata" whose value is being read; 0 outside of one.
    int metadataDepth_ = 0;
};

/// The parser's message without its own prefix, or as it is.
std::string Reason(const std::string& message) {
    const std::size_t colon = message.find(": ");
    return OneLine(colon == std::string::npos ? message : message.substr(colon + 2));
}

}  // namespace

nlohmann::json ParseDocument(std::string text) {
    const CleanText clean = ReplaceNonFinite(std::move(text));
    try {
        nlohmann::json document = nlohmann::json::parse(
            clean.text, [guard = ParseGuard()](int depth, nlohmann::json::parse_event_t event,
                                               nlohmann::json& parsed) mutable {
                return guard(depth, event, parsed);
            });
        return document;
    } catch (const nlohmann::json::parse_error& error) {
        // The parser counts from 1 and has read the character it stumbled over.
        const std::size_t at = error.byte == 0 ? 0 : error.byte - 1;
        throw DocumentError("no valid JSON at " + clean.LineAndColumn(at) + " (" +
                            Reason(error.what()) + ")");
    } catch (const nlohmann::json::exception& error) {
        throw DocumentError("no usable JSON (" + Reason(error.what()) + ")");
    }
}

nlohmann::json ReadDocument(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) throw DocumentError(std::strerror(errno));
    if (!S_ISREG(status.st_mode)) throw DocumentError("not a regular file");
    if (status.st_size > MAX_BYTES) {
        throw DocumentError("larger than " + std::to_string(MAX_BYTES >> 20) +
                            " MiB, which no timeline is");
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) throw DocumentError(std::strerror(errno));
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (file.bad() || file.gcount() != static_cast<std::streamsize>(text.size())) {
        throw DocumentError("it cannot be read to its end");
    }
    return ParseDocument(std::move(text));
}

}  // namespace orlo::host::otio
