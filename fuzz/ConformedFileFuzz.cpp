// SPDX-License-Identifier: MIT
// Any bytes as a conformed file: its check, its checksum, and reads at positions that the bytes
// choose.
#include <unistd.h>

#include <vector>

#include "fuzz/Support.h"
#include "sonrel/conformed/ConformedAudioFile.h"
#include "sonrel/database/CacheLedger.h"
#include "sonrel/files/FileIdentity.h"

namespace {

using orlo::project::ConformedAudioFile;
using sonrel_fuzz::Choices;
using sonrel_fuzz::Require;

constexpr unsigned char GUARD = 0xC3;
constexpr std::size_t GUARD_BYTES = 64;

void ReadOnce(const ConformedAudioFile& file, long long start, int count, int room) {
    std::vector<unsigned char> buffer(static_cast<std::size_t>(room) + GUARD_BYTES, GUARD);
    int samples = -1;
    const int code = file.GetSamples(start, count, buffer.data(), room, &samples);
    Require(samples >= 0 && samples <= std::max(count, 0), "no more frames than asked for");
    Require(code == 0 || samples == 0, "no frames on an error");
    if (code == 0) {
        Require(start >= file.SampleCount() || start + samples <= file.SampleCount(),
                "no frames beyond the end");
    }
    for (std::size_t i = 0; i < GUARD_BYTES; ++i) {
        Require(buffer[room + i] == GUARD, "nothing written beyond the buffer");
    }
}

/// @param bytes  size of the file
void ReadAnywhere(const ConformedAudioFile& file, std::size_t bytes, Choices choices) {
    Require(file.SampleRate() > 0 && file.SampleCount() >= 0, "a rate and a length");
    Require(file.SampleCount() * 4 <= static_cast<long long>(bytes), "not longer than the file");
    for (int i = 0; i < 8; ++i) {
        const auto start = choices.Take<std::int16_t>();
        const auto count = choices.Take<std::int16_t>();
        const auto room = choices.Take<std::uint16_t>();
        ReadOnce(file, start, count, room);
        const auto far = choices.Take<std::int64_t>();
        ReadOnce(file, far, choices.Take<std::int32_t>(), room);
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // A file that has just been changed is not stored; here every file is an hour old.
    orlo::files::fileClock = [] { return orlo::files::SystemFileClock() + 3'600'000'000'000; };
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const sonrel_fuzz::InputFile input(sonrel_fuzz::AllBytes(data, size), ".xwmc");
    const bool isWhole = orlo::project::IsWholeConformedFile(input.Wide());
    const bool hasChecksum = orlo::project::ConformedFileChecksum(input.Wide(), {}).has_value();
    Require(!isWhole || hasChecksum, "a whole file has a checksum");
    ConformedAudioFile file;
    Require(!isWhole || file.Open(input.Wide()), "a whole file opens");
    // A file that has just been closed is opened with its stored frames, and then without a
    // descriptor.
    for (int i = 0; i < 3; ++i) {
        if (!file.Open(input.Wide())) return 0;
        ReadAnywhere(file, size, Choices(data, size));
        ReadOnce(file, 0, 16, 64);
        ReadOnce(file, 16, 16, 64);
    }
    // The file is truncated while the object is open.
    Require(truncate(input.Path().c_str(), static_cast<long>(size / 2)) == 0, "a truncated file");
    ReadOnce(file, 0, 1024, 4096);
    ReadOnce(file, file.SampleCount() - 1, 1, 4);
    return 0;
}
