// Fuzzes the video player's decoding: the input is an MPEG video stream, written to a
// file on the search path, opened with a small ring and played for a while through
// textures that only copy what they get (so that a picture read past its end shows).
// A read buffer of another size is set after Open, as the widget does.

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cfo/file.h"
#include "resources/videofile.h"

namespace {

class CopyingTextures : public VideoTextures {
public:
    uint32_t Create(int32_t w, int32_t h, const uint8_t* zeros) override {
        Touch(w, h, zeros);
        sizes.push_back(size_t(w) * size_t(h) * 3);
        return uint32_t(sizes.size());
    }
    bool IsTexture(uint32_t texture) override { return texture != 0 && texture <= sizes.size(); }
    void Upload(int32_t w, int32_t h, const uint8_t* pixels, uint32_t texture) override {
        if (size_t(w) * size_t(h) * 3 != sizes[texture - 1]) std::abort();
        Touch(w, h, pixels);
    }
    void Stamp(uint32_t, const uint8_t* marker) override {
        copy.assign(marker, marker + VideoFile::kMarkerWidth * VideoFile::kMarkerHeight * 3);
    }
    void Delete(uint32_t) override {}

    void Touch(int32_t w, int32_t h, const uint8_t* pixels) {
        copy.assign(pixels, pixels + size_t(w) * size_t(h) * 3);
    }

    std::vector<size_t> sizes;
    std::vector<uint8_t> copy;
};

const std::string& Folder() {
    static const std::string dir = [] {
        std::string d = (std::filesystem::temp_directory_path() /
                         ("velmora_fuzz_video_" + std::to_string(getpid())))
                            .string();
        std::filesystem::create_directories(d);
        FileSystemMount(d);
        return d;
    }();
    return dir;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    {
        std::ofstream out(Folder() + "/input.m2v", std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), std::streamsize(size));
    }
    CopyingTextures textures;
    {
        VideoFile video(&textures);
        if (video.Open("input.m2v", 2)) {
            video.SetStreamBufferSize(997);
            float time = 0.0f;
            for (int i = 0; i < 3000; ++i) {
                time += 0.03f;
                const int32_t status = video.Update(time);
                if (status == VideoFile::VIDEO_END) break;
                if (video.active.size() + video.free.size() > 3) std::abort();
            }
        } else {
            for (int i = 0; i < 10; ++i) video.Update(float(i));
        }
    }
    return 0;
}
