#pragma once
// Helpers of the video tests: a VideoTextures that records what the GL one would do, the
// intro on the search path, and the pictures of an independent decoder (ffmpeg) of the
// same file.

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "cfo/file.h"
#include "resources/videofile.h"

namespace videotest {

// Names textures 1, 2, 3 ... and keeps their pictures; notes every call in order.
class RecordingTextures : public VideoTextures {
public:
    struct Texture {
        int32_t w = 0, h = 0;
        std::vector<uint8_t> pixels;
    };

    uint32_t Create(int32_t w, int32_t h, const uint8_t* zeros) override {
        const uint32_t name = next++;
        Texture& t = live[name];
        t.w = w;
        t.h = h;
        t.pixels.assign(zeros, zeros + size_t(w) * size_t(h) * 3);
        calls.push_back("create " + std::to_string(name));
        return name;
    }
    bool IsTexture(uint32_t texture) override { return live.count(texture) != 0; }
    void Upload(int32_t w, int32_t h, const uint8_t* pixels, uint32_t texture) override {
        Texture& t = live[texture];
        t.pixels.assign(pixels, pixels + size_t(w) * size_t(h) * 3);
        uploads.push_back(texture);
        if (keep_pictures) pictures.push_back(t.pixels);
        calls.push_back("upload " + std::to_string(texture));
    }
    void Stamp(uint32_t texture, const uint8_t* marker) override {
        stamps.push_back(texture);
        auto it = live.find(texture);
        if (it != live.end())
            for (int y = 0; y < VideoFile::kMarkerHeight; ++y)
                for (int x = 0; x < VideoFile::kMarkerWidth * 3; ++x)
                    it->second.pixels[size_t(1 + y) * it->second.w * 3 + 3 + x] =
                        marker[y * VideoFile::kMarkerWidth * 3 + x];
        calls.push_back("stamp " + std::to_string(texture));
    }
    void Delete(uint32_t texture) override {
        live.erase(texture);
        deleted.push_back(texture);
    }

    uint32_t next = 1;
    bool keep_pictures = false;
    std::map<uint32_t, Texture> live;
    std::vector<uint32_t> uploads;               // texture of each upload, in order
    std::vector<std::vector<uint8_t>> pictures;  // each upload's picture, with keep_pictures
    std::vector<uint32_t> stamps;
    std::vector<uint32_t> deleted;
    std::vector<std::string> calls;
};

inline const char* const kIntro = "resources/video/intro.m2v";

inline void MountData() {
    static bool mounted = FileSystemMount(std::string(VELMORA_SOURCE_DIR) + "/data");
    (void)mounted;
}

inline std::string IntroPath() { return std::string(VELMORA_SOURCE_DIR) + "/data/" + kIntro; }

// All pictures of a native file as ffmpeg decodes them, RGB bytes one after the other.
inline std::vector<uint8_t> FfmpegPictures(const std::string& native_path) {
    std::vector<uint8_t> out;
    const std::string command =
        "ffmpeg -nostdin -v error -i '" + native_path + "' -f rawvideo -pix_fmt rgb24 -";
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return out;
    uint8_t chunk[65536];
    size_t got;
    while ((got = std::fread(chunk, 1, sizeof(chunk), pipe)) > 0)
        out.insert(out.end(), chunk, chunk + got);
    pclose(pipe);
    return out;
}

}  // namespace videotest
