// The video player with GL textures: Draw before the first tick shows the zeroed picture,
// a never-opened video draws with whatever texture is bound, the "buffer" stamp lands at
// (1, 1) of the display texture, and a ticked picture on screen is the stream's picture
// as an independent decoder (ffmpeg) sees it. The window comes from test_resources_gfx.cpp.

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "../resources/videotest.h"
#include "gl/glprocs.h"
#include "resources/videofile.h"

using namespace videotest;

namespace {

constexpr int kSize = 256;  // the program's window

// Top left origin, y down, one unit a pixel; white colour, no blending.
void Begin() {
    glViewport(0, 0, kSize, kSize);
    glClearColor(0.5f, 0.5f, 0.5f, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, kSize, kSize, 0, 1, 0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_BLEND);
    glDisable(GL_LIGHTING);
    glColor4f(1, 1, 1, 1);
}

std::vector<uint8_t> ReadScreen() {
    std::vector<uint8_t> rgb(kSize * kSize * 3);
    glReadBuffer(GL_BACK);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, kSize, kSize, GL_RGB, GL_UNSIGNED_BYTE, rgb.data());
    return rgb;
}

// Pixel (x, y) from the top left, channel c.
int At(const std::vector<uint8_t>& screen, int x, int y, int c) {
    return screen[((kSize - 1 - y) * kSize + x) * 3 + c];
}

// A 2x2 white texture, bound: what "the texture that happens to be bound" is here.
GLuint BindWhite() {
    static GLuint white = 0;
    if (white == 0) {
        const uint8_t px[12] = {255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255};
        glGenTextures(1, &white);
        glBindTexture(GL_TEXTURE_2D, white);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB8, 2, 2, 0, GL_RGB, GL_UNSIGNED_BYTE, px);
    }
    glBindTexture(GL_TEXTURE_2D, white);
    return white;
}

void OpenIntro(VideoFile& video, uint32_t buffer_frames) {
    MountData();
    testing::internal::CaptureStdout();
    ASSERT_TRUE(video.Open(kIntro, buffer_frames));
    testing::internal::GetCapturedStdout();
}

}  // namespace

TEST(VideoDraw, ANeverOpenedVideoDrawsWithTheBoundTexture) {
    VideoFile video;
    Begin();
    BindWhite();
    video.Draw(0, 240, 320, 0);
    const std::vector<uint8_t> screen = ReadScreen();
    EXPECT_EQ(At(screen, 100, 100, 0), 255);
    EXPECT_EQ(At(screen, 100, 100, 2), 255);
    EXPECT_EQ(At(screen, 100, 250, 0), 128);  // below the quad: the clear colour
}

TEST(VideoDraw, BeforeTheFirstTickTheDisplayIsBlack) {
    VideoFile video;
    OpenIntro(video, 5);
    EXPECT_EQ(glIsTexture(video.display_texture), GL_TRUE);
    for (uint32_t t : video.free) EXPECT_EQ(glIsTexture(t), GL_TRUE);
    // Buffering fills the ring, but no tick has come: the display keeps its zeros.
    for (int i = 0; i < 200 && !video.free.empty(); ++i) video.Update(0.0f);
    EXPECT_TRUE(video.free.empty());
    Begin();
    BindWhite();
    video.Draw(0, 240, 320, 0);
    const std::vector<uint8_t> screen = ReadScreen();
    for (int y : {0, 60, 120, 239})
        for (int x : {0, 128, 255})
            for (int c = 0; c < 3; ++c) EXPECT_EQ(At(screen, x, y, c), 0) << x << "," << y;
    EXPECT_EQ(At(screen, 10, 245, 1), 128);
}

TEST(VideoDraw, TheBufferStampLandsAtOneOneOfTheDisplay) {
    VideoFile video;
    OpenIntro(video, 0);
    video.Update(0.01f);
    ASSERT_EQ(video.Update(0.05f), VideoFile::VIDEO_BUFFERING);  // the tick found nothing
    Begin();
    video.Draw(0, 240, 320, 0);
    const std::vector<uint8_t> screen = ReadScreen();
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 32; ++x)
            ASSERT_EQ(At(screen, 1 + x, 1 + y, 0), VideoFile::buffering_marker[(y * 32 + x) * 3])
                << x << "," << y;
    EXPECT_EQ(At(screen, 0, 0, 0), 0);
    EXPECT_EQ(At(screen, 40, 20, 0), 0);
}

TEST(VideoDraw, ATickedPictureIsTheStreamsPicture) {
    const std::vector<uint8_t> reference = FfmpegPictures(IntroPath());
    const size_t picture = 320 * 240 * 3;
    ASSERT_EQ(reference.size(), 250 * picture) << "ffmpeg must decode the intro";

    VideoFile video;
    OpenIntro(video, 5);
    // Before each tick the ring is filled again, so that tick n (from the second on) puts
    // stream picture n on display (picture 0 was dropped by Open, tick 1 only starts).
    float time = 0.0f;
    for (int tick = 1; tick <= 60; ++tick) {
        for (int i = 0; i < 200 && !video.free.empty(); ++i) video.Update(time);
        ASSERT_TRUE(video.free.empty());
        const uint32_t before = video.display_texture;
        time += 0.05f;
        ASSERT_EQ(video.Update(time), VideoFile::VIDEO_PLAYING);
        if (tick >= 2) ASSERT_NE(video.display_texture, before) << tick;
    }

    Begin();
    video.Draw(0, 240, 320, 0);
    const std::vector<uint8_t> screen = ReadScreen();
    const uint8_t* expect = reference.data() + 60 * picture;
    double sum = 0.0;
    int n = 0;
    for (int y = 0; y < 240; y += 7)
        for (int x = 0; x < 256; x += 7)
            for (int c = 0; c < 3; ++c) {
                sum += std::abs(At(screen, x, y, c) - int(expect[(y * 320 + x) * 3 + c]));
                ++n;
            }
    EXPECT_LT(sum / n, 4.0);
    // Not the black it started with.
    double light = 0.0;
    for (int y = 0; y < 240; y += 7)
        for (int x = 0; x < 256; x += 7) light += At(screen, x, y, 1);
    EXPECT_GT(light / ((240 / 7 + 1) * (256 / 7 + 1)), 20.0);
}
