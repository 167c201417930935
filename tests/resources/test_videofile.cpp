// The video player without a window: opening, the ring of textures and its ticks, the
// "buffer" stamp, stopping, the end of the stream, the listing and the destructor, through
// a VideoTextures that records instead of GL; and the pictures against ffmpeg's decoding
// of the same file.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "resources/videofile.h"
#include "testdir.h"
#include "videotest.h"

using namespace videotest;

namespace {

class VideoTest : public testing::Test {
protected:
    void SetUp() override { MountData(); }

    // Opens the intro with `buffer_frames`, the log dropped.
    void OpenIntro(VideoFile& video, uint32_t buffer_frames) {
        testing::internal::CaptureStdout();
        ASSERT_TRUE(video.Open(kIntro, buffer_frames));
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    }

    // Updates at `time` until `done` or `limit` updates; the number of updates.
    template <typename Done>
    int UpdateUntil(VideoFile& video, float time, Done done, int limit = 100000) {
        int n = 0;
        while (!done() && n < limit) {
            video.Update(time);
            ++n;
        }
        return n;
    }

    RecordingTextures gl;
};

}  // namespace

TEST(VideoMarker, TheWordBufferWhiteOnBlack) {
    const char* rows[8] = {
        "..#.............#...#...........", "..#............#...#............",
        "..#.##..#...#.###.###..###..#.#.", "..##..#.#...#..#...#..#...#.##..",
        "..#...#.#...#..#...#..#####.#...", "..#...#.#...#..#...#..#.....#...",
        "..##..#.#..##..#...#..#...#.#...", "..#.##...##.#..#...#...###..#...",
    };
    ASSERT_EQ(VideoFile::buffering_marker.size(), 32u * 8u * 3u);
    int white = 0;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 32; ++x)
            for (int c = 0; c < 3; ++c) {
                const uint8_t v = VideoFile::buffering_marker[(y * 32 + x) * 3 + c];
                EXPECT_EQ(v, rows[y][x] == '#' ? 255 : 0) << x << "," << y;
                white += v == 255;
            }
    EXPECT_EQ(white, 3 * 76);
    // The top row: the 'b' stem at 2, the two 'f' stems at 16 and 20.
    EXPECT_EQ(VideoFile::buffering_marker[2 * 3], 255);
    EXPECT_EQ(VideoFile::buffering_marker[16 * 3], 255);
    EXPECT_EQ(VideoFile::buffering_marker[20 * 3], 255);
    EXPECT_EQ(VideoFile::buffering_marker[3 * 3], 0);
}

TEST_F(VideoTest, Defaults) {
    VideoFile video(&gl);
    EXPECT_EQ(video.status, VideoFile::VIDEO_BUFFERING);
    EXPECT_EQ(video.display_texture, 0u);
    EXPECT_TRUE(video.active.empty());
    EXPECT_TRUE(video.free.empty());
    EXPECT_TRUE(video.current == video.active.end());
    EXPECT_EQ(video.stream_buffer, nullptr);
    EXPECT_EQ(video.stream_buffer_size, 0u);
    EXPECT_FALSE(video.textures_ready);
    EXPECT_EQ(video.last_tick, 0.0f);
    EXPECT_EQ(video.frame_interval, 0.04f);
    EXPECT_EQ(video.width, 0);
    EXPECT_EQ(video.height, 0);
    EXPECT_EQ(video.decoder, nullptr);
}

TEST_F(VideoTest, AMissingFileFailsWithItsLineAndUpdateIsGuarded) {
    VideoFile video(&gl);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(video.Open("resources/video/none.m2v", 5));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Could not open 'resources/video/none.m2v'\n");
    EXPECT_EQ(video.status, VideoFile::VIDEO_BUFFERING);
    // No decoder: Update leaves everything alone, also when the ticks would come.
    for (int i = 1; i <= 10; ++i) EXPECT_EQ(video.Update(i * 0.1f), VideoFile::VIDEO_BUFFERING);
    EXPECT_TRUE(gl.calls.empty());
    EXPECT_EQ(video.last_tick, 0.0f);
    video.SetStopped(true);
    EXPECT_EQ(video.Update(5.0f), VideoFile::VIDEO_STOPPED);
}

