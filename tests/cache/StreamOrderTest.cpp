// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/cache/WaveformPeakFileHelper.h"
#include "sonrel/project.h"
#include "tests/support/MediaAssets.h"

namespace {

/// The calls that the code under test makes on a stream, in order.
std::vector<std::string>& Calls() {
    static std::vector<std::string> calls;
    return calls;
}

}  // namespace

// The bodies of the stream in this program: they note the calls.
namespace orlo::project {

MediaAudioStream::MediaAudioStream(int nativeRate, long long nativeCount, ZRAudioCodec codec)
    : codec_(codec), nativeRate_(nativeRate), nativeCount_(nativeCount) {}

void MediaAudioStream::SetSamplesAvailable(bool available) {
    Calls().push_back(available ? "available" : "not available");
}
void MediaAudioStream::SetConformedFile(std::wstring const&, int) {
    Calls().push_back("set path");
}
void MediaAudioStream::ClearConformedFile() {
    Calls().push_back("clear path");
}
void MediaAudioStream::SetWaveformPeakFilePath(std::wstring const&) {
    Calls().push_back("set peak path");
}
void MediaAudioStream::SetWaveformPreviewAvailable(bool available) {
    Calls().push_back(available ? "preview available" : "preview not available");
}

ZRAudioCodec MediaAudioStream::Codec() const {
    return codec_;
}
bool MediaAudioStream::SamplesAvailable() const {
    return samplesAvailable_;
}
std::wstring const& MediaAudioStream::ConformedFilePath() const {
    return conformedPath_;
}
long long MediaAudioStream::ConformedSampleCount() const {
    return conformedCount_;
}
int MediaAudioStream::ConformedSampleRate() const {
    return conformedRate_;
}
long long MediaAudioStream::NativeSampleCount() const {
    return nativeCount_;
}
int MediaAudioStream::NativeSampleRate() const {
    return nativeRate_;
}
double MediaAudioStream::FrameRate() const {
    return frameRate_;
}
bool MediaAudioStream::IsMerged() const {
    return merged_;
}
std::pair<long long, long long> MediaAudioStream::MergedSampleRange() const {
    return mergedRange_.value_or(std::pair(0LL, conformedCount_));
}
std::wstring const& MediaAudioStream::WaveformPeakFilePath() const {
    return peakPath_;
}
bool MediaAudioStream::WaveformPreviewAvailable() const {
    return previewAvailable_;
}
void MediaAudioStream::SetFrameRate(double) {}
void MediaAudioStream::SetMergedSampleRange(long long, long long) {}
void MediaAudioStream::ClearMergedSampleRange() {}
void MediaAudioStream::SetConformedSampleCount(long long) {}

}  // namespace orlo::project

namespace {

using namespace orlo::sonrel;
using testing::ElementsAre;

class StreamOrder : public testing::Test {
protected:
    StreamOrder() { Calls().clear(); }

    std::shared_ptr<orlo::project::MediaManager> manager =
        std::make_shared<orlo::project::MediaManager>();
    std::shared_ptr<orlo::project::MediaAsset> asset =
        sonrel_tests::MakeMediaAsset(manager, L"/media/a.mov");
};

TEST_F(StreamOrder, TheConformedFileIsSetBeforeItIsAvailable) {
    ConformedAudioFileHelper::SetAudioSamplesAvailable(asset, 48000, L"/cache/a.xwmc");

    EXPECT_THAT(Calls(), ElementsAre("set path", "available"));
}

TEST_F(StreamOrder, TheConformedFileIsClearedBeforeItIsUnavailable) {
    ConformedAudioFileHelper::SetAudioSamplesUnavailable(asset);

    EXPECT_THAT(Calls(), ElementsAre("clear path", "not available"));
}

TEST_F(StreamOrder, ThePeakFileIsSetBeforeThePreviewIsAvailable) {
    WaveformPeakFileHelper::SetWaveformPreviewAvailable(asset, L"/cache/a.xwpk");

    EXPECT_THAT(Calls(), ElementsAre("set peak path", "preview available"));
}

}  // namespace
