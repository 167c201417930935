#include "resources/videofile.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <utility>

#include "cfo/file.h"

extern "C" {
#include <mpeg2dec/mpeg2convert.h>
}

namespace {

constexpr int kMarkerBytes = VideoFile::kMarkerWidth * VideoFile::kMarkerHeight * 3;

// The word stamped on a frozen picture while the video buffers: '#' white, '.' black.
// clang-format off
constexpr const char* kMarkerRows[VideoFile::kMarkerHeight] = {
    "..#.............#...#...........",
    "..#............#...#............",
    "..#.##..#...#.###.###..###..#.#.",
    "..##..#.#...#..#...#..#...#.##..",
    "..#...#.#...#..#...#..#####.#...",
    "..#...#.#...#..#...#..#.....#...",
    "..##..#.#..##..#...#..#...#.#...",
    "..#.##...##.#..#...#...###..#...",
};
// clang-format on

constexpr std::array<uint8_t, kMarkerBytes> MakeMarker() {
    std::array<uint8_t, kMarkerBytes> out{};
    for (int y = 0; y < VideoFile::kMarkerHeight; ++y)
        for (int x = 0; x < VideoFile::kMarkerWidth; ++x) {
            const uint8_t v = kMarkerRows[y][x] == '#' ? 255 : 0;
            for (int c = 0; c < 3; ++c) out[(y * VideoFile::kMarkerWidth + x) * 3 + c] = v;
        }
    return out;
}

constexpr uint32_t kOpenChunk = 4096;     // bytes a read of Open hands to the decoder
constexpr uint32_t kStreamBuffer = 8000;  // the read buffer after Open
constexpr uint32_t kDecodeTextures = 5;   // textures DecodeStep makes when Open made none

}  // namespace

const std::array<uint8_t, kMarkerBytes> VideoFile::buffering_marker = MakeMarker();

VideoFile::VideoFile(VideoTextures* video_textures) : textures(video_textures) {
    current = active.end();
}

VideoFile::~VideoFile() {
    stream_buffer.reset();
    stream_buffer_size = 0;
    for (uint32_t t : free)
        if (t != 0) textures->Delete(t);
    for (uint32_t t : active)
        if (t != 0) textures->Delete(t);
    if (display_texture != 0) textures->Delete(display_texture);
    file.reset();
    if (decoder != nullptr) mpeg2_close(decoder);
}

void VideoFile::SetStreamBufferSize(uint32_t size) {
    // The decoder may still be reading the old buffer: it goes when the decoder asks for
    // more.
    if (stream_buffer_size != 0 && stream_buffer != nullptr) {
        if (retired_buffer == nullptr) retired_buffer = std::move(stream_buffer);
        stream_buffer.reset();
    }
    stream_buffer.reset(new uint8_t[size == 0 ? 1 : size]);
    stream_buffer_size = size;
}

void VideoFile::AllocateTextures(int32_t w, int32_t h, uint32_t n) {
    if (textures_ready) return;
    std::vector<uint8_t> zeros(size_t(w) * size_t(h) * 3, 0);
    display_texture = textures->Create(w, h, zeros.data());
    for (uint32_t i = 0; i < n; ++i) free.push_back(textures->Create(w, h, zeros.data()));
    textures_ready = true;
}

void VideoFile::Upload(int32_t w, int32_t h, const uint8_t* pixels, uint32_t texture) {
    if (textures->IsTexture(texture)) textures->Upload(w, h, pixels, texture);
}

bool VideoFile::PictureReady() {
    if (info == nullptr || info->display_fbuf == nullptr || info->sequence == nullptr) return false;
    if (info->display_fbuf->buf[0] == nullptr) return false;
    return true;
}

bool VideoFile::Mpeg2Sequence() const {
    return info != nullptr && info->sequence != nullptr &&
           (info->sequence->flags & SEQ_FLAG_MPEG2) != 0;
}