TEST_F(VideoTest, AStreamWithoutAPictureFailsSilently) {
    testfiles::WriteFile("video/empty.m2v", {0, 0, 1, 0xB7});
    testfiles::WriteFile("video/noise.m2v", std::vector<uint8_t>(20000, 0x5A));
    for (const char* name : {"video/empty.m2v", "video/noise.m2v"}) {
        VideoFile video(&gl);
        testing::internal::CaptureStdout();
        EXPECT_FALSE(video.Open(name, 5)) << name;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << name;
        EXPECT_FALSE(video.textures_ready);
        EXPECT_EQ(video.decoder, nullptr);  // closed again
        // Like a missing file: Update does nothing at all.
        for (int i = 0; i < 50; ++i) EXPECT_EQ(video.Update(i * 0.1f), VideoFile::VIDEO_BUFFERING);
        EXPECT_TRUE(gl.calls.empty());
    }
}

TEST_F(VideoTest, OpenDropsTheFirstPictureAndMakesTheTextures) {
    VideoFile video(&gl);
    OpenIntro(video, 5);
    EXPECT_EQ(video.width, 320);
    EXPECT_EQ(video.height, 240);
    EXPECT_EQ(video.stream_buffer_size, 8000u);
    EXPECT_NE(video.stream_buffer, nullptr);
    EXPECT_TRUE(video.textures_ready);
    EXPECT_EQ(video.display_texture, 1u);
    EXPECT_EQ(video.free, (std::list<uint32_t>{2, 3, 4, 5, 6}));
    EXPECT_TRUE(video.active.empty());
    EXPECT_TRUE(gl.uploads.empty());  // the first picture went to texture 0: dropped
    ASSERT_EQ(gl.live.size(), 6u);
    for (const auto& [name, t] : gl.live) {
        EXPECT_EQ(t.w, 320);
        EXPECT_EQ(t.h, 240);
        EXPECT_EQ(t.pixels, std::vector<uint8_t>(320 * 240 * 3, 0)) << name;
    }
    EXPECT_EQ(video.status, VideoFile::VIDEO_BUFFERING);
}

TEST_F(VideoTest, ATimeThatDoesNotAdvanceDecodesButDoesNotTick) {
    VideoFile video(&gl);
    OpenIntro(video, 5);
    // At time 0 the tick never comes (0 + 0.04 < 0 is false).
    const int steps = UpdateUntil(video, 0.0f, [&] { return video.free.empty(); });
    EXPECT_GT(steps, 5);
    EXPECT_EQ(gl.uploads, (std::vector<uint32_t>{2, 3, 4, 5, 6}));
    EXPECT_EQ(video.active, (std::list<uint32_t>{2, 3, 4, 5, 6}));
    EXPECT_EQ(video.status, VideoFile::VIDEO_BUFFERING);
    // The next update finds no free texture: playing, and still no tick.
    for (int i = 0; i < 20; ++i) EXPECT_EQ(video.Update(0.0f), VideoFile::VIDEO_PLAYING);
    EXPECT_TRUE(video.current == video.active.end());
    EXPECT_EQ(video.display_texture, 1u);
    EXPECT_EQ(video.last_tick, 0.0f);
    EXPECT_EQ(gl.uploads.size(), 5u);
    EXPECT_TRUE(gl.stamps.empty());
}

