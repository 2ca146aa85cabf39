// SPDX-License-Identifier: MIT
#include "sonrel/media/SoundChoice.h"
#include "tests/media/CodecMedia.h"
#include "tests/media/MediaSupport.h"

using namespace sonrel_tests;
using zrh::media::SoundChoice;

namespace {

/// The samples of one channel of a stream of 16 bits, as they are read.
std::vector<int> ChannelOf(const ZRAbstractAudioStream& stream, const std::vector<int>& values,
                           int channel) {
    std::vector<int> samples;
    const auto step = static_cast<std::size_t>(stream.ChannelCount());
    for (auto i = static_cast<std::size_t>(channel - 1); i < values.size(); i += step) {
        samples.push_back(values[i]);
    }
    return samples;
}

class ChosenCodec : public testing::TestWithParam<const char*> {};

}  // namespace

// The decoders deliver their channels interleaved or in separate planes.
TEST_P(ChosenCodec, HasTheSamplesOfTheChannelsThatAreRead) {
    const TemporaryFolder folder;
    const OpenedMedia opened(CodecMedia(GetParam()));
    const auto whole = opened.Audio();
    const std::vector<int> values = Values16(ReadAll(*whole));
    const int last = whole->ChannelCount();
    const auto chosen = zrh::media::FindAudioStream(
        *opened.File(), SoundChoice::OfChannels({0, last}, {0, 1}).Number());

    ASSERT_EQ(zrh::media::ZRAudioConverter::Convert(chosen, folder.Wide("o.xwmc"),
                                                    static_cast<unsigned>(whole->SampleRate())),
              0);

    const std::vector<int> converted = Values16(ReadFile(folder / "o.xwmc").substr(44));
    const std::vector<int> left = ChannelOf(*whole, values, last);
    const std::vector<int> right = ChannelOf(*whole, values, 1);
    ASSERT_EQ(converted.size(), 2 * left.size());
    for (std::size_t i = 0; i < left.size(); ++i) {
        ASSERT_EQ(converted[2 * i], left[i]) << i;
        ASSERT_EQ(converted[2 * i + 1], right[i]) << i;
    }
    EXPECT_TRUE(Values16(ReadAll(*chosen, 1000)) == converted);
}

INSTANTIATE_TEST_SUITE_P(Codecs, ChosenCodec,
                         testing::Values("flac.flac", "alac.m4a", "wavpack.wv", "pcm.mov",
                                         "aac.m4a", "vorbis.ogg", "late.mkv"),
                         NameOfFile);
