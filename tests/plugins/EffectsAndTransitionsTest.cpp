// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <vector>

#include "sonrel/plugins/AbstractPluginAudio.h"
#include "sonrel/plugins/AbstractPluginAudioTransition.h"
#include "sonrel/plugins/EffectInstance.h"
#include "sonrel/project/AssetAudioObject.h"
#include "sonrel/project/AssetLayer.h"
#include "sonrel/project/SequenceObjectList.h"
#include "sonrel/project/Transition.h"

namespace {

using orlo::project::AbstractPlugin;
using orlo::project::AbstractPluginAudio;
using orlo::project::AbstractPluginAudioTransition;
using orlo::project::AssetAudioObject;
using orlo::project::AssetLayer;
using orlo::project::EffectInstance;
using orlo::project::JoinWithTransition;
using orlo::project::SampleRange;
using orlo::project::SequenceObjectList;
using orlo::project::Transition;

class AudioPlugin : public AbstractPluginAudio {
public:
    int PluginKind() const override { return 1; }
    int RequiredRanges(EffectInstance*, int, int, int, int, int, int, int, long long, long long,
                       std::vector<SampleRange>*, bool) override {
        return 0;
    }
    int ProcessAudio(EffectInstance*, int, int, int, unsigned char*, int, int, int, int, int,
                     long long, long long, long long, bool) override {
        return 0;
    }
};

class TransitionPlugin : public AbstractPluginAudioTransition {
public:
    int PluginKind() const override { return 1; }
    int ProcessTransition(Transition*, int, int, int, int, unsigned char*, int, unsigned char*, int,
                          unsigned char*, int, int, int, int, int) override {
        return 0;
    }
};

/// A plugin of any kind that is not derived from an audio class.
class PlainPlugin : public AbstractPlugin {
public:
    explicit PlainPlugin(int kind) : kind_(kind) {}
    int PluginKind() const override { return kind_; }

private:
    int kind_;
};

std::shared_ptr<AssetAudioObject> ObjectAt(int startFrame, int endFrame) {
    auto object = std::make_shared<AssetAudioObject>(zrtl::ZRID::Create());
    object->SetRange(startFrame, endFrame);
    return object;
}

TEST(EffectInstance, StartsEnabledWithItsPluginAndAnIdentity) {
    const auto plugin = std::make_shared<AudioPlugin>();
    EffectInstance effect(plugin);

    EXPECT_TRUE(effect.Enabled());
    EXPECT_EQ(effect.Plugin(), plugin);
    EXPECT_FALSE(effect.ID().IsNull());
    effect.SetEnabled(false);
    EXPECT_FALSE(effect.Enabled());
}

TEST(EffectInstance, AMissingPluginIsRefused) {
    EXPECT_THROW(EffectInstance(nullptr), std::invalid_argument);
}

TEST(EffectInstance, APluginOfTheAudioKindAndAnotherClassIsRefused) {
    EXPECT_THROW(EffectInstance(std::make_shared<PlainPlugin>(1)), std::invalid_argument);
    EXPECT_NO_THROW(EffectInstance(std::make_shared<PlainPlugin>(2)));
}

TEST(EffectInstance, ACopySharesThePluginAndHasTheIdentity) {
    EffectInstance effect(std::make_shared<AudioPlugin>());
    effect.SetEnabled(false);

    EffectInstance copy(effect);

    EXPECT_EQ(copy.ID(), effect.ID());
    EXPECT_EQ(copy.Plugin(), effect.Plugin());
    EXPECT_FALSE(copy.Enabled());
}

TEST(ObjectEffects, AreKeptInChainOrder) {
    AssetAudioObject object{zrtl::ZRID()};
    const auto first = object.AddEffect(std::make_shared<AudioPlugin>());
    const auto second = object.AddEffect(std::make_shared<AudioPlugin>());

    ASSERT_EQ(object.Effects().size(), 2u);
    EXPECT_EQ(object.Effects()[0], first);
    EXPECT_EQ(object.Effects()[1], second);
}

TEST(ObjectEffects, OtherEffectsThanAudioEffectsAreRefusedInEveryEdit) {
    AssetAudioObject object{zrtl::ZRID()};
    const auto picture = std::make_shared<PlainPlugin>(2);

    EXPECT_THROW(object.AddEffect(picture), std::invalid_argument);
    EXPECT_THROW(object.AddEffect(nullptr), std::invalid_argument);
    EXPECT_THROW(object.Effects().Add(std::make_shared<EffectInstance>(picture)),
                 std::invalid_argument);
    EXPECT_THROW(object.Effects().Insert(0, std::make_shared<EffectInstance>(picture)),
                 std::invalid_argument);
    EXPECT_THROW(object.Effects().Add(nullptr), std::invalid_argument);
    EXPECT_TRUE(object.Effects().empty());
}

TEST(ObjectEffects, ACopiedObjectRefusesOtherEffectsToo) {
    AssetAudioObject object{zrtl::ZRID()};
    object.AddEffect(std::make_shared<AudioPlugin>());

    AssetAudioObject copy(object);

    EXPECT_EQ(copy.Effects()[0], object.Effects()[0]);
    EXPECT_THROW(copy.AddEffect(std::make_shared<PlainPlugin>(2)), std::invalid_argument);
}

TEST(LayerEffects, AcceptEveryKindButNoEmptyPlugin) {
    AssetLayer layer{zrtl::ZRID()};
    layer.AddEffect(std::make_shared<PlainPlugin>(2));
    layer.AddEffect(std::make_shared<AudioPlugin>());

    EXPECT_THROW(layer.AddEffect(nullptr), std::invalid_argument);
    EXPECT_THROW(layer.Effects().Add(nullptr), std::invalid_argument);
    EXPECT_EQ(layer.Effects().size(), 2u);
}

TEST(Transition, KeepsTheArgumentsOfItsConstructor) {
    const auto plugin = std::make_shared<TransitionPlugin>();
    const auto from = zrtl::ZRID::Create();
    const auto to = zrtl::ZRID::Create();
    Transition transition(plugin, from, to, 10, -5);

    EXPECT_EQ(transition.Plugin(), plugin);
    EXPECT_EQ(transition.FromObject(), from);
    EXPECT_EQ(transition.ToObject(), to);
    EXPECT_EQ(transition.Length(), 10);
    EXPECT_EQ(transition.RelativeStartFrame(), -5);
    EXPECT_FALSE(transition.ID().IsNull());
}

TEST(Transition, AnEmptyPluginAnotherClassAndALengthOf0AreRefused) {
    const auto plugin = std::make_shared<TransitionPlugin>();
    const zrtl::ZRID none;

    EXPECT_THROW(Transition(nullptr, none, none, 10, 0), std::invalid_argument);
    EXPECT_THROW(Transition(std::make_shared<AudioPlugin>(), none, none, 10, 0),
                 std::invalid_argument);
    EXPECT_THROW(Transition(plugin, none, none, 0, 0), std::invalid_argument);
    EXPECT_THROW(Transition(plugin, none, none, -1, 0), std::invalid_argument);
    EXPECT_NO_THROW(Transition(plugin, none, none, 1, 0));
}

TEST(Transition, ACopySharesThePluginAndHasTheIdentity) {
    Transition transition(std::make_shared<TransitionPlugin>(), zrtl::ZRID::Create(),
                          zrtl::ZRID::Create(), 10, -5);

    Transition copy(transition);

    EXPECT_EQ(copy.ID(), transition.ID());
    EXPECT_EQ(copy.Plugin(), transition.Plugin());
    EXPECT_EQ(copy.FromObject(), transition.FromObject());
    EXPECT_EQ(copy.ToObject(), transition.ToObject());
    EXPECT_EQ(copy.Length(), 10);
    EXPECT_EQ(copy.RelativeStartFrame(), -5);
}

TEST(JoinWithTransition, LeavesOneObjectAndEntersTheOther) {
    SequenceObjectList objects;
    const auto first = ObjectAt(0, 10);
    const auto second = ObjectAt(10, 20);
    objects.Add(first);
    objects.Add(second);

    const auto transition = JoinWithTransition(objects, first->ID(), second->ID(),
                                               std::make_shared<TransitionPlugin>(), 4, -2);

    EXPECT_EQ(first->OutgoingTransition(), transition);
    EXPECT_EQ(second->IncomingTransition(), transition);
    EXPECT_EQ(first->IncomingTransition(), nullptr);
    EXPECT_EQ(second->OutgoingTransition(), nullptr);
    EXPECT_EQ(transition->FromObject(), first->ID());
    EXPECT_EQ(transition->ToObject(), second->ID());
}

TEST(JoinWithTransition, ObjectsThatAreNotOnTheTrackAreRefusedAndNothingIsSet) {
    SequenceObjectList objects;
    const auto first = ObjectAt(0, 10);
    const auto stranger = ObjectAt(10, 20);
    objects.Add(first);
    const auto plugin = std::make_shared<TransitionPlugin>();

    EXPECT_THROW(JoinWithTransition(objects, first->ID(), stranger->ID(), plugin, 4, -2),
                 std::invalid_argument);
    EXPECT_THROW(JoinWithTransition(objects, stranger->ID(), first->ID(), plugin, 4, -2),
                 std::invalid_argument);
    EXPECT_THROW(JoinWithTransition(objects, first->ID(), first->ID(), plugin, 4, -2),
                 std::invalid_argument);
    objects.Add(stranger);
    EXPECT_THROW(JoinWithTransition(objects, first->ID(), stranger->ID(), nullptr, 4, -2),
                 std::invalid_argument);
    EXPECT_THROW(JoinWithTransition(objects, first->ID(), stranger->ID(), plugin, 0, -2),
                 std::invalid_argument);
    EXPECT_EQ(first->OutgoingTransition(), nullptr);
    EXPECT_EQ(stranger->IncomingTransition(), nullptr);
}

}  // namespace