TEST_F(VideoTest, TheTicksSwapThePicturesThroughTheDisplayTexture) {
    VideoFile video(&gl);
    OpenIntro(video, 5);
    UpdateUntil(video, 0.0f, [&] { return video.free.empty(); });

    // First tick: the oldest picture becomes current; nothing is swapped yet.
    EXPECT_EQ(video.Update(0.05f), VideoFile::VIDEO_PLAYING);
    EXPECT_EQ(video.last_tick, 0.05f);
    ASSERT_TRUE(video.current == video.active.begin());
    EXPECT_EQ(*video.current, 2u);
    EXPECT_EQ(video.display_texture, 1u);

    // Within the interval: no tick (0.05 + 0.04 < 0.08 is false).
    EXPECT_EQ(video.Update(0.08f), VideoFile::VIDEO_PLAYING);
    EXPECT_EQ(video.last_tick, 0.05f);

    // Second tick: 2 goes back to free, 3 goes on display and 1 waits in its node.
    EXPECT_EQ(video.Update(0.1f), VideoFile::VIDEO_PLAYING);
    EXPECT_EQ(video.display_texture, 3u);
    EXPECT_EQ(video.free, (std::list<uint32_t>{2}));
    EXPECT_EQ(video.active, (std::list<uint32_t>{1, 4, 5, 6}));
    EXPECT_EQ(*video.current, 1u);
    EXPECT_EQ(video.last_tick, 0.1f);

    // Decoding refills 2 at the end of active; the next tick frees 1 and shows 4.
    UpdateUntil(video, 0.1f, [&] { return video.free.empty(); });
    EXPECT_EQ(video.active, (std::list<uint32_t>{1, 4, 5, 6, 2}));
    EXPECT_EQ(gl.uploads.back(), 2u);
    EXPECT_EQ(video.Update(0.2f), VideoFile::VIDEO_PLAYING);
    EXPECT_EQ(video.display_texture, 4u);
    EXPECT_EQ(video.free, (std::list<uint32_t>{1}));
    EXPECT_EQ(video.active, (std::list<uint32_t>{3, 5, 6, 2}));
    // The displayed texture holds the second decoded picture (the third of the stream).
    EXPECT_EQ(gl.live[video.display_texture].pixels.size(), 320u * 240u * 3u);
}

TEST_F(VideoTest, BufferFramesZeroPlaysNothingAndStampsTheWord) {
    VideoFile video(&gl);
    OpenIntro(video, 0);
    EXPECT_EQ(video.display_texture, 1u);
    EXPECT_TRUE(video.free.empty());
    // DecodeStep finds no free texture: playing at once, and the tick finds nothing.
    EXPECT_EQ(video.Update(0.01f), VideoFile::VIDEO_PLAYING);  // no tick yet
    EXPECT_EQ(video.Update(0.05f), VideoFile::VIDEO_BUFFERING);
    EXPECT_EQ(gl.stamps, (std::vector<uint32_t>{1}));
    EXPECT_EQ(video.last_tick, 0.05f);
    // The word sits at (1, 1) of the black display texture.
    const std::vector<uint8_t>& px = gl.live[1].pixels;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 32; ++x)
            EXPECT_EQ(px[((1 + y) * 320 + 1 + x) * 3],
                      VideoFile::buffering_marker[(y * 32 + x) * 3]);
    EXPECT_EQ(px[0], 0);
    for (int i = 2; i < 40; ++i) video.Update(i * 0.05f);
    EXPECT_TRUE(gl.uploads.empty());  // no picture is ever decoded
    EXPECT_EQ(gl.stamps.size(), 39u);
}

TEST_F(VideoTest, BufferFramesOnePlaysOnePictureInFlightAndStampsOften) {
    VideoFile video(&gl);
    OpenIntro(video, 1);
    EXPECT_EQ(video.free, (std::list<uint32_t>{2}));
    float time = 0.0f;
    for (int i = 0; i < 600 && video.status != VideoFile::VIDEO_END; ++i) {
        time += 0.05f;
        video.Update(time);
        EXPECT_LE(video.active.size(), 1u);
        // With one picture in flight the tick never finds a next node to swap with: the
        // display keeps its black picture, stamped.
        EXPECT_EQ(video.display_texture, 1u);
    }
    EXPECT_GT(gl.uploads.size(), 50u);
    EXPECT_GT(gl.stamps.size(), 50u);
    for (uint32_t t : gl.uploads) EXPECT_EQ(t, 2u);
    for (uint32_t t : gl.stamps) EXPECT_EQ(t, 1u);
}

