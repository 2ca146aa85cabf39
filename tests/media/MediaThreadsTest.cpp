// SPDX-License-Identifier: MIT
#include <future>

#include "tests/media/CodecMedia.h"
#include "tests/media/ConversionSupport.h"

using namespace sonrel_tests;

TEST(MediaThreads, FourParallelReadersReadTheSameAsOne) {
    for (const char* file : {"flac.flac", "mp3.mp3", "aac.m4a", "vorbis.ogg", "ac3.ac3"}) {
        const OpenedMedia media(CodecMedia(file));
        const auto stream = media.Audio();
        const std::string whole = ReadAll(*stream);
        const long long quarter = stream->SampleCount() / 4 / 32 * 32;

        std::vector<std::future<std::string>> parts;
        for (int i = 0; i < 4; ++i) {
            const long long end = i == 3 ? stream->SampleCount() : (i + 1) * quarter;
            parts.push_back(std::async(std::launch::async, [=] {
                const OpenedMedia own(CodecMedia(file));
                std::string bytes;
                for (long long at = i * quarter; at < end; at += 32) {
                    bytes +=
                        ReadRange(*own.Audio(), at, static_cast<int>(std::min(end - at, 32LL)));
                }
                return bytes;
            }));
        }
        std::string together;
        for (auto& part : parts) together += part.get();

        EXPECT_TRUE(together == whole) << file;
    }
}

TEST(MediaThreads, ReadersThatOpenOneFileAtOnceFindTheSameLength) {
    std::vector<std::future<long long>> lengths;
    for (int i = 0; i < 4; ++i) {
        lengths.push_back(std::async(std::launch::async, [] {
            const OpenedMedia media(CodecMedia("opus.opus"));
            return media.Audio()->SampleCount();
        }));
    }

    for (auto& length : lengths) EXPECT_EQ(length.get(), 590400);
}

TEST(MediaThreads, ParallelConversionsHaveTheSameBytes) {
    const Conversion alone(CodecMedia("mp3.mp3"), 48000);
    std::vector<std::future<std::string>> together;
    for (int i = 0; i < 3; ++i) {
        together.push_back(std::async(
            std::launch::async, [] { return Conversion(CodecMedia("mp3.mp3"), 48000).Bytes(); }));
    }

    for (auto& bytes : together) EXPECT_TRUE(bytes.get() == alone.Bytes());
}
