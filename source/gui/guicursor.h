#pragma once
// GUICursor: the mouse pointer of a menu layer. The layer makes and owns it; it is in no
// children list and has no parent, so its visibility is its own flag alone, and the layer
// keeps queueing it while the layer itself is hidden: the pointer stays over the game
// until a GUIEvent of kind 2 hides it. Its hot spot is the top-left corner of the image,
// drawn at `pos`, which the layer sets from each mouse motion.

#include "gui/guiobject.h"
#include "resources/resourcehandle.h"
#include "resources/texturedds.h"

class GUICursor : public GUIObject {
    VELMORA_ENTITY_TYPE("GUICursor")

    // The keys Load reads, for the level checker and the level author's guide.
    static const CfoKeyTable key_table;

public:
    GUICursor() = default;
    ~GUICursor() override = default;

    // The GUI keys, then "image".
    void Load(CfoNode* node, ResourceManager* resources) override;
    // The image from `pos` to `pos` + `size`; with "r_debug" tinted, with a circle round
    // the hot spot.
    void Render(RenderQueue* queue) override;

    ResourceHandle<TextureDDS> image;
};
