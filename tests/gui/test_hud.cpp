// The in-game layer's display logic without drawing: the fading messages with their phases,
// the HUD values and labels, and the mini map's texture matrix, icons and rim arrows.

#include <gtest/gtest.h>

#include <cmath>

#include "gui/gamemessages.h"
#include "gui/minimap.h"
#include "guitest.h"

using namespace guitest;

namespace {

constexpr float kFadeIn = 0.5f;
constexpr float kFadeOut = 0.7f;

}  // namespace

TEST(GameMessages, AHundredByteMessageHoldsForOnePointThreeSeconds) {
    std::list<GameMessage> messages;
    const std::string text(100, 'x');
    AddGameMessage(messages, text, 10.0f, kFadeIn);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_FLOAT_EQ(messages.front().duration, 1.3f);
    EXPECT_EQ(messages.front().start_time, 10.0f);
    const GameMessage& m = messages.front();
    MessageLook look = LookOfMessage(m, 10.25f, kFadeIn, kFadeOut, 768.0f);
    EXPECT_EQ(look.phase, MessageLook::FADE_IN);
    EXPECT_FLOAT_EQ(look.alpha, 0.5f);
    EXPECT_EQ(look.offset, 0.0f);
    look = LookOfMessage(m, 10.5f, kFadeIn, kFadeOut, 768.0f);
    EXPECT_EQ(look.phase, MessageLook::HOLD);
    EXPECT_EQ(look.alpha, 1.0f);
    look = LookOfMessage(m, 11.79f, kFadeIn, kFadeOut, 768.0f);
    EXPECT_EQ(look.phase, MessageLook::HOLD);
    // Fading out from 1.8 s of age for 0.7 s, sinking by up to a sixth of the height.
    look = LookOfMessage(m, 10.0f + 1.8f + 0.35f, kFadeIn, kFadeOut, 768.0f);
    EXPECT_EQ(look.phase, MessageLook::FADE_OUT);
    EXPECT_NEAR(look.alpha, 0.5f, 1e-4f);
    EXPECT_NEAR(look.offset, 0.5f * 768.0f / 6.0f, 0.02f);
    look = LookOfMessage(m, 10.0f + 2.51f, kFadeIn, kFadeOut, 768.0f);
    EXPECT_EQ(look.phase, MessageLook::OVER);
    EXPECT_EQ(look.alpha, 0.0f);
    // Dropped only once older than its whole life of 2.5 s.
    DropFinishedMessages(messages, 12.49f, kFadeIn, kFadeOut);
    EXPECT_EQ(messages.size(), 1u);
    DropFinishedMessages(messages, 12.51f, kFadeIn, kFadeOut);
    EXPECT_TRUE(messages.empty());
}

TEST(GameMessages, ANewMessageDrivesTheOldOnesToTheirFadeOut) {
    std::list<GameMessage> messages;
    AddGameMessage(messages, "The yard door swings open", 5.0f, kFadeIn);
    AddGameMessage(messages, "Health restored", 5.0f, kFadeIn);  // the same frame
    ASSERT_EQ(messages.size(), 2u);
    const GameMessage& first = messages.front();
    const float hold = first.duration + kFadeIn;
    EXPECT_FLOAT_EQ(first.start_time, 5.0f - hold);
    // From the next frame on it fades out.
    MessageLook look = LookOfMessage(first, 5.07f, kFadeIn, kFadeOut, 768.0f);
    EXPECT_EQ(look.phase, MessageLook::FADE_OUT);
    EXPECT_NEAR(look.alpha, 0.9f, 1e-3f);
    EXPECT_EQ(messages.back().start_time, 5.0f);
    // A message already fading out is left where it is.
    const float before = messages.front().start_time;
    AddGameMessage(messages, "third", 5.2f, kFadeIn);
    EXPECT_EQ(messages.front().start_time, before);
}

TEST(GameMessages, AnEmptyMessageHasNoHoldButFadesInAndOut) {
    std::list<GameMessage> messages;
    AddGameMessage(messages, "", 1.0f, kFadeIn);
    EXPECT_EQ(messages.front().duration, 0.0f);
    EXPECT_EQ(LookOfMessage(messages.front(), 1.25f, kFadeIn, kFadeOut, 768).phase,
              MessageLook::FADE_IN);
    EXPECT_EQ(LookOfMessage(messages.front(), 1.6f, kFadeIn, kFadeOut, 768).phase,
              MessageLook::FADE_OUT);
    DropFinishedMessages(messages, 2.21f, kFadeIn, kFadeOut);
    EXPECT_TRUE(messages.empty());
}

TEST(GameMessages, NoFadeTimeNeverDividesByZero) {
    GameMessage m;
    m.text = "x";
    m.duration = 1.0f;
    m.start_time = 2.0f;
    MessageLook look = LookOfMessage(m, 1.0f, 0.0f, 0.0f, 768.0f);  // before its start
    EXPECT_EQ(look.phase, MessageLook::FADE_IN);
    EXPECT_EQ(look.alpha, 0.0f);
    look = LookOfMessage(m, 3.0f, 0.0f, 0.0f, 768.0f);
    EXPECT_EQ(look.phase, MessageLook::OVER);
    EXPECT_FALSE(std::isnan(look.alpha));
}

