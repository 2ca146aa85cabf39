// SPDX-License-Identifier: MIT
#include "tests/support/ProjectBuilder.h"

#include <cstring>
#include <utility>

#include "tests/support/WaveBytes.h"

namespace sonrel_tests {

void Apply(const Format& format, project::AudioVideoSettings& settings) {
    settings.SetFrameRate(format.frameRate);
    settings.SetCustomAudioSampleRate(format.rate);
    settings.SetFrameCount(format.frames);
}

ProjectBuilder::ProjectBuilder(const Format& format) {
    Apply(format, Sequence()->Settings());
}

std::wstring ProjectBuilder::WriteConformed(const Samples& samples) {
    const std::string name = std::to_string(++files_) + ".xwmc";
    std::string data(samples.size() * 2, '\0');
    if (!samples.empty()) std::memcpy(data.data(), samples.data(), data.size());
    const int rate = Sequence()->Settings().AudioSampleRateValue();
    WriteFile(folder_ / name, Riff(Chunk("fmt ", PcmFormat(1, 2, rate, 16)) + Chunk("data", data)));
    return folder_.Wide(name);
}

std::shared_ptr<project::MediaAsset> ProjectBuilder::AddMedia(const Samples& samples) {
    return AddMediaFile(WriteConformed(samples));
}

std::shared_ptr<project::MediaAsset> ProjectBuilder::AddMediaFile(
    const std::wstring& conformedPath) {
    const int rate = Sequence()->Settings().AudioSampleRateValue();
    auto stream =
        std::make_unique<project::MediaAudioStream>(rate, 0, zrh::media::ZRAudioCodec::Pcm);
    stream->SetConformedFile(conformedPath, rate);
    stream->SetSamplesAvailable(true);
    auto asset = AddSilentMedia();
    asset->SetAudioStream(std::move(stream));
    return asset;
}

std::shared_ptr<project::MediaAsset> ProjectBuilder::AddSilentMedia() {
    auto asset = std::make_shared<project::MediaAsset>(project_->Manager(), L"/media/take.wav");
    project_->Assets().Add(asset);
    return asset;
}

std::shared_ptr<project::AudioTrack> ProjectBuilder::AddTrack() {
    return Sequence()->AddAudioTrack();
}

std::shared_ptr<project::AssetAudioObject> ProjectBuilder::AddObject(
    const std::shared_ptr<project::AudioTrack>& track,
    const std::shared_ptr<project::AbstractAsset>& asset, int startFrame, int endFrame,
    int inPointFrame) {
    auto object = std::make_shared<project::AssetAudioObject>(asset->ID());
    object->SetRange(startFrame, endFrame);
    object->SetSourceStartFrame(inPointFrame);
    track->Objects().Add(object);
    return object;
}

std::shared_ptr<project::AssetAudioObject> ProjectBuilder::AddObject(
    const std::shared_ptr<project::AbstractAsset>& asset, int startFrame, int endFrame,
    int inPointFrame) {
    return AddObject(AddTrack(), asset, startFrame, endFrame, inPointFrame);
}

std::shared_ptr<project::CompositionAsset> ProjectBuilder::AddComposition(const Format& format) {
    auto composition = std::make_shared<project::CompositionAsset>();
    Apply(format, composition->Settings());
    project_->Assets().Add(composition);
    return composition;
}

std::shared_ptr<project::AssetLayer> ProjectBuilder::AddLayer(
    const std::shared_ptr<project::CompositionAsset>& composition,
    const std::shared_ptr<project::AbstractAsset>& asset, int startFrame, int endFrame,
    int inPointFrame) {
    auto layer = std::make_shared<project::AssetLayer>(asset->ID());
    layer->SetRange(startFrame, endFrame);
    layer->SetSourceStartFrame(inPointFrame);
    composition->AddLayer(layer);
    return layer;
}

}  // namespace sonrel_tests
