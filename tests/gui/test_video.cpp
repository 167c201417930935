// The video widget without a window: its keys and their defaults, the event posted once at
// the end with the last picture kept, later frames stopped, a time that does not advance,
// one and zero textures in circulation, hidden and empty widgets that keep decoding, and a
// widget without a video or with a missing one; the pictures go to a recording stand-in
// for GL textures. The image panel's video that nothing opens.

#include <gtest/gtest.h>

#include "cfo/cfodocument.h"
#include "gui/guiimage.h"
#include "gui/guivideo.h"
#include "guitest.h"
#include "resources/videotest.h"

using namespace guitest;
using namespace videotest;

namespace {

class VideoEvents : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("VideoEvents")

public:
    void Bind(EventManager* events, SceneManager*, CollisionManager*) override {
        events->AddHandler(this, &VideoEvents::OnVideo);
    }
    bool OnVideo(GUIVideoEvent* e) {
        log.push_back(e->name + " " + std::to_string(e->state));
        return true;
    }
    std::vector<std::string> log;
};

class VideoWidgetTest : public GuiTest {
protected:
    void SetUp() override {
        GuiTest::SetUp();
        MountData();
        scene.GetClasses()->Register<VideoEvents>();
        Build(
            "CustomGuiLayer = { name = layer; GUIWindow = { name = win; pos = 512,384; } "
            "VideoEvents = { name = video_events; } }");
        events = Find<VideoEvents>("video_events");
        ASSERT_NE(events, nullptr);
    }
    void TearDown() override {
        if (widget != nullptr) {
            widget->GetParent()->RemoveChild(widget);
            delete widget;
        }
    }
    // A GUIVideo of the document text `keys` inside the window, bound; the log of its Load.
    std::string Make(const std::string& keys) {
        doc = std::make_unique<CfoDocument>();
        EXPECT_TRUE(doc->Parse("GUIVideo = { name = film; " + keys + " }"));
        widget = new GUIVideo(&gl);
        Entity* win = scene.FindEntity("win");
        win->AddChild(widget);
        widget->SetParent(win);
        testing::internal::CaptureStdout();
        widget->Load(doc->FindChild("GUIVideo"), nullptr);
        const std::string log = testing::internal::GetCapturedStdout();
        widget->Bind(scene.GetEvents(), &scene, nullptr);
        return log;
    }
    // One frame of the widget at `time`; true when it queued itself.
    bool Frame(float time) {
        scene.render_queue.Clear();
        FrameEvent frame(0.02f, time, &scene, nullptr);
        widget->OnFrame(&frame);
        const bool queued = scene.render_queue.Size() == 1;
        scene.render_queue.Clear();
        return queued;
    }
    std::vector<std::string> Posted() {
        EXPECT_TRUE(Settle());
        std::vector<std::string> out = events->log;
        events->log.clear();
        return out;
    }

    RecordingTextures gl;
    GUIVideo* widget = nullptr;
    VideoEvents* events = nullptr;
};

}  // namespace

TEST_F(VideoWidgetTest, KeysAndDefaults) {
    EXPECT_EQ(Make("pos = 10,20; size = 320,240; file = \"resources/video/intro.m2v\";"), "");
    EXPECT_EQ(widget->GetTypeName(), "GUIVideo");
    EXPECT_EQ(widget->buffer_frames, 5);
    EXPECT_EQ(widget->screen_pos, HVector2(522, 404));
    EXPECT_EQ(widget->size, HVector2(320, 240));
    // Open made the display texture and five more, and left the read buffer at 8000.
    EXPECT_EQ(widget->video.free.size(), 5u);
    EXPECT_NE(widget->video.display_texture, 0u);
    EXPECT_EQ(widget->video.stream_buffer_size, 8000u);
    EXPECT_EQ(widget->video.width, 320);
    EXPECT_EQ(widget->video.height, 240);
}

TEST_F(VideoWidgetTest, TheStreamBufferSizeIsAppliedAfterOpening) {
    Make("file = \"resources/video/intro.m2v\"; buffer_frames = 3; stream_buffer_size = 16384;");
    EXPECT_EQ(widget->buffer_frames, 3);
    EXPECT_EQ(widget->video.free.size(), 3u);
    EXPECT_EQ(widget->video.stream_buffer_size, 16384u);
}

