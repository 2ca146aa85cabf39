// SPDX-License-Identifier: MIT
#include "sonrel/mixer/AudioMixer.h"

#include "sonrel/mixer/detail/AssetSource.h"
#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "sonrel/mixer/detail/CompositionMixer.h"
#include "sonrel/mixer/detail/ObjectRenderer.h"
#include "sonrel/mixer/detail/SequenceMixer.h"

namespace orlo::sonrel {

namespace {

/// Lets the stages of a mix count instead of rendering.
class NoiseCount {
public:
    explicit NoiseCount(AudioMixerImpl& mixer) : mixer_(mixer) { mixer_.noiseSamples = &samples_; }
    ~NoiseCount() { mixer_.noiseSamples = nullptr; }
    NoiseCount(const NoiseCount&) = delete;
    NoiseCount& operator=(const NoiseCount&) = delete;

    long long Samples() const { return samples_; }

private:
    AudioMixerImpl& mixer_;
    long long samples_ = 0;
};

}  // namespace

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
    return detail::SequenceMixer(*impl_, project, sequence)
        .Mix({start, count, zrtl::FramesOf(buffer), rateOverride, sampleRate});
}

int AudioMixer::GetSamples(const std::shared_ptr<project::Project>& project,
                           const std::shared_ptr<project::CompositionAsset>& composition,
                           long long start, int count, unsigned char* buffer, int /*bufferSize*/,
                           int rateOverride, int sampleRate) const {
    impl_->floatBlocks.Reset();
    return detail::CompositionMixer(*impl_, project, composition, detail::Metering::Allowed)
        .Mix({start, count, zrtl::FramesOf(buffer), rateOverride, sampleRate});
}

int AudioMixer::GetSamples(const std::shared_ptr<project::Project>& project,
                           const std::shared_ptr<project::AbstractAsset>& asset, long long start,
                           int count, int sampleRate, unsigned char* buffer, int bufferSize) const {
    impl_->floatBlocks.Reset();
    const detail::SourceRange range{start, count, 1.0, sampleRate};
    return detail::ReadAsset(*impl_, project, asset, range, {zrtl::FramesOf(buffer), bufferSize})
        .count;
}

int AudioMixer::GetSamples(const std::shared_ptr<project::MediaAsset>& asset, long long start,
                           int count, unsigned char* buffer, int bufferSize) const {
    return detail::ReadConformedSamples(*impl_, *asset, start, count,
                                        {zrtl::FramesOf(buffer), bufferSize});
}

int AudioMixer::GetSamples(const std::shared_ptr<project::Project>& project,
                           const std::shared_ptr<project::AbstractLayer>& layer, long long start,
                           int count, int sampleRate, std::vector<unsigned char>& samples,
                           zrtl::ZRID stopAtEffect) const {
    const detail::RequestBlock requestBlock(impl_->requestBlock, start);
    return detail::ObjectRenderer(*impl_, project, {start, count, sampleRate}, samples)
        .Render(detail::ClipOf(*project, *layer), stopAtEffect);
}

int AudioMixer::GetSamples(const std::shared_ptr<project::Project>& project,
                           const std::shared_ptr<project::EditorSequence>& sequence,
                           const std::shared_ptr<project::AudioObject>& object, long long start,
                           int count, int sampleRate, std::vector<unsigned char>& samples,
                           zrtl::ZRID stopAtEffect) const {
    const detail::RequestBlock requestBlock(impl_->requestBlock, start);
    return detail::ObjectRenderer(*impl_, project, {start, count, sampleRate}, samples)
        .Render(detail::ClipOf(*project, sequence, *object), stopAtEffect);
}

std::shared_ptr<AudioMixer> AudioMixer::CreateWorker() const {
    std::shared_ptr<AudioMixer> worker(new AudioMixer);
    worker->impl_->ditherType = impl_->ditherType;
    worker->impl_->ditherSeed = impl_->ditherSeed;
    worker->impl_->converter.Continue(impl_->converter);
    worker->impl_->meters.StartAs(impl_->meters);
    return worker;
}

long long AudioMixer::NoiseSamples(const std::shared_ptr<project::Project>& project,
                                   const std::shared_ptr<project::EditorSequence>& sequence,
                                   long long start, int count, int rateOverride,
                                   int sampleRate) const {
    const NoiseCount noise(*impl_);
    detail::SequenceMixer(*impl_, project, sequence)
        .Mix({start, count, nullptr, rateOverride, sampleRate});
    return noise.Samples();
}

long long AudioMixer::NoiseSamples(const std::shared_ptr<project::Project>& project,
                                   const std::shared_ptr<project::CompositionAsset>& composition,
                                   long long start, int count, int rateOverride,
                                   int sampleRate) const {
    const NoiseCount noise(*impl_);
    detail::CompositionMixer(*impl_, project, composition, detail::Metering::Off)
        .Mix({start, count, nullptr, rateOverride, sampleRate});
    return noise.Samples();
}

void AudioMixer::SkipSamples(long long noiseSamples, long long meterSamples) {
    impl_->converter.Skip(noiseSamples);
    impl_->meters.ForMixBlock().FeedSilence(meterSamples);
}

void AudioMixer::AddMeterBlocks(const AudioMixer& worker) {
    impl_->meters.Add(worker.impl_->meters);
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
