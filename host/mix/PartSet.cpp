// SPDX-License-Identifier: MIT
#include "host/mix/PartSet.h"

#include <algorithm>
#include <climits>
#include <utility>

#include "host/manifest/MixValues.h"
#include "host/shell/Errors.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

std::string TextOf(const Json& mix, const char* key) {
    const Json* member = mix.Find(key);
    return member == nullptr ? std::string() : member->ToLine();
}

std::string DifferenceOf(const Json& one, const Json& other) {
    for (const auto& [key, name] :
         {std::pair{"version", "another version of sonrel"},
          std::pair{"timeline", "another timeline"}, std::pair{"media", "other media files"},
          std::pair{"parts", "another number of parts"}}) {
        if (TextOf(one, key) != TextOf(other, key)) return name;
    }
    for (const MixValue& value : MixValueList()) {
        if (TextOf(one, value.key) == TextOf(other, value.key)) continue;
        return std::string("another ") + value.name;
    }
    return "other tracks";
}

[[noreturn]] void RefuseManifest(const PartReader& part, const char* key) {
    throw JobError("cannot use " + Quoted(part.Path()) +
                   " as a part of a mix: its manifest has a wrong " + key);
}

long long IntegerOf(const PartReader& part, const char* key, long long least, long long most) {
    const Json* member = part.Manifest().mix.Find(key);
    const std::optional<long long> value = member != nullptr ? member->AsInteger() : std::nullopt;
    if (!value || *value < least || *value > most) RefuseManifest(part, key);
    return *value;
}

double NumberOf(const PartReader& part, const char* key) {
    const Json* member = part.Manifest().mix.Find(key);
    if (member == nullptr || !member->IsNumber() || !(member->AsNumber() > 0.0)) {
        RefuseManifest(part, key);
    }
    return member->AsNumber();
}

/// "part 2 of 5 is missing", "parts 2, 4 of 5 are missing".
std::string MissingClause(const std::vector<int>& numbers, int count) {
    constexpr std::size_t MAX_NAMED = 8;
    std::string text;
    for (std::size_t i = 0; i < std::min(numbers.size(), MAX_NAMED); ++i) {
        text += (i > 0 ? ", " : "") + std::to_string(numbers[i]);
    }
    if (numbers.size() > MAX_NAMED) {
        text += " and " + std::to_string(numbers.size() - MAX_NAMED) + " more";
    }
    const bool isOne = numbers.size() == 1;
    return (isOne ? "part " : "parts ") + text + " of " + std::to_string(count) +
           (isOne ? " is missing" : " are missing");
}

void Raise(sonrel::AudioTrackMetrics& block, const sonrel::AudioTrackMetrics& other) {
    block.sampleCount = std::max(block.sampleCount, other.sampleCount);
    for (const int channel : {0, 1}) {
        block.peak[channel] = std::max(block.peak[channel], other.peak[channel]);
        block.clipped[channel] |= other.clipped[channel];
    }
}

}  // namespace

PartSet::PartSet(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) parts_.push_back(std::make_unique<PartReader>(path));
    RequireOneMix();
    ReadMix();
    Sort();
    RequireLengths();
}

void PartSet::RequireOneMix() const {
    const PartReader& first = *parts_.front();
    const std::string mix = first.Manifest().mix.ToLine();
    for (const auto& part : parts_) {
        const PartManifest& manifest = part->Manifest();
        if (manifest.mix.ToLine() == mix && manifest.part.count == first.Manifest().part.count) {
            continue;
        }
        throw JobError("the parts " + Quoted(first.Path()) + " and " + Quoted(part->Path()) +
                       " belong to different mixes: the second has " +
                       DifferenceOf(first.Manifest().mix, manifest.mix));
    }
}

void PartSet::Sort() {
    const auto numberOf = [](const auto& part) { return part->Manifest().part.number; };
    std::stable_sort(parts_.begin(), parts_.end(), [&](const auto& one, const auto& other) {
        return numberOf(one) < numberOf(other);
    });
    const int count = parts_.front()->Manifest().part.count;
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        if (i == 0 || numberOf(parts_[i]) != numberOf(parts_[i - 1])) continue;
        throw JobError("part " + std::to_string(numberOf(parts_[i])) + " is there twice: " +
                       Quoted(parts_[i - 1]->Path()) + " and " + Quoted(parts_[i]->Path()));
    }
    std::vector<int> missing;
    auto next = parts_.begin();
    for (int number = 1; number <= count; ++number) {
        if (next != parts_.end() && numberOf(*next) == number) {
            ++next;
        } else {
            missing.push_back(number);
        }
    }
    if (!missing.empty()) throw JobError(MissingClause(missing, count));
}

void PartSet::ReadMix() {
    const PartReader& part = *parts_.front();
    constexpr long long MAX_POSITION = LLONG_MAX / 8;
    grid_.rate = static_cast<int>(IntegerOf(part, "rate", 1, INT_MAX));
    grid_.fps = NumberOf(part, "fps");
    grid_.factor = static_cast<int>(IntegerOf(part, "grid", 1, INT_MAX));
    grid_.startFrame = IntegerOf(part, "startFrame", LLONG_MIN, LLONG_MAX);
    grid_.dropFrame = TextOf(Mix(), "dropFrame") == "true";
    span_.start = IntegerOf(part, "from", 0, MAX_POSITION);
    span_.end = IntegerOf(part, "to", span_.start + 1, MAX_POSITION);
    meterBlockFrames_ = static_cast<int>(IntegerOf(part, "meterBlockFrames", 1, INT_MAX));
    for (const Json& name : Mix().Find("tracks")->AsArray()) {
        if (!name.IsString()) RefuseManifest(part, "tracks");
        trackNames_.push_back(name.AsString());
    }
}

MixBlocks PartSet::BlocksOfPart(std::size_t index) const {
    return MixBlocks({grid_, span_, 1, parts_[index]->Manifest().part});
}

void PartSet::RequireLengths() const {
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        if (parts_[i]->Frames() == BlocksOfPart(i).PartSpan().Count()) continue;
        throw JobError("the part " + Quoted(parts_[i]->Path()) +
                       " does not have its length; mix this part again");
    }
}

std::vector<sonrel::AudioMetrics> PartSet::Meters() const {
    const long long count = (span_.Count() + meterBlockFrames_ - 1) / meterBlockFrames_;
    long long written = 0;
    for (const auto& part : parts_) written += std::ssize(part->Manifest().meters);
    if (written < count) RefuseManifest(*parts_.front(), "meterBlockFrames");
    std::vector<sonrel::AudioMetrics> meters(static_cast<std::size_t>(count));
    for (sonrel::AudioMetrics& block : meters) block.trackMetrics.resize(trackNames_.size());
    for (const auto& part : parts_) {
        const PartManifest& manifest = part->Manifest();
        const long long first = manifest.firstMeterBlock;
        if (first < 0 || first > count - std::ssize(manifest.meters)) {
            RefuseManifest(*part, "firstMeterBlock");
        }
        for (std::size_t i = 0; i < manifest.meters.size(); ++i) {
            sonrel::AudioMetrics& block = meters[static_cast<std::size_t>(first) + i];
            Raise(block.masterMetrics, manifest.meters[i].masterMetrics);
            for (std::size_t track = 0; track < trackNames_.size(); ++track) {
                Raise(block.trackMetrics[track], manifest.meters[i].trackMetrics[track]);
            }
        }
    }
    return meters;
}

}  // namespace orlo::host
