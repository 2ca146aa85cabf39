// SPDX-License-Identifier: MIT
#include <sys/stat.h>
#include <unistd.h>

#include <set>

#include "sonrel/media/ZRMediaException.h"
#include "tests/media/MediaSupport.h"
#include "tests/support/AnotherProcess.h"
#include "tests/support/NoDescriptors.h"

using namespace sonrel_tests;

namespace {

int CreateCodeOf(const std::filesystem::path& path) {
    return OpenedMedia(path).CreateCode();
}

std::string SmallWave() {
    return WaveFile(1, 2, 48000, 16, NoiseBytes(400));
}

/// Runs the process as user nobody during its lifetime.
class AsNobody {
public:
    AsNobody() : wasRoot_(geteuid() == 0) {
        if (wasRoot_ && seteuid(65534) != 0) throw std::runtime_error("seteuid");
    }
    ~AsNobody() {
        if (wasRoot_ && seteuid(0) != 0) std::abort();
    }

private:
    bool wasRoot_;
};

}  // namespace

TEST(MediaFileCreate, MissingFileIsNotFound) {
    const TemporaryFolder folder;

    EXPECT_EQ(CreateCodeOf(folder / "nothing.wav"), Code(MediaError::NotFound));
}

TEST(MediaFileCreate, EmptyPathIsNotFound) {
    EXPECT_EQ(CreateCodeOf(""), Code(MediaError::NotFound));
}

TEST(MediaFileCreate, AFailureLeavesThePointerUnchanged) {
    ZRAbstractMediaFile* file = reinterpret_cast<ZRAbstractMediaFile*>(0x10);

    const int code =
        zrh::media::ZRMediaFileCreate(L"/nonexistent/x.wav", &file, ZRMediaReaderType::Default);

    EXPECT_EQ(code, Code(MediaError::NotFound));
    EXPECT_EQ(file, reinterpret_cast<ZRAbstractMediaFile*>(0x10));
}

TEST(MediaFileCreate, NullArgumentsAreInvalid) {
    ZRAbstractMediaFile* file = nullptr;

    EXPECT_EQ(zrh::media::ZRMediaFileCreate(nullptr, &file, ZRMediaReaderType::Default),
              Code(MediaError::InvalidArgument));
    EXPECT_EQ(zrh::media::ZRMediaFileCreate(L"/tmp/a.wav", nullptr, ZRMediaReaderType::Default),
              Code(MediaError::InvalidArgument));
}

TEST(MediaFileCreate, APathOutsideUnicodeIsABadName) {
    const wchar_t path[] = {L'/', static_cast<wchar_t>(0xD800), L'a', 0};
    ZRAbstractMediaFile* file = nullptr;

    EXPECT_EQ(zrh::media::ZRMediaFileCreate(path, &file, ZRMediaReaderType::Default),
              Code(MediaError::BadName));
}

TEST(MediaFileCreate, AFolderIsNotARegularFile) {
    const TemporaryFolder folder;

    EXPECT_EQ(CreateCodeOf(folder.Path()), Code(MediaError::NotRegularFile));
}

TEST(MediaFileCreate, APipeIsNotARegularFileAndDoesNotBlock) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder / "pipe.wav").c_str(), 0600), 0);

    EXPECT_EQ(CreateCodeOf(folder / "pipe.wav"), Code(MediaError::NotRegularFile));
}

TEST(MediaFileCreate, ADeviceIsNotARegularFile) {
    EXPECT_EQ(CreateCodeOf("/dev/zero"), Code(MediaError::NotRegularFile));
}

TEST(MediaFileCreate, ALinkToADeviceIsNotARegularFile) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink("/dev/zero", folder / "zero.wav");

    EXPECT_EQ(CreateCodeOf(folder / "zero.wav"), Code(MediaError::NotRegularFile));
}

TEST(MediaFileCreate, LinkToAMediaFileOpens) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", SmallWave());
    std::filesystem::create_symlink(folder / "a.wav", folder / "b.wav");

    EXPECT_EQ(CreateCodeOf(folder / "b.wav"), 0);
}

TEST(MediaFileCreate, CircularLinksCannotBeOpened) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink(folder / "b.wav", folder / "a.wav");
    std::filesystem::create_symlink(folder / "a.wav", folder / "b.wav");

    EXPECT_EQ(CreateCodeOf(folder / "a.wav"), Code(MediaError::OpenFailed));
}

TEST(MediaFileCreate, FileWithoutReadPermissionIsRefused) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", SmallWave());
    chmod((folder / "a.wav").c_str(), 0);
    chmod(folder.Path().c_str(), 0755);
    const AsNobody nobody;

    EXPECT_EQ(CreateCodeOf(folder / "a.wav"), Code(MediaError::NoPermission));
}

