// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <filesystem>
#include <map>

#include "tests/host/ProgramRun.h"
#include "tests/support/Database.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A mono recording of five blocks of 32 frames.
std::string MonoRecording() {
    std::string samples;
    for (int frame = 0; frame < 160; ++frame) {
        samples += Little(static_cast<std::uint16_t>(100 * frame), 2);
    }
    return Riff(Chunk("fmt ", PcmFormat(1, 1, 8000, 16)) + Chunk("data", samples));
}

void Overwrite(const std::string& path, std::size_t offset, const std::string& bytes) {
    std::string content = ReadFile(path);
    content.replace(offset, bytes.size(), bytes);
    WriteFile(path, content);
}

/// Every kind of damage that is detected without the media file, by name.
const std::map<std::string, void (*)(const std::string&)> PEAK_DAMAGE = {
    {"empty", [](const std::string& path) { WriteFile(path, ""); }},
    {"truncated", [](const std::string& path) { std::filesystem::resize_file(path, 34); }},
    {"too long", [](const std::string& path) { std::filesystem::resize_file(path, 36); }},
    {"wrong magic", [](const std::string& path) { Overwrite(path, 0, "X"); }},
    {"wrong version", [](const std::string& path) { Overwrite(path, 8, "\2"); }},
    {"wrong block count", [](const std::string& path) { Overwrite(path, 16, "\4"); }},
    {"wrong channel count", [](const std::string& path) { Overwrite(path, 12, "\2"); }},
    {"all zeros", [](const std::string& path) { WriteFile(path, std::string(35, '\0')); }},
};

class CacheCheckProgram : public testing::Test {
protected:
    void SetUp() override { WriteFile(shop_.Work("a.wav"), MonoRecording()); }

    std::string PathOf(const std::vector<std::string>& command, const std::string& status) {
        const ProgramResult result = shop_.Run(command);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        const nlohmann::json file = result.Json().at("files").at(0);
        EXPECT_EQ(file.at("status"), status);
        return file.at("path");
    }
    std::string Peaks(const std::string& status) {
        return PathOf({"peaks", "@a.wav", "--json"}, status);
    }
    std::string Conform(const std::string& status) {
        return PathOf({"conform", "@a.wav", "--json"}, status);
    }
    nlohmann::json Check() { return shop_.Run({"cache", "check", "--json"}).Json(); }
    ProgramResult Deep() { return shop_.Run({"cache", "check", "--deep", "--json"}); }

    /// Whether a deep check fails with exit code 1 and reports one file, in this list.
    bool DeepFinds(const std::string& list) {
        const ProgramResult result = Deep();
        const nlohmann::json report = result.Json();
        std::size_t found = 0;
        for (const char* other : {"missing", "orphans", "broken", "stale", "noChecksum"}) {
            found += report.at(other).size();
        }
        return result.exitCode == 1 && result.HasOneErrorLine() && found == 1 &&
               report.at(list).size() == 1;
    }

    Workshop shop_;
};

TEST_F(CacheCheckProgram, ABrokenPeakFileIsListedAndMadeAgainOnce) {
    const std::string good = ReadFile(Peaks("made"));
    for (const auto& [name, damage] : PEAK_DAMAGE) {
        const std::string broken = Peaks("found");
        damage(broken);
        EXPECT_THAT(Check().at("broken"), SizeIs(1)) << name;

        const std::string path = Peaks("made");

        EXPECT_TRUE(ReadFile(path) == good) << name;
        EXPECT_FALSE(std::filesystem::exists(broken)) << name;
        EXPECT_THAT(NamesIn(shop_.Path("cache")), SizeIs(1)) << name;
        EXPECT_THAT(Check().at("broken"), IsEmpty()) << name;
    }
}

TEST_F(CacheCheckProgram, APeakFileOfAnotherChannelCountIsMadeAgain) {
    const std::string path = Peaks("made");
    const std::string good = ReadFile(path);
    // Five blocks of 3 bytes become three blocks of 5 bytes: the length is still correct.
    Overwrite(path, 12, Little(2, 4) + Little(3, 4));

    EXPECT_TRUE(ReadFile(Peaks("made")) == good);
}