uint64_t VideoFile::PlayableLength(const uint8_t* data, uint64_t size) {
    // Walks the start codes (00 00 01 xx). Every sequence header (B3) must repeat the first
    // one's eight bytes and be followed at once by a sequence extension (B5, identifier 1)
    // that repeats the first one's six, for 4:2:0 pictures below 4096 pixels; a sequence
    // extension anywhere else is refused too. The stream ends before the first offence:
    // for a sequence, before its header.
    uint8_t header[8] = {}, extension[6] = {};
    bool have_header = false, have_extension = false, expect_extension = false;
    uint64_t header_at = 0;  // the last sequence header: a bad extension cuts there
    for (uint64_t i = 0; i + 4 <= size; ++i) {
        if (data[i] != 0 || data[i + 1] != 0 || data[i + 2] != 1) continue;
        const uint8_t code = data[i + 3];
        if (code == 0xB3) {
            if (expect_extension) return header_at;
            if (i + 12 > size) return i;
            if (!have_header) {
                std::memcpy(header, data + i + 4, 8);
                have_header = true;
            } else if (std::memcmp(header, data + i + 4, 8) != 0) {
                return i;
            }
            expect_extension = true;
            header_at = i;
        } else if (code == 0xB5 && i + 5 <= size && (data[i + 4] >> 4) == 1) {
            if (!expect_extension) return i;
            if (i + 10 > size) return header_at;
            const uint8_t* e = data + i + 4;
            const int chroma = (e[1] >> 1) & 3;
            const int size_extension = ((e[1] & 1) << 2) | (e[2] >> 5);
            if (chroma != 1 || size_extension != 0) return header_at;
            if (!have_extension) {
                std::memcpy(extension, e, 6);
                have_extension = true;
            } else if (std::memcmp(extension, e, 6) != 0) {
                return header_at;
            }
            expect_extension = false;
        } else if (expect_extension) {
            return header_at;
        }
        i += 3;
    }
    return size;
}

int64_t VideoFile::ReadStream(uint8_t* dest, uint32_t size) {
    if (file == nullptr || stream_fed >= stream_limit) return 0;
    const uint64_t left = stream_limit - stream_fed;
    const uint32_t want = left < size ? uint32_t(left) : size;
    const int64_t got = file->Read(dest, 1, want);
    if (got > 0) stream_fed += uint64_t(got);
    return got;
}

void VideoFile::CloseDecoder() {
    if (decoder != nullptr) mpeg2_close(decoder);
    decoder = nullptr;
    info = nullptr;
}

// Sanitizer builds report an error through a death callback that the fuzzing engine sets
// up; a child that dies of a decoder fault must not report it as the parent's.
extern "C" void __sanitizer_set_death_callback(void (*callback)(void)) __attribute__((weak));

