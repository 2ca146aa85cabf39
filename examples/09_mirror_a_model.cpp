// SPDX-License-Identifier: MIT
// Mirrors the model of an editor into a Sonrel project, moves a clip, and prints how far its sound
// moved:
//   09_mirror_a_model recording.flac
#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "sonrel/base/Paths.h"
#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/media/ImportMediaAsset.h"
#include "sonrel/media/ZRMediaException.h"
#include "sonrel/media/input/MediaErrors.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project.h"

namespace project = orlo::project;
namespace sonrel = orlo::sonrel;

/// A clip of the editor. The editor knows nothing of Sonrel.
struct Clip {
    int id;
    std::string path;
    int startFrame;
    int frameCount;
    float levelDb;
};

/// Keeps one Sonrel project equal to the clips of the editor.
class Mirror {
public:
    const std::shared_ptr<project::Project>& Project() const { return project_; }

    /// Structural: not while anything mixes.
    void Add(const Clip& clip) {
        const auto object = std::make_shared<project::AssetAudioObject>(AssetOf(clip.path)->ID());
        object->SetRange(clip.startFrame, clip.startFrame + clip.frameCount);
        track_->Objects().Add(object);
        objects_[clip.id] = object;
        SetLevel(clip);
    }
    /// Structural.
    void Move(const Clip& clip) { objects_.at(clip.id)->MoveTo(clip.startFrame); }
    /// Structural.
    void Remove(const Clip& clip) {
        track_->Objects().Remove(objects_.at(clip.id)->ID());
        objects_.erase(clip.id);
    }
    /// While something mixes, the caller holds AudioMixer::Mutex.
    void SetLevel(const Clip& clip) {
        objects_.at(clip.id)->Animation().SetStaticValue("audioLevel", clip.levelDb);
    }

private:
    std::shared_ptr<project::MediaAsset> AssetOf(const std::string& path) {
        std::shared_ptr<project::MediaAsset>& asset = assets_[path];
        if (!asset) {
            asset = project::ImportMediaAsset(project_->Manager(), zrtl::FromUtf8(path));
            project_->Assets().Add(asset);
        }
        return asset;
    }

    std::shared_ptr<project::Project> project_ = std::make_shared<project::Project>();
    std::shared_ptr<project::AudioTrack> track_ = project_->Sequence()->AddAudioTrack();
    std::map<std::string, std::shared_ptr<project::MediaAsset>> assets_;  // by path
    std::map<int, std::shared_ptr<project::AssetAudioObject>> objects_;   // by Clip::id
};

/// Index of the first sample that is not silent in the first three seconds.
long FirstSound(const sonrel::AudioMixer& mixer, const Mirror& mirror) {
    std::vector<short> samples(3 * 48000 * 2);
    mixer.GetSamples(mirror.Project(), mirror.Project()->Sequence(), 0, 3 * 48000,
                     reinterpret_cast<unsigned char*>(samples.data()), 0, 0, 0);
    const auto first = std::find_if(samples.begin(), samples.end(), [](int v) { return v != 0; });
    return static_cast<long>(first - samples.begin()) / 2;
}

int main(int argc, char** argv) try {
    if (argc != 2) return 2;
    Mirror mirror;
    mirror.Project()->Sequence()->Settings().SetFrameCount(75);
    Clip clip{1, argv[1], 25, 25, -6.0f};
    mirror.Add(clip);

    std::string reason;
    const auto engine = sonrel::Sonrel::Create(L"media.db", L"media-cache", &reason,
                                               sonrel::Sonrel::LogOption::WriteErrorLog);
    if (engine == nullptr) {
        std::fprintf(stderr, "%s\n", reason.c_str());
        return 1;
    }
    // Again after each Add of a new recording.
    sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(mirror.Project(), engine, true);
    engine->Mixer()->SetDither(sonrel::DitherType::None, 1);

    const long before = FirstSound(*engine->Mixer(), mirror);
    clip.startFrame = 0;
    mirror.Move(clip);
    const long after = FirstSound(*engine->Mixer(), mirror);
    std::printf("the sound begins %ld samples earlier\n", before - after);
} catch (const zrh::media::ZRMediaException& error) {
    std::fprintf(stderr, "cannot read %s: %s\n", argv[1],
                 zrh::media::MediaErrorText(error.Code()).c_str());
    return 1;
}
