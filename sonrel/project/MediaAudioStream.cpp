// SPDX-License-Identifier: MIT
#include "sonrel/project/MediaAudioStream.h"

#include <cmath>
#include <stdexcept>

#include "sonrel/conformed/ConformedAudioFile.h"

namespace orlo::project {

MediaAudioStream::MediaAudioStream(int nativeRate, long long nativeCount, ZRAudioCodec codec)
    : codec_(codec), nativeRate_(nativeRate), nativeCount_(nativeCount) {
    if (nativeRate < 0 || nativeCount < 0) {
        throw std::invalid_argument("an audio stream's rate and length must not be negative");
    }
}

ZRAudioCodec MediaAudioStream::Codec() const {
    return codec_;
}
bool MediaAudioStream::SamplesAvailable() const {
    return samplesAvailable_;
}
void MediaAudioStream::SetSamplesAvailable(bool available) {
    samplesAvailable_ = available;
}
std::wstring const& MediaAudioStream::ConformedFilePath() const {
    return conformedPath_;
}

void MediaAudioStream::SetConformedFile(std::wstring const& path, int sampleRate) {
    ConformedAudioFile file;
    const bool readable = !path.empty() && file.Open(path);
    conformedPath_ = path;
    conformedRate_ = sampleRate;
    conformedCount_ = readable ? file.SampleCount() : 0;
}

void MediaAudioStream::ClearConformedFile() {
    conformedPath_.clear();
    conformedRate_ = 0;
    conformedCount_ = 0;
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
void MediaAudioStream::SetWaveformPeakFilePath(std::wstring const& path) {
    peakPath_ = path;
}
bool MediaAudioStream::WaveformPreviewAvailable() const {
    return previewAvailable_;
}

void MediaAudioStream::SetWaveformPreviewAvailable(bool available) {
    previewAvailable_ = available;
}

void MediaAudioStream::SetFrameRate(double frameRate) {
    if (!std::isfinite(frameRate) || frameRate <= 0.0) {
        throw std::invalid_argument("a frame rate must be a finite number above 0");
    }
    frameRate_ = frameRate;
}

void MediaAudioStream::SetMergedSampleRange(long long first, long long end) {
    if (first < 0 || end < first) {
        throw std::invalid_argument(
            "a merged range must begin at 0 or later and not end before it");
    }
    mergedRange_ = {first, end};
}

void MediaAudioStream::ClearMergedSampleRange() {
    mergedRange_.reset();
}

void MediaAudioStream::SetConformedSampleCount(long long count) {
    if (count < 0) throw std::invalid_argument("a length must not be negative");
    conformedCount_ = count;
}

}  // namespace orlo::project
