// Type names, type ids and field defaults of the event classes; the SDL 1.2 record.

#include <gtest/gtest.h>

#include <cstring>

#include "events/events.h"
#include "events/sdl12event.h"
#include "scene/entity.h"

TEST(EventTypes, TypeNamesAreTheClassNames) {
    EXPECT_EQ(BaseEvent().GetTypeName(), "BaseEvent");
    EXPECT_EQ(FrameEvent().GetTypeName(), "FrameEvent");
    EXPECT_EQ(InputEvent().GetTypeName(), "InputEvent");
    EXPECT_EQ(PlayerControllerEvent().GetTypeName(), "PlayerControllerEvent");
    EXPECT_EQ(DeleteEntityEvent().GetTypeName(), "DeleteEntityEvent");
    EXPECT_EQ(LoadGameEvent().GetTypeName(), "LoadGameEvent");
    EXPECT_EQ(ResumeGameEvent().GetTypeName(), "ResumeGameEvent");
    EXPECT_EQ(PlayerActionEvent().GetTypeName(), "PlayerActionEvent");
    EXPECT_EQ(TriggerActivationEvent().GetTypeName(), "TriggerActivationEvent");
    EXPECT_EQ(CollisionEvent<PhysicsStaticGeometry>().GetTypeName(),
              "CollisionEvent<PhysicsStaticGeometry>");
    EXPECT_EQ(CollisionEvent<PhysicsCharacter>().GetTypeName(), "CollisionEvent<PhysicsCharacter>");
    EXPECT_EQ(CollisionEvent<PhysicsRayCast>().GetTypeName(), "CollisionEvent<PhysicsRayCast>");
    EXPECT_EQ(GenericCollisionEvent().GetTypeName(), "GenericCollisionEvent");
    EXPECT_EQ(HurtEvent().GetTypeName(), "HurtEvent");
    EXPECT_EQ(GameGUIMessageEvent().GetTypeName(), "GameGUIMessageEvent");
    EXPECT_EQ(HUDEvent().GetTypeName(), "HUDEvent");
    EXPECT_EQ(MiniMapObjectEvent().GetTypeName(), "MiniMapObjectEvent");
    EXPECT_EQ(GUIEvent().GetTypeName(), "GUIEvent");
    EXPECT_EQ(GUIListEvent().GetTypeName(), "GUIListEvent");
    EXPECT_EQ(GUIFileWindowEvent().GetTypeName(), "GUIFileWindowEvent");
    EXPECT_EQ(GUIVideoEvent().GetTypeName(), "GUIVideoEvent");
    EXPECT_EQ(CameraModeEvent().GetTypeName(), "CameraModeEvent");
    EXPECT_EQ(ItemPickupEvent().GetTypeName(), "ItemPickupEvent");
}

TEST(EventTypes, InternedKeysMatchEqualNames) {
    EXPECT_EQ(FrameEvent().GetTypeKey(), InternTypeName("FrameEvent"));
    EXPECT_EQ(FrameEvent::StaticTypeKey(), InternTypeName(std::string("Frame") + "Event"));
    EXPECT_NE(FrameEvent().GetTypeKey(), InputEvent().GetTypeKey());
    EXPECT_EQ(BaseEvent().GetTypeKey(), InternTypeName("BaseEvent"));
}

namespace {
// Names itself by overriding GetTypeName() alone, without VELMORA_EVENT_TYPE.
class NamedOnlyFrameEvent : public FrameEvent {
public:
    std::string GetTypeName() const override { return "NamedOnlyFrameEvent"; }
};
}  // namespace

TEST(EventTypes, KeyOfASubclassFollowsTheNameItReports) {
    NamedOnlyFrameEvent named;
    const BaseEvent& as_base = named;
    EXPECT_EQ(as_base.GetTypeName(), "NamedOnlyFrameEvent");
    EXPECT_EQ(as_base.GetTypeKey(), InternTypeName("NamedOnlyFrameEvent"));
    EXPECT_NE(as_base.GetTypeKey(), FrameEvent::StaticTypeKey());
    // The base class keeps its own cached key.
    EXPECT_EQ(FrameEvent().GetTypeKey(), FrameEvent::StaticTypeKey());
}

