#pragma once
// VideoFile: an MPEG video played into a GL texture, without a thread of its own. libmpeg2
// decodes and converts each picture to RGB; the file comes through the search path; each
// decoded picture goes into one of a small ring of textures, and the pictures are shown at
// a fixed tick of 25 a second (the rate of the stream's header is not used). There is no
// sound. It is not a Resource: a widget owns one as a member, opens it in Load (behind the
// loading panel) and calls Update once a frame, then Draw.
//
// The ring: `free` holds textures ready for a picture, `active` the decoded pictures,
// oldest first, and `current` the one whose turn it is. Each Update does one parse step
// and at most one upload; while any texture is free the video is BUFFERING. Once all
// hold pictures it PLAYS: a tick swaps the next picture's texture with `display_texture`
// (two integers, no copy), and the texture that was on display goes back to `free` at the
// next tick. When `active` runs dry the tick stamps the word "buffer" on the frozen
// picture. The decoder's end gives END at once, with pictures still waiting unshown.
//
// Ownership: the object owns the read buffer, the decoder, the file and its textures;
// the destructor deletes all of them. GL stays behind VideoTextures, so that decoding can
// run and be tested without a context: the game's textures are in videofile_gl.cpp.
//
// A VideoFile holds an iterator into its own list and is neither copied nor moved.

#include <array>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

extern "C" {
#include <mpeg2dec/mpeg2.h>
}

class File;

// Where the pictures go. The game's implementation makes GL textures of RGB8
// (GLVideoTextures); tests record the pictures instead.
class VideoTextures {
public:
    virtual ~VideoTextures() = default;
    // A texture of w x h RGB pixels, linear filters, filled with `zeros`; its name.
    virtual uint32_t Create(int32_t w, int32_t h, const uint8_t* zeros) = 0;
    virtual bool IsTexture(uint32_t texture) = 0;
    // Replaces the whole picture of `texture` (which IsTexture accepted).
    virtual void Upload(int32_t w, int32_t h, const uint8_t* pixels, uint32_t texture) = 0;
    // Binds `texture` and writes the 32 x 8 RGB `marker` at (1, 1) into it.
    virtual void Stamp(uint32_t texture, const uint8_t* marker) = 0;
    virtual void Delete(uint32_t texture) = 0;
};

// The game's GL textures; one object for the process.
VideoTextures* GLVideoTextures();

class VideoFile {
public:
    enum Status : int32_t {
        VIDEO_STOPPED = 0,    // nothing runs; Update does nothing
        VIDEO_END = 1,        // the stream has reached its end
        VIDEO_PLAYING = 2,    // pictures advance at the tick
        VIDEO_BUFFERING = 3,  // decoding goes on; the tick has not begun or ran dry
    };

    static constexpr int kMarkerWidth = 32;
    static constexpr int kMarkerHeight = 8;
    // The word "buffer", white on black, RGB bytes, rows from the top.
    static const std::array<uint8_t, kMarkerWidth * kMarkerHeight * 3> buffering_marker;

    // `textures` is not owned and must outlive the object; by default the GL one.
    explicit VideoFile(VideoTextures* textures = GLVideoTextures());
    ~VideoFile();
    VideoFile(const VideoFile&) = delete;
    VideoFile& operator=(const VideoFile&) = delete;

