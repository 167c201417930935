#include "gui/minimap.h"

#include <algorithm>
#include <cmath>

using namespace minimap;

MiniMapTextureTransform MiniMapTexture(HVector2 player_pos, float player_angle) {
    const HVector2 real_size = kMapMax - kMapMin;
    const HVector2 centre = kMapMin + real_size * 0.5f;
    const HVector2 p = player_pos - centre;
    MiniMapTextureTransform t;
    t.tx = p.x / real_size.x + 0.5f;
    t.ty = -p.y / real_size.y + 0.5f;
    t.angle = 90.0f - player_angle;
    return t;
}

MiniMapMark PlaceOnMiniMap(const MiniMapObject& object, HVector2 player_pos) {
    MiniMapMark mark;
    HVector2 v = (HVector2(object.x, object.y) - player_pos) / kUnitsPerPixel;
    mark.half = object.size / kUnitsPerPixel;
    const float d2 = v.x * v.x + v.y * v.y;
    v.x = -v.x;
    mark.at = v;
    const float room = kRadius - mark.half;
    if (room * room > d2) return mark;

    mark.arrow = true;
    const float length = std::sqrt(d2);
    const HVector2 n = length > 0.0f ? v / length : HVector2(1.0f, 0.0f);
    mark.edge = n * (kRadius - kArrowSize / 2.0f);
    // acos of the dot product with +x, the sign from the cross product: a cross of zero or
    // more gives the negative angle.
    const float dot = std::clamp(n.x, -1.0f, 1.0f);
    const float cross = n.y;
    const float degrees = std::acos(dot) * 180.0f / static_cast<float>(M_PI);
    mark.angle = cross >= 0.0f ? -degrees : degrees;
    return mark;
}

MiniMapIcon IconOf(const MiniMapObject& object, uint32_t enemy_type, uint32_t item_type) {
    if (enemy_type != 0 && object.type_id == enemy_type) return MiniMapIcon::ENEMY;
    if (item_type != 0 && object.type_id == item_type) {
        if (object.kind == 1) return MiniMapIcon::HEALTH;
        if (object.kind == 2) return MiniMapIcon::TARGET;
    }
    return MiniMapIcon::KEEP;
}
