// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "sonrel/media/detail/MediaFileFactory.h"
#include "tests/media/ConversionSupport.h"

using namespace sonrel_tests;

namespace {

/// A stream of another media library.
class MadeUpStream : public ZRAbstractAudioStream {
public:
    MadeUpStream(int channels, int bits, ZRSampleDataType type, std::string samples)
        : channels_(channels), bits_(bits), type_(type), samples_(std::move(samples)) {}

    int StreamType() const override { return 0; }
    int SampleRate() const override { return 48000; }
    int BitsPerSample() const override { return bits_; }
    ZRSampleDataType SampleDataType() const override { return type_; }
    int ChannelCount() const override { return channels_; }
    long long SampleCount() const override {
        return static_cast<long long>(samples_.size()) / BytesPerFrame(*this);
    }
    int GetSamples(long long start, int count, void* buffer, int, int* samplesRead) override {
        if (start >= failsFrom) return 77;
        const long long there = std::min<long long>(count, SampleCount() - start);
        const auto frame = static_cast<std::size_t>(BytesPerFrame(*this));
        samples_.copy(static_cast<char*>(buffer), there * frame, start * frame);
        *samplesRead = static_cast<int>(there);
        return 0;
    }

    long long failsFrom = 1LL << 60;

private:
    int channels_;
    int bits_;
    ZRSampleDataType type_;
    std::string samples_;
};

class MadeUpFile : public ZRAbstractMediaFile {
public:
    const std::vector<std::shared_ptr<ZRAbstractAudioStream>>& Streams() override {
        return streams_;
    }
    void SetReadOption(int) override {}
    int Prepare() override { return 0; }

private:
    std::vector<std::shared_ptr<ZRAbstractAudioStream>> streams_;
};

}  // namespace

TEST(ForeignStream, IsConvertedThroughItsView) {
    const TemporaryFolder folder;
    const std::string samples = NoiseBytes(4 * 70000);
    const auto stream = std::make_shared<MadeUpStream>(2, 16, ZRSampleDataType::Integer, samples);

    ASSERT_EQ(zrh::media::ZRAudioConverter::Convert(stream, folder.Wide("o.xwmc"), 48000), 0);

    EXPECT_TRUE(ReadFile(folder / "o.xwmc").substr(44) == samples);
}

TEST(ForeignStream, SamplesOf24BitsAreCutTo16) {
    const TemporaryFolder folder;
    const auto stream = std::make_shared<MadeUpStream>(1, 24, ZRSampleDataType::Integer,
                                                       std::string("\xFF\x34\x12\x01\x00\x80", 6));

    ASSERT_EQ(zrh::media::ZRAudioConverter::Convert(stream, folder.Wide("o.xwmc"), 48000), 0);

    EXPECT_EQ(Values16(ReadFile(folder / "o.xwmc").substr(44)),
              (std::vector<int>{0x1234, 0x1234, -32768, -32768}));
}

TEST(ForeignStream, AFailureInTheMiddleFailsTheConversion) {
    const TemporaryFolder folder;
    const auto stream =
        std::make_shared<MadeUpStream>(2, 16, ZRSampleDataType::Integer, NoiseBytes(4 * 70000));
    stream->failsFrom = 40000;

    EXPECT_EQ(zrh::media::ZRAudioConverter::Convert(stream, folder.Wide("o.xwmc"), 48000),
              Code(MediaError::ReadFailed));
}

TEST(ForeignStream, AnUndefinedFormatIsRefused) {
    const TemporaryFolder folder;
    const auto stream =
        std::make_shared<MadeUpStream>(1, 16, ZRSampleDataType::Float, NoiseBytes(100));

    EXPECT_EQ(zrh::media::ZRAudioConverter::Convert(stream, folder.Wide("o.xwmc"), 48000),
              Code(MediaError::Undecodable));
}

TEST(MediaFileFactory, ReplacesTheOpenerUntilItIsRemoved) {
    zrh::media::detail::SetMediaFileFactoryForTests(
        [](const wchar_t* path, ZRAbstractMediaFile** file) {
            if (std::wstring(path) != L"made up") return 1234;
            *file = new MadeUpFile;
            return 0;
        });
    ZRAbstractMediaFile* file = nullptr;

    EXPECT_EQ(zrh::media::ZRMediaFileCreate(L"x", &file, ZRMediaReaderType::Default), 1234);
    EXPECT_EQ(zrh::media::ZRMediaFileCreate(L"made up", &file, ZRMediaReaderType::Default), 0);
    EXPECT_EQ(zrh::media::ZRMediaFileRelease(file), 0);
    zrh::media::detail::SetMediaFileFactoryForTests({});
    EXPECT_EQ(zrh::media::ZRMediaFileCreate(L"/nonexistent/x", &file, ZRMediaReaderType::Default),
              Code(MediaError::NotFound));
}

TEST(MediaFileFactory, ReleasingANullPointerDoesNothing) {
    EXPECT_EQ(zrh::media::ZRMediaFileRelease(nullptr), 0);
}