bool VideoFile::DecodesCleanly(const uint8_t* data, uint64_t size) {
    std::fflush(stdout);
    std::cout.flush();
    const pid_t child = fork();
    if (child < 0) return true;  // no child to try it in: play it as before
    if (child == 0) {
        if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(nullptr);
        for (int sig : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT}) std::signal(sig, SIG_DFL);
        alarm(10);
        mpeg2dec_t* trial = mpeg2_init();
        if (trial == nullptr) _exit(0);
        const mpeg2_info_t* trial_info = mpeg2_info(trial);
        uint64_t fed = 0;
        for (;;) {
            const mpeg2_state_t state = mpeg2_parse(trial);
            if (state == STATE_BUFFER) {
                if (fed >= size) break;
                const uint64_t n = std::min<uint64_t>(kOpenChunk, size - fed);
                mpeg2_buffer(trial, const_cast<uint8_t*>(data + fed),
                             const_cast<uint8_t*>(data + fed + n));
                fed += n;
            } else if (state == STATE_SEQUENCE) {
                if (trial_info->sequence == nullptr ||
                    !(trial_info->sequence->flags & SEQ_FLAG_MPEG2))
                    break;
                mpeg2_convert(trial, mpeg2convert_rgb24, nullptr);
            } else if (state == STATE_END || state == STATE_INVALID_END) {
                break;
            }
        }
        mpeg2_close(trial);
        _exit(0);
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child) return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool VideoFile::Open(std::string filename, uint32_t buffer_frames) {
    file = std::make_unique<File>(filename, File::READ);
    if (!file->IsOpen()) {
        std::cout << "Could not open '" << filename << "'" << std::endl;
        return false;
    }
    // One pass over the whole stream first: the decoder only ever sees it up to its first
    // broken sequence header. Then the file is read again from its start.
    {
        const int64_t length = file->ReadAll();
        stream_limit = length > 0 ? PlayableLength(reinterpret_cast<const uint8_t*>(file->Data()),
                                                   uint64_t(length))
                                  : 0;
        if (stream_limit > 0 &&
            !DecodesCleanly(reinterpret_cast<const uint8_t*>(file->Data()), stream_limit)) {
            std::cout << "Video: '" << filename << "' breaks the decoder" << std::endl;
            return false;
        }
    }
    file = std::make_unique<File>(filename, File::READ);
    stream_fed = 0;
    SetStreamBufferSize(kStreamBuffer);
    if (decoder != nullptr) mpeg2_close(decoder);
    info = nullptr;
    decoder = mpeg2_init();
    if (decoder == nullptr) {
        std::cout << "Could not allocate a decoder object" << std::endl;
        return false;
    }
    info = mpeg2_info(decoder);

    open_chunk.assign(kOpenChunk, 0);
    int32_t first_width = -1;
    int32_t first_height = -1;
    for (;;) {
        const mpeg2_state_t state = mpeg2_parse(decoder);
        switch (state) {
            case STATE_BUFFER: {
                const int64_t got = ReadStream(open_chunk.data(), kOpenChunk);
                if (got <= 0) {
                    // No picture in the whole stream: the decoder goes, so that Update
                    // leaves this video alone as after any failed Open.
                    CloseDecoder();
                    return false;
                }
                mpeg2_buffer(decoder, open_chunk.data(), open_chunk.data() + got);
                break;
            }
            case STATE_SEQUENCE:
                if (!Mpeg2Sequence()) {
                    std::cout << "Video: '" << filename << "' is not an MPEG-2 stream" << std::endl;
                    CloseDecoder();
                    return false;
                }
                // The decoder's converted pictures keep the first sequence's size: a
                // second size before the first picture is a broken stream.
                if (first_width >= 0 && (int32_t(info->sequence->width) != first_width ||
                                         int32_t(info->sequence->height) != first_height)) {
                    std::cout << "Video: '" << filename
                              << "' changes its picture size before its first picture" << std::endl;
                    CloseDecoder();
                    return false;
                }
                first_width = int32_t(info->sequence->width);
                first_height = int32_t(info->sequence->height);
                mpeg2_convert(decoder, mpeg2convert_rgb24, nullptr);
                break;
            case STATE_SLICE:
            case STATE_END:
            case STATE_INVALID_END:
                if (PictureReady()) {
                    width = int32_t(info->sequence->width);
                    height = int32_t(info->sequence->height);
                    // The display texture does not exist yet: this first picture is dropped.
                    Upload(width, height, info->display_fbuf->buf[0], display_texture);
                    AllocateTextures(width, height, buffer_frames);
                    // A stream whose first picture is also its end has nothing more.
                    if (state != STATE_SLICE) stream_stopped = true;
                    return true;
                }
                break;
            default:
                break;
        }
    }
}

