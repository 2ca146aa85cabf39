// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <vector>

template <class T>
void Put(std::ofstream& file, T value) {
    file.write(reinterpret_cast<const char*>(&value), sizeof(value));
}

/// Writes interleaved stereo samples as a 16-bit WAV file.
inline void WriteWav(const std::filesystem::path& path, std::uint32_t rate,
                     const std::vector<std::int16_t>& samples) {
    const auto bytes = static_cast<std::uint32_t>(samples.size() * 2);
    std::ofstream file(path, std::ios::binary);
    file << "RIFF";
    Put(file, std::uint32_t{36 + bytes});
    file << "WAVEfmt ";
    Put(file, std::uint32_t{16});
    Put(file, std::uint16_t{1});   // PCM
    Put(file, std::uint16_t{2});   // channels
    Put(file, rate);               // sample frames a second
    Put(file, rate * 4);           // bytes a second
    Put(file, std::uint16_t{4});   // bytes in a sample frame
    Put(file, std::uint16_t{16});  // bits in a value
    file << "data";
    Put(file, bytes);
    file.write(reinterpret_cast<const char*>(samples.data()), bytes);
}
