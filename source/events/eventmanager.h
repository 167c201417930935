#pragma once
// The event core: EventHandler (one subscription), EventListener (the second base of
// every entity that sends or receives events) and EventManager (the queue itself).
//
// The SceneManager owns the one EventManager of the game. Nothing is dispatched when it is
// posted: an event waits in `next` (or, with a positive delay, in `delayed`) and goes out
// in a later Update, once a frame. Update walks the handlers in registration order and,
// for each, the events of the round in order of arrival: with handlers H1(A, B) and
// H2(A, B) the calls are H1(A), H1(B), H2(A), H2(B). The round is grouped by type once, so
// a handler reads only the events of its own type. An event posted between two updates
// is delivered by the second update after the post; one posted by a handler inside an
// update is delivered by the next update.
//
// Ownership: the manager owns posted events and its handler objects; it frees both.
// Owners of handlers are plain pointers: an entity drops its handlers when its listener
// base is destroyed.

#include <cstdint>
#include <list>
#include <string>
#include <type_traits>
#include <vector>

#include "events/baseevent.h"
#include "events/eventpool.h"

class EventManager;

// One subscription: EventManager::handlers holds these. Dispatch calls Invoke for the
// events whose GetTypeName() equals this handler's GetEventTypeName(); any handler class
// may be added, not only the member-function template below.
class EventHandler {
public:
    virtual ~EventHandler() = default;
    // Calls the owner's member function with the event; its result.
    virtual bool Invoke(BaseEvent* event) = 0;
    virtual std::string GetEventTypeName() const = 0;
    virtual bool IsOwner(const void* entity) const = 0;

    bool removed = false;  // dropped during dispatch, freed after it

private:
    friend class EventManager;
    // InternTypeName(GetEventTypeName()), set by the manager that holds the handler.
    const std::string* type_key = nullptr;
};

// The older name of the handler base.
using EventHandlerBase = EventHandler;

// One subscription of a receiving class to one event type, calling a member function. The
// owner is kept as its Entity* (the pointer events carry as `target`) and as its own class
// for the call.
template <class OwnerT, class EventT>
class EventHandlerOf : public EventHandler {
public:
    typedef bool (OwnerT::*Method)(EventT*);

    EventHandlerOf(OwnerT* handler_owner, Method handler_method)
        : method(handler_method),
          owner(handler_owner),
          owner_entity(static_cast<Entity*>(handler_owner)),
          event_type_name(EventT::type_name) {}

    bool Invoke(BaseEvent* event) override { return (owner->*method)(static_cast<EventT*>(event)); }
    std::string GetEventTypeName() const override { return event_type_name; }
    bool IsOwner(const void* entity) const override {
        return entity != nullptr && entity == static_cast<const void*>(owner_entity);
    }

    Method method;
    OwnerT* owner;
    Entity* owner_entity;
    std::string event_type_name;  // copy of EventT::type_name taken at construction
};

// Second base of every entity class that sends or receives events.
class EventListener {
public:
    EventListener() = default;
    // Drops every handler of this entity, when it was attached.
    virtual ~EventListener();

    // Hands the event to the manager with `delay` seconds. Without a manager (never
    // attached) the event is dropped: it is deleted here and never delivered.
    void Post(BaseEvent* event, float delay = 0.0f);
    // The same, addressed to `target` when it is not 0.
    void PostTo(BaseEvent* event, Entity* target, float delay = 0.0f);

    EventManager* event_manager = nullptr;  // not owned; 0 until bound
    Entity* owner = nullptr;                // the entity itself; 0 until bound
};

class EventManager {
public:
    // A queue of events; its nodes come from EventPool.
    using EventQueue = std::list<BaseEvent*, EventPoolAllocator<BaseEvent*>>;

    EventManager();
    virtual ~EventManager();

    EventManager(const EventManager&) = delete;
    EventManager& operator=(const EventManager&) = delete;

    // Subscribes `owner`'s `method` to EventT: AddHandler<FrameEvent>(this, &Door::OnFrame).
    // Duplicates are allowed and called twice. Attaches the owner too. The method may belong
    // to a base class of the owner.
    template <class EventT, class OwnerT>
    void AddHandler(OwnerT* owner, std::type_identity_t<bool (OwnerT::*)(EventT*)> method) {
        AddHandler(new EventHandlerOf<OwnerT, EventT>(owner, method));
        Attach(owner);
    }
    // The same with both types taken from the arguments: AddHandler(this, &Door::OnFrame).
    template <class OwnerT, class EventT>
    void AddHandler(OwnerT* owner, bool (OwnerT::*method)(EventT*)) {
        AddHandler(new EventHandlerOf<OwnerT, EventT>(owner, method));
        Attach(owner);
    }
    // Takes ownership of a ready-made handler and appends it; it receives the events whose
    // GetTypeName() equals its GetEventTypeName().
    void AddHandler(EventHandler* handler);

    // Sets the owner's listener fields, so that it can post without handlers.
    template <class OwnerT>
    void Attach(OwnerT* owner) {
        AttachListener(static_cast<EventListener*>(owner), static_cast<Entity*>(owner));
    }
    void AttachListener(EventListener* listener, Entity* owner);

    // Removes every handler owned by `owner`, keeping the order of the rest.
    void RemoveHandlers(const void* owner);

    // Queues the event (see the header comment). A null event is ignored.
    void Post(BaseEvent* event, float delay = 0.0f);

    // Delivers the round; false as soon as a handler returns false (the events of the
    // round then stay queued, the program is leaving).
    bool Update(float now);

    float GetTime() const { return time; }
    size_t HandlerCount() const { return handlers.size(); }
    size_t NextCount() const { return next->size(); }
    size_t DelayedCount() const { return delayed->size(); }

    std::vector<EventHandler*> handlers;  // owned, registration order
    float time = 0.0f;                    // time of the last Update
    EventQueue* current;                  // owned: the round in progress
    EventQueue* next;                     // owned: the next round
    EventQueue* delayed;                  // owned: waiting for fire_time

private:
    // The events of one type in the round: `count` entries of round_events from `begin`.
    struct RoundType {
        const std::string* key;
        uint32_t begin;
        uint32_t count;
    };

    // Groups `current` by type key into round_events, keeping the order of arrival within
    // each type, so that each handler reads only the events of its own type.
    void IndexRound();
    const RoundType* FindRoundType(const std::string* key) const;

    bool dispatching = false;
    std::vector<uint32_t> round_type_of;   // per event of `current`: its RoundType
    std::vector<BaseEvent*> round_events;  // `current` grouped by type
    std::vector<RoundType> round_types;    // in order of first arrival
    std::vector<uint32_t> round_table;     // open addressing: RoundType index + 1, 0 empty
    uint32_t round_table_shift = 64;
};
