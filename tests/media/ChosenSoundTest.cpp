// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "sonrel/media/ImportMediaAsset.h"
#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/SoundChoice.h"
#include "tests/media/MediaSupport.h"
#include "tests/support/MatroskaBytes.h"

using namespace sonrel_tests;
using zrh::media::ChannelPlace;
using zrh::media::SoundChoice;

namespace {

constexpr int ANY = ChannelPlace::ANY_STREAM;

/// A frame of 8 channels: channel c of frame f is 1000 * c + f.
std::string EightChannels(int frames) {
    std::vector<int> values;
    for (int frame = 0; frame < frames; ++frame) {
        for (int channel = 1; channel <= 8; ++channel) values.push_back(1000 * channel + frame);
    }
    return WaveFile(1, 8, 48000, 16, Bytes16(values));
}

/// A file with one-channel streams of the given samples.
std::string MonoStreams(const std::vector<std::vector<int>>& streams) {
    std::string tracks;
    std::vector<MatroskaPacket> packets;
    for (std::size_t i = 0; i < streams.size(); ++i) {
        const int number = static_cast<int>(i) + 1;
        tracks += SoundTrack(number, "A_PCM/INT/LIT", 1);
        packets.push_back({number, 0, Bytes16(streams[i])});
    }
    return MatroskaFile(tracks, packets);
}

/// The samples of the conformed file of a choice, at the rate of the media.
std::vector<int> Conformed(const TemporaryFolder& folder, const std::filesystem::path& media,
                           const SoundChoice& choice) {
    const OpenedMedia opened(media);
    const auto stream = zrh::media::FindAudioStream(*opened.File(), choice.Number());
    if (stream == nullptr) return {};
    static int files = 0;
    const std::string name = "out" + std::to_string(++files) + ".xwmc";
    if (zrh::media::ZRAudioConverter::Convert(stream, folder.Wide(name), 48000) != 0) return {};
    return Values16(ReadFile(folder / name).substr(44));
}

/// The samples of a choice as they are read for a peak file.
std::vector<int> Read(const std::filesystem::path& media, const SoundChoice& choice, int step) {
    const OpenedMedia opened(media);
    const auto stream = zrh::media::FindAudioStream(*opened.File(), choice.Number());
    return stream == nullptr ? std::vector<int>() : Values16(ReadAll(*stream, step));
}

int ImportError(const std::filesystem::path& media, const SoundChoice& choice) {
    try {
        const auto manager = std::make_shared<orlo::project::MediaManager>();
        orlo::project::ImportMediaAsset(manager, zrtl::FromUtf8(media.string()), choice);
        return 0;
    } catch (const zrh::media::ZRMediaException& error) {
        return error.Code();
    }
}

unsigned long long ImportedIndex(const std::filesystem::path& media, const SoundChoice& choice) {
    const auto manager = std::make_shared<orlo::project::MediaManager>();
    return orlo::project::ImportMediaAsset(manager, zrtl::FromUtf8(media.string()), choice)
        ->AudioStreamIndex();
}

}  // namespace

TEST(SoundChoice, TheNumberOfAWholeStreamIsItsIndex) {
    EXPECT_EQ(SoundChoice::OfStream(0).Number(), 0u);
    EXPECT_EQ(SoundChoice::OfStream(4095).Number(), 4095u);
    EXPECT_EQ(SoundChoice::FromNumber(7), SoundChoice::OfStream(7));
    EXPECT_FALSE(SoundChoice::IsNumber((1ull << 30) - 1));
    EXPECT_FALSE(SoundChoice::IsNumber(1ull << 31));
    EXPECT_FALSE(SoundChoice::IsNumber(1ull << 62));
}

TEST(SoundChoice, TheNumberOfChannelsIsAPartOfTheKeyOfCacheFilesAndNeverChanges) {
    // 2^30, then stream (8 bits) and channel (7 bits) of the left and of the right side.
    EXPECT_EQ(SoundChoice::OfChannels({0, 1}, {0, 2}).Number(), 1073741824u + (1u << 15) + 2u);
    EXPECT_EQ(SoundChoice::OfChannels({0, 3}, {0, 3}).Number(), 1073741824u + (3u << 15) + 3u);
    EXPECT_EQ(SoundChoice::OfChannels({2, 1}, {5, 64}).Number(),
              1073741824u + (((2u << 7) + 1u) << 15) + (5u << 7) + 64u);
    EXPECT_EQ(SoundChoice::OfChannels({255, 64}, {255, 64}).Number(),
              1073741824u + (((255u << 7) + 64u) << 15) + (255u << 7) + 64u);
    EXPECT_EQ(SoundChoice::OfDownmix(3).Number(),
              1073741824u + (((3u << 7) + 127u) << 15) + (3u << 7) + 127u);
    // A silent side has no stream.
    EXPECT_EQ(SoundChoice::OfChannels({4, 0}, {4, 2}).Number(), 1073741824u + (4u << 7) + 2u);
}

