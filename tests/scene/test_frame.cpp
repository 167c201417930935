// The frame as main drives it: FrameEvent timing, the render queue, input and clean-up.

#include <cstring>

#include "scene_fixture.h"

using namespace scenetest;

namespace {

Sdl12Event Motion(uint16_t x, uint16_t y) {
    Sdl12Event e;
    std::memset(&e, 0, sizeof(e));
    e.motion.type = SDL12_MOUSEMOTION;
    e.motion.x = x;
    e.motion.y = y;
    e.motion.xrel = -3;
    return e;
}

class FrameTest : public SceneTest {
protected:
    void SetUp() override {
        SceneTest::SetUp();
        testing::internal::CaptureStdout();
        Build(
            "SceneManager={ Probe={ name=world; z_index=-1; } Probe={ name=hidden; visible=0; } }");
        FlushedStdout();
        Log().clear();
    }
};

}  // namespace

TEST_F(FrameTest, FrameEventArrivesInTheThirdPassAndResumeInTheSecond) {
    Probe* world = Find("world");
    ASSERT_NE(world, nullptr);
    sm.Post(new ResumeGameEvent(false));  // the start-up post, before the first update

    ASSERT_TRUE(RunPass(sm, 1.0f));
    EXPECT_EQ(world->frames, 0);
    EXPECT_TRUE(world->resumes.empty());
    EXPECT_EQ(sm.clear_count, 0u);
    EXPECT_EQ(sm.swap_count, 0u);

    ASSERT_TRUE(RunPass(sm, 2.0f));
    EXPECT_EQ(world->frames, 0);
    ASSERT_EQ(world->resumes.size(), 1u);
    EXPECT_FALSE(world->resumes[0]);
    EXPECT_EQ(sm.clear_count, 0u);  // the first two passes draw nothing at all
    EXPECT_EQ(Joined(), "");

    ASSERT_TRUE(RunPass(sm, 3.0f));
    EXPECT_EQ(world->frames, 1);
    EXPECT_EQ(sm.clear_count, 1u);
    EXPECT_EQ(sm.swap_count, 1u);
    EXPECT_EQ(Joined(), "pre:world render:world post:world");
}

TEST_F(FrameTest, HiddenEntityGetsItsFrameButIsNotRendered) {
    Probe* hidden = Find("hidden");
    ASSERT_NE(hidden, nullptr);
    for (int pass = 1; pass <= 4; ++pass) ASSERT_TRUE(RunPass(sm, static_cast<float>(pass)));
    EXPECT_EQ(hidden->frames, 2);
    for (const std::string& line : Log()) EXPECT_EQ(line.find("hidden"), std::string::npos) << line;
}

TEST_F(FrameTest, FrameWithoutDrawingEntitiesStillClearsAndSwaps) {
    sm.DestroyTree(&sm, &sm);
    for (int pass = 1; pass <= 3; ++pass) ASSERT_TRUE(RunPass(sm, static_cast<float>(pass)));
    EXPECT_EQ(sm.clear_count, 1u);
    EXPECT_EQ(sm.swap_count, 1u);
}

TEST_F(FrameTest, TimeAndDtOfThePass) {
    ASSERT_TRUE(sm.UpdateAt(1.5f));
    EXPECT_FLOAT_EQ(sm.time, 1.5f);
    EXPECT_FLOAT_EQ(sm.dt, 1.5f);  // the first dt is the whole time since start
    ASSERT_TRUE(sm.UpdateAt(1.75f));
    EXPECT_FLOAT_EQ(sm.dt, 0.25f);
    EXPECT_FLOAT_EQ(sm.events.GetTime(), 1.75f);
}

TEST_F(FrameTest, UpdateReadsTheSdlClock) {
    ASSERT_TRUE(sm.Update());
    const float first = sm.time;
    EXPECT_GE(first, 0.0f);
    EXPECT_FLOAT_EQ(sm.dt, first);
    ASSERT_TRUE(sm.Update());
    EXPECT_GE(sm.time, first);
    EXPECT_FLOAT_EQ(sm.dt, sm.time - first);
}

