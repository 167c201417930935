#pragma once
// The event classes of the game, one per kind of message. Each adds its fields behind
// those of BaseEvent and carries its type-name string, which is exactly its class name
// (the collision templates included: "CollisionEvent<PhysicsStaticGeometry>").
//
// Classes of other subsystems that travel in events are only named here.

#include <cstdint>
#include <string>

#include "events/baseevent.h"
#include "events/eventpool.h"
#include "events/sdl12event.h"
#include "math/hvector2.h"
#include "math/hvector3.h"

class SceneManager;
class Window;
class Trigger;
class PhysicsObject;
class PhysicsStaticGeometry;
class PhysicsCharacter;
class PhysicsRayCast;

// Posted by main once a frame.
class FrameEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(FrameEvent, "FrameEvent")
public:
    FrameEvent() = default;
    FrameEvent(float frame_dt, float frame_time, SceneManager* manager, Window* frame_window)
        : dt(frame_dt), time(frame_time), scene_manager(manager), window(frame_window) {}
    float dt = 0.0f;    // seconds since the last frame
    float time = 0.0f;  // seconds since SDL start
    SceneManager* scene_manager = nullptr;
    Window* window = nullptr;
};

// Posted by the SceneManager's frame handler for each key, button and motion event.
class InputEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(InputEvent, "InputEvent")
public:
    InputEvent() { sdl_event = Sdl12Event{}; }
    explicit InputEvent(const Sdl12Event& event, HVector2 position = HVector2(0.0f, 0.0f))
        : sdl_event(event), mouse(position) {}
    Sdl12Event sdl_event;  // the SDL 1.2 record; first byte is the type
    HVector2 mouse;        // virtual screen position for mouse motion, else (0, 0)
};

// Has its type name; nothing sends or receives it.
class PlayerControllerEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(PlayerControllerEvent, "PlayerControllerEvent")
};

class DeleteEntityEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(DeleteEntityEvent, "DeleteEntityEvent")
public:
    DeleteEntityEvent() = default;
    explicit DeleteEntityEvent(Entity* doomed) : entity(doomed) {}
    Entity* entity = nullptr;
};

class LoadGameEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(LoadGameEvent, "LoadGameEvent")
public:
    LoadGameEvent() = default;
    explicit LoadGameEvent(const std::string& scene_path) : path(scene_path) {}
    std::string path;  // a scene document
};

// True resumes the world, false pauses it.
class ResumeGameEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(ResumeGameEvent, "ResumeGameEvent")
public:
    ResumeGameEvent() = default;
    explicit ResumeGameEvent(bool resume_flag) : resume(resume_flag) {}
    bool resume = false;
};

class PlayerActionEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(PlayerActionEvent, "PlayerActionEvent")
public:
    PlayerActionEvent() = default;
    PlayerActionEvent(int32_t action_kind, Entity* action_source)
        : kind(action_kind), source(action_source) {}
    int32_t kind = 0;  // the Player sends 0
    Entity* source = nullptr;
};

class TriggerActivationEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(TriggerActivationEvent, "TriggerActivationEvent")
public:
    TriggerActivationEvent() = default;
    TriggerActivationEvent(Trigger* source, int32_t activation_kind)
        : trigger(source), kind(activation_kind) {}
    Trigger* trigger = nullptr;
    int32_t kind = 0;  // 0 switched on, 1 switched off
};

// What the collision manager reports to each of the two objects of a pair. Posted by the
// thousand a frame in a crowd: its memory comes from EventPool.
class GenericCollisionEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(GenericCollisionEvent, "GenericCollisionEvent")
    VELMORA_POOLED_EVENT
public:
    GenericCollisionEvent() = default;
    PhysicsObject* self = nullptr;   // the object the event is for
    PhysicsObject* other = nullptr;  // the object it met
    HVector2 normal;
    HVector2 point;
    float distance = 0.0f;
};

