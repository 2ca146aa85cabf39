// SPDX-License-Identifier: MIT
// Loads a plugin library and mixes through its plugins and the plugins of the installed pack, with
// every sample checked.
#include <dlfcn.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "../WaveFile.h"
#include "sonrel/base/Paths.h"
#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/media/ImportMediaAsset.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/plugins/AbstractPluginAudio.h"
#include "sonrel/plugins/AbstractPluginAudioTransition.h"
#include "sonrel/plugins/pack/PluginPack.h"
#include "sonrel/project.h"

namespace {

namespace project = orlo::project;
namespace sonrel = orlo::sonrel;

constexpr int RATE = 48000;
constexpr int FRAME = RATE / 25;  // samples in a frame of the sequence
constexpr int FRAMES = 20;

using Samples = std::vector<std::int16_t>;

void Expect(bool holds, const char* what) {
    if (!holds) throw std::runtime_error(what);
}

/// A plugin of a plugin library, by its interface.
template <class Plugin>
std::shared_ptr<Plugin> Load(void* library, const char* name) {
    using Maker = project::AbstractPlugin* (*)();
    const auto make = reinterpret_cast<Maker>(dlsym(library, name));
    Expect(make != nullptr, "the library has no such function");
    std::shared_ptr<project::AbstractPlugin> plugin(make());
    auto typed = std::dynamic_pointer_cast<Plugin>(plugin);
    Expect(typed != nullptr, "the plugin is not known by its type across the libraries");
    return typed;
}

/// A host with two clips of one recording: frames 0 to 10 from its start, 10 to 20 from frame 10.
class Host {
public:
    explicit Host(const std::filesystem::path& folder) {
        for (int i = 0; i < FRAMES * FRAME; ++i) {
            recording_.push_back(static_cast<std::int16_t>(i % 30000));
            recording_.push_back(static_cast<std::int16_t>(-(i % 20000)));
        }
        WriteWav(folder / "recording.wav", RATE, recording_);
        const auto asset = project::ImportMediaAsset(
            project_->Manager(), zrtl::FromUtf8((folder / "recording.wav").string()));
        project_->Assets().Add(asset);
        project_->Sequence()->Settings().SetFrameCount(FRAMES);
        track_ = project_->Sequence()->AddAudioTrack();
        first_ = AddClip(*asset, 0);
        second_ = AddClip(*asset, FRAMES / 2);

        std::string error;
        engine_ = sonrel::Sonrel::Create(zrtl::FromUtf8((folder / "media.db").string()),
                                         zrtl::FromUtf8((folder / "cache").string()), &error,
                                         sonrel::Sonrel::LogOption::WriteErrorLog);
        if (engine_ == nullptr) throw std::runtime_error(error);
        sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(project_, engine_, true);
        engine_->Mixer()->SetDither(sonrel::DitherType::None, 1);
    }

    const Samples& Recording() const { return recording_; }
    project::AssetAudioObject& First() { return *first_; }

    void Join(const std::shared_ptr<project::AbstractPluginAudioTransition>& plugin) {
        project::JoinWithTransition(track_->Objects(), first_->ID(), second_->ID(), plugin, 4, -2);
    }

    Samples Mix() {
        Samples mix(recording_.size());
        const int got =
            engine_->Mixer()->GetSamples(project_, project_->Sequence(), 0, FRAMES * FRAME,
                                         reinterpret_cast<unsigned char*>(mix.data()), 0, 0, 0);
        Expect(got == FRAMES * FRAME, "the mix is not of the length that was asked for");
        return mix;
    }

private:
    std::shared_ptr<project::AssetAudioObject> AddClip(const project::MediaAsset& asset,
                                                       int startFrame) {
        auto clip = std::make_shared<project::AssetAudioObject>(asset.ID());
        clip->SetRange(startFrame, startFrame + FRAMES / 2);
        clip->SetSourceStartFrame(startFrame);
        track_->Objects().Add(clip);
        return clip;
    }

    Samples recording_;
    std::shared_ptr<project::Project> project_ = std::make_shared<project::Project>();
    std::shared_ptr<project::AudioTrack> track_;
    std::shared_ptr<project::AssetAudioObject> first_;
    std::shared_ptr<project::AssetAudioObject> second_;
    std::shared_ptr<sonrel::Sonrel> engine_;
};

/// The first clip is 100 samples late; the second is unchanged.
void CheckEffect(Host& host, void* library) {
    const auto effect =
        host.First().AddEffect(Load<project::AbstractPluginAudio>(library, "MakeLate"));
    Samples expected = host.Recording();
    const auto end = expected.begin() + FRAMES * FRAME;  // half of the values
    std::copy_backward(expected.begin(), end - 200, end);
    std::fill_n(expected.begin(), 200, std::int16_t{0});
    Expect(host.Mix() == expected, "the effect does not sound as it should");
    host.First().Effects().Remove(effect);
}

/// An exception of a plugin reaches the host, and does not change the next mix.
void CheckFault(Host& host, void* library) {
    const auto effect =
        host.First().AddEffect(Load<project::AbstractPluginAudio>(library, "MakeFaulty"));
    std::string caught;
    try {
        host.Mix();
    } catch (const std::runtime_error& fault) {
        caught = fault.what();
    }
    Expect(caught == "the effect has a fault", "the plugin's exception did not arrive");
    host.First().Effects().Remove(effect);
    Expect(host.Mix() == host.Recording(), "the mixer is not as it was before the exception");
}

/// Both clips show the same recording across the join, so their mean is the recording.
void CheckTransition(Host& host, void* library) {
    host.Join(Load<project::AbstractPluginAudioTransition>(library, "MakeMean"));
    Expect(host.Mix() == host.Recording(), "the transition does not sound as it should");
}

/// 20 dB down is a tenth, rounded.
void CheckPack(Host& host) {
    host.First().AddEffect(sonrel::PluginPack::CreateEffect("gain", {{"gainDb", -20.0}}));
    const Samples mix = host.Mix();
    Expect(mix[2 * 1004] == 100 && mix[2 * 1005] == 101 && mix[2 * 1005 + 1] == -101,
           "the pack's gain does not sound as it should");
}

void Run(const char* path, const std::filesystem::path& folder) {
    void* const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw std::runtime_error(dlerror());
    Host host(folder);
    CheckEffect(host, library);
    CheckFault(host, library);
    CheckTransition(host, library);
    CheckPack(host);
    // The library stays open: the host's clips hold plugins of it.
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    std::string folder =
        (std::filesystem::temp_directory_path() / "sonrel-plugins-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) return 1;
    int result = 0;
    try {
        Run(argv[1], folder);
        std::puts("load_plugins: two effects and a transition loaded and mixed");
    } catch (const std::exception& fault) {
        std::fprintf(stderr, "load_plugins: %s\n", fault.what());
        result = 1;
    }
    std::filesystem::remove_all(folder);
    return result;
}