TEST(RenderQueue, StableSortAndThreePasses) {
    Log().clear();
    RenderQueue queue;
    Probe a, b, c, d;
    a.name = "a";
    a.z_index = 5;
    b.name = "b";
    b.z_index = 1;
    c.name = "c";
    c.z_index = 5;
    d.name = "d";
    d.z_index = -1;
    queue.Add(&a);
    queue.Add(&b);
    queue.Add(&c);
    queue.Add(&d);
    queue.Add(nullptr);
    EXPECT_EQ(queue.Size(), 4u);
    queue.Flush();
    EXPECT_EQ(
        Joined(),
        "pre:d pre:b pre:a pre:c render:d render:b render:a render:c post:d post:b post:a post:c");
    EXPECT_EQ(queue.Size(), 0u);
    Log().clear();
    queue.Flush();
    EXPECT_EQ(Joined(), "");
    a.SetVisible(false);
    queue.Add(&a);
    EXPECT_EQ(queue.Size(), 0u);
    EXPECT_EQ(queue.camera, nullptr);
    Log().clear();
}

// --- input ---

TEST_F(FrameTest, F2TogglesTheDebugViewAndStillPosts) {
    Probe* world = Find("world");
    EXPECT_FALSE(r_debug_physics);
    EXPECT_TRUE(sm.HandleInput(Key(SDL12_KEYDOWN, 283)));
    EXPECT_TRUE(r_debug_physics);
    EXPECT_EQ(sm.events.NextCount(), 1u);
    EXPECT_TRUE(sm.HandleInput(Key(SDL12_KEYUP, 283)));
    EXPECT_TRUE(r_debug_physics);  // only the key down toggles
    ASSERT_TRUE(sm.UpdateAt(1.0f));
    ASSERT_TRUE(sm.UpdateAt(2.0f));
    ASSERT_EQ(world->inputs.size(), 2u);
    EXPECT_EQ(world->inputs[0].sdl_event.type, SDL12_KEYDOWN);
    EXPECT_EQ(world->inputs[0].sdl_event.key.keysym.sym, 283);
    EXPECT_EQ(world->inputs[1].sdl_event.type, SDL12_KEYUP);
    EXPECT_EQ(world->inputs[0].mouse.x, 0.0f);
    EXPECT_TRUE(sm.HandleInput(Key(SDL12_KEYDOWN, 283)));
    EXPECT_FALSE(r_debug_physics);
}

TEST_F(FrameTest, QPostsNothingAndEnds) {
    EXPECT_FALSE(sm.HandleInput(Key(SDL12_KEYDOWN, 113)));
    EXPECT_EQ(sm.events.NextCount(), 0u);
    Sdl12Event quit;
    std::memset(&quit, 0, sizeof(quit));
    quit.type = SDL12_QUIT;
    EXPECT_FALSE(sm.HandleInput(quit));
    EXPECT_EQ(sm.events.NextCount(), 0u);
    EXPECT_TRUE(sm.HandleInput(Key(SDL12_KEYUP, 113)));  // the release is plain input
    EXPECT_EQ(sm.events.NextCount(), 1u);
}

TEST_F(FrameTest, ButtonsPostAndOtherTypesAreIgnored) {
    Sdl12Event e;
    std::memset(&e, 0, sizeof(e));
    e.button.type = SDL12_MOUSEBUTTONDOWN;
    e.button.button = 1;
    EXPECT_TRUE(sm.HandleInput(e));
    e.button.type = SDL12_MOUSEBUTTONUP;
    EXPECT_TRUE(sm.HandleInput(e));
    EXPECT_EQ(sm.events.NextCount(), 2u);
    e.type = 1;  // an active event: no counterpart here
    EXPECT_TRUE(sm.HandleInput(e));
    e.type = 17;
    EXPECT_TRUE(sm.HandleInput(e));
    EXPECT_EQ(sm.events.NextCount(), 2u);
}

