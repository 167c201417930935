#pragma once
// The mini map of the in-game layer: a disc in the top right corner of the screen with the
// level's map texture scrolling and turning under it, the hero at its centre, an icon for
// each enemy and item that announced itself this frame, and an arrow on the rim for those
// too far away for the disc. The numbers belong to the one shipped level: its map texture
// covers exactly the rectangle below. Plain logic, no GL: the layer draws what this works
// out.

#include <cstdint>

#include "math/hvector2.h"

namespace minimap {

// The level's rectangle that the texture covers, in world units.
inline const HVector2 kMapMin(-1405.0f, -3004.0f);
inline const HVector2 kMapMax(3248.0f, 1224.0f);
constexpr float kUnitsPerPixel = 5.0f;          // world units per mini map unit
inline const HVector2 kCentre(910.0f, 108.0f);  // on the virtual screen
constexpr float kRadius = 95.0f;
constexpr int32_t kSegments = 35;
constexpr float kZoom = 0.2f;
constexpr float kArrowSize = 20.0f;

}  // namespace minimap

// One announced object of this frame.
struct MiniMapObject {
    float x = 0.0f, y = 0.0f;  // world position
    float angle = 0.0f;        // stored, not drawn
    float size = 0.0f;         // world units across
    uint32_t type_id = 0;      // the sender's class
    int32_t kind = 0;          // per sender: an enemy's alert state, an item's kind
};

// The texture matrix that puts the hero at the disc's centre, map north turned with his
// heading: translate (tx, ty), rotate by `angle` degrees about z, scale by kZoom, then
// translate (-0.5, -0.5).
struct MiniMapTextureTransform {
    float tx = 0.0f, ty = 0.0f;
    float angle = 0.0f;
};
MiniMapTextureTransform MiniMapTexture(HVector2 player_pos, float player_angle);

// Where an object goes, in the disc's turned frame (x mirrored).
struct MiniMapMark {
    bool arrow = false;  // too far for the disc: an arrow on the rim
    HVector2 at;         // the icon's centre, mini map units from the hero
    float half = 0.0f;   // half the icon's side
    HVector2 edge;       // the arrow's place on the rim
    float angle = 0.0f;  // the arrow's direction, degrees from +x (the sign as drawn)
};
// An object exactly on the inner limit ((radius - half) squared equal to the distance
// squared) gets an arrow. An object on the hero with no room on the disc points along +x.
MiniMapMark PlaceOnMiniMap(const MiniMapObject& object, HVector2 player_pos);

// Which icon an object binds: the enemy's, the health or target item's, or none (the last
// bound texture stays). Enemies are drawn white whatever their alert state.
enum class MiniMapIcon { KEEP, ENEMY, HEALTH, TARGET };
MiniMapIcon IconOf(const MiniMapObject& object, uint32_t enemy_type, uint32_t item_type);
