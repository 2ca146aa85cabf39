// SPDX-License-Identifier: MIT
#include "sonrel/media/input/Mp4Index.h"

#include "sonrel/media/input/InterruptScope.h"
#include "tests/media/MediaSupport.h"
#include "tests/support/MatroskaBytes.h"

using namespace sonrel_tests;
using zrh::media::InterruptScope;
using zrh::media::detail::CheckMp4Index;
using zrh::media::detail::InputFile;
using zrh::media::detail::MaxIndexPackets;

namespace {

std::string Box(const std::string& name, const std::string& content) {
    return Big(8 + content.size(), 4) + name + content;
}
/// A box with a version and flags of 0 before its numbers of 4 bytes.
std::string Table(const std::string& name, const std::vector<std::uint32_t>& numbers) {
    std::string bytes(4, '\0');
    for (const std::uint32_t number : numbers) bytes += Big(number, 4);
    return Box(name, bytes);
}

std::string Track(const std::string& tables, const std::string& edits = {}) {
    const std::string handler = Box("hdlr", std::string(8, '\0') + "soun" + std::string(12, '\0'));
    return Box("trak", edits + Box("mdia", handler + Box("minf", Box("stbl", tables))));
}
/// A track of packets of one size.
std::string TrackOf(std::uint32_t packets, const std::string& edits = {}) {
    return Track(Table("stts", {1, packets, 1024}) + Table("stsc", {1, 1, packets, 1}) +
                     Table("stsz", {1, packets}) + Table("stco", {1, 8}),
                 edits);
}
std::string Fragment(std::uint32_t packets) {
    return Box("moof", Box("traf", Table("trun", {packets, 0})));
}

class Mp4Index : public testing::Test {
protected:
    /// @param fileBytes  size of the file, filled by a box without meaning
    MediaError Check(std::string boxes, std::size_t fileBytes = 0) const {
        boxes = Box("ftyp", "isom" + std::string(4, '\0') + "isom") + boxes;
        if (fileBytes > 0) boxes += Box("free", std::string(fileBytes - boxes.size() - 8, '\0'));
        WriteFile(folder_ / "a.mp4", boxes);
        return Check();
    }
    MediaError Check() const {
        std::shared_ptr<const InputFile> file;
        EXPECT_EQ(InputFile::Open(folder_.Wide("a.mp4"), &file), MediaError::None);
        return CheckMp4Index(*file);
    }

    TemporaryFolder folder_;
};

TEST_F(Mp4Index, MayHave4096PacketsMoreThanTheFileHasBytes) {
    EXPECT_EQ(Check(Box("moov", TrackOf(10000 + 4096)), 10000), MediaError::None);
    EXPECT_EQ(Check(Box("moov", TrackOf(10000 + 4097)), 10000), MediaError::IndexTooLarge);
}

TEST_F(Mp4Index, ALargeFileMayHave8388608PacketsAndOneForEvery64Bytes) {
    EXPECT_EQ(MaxIndexPackets(64 << 20), (8 << 20) + (1 << 20));
    EXPECT_EQ(MaxIndexPackets(1 << 20), (1 << 20) + 4096);
}

TEST_F(Mp4Index, ThePacketsOfAllTracksCount) {
    EXPECT_EQ(Check(Box("moov", TrackOf(7000) + TrackOf(7096)), 10000), MediaError::None);
    EXPECT_EQ(Check(Box("moov", TrackOf(7000) + TrackOf(7097)), 10000), MediaError::IndexTooLarge);
}

TEST_F(Mp4Index, ThePacketsOfAllFragmentsCount) {
    EXPECT_EQ(Check(Box("moov", TrackOf(1000)) + Fragment(13000) + Fragment(96), 10000),
              MediaError::None);
    EXPECT_EQ(Check(Box("moov", TrackOf(1000)) + Fragment(13000) + Fragment(97), 10000),
              MediaError::IndexTooLarge);
}

TEST_F(Mp4Index, ATrackCountsOnceForEachOfItsEdits) {
    const auto edits = [](std::uint32_t count) { return Box("edts", Table("elst", {count})); };

    EXPECT_EQ(Check(Box("moov", TrackOf(1000, edits(14))), 10000), MediaError::None);
    EXPECT_EQ(Check(Box("moov", TrackOf(1000, edits(15))), 10000), MediaError::IndexTooLarge);
}

TEST_F(Mp4Index, SoundThatIsCountedInFramesHasFewerEntriesThanFrames) {
    // 30 of 40 chunks have 16000 frames, 10 have 160000: 40 + 30 * 100 + 10 * 1000 entries.
    const std::string before = Table("stsz", {1, 2080000}) + Table("stco", {40});
    const std::string runs = Table("stsc", {2, 1, 16000, 1, 31, 160000, 1});

    EXPECT_EQ(
        Check(Box("moov", Track(before + Table("stts", {1, 2080000, 1}) + runs)), 13040 - 4096),
        MediaError::None);
    EXPECT_EQ(
        Check(Box("moov", Track(before + Table("stts", {1, 2080000, 1}) + runs)), 13039 - 4096),
        MediaError::IndexTooLarge);
    EXPECT_EQ(
        Check(Box("moov", Track(before + Table("stts", {1, 2080000, 2}) + runs)), 13040 - 4096),
        MediaError::IndexTooLarge);
}

TEST_F(Mp4Index, ACompressedIndexIsRefused) {
    EXPECT_EQ(Check(Box("moov", Box("cmov", Box("dcom", "zlib")))), MediaError::IndexTooLarge);
}

TEST_F(Mp4Index, IsReadAfterBoxesOfMoreThan4GB) {
    const std::string start = Box("ftyp", "isom" + std::string(4, '\0') + "isom");
    const std::uint64_t size = 5ull << 30;
    const std::string moov = Box("moov", TrackOf(4000000000));
    WriteFile(folder_ / "a.mp4", start + Big(1, 4) + "mdat" + Big(size, 8));
    std::filesystem::resize_file(folder_ / "a.mp4", start.size() + size);
    EXPECT_EQ(Check(), MediaError::None);

    std::ofstream(folder_ / "a.mp4", std::ios::app | std::ios::binary) << moov;

    EXPECT_EQ(Check(), MediaError::IndexTooLarge);
}

TEST_F(Mp4Index, EndsAtABrokenBox) {
    EXPECT_EQ(Check(Big(7, 4) + "free" + Fragment(4000000000)), MediaError::None);
}

TEST_F(Mp4Index, CountingStopsAtAnInterrupt) {
    const InterruptScope scope([] { return true; });

    EXPECT_EQ(Check(Fragment(1)), MediaError::Cancelled);
}

TEST_F(Mp4Index, AnIndexThatIsTooLargeIsRefusedBeforeItNeedsMemory) {
    // FFmpeg takes 24 bytes for each of 67 million packets.
    Check(Box("moov", TrackOf(1 << 26)));

    EXPECT_EQ(OpenedMedia(folder_ / "a.mp4").CreateCode(), Code(MediaError::IndexTooLarge));
}

}  // namespace
