// Delivery order, delays, targets and ownership of the event queue.

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "events/eventmanager.h"
#include "events/events.h"
#include "scene/entity.h"

namespace {

std::vector<std::string> calls;
int destroyed = 0;

class CountedEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(CountedEvent, "CountedEvent")
public:
    explicit CountedEvent(std::string event_tag = "") : tag(std::move(event_tag)) {}
    ~CountedEvent() override { ++destroyed; }
    std::string tag;
};

class OtherEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(OtherEvent, "OtherEvent")
public:
    explicit OtherEvent(std::string event_tag = "") : tag(std::move(event_tag)) {}
    ~OtherEvent() override { ++destroyed; }
    std::string tag;
};

class Receiver : public Entity, public EventListener {
public:
    explicit Receiver(std::string receiver_tag) : tag(std::move(receiver_tag)) {}
    bool OnCounted(CountedEvent* e) {
        calls.push_back(tag + "(" + e->tag + ")");
        if (repost) Post(new CountedEvent(e->tag + "'"));
        return result;
    }
    bool OnOther(OtherEvent* e) {
        calls.push_back(tag + "<" + e->tag + ">");
        return true;
    }
    bool OnCountedAddsHandler(CountedEvent* e) {
        calls.push_back(tag + "+(" + e->tag + ")");
        if (manager_to_grow != nullptr) {
            manager_to_grow->AddHandler(this, &Receiver::OnCounted);
            manager_to_grow = nullptr;
        }
        return true;
    }
    bool OnCountedRemovesOther(CountedEvent* e) {
        calls.push_back(tag + "-(" + e->tag + ")");
        if (victim != nullptr) event_manager->RemoveHandlers(victim);
        return true;
    }
    std::string tag;
    bool result = true;
    bool repost = false;
    EventManager* manager_to_grow = nullptr;
    Entity* victim = nullptr;
};

class EventManagerTest : public testing::Test {
protected:
    void SetUp() override {
        calls.clear();
        destroyed = 0;
    }
};

std::string Joined() {
    std::string out;
    for (const std::string& c : calls) out += (out.empty() ? "" : " ") + c;
    return out;
}

}  // namespace

TEST_F(EventManagerTest, HandlerMajorNesting) {
    EventManager m;
    Receiver h1("H1"), h2("H2");
    m.AddHandler(&h1, &Receiver::OnCounted);
    m.AddHandler(&h2, &Receiver::OnCounted);
    m.Post(new CountedEvent("A"));
    m.Post(new CountedEvent("B"));
    EXPECT_TRUE(m.Update(1.0f));
    EXPECT_EQ(Joined(), "");
    EXPECT_TRUE(m.Update(2.0f));
    EXPECT_EQ(Joined(), "H1(A) H1(B) H2(A) H2(B)");
    EXPECT_EQ(destroyed, 2);
}

TEST_F(EventManagerTest, PostBetweenUpdatesGoesOutInTheSecondUpdate) {
    EventManager m;
    Receiver r("R");
    m.AddHandler(&r, &Receiver::OnCounted);
    EXPECT_TRUE(m.Update(0.5f));
    m.Post(new CountedEvent("x"), 0.0f);
    EXPECT_EQ(m.NextCount(), 1u);
    EXPECT_TRUE(m.Update(1.0f));
    EXPECT_TRUE(calls.empty());
    EXPECT_TRUE(m.Update(2.0f));
    EXPECT_EQ(Joined(), "R(x)");
    EXPECT_TRUE(m.Update(3.0f));
    EXPECT_EQ(calls.size(), 1u);
}

TEST_F(EventManagerTest, DelayOfTwoAndAHalf) {
    EventManager m;
    Receiver r("R");
    m.AddHandler(&r, &Receiver::OnCounted);
    EXPECT_TRUE(m.Update(10.0f));
    CountedEvent* e = new CountedEvent("late");
    m.Post(e, 2.5f);
    EXPECT_FLOAT_EQ(e->delay, 2.5f);
    EXPECT_FLOAT_EQ(e->fire_time, 12.5f);
    EXPECT_EQ(m.DelayedCount(), 1u);
    EXPECT_EQ(m.NextCount(), 0u);
    EXPECT_TRUE(m.Update(11.0f));
    EXPECT_TRUE(m.Update(12.49f));
    EXPECT_TRUE(calls.empty());
    EXPECT_TRUE(m.Update(12.5f));
    EXPECT_EQ(Joined(), "R(late)");
    EXPECT_EQ(m.DelayedCount(), 0u);
}

