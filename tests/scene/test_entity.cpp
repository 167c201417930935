// The entity tree, its search, the slot order of the virtual operations and the registry.

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "cfo/cfonode.h"
#include "scene/classregistry.h"
#include "scene/entity.h"

namespace {

Entity* Named(const std::string& name, Entity* parent = nullptr) {
    Entity* e = new Entity();
    e->name = name;
    if (parent != nullptr) {
        e->SetParent(parent);
        parent->AddChild(e);
    }
    return e;
}

void DeleteTree(Entity* e) {
    for (Entity* child : e->children) DeleteTree(child);
    delete e;
}

// Itanium C++ ABI: a pointer to a virtual member holds 1 + the byte offset of its vtable
// entry. The destructor takes two entries (complete and deleting), so slot n >= 1 sits at
// entry n + 1.
template <class M>
long VtableEntry(M method) {
    long raw[2];
    static_assert(sizeof(M) == sizeof(raw));
    std::memcpy(raw, &method, sizeof(raw));
    return (raw[0] - 1) / static_cast<long>(sizeof(void*));
}

}  // namespace

TEST(Entity, Defaults) {
    Entity e;
    EXPECT_TRUE(e.visible);
    EXPECT_TRUE(e.IsVisible());
    EXPECT_FALSE(e.paused);
    EXPECT_FALSE(e.IsPaused());
    EXPECT_EQ(e.name, "");
    EXPECT_EQ(e.GetParent(), nullptr);
    EXPECT_TRUE(e.children.empty());
    EXPECT_EQ(e.GetZIndex(), 0.0f);
    EXPECT_EQ(e.GetTypeName(), "Entity");
    EXPECT_EQ(e.GetTypeId(), 0u);
    HVector2 p = e.GetPosition(HVector2(5.0f, 6.0f));
    EXPECT_EQ(p.x, 0.0f);
    EXPECT_EQ(p.y, 0.0f);
    e.SetVisible(false);
    EXPECT_FALSE(e.IsVisible());
    e.SetPaused(true);
    EXPECT_TRUE(e.IsPaused());
}

TEST(Entity, SlotOrderOfTheVirtualOperations) {
    EXPECT_EQ(VtableEntry(&Entity::Bind), 2);
    EXPECT_EQ(VtableEntry(&Entity::Unbind), 3);
    EXPECT_EQ(VtableEntry(&Entity::Unload), 4);
    EXPECT_EQ(VtableEntry(&Entity::Load), 5);
    EXPECT_EQ(VtableEntry(&Entity::Hook5), 6);
    EXPECT_EQ(VtableEntry(&Entity::Hook6), 7);
    EXPECT_EQ(VtableEntry(&Entity::PreRender), 8);
    EXPECT_EQ(VtableEntry(&Entity::Render), 9);
    EXPECT_EQ(VtableEntry(&Entity::PostRender), 10);
    EXPECT_EQ(VtableEntry(&Entity::GetPosition), 11);
    EXPECT_EQ(VtableEntry(&Entity::IsVisible), 12);
    EXPECT_EQ(VtableEntry(&Entity::SetVisible), 13);
    EXPECT_EQ(VtableEntry(&Entity::SetPaused), 14);
    EXPECT_EQ(VtableEntry(&Entity::IsPaused), 15);
    EXPECT_EQ(VtableEntry(&Entity::GetTypeName), 16);
    EXPECT_EQ(VtableEntry(&Entity::GetTypeId), 17);
}

TEST(Entity, LoadReadsOnlyPresentKeys) {
    CfoNode node("Probe");
    node.NewChild("name", "door_1");
    node.NewChild("z_index", "2.5");
    Entity e;
    e.visible = false;
    e.Load(&node, nullptr);
    EXPECT_EQ(e.name, "door_1");
    EXPECT_FLOAT_EQ(e.z_index, 2.5f);
    EXPECT_FALSE(e.visible);  // absent: left alone

    CfoNode hide("Probe");
    hide.NewChild("visible", "0");
    e.Load(&hide, nullptr);
    EXPECT_EQ(e.name, "door_1");
    EXPECT_FLOAT_EQ(e.z_index, 2.5f);
    EXPECT_FALSE(e.visible);
    CfoNode show("Probe");
    show.NewChild("visible", "1");
    e.Load(&show, nullptr);
    EXPECT_TRUE(e.visible);

    e.Load(nullptr, nullptr);  // a null node changes nothing
    EXPECT_EQ(e.name, "door_1");
}

TEST(Entity, FindEntityTakesTheFirstInDepthFirstOrder) {
    Entity* root = Named("root");
    Entity* a = Named("a", root);
    Entity* deep = Named("twin", a);
    Entity* twin = Named("twin", root);
    EXPECT_EQ(twin->FindEntity("twin"), deep);
    EXPECT_EQ(root->FindEntity("root"), root);
    EXPECT_EQ(deep->FindEntity("nobody"), nullptr);
    DeleteTree(root);
}

TEST(Entity, FindEntityFromADeepChildReachesTheOtherBranch) {
    Entity* root = Named("root");
    Entity* left = Named("left", root);
    Entity* l2 = Named("l2", left);
    Entity* l3 = Named("l3", l2);
    Entity* right = Named("right", root);
    Entity* sibling = Named("sibling", right);
    EXPECT_EQ(l3->FindEntity("sibling"), sibling);
    EXPECT_EQ(l3->GetRoot(), root);
    EXPECT_EQ(sibling->FindEntity("l3"), l3);
    DeleteTree(root);
}

