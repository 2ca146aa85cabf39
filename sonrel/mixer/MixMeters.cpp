// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/MixMeters.h"

#include <algorithm>
#include <climits>

#include "sonrel/mixer/detail/AudioMeterAccess.h"

namespace orlo::sonrel::detail {
namespace {

std::shared_ptr<AudioMeter> StartedMeter(int blockFrames) {
    auto meter = std::make_shared<AudioMeter>();
    meter->StartMeterSession(blockFrames);
    return meter;
}

/// A new meter in place of a running meter. An idle meter stays, with the blocks of its last
/// session.
std::shared_ptr<AudioMeter> Restarted(const std::shared_ptr<AudioMeter>& meter) {
    const int blockFrames = AudioMeterAccess::RunningBlockFrames(*meter);
    return blockFrames < 1 ? meter : StartedMeter(blockFrames);
}

/// The meter counts its frames as an int.
void FeedSilenceTo(AudioMeter& meter, long long frames) {
    while (frames > 0) {
        const auto fed = static_cast<int>(std::min<long long>(frames, INT_MAX));
        meter.ProcessSamples(nullptr, fed);
        frames -= fed;
    }
}

}  // namespace

void BlockMeters::FeedSilence(long long frames) const {
    if (!set_) return;
    FeedSilenceTo(*set_->master, frames);
    for (const auto& meter : set_->tracks) FeedSilenceTo(*meter, frames);
}

MixMeters::MixMeters()
    : set_(std::make_shared<const MeterSet>(MeterSet{std::make_shared<AudioMeter>(), {}})) {}

void MixMeters::Start(std::size_t trackCount, int blockFrames) {
    const std::lock_guard lock(mutex_);
    // Without a block length no meter starts: meters of another number of tracks are idle, and all
    // others continue.
    if (blockFrames >= 1 || set_->tracks.size() != trackCount) {
        auto next = std::make_shared<MeterSet>();
        next->master = blockFrames >= 1 ? StartedMeter(blockFrames) : set_->master;
        next->tracks.reserve(trackCount);
        while (next->tracks.size() < trackCount) next->tracks.push_back(StartedMeter(blockFrames));
        set_ = std::move(next);
    }
    active_ = true;
}

void MixMeters::Stop() {
    const std::lock_guard lock(mutex_);
    set_->master->StopMeterSession();
    for (const auto& meter : set_->tracks) meter->StopMeterSession();
    active_ = false;
}

void MixMeters::Restart() {
    const std::lock_guard lock(mutex_);
    auto next = std::make_shared<MeterSet>();
    next->master = Restarted(set_->master);
    next->tracks.reserve(set_->tracks.size());
    for (const auto& meter : set_->tracks) next->tracks.push_back(Restarted(meter));
    set_ = std::move(next);
}

std::shared_ptr<const MeterSet> MixMeters::Set() const {
    const std::lock_guard lock(mutex_);
    return set_;
}

void MixMeters::StartAs(const MixMeters& other) {
    if (!other.active_) return;
    const auto set = other.Set();
    Start(set->tracks.size(), AudioMeterAccess::RunningBlockFrames(*set->master));
}

void MixMeters::Add(const MixMeters& other) {
    const auto added = other.Set();
    const auto set = Set();
    AudioMeterAccess::AddBlocks(*set->master, *added->master);
    const std::size_t tracks = std::min(set->tracks.size(), added->tracks.size());
    for (std::size_t i = 0; i < tracks; ++i) {
        AudioMeterAccess::AddBlocks(*set->tracks[i], *added->tracks[i]);
    }
}

BlockMeters MixMeters::ForMixBlock() const {
    if (!active_) return BlockMeters(nullptr);
    const std::lock_guard lock(mutex_);
    return BlockMeters(active_ ? set_ : nullptr);
}

unsigned long long MixMeters::BlockCount() const {
    const std::lock_guard lock(mutex_);
    return set_->master->MeterBlockCount();
}

AudioMetrics MixMeters::Blocks(unsigned long long first, unsigned long long last) const {
    const std::lock_guard lock(mutex_);
    AudioMetrics metrics;
    metrics.masterMetrics = AudioMeterAccess::MergedBlocks(*set_->master, first, last);
    metrics.trackMetrics.reserve(set_->tracks.size());
    for (const auto& meter : set_->tracks) {
        metrics.trackMetrics.push_back(AudioMeterAccess::MergedBlocks(*meter, first, last));
    }
    return metrics;
}

}  // namespace orlo::sonrel::detail