TEST_F(EventManagerTest, DelayedSkipHoldsTheNewFrontBackOneUpdate) {
    EventManager m;
    Receiver r("R");
    m.AddHandler(&r, &Receiver::OnCounted);
    m.Post(new CountedEvent("A"), 1.0f);
    m.Post(new CountedEvent("B"), 1.0f);
    m.Post(new CountedEvent("C"), 1.0f);
    EXPECT_EQ(m.DelayedCount(), 3u);
    EXPECT_TRUE(m.Update(5.0f));
    EXPECT_EQ(Joined(), "R(A) R(C)");
    EXPECT_EQ(m.DelayedCount(), 1u);
    calls.clear();
    EXPECT_TRUE(m.Update(6.0f));
    EXPECT_EQ(Joined(), "R(B)");
    EXPECT_EQ(destroyed, 3);
}

TEST_F(EventManagerTest, NonPositiveDelayKeepsTheEventsOwn) {
    EventManager m;
    CountedEvent* e = new CountedEvent("own");
    e->delay = 3.0f;
    m.Post(e, -1.0f);
    EXPECT_FLOAT_EQ(e->delay, 3.0f);
    EXPECT_FLOAT_EQ(e->fire_time, 3.0f);
    EXPECT_EQ(m.DelayedCount(), 1u);
    CountedEvent* plain = new CountedEvent("plain");
    m.Post(plain, 0.0f);
    EXPECT_FLOAT_EQ(plain->delay, 0.0f);
    EXPECT_EQ(m.NextCount(), 1u);
}

TEST_F(EventManagerTest, TargetWithoutAHandlerForTheTypeIsDroppedWithoutACall) {
    EventManager m;
    Receiver a("A"), b("B");
    m.AddHandler(&a, &Receiver::OnOther);
    m.AddHandler(&b, &Receiver::OnCounted);
    CountedEvent* e = new CountedEvent("t");
    e->target = &a;
    m.Post(e);
    EXPECT_TRUE(m.Update(1.0f));
    EXPECT_TRUE(m.Update(2.0f));
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(destroyed, 1);
}

TEST_F(EventManagerTest, TargetReachesOnlyItsOwner) {
    EventManager m;
    Receiver a("A"), b("B");
    m.AddHandler(&a, &Receiver::OnCounted);
    m.AddHandler(&b, &Receiver::OnCounted);
    a.PostTo(new CountedEvent("to-b"), &b);
    EXPECT_TRUE(m.Update(1.0f));
    EXPECT_TRUE(m.Update(2.0f));
    EXPECT_EQ(Joined(), "B(to-b)");
}

TEST_F(EventManagerTest, HandlerPostingItsOwnTypeHasNoRecursion) {
    EventManager m;
    Receiver r("R");
    r.repost = true;
    m.AddHandler(&r, &Receiver::OnCounted);
    m.Post(new CountedEvent("e"));
    EXPECT_TRUE(m.Update(1.0f));
    EXPECT_TRUE(m.Update(2.0f));
    EXPECT_EQ(Joined(), "R(e)");
    EXPECT_EQ(m.NextCount(), 0u);  // swapped into the next round already
    EXPECT_TRUE(m.Update(3.0f));
    EXPECT_EQ(Joined(), "R(e) R(e')");
}

TEST_F(EventManagerTest, HandlerPostsAndBetweenUpdatePostsGoOutTogetherInPostingOrder) {
    EventManager m;
    Receiver r("R");
    r.repost = true;
    m.AddHandler(&r, &Receiver::OnCounted);
    m.Post(new CountedEvent("a"));
    EXPECT_TRUE(m.Update(1.0f));
    EXPECT_TRUE(m.Update(2.0f));  // delivers a, which posts a'
    r.repost = false;
    m.Post(new CountedEvent("b"));  // between updates: after a' in the same list
    EXPECT_TRUE(m.Update(3.0f));
    EXPECT_EQ(Joined(), "R(a) R(a')");
    EXPECT_TRUE(m.Update(4.0f));
    EXPECT_EQ(Joined(), "R(a) R(a') R(b)");
}

TEST_F(EventManagerTest, DestroyedTargetLeavesAnEventThatIsFreed) {
    EventManager m;
    Receiver* doomed = new Receiver("D");
    Receiver other("O");
    m.AddHandler(doomed, &Receiver::OnCounted);
    m.AddHandler(&other, &Receiver::OnCounted);
    EXPECT_EQ(m.HandlerCount(), 2u);
    CountedEvent* e = new CountedEvent("gone");
    e->target = doomed;
    m.Post(e);
    delete doomed;
    EXPECT_EQ(m.HandlerCount(), 1u);
    EXPECT_TRUE(m.Update(1.0f));
    EXPECT_TRUE(m.Update(2.0f));
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(destroyed, 1);
}

