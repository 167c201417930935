#include "gui/guiobject.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <cmath>

#include "cfo/cfonode.h"
#include "cfo/cforeaders.h"
#include "platform/draw.h"
#include "platform/settings.h"

// clang-format off
constexpr CfoKey kGUIObjectKeys[] = {
    {"size", CfoKeyType::Vector2, "0,0", "width and height in virtual screen units"},
    {"pos", CfoKeyType::Vector2, "0,0", "centre, relative to the parent widget"},
};
// clang-format on

const CfoKeyTable gui_object_keys{"GUIObject", "the keys every widget reads", kGUIObjectKeys,
                                  &entity_keys};

void GUIObject::Load(CfoNode* node, ResourceManager* resources) {
    Entity::Load(node, resources);
    if (node == nullptr) return;
    CfoReadVector2(node, CfoKeyOf(kGUIObjectKeys, "size"), size);
    if (CfoReadVector2(node, CfoKeyOf(kGUIObjectKeys, "pos"), pos)) screen_pos = GetPosition(pos);
}

HVector2 GUIObject::GetPosition(HVector2 local) {
    if (parent == nullptr) return local;
    return pos + parent->GetPosition(local);
}

bool GUIObject::IsVisible() {
    if (!visible) return false;
    if (parent == nullptr) return visible;
    return parent->IsVisible();
}

void AssignZOrder(Entity* entity, float& z, float step) {
    if (entity == nullptr) return;
    entity->z_index = z;
    for (Entity* child : entity->children) {
        z += step;
        AssignZOrder(child, z, step);
    }
}

std::vector<float> CircleAngles(int32_t segments) {
    std::vector<float> angles;
    ForEachCircleAngle(segments, [&](float a) { angles.push_back(a); });
    return angles;
}

void DrawCircle(float radius, HVector2 centre, int32_t segments) {
    if (segments <= 0) return;
    glBegin(GL_LINE_STRIP);
    ForEachCircleAngle(segments, [&](float a) {
        const float r = a * static_cast<float>(M_PI) / 180.0f;
        glVertex2f(centre.x + std::cos(r) * radius, centre.y + std::sin(r) * radius);
    });
    glVertex2f(radius, 0.0f);
    glEnd();
}

void DrawDebugOutline(HVector2 size) {
    if (!r_debug) return;
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    glColor3f(1.0f, 1.0f, 0.0f);
    DrawQuad(-size.x / 2.0f, size.y / 2.0f, size.x / 2.0f, -size.y / 2.0f);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
}

void BeginWidgetDraw(HVector2 at) {
    glDisable(GL_FOG);
    glDisable(GL_LIGHTING);
    glDisable(GL_CULL_FACE);
    glPushMatrix();
    glTranslatef(at.x, at.y, 0.0f);
}

void EndWidgetDraw() { glPopMatrix(); }

void SetTextureClamp(bool clamp) {
    const GLint mode = clamp ? GL_CLAMP_TO_EDGE : GL_REPEAT;
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, mode);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, mode);
}