TEST_F(CacheCheckProgram, ThePeakFileOfAFileWithoutLengthIsFoundAgain) {
    WriteFile(shop_.Work("a.wav"),
              Riff(Chunk("fmt ", PcmFormat(1, 1, 8000, 16)) + Chunk("data", "")));
    const nlohmann::json first = shop_.Run({"peaks", "@a.wav", "--json"}).Json();

    const nlohmann::json second = shop_.Run({"peaks", "@a.wav", "--json"}).Json();

    EXPECT_EQ(first.at("files").at(0).at("path"), second.at("files").at(0).at("path"));
    EXPECT_THAT(Check().at("broken"), IsEmpty());
}

TEST_F(CacheCheckProgram, WaveformRecreatesABrokenPeakFile) {
    ASSERT_EQ(shop_.Run({"waveform", "@a.wav", "-o", "@1.png"}).exitCode, 0);
    std::filesystem::resize_file(Peaks("found"), 25);

    const ProgramResult result = shop_.Run({"waveform", "@a.wav", "-o", "@2.png"});

    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(ReadFile(shop_.Work("1.png")) == ReadFile(shop_.Work("2.png")));
}

TEST_F(CacheCheckProgram, AlignRecreatesABrokenPeakFile) {
    WriteFile(shop_.Work("a.wav"), ConformedFileBytes(9600, 8000));
    const ProgramResult first = shop_.Run({"align", "@a.wav", "@a.wav", "--json"});
    std::filesystem::resize_file(Peaks("found"), 25);

    const ProgramResult second = shop_.Run({"align", "@a.wav", "@a.wav", "--json"});

    EXPECT_EQ(second.exitCode, first.exitCode) << second.err;
    EXPECT_EQ(second.out, first.out);
    EXPECT_THAT(Check().at("broken"), IsEmpty());
}

TEST_F(CacheCheckProgram, AConformedFileAtAnotherRateThanItsRecordIsBroken) {
    const std::string path = Conform("made");
    EXPECT_THAT(Check().at("broken"), IsEmpty());

    Overwrite(path, 24, Little(44100, 4));

    EXPECT_THAT(Check().at("broken"), SizeIs(1));
}

TEST_F(CacheCheckProgram, AConformedFileAtAnotherRateThanItsRecordIsMadeAgain) {
    const std::string path = Conform("made");
    const std::string good = ReadFile(path);
    Overwrite(path, 24, Little(44100, 4));

    const std::string made = Conform("made");

    EXPECT_TRUE(ReadFile(made) == good);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(Conform("found"), made);
}

// ---- deep checks

TEST_F(CacheCheckProgram, ADeepCheckOfAnIntactCacheReportsNoFaults) {
    WriteFile(shop_.Work("long.wav"), ConformedFileBytes(250000, 8000));  // made by four tasks
    Conform("made");
    Peaks("made");
    ASSERT_EQ(shop_.Run({"peaks", "@long.wav"}).exitCode, 0);

    const ProgramResult result = shop_.Run({"cache", "check", "--deep", "--json"});

    EXPECT_EQ(result.exitCode, 0) << result.err;
    for (const char* list : {"missing", "orphans", "broken", "stale", "noChecksum"}) {
        EXPECT_THAT(result.Json().at(list), IsEmpty()) << list;
    }
}

TEST_F(CacheCheckProgram, ADeepCheckFindsEveryFlippedByte) {
    for (const std::string& path : {Conform("made"), Peaks("made")}) {
        const std::string good = ReadFile(path);
        // Every byte of the header and some of the content.
        for (std::size_t offset = 0; offset < good.size(); offset += offset < 44 ? 1 : 131) {
            Overwrite(path, offset, std::string(1, static_cast<char>(good[offset] ^ 16)));
            EXPECT_TRUE(DeepFinds("broken")) << path << " " << offset;
            WriteFile(path, good);
        }
        EXPECT_EQ(Deep().exitCode, 0);
    }
}

