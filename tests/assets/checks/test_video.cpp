// The intro video decodes through libmpeg2 from raw bytes to its last picture: 320x240,
// 250 pictures (10 s at the game's 25 a second), ending on the end-of-sequence code, and
// its pictures are those drawn: a lit courtyard in the middle, black at the end.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "assetfiles.h"

#ifdef VELMORA_HAVE_MPEG2
extern "C" {
#include <mpeg2dec/mpeg2.h>
#include <mpeg2dec/mpeg2convert.h>
}

namespace {

struct Decoded {
    int width = 0, height = 0, pictures = 0;
    bool ended = false;
    std::vector<double> mean;  // mean brightness of each picture, 0..255
};

Decoded Decode(const std::vector<uint8_t>& bytes) {
    Decoded d;
    mpeg2dec_t* dec = mpeg2_init();
    if (!dec) return d;
    const mpeg2_info_t* info = mpeg2_info(dec);
    size_t pos = 0;
    for (int guard = 0; guard < 10000000; ++guard) {
        mpeg2_state_t state = mpeg2_parse(dec);
        if (state == STATE_BUFFER) {
            if (pos >= bytes.size()) break;
            size_t n = std::min<size_t>(4096, bytes.size() - pos);
            mpeg2_buffer(dec, const_cast<uint8_t*>(bytes.data() + pos),
                         const_cast<uint8_t*>(bytes.data() + pos + n));
            pos += n;
        } else if (state == STATE_SEQUENCE) {
            mpeg2_convert(dec, mpeg2convert_rgb24, nullptr);
            d.width = int(info->sequence->width);
            d.height = int(info->sequence->height);
        } else if (state == STATE_SLICE || state == STATE_END || state == STATE_INVALID_END) {
            if (info->display_fbuf) {
                ++d.pictures;
                const uint8_t* rgb = info->display_fbuf->buf[0];
                double sum = 0;
                for (size_t i = 0; i < size_t(d.width) * d.height * 3; ++i) sum += rgb[i];
                d.mean.push_back(sum / (double(d.width) * d.height * 3));
            }
            if (state == STATE_END) d.ended = true;
        }
    }
    mpeg2_close(dec);
    return d;
}

}  // namespace

TEST(VideoData, IntroDecodesToItsLastPicture) {
    std::vector<uint8_t> bytes = ReadAll(DataPath("resources/video/intro.m2v"));
    ASSERT_GT(bytes.size(), 1000u);
    // A video elementary stream starts with a sequence header.
    EXPECT_EQ(bytes[0], 0x00);
    EXPECT_EQ(bytes[1], 0x00);
    EXPECT_EQ(bytes[2], 0x01);
    EXPECT_EQ(bytes[3], 0xB3);
    Decoded d = Decode(bytes);
    EXPECT_EQ(d.width, 320);
    EXPECT_EQ(d.height, 240);
    EXPECT_EQ(d.pictures, 250);
    EXPECT_TRUE(d.ended);
    ASSERT_EQ(d.mean.size(), 250u);
    EXPECT_LT(d.mean.front(), 8.0);  // fades in from black
    EXPECT_GT(d.mean[125], 60.0);    // the courtyard under the title
    EXPECT_LT(d.mean.back(), 8.0);   // and back to black
}

TEST(VideoData, TruncatedStreamStopsWithoutTheEnd) {
    std::vector<uint8_t> bytes = ReadAll(DataPath("resources/video/intro.m2v"));
    ASSERT_GT(bytes.size(), 20000u);
    bytes.resize(20000);
    Decoded d = Decode(bytes);
    EXPECT_EQ(d.width, 320);
    EXPECT_FALSE(d.ended);
    EXPECT_LT(d.pictures, 250);
}
#endif
