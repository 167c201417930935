#include "app/digest.h"

#include <cinttypes>
#include <cstdio>
#include <initializer_list>

#include "game/doors.h"
#include "game/enemypolicedude.h"
#include "game/item.h"
#include "game/player.h"
#include "game/trigger.h"
#include "gui/customguilayer.h"
#include "gui/gameguilayer.h"
#include "scene/scene.h"
#include "scene/scenemanager.h"

namespace {

// Numbers only: every argument is a double, which keeps the formats simple to check.
template <class... Numbers>
std::string Format(const char* format, Numbers... numbers) {
    char text[128];
    snprintf(text, sizeof text, format, static_cast<double>(numbers)...);
    return text;
}

std::string Place(HVector2 p, float angle) {
    return Format(" pos=%.3f,%.3f angle=%.3f", p.x, p.y, angle);
}

const char* Named(int value, std::initializer_list<const char*> names, int first) {
    const int index = value - first;
    if (index < 0 || index >= static_cast<int>(names.size())) return "?";
    return names.begin()[index];
}

const char* EnemyState(int state) {
    return Named(state, {"walk", "wait", "choose", "chase", "search", "return", "attack", "dead"},
                 EnemyPoliceDude::WalkToWaypoint);
}

// What the game decides about one entity, after its name and class.
std::string Details(Entity* entity) {
    if (auto* player = dynamic_cast<Player*>(entity))
        return Place(player->physics.GetPosition(), player->physics.GetOrientation()) +
               Format(" health=%.2f stamina=%.2f", player->health, player->stamina);
    if (auto* enemy = dynamic_cast<EnemyPoliceDude*>(entity))
        return Place(enemy->physics.GetPosition(), enemy->physics.GetOrientation()) +
               Format(" health=%.2f", enemy->health) + " state=" + EnemyState(enemy->state);
    if (auto* doors = dynamic_cast<Doors*>(entity))
        return Place(doors->physics.GetPosition(), doors->physics.GetOrientation()) +
               " state=" + Named(doors->state, {"open", "closed", "opening", "closing"}, 0);
    if (auto* trigger = dynamic_cast<Trigger*>(entity))
        return std::string(" state=") + Named(trigger->state, {"on", "off", "on...", "off..."}, 0);
    if (auto* item = dynamic_cast<Item*>(entity))
        return Format(" kind=%.0f value=%.2f", item->kind, item->value) +
               (item->IsPaused() && !item->IsVisible() ? " taken" : " waiting");
    if (auto* scene = dynamic_cast<Scene*>(entity))
        return Format(" camera=%.0f paused=%.0f", scene->camera_mode, scene->IsPaused() ? 1 : 0);
    return "";
}

void Walk(Entity* entity, std::vector<std::string>* lines) {
    lines->push_back("Digest: " + entity->GetName() + " " + entity->GetTypeName() +
                     Details(entity));
    for (Entity* child : entity->GetChildren())
        if (child != nullptr) Walk(child, lines);
}

// A layer's widgets that show, by name, depth first.
void Shown(Entity* entity, std::string* names) {
    for (Entity* child : entity->GetChildren()) {
        if (child == nullptr || !child->visible) continue;
        *names += " " + (child->GetName().empty() ? child->GetTypeName() : child->GetName());
        Shown(child, names);
    }
}

}  // namespace

std::vector<std::string> StateDigest(SceneManager* scene_manager, unsigned long passes) {
    std::vector<std::string> lines;
    if (scene_manager == nullptr) return lines;
    lines.push_back("Digest: passes " + std::to_string(passes) +
                    Format(" time=%.4f", scene_manager->time));
    Entity* scene = scene_manager->FindEntity("game_scene");
    if (scene != nullptr && scene != scene_manager)
        Walk(scene, &lines);
    else
        lines.push_back("Digest: no game_scene");
    for (Entity* child : scene_manager->GetChildren()) {
        if (dynamic_cast<CustomGuiLayer*>(child) == nullptr &&
            dynamic_cast<GameGuiLayer*>(child) == nullptr)
            continue;
        std::string shown;
        if (child->IsVisible()) Shown(child, &shown);
        lines.push_back("Digest: " + child->GetName() + " " + child->GetTypeName() +
                        (child->IsVisible() ? " shows" + shown : " hidden"));
    }
    // FNV-1a over the lines and their ends.
    uint64_t hash = 0xcbf29ce484222325ull;
    for (const std::string& line : lines) {
        for (char c : line + "\n") {
            hash ^= static_cast<unsigned char>(c);
            hash *= 0x100000001b3ull;
        }
    }
    char text[64];
    snprintf(text, sizeof text, "Digest: hash %016" PRIx64, hash);
    lines.push_back(text);
    return lines;
}
