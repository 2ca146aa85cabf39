// SPDX-License-Identifier: MIT
#include "host/mix/PartFile.h"

#include <cstdint>
#include <cstring>
#include <utility>

#include "host/otio/JsonDocument.h"
#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "sonrel/base/StereoFrame.h"

namespace orlo::host {

namespace {

constexpr const char* MANIFEST_CHUNK = "snrl";
constexpr const char* METER_CHUNK = "smtr";
/// Version of the manifest.
constexpr int PART_FORMAT = 1;

/// A meter block of one signal as it is stored: 16 bytes, little-endian.
struct StoredMetrics {
    std::int32_t sampleCount = 0;
    float peak[2] = {};
    std::uint8_t clipped[4] = {};  ///< left, right, unused
};
static_assert(sizeof(StoredMetrics) == 16);

void Append(const sonrel::AudioTrackMetrics& metrics, std::string& bytes) {
    StoredMetrics stored;
    stored.sampleCount = metrics.sampleCount;
    for (const int channel : {0, 1}) {
        stored.peak[channel] = metrics.peak[channel];
        stored.clipped[channel] = metrics.clipped[channel] ? 1 : 0;
    }
    bytes.append(reinterpret_cast<const char*>(&stored), sizeof(stored));
}

sonrel::AudioTrackMetrics Take(const char* bytes) {
    StoredMetrics stored;
    std::memcpy(&stored, bytes, sizeof(stored));
    sonrel::AudioTrackMetrics metrics;
    metrics.sampleCount = stored.sampleCount;
    for (const int channel : {0, 1}) {
        metrics.peak[channel] = stored.peak[channel];
        metrics.clipped[channel] = stored.clipped[channel] != 0;
    }
    return metrics;
}

/// Each block as the master and then the tracks.
std::string BytesOf(const std::vector<sonrel::AudioMetrics>& meters) {
    std::string bytes;
    for (const sonrel::AudioMetrics& block : meters) {
        Append(block.masterMetrics, bytes);
        for (const sonrel::AudioTrackMetrics& track : block.trackMetrics) Append(track, bytes);
    }
    return bytes;
}

std::vector<sonrel::AudioMetrics> MetersOf(const std::string& bytes, std::size_t tracks) {
    constexpr std::size_t STEP = sizeof(StoredMetrics);
    std::vector<sonrel::AudioMetrics> meters(bytes.size() / (STEP * (tracks + 1)));
    const char* at = bytes.data();
    for (sonrel::AudioMetrics& block : meters) {
        block.masterMetrics = Take(at);
        at += STEP;
        for (std::size_t i = 0; i < tracks; ++i, at += STEP) block.trackMetrics.push_back(Take(at));
    }
    return meters;
}

std::uint64_t NumberAt(const std::string& bytes, std::size_t offset, std::size_t size) {
    std::uint64_t number = 0;
    std::memcpy(&number, bytes.data() + offset, size);
    return number;
}

/// A member of the manifest; throws DocumentError for a manifest without it.
const Json& Member(const Json& object, const char* key) {
    const Json* member = object.Find(key);
    if (member == nullptr) throw otio::DocumentError(std::string("its manifest has no ") + key);
    return *member;
}

const std::string& StringMember(const Json& object, const char* key) {
    const Json& member = Member(object, key);
    if (!member.IsString())
        throw otio::DocumentError(std::string("its manifest has a wrong ") + key);
    return member.AsString();
}

long long IntegerMember(const Json& object, const char* key) {
    const std::optional<long long> value = Member(object, key).AsInteger();
    if (!value) throw otio::DocumentError(std::string("its manifest has a wrong ") + key);
    return *value;
}

PartChoice PartOf(const Json& manifest) {
    const long long number = IntegerMember(manifest, "part");
    const long long count = IntegerMember(manifest, "parts");
    if (count < 1 || count > MAX_PARTS || number < 1 || number > count) {
        throw otio::DocumentError("its manifest has a wrong part");
    }
    return {static_cast<int>(number), static_cast<int>(count)};
}

}  // namespace

PartWriter::PartWriter(const std::string& path, OutputGuard& guard, int rate, long long frames)
    : writer_(path, guard, rate, frames) {}

void PartWriter::Write(const short* frames, long long count) {
    digest_.Add(frames, static_cast<std::size_t>(count * zrtl::FRAME_BYTES));
    writer_.Write(frames, count);
}

void PartWriter::Describe(PartManifest manifest) {
    Json json;
    json["format"] = PART_FORMAT;
    json["mix"] = std::move(manifest.mix);
    json["part"] = manifest.part.number;
    json["parts"] = manifest.part.count;
    json["firstMeterBlock"] = manifest.firstMeterBlock;
    json["checksum"] = digest_.Value();
    writer_.AddChunk(MANIFEST_CHUNK, json.ToLine());
    writer_.AddChunk(METER_CHUNK, BytesOf(manifest.meters));
}

PartReader::PartReader(const std::string& path) : path_(path) {
    file_.emplace(path_);
    ReadHeader();
    ReadManifest();
    file_.reset();
    at_ = firstByte_;
}

void PartReader::Refuse(const std::string& reason) const {
    throw JobError("cannot use " + Quoted(path_) + " as a part of a mix: " + reason);
}

std::string PartReader::ReadBytes(long long count) {
    std::string bytes(static_cast<std::size_t>(count), '\0');
    if (file_->ReadAt(at_, bytes.data(), bytes.size()) != bytes.size()) {
        Refuse("it was cut short; mix this part again");
    }
    at_ += count;
    return bytes;
}

/// The header is a header that WavWriter writes.
void PartReader::ReadHeader() {
    constexpr std::size_t PLAIN_RATE = 24;
    constexpr std::size_t PLAIN_SIZE = 40;
    constexpr std::size_t LONG_SIZE = 28;
    const std::string start = ReadBytes(PLAIN_SIZE + 4);
    const bool isLong = start.starts_with("RF64");
    if ((!isLong && !start.starts_with("RIFF")) || start.substr(8, 4) != "WAVE") {
        Refuse("it is not a WAV file");
    }
    const std::uint64_t bytes =
        isLong ? NumberAt(start, LONG_SIZE, 8) : NumberAt(start, PLAIN_SIZE, 4);
    if (bytes > static_cast<std::uint64_t>(file_->Size())) {
        Refuse("it was cut short; mix this part again");
    }
    frames_ = static_cast<long long>(bytes / zrtl::FRAME_BYTES);
    const auto rate = static_cast<int>(NumberAt(start, PLAIN_RATE, 4));
    firstByte_ = std::ssize(
        WavHeader(isLong ? WavFormat::Rf64 : WavFormat::Wav, isLong ? 48000 : rate, frames_));
}

std::string PartReader::ReadChunk(const std::string& name) {
    const std::string head = ReadBytes(8);
    if (head.substr(0, 4) != name) Refuse("it was not written with --part");
    const auto size = static_cast<long long>(NumberAt(head, 4, 4));
    if (size > file_->Size() - at_) Refuse("it was cut short; mix this part again");
    std::string content = ReadBytes(size);
    if (size % 2 != 0) ReadBytes(1);
    return content;
}

void PartReader::ReadManifest() {
    const long long end = firstByte_ + frames_ * zrtl::FRAME_BYTES;
    if (file_->Size() < end) Refuse("it was cut short; mix this part again");
    if (file_->Size() == end) Refuse("it was not written with --part");
    at_ = end;
    try {
        const Json json = otio::ParseDocument(ReadChunk(MANIFEST_CHUNK));
        if (IntegerMember(json, "format") != PART_FORMAT) {
            Refuse("another version of sonrel wrote it");
        }
        manifest_.mix = Member(json, "mix");
        manifest_.part = PartOf(json);
        manifest_.firstMeterBlock = IntegerMember(json, "firstMeterBlock");
        manifest_.checksum = StringMember(json, "checksum");
        const Json& tracks = Member(manifest_.mix, "tracks");
        if (!tracks.IsArray()) Refuse("its manifest has wrong tracks");
        manifest_.meters = MetersOf(ReadChunk(METER_CHUNK), tracks.AsArray().size());
    } catch (const otio::DocumentError& fault) {
        Refuse(fault.what());
    }
}

void PartReader::Read(unsigned char* bytes, long long frames) {
    const long long count = frames * zrtl::FRAME_BYTES;
    if (!file_) file_.emplace(path_);
    if (file_->ReadAt(at_, bytes, static_cast<std::size_t>(count)) !=
        static_cast<std::size_t>(count)) {
        Refuse("it was cut short; mix this part again");
    }
    at_ += count;
    digest_.Add(bytes, static_cast<std::size_t>(count));
}

void PartReader::RequireChecksum() {
    file_.reset();
    if (digest_.Value() != manifest_.checksum) {
        Refuse("its samples are damaged; mix this part again");
    }
}

}  // namespace orlo::host