TEST(EventTypes, DefaultsOfTheFields) {
    BaseEvent base;
    EXPECT_EQ(base.reserved, 0);
    EXPECT_EQ(base.target, nullptr);
    EXPECT_EQ(base.delay, 0.0f);
    EXPECT_EQ(base.GetTypeId(), 0u);
    GameGUIMessageEvent message;
    EXPECT_FLOAT_EQ(message.duration, 0.5f);
    EXPECT_EQ(message.mode, 0);
    InputEvent input;
    EXPECT_EQ(input.mouse.x, 0.0f);
    EXPECT_EQ(input.mouse.y, 0.0f);
    for (uint8_t byte : input.sdl_event.bytes) EXPECT_EQ(byte, 0);
    ResumeGameEvent paused(false);
    EXPECT_FALSE(paused.resume);
    ItemPickupEvent pickup(1, 25.0f);
    EXPECT_EQ(pickup.item_kind, 1);
    EXPECT_FLOAT_EQ(pickup.amount, 25.0f);
    FrameEvent frame(0.25f, 3.5f, nullptr, nullptr);
    EXPECT_FLOAT_EQ(frame.dt, 0.25f);
    EXPECT_FLOAT_EQ(frame.time, 3.5f);
}

namespace {
class IdProbeA : public Entity {
    VELMORA_ENTITY_TYPE("IdProbeA")
};
class IdProbeB : public Entity {
    VELMORA_ENTITY_TYPE("IdProbeB")
};
class IdEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(IdEvent, "IdEvent")
};
}  // namespace

TEST(EventTypes, OneCounterForEventsAndEntitiesInOrderOfFirstUse) {
    IdProbeB b;
    IdEvent e;
    IdProbeA a;
    const uint32_t first = b.GetTypeId();
    const uint32_t second = e.GetTypeId();
    const uint32_t third = a.GetTypeId();
    EXPECT_GE(first, 1u);
    EXPECT_EQ(second, first + 1);
    EXPECT_EQ(third, first + 2);
    // Stable once assigned, for every object of the class.
    EXPECT_EQ(IdProbeB().GetTypeId(), first);
    EXPECT_EQ(IdEvent().GetTypeId(), second);
    EXPECT_EQ(NewTypeId(), first + 3);
}

TEST(Sdl12EventLayout, KeyCodeAtByteEight) {
    Sdl12Event e;
    std::memset(&e, 0, sizeof(e));
    e.key.type = SDL12_KEYDOWN;
    e.key.keysym.sym = 283;
    EXPECT_EQ(e.bytes[0], 2);
    int32_t sym = 0;
    std::memcpy(&sym, e.bytes + 8, 4);
    EXPECT_EQ(sym, 283);
}

TEST(Sdl12EventLayout, MotionAndButtonFields) {
    Sdl12Event e;
    std::memset(&e, 0, sizeof(e));
    e.motion.type = SDL12_MOUSEMOTION;
    e.motion.x = 0x0102;
    e.motion.yrel = -2;
    EXPECT_EQ(e.bytes[4], 0x02);
    EXPECT_EQ(e.bytes[5], 0x01);
    EXPECT_EQ(e.bytes[10], 0xFE);
    EXPECT_EQ(e.bytes[11], 0xFF);
    std::memset(&e, 0, sizeof(e));
    e.button.type = SDL12_MOUSEBUTTONDOWN;
    e.button.button = 3;
    e.button.y = 7;
    EXPECT_EQ(e.bytes[2], 3);
    EXPECT_EQ(e.bytes[6], 7);
    EXPECT_EQ(SDL12_KEYUP, 3);
    EXPECT_EQ(SDL12_MOUSEBUTTONUP, 6);
    EXPECT_EQ(SDL12_QUIT, 12);
    EXPECT_EQ(sizeof(Sdl12Event), 20u);
}