void VideoFile::DecodeStep() {
    if (stream_stopped) {
        status = VIDEO_END;
        return;
    }
    if (free.empty()) {
        status = VIDEO_PLAYING;  // every texture holds a picture: buffering is over
        return;
    }
    const mpeg2_state_t state = mpeg2_parse(decoder);
    switch (state) {
        case STATE_BUFFER: {
            // The decoder has used up all it was given: older buffers may go.
            open_chunk.clear();
            open_chunk.shrink_to_fit();
            retired_buffer.reset();
            int64_t got = 0;
            if (file != nullptr && stream_buffer != nullptr)
                got = ReadStream(stream_buffer.get(), stream_buffer_size);
            if (got < 0) got = 0;
            mpeg2_buffer(decoder, stream_buffer.get(), stream_buffer.get() + got);
            break;
        }
        case STATE_SEQUENCE:
            // A stream whose pictures change size ends there: the textures have the first
            // size, and the decoder frees its pictures wrongly when a broken stream
            // changes size after an invalid end. So does one that turns to MPEG-1.
            if (!Mpeg2Sequence()) {
                std::cout << "Video: the stream turns to MPEG-1, the video ends there" << std::endl;
                stream_stopped = true;
                status = VIDEO_END;
                break;
            }
            if (textures_ready && info->sequence != nullptr &&
                (int32_t(info->sequence->width) != width ||
                 int32_t(info->sequence->height) != height)) {
                std::cout << "Video: the picture size changes from " << width << "x" << height
                          << " to " << info->sequence->width << "x" << info->sequence->height
                          << ", the video ends there" << std::endl;
                stream_stopped = true;
                status = VIDEO_END;
                break;
            }
            mpeg2_convert(decoder, mpeg2convert_rgb24, nullptr);
            break;
        case STATE_SLICE:
        case STATE_END:
        case STATE_INVALID_END: {
            // The decoder is not driven past the end of its sequence: what follows an end
            // in a broken stream makes it free its pictures wrongly. An invalid end ends
            // the video too, and its picture (which may be one already freed) is not taken.
            if (state == STATE_END || state == STATE_INVALID_END) {
                status = VIDEO_END;
                stream_stopped = true;
            }
            if (state == STATE_INVALID_END) break;
            if (!PictureReady()) break;
            const int32_t w = int32_t(info->sequence->width);
            const int32_t h = int32_t(info->sequence->height);
            if (!textures_ready) {
                width = w;
                height = h;
                AllocateTextures(w, h, kDecodeTextures);
            }
            // A picture of another size than the textures' would not fit them.
            if (w != width || h != height) break;
            if (free.empty()) break;
            const uint32_t t = free.front();
            free.pop_front();
            Upload(w, h, info->display_fbuf->buf[0], t);
            active.push_back(t);
            break;
        }
        default:
            break;
    }
}

int32_t VideoFile::Update(float time) {
    if (status == VIDEO_STOPPED) return status;
    // After a failed Open there is nothing to decode: the status stays as it is.
    if (decoder == nullptr) return status;
    DecodeStep();
    if (status == VIDEO_BUFFERING || status == VIDEO_END) return status;

    if (last_tick + frame_interval < time) {
        if (current == active.end() && !active.empty()) {
            current = active.begin();
            status = VIDEO_PLAYING;
        } else if (active.empty()) {
            status = VIDEO_BUFFERING;
            textures->Stamp(display_texture, buffering_marker.data());
        } else {
            const std::list<uint32_t>::iterator old = current;
            ++current;
            free.push_back(*old);
            active.erase(old);
            status = VIDEO_PLAYING;
            // The new picture goes on display; the one that was there waits in the node
            // and reaches `free` at the next tick.
            if (current != active.end() && textures->IsTexture(*current))
                std::swap(*current, display_texture);
        }
        last_tick = time;
    }
    return status;
}

void VideoFile::SetStopped(bool stopped) { status = stopped ? VIDEO_STOPPED : VIDEO_BUFFERING; }

void VideoFile::DumpLists() {
    std::cout << "===========frame==================" << std::endl;
    for (uint32_t t : free) std::cout << "fl: " << t << std::endl;
    for (uint32_t t : active) std::cout << "al: " << t << std::endl;
}