TEST(MiniMap, TheTextureMatrixCentresTheHero) {
    // The hero in the middle of the map: no shift; the map turned by 90 - heading.
    const HVector2 middle = (minimap::kMapMin + minimap::kMapMax) * 0.5f;
    MiniMapTextureTransform t = MiniMapTexture(middle, 30.0f);
    EXPECT_FLOAT_EQ(t.tx, 0.5f);
    EXPECT_FLOAT_EQ(t.ty, 0.5f);
    EXPECT_FLOAT_EQ(t.angle, 60.0f);
    // At the top-right corner of the rectangle, y runs the other way in the texture.
    t = MiniMapTexture(minimap::kMapMax, 90.0f);
    EXPECT_FLOAT_EQ(t.tx, 1.0f);
    EXPECT_FLOAT_EQ(t.ty, 0.0f);
    EXPECT_FLOAT_EQ(t.angle, 0.0f);
}

TEST(MiniMap, NearObjectsGetAnIconMirroredInX) {
    MiniMapObject o;
    o.x = 100.0f;
    o.y = 50.0f;
    o.size = 30.0f;
    const MiniMapMark mark = PlaceOnMiniMap(o, HVector2(0, 0));
    EXPECT_FALSE(mark.arrow);
    EXPECT_EQ(mark.at, HVector2(-20, 10));
    EXPECT_EQ(mark.half, 6.0f);
}

TEST(MiniMap, AnObjectExactlyOnTheInnerLimitGetsAnArrow) {
    // half 6: the limit is 89 map units, 445 world units away.
    MiniMapObject o;
    o.size = 30.0f;
    o.x = 445.0f;
    o.y = 0.0f;
    MiniMapMark mark = PlaceOnMiniMap(o, HVector2(0, 0));
    EXPECT_TRUE(mark.arrow);
    // The direction is mirrored: world +x points to -x on the disc, angle 180 (the cross
    // of zero counts as the negative angle).
    EXPECT_EQ(mark.edge, HVector2(-85, 0));
    EXPECT_FLOAT_EQ(std::fabs(mark.angle), 180.0f);
    o.x = 444.0f;
    EXPECT_FALSE(PlaceOnMiniMap(o, HVector2(0, 0)).arrow);
}

TEST(MiniMap, ArrowAnglesTakeTheirSignFromTheCrossProduct) {
    MiniMapObject o;
    o.size = 30.0f;
    o.x = 0.0f;
    o.y = 1000.0f;  // straight ahead in y: n = (0, 1), cross 1 >= 0 -> negative
    MiniMapMark mark = PlaceOnMiniMap(o, HVector2(0, 0));
    ASSERT_TRUE(mark.arrow);
    EXPECT_FLOAT_EQ(mark.angle, -90.0f);
    EXPECT_NEAR(mark.edge.y, 85.0f, 1e-4f);
    o.y = -1000.0f;
    mark = PlaceOnMiniMap(o, HVector2(0, 0));
    EXPECT_FLOAT_EQ(mark.angle, 90.0f);
    o.x = -1000.0f;  // mirrored to +x: angle 0 exactly, cross 0 gives -0
    o.y = 0.0f;
    mark = PlaceOnMiniMap(o, HVector2(0, 0));
    EXPECT_EQ(mark.angle, 0.0f);
    EXPECT_EQ(mark.edge, HVector2(85, 0));
}

TEST(MiniMap, TheRoomIsSquaredSoAHugeObjectOnTheHeroStillGetsAnIcon) {
    MiniMapObject o;
    o.size = 1000.0f;  // half 200: (95 - 200) squared is still above a distance of 0
    EXPECT_FALSE(PlaceOnMiniMap(o, HVector2(0, 0)).arrow);
}

TEST(MiniMap, AnObjectWithNoRoomOnTheHeroPointsAlongX) {
    MiniMapObject o;
    o.size = 475.0f;  // half 95: no room at all, and no direction to point in
    const MiniMapMark mark = PlaceOnMiniMap(o, HVector2(0, 0));
    EXPECT_TRUE(mark.arrow);
    EXPECT_EQ(mark.edge, HVector2(85, 0));
    EXPECT_FALSE(std::isnan(mark.angle));
}

TEST(MiniMap, IconsByClassAndKind) {
    MiniMapObject o;
    o.type_id = 7;
    EXPECT_EQ(IconOf(o, 7, 9), MiniMapIcon::ENEMY);
    o.kind = 2;  // alert: still the one enemy icon
    EXPECT_EQ(IconOf(o, 7, 9), MiniMapIcon::ENEMY);
    o.type_id = 9;
    o.kind = 1;
    EXPECT_EQ(IconOf(o, 7, 9), MiniMapIcon::HEALTH);
    o.kind = 2;
    EXPECT_EQ(IconOf(o, 7, 9), MiniMapIcon::TARGET);
    o.kind = 0;
    EXPECT_EQ(IconOf(o, 7, 9), MiniMapIcon::KEEP);
    o.type_id = 3;
    EXPECT_EQ(IconOf(o, 7, 9), MiniMapIcon::KEEP);
    o.type_id = 0;  // unknown classes never match an id of 0
    EXPECT_EQ(IconOf(o, 0, 0), MiniMapIcon::KEEP);
}

