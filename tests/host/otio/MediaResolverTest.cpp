// SPDX-License-Identifier: MIT
#include "host/otio/MediaResolver.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace orlo::host::otio {
namespace {

MediaLocation Resolve(const std::string& url, std::vector<MediaRoot> roots = {},
                      std::set<std::string> existing = {}) {
    const MediaResolver resolver("/edit", std::move(roots), [existing](const std::string& path) {
        return existing.contains(path);
    });
    return resolver.Resolve(url);
}

std::string Path(const std::string& url, std::vector<MediaRoot> roots = {},
                 std::set<std::string> existing = {}) {
    const MediaLocation location = Resolve(url, std::move(roots), std::move(existing));
    EXPECT_EQ(location.problem, "") << url;
    return location.path;
}

TEST(MediaResolver, AnAbsolutePathIsUnchanged) {
    EXPECT_EQ(Path("/media/a.wav"), "/media/a.wav");
}

TEST(MediaResolver, ARelativePathIsRelativeToTheFolderOfTheTimeline) {
    EXPECT_EQ(Path("media/a.wav"), "/edit/media/a.wav");
    EXPECT_EQ(Path("../a.wav"), "/a.wav");
    EXPECT_EQ(Path("./x/../a.wav"), "/edit/a.wav");
}

TEST(MediaResolver, FileUrlsOfThisMachineArePaths) {
    EXPECT_EQ(Path("file:///media/a.wav"), "/media/a.wav");
    EXPECT_EQ(Path("file://localhost/media/a.wav"), "/media/a.wav");
    EXPECT_EQ(Path("file:/media/a.wav"), "/media/a.wav");
    EXPECT_EQ(Path("FILE:///media/a.wav"), "/media/a.wav");
}

TEST(MediaResolver, PercentEscapesAreDecoded) {
    EXPECT_EQ(Path("file:///media/a%20b%C3%BC.wav"), "/media/a b\xC3\xBC.wav");
    EXPECT_EQ(Path("a%2fb.wav"), "/edit/a/b.wav");
}

TEST(MediaResolver, APercentSignWithoutTwoDigitsIsAnOrdinaryCharacter) {
    EXPECT_EQ(Path("/media/50%.wav"), "/media/50%.wav");
    EXPECT_EQ(Path("/media/5%2"), "/media/5%2");
    EXPECT_EQ(Path("/media/%zz"), "/media/%zz");
}

TEST(MediaResolver, TheUndecodedNameIsUsedWhenOnlyThatFileExists) {
    EXPECT_EQ(Resolve("/m/a%20b.wav", {}, {"/m/a%20b.wav"}).path, "/m/a%20b.wav");
    EXPECT_EQ(Resolve("/m/a%20b.wav", {}, {"/m/a%20b.wav", "/m/a b.wav"}).path, "/m/a b.wav");
}

TEST(MediaResolver, OtherUrlsAreRefusedByName) {
    for (const char* url : {"http://127.0.0.1/a.wav", "https://host/a.wav", "ftp://host/a",
                            "rtp://host:1/", "s3://bucket/a.wav"}) {
        const MediaLocation location = Resolve(url);
        EXPECT_EQ(location.path, url);
        EXPECT_EQ(location.problem, "it is a URL, and only local files are read");
    }
}

TEST(MediaResolver, AFileUrlOfAnotherMachineIsRefused) {
    const MediaLocation location = Resolve("file://server/share/a.wav");

    EXPECT_EQ(location.path, "file://server/share/a.wav");
    EXPECT_EQ(location.problem, "it is on another machine");
}

TEST(MediaResolver, AFileUrlWithAFileNameInPlaceOfTheMachineIsNextToTheTimeline) {
    EXPECT_EQ(Path("file://name.wav"), "/edit/name.wav");
    EXPECT_EQ(Path("file://a%20b.wav"), "/edit/a b.wav");
    EXPECT_EQ(Path("file://media/a.wav", {}, {"/edit/media/a.wav"}), "/edit/media/a.wav");
    EXPECT_EQ(Path("file://name.wav", {{"//name.wav", "/mnt/b.wav"}}), "/mnt/b.wav");
}

TEST(MediaResolver, APathOfAnotherSystemIsRefusedAsTheTimelineHasIt) {
    for (const char* url : {"D:/footage/x.wav", "file:///D:/footage/x.wav",
                            "file://D:/footage/x.wav", "D:\\footage\\x.wav"}) {
        const MediaLocation location = Resolve(url);
        EXPECT_EQ(location.path, "D:/footage/x.wav") << url;
        EXPECT_EQ(location.problem, "it is on a drive of another system") << url;
    }
    for (const char* url : {"\\\\server\\share\\x.wav", "file:////server/share/x.wav"}) {
        const MediaLocation location = Resolve(url);
        EXPECT_EQ(location.path, "//server/share/x.wav") << url;
        EXPECT_EQ(location.problem, "it is on another machine") << url;
    }
}

TEST(MediaResolver, ARelativePathWithBackslashesIsUsedWhereOnlyThatFileExists) {
    EXPECT_EQ(Path("media\\a.wav", {}, {"/edit/media/a.wav"}), "/edit/media/a.wav");
    EXPECT_EQ(Path("..\\m\\a.wav", {}, {"/m/a.wav"}), "/m/a.wav");
    EXPECT_EQ(Path("a\\b.wav", {}, {"/edit/a\\b.wav", "/edit/a/b.wav"}), "/edit/a\\b.wav");
    EXPECT_EQ(Path("a\\b.wav"), "/edit/a\\b.wav");
}

TEST(MediaResolver, AUrlWithFiveSlashesIsOnAnotherMachine) {
    EXPECT_NE(Resolve("file://///server/m/a.wav").problem, "");
    EXPECT_EQ(Path("file://///server/m/a.wav", {{"//server/m", "/mnt"}}), "/mnt/a.wav");
    EXPECT_EQ(Path("file:////media/a.wav", {}, {"/media/a.wav"}), "/media/a.wav");
}

TEST(MediaResolver, AFileThatIsNamedLikeADriveIsUsed) {
    EXPECT_EQ(Path("D:/x.wav", {}, {"/edit/D:/x.wav"}), "/edit/D:/x.wav");
}

TEST(MediaResolver, APrefixWithABareColonIsPartOfTheFileName) {
    EXPECT_EQ(Path("concat:a|b"), "/edit/concat:a|b");
    EXPECT_EQ(Path("pipe:0"), "/edit/pipe:0");
    EXPECT_EQ(Path("take 2: end.wav"), "/edit/take 2: end.wav");
}

TEST(MediaResolver, ANameWithAZeroByteIsRefused) {
    EXPECT_NE(Resolve("file:///a%00b.wav").problem, "");
    EXPECT_NE(Resolve(std::string("/a\0b", 4)).problem, "");
}

TEST(MediaResolver, ANameThatIsNotUtf8IsRefused) {
    EXPECT_NE(Resolve("/a%FF.wav").problem, "");
}

TEST(MediaResolver, AMediaRootReplacesTheBeginningOfAPath) {
    EXPECT_EQ(Path("/old/x/a.wav", {{"/old", "/new"}}), "/new/x/a.wav");
    EXPECT_EQ(Path("/old/x/a.wav", {{"/old/", "/new"}}), "/new/x/a.wav");
    EXPECT_EQ(Path("/old/x/a.wav", {{"/old/", "/new/"}}), "/new/x/a.wav");
}

TEST(MediaResolver, AMediaRootMatchesWholeNamesOnly) {
    EXPECT_EQ(Path("/older/a.wav", {{"/old", "/new"}}), "/older/a.wav");
}

TEST(MediaResolver, TheFirstMatchingMediaRootIsUsed) {
    EXPECT_EQ(Path("/old/a.wav", {{"/x", "/1"}, {"/old", "/2"}, {"/old", "/3"}}), "/2/a.wav");
}

TEST(MediaResolver, AMediaRootMatchesBothFormsOfARelativePath) {
    EXPECT_EQ(Path("media/a.wav", {{"media", "/new"}}), "/new/a.wav");
    EXPECT_EQ(Path("media/a.wav", {{"/edit/media", "/new"}}), "/new/a.wav");
}

TEST(MediaResolver, AMediaRootMatchesDrivesOfAnotherSystem) {
    EXPECT_EQ(Path("file:///D:/media/a.wav", {{"D:/media", "/mnt"}}), "/mnt/a.wav");
    EXPECT_EQ(Path("D:\\media\\a.wav", {{"D:/media", "/mnt"}}), "/mnt/a.wav");
    EXPECT_EQ(Path("D:/media/a.wav", {{"D:\\media", "/mnt"}}), "/mnt/a.wav");
    EXPECT_EQ(Path("\\\\server\\share\\a.wav", {{"\\\\server\\share", "/mnt"}}), "/mnt/a.wav");
}

TEST(MediaResolver, AMediaRootMatchesPathsOnAnotherMachine) {
    EXPECT_EQ(Path("file://server/share/a.wav", {{"//server/share", "/mnt"}}), "/mnt/a.wav");
}

}  // namespace
}  // namespace orlo::host::otio
