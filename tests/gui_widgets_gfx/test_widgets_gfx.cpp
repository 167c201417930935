// The list, the file picker and the video widget drawn under Xvfb with the committed art,
// fonts and intro clip: rows clipped to the list, the white bar of a selected row that the
// pointer has left, the scroll bar only with a scroll range; the picker's title shortened
// for a long folder; the video black before its first tick, its pictures changing, the
// end posted once with the last picture kept, the "buffer" stamp, an empty rectangle; the
// image panel with the last bound texture. The window is 320 by 240 pixels for the virtual
// screen of 1024 by 768.
#include <gtest/gtest.h>

#include <GL/gl.h>

#include <array>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "gui/guifilewindow.h"
#include "gui/guiimage.h"
#include "gui/guilist.h"
#include "gui/guivideo.h"
#include "platform/settings.h"
#include "resources/font.h"
#include "resources/resourcemanager.h"
#include "resources/texturedds.h"
#include "scene/scenemanager.h"
#include "support/glcontext.h"
#include "support/virtualpixels.h"

namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 240;

VELMORA_GL_TEST_CONTEXT("widgets", kWidth, kHeight);

using Pixel = virtualpixels::Pixel;

class VideoEnd : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("VideoEnd")

public:
    bool OnVideo(GUIVideoEvent* e) {
        log.push_back(e->name + " " + std::to_string(e->state));
        return true;
    }
    std::vector<std::string> log;
};

class WidgetsDraw : public testing::Test {
protected:
    void SetUp() override {
        ResetSettings();
        virtual_width = 1024;
        virtual_height = 768;
        screen_width = kWidth;
        screen_height = kHeight;
        ASSERT_TRUE(FileSystemMount(std::string(VELMORA_SOURCE_DIR) + "/data"));
        resources.RegisterType<TextureDDS>("dds");
        resources.RegisterType<Font>("glf");
        glViewport(0, 0, kWidth, kHeight);
        Clear();
    }
    void Clear(float r = 0.0f) {
        glClearColor(r, 0.0f, 0.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    }
    // The 2D state of a menu layer.
    void Begin2D() {
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glOrtho(0, 1024, 768, 0, 1, 0);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        glDisable(GL_DEPTH_TEST);
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    }
    // The pixel at virtual (x, y).
    Pixel At(float x, float y) { return virtualpixels::At(kWidth, kHeight, x, y); }
    std::vector<Pixel> Box(float x0, float y0, float x1, float y1) {
        return virtualpixels::Box(kWidth, kHeight, x0, y0, x1, y1, 3.2f);
    }
    template <class Test>
    float Fraction(const std::vector<Pixel>& pixels, Test test) {
        return virtualpixels::Fraction(pixels, test);
    }
    // The whole window's pixels.
    std::vector<uint8_t> Frame() {
        std::vector<uint8_t> rgb(kWidth * kHeight * 3);
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glReadPixels(0, 0, kWidth, kHeight, GL_RGB, GL_UNSIGNED_BYTE, rgb.data());
        return rgb;
    }
    template <class T>
    T* Make(const std::string& text) {
        docs.push_back(std::make_unique<CfoDocument>());
        EXPECT_TRUE(docs.back()->Parse(text));
        auto* widget = new T();
        owned.emplace_back(widget);
        widget->SetParent(&root);
        widget->Load(docs.back()->FindChild(widget->GetTypeName()), &resources);
        return widget;
    }

    ResourceManager resources;
    Entity root;
    std::vector<std::unique_ptr<CfoDocument>> docs;
    std::vector<std::unique_ptr<Entity>> owned;
};

bool White(const Pixel& p) { return p[0] > 230 && p[1] > 230 && p[2] > 230; }
bool Light(const Pixel& p) { return p[0] > 120 && p[1] > 120 && p[2] > 120; }
bool Black(const Pixel& p) { return p[0] < 8 && p[1] < 8 && p[2] < 8; }

const char* kList =
    "GUIList = { name = rows; pos = 512,384; size = 400,200;"
    " image = \"resources/textures/character_shadow.dds\"; }";

}  // namespace