TEST_F(EventManagerTest, FalseStopsAllLaterHandlersOfTheRound) {
    EventManager m;
    Receiver h1("H1"), h2("H2");
    h1.result = false;
    m.AddHandler(&h1, &Receiver::OnCounted);
    m.AddHandler(&h2, &Receiver::OnCounted);
    m.Post(new CountedEvent("A"));
    m.Post(new CountedEvent("B"));
    EXPECT_TRUE(m.Update(1.0f));
    EXPECT_FALSE(m.Update(2.0f));
    EXPECT_EQ(Joined(), "H1(A)");
    EXPECT_EQ(destroyed, 0);  // the round stays queued; the manager frees it at the end
}

TEST_F(EventManagerTest, UnattachedListenerLosesTheEvent) {
    EventManager m;
    Receiver listening("L");
    m.AddHandler(&listening, &Receiver::OnCounted);
    Receiver loner("X");
    EXPECT_EQ(loner.event_manager, nullptr);
    loner.Post(new CountedEvent("lost"));
    EXPECT_EQ(m.NextCount(), 0u);
    EXPECT_TRUE(m.Update(1.0f));
    EXPECT_TRUE(m.Update(2.0f));
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(destroyed, 1);
}

TEST_F(EventManagerTest, AttachLetsAnEntityPostWithoutHandlers) {
    EventManager m;
    Receiver listening("L"), sender("S");
    m.AddHandler(&listening, &Receiver::OnCounted);
    m.Attach(&sender);
    EXPECT_EQ(sender.event_manager, &m);
    EXPECT_EQ(sender.owner, static_cast<Entity*>(&sender));
    EXPECT_EQ(m.HandlerCount(), 1u);
    sender.Post(new CountedEvent("s"));
    EXPECT_TRUE(m.Update(1.0f));
    EXPECT_TRUE(m.Update(2.0f));
    EXPECT_EQ(Joined(), "L(s)");
}

TEST_F(EventManagerTest, DuplicateSubscriptionsAreCalledTwice) {
    EventManager m;
    Receiver r("R");
    m.AddHandler(&r, &Receiver::OnCounted);
    m.AddHandler(&r, &Receiver::OnCounted);
    m.Post(new CountedEvent("d"));
    m.Update(1.0f);
    m.Update(2.0f);
    EXPECT_EQ(Joined(), "R(d) R(d)");
}

TEST_F(EventManagerTest, RemoveHandlersKeepsTheOrderOfTheRest) {
    EventManager m;
    Receiver a("A"), b("B"), c("C");
    m.AddHandler(&a, &Receiver::OnCounted);
    m.AddHandler(&b, &Receiver::OnCounted);
    m.AddHandler(&c, &Receiver::OnCounted);
    m.AddHandler(&b, &Receiver::OnOther);
    m.RemoveHandlers(static_cast<Entity*>(&b));
    ASSERT_EQ(m.HandlerCount(), 2u);
    m.Post(new CountedEvent("e"));
    m.Post(new OtherEvent("o"));
    m.Update(1.0f);
    m.Update(2.0f);
    EXPECT_EQ(Joined(), "A(e) C(e)");
}

TEST_F(EventManagerTest, MixedTypesGoOnlyToTheirHandlers) {
    EventManager m;
    Receiver a("A");
    m.AddHandler(&a, &Receiver::OnOther);
    m.AddHandler(&a, &Receiver::OnCounted);
    m.Post(new CountedEvent("1"));
    m.Post(new OtherEvent("2"));
    m.Post(new CountedEvent("3"));
    m.Update(1.0f);
    m.Update(2.0f);
    EXPECT_EQ(Joined(), "A<2> A(1) A(3)");
    EXPECT_EQ(destroyed, 3);
}

TEST_F(EventManagerTest, HandlerAddedDuringDispatchWaitsForTheNextRound) {
    EventManager m;
    Receiver grower("G");
    grower.manager_to_grow = &m;
    m.AddHandler(&grower, &Receiver::OnCountedAddsHandler);
    m.Post(new CountedEvent("1"));
    m.Update(1.0f);
    m.Update(2.0f);
    EXPECT_EQ(Joined(), "G+(1)");
    m.Post(new CountedEvent("2"));
    m.Update(3.0f);
    m.Update(4.0f);
    EXPECT_EQ(Joined(), "G+(1) G+(2) G(2)");
}

