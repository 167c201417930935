#include "gui/guicursor.h"

#include <GL/gl.h>

#include <string>

#include "cfo/cforeaders.h"
#include "platform/draw.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"

// clang-format off
constexpr CfoKey kGUICursorKeys[] = {
    {"image", CfoKeyType::File, "", "the pointer; its hot spot is the top-left corner",
     nullptr, "dds,tga"},
};
// clang-format on

const CfoKeyTable GUICursor::key_table{"GUICursor", "the pointer of a layer", kGUICursorKeys,
                                       &gui_object_keys};

void GUICursor::Load(CfoNode* node, ResourceManager* resources) {
    GUIObject::Load(node, resources);
    std::string file;
    if (node != nullptr && resources != nullptr &&
        CfoReadString(node, CfoKeyOf(kGUICursorKeys, "image"), file))
        resources->Load(image, file);
}

void GUICursor::Render(RenderQueue*) {
    const float w = size.x, h = size.y;
    glPushMatrix();
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glEnable(GL_BLEND);
    glTranslatef(pos.x, pos.y, 0.0f);
    if (!r_debug) {
        glColor3f(1.0f, 1.0f, 1.0f);
        glEnable(GL_TEXTURE_2D);
        image->Bind();
        DrawQuad(0.0f, h, w, 0.0f);
        glDisable(GL_TEXTURE_2D);
    } else {
        glColor4f(1.0f, 0.5f, 0.5f, 0.5f);
        glEnable(GL_TEXTURE_2D);
        image->Bind();
        DrawQuad(0.0f, h, w, 0.0f);
        glDisable(GL_TEXTURE_2D);
        glColor3f(1.0f, 1.0f, 0.0f);
        DrawCircle((h / 2.0f + w) / 2.0f, HVector2(0.0f, 0.0f), 16);
    }
    glPopMatrix();
}
