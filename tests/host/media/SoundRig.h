// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/MatroskaBytes.h"
#include "tests/support/WaveBytes.h"

/// Media files whose channels each have one value, and runs of the program on them.
namespace sonrel_tests {

inline constexpr int FRAMES = 48000;

/// @p frames times the values of one frame, 16 bits each.
inline std::string Constant(const std::vector<int>& frame, int frames = FRAMES) {
    std::string one;
    for (const int value : frame) one += Little(static_cast<std::uint16_t>(value), 2);
    std::string bytes;
    for (int i = 0; i < frames; ++i) bytes += one;
    return bytes;
}

/// A WAV of one second whose channels each have one value.
inline std::string ConstantWav(const std::vector<int>& frame) {
    return Riff(Chunk("fmt ", PcmFormat(1, static_cast<int>(frame.size()), 48000, 16)) +
                Chunk("data", Constant(frame)));
}

/// A Matroska file of one second with a picture and streams whose channels each have one value.
inline std::string ConstantStreams(const std::vector<std::vector<int>>& streams) {
    std::string tracks = PictureTrack(1);
    std::vector<MatroskaPacket> packets{{1, 0, std::string(16, '\0')}};
    for (std::size_t i = 0; i < streams.size(); ++i) {
        const int number = static_cast<int>(i) + 2;
        tracks += SoundTrack(number, "A_PCM/INT/LIT", streams[i].size());
        packets.push_back({number, 0, Constant(streams[i])});
    }
    return MatroskaFile(tracks, packets);
}

/// The one stereo frame that a WAV of one second repeats; empty where its frames differ or it has
/// another length.
inline std::vector<int> OnlyFrame(const std::filesystem::path& path) {
    const std::string bytes = ReadFile(path);
    const std::size_t data = bytes.find("data");
    if (data == std::string::npos) return {};
    const std::string samples = bytes.substr(data + 8);
    std::vector<int> frame;
    for (std::size_t i = 0; i < 4; i += 2) {
        frame.push_back(
            static_cast<std::int16_t>(static_cast<unsigned char>(samples.at(i)) |
                                      static_cast<unsigned char>(samples.at(i + 1)) << 8));
    }
    return samples == Constant(frame) ? frame : std::vector<int>();
}

using Pair = std::vector<int>;

/// A work folder with eight.wav, one stream of eight channels, and streams.mkv, a picture and three
/// audio streams of which the last has two channels.
class SoundRig : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(shop_.Work("eight.wav"), ConstantWav({100, 200, 300, 400, 500, 600, 700, 800}));
        WriteFile(shop_.Work("streams.mkv"), ConstantStreams({{11}, {22}, {33, 44}}));
    }

    ProgramResult Mix(const std::string& input, std::vector<std::string> more) {
        std::vector<std::string> arguments{"mix", input, "-o", "@out.wav", "--json"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return shop_.Run(arguments);
    }

    /// The frame that a media file is mixed to.
    Pair MixedMedia(const std::string& input, const std::vector<std::string>& options) {
        const ProgramResult result = Mix(input, options);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return result.exitCode == 0 ? OnlyFrame(shop_.Work("out.wav")) : Pair();
    }

    /// The frame that tracks of one second are mixed to, without dither.
    Pair MixedTracks(std::vector<Json> tracks) {
        WriteFile(shop_.Work("edit.otio"), Timeline(std::move(tracks)).dump());
        last_ = Mix("@edit.otio", {"--dither", "none"});
        EXPECT_EQ(last_.exitCode, 0) << last_.err;
        return last_.exitCode == 0 ? OnlyFrame(shop_.Work("out.wav")) : Pair();
    }

    nlohmann::json Conform(std::vector<std::string> more) {
        std::vector<std::string> arguments{"conform", "--json"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ProgramResult result = shop_.Run(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return result.Json().at("files").at(0);
    }

    Workshop shop_;
    ProgramResult last_;
};

}  // namespace sonrel_tests