TEST_F(CacheCheckProgram, OnlyADeepCheckFindsZerosInsideAFile) {
    WriteFile(shop_.Work("a.wav"), ConformedFileBytes(48000, 8000));
    for (const std::string& path : {Conform("made"), Peaks("made")}) {
        Overwrite(path, 4096, std::string(512, '\0'));
        EXPECT_THAT(Check().at("broken"), IsEmpty());

        const ProgramResult result = Deep();

        EXPECT_EQ(result.exitCode, 1);
        ASSERT_THAT(result.Json().at("broken"), SizeIs(1));
        EXPECT_EQ(result.Json().at("broken").at(0).at("file"),
                  std::filesystem::path(path).filename().string());
        EXPECT_EQ(result.Json().at("broken").at(0).at("reason"),
                  "its bytes have changed since it was written");
        std::filesystem::remove(path);
        ASSERT_NE(path, path.ends_with(".xwmc") ? Conform("made") : Peaks("made"));
    }
}

TEST_F(CacheCheckProgram, ADeepCheckFindsFilesThatAreCutMissingOrWithoutARecord) {
    const std::string path = Conform("made");
    const std::string good = ReadFile(path);
    std::filesystem::resize_file(path, good.size() - 4);
    EXPECT_TRUE(DeepFinds("broken"));
    std::filesystem::remove(path);
    EXPECT_TRUE(DeepFinds("missing"));
    WriteFile(path, good);
    WriteFile(shop_.Path("cache") / "other.xwmc", good);
    EXPECT_TRUE(DeepFinds("orphans"));
}

TEST_F(CacheCheckProgram, ADeepCheckFindsFilesOfChangedAndMissingMedia) {
    Conform("made");
    WriteFile(shop_.Work("a.wav"), MonoRecording() + "more");
    EXPECT_TRUE(DeepFinds("stale"));
    std::filesystem::remove(shop_.Work("a.wav"));
    EXPECT_TRUE(DeepFinds("stale"));
}

TEST_F(CacheCheckProgram, ARecordWithoutAChecksumIsListedAndIsNotAFault) {
    Conform("made");
    RawDatabase(shop_.Path("media.db")).Run("UPDATE conformed_file SET checksum = NULL");

    const ProgramResult result = Deep();

    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.Json().at("noChecksum"), SizeIs(1));
    EXPECT_THAT(shop_.Run({"cache", "check", "--deep"}).out,
                testing::StartsWith("no checksum: conformed  "));
}

TEST_F(CacheCheckProgram, ADatabaseOfVersion1IsCheckedAndThenUsed) {
    const std::string path = Conform("made");
    RawDatabase(shop_.Path("media.db"))
        .Run(
            "ALTER TABLE conformed_file DROP COLUMN checksum;"
            "ALTER TABLE peak_file DROP COLUMN checksum; PRAGMA user_version=1");

    EXPECT_EQ(shop_.Run({"cache", "ls", "--json"}).Json().at("files").size(), 1u);
    EXPECT_THAT(Deep().Json().at("noChecksum"), SizeIs(1));
    EXPECT_EQ(shop_.Run({"cache", "clean", "--dry-run"}).exitCode, 0);
    EXPECT_EQ(Conform("found"), path);
    Peaks("made");
    EXPECT_THAT(Deep().Json().at("noChecksum"), ElementsAre(testing::_));
}

TEST_F(CacheCheckProgram, ADeepCheckDoesNotChangeTheCache) {
    const std::string path = Conform("made");
    Overwrite(path, 50, "x");
    const std::string database = ReadFile(shop_.Path("media.db"));
    const std::string content = ReadFile(path);

    Deep();

    EXPECT_TRUE(ReadFile(shop_.Path("media.db")) == database);
    EXPECT_TRUE(ReadFile(path) == content);
    EXPECT_THAT(NamesIn(shop_.Path("cache")), SizeIs(1));
}

}  // namespace
}  // namespace sonrel_tests
