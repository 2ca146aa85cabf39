// SPDX-License-Identifier: MIT
#include "host/output/SoundFormat.h"

#include <gtest/gtest.h>

#include "host/output/EncodedWriter.h"
#include "host/output/OutputName.h"
#include "host/shell/Errors.h"
#include "tests/support/TemporaryFolder.h"

namespace orlo::host {
namespace {

using sonrel_tests::NamesIn;
using sonrel_tests::TemporaryFolder;

TEST(SoundFormat, TheExtensionSelectsTheFormatInUpperAndLowerCase) {
    EXPECT_EQ(SoundFormatOf("a.wav"), SoundFormat::Wav);
    EXPECT_EQ(SoundFormatOf("a.FLAC"), SoundFormat::Flac);
    EXPECT_EQ(SoundFormatOf("a.b.ogg"), SoundFormat::Vorbis);
    EXPECT_EQ(SoundFormatOf("a.Opus"), SoundFormat::Opus);
    EXPECT_EQ(SoundFormatOf("dir.wav/a.w64"), SoundFormat::W64);
    EXPECT_EQ(SoundFormatOf("a.aiff"), SoundFormat::Aiff);
    EXPECT_EQ(SoundFormatOf("a.aif"), SoundFormat::Aiff);
    EXPECT_EQ(SoundFormatOf("a.caf"), SoundFormat::Caf);
}

TEST(SoundFormat, ANameWithoutAKnownExtensionHasNoFormat) {
    for (const char* name : {"a", "a.mp3", "a.wav.part", "dir.wav/a", ".wav", "wav", "-"}) {
        EXPECT_EQ(SoundFormatOf(name), std::nullopt) << name;
    }
}

TEST(SoundFormat, AnUnknownExtensionIsWrongUsageExceptForADevice) {
    EXPECT_THROW(RequireExtension("a.mp3", {".wav", ".raw"}), UsageError);
    EXPECT_THROW(RequireExtension("a", {".wav", ".raw"}), UsageError);
    EXPECT_NO_THROW(RequireExtension("a.RAW", {".wav", ".raw"}));
    EXPECT_NO_THROW(RequireExtension("/dev/null", {".wav", ".raw"}));
}

TEST(SoundFormat, AnAiffFileBeyond2GibibytesIsRefusedBeforeItIsWritten) {
    const TemporaryFolder folder;
    OutputGuard guard(false);

    // 2^29 frames of 4 bytes are 2^31 bytes, one more than a size in the file can be.
    EXPECT_THROW(EncodedWriter(folder / "a.aiff", guard, SoundFormat::Aiff, 48000, 1LL << 29),
                 JobError);
    EXPECT_TRUE(NamesIn(folder / "").empty());
}

TEST(SoundFormat, OpusRefusesASampleRateThatItDoesNotHave) {
    const TemporaryFolder folder;
    OutputGuard guard(false);

    EXPECT_THROW(EncodedWriter(folder / "a.opus", guard, SoundFormat::Opus, 44100, 1), UsageError);
    EXPECT_NO_THROW(EncodedWriter(folder / "a.opus", guard, SoundFormat::Opus, 24000, 1));
}

}  // namespace
}  // namespace orlo::host