TEST_F(VideoWidgetTest, TheEndIsPostedOnceAndTheLastPictureStays) {
    Make("file = \"resources/video/intro.m2v\";");
    std::vector<int32_t> states;
    float time = 0.0f;
    int end_frame = -1;
    for (int i = 0; i < 20000 && end_frame < 0; ++i) {
        time += 0.05f;
        states.push_back(widget->Advance(time));
        if (states.back() == VideoFile::VIDEO_END) end_frame = i;
    }
    ASSERT_GE(end_frame, 0) << "the intro never ended";
    EXPECT_EQ(Posted(), std::vector<std::string>{"film 1"});
    const uint32_t shown = widget->video.display_texture;
    const size_t uploads = gl.uploads.size();
    const std::vector<uint8_t> picture = gl.live[shown].pixels;
    // Later frames: stopped, nothing more decoded or posted, the same picture on display.
    for (int i = 0; i < 50; ++i) {
        time += 0.05f;
        EXPECT_TRUE(Frame(time));
    }
    EXPECT_EQ(widget->video.status, VideoFile::VIDEO_STOPPED);
    EXPECT_EQ(widget->Advance(time + 1.0f), VideoFile::VIDEO_STOPPED);
    EXPECT_TRUE(Posted().empty());
    EXPECT_EQ(gl.uploads.size(), uploads);
    EXPECT_EQ(widget->video.display_texture, shown);
    EXPECT_EQ(gl.live[shown].pixels, picture);
    // The states before the end: buffering first, then playing pictures.
    EXPECT_EQ(states.front(), VideoFile::VIDEO_BUFFERING);
    EXPECT_NE(std::find(states.begin(), states.end(), VideoFile::VIDEO_PLAYING), states.end());
}

TEST_F(VideoWidgetTest, ATimeThatDoesNotAdvanceDecodesButDoesNotTick) {
    Make("file = \"resources/video/intro.m2v\";");
    for (int i = 0; i < 400; ++i) Frame(0.0f);
    // All five textures took pictures, none went on display.
    EXPECT_EQ(gl.uploads.size(), 5u);
    EXPECT_EQ(widget->video.active.size(), 5u);
    EXPECT_TRUE(widget->video.free.empty());
    EXPECT_TRUE(widget->video.current == widget->video.active.end());
    EXPECT_EQ(widget->video.last_tick, 0.0f);
    EXPECT_TRUE(gl.stamps.empty());
    EXPECT_EQ(widget->video.status, VideoFile::VIDEO_PLAYING);
    EXPECT_TRUE(Posted().empty());
}

TEST_F(VideoWidgetTest, ZeroBufferFramesPlaysNothingAndStampsBuffer) {
    Make("file = \"resources/video/intro.m2v\"; buffer_frames = 0;");
    EXPECT_TRUE(widget->video.free.empty());
    // No texture is free: the video reports playing at once, and each tick finds no picture.
    EXPECT_EQ(widget->Advance(0.01f), VideoFile::VIDEO_PLAYING);
    EXPECT_EQ(widget->Advance(0.1f), VideoFile::VIDEO_BUFFERING);
    EXPECT_EQ(gl.stamps, std::vector<uint32_t>{widget->video.display_texture});
    float time = 0.1f;
    for (int i = 0; i < 200; ++i) widget->Advance(time += 0.05f);
    EXPECT_TRUE(gl.uploads.empty());
    EXPECT_EQ(gl.stamps.size(), 201u);  // every frame ticks, and every tick runs dry
    EXPECT_TRUE(Posted().empty());
}

