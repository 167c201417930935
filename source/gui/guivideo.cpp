#include "gui/guivideo.h"

#include <GL/gl.h>

#include <iostream>
#include <string>

#include "cfo/cforeaders.h"
#include "platform/draw.h"
#include "scene/scenemanager.h"

GUIVideo::GUIVideo(VideoTextures* textures) : video(textures) {}

// clang-format off
constexpr CfoKey kGUIVideoKeys[] = {
    {"buffer_frames", CfoKeyType::Int, "5", "pictures decoded ahead"},
    {"file", CfoKeyType::File, "", "the MPEG video stream", nullptr, "m2v,mpg,mpeg,m1v"},
    {"stream_buffer_size", CfoKeyType::UInt, "0", "bytes read from the stream at a time; "
     "0 keeps the player's own"},
};
// clang-format on

const CfoKeyTable GUIVideo::key_table{"GUIVideo", "a video playing in a rectangle", kGUIVideoKeys,
                                      &gui_object_keys};

void GUIVideo::Load(CfoNode* node, ResourceManager* resources) {
    DrawLoadingScreen("Buffering video...", true);
    GUIObject::Load(node, resources);
    if (node != nullptr) LoadVideo(node);
    DrawLoadingScreen("Loading...", true);
}

void GUIVideo::LoadVideo(CfoNode* node) {
    CfoReadInt(node, CfoKeyOf(kGUIVideoKeys, "buffer_frames"), buffer_frames);
    std::string file;
    if (CfoReadString(node, CfoKeyOf(kGUIVideoKeys, "file"), file)) {
        // A negative count would wrap around to billions of textures; none is what it means.
        if (buffer_frames < 0) {
            std::cout << "GUIVideo '" << name << "': buffer_frames " << buffer_frames
                      << " is negative, 0 used" << std::endl;
            buffer_frames = 0;
        }
        video.Open(file, static_cast<uint32_t>(buffer_frames));
    }
    uint32_t stream_buffer_size = 0;
    if (CfoReadUInt(node, CfoKeyOf(kGUIVideoKeys, "stream_buffer_size"), stream_buffer_size))
        video.SetStreamBufferSize(stream_buffer_size);
}

void GUIVideo::Bind(EventManager* events, SceneManager*, CollisionManager*) {
    if (events != nullptr) events->AddHandler(this, &GUIVideo::OnFrame);
}

int32_t GUIVideo::Advance(float time) {
    const int32_t state = video.Update(time);
    if (state == VideoFile::VIDEO_END) {
        video.SetStopped(true);
        auto* end = new GUIVideoEvent();
        end->name = name;
        end->state = VideoFile::VIDEO_END;
        Post(end);
    }
    return state;
}

bool GUIVideo::OnFrame(FrameEvent* event) {
    Advance(event->time);
    if (event->scene_manager != nullptr) event->scene_manager->AddToRenderQueue(this);
    return true;
}

void GUIVideo::Render(RenderQueue*) {
    const float w = size.x, h = size.y;
    BeginWidgetDraw(screen_pos);
    glColor3f(1.0f, 1.0f, 1.0f);
    glEnable(GL_TEXTURE_2D);
    video.Draw(-w / 2.0f, h / 2.0f, w / 2.0f, -h / 2.0f);
    DrawDebugOutline(size);
    EndWidgetDraw();
}