TEST_F(EventManagerTest, HandlersRemovedDuringDispatchAreSkippedSafely) {
    EventManager m;
    Receiver remover("R"), victim("V");
    remover.victim = &victim;
    m.AddHandler(&remover, &Receiver::OnCountedRemovesOther);
    m.AddHandler(&victim, &Receiver::OnCounted);
    m.Post(new CountedEvent("1"));
    m.Update(1.0f);
    m.Update(2.0f);
    EXPECT_EQ(Joined(), "R-(1)");
    EXPECT_EQ(m.HandlerCount(), 1u);
}

TEST_F(EventManagerTest, UpdateStoresTheTimeThatPostingReads) {
    EventManager m;
    EXPECT_TRUE(m.Update(7.25f));
    EXPECT_FLOAT_EQ(m.GetTime(), 7.25f);
    CountedEvent* e = new CountedEvent();
    m.Post(e, 1.0f);
    EXPECT_FLOAT_EQ(e->fire_time, 8.25f);
}

TEST_F(EventManagerTest, NullEventIsIgnored) {
    EventManager m;
    m.Post(nullptr);
    Receiver r("R");
    r.Post(nullptr);
    EXPECT_EQ(m.NextCount(), 0u);
    EXPECT_EQ(m.DelayedCount(), 0u);
}

TEST_F(EventManagerTest, HandlerKeepsACopyOfTheTypeName) {
    Receiver r("R");
    EventHandlerOf<Receiver, CountedEvent> handler(&r, &Receiver::OnCounted);
    EXPECT_EQ(handler.GetEventTypeName(), "CountedEvent");
    EXPECT_TRUE(handler.IsOwner(static_cast<Entity*>(&r)));
    EXPECT_FALSE(handler.IsOwner(nullptr));
    Receiver s("S");
    EXPECT_FALSE(handler.IsOwner(static_cast<Entity*>(&s)));
    CountedEvent e("direct");
    EXPECT_TRUE(handler.Invoke(&e));
    EXPECT_EQ(Joined(), "R(direct)");
}

namespace {

// A frame event of a kind of its own: it reports a name of its own without
// VELMORA_EVENT_TYPE, and a handler typed on it takes that name.
class ReplayFrameEvent : public FrameEvent {
public:
    inline static const std::string type_name = "ReplayFrameEvent";
    std::string GetTypeName() const override { return type_name; }
};

class FrameReceiver : public Entity, public EventListener {
public:
    bool OnFrame(FrameEvent* e) {
        calls.push_back("frame(" + std::to_string(static_cast<int>(e->dt)) + ")");
        return true;
    }
    bool OnReplay(ReplayFrameEvent* e) {
        calls.push_back("replay(" + std::to_string(static_cast<int>(e->dt)) + ")");
        return true;
    }
};

// A handler written against the handler base alone: it names its event type by string.
class NamedHurtHandler : public EventHandler {
public:
    NamedHurtHandler(std::string type, Entity* entity, std::string handler_tag)
        : type_name(std::move(type)), owner(entity), tag(std::move(handler_tag)) {}
    bool Invoke(BaseEvent* event) override {
        calls.push_back(tag + "(" +
                        std::to_string(static_cast<int>(static_cast<HurtEvent*>(event)->amount)) +
                        ")");
        return true;
    }
    std::string GetEventTypeName() const override { return type_name; }
    bool IsOwner(const void* entity) const override {
        return entity != nullptr && entity == static_cast<const void*>(owner);
    }
    std::string type_name;
    Entity* owner;
    std::string tag;
};

HurtEvent* Hurt(float amount, Entity* target = nullptr) {
    HurtEvent* e = new HurtEvent(amount);
    e->target = target;
    return e;
}

}  // namespace

TEST_F(EventManagerTest, SubclassWithItsOwnTypeNameReachesItsOwnHandlersOnly) {
    EventManager m;
    FrameReceiver r;
    m.AddHandler(&r, &FrameReceiver::OnFrame);
    m.AddHandler(&r, &FrameReceiver::OnReplay);
    ReplayFrameEvent* replay = new ReplayFrameEvent();
    replay->dt = 1.0f;
    m.Post(replay);
    m.Post(new FrameEvent(2.0f, 0.0f, nullptr, nullptr));
    EXPECT_TRUE(m.Update(1.0f));
    EXPECT_TRUE(m.Update(2.0f));
    EXPECT_EQ(Joined(), "frame(2) replay(1)");
}