namespace {

class HudTest : public GuiTest {
protected:
    void SetUp() override {
        GuiTest::SetUp();
        Build("GameGuiLayer = { name = GameGUILayer; }");
        layer = Find<GameGuiLayer>("GameGUILayer");
    }
    GameGuiLayer* layer = nullptr;
};

}  // namespace

TEST_F(HudTest, DefaultsAsConstructed) {
    GameGuiLayer fresh;
    EXPECT_EQ(fresh.run, 100.0f);
    EXPECT_EQ(fresh.health, 75.0f);
    EXPECT_EQ(fresh.fade_in, 0.5f);
    EXPECT_EQ(fresh.fade_gap, 0.3f);
    EXPECT_EQ(fresh.fade_out, 0.7f);
    EXPECT_TRUE(fresh.in_intro);
    EXPECT_EQ(fresh.GetTypeName(), "GameGuiLayer");
}

TEST_F(HudTest, HudEventsSetTheTwoValues) {
    auto* run = new HUDEvent(0, 42.5f);
    auto* health = new HUDEvent(1, -3.0f);
    auto* other = new HUDEvent(2, 7.0f);
    Post(run);
    Post(health);
    Post(other);
    ASSERT_TRUE(Settle());
    EXPECT_EQ(layer->run, 42.5f);
    EXPECT_EQ(layer->health, -3.0f);
}

TEST_F(HudTest, LabelsRoundUp) {
    EXPECT_EQ(GameGuiLayer::Label("Run: ", 74.2f), "Run: 75");
    EXPECT_EQ(GameGuiLayer::Label("Hlth: ", 75.0f), "Hlth: 75");
    EXPECT_EQ(GameGuiLayer::Label("Hlth: ", 100.0f), "Hlth: 100");
    EXPECT_EQ(GameGuiLayer::Label("Run: ", 0.0f), "Run: 0");
}

TEST_F(HudTest, MessagesOfModeZeroOnlyAtTheFramesTime) {
    FrameEvent frame(0.02f, 12.0f, &scene, nullptr);
    layer->OnFrame(&frame);
    Post(new GameGUIMessageEvent(0, "The east gate slides open"));
    Post(new GameGUIMessageEvent(1, "not shown"));
    ASSERT_TRUE(Settle());
    ASSERT_EQ(layer->messages.size(), 1u);
    EXPECT_EQ(layer->messages.front().text, "The east gate slides open");
    EXPECT_EQ(layer->messages.front().start_time, 12.0f);
}

TEST_F(HudTest, TheHeroMovesTheMapAndOthersJoinThisFramesList) {
    scene.GetClasses()->Register<GameGuiLayer>();
    layer->player_type = 11;
    layer->enemy_type = 12;
    auto* hero = new MiniMapObjectEvent();
    hero->object_id = 11;
    hero->position = HVector3(40, -1250, 90);
    auto* enemy = new MiniMapObjectEvent();
    enemy->object_id = 12;
    enemy->position = HVector3(100, 200, 45);
    enemy->size = 30.0f;
    enemy->kind = 2;
    Post(hero);
    Post(enemy);
    ASSERT_TRUE(Settle());
    EXPECT_EQ(layer->player_pos, HVector2(40, -1250));
    EXPECT_EQ(layer->player_angle, 90.0f);
    ASSERT_EQ(layer->map_objects.size(), 1u);
    const MiniMapObject& o = layer->map_objects.front();
    EXPECT_EQ(o.x, 100.0f);
    EXPECT_EQ(o.y, 200.0f);
    EXPECT_EQ(o.angle, 45.0f);
    EXPECT_EQ(o.size, 30.0f);
    EXPECT_EQ(o.type_id, 12u);
    EXPECT_EQ(o.kind, 2);
}

TEST_F(HudTest, TheMapListIsCappedWhileNothingDrawsIt) {
    layer->player_type = 1;
    for (size_t i = 0; i < GameGuiLayer::kMaxMapObjects + 10; ++i) {
        MiniMapObjectEvent e;
        e.object_id = 5;
        layer->OnMiniMapObject(&e);
    }
    EXPECT_EQ(layer->map_objects.size(), GameGuiLayer::kMaxMapObjects);
}

TEST_F(HudTest, BindAsksTheRegistryForTheSendersTypeIds) {
    GameGuiLayer fresh;
    SceneManager other;
    other.GetClasses()->Register<GUIButton>();  // stands in for a sender's class
    fresh.Bind(nullptr, &other, nullptr);
    EXPECT_EQ(fresh.player_type, 0u);  // "Player" is not registered there
    EXPECT_EQ(fresh.item_type, 0u);
}
