#pragma once
// BaseEvent: the root of every event that travels through the EventManager.
//
// A sender allocates an event with new, fills it and posts it; from then on the
// EventManager owns it and deletes it at the end of the update that dispatched it.
// Handlers must neither delete nor keep the event they are given.
//
// An event's identity is what its GetTypeName() returns (FrameEvent's is "FrameEvent"); it
// is what dispatch matches with the handler's GetEventTypeName(), so a class derived from
// another event that reports a name of its own reaches its own handlers, not its base's.
// Every class declares its name with VELMORA_EVENT_TYPE. The numeric
// GetTypeId() is separate: taken on first use from the one process-wide counter that the
// entity classes share, so ids are unique across events and entities and start at 1.

#include <cstdint>
#include <string>
#include <typeinfo>

class Entity;

// The next id of the process-wide type-id counter (the first call returns 1).
uint32_t NewTypeId();

// The one stable string object for `name`: equal names give the same pointer. Dispatch
// compares these pointers instead of the strings themselves.
const std::string* InternTypeName(const std::string& name);

class BaseEvent {
public:
    BaseEvent() = default;
    virtual ~BaseEvent() = default;

    virtual std::string GetTypeName() const { return "BaseEvent"; }
    // 0 on the base; each event class numbers itself on first call.
    virtual uint32_t GetTypeId() const { return 0; }
    // The interned GetTypeName(), the key of dispatch: always InternTypeName(GetTypeName()).
    // VELMORA_EVENT_TYPE caches it for objects of exactly its class; an override must keep
    // the equality.
    virtual const std::string* GetTypeKey() const { return InternTypeName(GetTypeName()); }

    int32_t reserved = 0;      // read by no part of dispatch
    Entity* target = nullptr;  // 0 broadcasts; otherwise only the target's handlers run
    float fire_time = 0.0f;    // set on posting: manager time + delay
    float delay = 0.0f;        // seconds; above 0 sends the event through the delayed list
};

// Declares the identity of an event class: its static type-name string, its lazily
// numbered static id, and the three virtual operations that report them. The cached key
// serves only objects whose class is ClassName itself: a subclass may override
// GetTypeName() without this macro, and its key must then come from that name.
#define VELMORA_EVENT_TYPE(ClassName, TypeNameText)                \
public:                                                            \
    inline static const std::string type_name = TypeNameText;      \
    inline static uint32_t type_id = 0;                            \
    std::string GetTypeName() const override { return type_name; } \
    uint32_t GetTypeId() const override {                          \
        if (type_id == 0) type_id = NewTypeId();                   \
        return type_id;                                            \
    }                                                              \
    const std::string* GetTypeKey() const override {               \
        static const std::string* key = InternTypeName(type_name); \
        if (typeid(*this) == typeid(ClassName)) return key;        \
        return InternTypeName(GetTypeName());                      \
    }                                                              \
    static const std::string* StaticTypeKey() {                    \
        static const std::string* key = InternTypeName(type_name); \
        return key;                                                \
    }