template <class T>
struct CollisionEventName;
template <>
struct CollisionEventName<PhysicsStaticGeometry> {
    static constexpr const char* value = "CollisionEvent<PhysicsStaticGeometry>";
};
template <>
struct CollisionEventName<PhysicsCharacter> {
    static constexpr const char* value = "CollisionEvent<PhysicsCharacter>";
};
template <>
struct CollisionEventName<PhysicsRayCast> {
    static constexpr const char* value = "CollisionEvent<PhysicsRayCast>";
};

// The per-class collision events: the fields of GenericCollisionEvent, a name of their own.
template <class T>
class CollisionEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(CollisionEvent, CollisionEventName<T>::value)
    VELMORA_POOLED_EVENT
public:
    CollisionEvent() = default;
    PhysicsObject* self = nullptr;
    PhysicsObject* other = nullptr;
    HVector2 normal;
    HVector2 point;
    float distance = 0.0f;
};

class HurtEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(HurtEvent, "HurtEvent")
public:
    HurtEvent() = default;
    explicit HurtEvent(float change) : amount(change) {}
    float amount = 0.0f;  // change of health, negative for damage
};

class GameGUIMessageEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(GameGUIMessageEvent, "GameGUIMessageEvent")
public:
    GameGUIMessageEvent() = default;
    GameGUIMessageEvent(int32_t message_mode, const std::string& message)
        : mode(message_mode), text(message) {}
    float duration = 0.5f;  // read by nobody
    int32_t mode = 0;       // 0 shows the text
    std::string text;
};

class HUDEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(HUDEvent, "HUDEvent")
public:
    HUDEvent() = default;
    HUDEvent(int32_t hud_kind, float hud_value) : kind(hud_kind), value(hud_value) {}
    int32_t kind = 0;  // 0 first value, 1 second value of the HUD
    float value = 0.0f;
};

class MiniMapObjectEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(MiniMapObjectEvent, "MiniMapObjectEvent")
public:
    MiniMapObjectEvent() = default;
    uint32_t object_id = 0;  // the sender's GetTypeId()
    HVector3 position;       // map x, map y, orientation in degrees
    float size = 0.0f;       // every sender passes 30
    int32_t kind = 0;        // meaning per sender
};

class GUIEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(GUIEvent, "GUIEvent")
public:
    GUIEvent() = default;
    GUIEvent(int32_t gui_kind, const std::string& widget_name)
        : kind(gui_kind), name(widget_name) {}
    int32_t kind = 0;  // 1 button clicked, 2 hide the menu cursor, 3 show it
    std::string name;  // the widget's name; empty for kinds 2 and 3
};

class GUIListEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(GUIListEvent, "GUIListEvent")
public:
    GUIListEvent() = default;
    std::string list_name;
    int32_t index = 0;
    std::string item;
};

class GUIFileWindowEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(GUIFileWindowEvent, "GUIFileWindowEvent")
public:
    GUIFileWindowEvent() = default;
    std::string window_name;  // the widget's name
    std::string file;         // the chosen file name
    std::string path;         // folder and file name together
};

class GUIVideoEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(GUIVideoEvent, "GUIVideoEvent")
public:
    GUIVideoEvent() = default;
    std::string name;
    int32_t state = 0;
};

class CameraModeEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(CameraModeEvent, "CameraModeEvent")
public:
    CameraModeEvent() = default;
    explicit CameraModeEvent(int32_t camera_mode) : mode(camera_mode) {}
    int32_t mode = 0;  // 0, 1, 2
};

class ItemPickupEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(ItemPickupEvent, "ItemPickupEvent")
public:
    ItemPickupEvent() = default;
    ItemPickupEvent(int32_t kind, float pickup_amount) : item_kind(kind), amount(pickup_amount) {}
    int32_t item_kind = 0;  // 0 HEALTH, 1 TARGET
    float amount = 0.0f;
};