TEST_F(EventManagerTest, HandlerAddedThroughTheBaseIsCalledForTheTypeItNames) {
    EventManager m;
    Receiver r("R"), other("O");
    m.Attach(&r);
    m.AddHandler(new NamedHurtHandler("HurtEvent", &r, "hurt"));
    m.AddHandler(new NamedHurtHandler("FrameEvent", &r, "wrong"));
    ASSERT_EQ(m.HandlerCount(), 2u);
    EXPECT_EQ(m.handlers[0]->GetEventTypeName(), "HurtEvent");
    r.Post(Hurt(-5.0f));
    r.Post(new CountedEvent("c"));
    r.Post(Hurt(-7.0f, &other));  // someone else's
    r.Post(Hurt(-10.0f, &r));
    EXPECT_TRUE(m.Update(1.0f));
    EXPECT_TRUE(m.Update(2.0f));
    EXPECT_EQ(Joined(), "hurt(-5) hurt(-10)");
    EXPECT_EQ(destroyed, 1);
}

TEST_F(EventManagerTest, HandlerPutIntoTheVectorByHandIsMatchedByItsName) {
    EventManager m;
    Receiver r("R");
    m.Attach(&r);
    m.handlers.push_back(new NamedHurtHandler("HurtEvent", &r, "hand"));
    r.Post(Hurt(-3.0f));
    EXPECT_TRUE(m.Update(1.0f));
    EXPECT_TRUE(m.Update(2.0f));
    EXPECT_EQ(Joined(), "hand(-3)");
}

namespace {

class LoudReceiver : public Receiver {
public:
    using Receiver::Receiver;
};

}  // namespace

TEST_F(EventManagerTest, ManagerHoldsEventHandlers) {
    static_assert(std::is_same_v<decltype(EventManager::handlers), std::vector<EventHandler*>>);
    static_assert(std::is_base_of_v<EventHandler, EventHandlerOf<Receiver, CountedEvent>>);
    static_assert(std::is_same_v<EventHandlerBase, EventHandler>);
    EventManager m;
    Receiver r("R");
    m.AddHandler(&r, &Receiver::OnCounted);
    ASSERT_EQ(m.HandlerCount(), 1u);
    EventHandler* handler = m.handlers[0];
    EXPECT_NE((dynamic_cast<EventHandlerOf<Receiver, CountedEvent>*>(handler)), nullptr);
    EXPECT_EQ(handler->GetEventTypeName(), "CountedEvent");
}

TEST_F(EventManagerTest, AddHandlerWithTheEventTypeNamedFirst) {
    EventManager m;
    Receiver a("A"), b("B");
    m.AddHandler<OtherEvent>(&a, &Receiver::OnOther);
    m.AddHandler<CountedEvent>(&b, &Receiver::OnCounted);
    m.AddHandler<Receiver, CountedEvent>(&a, &Receiver::OnCounted);  // owner type first
    EXPECT_EQ(a.event_manager, &m);
    EXPECT_EQ(b.owner, static_cast<Entity*>(&b));
    ASSERT_EQ(m.HandlerCount(), 3u);
    EXPECT_EQ(m.handlers[0]->GetEventTypeName(), "OtherEvent");
    EXPECT_EQ(m.handlers[1]->GetEventTypeName(), "CountedEvent");
    m.Post(new CountedEvent("1"));
    m.Post(new OtherEvent("2"));
    EXPECT_TRUE(m.Update(1.0f));
    EXPECT_TRUE(m.Update(2.0f));
    EXPECT_EQ(Joined(), "A<2> B(1) A(1)");
}

TEST_F(EventManagerTest, AddHandlerWithTheEventTypeFirstTakesAMethodOfABaseClass) {
    EventManager m;
    LoudReceiver loud("L");
    m.AddHandler<CountedEvent>(&loud, &Receiver::OnCounted);
    ASSERT_EQ(m.HandlerCount(), 1u);
    EXPECT_NE((dynamic_cast<EventHandlerOf<LoudReceiver, CountedEvent>*>(m.handlers[0])), nullptr);
    EXPECT_EQ(loud.event_manager, &m);
    CountedEvent* e = new CountedEvent("t");
    e->target = &loud;
    m.Post(e);
    EXPECT_TRUE(m.Update(1.0f));
    EXPECT_TRUE(m.Update(2.0f));
    EXPECT_EQ(Joined(), "L(t)");
}
