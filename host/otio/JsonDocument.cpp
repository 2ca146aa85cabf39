// SPDX-License-Identifier: MIT
#include "host/otio/JsonDocument.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>
#include <vector>

#include "host/shell/Text.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::host::otio {

namespace {

constexpr std::size_t MAX_DEPTH = 1000;
constexpr std::size_t MAX_VALUES = 4'000'000;
constexpr long long MAX_BYTES = 256LL << 20;

constexpr std::string_view NULL_TOKEN = "null";

/// The text with null in place of non-finite numbers, and a map of its positions to the original.
struct CleanText {
    std::string text;
    /// Positions in text at which a character was inserted.
    std::vector<std::size_t> insertions;

    /// Converts a position in text to line and column in the original.
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
            // A number name inside a longer word is part of that word.
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

/// Whether the importer reads metadata under this name.
bool IsReadMetadata(std::string_view name) {
    constexpr std::array<std::string_view, 5> READ = {"sonrel", "Resolve_OTIO", "PremierePro_OTIO",
                                                      "fcp_xml", "ffmpeg_audio_stream"};
    return std::find(READ.begin(), READ.end(), name) != READ.end();
}

/// Metadata of AAF files are large. The importer reads them in effects, and the fades of a clip.
constexpr std::string_view AAF = "AAF";

bool IsReadInAaf(std::string_view name) {
    return name == "FadeInLength" || name == "FadeOutLength";
}

/// Levels down to the metadata of the timeline and of its stack, in which a timecode may be
/// drop-frame.
constexpr std::size_t TIMELINE_LEVELS = 3;

/// Builds the document from parser events. Drops markers and the metadata of other programs in
/// tracks and items, which nothing reads and which make up most of many files.
class DocumentBuilder : public nlohmann::json_sax<nlohmann::json> {
public:
    explicit DocumentBuilder(const CleanText& source) : source_(source) {}

    Json Take() { return std::move(document_); }

    bool null() override { return Put(nullptr); }
    bool boolean(bool value) override { return Put(value); }
    bool number_integer(number_integer_t value) override { return Put(value); }
    bool number_unsigned(number_unsigned_t value) override { return Put(value); }
    bool number_float(number_float_t value, const string_t&) override { return Put(value); }
    bool string(string_t& value) override { return Put(std::move(value)); }
    bool binary(binary_t&) override { return Put(nullptr); }
    bool start_object(std::size_t) override { return Open(false); }
    bool start_array(std::size_t) override { return Open(true); }
    bool end_object() override { return Close(); }
    bool end_array() override { return Close(); }

    bool key(string_t& name) override {
        if (droppedDepth_ > 0) return true;
        Level& level = levels_.back();
        dropNext_ = IsDroppedMember(level, name);
        aafNext_ = level.isMetadata && !level.isOfEffect && name == AAF &&
                   levels_.size() > TIMELINE_LEVELS;
        effectsNext_ = !level.isKept && !level.isMetadata && name == "effects";
        // The content of kept metadata is stored unchanged.
        metadataNext_ = !level.isKept && name == "metadata";
        keptNext_ = level.isKept || level.isMetadata;
        level.key = std::move(name);
        return true;
    }

    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::json::exception& error) override;

private:
    struct Level;

    bool IsDroppedMember(const Level& level, const std::string& name) const {
        if (level.isAaf) return !IsReadInAaf(name);
        if (!level.isMetadata) return !level.isKept && name == "markers";
        return levels_.size() > TIMELINE_LEVELS && name != AAF && !IsReadMetadata(name);
    }

    /// An array or object whose end has not been read yet.
    struct Level {
        Json::Items items;      ///< of an array
        Json::Members members;  ///< of an object
        std::string key;        ///< of the next member
        bool isArray = false;
        bool isMetadata = false;
        bool isKept = false;
        bool isOfEffect = false;  ///< in the list of effects of an item
        bool isAaf = false;       ///< metadata of an AAF file outside an effect
    };

    bool Put(Json value) {
        if (IsDropped()) return true;
        Count();
        Store(std::move(value));
        return true;
    }

