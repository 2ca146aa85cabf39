// SPDX-License-Identifier: MIT
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "sonrel/contracts/project/ConformedAudioFile.h"

/// Any bytes as a conformed file, and reads of it at positions that the bytes choose.
namespace {

constexpr unsigned char GUARD = 0xC3;
constexpr std::size_t GUARD_BYTES = 64;

void Require(bool holds) {
    if (!holds) std::abort();
}

/// What the bytes at @p at say, and the next place.
template <class T>
T Take(const std::uint8_t* data, std::size_t size, std::size_t* at) {
    T value{};
    const std::size_t bytes = std::min(sizeof(T), size - std::min(size, *at));
    if (bytes > 0) std::memcpy(&value, data + *at, bytes);
    *at += sizeof(T);
    return value;
}

void ReadOnce(const orlo::project::ConformedAudioFile& file, long long start, int count, int room) {
    std::vector<unsigned char> buffer(static_cast<std::size_t>(room) + GUARD_BYTES, GUARD);
    int samples = -1;
    const int code = file.GetSamples(start, count, buffer.data(), room, &samples);
    Require(samples >= 0 && samples <= std::max(count, 0) && (code == 0 || samples == 0));
    if (code == 0) Require(start >= file.SampleCount() || start + samples <= file.SampleCount());
    for (std::size_t i = 0; i < GUARD_BYTES; ++i) Require(buffer[room + i] == GUARD);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string PATH = [] {
        std::string name = "/dev/shm/conformed-fuzz-XXXXXX";  // in memory
        const int descriptor = mkstemp(name.data());
        Require(descriptor >= 0);
        close(descriptor);
        return name;
    }();
    std::ofstream(PATH, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));

    orlo::project::ConformedAudioFile file;
    if (!file.Open(std::wstring(PATH.begin(), PATH.end()))) return 0;
    Require(file.SampleRate() > 0 && file.SampleCount() >= 0);
    Require(file.SampleCount() * 4 <= static_cast<long long>(size));

    std::size_t at = size / 2;
    for (int i = 0; i < 8; ++i) {
        const auto start = Take<std::int16_t>(data, size, &at);
        const auto count = Take<std::int16_t>(data, size, &at);
        const auto room = Take<std::uint16_t>(data, size, &at);
        ReadOnce(file, start, count, room);
        ReadOnce(file, Take<std::int64_t>(data, size, &at), Take<std::int32_t>(data, size, &at),
                 room);
    }
    // Once more after the file was cut short under the open object.
    Require(truncate(PATH.c_str(), static_cast<long>(size / 2)) == 0);
    ReadOnce(file, 0, 1024, 4096);
    ReadOnce(file, file.SampleCount() - 1, 1, 4);
    return 0;
}
