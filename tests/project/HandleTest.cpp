// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "sonrel/database/CacheLedger.h"
#include "sonrel/database/DatabaseObserver.h"
#include "sonrel/project.h"

namespace {

using namespace orlo::project;

constexpr std::size_t POINTER = sizeof(void*);

TEST(Handles, AClassOfTheProjectLibraryHoldsOnePointer) {
    EXPECT_EQ(sizeof(AssetList), POINTER);
    EXPECT_EQ(sizeof(AudioVideoSettings), POINTER);
    EXPECT_EQ(sizeof(CacheLedger), POINTER);
    EXPECT_EQ(sizeof(ConformedAudioFile), POINTER);
    EXPECT_EQ(sizeof(DatabaseObserver), POINTER);
    EXPECT_EQ(sizeof(EditorSequence), POINTER);
    EXPECT_EQ(sizeof(MediaAudioStream), POINTER);
    EXPECT_EQ(sizeof(MediaDB), POINTER);
    EXPECT_EQ(sizeof(MediaVideoStream), POINTER);
    EXPECT_EQ(sizeof(Project), POINTER);
    EXPECT_EQ(sizeof(PropertyManager), POINTER);
    EXPECT_EQ(sizeof(SequenceObjectList), POINTER);
}

TEST(Handles, AClassWithVirtualOperationsHoldsOnePointerAndItsTable) {
    EXPECT_EQ(sizeof(AudioTrack), 2 * POINTER);
    EXPECT_EQ(sizeof(CompositionAsset), 2 * POINTER);
    EXPECT_EQ(sizeof(EffectInstance), 2 * POINTER);
    EXPECT_EQ(sizeof(Transition), 2 * POINTER);
}

TEST(Handles, AClassWithASharedReferenceToItselfHoldsOnePointerMore) {
    constexpr std::size_t REFERENCE = sizeof(std::enable_shared_from_this<MediaAsset>);

    EXPECT_EQ(sizeof(MediaManager), REFERENCE + POINTER);
    EXPECT_EQ(sizeof(MediaAsset), POINTER + REFERENCE + POINTER);
}

TEST(Handles, EachClassOfAHierarchyAddsOnePointer) {
    // Two tables: of the object or layer, and of the asset instance.
    EXPECT_EQ(sizeof(AbstractSequenceObject), 3 * POINTER);
    EXPECT_EQ(sizeof(AudioObject), 4 * POINTER);
    EXPECT_EQ(sizeof(AssetAudioObject), 5 * POINTER);
    EXPECT_EQ(sizeof(AbstractLayer), 3 * POINTER);
    EXPECT_EQ(sizeof(AssetLayer), 4 * POINTER);
}

}  // namespace
