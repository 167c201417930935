#pragma once
// GUIImage: an image panel that shares its drawing with the video widget. Its "image" is
// loaded and kept but never bound, so the panel shows whatever texture was bound last:
// still pictures belong in a GUIWindow with "image".

#include "events/eventmanager.h"
#include "events/events.h"
#include "gui/guiobject.h"
#include "resources/resourcehandle.h"
#include "resources/texturedds.h"
#include "resources/videofile.h"

class GUIImage : public GUIObject, public EventListener {
    VELMORA_ENTITY_TYPE("GUIImage")

    // The keys Load reads, for the level checker and the level author's guide.
    static const CfoKeyTable key_table;

public:
    GUIImage() = default;
    ~GUIImage() override = default;

    // Shows "Buffering video..." and "Loading..." on the loading screen (a GL context is
    // needed), then the GUI keys and "image".
    void Load(CfoNode* node, ResourceManager* resources) override;
    // FrameEvent.
    void Bind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    void Render(RenderQueue* queue) override;

    bool OnFrame(FrameEvent* event);

    ResourceHandle<TextureDDS> image;
    // Never opened: Render draws through it, which binds nothing and leaves the quad with
    // the last bound texture.
    VideoFile video;
};
