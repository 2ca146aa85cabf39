// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "sonrel/project/AssetLayer.h"
#include "sonrel/project/AssetList.h"
#include "sonrel/project/CompositionAsset.h"
#include "sonrel/project/MediaAsset.h"

namespace {

using orlo::project::AbstractAsset;
using orlo::project::AbstractLayer;
using orlo::project::AssetLayer;
using orlo::project::AssetList;
using orlo::project::CompositionAsset;
using orlo::project::MediaAsset;
using orlo::project::PictureLayer;

std::shared_ptr<CompositionAsset> NewComposition() {
    return std::make_shared<CompositionAsset>();
}

std::shared_ptr<AssetLayer> LayerOf(const std::shared_ptr<CompositionAsset>& composition) {
    return std::make_shared<AssetLayer>(composition->ID());
}

TEST(AssetList, FindsItsAssetsByIdentityInListOrder) {
    AssetList assets;
    const auto media = std::make_shared<MediaAsset>(nullptr, L"/m/a.wav");
    const auto composition = NewComposition();
    assets.Add(media);
    assets.Add(composition);

    EXPECT_EQ(assets.FindByID(media->ID()), media);
    EXPECT_EQ(assets.FindByID(composition->ID()), composition);
    EXPECT_EQ(assets.FindByID(zrtl::ZRID::Create()), nullptr);
    EXPECT_EQ(assets.FindByID(zrtl::ZRID()), nullptr);
    ASSERT_EQ(assets.All().size(), 2u);
    EXPECT_EQ(assets.All()[0], media);
    EXPECT_EQ(assets.All()[1], composition);
}

TEST(AssetList, EmptyPointersAndSecondIdentitiesAreRefused) {
    AssetList assets;
    const auto media = std::make_shared<MediaAsset>(nullptr, L"/m/a.wav");
    assets.Add(media);

    EXPECT_THROW(assets.Add(nullptr), std::invalid_argument);
    EXPECT_THROW(assets.Add(media), std::invalid_argument);
    EXPECT_THROW(assets.Add(std::make_shared<MediaAsset>(*media)), std::invalid_argument);
    EXPECT_THROW(assets.All().Add(media), std::invalid_argument);
    EXPECT_EQ(assets.All().size(), 1u);
}

TEST(AssetList, AnAssetIsNotFoundAfterAnyKindOfRemoval) {
    AssetList assets;
    const auto first = std::make_shared<MediaAsset>(nullptr, L"/m/a.wav");
    const auto second = std::make_shared<MediaAsset>(nullptr, L"/m/b.wav");
    const auto third = std::make_shared<MediaAsset>(nullptr, L"/m/c.wav");
    assets.Add(first);
    assets.Add(second);
    assets.All().Insert(0, third);

    EXPECT_TRUE(assets.Remove(first->ID()));
    EXPECT_FALSE(assets.Remove(first->ID()));
    EXPECT_EQ(assets.FindByID(first->ID()), nullptr);
    assets.All().Remove(second);
    EXPECT_EQ(assets.FindByID(second->ID()), nullptr);
    EXPECT_EQ(assets.FindByID(third->ID()), third);
    assets.All().Clear();
    EXPECT_EQ(assets.FindByID(third->ID()), nullptr);
    EXPECT_NO_THROW(assets.Add(first));
}

/// An asset whose type number does not match its class.
class Impostor : public AbstractAsset {
public:
    explicit Impostor(int type) : type_(type) {}
    zrtl::ZRID const& ID() const override { return id_; }
    int AssetType() const override { return type_; }
    bool HasAudio() const override { return true; }
    bool HasVideo() const override { return false; }

private:
    zrtl::ZRID id_ = zrtl::ZRID::Create();
    int type_;
};

TEST(AssetList, ATypeNumberThatDoesNotMatchTheClassIsRefused) {
    AssetList assets;

    EXPECT_THROW(assets.Add(std::make_shared<Impostor>(0)), std::invalid_argument);
    EXPECT_THROW(assets.Add(std::make_shared<Impostor>(1)), std::invalid_argument);
}

TEST(AssetList, ACopySharesTheAssetsAndIsASeparateList) {
    AssetList assets;
    const auto media = std::make_shared<MediaAsset>(nullptr, L"/m/a.wav");
    assets.Add(media);

    AssetList copy(assets);
    assets.Remove(media->ID());

    EXPECT_EQ(copy.FindByID(media->ID()), media);
    EXPECT_THROW(copy.Add(media), std::invalid_argument);
}

TEST(CompositionAsset, StartsEmptyWithItsOwnSettings) {
    CompositionAsset composition;

    EXPECT_EQ(composition.AssetType(), 1);
    EXPECT_EQ(composition.Settings().FrameRate(), 25.0);
    EXPECT_TRUE(composition.Layers().empty());
    EXPECT_FALSE(composition.HasAudio());
    EXPECT_TRUE(composition.HasVideo());
}

TEST(CompositionAsset, HasAudioWhenALayerHas) {
    CompositionAsset composition;
    composition.AddLayer(std::make_shared<PictureLayer>());
    EXPECT_FALSE(composition.HasAudio());

    const auto layer = std::make_shared<AssetLayer>(zrtl::ZRID::Create());
    composition.AddLayer(layer);
    EXPECT_TRUE(composition.HasAudio());
    layer->SetHasAudio(false);
    EXPECT_FALSE(composition.HasAudio());
}

TEST(CompositionAsset, IsTheParentOfItsLayers) {
    AssetList assets;
    const auto composition = NewComposition();
    composition->Settings().SetFrameRate(24.0);
    assets.Add(composition);
    const auto layer = std::make_shared<AssetLayer>(zrtl::ZRID::Create());
    layer->SetRange(29, 40);
    EXPECT_EQ(layer->ParentComposition(assets), nullptr);
    EXPECT_EQ(layer->StartTime(assets), 0);

    composition->AddLayer(layer);

    EXPECT_EQ(layer->ParentComposition(assets), composition);
    EXPECT_EQ(layer->StartTime(assets), 1208);  // 29 / 24 seconds are 1208.33 ms
    EXPECT_TRUE(composition->RemoveLayer(layer->ID()));
    EXPECT_FALSE(composition->RemoveLayer(layer->ID()));
    EXPECT_EQ(layer->ParentComposition(assets), nullptr);
}

TEST(CompositionAsset, AddingToTheListOfLayersIsTheSameAsAddLayer) {
    AssetList assets;
    const auto composition = NewComposition();
    assets.Add(composition);
    const auto layer = std::make_shared<AssetLayer>(zrtl::ZRID::Create());

    composition->Layers().Add(layer);
    EXPECT_EQ(layer->ParentComposition(assets), composition);
    composition->Layers().Clear();
    EXPECT_EQ(layer->ParentComposition(assets), nullptr);
    EXPECT_THROW(composition->Layers().Add(nullptr), std::invalid_argument);
}

TEST(CompositionAsset, EmptyForeignAndDoubleLayersAreRefused) {
    CompositionAsset first;
    CompositionAsset second;
    const auto layer = std::make_shared<AssetLayer>(zrtl::ZRID::Create());
    first.AddLayer(layer);

    EXPECT_THROW(first.AddLayer(nullptr), std::invalid_argument);
    EXPECT_THROW(first.AddLayer(layer), std::invalid_argument);
    EXPECT_THROW(first.AddLayer(std::make_shared<AssetLayer>(*layer)), std::invalid_argument);
    EXPECT_THROW(second.AddLayer(layer), std::invalid_argument);
    EXPECT_EQ(first.Layers().size(), 1u);
    first.RemoveLayer(layer->ID());
    EXPECT_NO_THROW(second.AddLayer(layer));
}

TEST(CompositionAsset, LayersOutliveTheirCompositionAndMayJoinAnother) {
    const auto layer = std::make_shared<AssetLayer>(zrtl::ZRID::Create());
    { CompositionAsset().AddLayer(layer); }
    CompositionAsset other;

    EXPECT_NO_THROW(other.AddLayer(layer));
}

TEST(CompositionAsset, ACopyHasTheIdentityAndSharesTheLayers) {
    AssetList assets;
    const auto composition = NewComposition();
    composition->Settings().SetFrameCount(9);
    const auto layer = std::make_shared<AssetLayer>(zrtl::ZRID::Create());
    composition->AddLayer(layer);

    const auto copy = std::make_shared<CompositionAsset>(*composition);
    assets.Add(copy);
    composition->RemoveLayer(layer->ID());

    EXPECT_EQ(copy->ID(), composition->ID());
    EXPECT_EQ(copy->Settings().FrameCount(), 9);
    ASSERT_EQ(copy->Layers().size(), 1u);
    EXPECT_EQ(copy->Layers()[0], layer);
    EXPECT_EQ(layer->ParentComposition(assets), copy);
    EXPECT_EQ(composition->Layers().size(), 0u);
}

TEST(CompositionCycles, ACompositionDoesNotShowItself) {
    const auto composition = NewComposition();
    EXPECT_THROW(composition->AddLayer(LayerOf(composition)), std::invalid_argument);

    AssetList assets;
    assets.Add(composition);
    EXPECT_THROW(composition->AddLayer(LayerOf(composition)), std::invalid_argument);
    EXPECT_THROW(composition->Layers().Insert(0, LayerOf(composition)), std::invalid_argument);
    EXPECT_TRUE(composition->Layers().empty());
}

TEST(CompositionCycles, ALayerThatLeadsBackThroughOthersIsRefused) {
    AssetList assets;
    const auto a = NewComposition();
    const auto b = NewComposition();
    const auto c = NewComposition();
    assets.Add(a);
    assets.Add(b);
    assets.Add(c);
    a->AddLayer(LayerOf(b));
    b->AddLayer(LayerOf(c));

    EXPECT_THROW(c->AddLayer(LayerOf(a)), std::invalid_argument);
    EXPECT_THROW(c->AddLayer(LayerOf(b)), std::invalid_argument);
    EXPECT_NO_THROW(a->AddLayer(LayerOf(c)));
}

TEST(CompositionCycles, ARefusedLayerBelongsToNoComposition) {
    AssetList assets;
    const auto a = NewComposition();
    const auto b = NewComposition();
    assets.Add(a);
    assets.Add(b);
    a->AddLayer(LayerOf(b));
    const auto layer = LayerOf(a);

    EXPECT_THROW(b->AddLayer(layer), std::invalid_argument);

    EXPECT_EQ(layer->ParentComposition(assets), nullptr);
    const auto c = NewComposition();
    EXPECT_NO_THROW(c->AddLayer(layer));
}

TEST(CompositionCycles, ACompositionWhoseLayersLeadBackIsRefusedByTheList) {
    AssetList assets;
    const auto a = NewComposition();
    const auto b = NewComposition();
    a->AddLayer(LayerOf(b));
    b->AddLayer(LayerOf(a));
    assets.Add(a);

    EXPECT_THROW(assets.Add(b), std::invalid_argument);
    EXPECT_THROW(assets.All().Add(b), std::invalid_argument);

    EXPECT_EQ(assets.FindByID(b->ID()), nullptr);
    b->Layers().Clear();
    EXPECT_NO_THROW(assets.Add(b));
}

TEST(CompositionCycles, AfterOneDirectionIsRemovedTheOtherIsAllowed) {
    AssetList assets;
    const auto a = NewComposition();
    const auto b = NewComposition();
    assets.Add(a);
    assets.Add(b);
    const auto layer = LayerOf(b);
    a->AddLayer(layer);

    a->RemoveLayer(layer->ID());

    EXPECT_NO_THROW(b->AddLayer(LayerOf(a)));
}

TEST(CompositionCycles, EveryListThatContainsACompositionIsChecked) {
    const auto a = NewComposition();
    const auto b = NewComposition();
    AssetList first;
    first.Add(a);
    AssetList second(first);
    second.Add(b);
    b->AddLayer(LayerOf(a));

    EXPECT_THROW(a->AddLayer(LayerOf(b)), std::invalid_argument);
    second.Remove(a->ID());
    EXPECT_NO_THROW(a->AddLayer(LayerOf(b)));
}

TEST(CompositionCycles, ACompositionOutlivesItsList) {
    const auto a = NewComposition();
    const auto b = NewComposition();
    {
        AssetList assets;
        assets.Add(a);
        assets.Add(b);
    }

    EXPECT_NO_THROW(a->AddLayer(LayerOf(b)));
}

TEST(CompositionCycles, ACompositionOnManyPathsIsVisitedOnce) {
    AssetList assets;
    auto below = NewComposition();
    const auto bottom = below;
    assets.Add(below);
    for (int level = 0; level < 40; ++level) {
        const auto above = NewComposition();
        assets.Add(above);
        above->AddLayer(LayerOf(below));
        above->AddLayer(LayerOf(below));
        below = above;
    }

    // 2^40 paths lead down; each composition is visited once.
    EXPECT_THROW(bottom->AddLayer(LayerOf(below)), std::invalid_argument);
    EXPECT_NO_THROW(NewComposition()->AddLayer(LayerOf(below)));
}

TEST(CompositionCycles, AChainOfThousandsDoesNotOverflowTheStack) {
    AssetList assets;
    auto below = NewComposition();
    const auto bottom = below;
    assets.Add(below);
    for (int level = 0; level < 2000; ++level) {
        const auto above = NewComposition();
        above->AddLayer(LayerOf(below));
        assets.Add(above);
        below = above;
    }

    EXPECT_THROW(bottom->AddLayer(LayerOf(below)), std::invalid_argument);
}

TEST(AssetLayer, StartsAudibleVisibleAndWithItsStandardProperties) {
    const auto asset = zrtl::ZRID::Create();
    AssetLayer layer(asset);

    EXPECT_EQ(layer.LayerType(), 0);
    EXPECT_EQ(layer.AssetID(), asset);
    EXPECT_TRUE(layer.HasAudio());
    EXPECT_TRUE(layer.IsVisible());
    EXPECT_FALSE(layer.IsMuted());
    EXPECT_EQ(layer.SourceStartFrame(), 0);
    EXPECT_EQ(boost::get<float>(layer.Animation().StaticValue("audioLevel")), 0.0f);
    EXPECT_EQ(boost::get<double>(layer.Animation().StaticValue("speed")), 1.0);
    EXPECT_FALSE(layer.ID().IsNull());
}

TEST(AssetLayer, ShowsTheAssetOfTheList) {
    AssetList assets;
    const auto media = std::make_shared<MediaAsset>(nullptr, L"/m/a.wav");
    const AssetLayer layer(media->ID());
    EXPECT_EQ(layer.Asset(assets), nullptr);

    assets.Add(media);

    EXPECT_EQ(layer.Asset(assets), media);
}

TEST(AssetLayer, EmptyAndNegativeRangesAreRefused) {
    AssetLayer layer{zrtl::ZRID()};
    layer.SetRange(0, 1);
    EXPECT_THROW(layer.SetRange(5, 5), std::invalid_argument);
    EXPECT_THROW(layer.SetRange(5, 4), std::invalid_argument);
    EXPECT_THROW(layer.SetRange(-1, 4), std::invalid_argument);
    EXPECT_THROW(layer.SetSourceStartFrame(-1), std::invalid_argument);
    EXPECT_EQ(layer.StartFrame(), 0);
    EXPECT_EQ(layer.EndFrame(), 1);
}

TEST(AssetLayer, ACopyHasEverythingExceptTheParent) {
    AssetList assets;
    const auto composition = NewComposition();
    assets.Add(composition);
    const auto layer = std::make_shared<AssetLayer>(zrtl::ZRID::Create());
    layer->SetRange(2, 5);
    layer->SetSourceStartFrame(7);
    layer->SetMuted(true);
    layer->SetVisible(false);
    layer->SetHasAudio(false);
    layer->Animation().SetStaticValue("audioLevel", -3.0f);
    composition->AddLayer(layer);

    AssetLayer copy(*layer);

    EXPECT_EQ(copy.ID(), layer->ID());
    EXPECT_EQ(copy.AssetID(), layer->AssetID());
    EXPECT_EQ(copy.StartFrame(), 2);
    EXPECT_EQ(copy.EndFrame(), 5);
    EXPECT_EQ(copy.SourceStartFrame(), 7);
    EXPECT_TRUE(copy.IsMuted());
    EXPECT_FALSE(copy.IsVisible());
    EXPECT_FALSE(copy.HasAudio());
    EXPECT_EQ(boost::get<float>(copy.Animation().StaticValue("audioLevel")), -3.0f);
    EXPECT_EQ(copy.ParentComposition(assets), nullptr);
}

TEST(PictureLayer, IsAlwaysSilent) {
    PictureLayer layer;

    EXPECT_EQ(layer.LayerType(), 1);
    EXPECT_FALSE(layer.HasAudio());
    EXPECT_EQ(layer.Asset(AssetList()), nullptr);
}

}  // namespace
