#include <gtest/gtest.h>

#include <string>

#include "resources/resourcemanager.h"

namespace {

// A resource whose Load succeeds unless the name contains "bad"; counts loads and unloads.
struct CountingResource : public Resource {
    static int loads;
    static int unloads;
    static int destroyed;
    ~CountingResource() override { destroyed++; }
    bool Load(std::string filename) override {
        loads++;
        return filename.find("bad") == std::string::npos;
    }
    void Unload() override { unloads++; }
};
int CountingResource::loads = 0;
int CountingResource::unloads = 0;
int CountingResource::destroyed = 0;

struct OtherResource : public Resource {
    bool Load(std::string) override { return true; }
};

class ResourceManagerTest : public ::testing::Test {
protected:
    void SetUp() override {
        CountingResource::loads = CountingResource::unloads = CountingResource::destroyed = 0;
        manager.RegisterType<CountingResource>("dds");
        manager.RegisterType<OtherResource>("tga");
    }
    ResourceManager manager;
};

std::string Captured(const std::function<void()>& fn) {
    testing::internal::CaptureStdout();
    fn();
    return testing::internal::GetCapturedStdout();
}

}  // namespace

TEST(GetFileExtension, Cases) {
    EXPECT_EQ(GetFileExtension("a/b/c.dds"), "dds");
    EXPECT_EQ(GetFileExtension("a.b.TGA"), "TGA");
    EXPECT_EQ(GetFileExtension("nodot"), "nodot");
    EXPECT_EQ(GetFileExtension(""), "");
    EXPECT_EQ(GetFileExtension("ends."), "");
    EXPECT_EQ(GetFileExtension("dir.d/file"), "d/file");
}

TEST_F(ResourceManagerTest, SameNameTwiceSharesOneObjectAndLastReleaseUnloads) {
    ResourceHandle<CountingResource> a, b;
    ASSERT_TRUE(manager.Load(a, "x.dds"));
    ASSERT_TRUE(manager.Load(b, "x.dds"));
    EXPECT_EQ(a.Get(), b.Get());
    EXPECT_EQ(a.Get()->refcount, 2);
    EXPECT_EQ(CountingResource::loads, 1);
    EXPECT_EQ(a.Get()->name, "x.dds");
    a.Release();
    EXPECT_FALSE(a.IsValid());
    EXPECT_EQ(manager.GetResources().size(), 1u);
    EXPECT_EQ(b.Get()->refcount, 1);
    EXPECT_EQ(CountingResource::unloads, 0);
    b.Release();
    EXPECT_EQ(manager.GetResources().size(), 0u);
    EXPECT_EQ(CountingResource::unloads, 1);
    EXPECT_EQ(CountingResource::destroyed, 1);
}

TEST_F(ResourceManagerTest, CaseDiffersInNameButNotInExtension) {
    ResourceHandle<CountingResource> a, b;
    ASSERT_TRUE(manager.Load(a, "A.DDS"));
    ASSERT_TRUE(manager.Load(b, "a.dds"));
    EXPECT_NE(a.Get(), b.Get());
    EXPECT_EQ(CountingResource::loads, 2);
    EXPECT_EQ(manager.GetResources().size(), 2u);
    EXPECT_EQ(manager.GetResources().front()->name, "A.DDS");
    EXPECT_EQ(manager.GetResources().back()->name, "a.dds");
}

TEST_F(ResourceManagerTest, NameWithoutDotUsesWholeLowerCasedName) {
    ResourceHandle<CountingResource> a;
    std::string out = Captured([&] { EXPECT_FALSE(manager.Load(a, "Textures/NoDot")); });
    EXPECT_EQ(out, "Could not find resource constructor associated with 'textures/nodot'\n");
    EXPECT_FALSE(a.IsValid());
}

TEST_F(ResourceManagerTest, EmptyNameGivesEmptyExtensionMessage) {
    ResourceHandle<CountingResource> a;
    std::string out = Captured([&] { EXPECT_FALSE(manager.Load(a, "")); });
    EXPECT_EQ(out, "Could not find resource constructor associated with ''\n");
}

