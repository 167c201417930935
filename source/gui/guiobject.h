#pragma once
// GUIObject: an Entity with a rectangle, the base of every widget and of both GUI layers.
// The GUI lives in the same entity tree as the world; its space is the virtual screen of
// 1024 by 768 units (origin top left, y down) at every window size.
//
// A widget's place on the screen (`screen_pos`) is the sum of the "pos" values up its
// chain of parents, computed once in Load and never again: moving a parent later does not
// move its children, and a widget without "pos" stays at (0, 0) of the screen. The
// reference point is the centre of the rectangle for every widget but the cursor.
//
// Visibility runs down the tree: a widget is visible when its own flag and every parent's
// flag up to its layer are set (the layers answer with their own flag alone). Nothing in
// the GUI hides input: every widget listens to the events itself, so two overlapping
// buttons both take the same click.
//
// The drawing helpers here need a current GL context; the rest does not.

#include <cstdint>
#include <vector>

#include "math/hvector2.h"
#include "scene/entity.h"

// The keys GUIObject::Load reads, the base of every widget's table.
extern const CfoKeyTable gui_object_keys;

class GUIObject : public Entity {
public:
    GUIObject() = default;
    ~GUIObject() override = default;

    // The entity keys, then "size", then "pos"; with "pos", `screen_pos` becomes the sum of
    // the positions up the chain, so the parent must be set before Load.
    void Load(CfoNode* node, ResourceManager* resources) override;
    // `pos` plus the parent's answer; `local` itself without a parent. The SceneManager at
    // the root answers (0, 0).
    HVector2 GetPosition(HVector2 local) override;
    // The own flag, and the parent's answer while it is set.
    bool IsVisible() override;

    HVector2 screen_pos;  // absolute, virtual units; (0, 0) until Load sees "pos"
    HVector2 pos;         // relative to the parent
    HVector2 size;        // width and height
};

// Numbers `entity` and its subtree depth first: the entity takes `z`, then each child in
// list order takes the next value (z += step) before its own children. Each object thus
// lies above its parent and above its earlier siblings with all their subtrees.
void AssignZOrder(Entity* entity, float& z, float step);

// Calls `visit` with the angles, in degrees, of a circle of `segments` steps: from 0 in
// steps of 360/segments while the angle is at most 360, added up in float. Nothing for
// segments of 0 or less. The drawings walk it each frame without collecting the angles.
template <class Visit>
void ForEachCircleAngle(int32_t segments, Visit visit) {
    if (segments <= 0) return;
    const float step = 360.0f / static_cast<float>(segments);
    for (float a = 0.0f; a <= 360.0f; a += step) visit(a);
}

// The same angles collected.
std::vector<float> CircleAngles(int32_t segments);

// A line-strip circle of `radius` around `centre` in the model-view plane, closed by a
// vertex at (radius, 0). Draws nothing for segments of 0 or less.
void DrawCircle(float radius, HVector2 centre, int32_t segments);

// With the "r_debug" setting: the rectangle of `size` around the origin in yellow outline,
// then back to filled polygons. Without it nothing.
void DrawDebugOutline(HVector2 size);

// The start of every widget's Render: fog, lighting and face culling off, the model-view
// matrix saved and moved to `at`. EndWidgetDraw restores the matrix.
void BeginWidgetDraw(HVector2 at);
void EndWidgetDraw();

// Both wrap modes of the bound texture: clamped to the edge, or repeating.
void SetTextureClamp(bool clamp);
