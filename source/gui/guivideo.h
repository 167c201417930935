#pragma once
// GUIVideo: a video in a rectangle of the GUI. The document names the file; Load opens it
// behind the loading panel (the slow part: file, first picture, textures), and the frame
// handler feeds the VideoFile one step a frame, also while the widget is hidden. At the
// end of the stream the video stops on its last picture and the widget posts one
// GUIVideoEvent (state 1) with its name; it neither loops nor restarts. The picture is
// stretched to the widget's size.

#include "events/eventmanager.h"
#include "events/events.h"
#include "gui/guiobject.h"
#include "resources/videofile.h"

class GUIVideo : public GUIObject, public EventListener {
    VELMORA_ENTITY_TYPE("GUIVideo")

    // The keys Load reads, for the level checker and the level author's guide.
    static const CfoKeyTable key_table;

public:
    // `textures` is where the pictures go: by default the game's GL textures.
    explicit GUIVideo(VideoTextures* textures = GLVideoTextures());
    ~GUIVideo() override = default;

    static constexpr int32_t kDefaultBufferFrames = 5;

    // "Buffering video..." on the loading panel, the GUI keys, "buffer_frames", then the
    // video of "file" opened and "stream_buffer_size" applied, then "Loading...". The
    // loading panel needs a GL context.
    void Load(CfoNode* node, ResourceManager* resources) override;
    // FrameEvent.
    void Bind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    void Render(RenderQueue* queue) override;

    // "buffer_frames", "file" (opened) and "stream_buffer_size" of `node`.
    void LoadVideo(CfoNode* node);
    // One step of the video at the frame's time; at its end the stop and the event; then
    // the queue.
    bool OnFrame(FrameEvent* event);
    // The video's step at `time` and, on its end, the stop and the event; the status.
    int32_t Advance(float time);

    int32_t buffer_frames = kDefaultBufferFrames;  // textures in circulation
    VideoFile video;
};
