// SPDX-License-Identifier: MIT
#include "host/manifest/Manifest.h"

#include <climits>
#include <cstdint>
#include <filesystem>
#include <limits>

#include "host/manifest/JsonRules.h"
#include "host/manifest/RecordedOptions.h"
#include "host/manifest/Sha256.h"
#include "host/otio/JsonDocument.h"
#include "host/shell/Errors.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

namespace fs = std::filesystem;

constexpr double ANY = std::numeric_limits<double>::max();
constexpr std::size_t FINGERPRINT_DIGITS = 32;

void CheckOption(const Json& value, const std::string& key) {
    if (value.IsString() || (value.IsBool() && value.AsBool())) return;
    if (!value.IsArray()) throw JsonRuleError(key + " is not a text, a list of texts or true");
    IsListOf(IsText())(value, key);
}

void CheckOptions(const Json& value, const std::string& key) {
    HasMembers({})(value, key);
    for (const auto& [name, option] : value.AsObject()) {
        if (!IsRecordedOption("--" + name)) {
            throw JsonRuleError(key + "." + OneLine(name) + " does not belong there");
        }
        // NOLINTNEXTLINE(performance-inefficient-string-concatenation)  a key for each option
        CheckOption(option, key + "." + name);
    }
}

JsonRule IsPosition() {
    return IsInteger(0, LLONG_MAX);
}

/// The name of a track, which may be empty.
JsonRule IsName() {
    return [](const Json& value, const std::string& key) {
        if (!value.IsString()) throw JsonRuleError(key + " is not a text");
    };
}

JsonRule IsSha256() {
    return IsHex(Sha256::DIGITS);
}

JsonRule IsInput() {
    return HasMembers({{"path", IsText()},
                       {"relative", IsText()},
                       {"kind", IsOneOf({"timeline", "media"})},
                       {"sha256", IsNullOr(IsSha256())}});
}

JsonRule IsMix() {
    return HasMembers({{"from", IsPosition()},
                       {"to", IsPosition()},
                       {"rate", IsInteger(1, INT_MAX)},
                       {"fps", IsNumber(0.0, ANY)},
                       {"grid", IsInteger(1, INT_MAX)},
                       {"startFrame", IsInteger(LLONG_MIN, LLONG_MAX)},
                       {"dropFrame", IsFlag()},
                       {"dither", IsOneOf({"none", "triangular", "highpass"})},
                       {"seed", IsNullOr(IsInteger(1, UINT32_MAX))},
                       {"gain", IsNumber(-200.0, 200.0)},
                       {"composition", IsNullOr(IsText())},
                       {"retime", IsOneOf({"otio", "media"})},
                       {"audioFrom", IsOneOf({"auto", "audio", "video"})},
                       {"normalize", IsNullOr(IsNumber(-70.0, 0.0))},
                       {"truePeak", IsNullOr(IsNumber(-60.0, 0.0))},
                       {"sound", IsText()}});
}

JsonRule IsMedia() {
    return HasMembers({{"path", IsText()},
                       {"sound", IsText()},
                       {"size", IsNullOr(IsPosition())},
                       {"fingerprint", IsNullOr(IsHex(FINGERPRINT_DIGITS))},
                       {"sha256", IsNullOr(IsSha256())},
                       {"samples", IsPosition()},
                       {"ranges", IsListOf(HasMembers({{"from", IsNumber(0.0, ANY)},
                                                       {"to", IsNumber(0.0, ANY)}}))}});
}

JsonRule IsSignal() {
    return HasMembers({{"name", IsName()},
                       {"peak", IsListOf(IsNullOr(IsNumber(0.0, ANY)), 2)},
                       {"clippedBlocks", IsListOf(IsPosition(), 2)},
                       {"clips", IsListOf(HasMembers({{"fromSample", IsPosition()},
                                                      {"toSample", IsPosition()}}))}});
}

JsonRule IsManifest() {
    return HasMembers(
        {{"versions",
          HasMembers(
              {{"program", IsText()}, {"library", IsText()}, {"ffmpeg", IsNullOr(IsText())}})},
         {"input", IsInput()},
         {"options", CheckOptions},
         {"mix", IsMix()},
         {"media", IsListOf(IsMedia())},
         {"tracks", IsListOf(IsSignal())},
         {"master", IsNullOr(IsSignal())},
         {"loudness", HasMembers({{"integrated", IsNullOr(IsNumber(-ANY, ANY))},
                                  {"truePeak", IsNullOr(IsNumber(-ANY, ANY))}})},
         {"normalization", IsNullOr(HasMembers({{"gain", IsNumber(-ANY, ANY)}}))},
         {"samples", HasMembers({{"count", IsInteger(1, LLONG_MAX)}, {"sha256", IsSha256()}})},
         {"stems", IsListOf(HasMembers({{"name", IsName()}, {"sha256", IsSha256()}}))},
         {"checksum", IsSha256()}});
}

void CheckFormat(const Json& manifest) {
    HasMembers({{"format", IsInteger(1, INT_MAX)}})(manifest, {});
    const long long format = *manifest.Find("format")->AsInteger();
    if (format == MANIFEST_FORMAT) return;
    throw JsonRuleError("format is " + std::to_string(format) +
                        ", and this version of sonrel reads format " +
                        std::to_string(MANIFEST_FORMAT));
}

bool Exists(const fs::path& path) {
    std::error_code ignored;
    return fs::exists(path, ignored);
}

/// The folder of a file without links.
fs::path RealFolderOf(const std::string& path) {
    std::error_code ignored;
    const fs::path folder = fs::path(AbsolutePath(path)).parent_path();
    const fs::path real = fs::weakly_canonical(folder, ignored);
    return real.empty() ? folder : real;
}

}  // namespace

Json NormalizedManifest(const Json& manifest) {
    return otio::ParseDocument(manifest.ToLine());
}

std::string ManifestChecksum(const Json& manifest) {
    const Json whole = NormalizedManifest(manifest);
    Json rest = Json::Object();
    for (const auto& [key, value] : whole.AsObject()) {
        if (key != "checksum") rest[key] = value;
    }
    return Sha256OfText(rest.ToLine());
}

Json ReadManifest(const std::string& path) {
    try {
        Json manifest = otio::ReadDocument(path);
        CheckFormat(manifest);
        IsManifest()(manifest, {});
        return manifest;
    } catch (const otio::DocumentError& error) {
        throw JobError("cannot read the manifest " + Quoted(path) + ": " + error.what());
    } catch (const JsonRuleError& error) {
        throw JobError("cannot use the manifest " + Quoted(path) + ": " + error.what());
    }
}

std::string PathFromFolderOf(const std::string& base, const std::string& path) {
    const fs::path file(AbsolutePath(path));
    return (RealFolderOf(path) / file.filename()).lexically_relative(RealFolderOf(base)).string();
}

std::string InputOfManifest(const Json& manifest, const std::string& path) {
    const Json& input = *manifest.Find("input");
    std::string near =
        (RealFolderOf(path) / input.Find("relative")->AsString()).lexically_normal().string();
    if (Exists(near)) return near;
    const std::string& given = input.Find("path")->AsString();
    if (Exists(given)) return given;
    throw JobError("cannot find the input of the manifest " + Quoted(path) + ": neither " +
                   Quoted(near) + " nor " + Quoted(given) +
                   " exists; move the manifest to the folder where it was written");
}

}  // namespace orlo::host