TEST_F(ResourceManagerTest, ObjIsNotRegistered) {
    ResourceHandle<CountingResource> a;
    std::string out = Captured([&] { EXPECT_FALSE(manager.Load(a, "meshes/box.obj")); });
    EXPECT_EQ(out, "Could not find resource constructor associated with 'obj'\n");
}

TEST(ResourceManagerEmpty, NoConstructorsAtAll) {
    ResourceManager empty;
    ResourceHandle<CountingResource> a;
    std::string out = Captured([&] { EXPECT_FALSE(empty.Load(a, "x.dds")); });
    EXPECT_EQ(out, "Could not find resource constructor associated with 'dds'\n");
}

TEST_F(ResourceManagerTest, FailedLoadLeavesNothingAndIsNotRemembered) {
    ResourceHandle<CountingResource> a;
    std::string out = Captured([&] { EXPECT_FALSE(manager.Load(a, "bad.dds")); });
    EXPECT_EQ(out, "Could not load resource 'bad.dds'\n");
    EXPECT_EQ(CountingResource::destroyed, 1);
    EXPECT_TRUE(manager.GetResources().empty());
    out = Captured([&] { manager.Dump(); });
    EXPECT_EQ(out, "-----------------------------------\n");
    // Tried again, printed again.
    out = Captured([&] { EXPECT_FALSE(manager.Load(a, "bad.dds")); });
    EXPECT_EQ(out, "Could not load resource 'bad.dds'\n");
    EXPECT_EQ(CountingResource::loads, 2);
}

TEST_F(ResourceManagerTest, DumpListsNamesAndCountsInLoadOrder) {
    ResourceHandle<CountingResource> a, b, c;
    manager.Load(a, "one.dds");
    manager.Load(b, "two.dds");
    manager.Load(c, "one.dds");
    std::string out = Captured([&] { manager.Dump(); });
    EXPECT_EQ(out, "-----------------------------------\none.dds ref:2\ntwo.dds ref:1\n");
}

TEST_F(ResourceManagerTest, ReloadIntoValidHandleWithBadNameReleasesOld) {
    ResourceHandle<CountingResource> a;
    ASSERT_TRUE(manager.Load(a, "good.dds"));
    std::string out = Captured([&] { EXPECT_FALSE(manager.Load(a, "bad.dds")); });
    EXPECT_EQ(out, "Could not load resource 'bad.dds'\n");
    EXPECT_FALSE(a.IsValid());
    EXPECT_TRUE(manager.GetResources().empty());
    EXPECT_EQ(CountingResource::unloads, 1);
    EXPECT_EQ(a.Get(), NullResource<CountingResource>::Get());
}

TEST_F(ResourceManagerTest, EmptyHandleGetIsTheSameStaticObject) {
    ResourceHandle<CountingResource> a, b;
    CountingResource* first = a.Get();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(a.Get(), first);
    EXPECT_EQ(b.Get(), first);
    EXPECT_FALSE(a.IsValid());
    EXPECT_EQ(first->refcount, 0);
    EXPECT_EQ(first->name, "");
}

TEST_F(ResourceManagerTest, OneFailureDoesNotStopFurtherLoads) {
    ResourceHandle<CountingResource> a, b;
    Captured([&] { EXPECT_FALSE(manager.Load(a, "bad_texture.dds")); });
    EXPECT_TRUE(manager.Load(b, "fine.dds"));
    EXPECT_EQ(manager.GetResources().size(), 1u);
}

TEST_F(ResourceManagerTest, FirstRegisteredConstructorWins) {
    manager.RegisterType<OtherResource>("dds");
    ResourceHandle<CountingResource> a;
    ASSERT_TRUE(manager.Load(a, "first.dds"));
    EXPECT_EQ(CountingResource::loads, 1);
    EXPECT_NE(dynamic_cast<CountingResource*>(static_cast<Resource*>(a.Get())), nullptr);
}

TEST_F(ResourceManagerTest, HandleDestructorReleases) {
    {
        ResourceHandle<CountingResource> a;
        manager.Load(a, "scoped.dds");
        EXPECT_EQ(manager.GetResources().size(), 1u);
    }
    EXPECT_TRUE(manager.GetResources().empty());
    EXPECT_EQ(CountingResource::unloads, 1);
}