TEST_F(VideoTest, TheEndComesAtOnceWithPicturesStillWaiting) {
    VideoFile video(&gl);
    OpenIntro(video, 300);  // more textures than pictures: it never stops buffering
    UpdateUntil(video, 0.0f, [&] { return video.status == VideoFile::VIDEO_END; });
    ASSERT_EQ(video.status, VideoFile::VIDEO_END);
    // 250 pictures, the first dropped by Open: 249 wait in active, none was shown.
    EXPECT_EQ(gl.uploads.size(), 249u);
    EXPECT_EQ(video.active.size(), 249u);
    EXPECT_TRUE(video.current == video.active.end());
    EXPECT_EQ(video.display_texture, 1u);
    // END is returned at once, even with time enough for ticks.
    EXPECT_EQ(video.Update(10.0f), VideoFile::VIDEO_END);
    EXPECT_EQ(video.last_tick, 0.0f);
}

TEST_F(VideoTest, PlayedAtTwentyFiveAFrameTheIntroEndsAfterItsPictures) {
    VideoFile video(&gl);
    OpenIntro(video, 5);
    float time = 0.0f;
    int frames = 0;
    while (video.status != VideoFile::VIDEO_END && frames < 100000) {
        time += 0.01f;  // a game at 100 frames a second
        video.Update(time);
        ++frames;
    }
    EXPECT_EQ(video.status, VideoFile::VIDEO_END);
    EXPECT_EQ(gl.uploads.size(), 249u);
    // Ten seconds of pictures at 25 a second, give or take the start and the ring.
    EXPECT_GT(time, 9.0f);
    EXPECT_LT(time, 11.0f);
}

TEST_F(VideoTest, StoppedDoesNothingUntilStartedAgain) {
    VideoFile video(&gl);
    OpenIntro(video, 5);
    video.SetStopped(true);
    EXPECT_EQ(video.status, VideoFile::VIDEO_STOPPED);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(video.Update(i * 0.1f), VideoFile::VIDEO_STOPPED);
    EXPECT_TRUE(gl.uploads.empty());
    EXPECT_EQ(video.last_tick, 0.0f);
    video.SetStopped(false);
    EXPECT_EQ(video.status, VideoFile::VIDEO_BUFFERING);
    UpdateUntil(video, 0.0f, [&] { return !gl.uploads.empty(); });
    EXPECT_EQ(gl.uploads, (std::vector<uint32_t>{2}));
}

TEST_F(VideoTest, DumpListsNamesFreeThenActive) {
    VideoFile video(&gl);
    OpenIntro(video, 3);
    UpdateUntil(video, 0.0f, [&] { return video.active.size() == 1; });
    testing::internal::CaptureStdout();
    video.DumpLists();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "===========frame==================\nfl: 3\nfl: 4\nal: 2\n");
}

TEST_F(VideoTest, TheDestructorDeletesFreeThenActiveThenTheDisplay) {
    {
        VideoFile video(&gl);
        OpenIntro(video, 4);
        UpdateUntil(video, 0.0f, [&] { return video.active.size() == 2; });
        EXPECT_EQ(video.free, (std::list<uint32_t>{4, 5}));
        EXPECT_EQ(video.active, (std::list<uint32_t>{2, 3}));
    }
    EXPECT_EQ(gl.deleted, (std::vector<uint32_t>{4, 5, 2, 3, 1}));
    EXPECT_TRUE(gl.live.empty());
}

TEST_F(VideoTest, ANeverOpenedVideoDeletesNothing) {
    { VideoFile video(&gl); }
    EXPECT_TRUE(gl.deleted.empty());
    EXPECT_TRUE(gl.calls.empty());
}

TEST_F(VideoTest, SetStreamBufferSizeReplacesTheBuffer) {
    VideoFile video(&gl);
    video.SetStreamBufferSize(123);
    EXPECT_EQ(video.stream_buffer_size, 123u);
    ASSERT_NE(video.stream_buffer, nullptr);
    video.SetStreamBufferSize(4);
    EXPECT_EQ(video.stream_buffer_size, 4u);
    ASSERT_NE(video.stream_buffer, nullptr);
}