TEST(SoundChoice, TheChoiceIsFoundAgainFromItsNumber) {
    for (const SoundChoice& choice :
         {SoundChoice::OfStream(12), SoundChoice::OfDownmix(200),
          SoundChoice::OfChannels({0, 1}, {0, 2}), SoundChoice::OfChannels({255, 64}, {254, 63}),
          SoundChoice::OfChannels({0, 0}, {9, 1}), SoundChoice::OfChannels({7, 5}, {7, 5})}) {
        EXPECT_EQ(SoundChoice::FromNumber(choice.Number()), choice) << choice.Number();
        EXPECT_LT(choice.Number(), 1ull << 31);
    }
}

TEST(ChosenSound, OneChannelIsConvertedToBothSidesAtItsFullLevel) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", EightChannels(3));

    EXPECT_EQ(Conformed(folder, folder / "a.wav", SoundChoice::OfChannels({0, 3}, {0, 3})),
              (std::vector<int>{3000, 3000, 3001, 3001, 3002, 3002}));
}

TEST(ChosenSound, TwoChannelsAreLeftAndRightInAnyOrder) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", EightChannels(2));

    EXPECT_EQ(Conformed(folder, folder / "a.wav", SoundChoice::OfChannels({0, 7}, {0, 2})),
              (std::vector<int>{7000, 2000, 7001, 2001}));
}

TEST(ChosenSound, AChannelOfZeroIsSilence) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", EightChannels(2));

    EXPECT_EQ(Conformed(folder, folder / "a.wav", SoundChoice::OfChannels({0, 4}, {0, 0})),
              (std::vector<int>{4000, 0, 4001, 0}));
    EXPECT_EQ(Conformed(folder, folder / "a.wav", SoundChoice::OfChannels({0, 0}, {0, 5})),
              (std::vector<int>{0, 5000, 0, 5001}));
}

TEST(ChosenSound, EightBitSoundIsSilentAtItsMiddle) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", WaveFile(1, 2, 48000, 8, std::string("\xFF\x00\x81\x7F", 4)));

    // Samples of 8 bits are offset by 128, and 256 times larger in 16 bits.
    EXPECT_EQ(Conformed(folder, folder / "a.wav", SoundChoice::OfChannels({0, 0}, {0, 1})),
              (std::vector<int>{0, 127 * 256, 0, 256}));
}

TEST(ChosenSound, TwoStreamsAreCombinedAndTheShorterOneEndsInSilence) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.mka", MonoStreams({{11, 12, 13}, {21, 22, 23}, {31}}));

    EXPECT_EQ(Conformed(folder, folder / "a.mka", SoundChoice::OfChannels({1, 1}, {0, 1})),
              (std::vector<int>{21, 11, 22, 12, 23, 13}));
    EXPECT_EQ(Conformed(folder, folder / "a.mka", SoundChoice::OfChannels({2, 1}, {0, 1})),
              (std::vector<int>{31, 11, 0, 12, 0, 13}));
    EXPECT_EQ(Read(folder / "a.mka", SoundChoice::OfChannels({2, 1}, {0, 1}), 2),
              (std::vector<int>{31, 11, 0, 12, 0, 13}));
}

TEST(ChosenSound, APeakFileReadsOneChannelOrTwo) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", EightChannels(5));
    const OpenedMedia opened(folder / "a.wav");

    const auto one = zrh::media::FindAudioStream(*opened.File(),
                                                 SoundChoice::OfChannels({0, 6}, {0, 6}).Number());
    const auto two = zrh::media::FindAudioStream(*opened.File(),
                                                 SoundChoice::OfChannels({0, 6}, {0, 1}).Number());

    EXPECT_EQ(one->ChannelCount(), 1);
    EXPECT_EQ(Values16(ReadRange(*one, 1, 2)), (std::vector<int>{6001, 6002}));
    EXPECT_EQ(two->ChannelCount(), 2);
    EXPECT_EQ(two->SampleCount(), 5);
    EXPECT_EQ(Values16(ReadRange(*two, 4, 9)), (std::vector<int>{6004, 1004}));
}

TEST(ChosenSound, ADownmixIsReadAsTheConformedFileOfTheStream) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", EightChannels(70));
    const std::vector<int> whole = Conformed(folder, folder / "a.wav", SoundChoice::OfStream(0));

    ASSERT_EQ(whole.size(), 140u);
    EXPECT_EQ(Read(folder / "a.wav", SoundChoice::OfDownmix(0), 32), whole);
    EXPECT_EQ(Conformed(folder, folder / "a.wav", SoundChoice::OfDownmix(0)), whole);
}