TEST_F(WidgetsDraw, RowsAreClippedToTheListAndTheSelectedBarStaysWhite) {
    auto* list = Make<GUIList>(kList);
    ASSERT_TRUE(list->font.IsValid());
    for (int i = 0; i < 40; ++i) list->AddItem("row number " + std::to_string(i));
    ASSERT_EQ(list->max_scroll, 323);
    list->selected = 2;  // the pointer has left: the bar stays
    list->hovered = false;
    Begin2D();
    list->Render(nullptr);
    // The bar of row 2: 15 units from 284 + 26, white across the list.
    EXPECT_GT(Fraction(Box(330, 313, 680, 322), White), 0.6f);
    EXPECT_LT(Fraction(Box(330, 300, 680, 308), White), 0.3f);
    // Letters in the rows inside the list, none below it (rows 16 and later are clipped).
    EXPECT_GT(Fraction(Box(320, 330, 500, 480), Light), 0.01f);
    EXPECT_EQ(Fraction(Box(320, 490, 500, 600), Light), 0.0f);
    // The scroll bar's column: dark blue between the two buttons.
    const Pixel column = At(705, 384);
    EXPECT_LT(column[0], 10);
    EXPECT_GT(column[2], 60);
}

TEST_F(WidgetsDraw, AShortListHasNoScrollBar) {
    auto* list = Make<GUIList>(kList);
    list->AddItem("one");
    ASSERT_EQ(list->max_scroll, 0);
    Begin2D();
    list->Render(nullptr);
    const Pixel column = At(705, 384);
    EXPECT_LT(column[2], 40);  // the list's own dark ground
}

TEST_F(WidgetsDraw, TheTitleShortensForALongFolder) {
    auto* window =
        Make<GUIFileWindow>("GUIFileWindow = { name = picker; pos = 512,384; size = 300,200; }");
    ASSERT_TRUE(window->font.IsValid());
    window->path = "scenes/";
    window->file = "test_yard.cfo";
    EXPECT_EQ(window->TitleLine(), "File open dialog: scenes/test_yard.cfo");
    window->path = "resources/textures/gui/windows/very/long/folder/names/here/";
    EXPECT_EQ(window->TitleLine(), "File open dialog: .../test_yard.cfo");
    // The shortened line fits and is drawn in the title strip.
    EXPECT_LE(window->font->GetTextSize(window->TitleLine(), 0.5f).x, 300.0f);
    Begin2D();
    window->Render(nullptr);
    EXPECT_GT(Fraction(Box(366, 285, 600, 298), Light), 0.02f);
}