namespace {

// Mean absolute difference of two RGB pictures, per byte.
double MeanDifference(const uint8_t* a, const uint8_t* b, size_t bytes) {
    double sum = 0.0;
    for (size_t i = 0; i < bytes; ++i) sum += std::abs(int(a[i]) - int(b[i]));
    return sum / double(bytes);
}

// Decodes the whole intro into `gl` with a read buffer of `stream_buffer` bytes set after
// Open, as the widget does, and compares pictures with ffmpeg's.
void CompareWithFfmpeg(uint32_t stream_buffer) {
    MountData();
    const std::vector<uint8_t> reference = FfmpegPictures(IntroPath());
    const size_t picture = 320 * 240 * 3;
    ASSERT_EQ(reference.size(), 250 * picture) << "ffmpeg must decode the intro";

    RecordingTextures gl;
    gl.keep_pictures = true;
    VideoFile video(&gl);
    testing::internal::CaptureStdout();
    ASSERT_TRUE(video.Open(kIntro, 300));
    testing::internal::GetCapturedStdout();
    video.SetStreamBufferSize(stream_buffer);
    for (int i = 0; i < 200000 && video.status != VideoFile::VIDEO_END; ++i) video.Update(0.0f);
    ASSERT_EQ(gl.pictures.size(), 249u);

    // Upload i holds the stream's picture i + 1 (Open dropped picture 0).
    for (size_t i :
         {size_t(0), size_t(1), size_t(12), size_t(60), size_t(124), size_t(200), size_t(248)}) {
        const uint8_t* ours = gl.pictures[i].data();
        const uint8_t* theirs = reference.data() + (i + 1) * picture;
        const double same = MeanDifference(ours, theirs, picture);
        EXPECT_LT(same, 3.0) << "picture " << i + 1;
        // And the comparison can tell pictures apart: against a black picture the
        // difference is larger (the clip's last pictures have faded to black).
        if (i >= 240) continue;
        const std::vector<uint8_t> black(picture, 0);
        const double other = MeanDifference(ours, black.data(), picture);
        EXPECT_GT(other, 3.0 * same) << "picture " << i + 1;
    }
    // The channels are in R, G, B order: the sum of red over green keeps its sign.
    double red_ours = 0, red_theirs = 0, blue_ours = 0, blue_theirs = 0;
    for (size_t p = 0; p < picture; p += 3) {
        red_ours += gl.pictures[100][p];
        blue_ours += gl.pictures[100][p + 2];
        red_theirs += reference[101 * picture + p];
        blue_theirs += reference[101 * picture + p + 2];
    }
    EXPECT_EQ(red_ours > blue_ours, red_theirs > blue_theirs);
}

}  // namespace

TEST(VideoDecoding, PicturesMatchAnIndependentDecoder) { CompareWithFfmpeg(8000); }

TEST(VideoDecoding, ATinyReadBufferSetAfterOpenGivesTheSamePictures) { CompareWithFfmpeg(100); }