TEST_F(FrameTest, MouseIsInTheVirtualSpaceAtEveryWindowSize) {
    Probe* world = Find("world");
    virtual_width = 1024;
    virtual_height = 768;
    screen_width = 800;
    screen_height = 600;
    EXPECT_TRUE(sm.HandleInput(Motion(400, 300)));
    screen_width = 640;
    screen_height = 480;
    EXPECT_TRUE(sm.HandleInput(Motion(639, 479)));
    screen_width = 1920;
    screen_height = 1080;
    EXPECT_TRUE(sm.HandleInput(Motion(1919, 1079)));
    screen_width = 0;  // no window: left unscaled rather than divided by zero
    screen_height = 0;
    EXPECT_TRUE(sm.HandleInput(Motion(7, 9)));
    ASSERT_TRUE(sm.UpdateAt(1.0f));
    ASSERT_TRUE(sm.UpdateAt(2.0f));
    ASSERT_EQ(world->inputs.size(), 4u);
    EXPECT_EQ(world->inputs[0].mouse.x, 512.0f);
    EXPECT_EQ(world->inputs[0].mouse.y, 384.0f);
    EXPECT_EQ(world->inputs[1].mouse.x, 1022.0f);  // 639 * 1024 / 640 = 1022.4, integer
    EXPECT_EQ(world->inputs[1].mouse.y, 766.0f);   // 479 * 768 / 480 = 766.4
    EXPECT_EQ(world->inputs[2].mouse.x, 1023.0f);  // 1919 * 1024 / 1920 = 1023.46
    EXPECT_EQ(world->inputs[2].mouse.y, 767.0f);   // 1079 * 768 / 1080 = 767.28
    EXPECT_EQ(world->inputs[3].mouse.x, 7.0f);
    EXPECT_EQ(world->inputs[3].mouse.y, 9.0f);
    EXPECT_EQ(world->inputs[0].sdl_event.motion.xrel, -3);
}

TEST_F(FrameTest, OnFramePollsSdlAndTranslates) {
    ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_EVENTS), 0) << SDL_GetError();
    SDL_FlushEvents(SDL_FIRSTEVENT, SDL_LASTEVENT);
    SDL_Event e;
    std::memset(&e, 0, sizeof(e));
    e.type = SDL_KEYDOWN;
    e.key.state = SDL_PRESSED;
    e.key.keysym.sym = SDLK_F2;
    ASSERT_EQ(SDL_PushEvent(&e), 1);
    e.key.keysym.sym = SDLK_q;
    ASSERT_EQ(SDL_PushEvent(&e), 1);
    FrameEvent frame(0.0f, 0.0f, &sm, nullptr);
    EXPECT_FALSE(sm.OnFrame(&frame));
    EXPECT_TRUE(r_debug_physics);
    EXPECT_EQ(sm.events.NextCount(), 1u);  // F2 went out, "q" did not
    EXPECT_EQ(sm.render_queue.Size(), 1u);
    sm.render_queue.Clear();

    // SDL leaves its poll marker behind when a poll loop stops early: start clean.
    SDL_FlushEvents(SDL_FIRSTEVENT, SDL_LASTEVENT);
    std::memset(&e, 0, sizeof(e));
    e.type = SDL_QUIT;
    ASSERT_EQ(SDL_PushEvent(&e), 1);
    EXPECT_FALSE(sm.OnFrame(&frame));
    EXPECT_TRUE(sm.OnFrame(&frame));  // nothing left to poll
    sm.render_queue.Clear();
    SDL_QuitSubSystem(SDL_INIT_EVENTS);
}

TEST_F(FrameTest, HandlerFalseEndsTheLoop) {
    ASSERT_TRUE(sm.HandleInput(Key(SDL12_KEYDOWN, 'w')));
    ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_EVENTS), 0) << SDL_GetError();
    SDL_FlushEvents(SDL_FIRSTEVENT, SDL_LASTEVENT);
    SDL_Event e;
    std::memset(&e, 0, sizeof(e));
    e.type = SDL_QUIT;
    ASSERT_EQ(SDL_PushEvent(&e), 1);
    EXPECT_TRUE(RunPass(sm, 1.0f));
    EXPECT_TRUE(RunPass(sm, 2.0f));
    EXPECT_FALSE(RunPass(sm, 3.0f));  // the frame handler saw the quit
    SDL_QuitSubSystem(SDL_INIT_EVENTS);
}
