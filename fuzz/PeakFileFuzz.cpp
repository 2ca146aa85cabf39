// SPDX-License-Identifier: MIT
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "sonrel/caches/PeakFile.h"
#include "tests/support/LiteralPeaks.h"

/// Any bytes as a peak file, and reads of ranges and steps that the bytes choose, each beside the
/// reader of single bytes.
namespace {

using orlo::sonrel::PeakFile;
using orlo::sonrel::literal::PeakReader;

void Require(bool holds) {
    if (!holds) std::abort();
}

/// Takes numbers off the end of the input.
class Choices {
public:
    Choices(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}

    template <class Number>
    Number Take() {
        Number number{};
        const std::size_t bytes = std::min(sizeof number, left_);
        left_ -= bytes;
        if (bytes > 0) std::memcpy(&number, data_ + left_, bytes);
        return number;
    }

private:
    const std::uint8_t* data_;
    std::size_t left_;
};

double StepOf(Choices& choices) {
    const auto kind = choices.Take<std::uint8_t>();
    if (kind < 64) return choices.Take<double>();
    if (kind < 128) return 1.0 + choices.Take<std::uint8_t>();
    return 1.0 + choices.Take<std::uint16_t>() / 4096.0;
}

/// Whether the range asks for room below zero, which throws.
bool Throws(int first, int end, double step, int values) {
    return zrtl::RoundHalfAway((static_cast<double>(end) - first) / step * values) < 0.0;
}

template <class Points, class Read, class ReadLiteral>
void Compare(bool throws, Read read, ReadLiteral readLiteral) {
    Points points{1, 2, 3};
    Points expected{1, 2, 3};
    try {
        const PeakFile::Result result = read(points);
        Require(!throws || result == PeakFile::Result::InvalidArgument);
        Require(result == readLiteral(expected));
        Require(points == expected);
    } catch (const std::length_error&) {
        Require(throws);
    }
}

void ReadOnce(PeakFile& file, const std::string& path, Choices& choices) {
    const int blocks = file.BlockCount();
    const int channels = file.ChannelCount();
    const int first = choices.Take<std::int16_t>();
    const int end = choices.Take<std::uint8_t>() < 32 ? blocks : choices.Take<std::int16_t>();
    const double step = StepOf(choices);
    PeakReader literal(path, channels, blocks);
    Compare<std::vector<signed char>>(
        Throws(first, end, step, channels),
        [&](auto& points) { return file.GetChannelPeaks(first, end, step, points); },
        [&](auto& points) { return literal.GetChannelPeaks(first, end, step, points); });
    Compare<std::vector<unsigned char>>(
        Throws(first, end, step, 1),
        [&](auto& points) { return file.GetRMSAmplitude(first, end, step, points); },
        [&](auto& points) { return literal.GetRMSAmplitude(first, end, step, points); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string PATH = [] {
        std::string name = "/dev/shm/peak-fuzz-XXXXXX";  // in memory
        const int descriptor = mkstemp(name.data());
        Require(descriptor >= 0);
        close(descriptor);
        return name;
    }();
    // The first byte chooses whether the bytes come behind a good head, so that the folds are
    // reached from the start.
    Choices choices(data, size);
    const auto head = choices.Take<std::uint8_t>();
    std::string bytes(reinterpret_cast<const char*>(data), size);
    if (head < 192) {
        const std::uint32_t numbers[3] = {
            1, 1u + head % 16u,
            head < 128 ? static_cast<std::uint32_t>(size / 3 + 1) : choices.Take<std::uint32_t>()};
        bytes.insert(0, reinterpret_cast<const char*>(numbers), sizeof numbers);
        bytes.insert(0, "ORLOXWPK");
    }
    std::ofstream(PATH, std::ios::binary | std::ios::trunc)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));

    PeakFile file;
    const bool opened = file.Open(std::wstring(PATH.begin(), PATH.end()));
    Require(file.SamplesPerBlock() == (opened ? 32 : 0));
    if (!opened) {
        Require(file.ChannelCount() == 0 && file.BlockCount() == 0);
        std::vector<signed char> peaks;
        Require(file.GetChannelPeaks(0, 1, 1.0, peaks) == PeakFile::Result::InvalidArgument);
        return 0;
    }
    Require(file.ChannelCount() >= 1 && file.ChannelCount() <= 16 && file.BlockCount() != 0);
    for (int i = 0; i < 4; ++i) ReadOnce(file, PATH, choices);
    return 0;
}
