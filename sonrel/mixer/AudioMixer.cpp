// SPDX-License-Identifier: MIT
#include "sonrel/mixer/AudioMixer.h"

#include "sonrel/mixer/detail/AssetSource.h"
#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "sonrel/mixer/detail/CompositionMix.h"
#include "sonrel/mixer/detail/ObjectRender.h"
#include "sonrel/mixer/detail/SequenceMix.h"

namespace orlo::sonrel {

const unsigned int AudioMixer::DITHER_SEED_RANDOM = 0;

AudioMixer::AudioMixer() : impl_(std::make_unique<AudioMixerImpl>()) {
    impl_->conformedFiles.reserve(detail::MAX_OPEN_FILES + 1);
}

AudioMixer::~AudioMixer() = default;

int AudioMixer::GetSamples(const std::shared_ptr<project::Project>& project,
                           const std::shared_ptr<project::EditorSequence>& sequence,
                           long long start, int count, unsigned char* buffer, int /*bufferSize*/,
                           int rateOverride, int sampleRate) const {
    impl_->floatBlocks.Reset();
    return detail::GetSequenceSamples(*impl_, project, sequence, start, count, buffer, rateOverride,
                                      sampleRate);
}

int AudioMixer::GetSamples(const std::shared_ptr<project::Project>& project,
                           const std::shared_ptr<project::CompositionAsset>& composition,
                           long long start, int count, unsigned char* buffer, int /*bufferSize*/,
                           int rateOverride, int sampleRate) const {
    impl_->floatBlocks.Reset();
    return detail::GetCompositionSamples(*impl_, project, composition, start, count, buffer,
                                         rateOverride, sampleRate, detail::Metering::Allowed);
}

int AudioMixer::GetSamples(const std::shared_ptr<project::Project>& project,
                           const std::shared_ptr<project::AbstractAsset>& asset, long long start,
                           int count, int sampleRate, unsigned char* buffer, int bufferSize) const {
    impl_->floatBlocks.Reset();
    return detail::ReadAssetSamples(*impl_, project, asset, start, count, 1.0, sampleRate, buffer,
                                    bufferSize);
}

int AudioMixer::GetSamples(const std::shared_ptr<project::MediaAsset>& asset, long long start,
                           int count, unsigned char* buffer, int bufferSize) const {
    return detail::ReadConformedSamples(*impl_, *asset, start, count, buffer, bufferSize);
}

int AudioMixer::GetSamples(const std::shared_ptr<project::Project>& project,
                           const std::shared_ptr<project::AbstractLayer>& layer, long long start,
                           int count, int sampleRate, std::vector<unsigned char>& samples,
                           zrtl::ZRID stopAtEffect) const {
    const detail::RequestBlock block(impl_->requestBlock, start);
    return detail::RenderLayer(*impl_, project, layer, start, count, sampleRate, samples,
                               stopAtEffect);
}

int AudioMixer::GetSamples(const std::shared_ptr<project::Project>& project,
                           const std::shared_ptr<project::EditorSequence>& sequence,
                           const std::shared_ptr<project::AudioObject>& object, long long start,
                           int count, int sampleRate, std::vector<unsigned char>& samples,
                           zrtl::ZRID stopAtEffect) const {
    const detail::RequestBlock block(impl_->requestBlock, start);
    return detail::RenderAudioObject(*impl_, project, sequence, object, start, count, sampleRate,
                                     samples, stopAtEffect);
}

void AudioMixer::ResetMixSession() {
    impl_->converter.Reset(impl_->ditherType, impl_->ditherSeed);
}

DitherType AudioMixer::Dither() const {
    return impl_->ditherType;
}

void AudioMixer::SetDither(DitherType type, unsigned int seed) {
    impl_->ditherType = type;
    impl_->ditherSeed = seed;
    ResetMixSession();
}

std::mutex& AudioMixer::Mutex() const {
    return impl_->mutex;
}

unsigned long long AudioMixer::MarkFailedReads() {
    return impl_->failedReads.Mark();
}

std::vector<FailedRead> AudioMixer::FailedReadsSince(unsigned long long mark) const {
    return impl_->failedReads.Since(mark);
}

void AudioMixer::StartMeterSession(unsigned long long trackCount, int blockFrames) {
    impl_->meters.Start(trackCount, blockFrames);
}

void AudioMixer::StopMeterSession() {
    impl_->meters.Stop();
}

void AudioMixer::RestartMeterSession() {
    impl_->meters.Restart();
}

unsigned long long AudioMixer::MeterBlockCount() const {
    return impl_->meters.BlockCount();
}

AudioMetrics AudioMixer::MetricsForBlock(unsigned long long index) const {
    return impl_->meters.Blocks(index, index);
}

AudioMetrics AudioMixer::MetricsForBlocks(unsigned long long first, unsigned long long last) const {
    return impl_->meters.Blocks(first, last);
}

}  // namespace orlo::sonrel
