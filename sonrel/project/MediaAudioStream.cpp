// SPDX-License-Identifier: MIT
#include "sonrel/project/MediaAudioStream.h"

#include <cmath>
#include <optional>
#include <stdexcept>

#include "sonrel/conformed/ConformedAudioFile.h"

namespace orlo::project {

struct MediaAudioStreamImpl {
    ZRAudioCodec codec = ZRAudioCodec::Unknown;
    int nativeRate = 0;
    long long nativeCount = 0;
    double frameRate = 25.0;
    bool samplesAvailable = false;
    std::wstring conformedPath;
    int conformedRate = 0;
    long long conformedCount = 0;
    bool merged = false;
    std::optional<std::pair<long long, long long>> mergedRange;
    std::wstring peakPath;
    bool previewAvailable = false;
};

MediaAudioStream::MediaAudioStream(int nativeRate, long long nativeCount, ZRAudioCodec codec)
    : impl_(std::make_unique<MediaAudioStreamImpl>()) {
    if (nativeRate < 0 || nativeCount < 0) {
        throw std::invalid_argument("an audio stream's rate and length must not be negative");
    }
    impl_->codec = codec;
    impl_->nativeRate = nativeRate;
    impl_->nativeCount = nativeCount;
}

MediaAudioStream::MediaAudioStream(MediaAudioStream const& source)
    : impl_(std::make_unique<MediaAudioStreamImpl>(*source.impl_)) {}

MediaAudioStream::~MediaAudioStream() = default;

ZRAudioCodec MediaAudioStream::Codec() const {
    return impl_->codec;
}
bool MediaAudioStream::SamplesAvailable() const {
    return impl_->samplesAvailable;
}
void MediaAudioStream::SetSamplesAvailable(bool available) {
    impl_->samplesAvailable = available;
}
std::wstring const& MediaAudioStream::ConformedFilePath() const {
    return impl_->conformedPath;
}

void MediaAudioStream::SetConformedFile(std::wstring const& path, int sampleRate) {
    ConformedAudioFile file;
    const bool readable = !path.empty() && file.Open(path);
    impl_->conformedPath = path;
    impl_->conformedRate = sampleRate;
    impl_->conformedCount = readable ? file.SampleCount() : 0;
}

void MediaAudioStream::ClearConformedFile() {
    impl_->conformedPath.clear();
    impl_->conformedRate = 0;
    impl_->conformedCount = 0;
}

long long MediaAudioStream::ConformedSampleCount() const {
    return impl_->conformedCount;
}
int MediaAudioStream::ConformedSampleRate() const {
    return impl_->conformedRate;
}
long long MediaAudioStream::NativeSampleCount() const {
    return impl_->nativeCount;
}
int MediaAudioStream::NativeSampleRate() const {
    return impl_->nativeRate;
}
double MediaAudioStream::FrameRate() const {
    return impl_->frameRate;
}
bool MediaAudioStream::IsMerged() const {
    return impl_->merged;
}
void MediaAudioStream::SetMerged(bool merged) {
    impl_->merged = merged;
}

std::pair<long long, long long> MediaAudioStream::MergedSampleRange() const {
    return impl_->mergedRange.value_or(std::pair(0LL, impl_->conformedCount));
}

std::wstring const& MediaAudioStream::WaveformPeakFilePath() const {
    return impl_->peakPath;
}
void MediaAudioStream::SetWaveformPeakFilePath(std::wstring const& path) {
    impl_->peakPath = path;
}
bool MediaAudioStream::WaveformPreviewAvailable() const {
    return impl_->previewAvailable;
}

void MediaAudioStream::SetWaveformPreviewAvailable(bool available) {
    impl_->previewAvailable = available;
}

void MediaAudioStream::SetFrameRate(double frameRate) {
    if (!std::isfinite(frameRate) || frameRate <= 0.0) {
        throw std::invalid_argument("a frame rate must be a finite number above 0");
    }
    impl_->frameRate = frameRate;
}

void MediaAudioStream::SetMergedSampleRange(long long first, long long end) {
    if (first < 0 || end < first) {
        throw std::invalid_argument(
            "a merged range must begin at 0 or later and not end before it");
    }
    impl_->mergedRange = {first, end};
}

void MediaAudioStream::ClearMergedSampleRange() {
    impl_->mergedRange.reset();
}

void MediaAudioStream::SetConformedSampleCount(long long count) {
    if (count < 0) throw std::invalid_argument("a length must not be negative");
    impl_->conformedCount = count;
}

}  // namespace orlo::project
