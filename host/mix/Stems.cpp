// SPDX-License-Identifier: MIT
#include "host/mix/Stems.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "host/output/WavWriter.h"
#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project/EditorSequence.h"

namespace orlo::host {

namespace {

using project::AudioTrack;
using project::EditorSequence;

/// Leaves room for the number and the ending in a file name of at most 255 bytes.
constexpr std::size_t MAX_NAME = 200;

bool IsPlain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '_';
}

/// Whether a byte is a continuation byte of a UTF-8 character.
bool ContinuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

std::string PlainName(const std::string& name) {
    std::string plain;
    for (const char c : name) {
        if (plain.size() == MAX_NAME) break;
        if (ContinuesCharacter(c)) continue;
        plain += IsPlain(c) ? c : '_';
    }
    return plain.empty() ? "track" : plain;
}

void MakeFolder(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        throw JobError("cannot create the folder " + Quoted(folder) +
                       " for the stems: " + error.message());
    }
}

/// A copy of the sequence with only one track, which is audible exactly when it is audible in the
/// whole sequence.
std::shared_ptr<EditorSequence> OnlyTrack(EditorSequence& whole, std::size_t index, bool anySolo) {
    const AudioTrack& track = *whole.AudioTracks()[index];
    const auto copy = std::make_shared<AudioTrack>(track);
    copy->SetMuted(track.IsMuted() || (anySolo && !track.IsSolo()));
    auto sequence = std::make_shared<EditorSequence>(whole);
    sequence->AudioTracks().clear();
    sequence->AudioTracks().push_back(copy);
    return sequence;
}

}  // namespace

struct Stems::Stem {
    explicit Stem(std::unique_ptr<SoundWriter> file)
        : writer(std::move(file)), sink(writer.get(), nullptr) {}

    std::unique_ptr<SoundWriter> writer;
    MixSink sink;
};

std::vector<std::string> StemPaths(const std::string& folder,
                                   const std::vector<std::string>& trackNames) {
    std::vector<std::string> paths;
    for (const std::string& name : trackNames) {
        std::string number = std::to_string(paths.size() + 1);
        if (number.size() < 2) number.insert(0, 1, '0');
        paths.push_back(
            (std::filesystem::path(folder) / (number + "-" + PlainName(name) + ".wav")).string());
    }
    return paths;
}

std::vector<std::unique_ptr<SoundWriter>> OpenStems(const std::string& folder,
                                                    const std::vector<std::string>& paths,
                                                    OutputGuard& guard, int rate,
                                                    long long frames) {
    MakeFolder(folder);
    std::vector<std::unique_ptr<SoundWriter>> writers;
    writers.reserve(paths.size());
    for (const std::string& path : paths) {
        writers.push_back(std::make_unique<WavWriter>(path, guard, rate, frames));
    }
    return writers;
}

Stems::Stems(std::vector<std::unique_ptr<SoundWriter>> writers) {
    stems_.reserve(writers.size());
    for (std::unique_ptr<SoundWriter>& writer : writers) {
        stems_.push_back(std::make_unique<Stem>(std::move(writer)));
    }
}

Stems::~Stems() = default;

MixGroup Stems::Begin(const std::shared_ptr<project::Project>& project, sonrel::DitherType dither,
                      unsigned int seed) {
    std::string error;
    engine_ = sonrel::Sonrel::Create({}, {}, &error, sonrel::Sonrel::LogOption::NoErrorLog);
    if (engine_ == nullptr) throw JobError("cannot create an engine for the stems: " + error);
    engine_->Mixer()->SetDither(dither, seed);
    engine_->Mixer()->ResetMixSession();
    EditorSequence& whole = *project->Sequence();
    const auto& tracks = whole.AudioTracks();
    const bool anySolo =
        std::any_of(tracks.begin(), tracks.end(),
                    [](const std::shared_ptr<AudioTrack>& track) { return track->IsSolo(); });
    MixGroup group{engine_->Mixer().get(), {}};
    for (std::size_t i = 0; i < stems_.size(); ++i) {
        group.signals.push_back(
            {MixSource(project, OnlyTrack(whole, i, anySolo)), &stems_[i]->sink});
    }
    return group;
}

void Stems::Seal() {
    for (const std::unique_ptr<Stem>& stem : stems_) stem->writer->Seal();
}

void Stems::Finish() {
    for (const std::unique_ptr<Stem>& stem : stems_) stem->writer->Finish();
}

}  // namespace orlo::host