TEST(ChosenSound, AStreamOrAChannelThatDoesNotExistIsRefused) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", EightChannels(2));
    const OpenedMedia opened(folder / "a.wav");

    EXPECT_EQ(zrh::media::FindAudioStream(*opened.File(),
                                          SoundChoice::OfChannels({1, 1}, {1, 1}).Number()),
              nullptr);
    EXPECT_EQ(zrh::media::FindAudioStream(*opened.File(), SoundChoice::OfDownmix(1).Number()),
              nullptr);
    EXPECT_TRUE(
        Conformed(folder, folder / "a.wav", SoundChoice::OfChannels({0, 9}, {0, 1})).empty());
    EXPECT_EQ(ImportError(folder / "a.wav", SoundChoice::OfChannels({0, 9}, {0, 1})),
              Code(MediaError::NoSuchChannel));
    EXPECT_EQ(ImportError(folder / "a.wav", SoundChoice::OfChannels({1, 1}, {0, 1})),
              Code(MediaError::NotAudio));
    EXPECT_EQ(ImportError(folder / "a.wav", SoundChoice::OfChannels({ANY, 9}, {ANY, 1})),
              Code(MediaError::NoSuchChannel));
}

TEST(ChosenSound, StreamsOfDifferentRatesAreNotCombined) {
    const TemporaryFolder folder;
    const std::string tracks =
        SoundTrack(1, "A_PCM/INT/LIT", 1) + SoundTrack(2, "A_PCM/INT/LIT", 1, {}, 44100.0);
    WriteFile(folder / "a.mka",
              MatroskaFile(tracks, {{1, 0, Bytes16({1, 2})}, {2, 0, Bytes16({3, 4})}}));

    EXPECT_EQ(ImportError(folder / "a.mka", SoundChoice::OfChannels({0, 1}, {1, 1})),
              Code(MediaError::StreamsDiffer));
    EXPECT_TRUE(
        Conformed(folder, folder / "a.mka", SoundChoice::OfChannels({0, 1}, {1, 1})).empty());
}

TEST(ChosenSound, AllChannelsOfAStreamInTheirOrderAreTheWholeStream) {
    const TemporaryFolder folder;
    WriteFile(folder / "stereo.wav", WaveFile(1, 2, 48000, 16, Bytes16({1, 2})));
    WriteFile(folder / "mono.mka", MonoStreams({{1}, {2}}));
    WriteFile(folder / "eight.wav", EightChannels(1));

    EXPECT_EQ(ImportedIndex(folder / "stereo.wav", SoundChoice::OfChannels({0, 1}, {0, 2})), 0u);
    EXPECT_EQ(ImportedIndex(folder / "stereo.wav", SoundChoice::OfDownmix(0)), 0u);
    EXPECT_EQ(ImportedIndex(folder / "mono.mka", SoundChoice::OfChannels({1, 1}, {1, 1})), 1u);
    const SoundChoice swapped = SoundChoice::OfChannels({0, 2}, {0, 1});
    EXPECT_EQ(ImportedIndex(folder / "stereo.wav", swapped), swapped.Number());
    const SoundChoice left = SoundChoice::OfChannels({0, 1}, {0, 1});
    EXPECT_EQ(ImportedIndex(folder / "stereo.wav", left), left.Number());
    const SoundChoice front = SoundChoice::OfChannels({0, 1}, {0, 2});
    EXPECT_EQ(ImportedIndex(folder / "eight.wav", front), front.Number());
}

TEST(ChosenSound, ChannelsOfAllStreamsAreCountedInFileOrder) {
    const TemporaryFolder folder;
    const std::string tracks =
        SoundTrack(1, "A_PCM/INT/LIT", 2) + PictureTrack(2) + SoundTrack(3, "A_PCM/INT/LIT", 1);
    WriteFile(folder / "a.mkv", MatroskaFile(tracks, {{1, 0, Bytes16({1, 2})},
                                                      {2, 0, std::string(16, '\0')},
                                                      {3, 0, Bytes16({3})}}));

    EXPECT_EQ(ImportedIndex(folder / "a.mkv", SoundChoice::OfChannels({ANY, 3}, {ANY, 3})), 1u);
    EXPECT_EQ(ImportedIndex(folder / "a.mkv", SoundChoice::OfChannels({ANY, 2}, {ANY, 3})),
              SoundChoice::OfChannels({0, 2}, {1, 1}).Number());
    EXPECT_EQ(ImportError(folder / "a.mkv", SoundChoice::OfChannels({ANY, 4}, {ANY, 4})),
              Code(MediaError::NoSuchChannel));
}