    // Opens `filename` on the search path, reads it once to find how much of it the
    // decoder may see (PlayableLength), then decodes up to the first picture (which is
    // dropped) and makes the display texture and `buffer_frames` more. False with
    // "Could not open '<name>'" for a missing file, "Could not allocate a decoder object"
    // when libmpeg2 has none, "Video: '<name>' is not an MPEG-2 stream" for MPEG-1,
    // "Video: '<name>' changes its picture size before its first picture", and silently
    // when the stream ends before a picture (the decoder is then closed again).
    bool Open(std::string filename, uint32_t buffer_frames);
    // A read buffer of `size` bytes for the next reads (8000 after Open). The old buffer
    // is kept until the decoder has used up what it holds.
    void SetStreamBufferSize(uint32_t size);
    // Once a frame: one parse step, then at `time` the tick when 0.04 s have passed.
    // Returns `status`. Without a successful Open (a missing file, a stream without a
    // picture, or no Open at all) there is no decoder: it does nothing and returns `status`.
    int32_t Update(float time);
    // VIDEO_STOPPED for true, VIDEO_BUFFERING for false.
    void SetStopped(bool stopped);
    // Binds `display_texture` when it is a texture and draws DrawQuad(x1, y1, x2, y2)
    // with texturing on. Needs a current GL context.
    void Draw(float x1, float y1, float x2, float y2);
    // How much of a stream the decoder may see: up to the first sequence header or
    // sequence extension that differs from the first ones, a sequence header without its
    // MPEG-2 extension, a sequence extension elsewhere, or one for other than 4:2:0
    // pictures below 4096 pixels. The decoder writes past its pictures on such streams.
    static uint64_t PlayableLength(const uint8_t* data, uint64_t size);
    // Decodes the first `size` bytes to their end in a child process, as playing them
    // would (converted to RGB, the decoder closed at the end): true when the child finishes
    // cleanly within 10 seconds. libmpeg2 0.5.1 writes and frees out of bounds on some
    // broken streams that no header check catches; such a stream breaks the child, not the
    // game.
    static bool DecodesCleanly(const uint8_t* data, uint64_t size);
    // Debug listing: the frame rule, then "fl: <texture>" for each free texture and
    // "al: <texture>" for each active one.
    void DumpLists();

    // The ring's textures: the display texture, then `n` more into `free`; once only.
    void AllocateTextures(int32_t w, int32_t h, uint32_t n);
    // Puts a picture into `texture` when it is a texture.
    void Upload(int32_t w, int32_t h, const uint8_t* pixels, uint32_t texture);
    // One parse step (see the header's note on the ring).
    void DecodeStep();

    std::list<uint32_t>::iterator current;  // the picture on show; end() before the first
    uint32_t display_texture = 0;           // what Draw binds
    std::list<uint32_t> active;             // decoded pictures, oldest first
    std::list<uint32_t> free;               // textures ready for a picture
    std::unique_ptr<uint8_t[]> stream_buffer;
    uint32_t stream_buffer_size = 0;
    bool textures_ready = false;
    float last_tick = 0.0f;
    float frame_interval = 0.04f;  // 25 pictures a second, whatever the stream says
    int32_t status = VIDEO_BUFFERING;
    int32_t width = 0;
    int32_t height = 0;
    std::unique_ptr<File> file;
    mpeg2dec_t* decoder = nullptr;  // owned: closed by the destructor
    const mpeg2_info_t* info = nullptr;

private:
    // Whether the decoder names a picture to show now, with its pixels and its sequence.
    bool PictureReady();
    // Bytes handed to the decoder that it may still be reading: Open's first chunk and a
    // buffer that SetStreamBufferSize replaced. Freed at the decoder's next request.
    std::vector<uint8_t> open_chunk;
    // Whether the decoder's sequence is MPEG-2. The decoder crashes on broken MPEG-1
    // sequences that carry MPEG-2 picture extensions, so only MPEG-2 is played.
    bool Mpeg2Sequence() const;
    // Closes the decoder of a failed Open, so that Update leaves the video alone.
    void CloseDecoder();
    // Reads up to `size` bytes of the stream, never past `stream_limit`.
    int64_t ReadStream(uint8_t* dest, uint32_t size);
    uint64_t stream_limit = 0;  // bytes of the file the decoder may see
    uint64_t stream_fed = 0;    // bytes read so far
    // Set at the end of the sequence (a valid or an invalid end) and when a sequence
    // header of another picture size (or of MPEG-1) arrived: no more parsing, the status
    // stays VIDEO_END.
    bool stream_stopped = false;
    std::unique_ptr<uint8_t[]> retired_buffer;
    VideoTextures* textures;  // not owned
};
