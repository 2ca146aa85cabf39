// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "sonrel/cache/PeakFile.h"
#include "sonrel/media.h"
#include "sonrel/project.h"
#include "tests/reference/ReferencePeaks.h"
#include "tests/support/MediaAssets.h"
#include "tests/support/Noise.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaveBytes.h"

namespace {

using namespace sonrel_tests;
using orlo::sonrel::PeakFile;
using zrh::media::ZRAbstractMediaFile;
using Mode = PeakFile::CreateMode;
namespace reference = orlo::sonrel::reference;

/// The peak file of a stream's samples, read in long pieces and analysed block by block.
std::string ExpectedFile(const std::wstring& media) {
    ZRAbstractMediaFile* file = nullptr;
    EXPECT_EQ(zrh::media::ZRMediaFileCreate(media.c_str(), &file, {}), 0);
    file->SetReadOption(1);
    EXPECT_EQ(file->Prepare(), 0);
    std::string blocks;
    std::uint64_t count = 0;
    int channels = 0;
    for (const auto& stream : file->Streams()) {
        if (stream->StreamType() != 0) continue;
        channels = stream->ChannelCount();
        const int bits = stream->BitsPerSample();
        const int frameBytes = channels * bits / 8;
        std::vector<unsigned char> samples(static_cast<std::size_t>(frameBytes) * 32 * 1000);
        reference::BlockPeaks peaks(channels);
        for (long long at = 0; at < stream->SampleCount(); at += 32000) {
            int read = 0;
            EXPECT_EQ(stream->GetSamples(at, 32000, samples.data(),
                                         static_cast<int>(samples.size()), &read),
                      0);
            for (int frame = 0; frame < read; frame += 32, ++count) {
                reference::Analyse(stream->SampleDataType(), bits,
                                   samples.data() + frame * frameBytes, channels,
                                   std::min(32, read - frame), &peaks);
                const auto bytes = reference::Quantised(peaks);
                blocks.append(bytes.begin(), bytes.end());
            }
        }
        break;
    }
    zrh::media::ZRMediaFileRelease(file);
    return "ORLOXWPK" + Little(1, 4) + Little(static_cast<std::uint64_t>(channels), 4) +
           Little(count, 4) + blocks;
}

/// Writes the peak file of real media in every mode and compares it with the expected file.
void ExpectSameInEveryMode(const std::wstring& media) {
    const TemporaryFolder folder;
    const auto asset = MakeMediaAsset(std::make_shared<orlo::project::MediaManager>(), media);
    const std::string expected = ExpectedFile(media);
    ASSERT_GT(expected.size(), 1000u);
    for (const Mode mode : {Mode::SingleThreaded, Mode::MultiThreaded, Mode::Auto}) {
        ASSERT_EQ(PeakFile::Create(asset, folder.Wide("p.xwpk"), mode), 0);
        EXPECT_TRUE(ReadFile(folder / "p.xwpk") == expected) << static_cast<int>(mode);
    }
}

struct WaveForm {
    int tag;
    int bits;
    const char* name;
};

void PrintTo(const WaveForm& form, std::ostream* out) {
    *out << form.name;
}

class PeakFileOfWaves : public testing::TestWithParam<std::tuple<WaveForm, int>> {
protected:
    /// Noise; floats up to 1.25.
    static std::string Noise(const WaveForm& form, int channels, int frames) {
        const auto values =
            MakeNoise(static_cast<std::size_t>(frames * channels), 99,
                      [](std::uint32_t random) { return random / 2147483648.0 - 1.0; });
        std::string bytes;
        for (int i = 0; i < frames * channels; ++i) {
            const int level = 1 + i / (50 * channels) % 9;
            const double x = values[static_cast<std::size_t>(i)] / level;
            if (form.tag == 3 && form.bits == 32) {
                const auto value = static_cast<float>(1.25 * x);
                bytes.append(reinterpret_cast<const char*>(&value), 4);
            } else if (form.tag == 3) {
                const double value = 1.25 * x;
                bytes.append(reinterpret_cast<const char*>(&value), 8);
            } else if (form.bits == 8) {
                bytes += static_cast<char>(128 + static_cast<int>(127.0 * x));
            } else {
                const auto value = static_cast<std::int64_t>(x * 2147483647.0);
                bytes +=
                    Little(static_cast<std::uint64_t>(value >> (32 - form.bits)), form.bits / 8);
            }
        }
        return bytes;
    }
};

TEST_P(PeakFileOfWaves, IsTheSummaryOfItsSamplesInEveryMode) {
    const auto& [form, channels] = GetParam();
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav",
              Riff(Chunk("fmt ", PcmFormat(form.tag, channels, 48000, form.bits)) +
                   Chunk("data", Noise(form, channels, 20011))));

    ExpectSameInEveryMode(folder.Wide("a.wav"));
}

INSTANTIATE_TEST_SUITE_P(
    Forms, PeakFileOfWaves,
    testing::Combine(testing::Values(WaveForm{1, 8, "Integer8"}, WaveForm{1, 16, "Integer16"},
                                     WaveForm{1, 24, "Integer24"}, WaveForm{1, 32, "Integer32"},
                                     WaveForm{3, 32, "Float32"}, WaveForm{3, 64, "Float64"}),
                     testing::Values(1, 2, 3, 4, 5, 6, 7, 8)),
    [](const auto& test) {
        return std::string(std::get<0>(test.param).name) + "Of" +
               std::to_string(std::get<1>(test.param));
    });

#ifdef SONREL_CODEC_MEDIA

class PeakFileOfCodecs : public testing::TestWithParam<const char*> {};

TEST_P(PeakFileOfCodecs, IsTheSummaryOfItsSamplesInEveryMode) {
    ExpectSameInEveryMode(zrtl::FromUtf8(std::string(SONREL_CODEC_MEDIA) + "/" + GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Files, PeakFileOfCodecs,
                         testing::Values("flac.flac", "flac24.flac", "surround.flac", "alac.m4a",
                                         "mp3.mp3", "aac.m4a", "late.mp4", "opus.opus", "opus.webm",
                                         "vorbis.ogg", "early.mkv"),
                         [](const auto& test) {
                             std::string name = test.param;
                             std::replace(name.begin(), name.end(), '.', '_');
                             return name;
                         });

#endif

}  // namespace
