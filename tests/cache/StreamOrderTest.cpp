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

// The bodies of the stream in this program record the calls.
namespace orlo::project {

struct MediaAudioStreamImpl {
    ZRAudioCodec codec;
    int nativeRate;
    long long nativeCount;
    std::wstring noPath;
};

MediaAudioStream::MediaAudioStream(int nativeRate, long long nativeCount, ZRAudioCodec codec)
    : impl_(new MediaAudioStreamImpl{codec, nativeRate, nativeCount, {}}) {}
MediaAudioStream::MediaAudioStream(MediaAudioStream const& source)
    : impl_(std::make_unique<MediaAudioStreamImpl>(*source.impl_)) {}
MediaAudioStream::~MediaAudioStream() = default;

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
    return impl_->codec;
}
bool MediaAudioStream::SamplesAvailable() const {
    return false;
}
std::wstring const& MediaAudioStream::ConformedFilePath() const {
    return impl_->noPath;
}
long long MediaAudioStream::ConformedSampleCount() const {
    return 0;
}
int MediaAudioStream::ConformedSampleRate() const {
    return 0;
}
long long MediaAudioStream::NativeSampleCount() const {
    return impl_->nativeCount;
}
int MediaAudioStream::NativeSampleRate() const {
    return impl_->nativeRate;
}
double MediaAudioStream::FrameRate() const {
    return 25.0;
}
bool MediaAudioStream::IsMerged() const {
    return false;
}
void MediaAudioStream::SetMerged(bool) {}
std::pair<long long, long long> MediaAudioStream::MergedSampleRange() const {
    return {0, 0};
}
std::wstring const& MediaAudioStream::WaveformPeakFilePath() const {
    return impl_->noPath;
}
bool MediaAudioStream::WaveformPreviewAvailable() const {
    return false;
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