TEST(Entity, RemoveChildRemovesEveryOccurrenceAndDeletesNothing) {
    Entity parent;
    Entity child, other;
    parent.AddChild(&child);
    parent.AddChild(&other);
    parent.AddChild(&child);
    EXPECT_EQ(parent.children.size(), 3u);
    parent.RemoveChild(&child);
    ASSERT_EQ(parent.children.size(), 1u);
    EXPECT_EQ(parent.children.front(), &other);
    child.name = "still here";
    EXPECT_EQ(child.GetName(), "still here");
}

namespace {

int prototypes_made = 0;
int lamps_destroyed = 0;

class Lamp : public Entity {
    VELMORA_ENTITY_TYPE("Lamp")
public:
    Lamp() { ++prototypes_made; }
    ~Lamp() override { ++lamps_destroyed; }
};

// A second class that claims the same type name.
class FakeLamp : public Entity {
public:
    std::string GetTypeName() override { return "Lamp"; }
};

}  // namespace

TEST(ClassRegistry, EmptyRegistryCreatesNothing) {
    ClassRegistry registry;
    EXPECT_EQ(registry.Create("Lamp"), nullptr);
    EXPECT_EQ(registry.Create(""), nullptr);
}

TEST(ClassRegistry, CreatesRegisteredClassesByName) {
    ClassRegistry registry;
    prototypes_made = 0;
    registry.Register<Lamp>();
    EXPECT_EQ(prototypes_made, 1);
    EXPECT_EQ(registry.Count(), 1u);
    std::unique_ptr<Entity> lamp(registry.Create("Lamp"));
    ASSERT_NE(lamp, nullptr);
    EXPECT_NE(dynamic_cast<Lamp*>(lamp.get()), nullptr);
    EXPECT_EQ(lamp->GetTypeName(), "Lamp");
    EXPECT_EQ(prototypes_made, 2);
    EXPECT_EQ(registry.Create("lamp"), nullptr);  // names are exact
    EXPECT_EQ(registry.Create("Unknown"), nullptr);
}

TEST(ClassRegistry, SecondRegistrationDoesNotReplaceTheFirst) {
    ClassRegistry registry;
    registry.Register<Lamp>();
    registry.Register<FakeLamp>(FakeLamp());
    EXPECT_EQ(registry.Count(), 1u);
    std::unique_ptr<Entity> made(registry.Create("Lamp"));
    EXPECT_NE(dynamic_cast<Lamp*>(made.get()), nullptr);
    EXPECT_EQ(dynamic_cast<FakeLamp*>(made.get()), nullptr);
}

TEST(ClassRegistry, RegisterTakesThePrototypeByValueAndDestroysIt) {
    // The prototype is a parameter of its own type, not a reference to the caller's object.
    void (ClassRegistry::*by_value)(Lamp) = &ClassRegistry::Register<Lamp>;
    EXPECT_NE(by_value, nullptr);
    ClassRegistry registry;
    prototypes_made = 0;
    lamps_destroyed = 0;
    registry.Register<Lamp>(Lamp());
    EXPECT_EQ(prototypes_made, 1);
    EXPECT_EQ(lamps_destroyed, 1);
    EXPECT_EQ(registry.Count(), 1u);
    registry.Register(Lamp());  // the class from the argument; the name is taken already
    EXPECT_EQ(prototypes_made, 2);
    EXPECT_EQ(lamps_destroyed, 2);
    EXPECT_EQ(registry.Count(), 1u);
    std::unique_ptr<Entity> lamp(registry.Create("Lamp"));
    EXPECT_NE(dynamic_cast<Lamp*>(lamp.get()), nullptr);
    EXPECT_EQ(prototypes_made, 3);
    EXPECT_EQ(lamps_destroyed, 2);
}

TEST(ClassRegistry, RegisterWithoutAPrototypeMakesAndDestroysOne) {
    ClassRegistry registry;
    prototypes_made = 0;
    lamps_destroyed = 0;
    registry.Register<Lamp>();
    EXPECT_EQ(prototypes_made, 1);
    EXPECT_EQ(lamps_destroyed, 1);
    EXPECT_EQ(registry.Count(), 1u);
}

TEST(ClassRegistry, TypeIdIsAssignedOnFirstCallAndKept) {
    Lamp a, b;
    const uint32_t first = a.GetTypeId();
    EXPECT_GE(first, 1u);
    EXPECT_EQ(b.GetTypeId(), first);
    EXPECT_EQ(Lamp::type_id, first);
    EXPECT_EQ(NewTypeId(), first + 1);
}

TEST(ClassRegistry, TypeIdOfNamesTheIdOfTheRegisteredClass) {
    ClassRegistry registry;
    registry.Register<Lamp>();
    EXPECT_EQ(registry.TypeIdOf("Unknown"), 0u);
    const uint32_t id = registry.TypeIdOf("Lamp");
    EXPECT_NE(id, 0u);
    std::unique_ptr<Entity> lamp(registry.Create("Lamp"));
    EXPECT_EQ(lamp->GetTypeId(), id);
    EXPECT_EQ(Lamp::StaticTypeId(), id);
    // A class without a type name of its own has no id to give.
    ClassRegistry fakes;
    fakes.Register<FakeLamp>(FakeLamp());
    EXPECT_EQ(fakes.TypeIdOf("Lamp"), 0u);
}
