#include "gui/gameguilayer.h"

#include <GL/gl.h>

#include <cmath>
#include <sstream>

#include "platform/draw.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "scene/scenemanager.h"

const CfoKeyTable GameGuiLayer::key_table{
    "GameGuiLayer", "the in-game layer: heads-up display and mini map", {}, &gui_object_keys};

void GameGuiLayer::Load(CfoNode* node, ResourceManager* resources) {
    if (resources != nullptr) {
        resources->Load(font, "resources/fonts/arial.glf");
        resources->Load(minimap_texture, "resources/textures/level1/minimap.dds");
        resources->Load(health_icon, "resources/textures/gui/ingame/health_ico.dds");
        resources->Load(enemy_icon, "resources/textures/gui/ingame/enemy_ico.dds");
        resources->Load(target_icon, "resources/textures/gui/ingame/target_ico.dds");
        resources->Load(arrow_icon, "resources/textures/gui/ingame/yellow_arrow.dds");
    }
    GUIObject::Load(node, resources);
}

void GameGuiLayer::Bind(EventManager* events, SceneManager* scene, CollisionManager*) {
    if (events != nullptr) {
        events->AddHandler(this, &GameGuiLayer::OnFrame);
        events->AddHandler(this, &GameGuiLayer::OnInput);
        events->AddHandler(this, &GameGuiLayer::OnGUIEvent);
        events->AddHandler(this, &GameGuiLayer::OnMessage);
        events->AddHandler(this, &GameGuiLayer::OnHUD);
        events->AddHandler(this, &GameGuiLayer::OnMiniMapObject);
    }
    float z = z_index;
    AssignZOrder(this, z, 1.0f);
    if (scene != nullptr) {
        player_type = scene->GetClasses()->TypeIdOf("Player");
        enemy_type = scene->GetClasses()->TypeIdOf("EnemyPoliceDude");
        item_type = scene->GetClasses()->TypeIdOf("Item");
    }
}

bool GameGuiLayer::IsVisible() { return visible; }

bool GameGuiLayer::OnFrame(FrameEvent* event) {
    time = event->time;
    width = virtual_width;
    height = virtual_height;
    if (event->scene_manager != nullptr) event->scene_manager->AddToRenderQueue(this);
    return true;
}

bool GameGuiLayer::OnInput(InputEvent* event) {
    const Sdl12Event& sdl = event->sdl_event;
    if (sdl.type != SDL12_KEYDOWN || sdl.key.keysym.sym != 27) return true;
    Entity* menu = FindEntity("MainGUILayer");
    if (menu != nullptr && menu->IsVisible()) return true;  // the menu has priority
    if (in_intro) return true;                              // the intro is left by its button
    Entity* intro = FindEntity("intro_window");
    if (intro == nullptr) return true;
    intro->SetVisible(!intro->IsVisible());
    if (!intro->IsVisible()) {
        Post(new ResumeGameEvent(true));
        Post(new GUIEvent(2, ""));
    } else {
        Post(new ResumeGameEvent(false));
        Post(new GUIEvent(3, ""));
    }
    return true;
}

bool GameGuiLayer::OnGUIEvent(GUIEvent* event) {
    if (event->kind != 1) return true;
    if (event->name == "exit_intro_button") {
        if (Entity* intro = FindEntity("intro_window")) {
            intro->SetVisible(false);
            Post(new CameraModeEvent(2));
            Post(new GUIEvent(2, ""));
        }
        in_intro = false;
        Post(new ResumeGameEvent(true));
    } else if (event->name == "exit_level_button") {
        SetVisible(false);
        if (Entity* menu = FindEntity("MainGUILayer")) menu->SetVisible(true);
        Post(new ResumeGameEvent(false));
    }
    return true;
}

bool GameGuiLayer::OnMessage(GameGUIMessageEvent* event) {
    if (event->mode == 0) AddGameMessage(messages, event->text, time, fade_in);
    return true;
}

bool GameGuiLayer::OnHUD(HUDEvent* event) {
    if (event->kind == 0) run = event->value;
    if (event->kind == 1) health = event->value;
    return true;
}

bool GameGuiLayer::OnMiniMapObject(MiniMapObjectEvent* event) {
    if (event->object_id == player_type) {
        player_pos = HVector2(event->position.x, event->position.y);
        player_angle = event->position.z;
        return true;
    }
    if (map_objects.size() >= kMaxMapObjects) return true;
    MiniMapObject object;
    object.x = event->position.x;
    object.y = event->position.y;
    object.angle = event->position.z;
    object.size = event->size;
    object.type_id = event->object_id;
    object.kind = event->kind;
    map_objects.push_back(object);
    return true;
}

std::string GameGuiLayer::Label(const char* prefix, float value) {
    std::ostringstream text;
    text << prefix << std::ceil(value);
    return text.str();
}

