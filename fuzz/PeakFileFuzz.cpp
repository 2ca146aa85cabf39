// SPDX-License-Identifier: MIT
// Any bytes as a peak file: reads of ranges and steps that the bytes choose, each compared with the
// reference reader of single bytes, the check of whole files, and pictures.
#include <stdexcept>
#include <vector>

#include "fuzz/PeakPictures.h"
#include "fuzz/Support.h"
#include "sonrel/cache/CacheFileCheck.h"
#include "sonrel/cache/PeakFile.h"
#include "tests/reference/ReferencePeaks.h"

namespace {

using orlo::sonrel::PeakFile;
using orlo::sonrel::reference::PeakReader;
using sonrel_fuzz::Choices;
using sonrel_fuzz::Require;

double StepOf(Choices& choices) {
    const auto kind = choices.Take<std::uint8_t>();
    if (kind < 64) return choices.Take<double>();
    if (kind < 128) return 1.0 + choices.Take<std::uint8_t>();
    return 1.0 + choices.Take<std::uint16_t>() / 4096.0;
}

/// Whether the range needs a negative size, which throws.
bool Throws(int first, int end, double step, int values) {
    return zrtl::RoundHalfAway((static_cast<double>(end) - first) / step * values) < 0.0;
}

template <class Points, class Read, class ReadReference>
void Compare(bool throws, Read read, ReadReference readReference) {
    Points points{1, 2, 3};
    Points expected{1, 2, 3};
    try {
        const PeakFile::Result result = read(points);
        Require(!throws || result == PeakFile::Result::InvalidArgument, "a reversed range throws");
        Require(result == readReference(expected), "the result of the reference reader");
        Require(points == expected, "the points of the reference reader");
    } catch (const std::length_error&) {
        Require(throws, "only a reversed range throws");
    }
}

void ReadOnce(PeakFile& file, const std::string& path, Choices& choices) {
    const int blocks = file.BlockCount();
    const int channels = file.ChannelCount();
    const int first = choices.Take<std::int16_t>();
    const int end = choices.Take<std::uint8_t>() < 32 ? blocks : choices.Take<std::int16_t>();
    const double step = StepOf(choices);
    PeakReader reference(path, channels, blocks);
    Compare<std::vector<signed char>>(
        Throws(first, end, step, channels),
        [&](auto& points) { return file.GetChannelPeaks(first, end, step, points); },
        [&](auto& points) { return reference.GetChannelPeaks(first, end, step, points); });
    Compare<std::vector<unsigned char>>(
        Throws(first, end, step, 1),
        [&](auto& points) { return file.GetRMSAmplitude(first, end, step, points); },
        [&](auto& points) { return reference.GetRMSAmplitude(first, end, step, points); });
}

/// The input, or a peak file with the input as its blocks, so that the blocks are reached early.
std::string FileBytes(std::string_view data, Choices& choices) {
    std::string bytes(data);
    const auto head = choices.Take<std::uint8_t>();
    if (head >= 192) return bytes;
    const auto blocks = static_cast<std::uint32_t>(bytes.size() / 3 + 1);
    const std::uint32_t numbers[3] = {1, 1u + head % 16u,
                                      head < 128 ? blocks : choices.Take<std::uint32_t>()};
    bytes.insert(0, reinterpret_cast<const char*>(numbers), sizeof numbers);
    return "ORLOXWPK" + bytes;
}

void CheckClosed(PeakFile& file) {
    Require(file.ChannelCount() == 0 && file.BlockCount() == 0, "no numbers of a refused file");
    std::vector<signed char> peaks;
    Require(file.GetChannelPeaks(0, 1, 1.0, peaks) == PeakFile::Result::InvalidArgument,
            "no peaks of a refused file");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Choices choices(data, size);
    const sonrel_fuzz::InputFile input(FileBytes(sonrel_fuzz::AllBytes(data, size), choices),
                                       ".xwpk");
    const bool isWhole = orlo::sonrel::CacheFileCheck::IsWholePeakFile(input.Wide());
    orlo::sonrel::CacheFileCheck::PeakFileChecksum(input.Wide(), {});

    PeakFile file;
    const bool opened = file.Open(input.Wide());
    sonrel_fuzz::DrawPictures(input.Wide(), std::max(file.ChannelCount(), 1),
                              32LL * std::max(file.BlockCount(), 1), choices);
    Require(file.SamplesPerBlock() == (opened ? 32 : 0), "32 samples in a block");
    if (!opened) {
        CheckClosed(file);
        return 0;
    }
    Require(file.ChannelCount() >= 1 && file.ChannelCount() <= 16, "1 to 16 channels");
    Require(file.BlockCount() != 0, "at least one block");
    Require(!isWhole || file.BlockCount() > 0, "a whole file has its blocks");
    for (int i = 0; i < 4; ++i) ReadOnce(file, input.Path(), choices);
    return 0;
}
