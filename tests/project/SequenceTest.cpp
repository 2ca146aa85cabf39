// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <stdexcept>

#include "sonrel/project/AssetAudioObject.h"
#include "sonrel/project/CompositionAsset.h"
#include "sonrel/project/EditorSequence.h"
#include "sonrel/project/MediaAsset.h"
#include "sonrel/project/MediaManager.h"
#include "sonrel/project/Project.h"

namespace {

using orlo::project::AssetAudioObject;
using orlo::project::AssetList;
using orlo::project::AudioTrack;
using orlo::project::CompositionAsset;
using orlo::project::EditorSequence;
using orlo::project::GapAudioObject;
using orlo::project::MediaAsset;
using orlo::project::Project;
using orlo::project::SequenceObjectList;

std::shared_ptr<AssetAudioObject> ObjectAt(int startFrame, int endFrame) {
    auto object = std::make_shared<AssetAudioObject>(zrtl::ZRID::Create());
    object->SetRange(startFrame, endFrame);
    return object;
}

TEST(SequenceObjectList, AnObjectCoversItsStartFrameAndNotItsEndFrame) {
    SequenceObjectList objects;
    const auto object = ObjectAt(10, 20);
    objects.Add(object);

    EXPECT_EQ(objects.FindOnFrame(9), nullptr);
    EXPECT_EQ(objects.FindOnFrame(10), object);
    EXPECT_EQ(objects.FindOnFrame(19), object);
    EXPECT_EQ(objects.FindOnFrame(20), nullptr);
}

TEST(SequenceObjectList, AnEmptyListCoversNothing) {
    const SequenceObjectList objects;

    EXPECT_EQ(objects.FindOnFrame(0), nullptr);
    EXPECT_EQ(objects.GetByID(zrtl::ZRID::Create()), nullptr);
    EXPECT_TRUE(objects.All().empty());
}

TEST(SequenceObjectList, OfTwoAdjacentObjectsTheLaterCoversTheJoin) {
    SequenceObjectList objects;
    const auto second = ObjectAt(10, 20);
    const auto first = ObjectAt(0, 10);
    objects.Add(second);
    objects.Add(first);

    EXPECT_EQ(objects.FindOnFrame(9), first);
    EXPECT_EQ(objects.FindOnFrame(10), second);
    EXPECT_EQ(objects.All().front(), first);
}

TEST(SequenceObjectList, FramesFarOutsideAreCoveredByNothing) {
    SequenceObjectList objects;
    objects.Add(ObjectAt(0, 10));

    EXPECT_EQ(objects.FindOnFrame(-1), nullptr);
    EXPECT_EQ(objects.FindOnFrame(std::numeric_limits<int>::min()), nullptr);
    EXPECT_EQ(objects.FindOnFrame(std::numeric_limits<int>::max()), nullptr);
}

TEST(SequenceObjectList, FindsEachOfManyObjectsByFrameAndIdentity) {
    SequenceObjectList objects;
    std::vector<std::shared_ptr<AssetAudioObject>> added;
    for (int i = 0; i < 1000; ++i) {
        // In an order that is neither ascending nor descending; a gap follows each object.
        const int place = i * 7 % 1000;
        added.push_back(ObjectAt(3 * place, 3 * place + 2));
        objects.Add(added.back());
    }

    for (const auto& object : added) {
        ASSERT_EQ(objects.FindOnFrame(object->StartFrame()), object);
        ASSERT_EQ(objects.FindOnFrame(object->StartFrame() + 1), object);
        ASSERT_EQ(objects.FindOnFrame(object->StartFrame() + 2), nullptr);
        ASSERT_EQ(objects.GetByID(object->ID()), object);
    }
}

TEST(SequenceObjectList, OverlapsAreRefusedOnBothSides) {
    SequenceObjectList objects;
    objects.Add(ObjectAt(10, 20));

    EXPECT_THROW(objects.Add(ObjectAt(5, 11)), std::invalid_argument);
    EXPECT_THROW(objects.Add(ObjectAt(19, 25)), std::invalid_argument);
    EXPECT_THROW(objects.Add(ObjectAt(12, 13)), std::invalid_argument);
    EXPECT_THROW(objects.Add(ObjectAt(0, 100)), std::invalid_argument);
    EXPECT_THROW(objects.Add(ObjectAt(10, 20)), std::invalid_argument);
    EXPECT_EQ(objects.All().size(), 1u);
    EXPECT_NO_THROW(objects.Add(ObjectAt(5, 10)));
    EXPECT_NO_THROW(objects.Add(ObjectAt(20, 25)));
}

TEST(SequenceObjectList, AnObjectThatCannotBeOnATrackIsRefused) {
    SequenceObjectList objects;
    SequenceObjectList other;
    const auto object = ObjectAt(0, 10);
    objects.Add(object);
    const auto copy = std::make_shared<AssetAudioObject>(*object);
    copy->SetRange(50, 60);

    EXPECT_THROW(objects.Add(nullptr), std::invalid_argument);
    EXPECT_THROW(objects.Add(std::make_shared<AssetAudioObject>(zrtl::ZRID())),
                 std::invalid_argument)
        << "no range";
    EXPECT_THROW(objects.Add(object), std::invalid_argument);
    EXPECT_THROW(objects.Add(copy), std::invalid_argument) << "the same identity";
    EXPECT_THROW(other.Add(object), std::invalid_argument) << "on another track";
}

TEST(SequenceObjectList, ARemovedObjectIsNotFoundAndMayJoinAnotherTrack) {
    SequenceObjectList objects;
    SequenceObjectList other;
    const auto object = ObjectAt(0, 10);
    objects.Add(object);

    EXPECT_TRUE(objects.Remove(object->ID()));
    EXPECT_FALSE(objects.Remove(object->ID()));

    EXPECT_EQ(objects.FindOnFrame(5), nullptr);
    EXPECT_EQ(objects.GetByID(object->ID()), nullptr);
    EXPECT_NO_THROW(other.Add(object));
}

TEST(SequenceObjectList, MovingAnObjectKeepsTheOrderAndRefusesOverlaps) {
    SequenceObjectList objects;
    const auto first = ObjectAt(0, 10);
    const auto second = ObjectAt(10, 20);
    const auto third = ObjectAt(30, 40);
    for (const auto& object : {first, second, third}) objects.Add(object);

    EXPECT_THROW(first->MoveTo(1), std::invalid_argument);
    EXPECT_THROW(first->MoveTo(15), std::invalid_argument);
    EXPECT_THROW(first->MoveTo(21), std::invalid_argument);
    EXPECT_THROW(second->SetRange(10, 31), std::invalid_argument);
    EXPECT_THROW(second->SetRange(9, 20), std::invalid_argument);
    EXPECT_THROW(second->SetRange(5, 35), std::invalid_argument);
    EXPECT_EQ(first->StartFrame(), 0);
    EXPECT_EQ(second->EndFrame(), 20);

    second->SetRange(15, 30);
    first->MoveTo(40);
    EXPECT_EQ(objects.FindOnFrame(0), nullptr);
    EXPECT_EQ(objects.FindOnFrame(29), second);
    EXPECT_EQ(objects.FindOnFrame(30), third);
    EXPECT_EQ(objects.FindOnFrame(49), first);
    EXPECT_EQ(objects.All().back(), first);
}

TEST(SequenceObjectList, AnObjectMayGrowOrShrinkOverItsOwnRange) {
    SequenceObjectList objects;
    const auto object = ObjectAt(10, 20);
    objects.Add(object);

    EXPECT_NO_THROW(object->SetRange(5, 15));
    EXPECT_NO_THROW(object->SetRange(8, 40));
    EXPECT_NO_THROW(object->SetRange(9, 10));
    EXPECT_NO_THROW(object->MoveTo(9));
    EXPECT_EQ(objects.FindOnFrame(9), object);
}

TEST(SequenceObjectList, ObjectsOutliveTheirList) {
    const auto object = ObjectAt(0, 10);
    {
        SequenceObjectList objects;
        objects.Add(object);
    }
    SequenceObjectList other;

    EXPECT_NO_THROW(object->SetRange(3, 4));
    EXPECT_NO_THROW(other.Add(object));
}

TEST(SequenceObjectList, ACopySharesTheObjectsAndKeepsItsOrderWhenTheyMove) {
    SequenceObjectList objects;
    const auto first = ObjectAt(0, 10);
    const auto second = ObjectAt(20, 30);
    objects.Add(first);
    objects.Add(second);

    SequenceObjectList copy(objects);
    objects.Remove(second->ID());
    EXPECT_THROW(first->MoveTo(25), std::invalid_argument) << "taken in the copy";
    first->MoveTo(40);

    EXPECT_EQ(copy.FindOnFrame(40), first);
    EXPECT_EQ(copy.FindOnFrame(20), second);
    EXPECT_EQ(copy.GetByID(second->ID()), second);
    EXPECT_EQ(objects.FindOnFrame(40), first);
    EXPECT_EQ(objects.FindOnFrame(20), nullptr);
}

TEST(AudioObjects, StartAudibleAndWithTheirStandardProperties) {
    AssetAudioObject object(zrtl::ZRID::Create());

    EXPECT_EQ(object.ObjectType(), 0);
    EXPECT_FALSE(object.IsMuted());
    EXPECT_EQ(object.SourceStartFrame(), 0);
    EXPECT_EQ(object.IncomingTransition(), nullptr);
    EXPECT_EQ(object.OutgoingTransition(), nullptr);
    EXPECT_TRUE(object.Effects().empty());
    EXPECT_EQ(boost::get<float>(object.Animation().StaticValue("audioLevel")), 0.0f);
    EXPECT_EQ(boost::get<double>(object.Animation().StaticValue("speed")), 1.0);
    EXPECT_FALSE(object.ID().IsNull());
}

TEST(AudioObjects, ImpossibleRangesAreRefused) {
    AssetAudioObject object{zrtl::ZRID()};
    object.SetRange(0, 5);

    EXPECT_THROW(object.SetRange(3, 3), std::invalid_argument);
    EXPECT_THROW(object.SetRange(3, 2), std::invalid_argument);
    EXPECT_THROW(object.SetRange(-1, 2), std::invalid_argument);
    EXPECT_THROW(object.MoveTo(-1), std::invalid_argument);
    EXPECT_THROW(object.MoveTo(std::numeric_limits<int>::max() - 4), std::invalid_argument);
    EXPECT_NO_THROW(object.MoveTo(std::numeric_limits<int>::max() - 5));
    EXPECT_THROW(object.SetSourceStartFrame(-1), std::invalid_argument);
}

TEST(AudioObjects, TheStartTimeIsRoundedMilliseconds) {
    const auto sequence = std::make_shared<EditorSequence>();
    sequence->Settings().SetFrameRate(24.0);
    AssetAudioObject object{zrtl::ZRID()};
    object.SetRange(29, 30);
    EXPECT_EQ(object.StartTime(sequence), 1208);  // 1208.33
    object.SetRange(47, 48);
    EXPECT_EQ(object.StartTime(sequence), 1958);  // 1958.33
    object.SetRange(0, 1);
    EXPECT_EQ(object.StartTime(sequence), 0);
    sequence->Settings().SetFrameRate(80.0);
    object.SetRange(1, 2);
    EXPECT_EQ(object.StartTime(sequence), 13);  // 12.5
}

TEST(AudioObjects, ShowTheAssetOfTheList) {
    AssetList assets;
    const auto media = std::make_shared<MediaAsset>(nullptr, L"/m/a.wav");
    AssetAudioObject object(zrtl::ZRID::Create());
    assets.Add(media);
    EXPECT_EQ(object.Asset(assets), nullptr);

    object.SetAsset(media->ID());

    EXPECT_EQ(object.Asset(assets), media);
}

TEST(AudioObjects, AGapIsAlwaysSilent) {
    const GapAudioObject gap;

    EXPECT_EQ(gap.ObjectType(), 1);
    EXPECT_EQ(gap.Asset(AssetList()), nullptr);
}

TEST(AudioObjects, ACopyHasTheIdentityAndMayShowAComposition) {
    const auto composition = std::make_shared<CompositionAsset>();
    AssetList assets;
    assets.Add(composition);
    const auto object = ObjectAt(3, 9);
    object->SetSourceStartFrame(4);
    object->SetMuted(true);

    const AssetAudioObject copy(*object);
    const AssetAudioObject other(*object, composition);

    EXPECT_EQ(copy.ID(), object->ID());
    EXPECT_EQ(copy.StartFrame(), 3);
    EXPECT_EQ(copy.EndFrame(), 9);
    EXPECT_EQ(copy.SourceStartFrame(), 4);
    EXPECT_TRUE(copy.IsMuted());
    EXPECT_EQ(copy.Asset(assets), nullptr);
    EXPECT_EQ(other.Asset(assets), composition);
}

TEST(AudioTrack, StartsAudibleAndWithItsStandardProperties) {
    AudioTrack track;

    EXPECT_FALSE(track.IsMuted());
    EXPECT_FALSE(track.IsSolo());
    EXPECT_TRUE(track.Objects().All().empty());
    EXPECT_EQ(boost::get<float>(track.Animation().StaticValue("audioLevel")), 0.0f);
    EXPECT_EQ(boost::get<float>(track.Animation().StaticValue("stereoBalance")), 0.0f);
    track.SetMuted(true);
    track.SetSolo(true);
    track.SetName(L"Voices");
    EXPECT_TRUE(track.IsMuted());
    EXPECT_TRUE(track.IsSolo());
    EXPECT_EQ(track.Name(), L"Voices");
}

TEST(AudioTrack, ACopyHasSeparateFlagsAndSharesTheObjects) {
    AudioTrack track;
    const auto object = ObjectAt(0, 5);
    track.Objects().Add(object);
    track.SetName(L"A");

    AudioTrack copy(track);
    track.SetMuted(true);
    track.Objects().Remove(object->ID());

    EXPECT_EQ(copy.ID(), track.ID());
    EXPECT_EQ(copy.Name(), L"A");
    EXPECT_FALSE(copy.IsMuted());
    EXPECT_EQ(copy.Objects().FindOnFrame(0), object);
}

TEST(EditorSequence, AlwaysHasAMasterTrackAndStartsWithoutOtherTracks) {
    EditorSequence sequence;

    EXPECT_TRUE(sequence.AudioTracks().empty());
    ASSERT_NE(sequence.AudioMasterTrack(), nullptr);
    EXPECT_EQ(boost::get<float>(sequence.AudioMasterTrack()->Animation().StaticValue("audioLevel")),
              0.0f);
    EXPECT_FALSE(sequence.ID().IsNull());
}

TEST(EditorSequence, TracksAreAddedInsertedAndRemovedByIndex) {
    EditorSequence sequence;
    const auto second = sequence.AddAudioTrack();
    const auto third = sequence.AddAudioTrack();
    const auto first = sequence.InsertAudioTrack(0);

    ASSERT_EQ(sequence.AudioTracks().size(), 3u);
    EXPECT_EQ(sequence.AudioTracks()[0], first);
    EXPECT_EQ(sequence.AudioTracks()[1], second);
    EXPECT_EQ(sequence.AudioTracks()[2], third);
    sequence.RemoveAudioTrack(1);
    EXPECT_EQ(sequence.AudioTracks()[1], third);
    EXPECT_THROW(sequence.InsertAudioTrack(3), std::out_of_range);
    EXPECT_THROW(sequence.RemoveAudioTrack(2), std::out_of_range);
}

TEST(EditorSequence, ACopyHasSeparateSettingsAndASeparateListOfTracks) {
    EditorSequence sequence;
    const auto track = sequence.AddAudioTrack();

    EditorSequence copy(sequence);
    sequence.Settings().SetFrameCount(5);
    sequence.RemoveAudioTrack(0);

    EXPECT_EQ(copy.ID(), sequence.ID());
    EXPECT_EQ(copy.Settings().FrameCount(), 0);
    ASSERT_EQ(copy.AudioTracks().size(), 1u);
    EXPECT_EQ(copy.AudioTracks()[0], track);
    EXPECT_EQ(copy.AudioMasterTrack(), sequence.AudioMasterTrack());
}

TEST(Project, StartsWithAnEmptySequenceAndAManager) {
    Project project;

    EXPECT_TRUE(project.Assets().All().empty());
    ASSERT_NE(project.Sequence(), nullptr);
    EXPECT_EQ(project.Sequence()->Settings().FrameCount(), 0);
    EXPECT_NE(project.Manager(), nullptr);
}

TEST(Project, AcceptsAnotherSequenceButNoEmptyPointer) {
    Project project;
    const auto sequence = std::make_shared<EditorSequence>();
    project.SetSequence(sequence);

    EXPECT_THROW(project.SetSequence(nullptr), std::invalid_argument);
    EXPECT_EQ(project.Sequence(), sequence);
}

TEST(Project, ACopySharesAssetsSequenceAndManager) {
    Project project;
    const auto media = std::make_shared<MediaAsset>(project.Manager(), L"/m/a.wav");
    project.Assets().Add(media);

    Project copy(project);
    project.Assets().Remove(media->ID());

    EXPECT_EQ(copy.Assets().FindByID(media->ID()), media);
    EXPECT_EQ(copy.Sequence(), project.Sequence());
    EXPECT_EQ(copy.Manager(), project.Manager());
}

}  // namespace