void GameGuiLayer::Render(RenderQueue*) {
    const float w = static_cast<float>(width), h = static_cast<float>(height);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0.0, w, h, 0.0, 1.0, 0.0);
    glMatrixMode(GL_MODELVIEW);
    // The 3D view keeps its camera in the model-view matrix: the screen starts from none.
    glLoadIdentity();
    glDisable(GL_DEPTH_TEST);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glDisable(GL_CULL_FACE);
    glPushMatrix();
    glDisable(GL_TEXTURE_2D);

    glPushMatrix();
    glTranslatef(18.0f, 12.0f, 0.0f);
    glColor3f(1.0f, 1.0f, 0.0f);
    DrawQuad(0.0f, 0.0f, 100.0f, 17.0f);
    glColor3f(0.0f, 0.7f, 0.0f);
    DrawQuad(0.0f, 0.0f, run, 17.0f);
    glPopMatrix();

    glPushMatrix();
    glTranslatef(18.0f, 35.0f, 0.0f);
    glColor3f(1.0f, 0.5f, 0.5f);
    DrawQuad(0.0f, 0.0f, 100.0f, 17.0f);
    glColor3f(0.7f, 0.0f, 0.0f);
    DrawQuad(0.0f, 0.0f, health, 17.0f);
    glPopMatrix();

    glColor3f(1.0f, 1.0f, 1.0f);
    font->Print(Label("Run: ", run), 0.5f, HVector2(20.0f, -10.0f));
    font->Print(Label("Hlth: ", health), 0.5f, HVector2(20.0f, -32.0f));

    DrawMessages();
    glPopMatrix();
    DrawMiniMap();
}

void GameGuiLayer::DrawMessages() {
    const float w = static_cast<float>(width), h = static_cast<float>(height);
    for (const GameMessage& message : messages) {
        const MessageLook look = LookOfMessage(message, time, fade_in, fade_out, h);
        glColor4f(1.0f, 1.0f, 1.0f, look.alpha);
        if (!message.text.empty())
            font->PrintCentred(message.text, 0.8f, HVector2(w / 2.0f, h - h / 6.0f + look.offset));
    }
    DropFinishedMessages(messages, time, fade_in, fade_out);
}

void GameGuiLayer::DrawMiniMap() {
    using namespace minimap;
    glPushMatrix();
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glEnable(GL_TEXTURE_2D);
    minimap_texture->Bind();

    const MiniMapTextureTransform t = MiniMapTexture(player_pos, player_angle);
    glMatrixMode(GL_TEXTURE);
    glLoadIdentity();
    glTranslatef(t.tx, t.ty, 0.0f);
    glRotatef(t.angle, 0.0f, 0.0f, 1.0f);
    glScalef(kZoom, kZoom, 1.0f);
    glTranslatef(-0.5f, -0.5f, 0.0f);
    glMatrixMode(GL_MODELVIEW);
    glTranslatef(kCentre.x, kCentre.y, 0.0f);
    glColor3f(1.0f, 1.0f, 1.0f);

    glBegin(GL_POLYGON);
    ForEachCircleAngle(kSegments, [](float a) {
        const float r = a * static_cast<float>(M_PI) / 180.0f;
        glTexCoord2f(std::cos(r) * 0.5f + 0.5f, std::sin(r) * 0.5f + 0.5f);
        glVertex2f(std::cos(r) * kRadius, std::sin(r) * kRadius);
    });
    glTexCoord2f(0.0f, 0.0f);
    glVertex2f(kRadius, 0.0f);
    glEnd();

    glMatrixMode(GL_TEXTURE);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glDisable(GL_TEXTURE_2D);
    glColor3f(1.0f, 1.0f, 1.0f);
    DrawCircle(30.0f / kUnitsPerPixel, HVector2(0.0f, 0.0f), 16);

    glEnable(GL_TEXTURE_2D);
    glRotatef(player_angle + 90.0f, 0.0f, 0.0f, 1.0f);
    for (const MiniMapObject& object : map_objects) {
        const MiniMapMark mark = PlaceOnMiniMap(object, player_pos);
        if (!mark.arrow) {
            switch (IconOf(object, enemy_type, item_type)) {
                case MiniMapIcon::ENEMY:
                    // The alert state picks a colour that white replaces before the quad.
                    if (object.kind == 2) glColor3f(1.0f, 0.0f, 0.0f);
                    if (object.kind == 1) glColor3f(1.0f, 0.5f, 0.0f);
                    if (object.kind == 0) glColor3f(1.0f, 1.0f, 0.0f);
                    enemy_icon->Bind();
                    break;
                case MiniMapIcon::HEALTH:
                    health_icon->Bind();
                    break;
                case MiniMapIcon::TARGET:
                    target_icon->Bind();
                    break;
                case MiniMapIcon::KEEP:
                    break;
            }
            glColor3f(1.0f, 1.0f, 1.0f);
            DrawQuad(mark.at.x - mark.half, mark.at.y - mark.half, mark.at.x + mark.half,
                     mark.at.y + mark.half);
        } else {
            glPushMatrix();
            arrow_icon->Bind();
            glColor3f(1.0f, 1.0f, 1.0f);
            glTranslatef(mark.edge.x, mark.edge.y, 0.0f);
            glRotatef(mark.angle - 90.0f, 0.0f, 0.0f, 1.0f);
            DrawQuad(-kArrowSize / 2.0f, -kArrowSize / 2.0f, kArrowSize / 2.0f, kArrowSize / 2.0f);
            glPopMatrix();
        }
    }
    glPopMatrix();
    map_objects.clear();
    SetTextureClamp(false);
}