namespace {

std::vector<uint8_t> CorpusFile(const char* name) {
    std::ifstream in(std::string(VELMORA_SOURCE_DIR) + "/fuzz/corpus/video/" + name,
                     std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

uint64_t Playable(const std::vector<uint8_t>& bytes) {
    return VideoFile::PlayableLength(bytes.data(), bytes.size());
}

}  // namespace

TEST(VideoStreamCheck, AWholeGoodStreamIsPlayable) {
    std::ifstream in(IntroPath(), std::ios::binary);
    const std::vector<uint8_t> intro(std::istreambuf_iterator<char>(in), {});
    ASSERT_GT(intro.size(), 100000u);
    EXPECT_EQ(Playable(intro), intro.size());
    const std::vector<uint8_t> tiny = CorpusFile("tiny_32x32.m2v");
    EXPECT_EQ(Playable(tiny), tiny.size());
}

TEST(VideoStreamCheck, TheStreamEndsBeforeTheFirstBrokenSequence) {
    const std::vector<uint8_t> tiny = CorpusFile("tiny_32x32.m2v");
    const std::vector<uint8_t> strip = CorpusFile("strip_48x16.m2v");
    ASSERT_EQ(tiny[3], 0xB3);
    // Another picture size: cut at its sequence header.
    std::vector<uint8_t> two = tiny;
    two.insert(two.end(), strip.begin(), strip.end());
    EXPECT_EQ(Playable(two), tiny.size());
    // The same header again is fine.
    std::vector<uint8_t> twice = tiny;
    twice.insert(twice.end(), tiny.begin(), tiny.end());
    EXPECT_EQ(Playable(twice), twice.size());
    // A sequence header without its extension (MPEG-1): cut at the header.
    std::vector<uint8_t> mpeg1 = {0,    0,    1, 0xB3, 0x02, 0x00, 0x20, 0x13, 0xFF, 0xFF,
                                  0xE0, 0x18, 0, 0,    1,    0xB8, 0,    0,    0,    0};
    EXPECT_EQ(Playable(mpeg1), 0u);
    // An extension for 4:2:2 pictures (chroma format 2): cut at the header.
    std::vector<uint8_t> chroma = tiny;
    ASSERT_EQ(chroma[12 + 3], 0xB5);
    chroma[12 + 5] = uint8_t((chroma[12 + 5] & ~0x06) | (2 << 1));
    EXPECT_EQ(Playable(chroma), 0u);
    // A sequence extension after a picture: cut there.
    std::vector<uint8_t> stray = tiny;
    const std::vector<uint8_t> extension(tiny.begin() + 12, tiny.begin() + 22);
    stray.insert(stray.end(), extension.begin(), extension.end());
    EXPECT_EQ(Playable(stray), tiny.size());
    // A header cut short at the end of the file.
    std::vector<uint8_t> short_header = tiny;
    short_header.insert(short_header.end(), {0, 0, 1, 0xB3, 0x02});
    EXPECT_EQ(Playable(short_header), tiny.size());
}

TEST_F(VideoTest, AStreamThatChangesPictureSizeIsPlayedUpToTheChange) {
    // Four pictures of 32x32, then a sequence of 48x16: the decoder never sees the second.
    std::vector<uint8_t> bytes = CorpusFile("tiny_32x32.m2v");
    const std::vector<uint8_t> strip = CorpusFile("strip_48x16.m2v");
    bytes.insert(bytes.end(), strip.begin(), strip.end());
    testfiles::WriteFile("video/two_sizes.m2v", bytes);

    VideoFile video(&gl);
    testing::internal::CaptureStdout();
    ASSERT_TRUE(video.Open("video/two_sizes.m2v", 10));
    EXPECT_EQ(video.width, 32);
    EXPECT_EQ(video.height, 32);
    for (int i = 0; i < 2000; ++i) video.Update(0.0f);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    // Picture 1 (0 went to Open); the decoder holds the others back for an end of the
    // sequence that never comes.
    EXPECT_EQ(gl.uploads.size(), 1u);
    for (const auto& [name, t] : gl.live) EXPECT_EQ(t.w, 32) << name;
    EXPECT_EQ(video.status, VideoFile::VIDEO_BUFFERING);
}

TEST_F(VideoTest, AnMpeg1StreamIsRefused) {
    testfiles::WriteFile(
        "video/mpeg1.m2v",
        {0, 0, 1, 0xB3, 0x02, 0x00, 0x20, 0x13, 0xFF, 0xFF, 0xE0, 0x18, 0, 0, 1, 0xB8, 0, 0, 0, 0});
    VideoFile video(&gl);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(video.Open("video/mpeg1.m2v", 5));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");  // cut to nothing: no picture
    EXPECT_EQ(video.decoder, nullptr);
    EXPECT_EQ(video.Update(1.0f), VideoFile::VIDEO_BUFFERING);
    EXPECT_TRUE(gl.calls.empty());
}

TEST(VideoTrial, TheIntroDecodesCleanlyInItsChild) {
    std::ifstream in(std::string(VELMORA_SOURCE_DIR) + "/data/resources/video/intro.m2v",
                     std::ios::binary);
    const std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                                     std::istreambuf_iterator<char>());
    ASSERT_GT(bytes.size(), 1000u);
    EXPECT_TRUE(VideoFile::DecodesCleanly(bytes.data(), bytes.size()));
    // Bytes that are no stream at all end the child's decoding cleanly too.
    const std::vector<uint8_t> noise(3000, 0x5a);
    EXPECT_TRUE(VideoFile::DecodesCleanly(noise.data(), noise.size()));
    EXPECT_TRUE(VideoFile::DecodesCleanly(noise.data(), 0));
}