TEST_F(VideoWidgetTest, OneBufferFrameStampsBufferMoreOftenThanFive) {
    Make("file = \"resources/video/intro.m2v\"; buffer_frames = 1;");
    float time = 0.0f;
    int shown_one = 0;
    for (int i = 0; i < 1500; ++i)
        if (widget->Advance(time += 0.05f) == VideoFile::VIDEO_PLAYING) ++shown_one;
    const size_t stamps_one = gl.stamps.size();
    const size_t uploads_one = gl.uploads.size();
    EXPECT_GT(uploads_one, 50u);  // pictures go through the one texture
    EXPECT_GT(shown_one, 50);
    EXPECT_GT(stamps_one, 50u);

    RecordingTextures five_gl;
    GUIVideo five(&five_gl);
    CfoDocument doc5;
    ASSERT_TRUE(doc5.Parse("GUIVideo = { file = \"resources/video/intro.m2v\"; }"));
    five.Load(doc5.FindChild("GUIVideo"), nullptr);
    time = 0.0f;
    for (int i = 0; i < 1500; ++i) five.Advance(time += 0.05f);
    EXPECT_LT(five_gl.stamps.size(), stamps_one);
}

TEST_F(VideoWidgetTest, AHiddenVideoKeepsDecodingAndIsNotQueued) {
    Make("file = \"resources/video/intro.m2v\"; size = 320,240;");
    scene.FindEntity("win")->SetVisible(false);
    float time = 0.0f;
    for (int i = 0; i < 300; ++i) EXPECT_FALSE(Frame(time += 0.05f));
    EXPECT_GT(gl.uploads.size(), 5u);
    scene.FindEntity("win")->SetVisible(true);
    EXPECT_TRUE(Frame(time += 0.05f));
}

TEST_F(VideoWidgetTest, AnEmptyRectangleKeepsDecoding) {
    Make("file = \"resources/video/intro.m2v\"; size = 0,0;");
    float time = 0.0f;
    for (int i = 0; i < 300; ++i) EXPECT_TRUE(Frame(time += 0.05f));
    EXPECT_GT(gl.uploads.size(), 5u);
}

TEST_F(VideoWidgetTest, WithoutAFileNothingIsOpenedAndFramesDoNothing) {
    EXPECT_EQ(Make("size = 100,100; stream_buffer_size = 4096;"), "");
    EXPECT_EQ(widget->video.decoder, nullptr);
    EXPECT_EQ(widget->video.stream_buffer_size, 4096u);
    float time = 0.0f;
    for (int i = 0; i < 20; ++i) EXPECT_TRUE(Frame(time += 0.05f));
    EXPECT_EQ(widget->video.status, VideoFile::VIDEO_BUFFERING);
    EXPECT_TRUE(gl.calls.empty());
    EXPECT_TRUE(Posted().empty());
}

TEST_F(VideoWidgetTest, AMissingFileIsReportedAndFramesDoNothing) {
    EXPECT_EQ(Make("file = \"resources/video/missing.m2v\";"),
              "Could not open 'resources/video/missing.m2v'\n");
    float time = 0.0f;
    for (int i = 0; i < 20; ++i) EXPECT_EQ(widget->Advance(time += 0.05f), 3);
    EXPECT_TRUE(gl.calls.empty());
    EXPECT_TRUE(Posted().empty());
}

TEST_F(VideoWidgetTest, ANegativeBufferCountIsRefusedWithALine) {
    EXPECT_EQ(Make("file = \"resources/video/intro.m2v\"; buffer_frames = -4;"),
              "GUIVideo 'film': buffer_frames -4 is negative, 0 used\n");
    EXPECT_EQ(widget->buffer_frames, 0);
    EXPECT_TRUE(widget->video.free.empty());
}

TEST(ImageVideo, TheImagePanelsVideoIsNeverOpened) {
    GUIImage image;
    EXPECT_EQ(image.video.decoder, nullptr);
    EXPECT_EQ(image.video.display_texture, 0u);
    EXPECT_EQ(image.video.status, VideoFile::VIDEO_BUFFERING);
}

TEST(VideoWithoutNode, LoadWithoutANodeOpensNothing) {
    RecordingTextures gl;
    GUIVideo video(&gl);
    video.Load(nullptr, nullptr);
    EXPECT_EQ(video.buffer_frames, 5);
    EXPECT_EQ(video.video.decoder, nullptr);
    EXPECT_TRUE(gl.calls.empty());
}