    bool Open(bool isArray) {
        if (levels_.size() + droppedDepth_ >= MAX_DEPTH) {
            throw DocumentError("nested deeper than " + std::to_string(MAX_DEPTH) + " levels");
        }
        if (IsDropped()) {
            ++droppedDepth_;
            return true;
        }
        Count();
        const bool inArray = !levels_.empty() && levels_.back().isArray;
        Level level;
        level.isArray = isArray;
        level.isMetadata = !inArray && metadataNext_ && !isArray;
        level.isKept = inArray ? levels_.back().isKept : keptNext_;
        level.isOfEffect = effectsNext_ || (!levels_.empty() && levels_.back().isOfEffect);
        level.isAaf = !inArray && aafNext_ && !isArray;
        effectsNext_ = false;
        aafNext_ = false;
        levels_.push_back(std::move(level));
        metadataNext_ = false;
        return true;
    }

    bool Close() {
        if (droppedDepth_ > 0) {
            --droppedDepth_;
            return true;
        }
        Level level = std::move(levels_.back());
        levels_.pop_back();
        Store(level.isArray ? Json::Array(std::move(level.items))
                            : Json::Object(Sorted(std::move(level.members))));
        return true;
    }

    /// Whether the next value is dropped or is inside a dropped value. Consumes dropNext_.
    bool IsDropped() { return std::exchange(dropNext_, false) || droppedDepth_ > 0; }

    void Count() {
        if (++values_ > MAX_VALUES) {
            throw DocumentError("more than " + std::to_string(MAX_VALUES) + " values");
        }
    }

    void Store(Json value) {
        if (levels_.empty()) {
            document_ = std::move(value);
        } else if (levels_.back().isArray) {
            levels_.back().items.push_back(std::move(value));
        } else {
            levels_.back().members.push_back({std::move(levels_.back().key), std::move(value)});
        }
    }

    static Json::Members Sorted(Json::Members members);

    const CleanText& source_;
    Json document_;
    std::vector<Level> levels_;
    std::size_t values_ = 0;
    std::size_t droppedDepth_ = 0;
    bool dropNext_ = false;
    bool metadataNext_ = false;
    bool keptNext_ = false;
    bool effectsNext_ = false;
    bool aafNext_ = false;
};

/// Sorts members by name and keeps only the last of equal names.
Json::Members DocumentBuilder::Sorted(Json::Members members) {
    std::stable_sort(members.begin(), members.end(),
                     [](const Json::Member& a, const Json::Member& b) { return a.key < b.key; });
    const auto last =
        std::unique(members.rbegin(), members.rend(),
                    [](const Json::Member& a, const Json::Member& b) { return a.key == b.key; });
    members.erase(members.begin(), last.base());
    return members;
}

constexpr std::size_t MAX_REASON = 160;

/// The parser's message without its prefix, truncated because it may quote the file at length.
std::string Reason(const std::string& message) {
    const std::size_t colon = message.find(": ");
    const std::string reason =
        OneLine(colon == std::string::npos ? message : message.substr(colon + 2));
    return reason.size() <= MAX_REASON ? reason : reason.substr(0, MAX_REASON) + "...";
}

bool DocumentBuilder::parse_error(std::size_t position, const std::string&,
                                  const nlohmann::json::exception& error) {
    // The parser counts from 1 and has already read the faulty character.
    const std::size_t at = position == 0 ? 0 : position - 1;
    throw DocumentError("invalid JSON at " + source_.LineAndColumn(at) + " (" +
                        Reason(error.what()) + ")");
}

}  // namespace

Json ParseDocument(std::string text) {
    const CleanText clean = ReplaceNonFinite(std::move(text));
    DocumentBuilder builder(clean);
    nlohmann::json::sax_parse(clean.text, &builder);
    return builder.Take();
}

Json ReadDocument(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) throw DocumentError(std::strerror(errno));
    if (!S_ISREG(status.st_mode)) throw DocumentError("not a regular file");
    if (status.st_size > MAX_BYTES) {
        throw DocumentError("larger than " + std::to_string(MAX_BYTES >> 20) +
                            " MiB, the limit for a timeline");
    }
    const int descriptor = files::OpenForReading(path, files::Links::Followed);
    if (descriptor < 0) throw DocumentError(std::strerror(errno));
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    const std::size_t read = files::ReadFully(descriptor, text.data(), text.size());
    files::Close(descriptor);
    if (read != text.size()) throw DocumentError("a read error before the end of the file");
    return ParseDocument(std::move(text));
}

}  // namespace orlo::host::otio
