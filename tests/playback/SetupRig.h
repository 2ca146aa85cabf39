// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "tests/playback/PlaybackRig.h"

namespace sonrel_tests {

/// A playback engine that a test sets up on targets of every kind.
class PlaybackSetup : public testing::Test {
protected:
    sonrel::PlaybackEngine& Playback() { return rig_.Playback(); }
    Err SetUpMedia(const std::shared_ptr<project::MediaAsset>& asset) {
        return Playback().Initialize(rig_.builder.Project(), asset);
    }
    Err SetUpComposition(const std::shared_ptr<project::CompositionAsset>& composition) {
        return Playback().Initialize(rig_.builder.Project(), composition);
    }
    /// Sets up a composition of one frame, which no run has played: a target may only change while
    /// nothing mixes it.
    Err SetUpAnother() {
        Apply({.frames = 1}, another_->Settings());
        return SetUpComposition(another_);
    }
    project::AudioVideoSettings& Settings() { return rig_.builder.Sequence()->Settings(); }

    PlaybackRig rig_;

private:
    std::shared_ptr<project::CompositionAsset> another_ =
        std::make_shared<project::CompositionAsset>();
};

}  // namespace sonrel_tests