// UndefinedBehaviorSanitizer opens a pipe to check the address of an object. Without a free
// descriptor it reports every object.
#if !defined(__SANITIZE_ADDRESS__)
TEST(MediaFileCreate, WithoutAFreeDescriptorTheFileIsRefusedWithThatReason) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", SmallWave());

    const int code = InAnotherProcess([&] {
        const NoDescriptors none;
        return CreateCodeOf(folder / "a.wav");
    });

    EXPECT_EQ(code, Code(MediaError::TooManyFiles));
}
#endif

TEST(MediaFileCreate, AnEmptyFileIsNotMedia) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", "");

    EXPECT_EQ(CreateCodeOf(folder / "a.wav"), Code(MediaError::NotMedia));
}

TEST(MediaFileCreate, TextIsNotMedia) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", "Dear reader, this is no sound at all.\n");

    EXPECT_EQ(CreateCodeOf(folder / "a.wav"), Code(MediaError::NotMedia));
}

TEST(MediaFileCreate, ZerosAreNotMedia) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", std::string(65536, '\0'));

    EXPECT_EQ(CreateCodeOf(folder / "a.wav"), Code(MediaError::NotMedia));
}

TEST(MediaFileCreate, PlaylistsAndScriptsAreRefusedUnderAnyName) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", SmallWave());
    const std::string list = "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1.0,\na.wav\n";
    WriteFile(folder / "list.m3u8", list);
    WriteFile(folder / "list.wav", list);
    WriteFile(folder / "script.wav", "ffconcat version 1.0\nfile 'a.wav'\n");
    WriteFile(folder / "session.sdp",
              "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\n"
              "m=audio 9000 RTP/AVP 0\n");

    for (const char* name : {"list.m3u8", "list.wav", "script.wav", "session.sdp"}) {
        EXPECT_EQ(CreateCodeOf(folder / name), Code(MediaError::RefusedFormat)) << name;
    }
}

TEST(MediaFileCreate, StillImageIsRefused) {
    const TemporaryFolder folder;
    // A picture of one pixel.
    WriteFile(folder / "a.gif", std::string("GIF89a\1\0\1\0\0\0\0,\0\0\0\0\1\0\1\0\0\2\1D\0;", 26));

    EXPECT_EQ(CreateCodeOf(folder / "a.gif"), Code(MediaError::RefusedFormat));
}

TEST(MediaFileCreate, NamesThatLookLikeProtocolsPatternsOrOptionsAreFiles) {
    const TemporaryFolder folder;
    for (const char* name : {"-i", "concat:a.wav", "pipe:0", "subfile,,start,0,end,0,,:a.wav",
                             "file:a.wav", "%03d.wav", "http:", "a|b.wav", "new\nline.wav"}) {
        WriteFile(folder / name, SmallWave());

        const OpenedMedia media(folder / name);

        ASSERT_EQ(media.PrepareCode(), 0) << name;
        EXPECT_EQ(media.Audio()->SampleCount(), 100) << name;
    }
}

TEST(MediaFileCreate, NameInUnicodeOpens) {
    const TemporaryFolder folder;
    WriteFile(folder / "Größe \xF0\x9F\x8E\xB5.wav", SmallWave());

    EXPECT_EQ(CreateCodeOf(folder / "Größe \xF0\x9F\x8E\xB5.wav"), 0);
}

TEST(MediaFileCreate, StreamsAreListedBeforeThePreparation) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", SmallWave());
    const zrh::media::MediaFilePtr file = zrh::media::OpenMediaFile(folder.Wide("a.wav"));

    ASSERT_EQ(file->Streams().size(), 1u);
    EXPECT_EQ(file->Streams()[0]->StreamType(), 0);
    EXPECT_EQ(file->Streams()[0]->SampleRate(), 48000);
    EXPECT_EQ(file->Streams()[0]->ChannelCount(), 2);
    EXPECT_EQ(file->Streams()[0]->BitsPerSample(), 16);
}

TEST(MediaFileCreate, ReadingBeforeThePreparationFails) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", SmallWave());
    const zrh::media::MediaFilePtr file = zrh::media::OpenMediaFile(folder.Wide("a.wav"));
    char buffer[64];
    int got = -1;

    const int code = file->Streams()[0]->GetSamples(0, 16, buffer, sizeof(buffer), &got);

    EXPECT_EQ(code, Code(MediaError::NotPrepared));
    EXPECT_EQ(got, 0);
}

TEST(MediaErrors, EveryCodeHasItsOwnText) {
    std::set<std::string> texts;
    for (int code = 0; code <= Code(MediaError::IndexTooLarge); ++code) {
        const std::string text = zrh::media::MediaErrorText(code);
        EXPECT_TRUE(texts.insert(text).second) << code;
        EXPECT_EQ(text.find('\n'), std::string::npos) << code;
        EXPECT_GT(text.size(), 5u) << code;
    }
}

TEST(MediaErrors, TheTextOfAnUnknownCodeContainsItsNumber) {
    EXPECT_EQ(zrh::media::MediaErrorText(-7), "media error -7");
}

TEST(ZRMediaException, TextIsTheCodeAndALineFeed) {
    EXPECT_STREQ(zrh::media::ZRMediaException(6).what(), "ZRMedia Error 6\n");
}