TEST_F(WidgetsDraw, TheVideoIsBlackFirstThenPlaysEndsOnceAndKeepsItsLastPicture) {
    SceneManager scene;
    auto* video = new GUIVideo();
    scene.AddChild(video);
    video->SetParent(&scene);
    CfoDocument doc;
    ASSERT_TRUE(
        doc.Parse("GUIVideo = { name = clip; pos = 512,384; size = 1024,768; "
                  "file = \"resources/video/intro.m2v\"; }"));
    testing::internal::CaptureStdout();
    video->Load(doc.FindChild("GUIVideo"), nullptr);
    testing::internal::GetCapturedStdout();
    video->Bind(scene.GetEvents(), &scene, nullptr);
    VideoEnd end;
    scene.GetEvents()->AddHandler(&end, &VideoEnd::OnVideo);

    glViewport(0, 0, kWidth, kHeight);
    Clear(1.0f);
    Begin2D();
    video->Render(nullptr);
    EXPECT_EQ(Fraction(Box(0, 0, 1024, 768), Black), 1.0f);  // the zeroed display texture

    std::set<std::vector<uint8_t>> pictures;
    std::vector<uint8_t> last;
    float time = 0.0f;
    bool ended = false;
    for (int i = 0; i < 20000 && !ended; ++i) {
        time += 0.05f;
        ended = video->Advance(time) == VideoFile::VIDEO_END;
        if (i % 10 == 0 || ended) {
            Clear();
            Begin2D();
            video->Render(nullptr);
            last = Frame();
            pictures.insert(last);
        }
        scene.UpdateAt(time);
    }
    ASSERT_TRUE(ended);
    EXPECT_GT(pictures.size(), 30u);
    scene.UpdateAt(time + 0.01f);
    EXPECT_EQ(end.log, std::vector<std::string>{"clip 1"});
    // The clip fades out: its last picture shown is dim, yet not the black of no picture.
    EXPECT_GT(Fraction(Box(0, 0, 1024, 768), [](const Pixel& p) { return !Black(p); }), 0.25f);
    // Later frames: stopped on the same picture, no second event.
    for (int i = 0; i < 30; ++i) {
        time += 0.05f;
        FrameEvent frame(0.05f, time, &scene, nullptr);
        video->OnFrame(&frame);
        scene.UpdateAt(time);
    }
    Clear();
    Begin2D();
    video->Render(nullptr);
    EXPECT_TRUE(Frame() == last);
    EXPECT_EQ(end.log.size(), 1u);
    scene.RemoveChild(video);
    delete video;
}

TEST_F(WidgetsDraw, WithNoPictureEachTickStampsBuffer) {
    auto* video = Make<GUIVideo>(
        "GUIVideo = { name = dry; pos = 512,384; size = 1024,768; buffer_frames = 0;"
        " file = \"resources/video/intro.m2v\"; }");
    video->Advance(0.01f);
    ASSERT_EQ(video->Advance(0.1f), VideoFile::VIDEO_BUFFERING);
    Begin2D();
    video->Render(nullptr);
    // The word, 32 x 8 texels at (1, 1) of 320 x 240, stretched to the screen: top left.
    EXPECT_GT(Fraction(Box(0, 0, 110, 32), White), 0.1f);
    EXPECT_EQ(Fraction(Box(200, 100, 1024, 768), Black), 1.0f);
}

TEST_F(WidgetsDraw, AnEmptyRectangleDrawsNothing) {
    auto* video = Make<GUIVideo>(
        "GUIVideo = { name = empty; pos = 512,384; size = 0,0;"
        " file = \"resources/video/intro.m2v\"; }");
    float time = 0.0f;
    for (int i = 0; i < 200; ++i) video->Advance(time += 0.05f);
    Clear(1.0f);
    Begin2D();
    video->Render(nullptr);
    EXPECT_EQ(Fraction(Box(0, 0, 1024, 768), [](const Pixel& p) { return p[0] == 255; }), 1.0f);
}

TEST_F(WidgetsDraw, TheImagePanelShowsTheLastBoundTexture) {
    auto* image = Make<GUIImage>(
        "GUIImage = { name = panel; pos = 512,384; size = 400,300;"
        " image = \"resources/textures/gui/windows/credits.dds\"; }");
    // Something else bound last: a plain green texture.
    GLuint green = 0;
    const uint8_t texel[4 * 3] = {0, 200, 0, 0, 200, 0, 0, 200, 0, 0, 200, 0};
    glGenTextures(1, &green);
    glBindTexture(GL_TEXTURE_2D, green);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB8, 2, 2, 0, GL_RGB, GL_UNSIGNED_BYTE, texel);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    Begin2D();
    image->Render(nullptr);
    EXPECT_GT(Fraction(Box(330, 250, 690, 520),
                       [](const Pixel& p) { return p[1] > 180 && p[0] < 20 && p[2] < 20; }),
              0.95f);
    EXPECT_TRUE(Black(At(250, 384)));
    glDeleteTextures(1, &green);
}
