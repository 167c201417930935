#include "app/levelcheck.h"

#include <algorithm>
#include <fcntl.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sstream>

#include "app/classlist.h"
#include "app/datafolder.h"
#include "cfo/cfodocument.h"
#include "cfo/cforeaders.h"
#include "cfo/file.h"
#include "game/doors.h"
#include "game/trigger.h"
#include "game/walkpath.h"
#include "physics/physics.h"
#include "physics/physicskeys.h"
#include "platform/windowkeys.h"
#include "resources/resource.h"
#include "scene/scenemanager.h"
#include "scene/scenemanagerkeys.h"
#include "world/abttreebuilder.h"
#include "world/worldgeometry.h"

namespace {

// The names the game's code finds entities by: two entities under one of them, and the
// code finds only the first.
const char* const kLookedUpNames[] = {
    "game_scene",     "main_player", "MainGUILayer",    "GameGUILayer",   "intro_window",
    "editor_window",  "file_list",   "file_open_scene", "credits_window", "play_button",
    "credits_button", "exit_button", "bootup_window",   "main_window",
};

// The ABT builder writes its file from the folder the game runs in; the game reads the
// data folder through the search path as "data/".
const char* const kDataPrefix = "data/";

bool LookedUp(const std::string& name) {
    for (const char* known : kLookedUpNames)
        if (name == known) return true;
    return false;
}

std::string Value(const CfoNode* node, const char* key) {
    const CfoNode* child = node->FindChild(key);
    return child != nullptr ? child->GetValue() : std::string();
}

size_t EditDistance(const std::string& a, const std::string& b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t above = row[j];
            const size_t change = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({above + 1, row[j - 1] + 1, change});
            diagonal = above;
        }
    }
    return row[b.size()];
}

// "; did you mean 'x'?" for the closest candidate within a third of the name's length
// (at least 2 edits); the first of equals wins. Empty when none is close.
std::string Suggest(const std::string& name, const std::vector<std::string>& candidates) {
    const size_t limit = std::max<size_t>(2, name.size() / 3);
    const std::string* best = nullptr;
    size_t best_distance = limit + 1;
    for (const std::string& candidate : candidates) {
        if (candidate.empty()) continue;
        const size_t d = EditDistance(name, candidate);
        if (d < best_distance) {
            best = &candidate;
            best_distance = d;
        }
    }
    return best != nullptr ? "; did you mean '" + *best + "'?" : "";
}

std::vector<std::string> KeyNames(const CfoKeyTable* table, bool tables_only) {
    std::vector<std::string> names;
    for (; table != nullptr; table = table->base)
        for (const CfoKey& key : table->keys)
            if (!tables_only || key.type == CfoKeyType::Table) names.push_back(key.name);
    return names;
}

// The segment of `child` in a node path: its name, with [k] where a sibling shares it;
// an anonymous row is always [k] among the anonymous rows.
std::string Segment(const CfoNode* parent, const CfoNode* child) {
    int same = 0, place = 0;
    for (const CfoNode* sibling : parent->children) {
        if (sibling == nullptr || sibling->name != child->name) continue;
        ++same;
        if (sibling == child) place = same;
    }
    const std::string name = child->GetName();
    if (name.empty() || same > 1) return name + "[" + std::to_string(place) + "]";
    return name;
}

std::string Join(const std::string& path, const std::string& segment) {
    if (path.empty() || segment.empty()) return path + segment;
    if (segment[0] == '[') return path + segment;
    return path + "/" + segment;
}

// The segments of all of `parent`'s children at once, in their order (wide nodes make
// one pass, not one a child).
std::vector<std::string> Segments(const CfoNode* parent) {
    std::map<std::string, int> count;
    for (const CfoNode* child : parent->children)
        if (child != nullptr) ++count[child->GetName()];
    std::map<std::string, int> place;
    std::vector<std::string> out;
    out.reserve(parent->children.size());
    for (const CfoNode* child : parent->children) {
        if (child == nullptr) {
            out.emplace_back();
            continue;
        }
        const std::string name = child->GetName();
        const int k = ++place[name];
        out.push_back(name.empty() || count[name] > 1 ? name + "[" + std::to_string(k) + "]"
                                                      : name);
    }
    return out;
}

// A document's top node is known by its entity name when it has one.
std::string TopSegment(const CfoNode* child, const std::string& segment) {
    const std::string name = Value(child, "name");
    if (!name.empty() && !child->children.empty()) return name;
    return segment;
}

std::string Extension(const std::string& file) {
    const size_t dot = file.rfind('.');
    const size_t slash = file.rfind('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
    std::string extension = file.substr(dot + 1);
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

bool OnSearchPath(const std::string& file) {
    File probe(file, File::READ);
    return probe.IsOpen();
}

// Parses `path` into `document` with the parser's own log line held back: the checker's
// output is its findings, and a failure is one of them (the document's error).
bool LoadQuietly(CfoDocument& document, const std::string& path) {
    std::fflush(stdout);
    const int saved = dup(1);
    const int null = open("/dev/null", O_WRONLY);
    if (saved >= 0 && null >= 0) dup2(null, 1);
    const bool loaded = document.LoadFile(path);
    std::fflush(stdout);
    if (saved >= 0 && null >= 0) dup2(saved, 1);
    if (null >= 0) close(null);
    if (saved >= 0) close(saved);
    return loaded;
}

std::string Number(float value) {
    char text[32];
    std::snprintf(text, sizeof(text), "%g", static_cast<double>(value));
    return text;
}

}  // namespace

std::string LevelFinding::Line() const {
    std::string line = document + ": ";
    if (!path.empty()) line += path + ": ";
    return line + (error ? "error: " : "warning: ") + message;
}

struct LevelCheck::Tree {
    struct Place {
        std::string document;
        std::string path;
    };
    struct Door {
        Place place;
        bool has_activator = false;
        std::string activator;
    };
    std::string document;                // the document being read
    std::map<std::string, Place> names;  // looked-up names, where first given
    std::set<std::string> triggers;
    std::vector<Door> doors;
    std::set<std::string> built;  // files an ABTBuilder writes before they are read
    int32_t depth = 0;            // class nodes open, as LoadTree counts them
};

LevelCheck::LevelCheck() : manager(new SceneManager()) {
    RegisterEngineClasses(manager);
    RegisterResourceLoaders(manager);
}

LevelCheck::~LevelCheck() { delete manager; }

int LevelCheck::Errors() const {
    return static_cast<int>(std::count_if(findings.begin(), findings.end(),
                                          [](const LevelFinding& f) { return f.error; }));
}

int LevelCheck::Warnings() const { return static_cast<int>(findings.size()) - Errors(); }

const CfoKeyTable* LevelCheck::ClassKeys(const std::string& name) const {
    ClassRegistry* classes = manager->GetClasses();
    if (classes->factories.count(name) == 0) return nullptr;
    // The root's table lives beside it, outside the class.
    if (name == "SceneManager") return &scene_manager_keys;
    const CfoKeyTable* table = classes->KeysOf(name);
    return table != nullptr ? table : &entity_keys;
}

std::vector<std::pair<std::string, const CfoKeyTable*>> LevelCheck::Classes() const {
    std::vector<std::pair<std::string, const CfoKeyTable*>> out;
    for (const auto& entry : manager->GetClasses()->factories)
        out.emplace_back(entry.first, ClassKeys(entry.first));
    return out;
}

bool LevelCheck::LoaderTakes(const std::string& extension) const {
    std::unique_ptr<Resource> made(manager->GetResources()->Construct(extension));
    return made != nullptr;
}

void LevelCheck::Add(Tree& tree, const std::string& path, bool error, const std::string& message) {
    findings.push_back(LevelFinding{tree.document, path, error, message});
}

void LevelCheck::CheckDocument(const std::string& path) {
    Tree tree;
    tree.document = path;
    std::vector<std::string> stack;
    CheckFile(path, tree, stack);

    tree.document = path;
    for (const Tree::Door& door : tree.doors) {
        tree.document = door.place.document;
        if (!door.has_activator)
            Add(tree, door.place.path, false, "no activator_name: no Trigger moves this door");
        else if (tree.triggers.count(door.activator) == 0)
            Add(tree, door.place.path, true,
                "activator_name '" + door.activator + "' names no Trigger");
    }
}

void LevelCheck::CheckFile(const std::string& path, Tree& tree, std::vector<std::string>& stack) {
    const std::string outer = tree.document;
    tree.document = path;
    CfoDocument document;
    if (!OnSearchPath(path)) {
        // A require that names a missing file is reported at the require.
        if (stack.empty()) Add(tree, "", true, "not on the search path");
        tree.document = outer;
        return;
    }
    if (!LoadQuietly(document, path)) {
        Add(tree, "", true,
            "does not parse" + (document.error.empty() ? std::string() : ": " + document.error));
        tree.document = outer;
        return;
    }
    ++documents_read;
    stack.push_back(path);

    const bool configuration = stack.size() == 1 && document.FindChild("SceneManager") != nullptr;
    if (configuration) {
        // The program reads the "Window" and "SceneManager" nodes, nothing else.
        const std::vector<std::string> segments = Segments(&document);
        for (size_t i = 0; i < document.children.size(); ++i) {
            const CfoNode* child = document.children[i];
            if (child == nullptr) continue;
            const std::string& segment = segments[i];
            if (child->name == "Window")
                CheckTable(child, &window_keys, segment, tree);
            else if (child->name == "SceneManager")
                CheckClass(child, &scene_manager_keys, segment, tree, stack);
            else
                Add(tree, segment, false,
                    "the configuration's '" + child->GetName() + "' is read by nothing");
        }
    } else {
        // What LoadTree reads: the top's keys go to the SceneManager's Load.
        CheckLevel(&document, &scene_manager_keys, "", tree, stack);
        const CfoNode* scene = nullptr;
        bool game_scene = false;
        for (const CfoNode* child : document.children) {
            if (child == nullptr) continue;
            if (scene == nullptr && child->name == "Scene") scene = child;
            if (ClassKeys(child->GetName()) != nullptr && Value(child, "name") == "game_scene")
                game_scene = true;
        }
        if (scene != nullptr && !game_scene)
            Add(tree, TopSegment(scene, Segment(&document, scene)), true,
                "no entity is named 'game_scene': the game takes the level by that name");
    }
    stack.pop_back();
    tree.document = outer;
}

void LevelCheck::CheckClass(const CfoNode* node, const CfoKeyTable* table, const std::string& path,
                            Tree& tree, std::vector<std::string>& stack) {
    const std::string name = Value(node, "name");
    if (!name.empty() && LookedUp(name)) {
        auto first = tree.names.find(name);
        if (first == tree.names.end())
            tree.names.emplace(name, Tree::Place{tree.document, path});
        else
            Add(tree, path, true,
                "the name '" + name + "' is given before at " + first->second.document + ": " +
                    first->second.path + "; the game finds only the first");
    }
    if (table == &Trigger::key_table && !name.empty()) tree.triggers.insert(name);
    if (table == &Doors::key_table) {
        Tree::Door door;
        door.place = Tree::Place{tree.document, path};
        door.has_activator = node->FindChild("activator_name") != nullptr;
        door.activator = Value(node, "activator_name");
        tree.doors.push_back(door);
    }
    if (table == &WorldGeometry::key_table) CheckBuilder(node, path, tree);
    CheckLevel(node, table, path, tree, stack);
}

void LevelCheck::CheckLevel(const CfoNode* node, const CfoKeyTable* table, const std::string& path,
                            Tree& tree, std::vector<std::string>& stack) {
    std::set<std::string> seen;
    const std::vector<std::string> segments = Segments(node);
    for (size_t i = 0; i < node->children.size(); ++i) {
        const CfoNode* child = node->children[i];
        if (child == nullptr) continue;
        const std::string name = child->GetName();
        const std::string segment =
            path.empty() ? TopSegment(child, segments[i]) : Join(path, segments[i]);
        if (const CfoKeyTable* keys = ClassKeys(name)) {
            // LoadTree skips a class node nested too deep, and all below it.
            if (tree.depth >= SceneManager::kMaxTreeDepth) {
                Add(tree, segment, true,
                    "class nodes nested deeper than " +
                        std::to_string(SceneManager::kMaxTreeDepth) +
                        " levels; the game skips this one");
                continue;
            }
            ++tree.depth;
            CheckClass(child, keys, segment, tree, stack);
            --tree.depth;
        } else if (name == "require") {
            const std::string file = child->GetValue();
            static const CfoKey require_key{"require", CfoKeyType::File, "", "", nullptr, "cfo"};
            CheckValue(child, require_key, path, segment, tree);
            // The game's list of open includes holds the required documents, not the first.
            const int32_t includes = static_cast<int32_t>(stack.size()) - 1;
            if (std::find(stack.begin(), stack.end(), file) != stack.end()) {
                std::string cycle;
                for (auto it = std::find(stack.begin(), stack.end(), file); it != stack.end(); ++it)
                    cycle += *it + " -> ";
                Add(tree, path, true,
                    "require '" + file + "' is a cycle (" + cycle + file + "); the game skips it");
            } else if (includes >= SceneManager::kMaxRequireDepth) {
                Add(tree, path, true,
                    "require '" + file + "' is nested deeper than " +
                        std::to_string(SceneManager::kMaxRequireDepth) +
                        " includes; the game skips it");
            } else if (OnSearchPath(file)) {
                // The included document's top is read by this node's class.
                const std::string outer = tree.document;
                tree.document = file;
                CfoDocument document;
                if (!LoadQuietly(document, file)) {
                    Add(tree, "", true, "does not parse: " + document.error);
                } else {
                    ++documents_read;
                    stack.push_back(file);
                    CheckLevel(&document, table, "", tree, stack);
                    stack.pop_back();
                }
                tree.document = outer;
            }
        } else if (const CfoKey* key = table->Find(name)) {
            if (!key->repeats && !seen.insert(name).second)
                Add(tree, segment, false,
                    "'" + name + "' is given again; " + table->name + " reads the first");
            CheckValue(child, *key, path, segment, tree);
        } else {
            Unknown(child, table, true, path, segment, tree);
        }
    }
}

void LevelCheck::CheckTable(const CfoNode* node, const CfoKeyTable* table, const std::string& path,
                            Tree& tree) {
    std::set<std::string> seen;
    const std::vector<std::string> segments = Segments(node);
    for (size_t i = 0; i < node->children.size(); ++i) {
        const CfoNode* child = node->children[i];
        if (child == nullptr) continue;
        const std::string name = child->GetName();
        const std::string segment = Join(path, segments[i]);
        if (const CfoKey* key = table->Find(name)) {
            if (!key->repeats && !seen.insert(name).second)
                Add(tree, segment, false,
                    "'" + name + "' is given again; " + table->name + " reads the first");
            CheckValue(child, *key, path, segment, tree);
        } else {
            Unknown(child, table, false, path, segment, tree);
        }
    }
}

void LevelCheck::Unknown(const CfoNode* child, const CfoKeyTable* table, bool classes_allowed,
                         const std::string& path, const std::string& child_path, Tree& tree) {
    const std::string name = child->GetName();
    if (name.empty()) {
        Add(tree, child_path, false,
            std::string("an unnamed block is read by nothing in ") + table->name);
        return;
    }
    const bool looks_like_class = classes_allowed && !child->children.empty() &&
                                  std::isupper(static_cast<unsigned char>(name[0])) != 0;
    if (looks_like_class) {
        std::vector<std::string> candidates;
        for (const auto& entry : Classes()) candidates.push_back(entry.first);
        for (const std::string& key : KeyNames(table, true)) candidates.push_back(key);
        Add(tree, path, true, "no class '" + name + "' is registered" + Suggest(name, candidates));
        return;
    }
    Add(tree, path, true,
        std::string(table->name) + " reads no key '" + name + "'" +
            Suggest(name, KeyNames(table, false)));
}

void LevelCheck::CheckValue(const CfoNode* child, const CfoKey& key, const std::string& path,
                            const std::string& child_path, Tree& tree) {
    switch (key.type) {
        case CfoKeyType::File: {
            const std::string file = child->GetValue();
            if (file.empty()) return;
            const std::string extension = Extension(file);
            bool taken = false;
            std::string wanted;
            if (key.extensions[0] != '\0') {
                std::stringstream list(key.extensions);
                std::string item;
                while (std::getline(list, item, ',')) {
                    taken = taken || item == extension;
                    wanted += (wanted.empty() ? "." : ", .") + item;
                }
            } else {
                taken = !extension.empty() && LoaderTakes(extension);
                wanted = "a loader's";
            }
            if (!taken) {
                Add(tree, path, true,
                    std::string("'") + key.name + "' names '" + file +
                        "', of a kind it does not read (it takes " + wanted + ")");
                return;
            }
            if (tree.built.count(file) == 0 && !OnSearchPath(file))
                Add(tree, path, true,
                    std::string("'") + key.name + "' names '" + file +
                        "', which is not on the search path");
            return;
        }
        case CfoKeyType::Table:
            if (key.table != nullptr) CheckTable(child, key.table, child_path, tree);
            return;
        case CfoKeyType::Rows:
            if (key.table == &physics_hull_keys) CheckHull(child, child_path, tree);
            if (key.table == &walk_path_keys) CheckWalkPath(child, child_path, tree);
            if (key.table == &abt_builder_objects_keys) CheckObjects(child, child_path, tree);
            return;
        default:
            return;
    }
}

void LevelCheck::CheckHull(const CfoNode* hull, const std::string& path, Tree& tree) {
    // Read as PhysicsBody::LoadHull reads it: the first child's name of each row.
    std::vector<HVector2> vertices;
    for (const CfoNode* row : hull->children) {
        if (row == nullptr) continue;
        if (const CfoNode* first = row->FirstChild())
            vertices.push_back(CfoParseVector2(first->GetName()));
    }
    const size_t limit = static_cast<size_t>(PhysicsBody::kMaxVertices);
    if (vertices.size() > limit)
        Add(tree, path, true,
            "hull has " + std::to_string(vertices.size()) + " vertices; a body takes " +
                std::to_string(limit) + ", the rest are dropped");
    if (vertices.size() > limit) vertices.resize(limit);
    for (size_t i = 0; i < vertices.size(); ++i)
        for (size_t j = 0; j < i; ++j)
            if (vertices[i].x == vertices[j].x && vertices[i].y == vertices[j].y) {
                Add(tree, path, false,
                    "hull vertex " + std::to_string(i + 1) + " (" + Number(vertices[i].x) + "," +
                        Number(vertices[i].y) + ") repeats vertex " + std::to_string(j + 1));
                break;
            }
    PhysicsBody body;
    for (const HVector2& v : vertices) body.AddVertex(v);
    if (!body.IsConvex()) {
        Add(tree, path, true, "hull is not convex: its collisions are not reliable");
        return;
    }
    double area = 0.0;
    for (size_t i = 0; i < vertices.size(); ++i) {
        const HVector2& a = vertices[i];
        const HVector2& b = vertices[(i + 1) % vertices.size()];
        area += static_cast<double>(a.x) * b.y - static_cast<double>(b.x) * a.y;
    }
    if (area < 0.0) Add(tree, path, false, "hull is clockwise; hulls go counter-clockwise");
}

void LevelCheck::CheckWalkPath(const CfoNode* walk_path, const std::string& path, Tree& tree) {
    WalkPath graph;
    graph.Load(walk_path);
    const size_t count = graph.waypoints.size();
    std::vector<bool> reached(count, false);
    // Rows as the path names them: [k] among the anonymous rows, which are the waypoints.
    auto row = [&](size_t index) { return path + "[" + std::to_string(index + 1) + "]"; };
    for (size_t i = 0; i < count; ++i) {
        const std::vector<int>& links = graph.waypoints[i].neighbours;
        for (int link : links) {
            if (!graph.Contains(link))
                Add(tree, row(i), true, "link " + std::to_string(link) + " names no waypoint");
            else if (static_cast<size_t>(link) != i)
                reached[static_cast<size_t>(link)] = true;
        }
        // A patrol that comes from the waypoint it stands on takes the first link as a
        // place in the list (WalkPath::NextWaypoint).
        if (!links.empty() && (links[0] < 0 || static_cast<size_t>(links[0]) >= links.size()))
            Add(tree, row(i), false,
                "first link " + std::to_string(links[0]) + " is read as a place in a list of " +
                    std::to_string(links.size()) + " links, which it lies outside");
    }
    for (size_t i = 0; i < count; ++i)
        if (!reached[i]) Add(tree, row(i), false, "no link reaches waypoint " + std::to_string(i));
}

void LevelCheck::CheckObjects(const CfoNode* objects, const std::string& path, Tree& tree) {
    // Read as ABTBuilder() reads them: "mesh,texture" as the first child's name of a row.
    static const CfoKey mesh_key{"mesh", CfoKeyType::File, "", "", nullptr, "asm"};
    static const CfoKey texture_key{"texture", CfoKeyType::File, "", "", nullptr, "dds"};
    int row = 0;
    for (const CfoNode* entry : objects->children) {
        if (entry == nullptr) continue;
        const std::string at = path + "[" + std::to_string(++row) + "]";
        const CfoNode* first = entry->FirstChild();
        if (first == nullptr) continue;
        const std::string text = first->GetName();
        const size_t comma = text.find(',');
        if (comma == std::string::npos) {
            Add(tree, at, true,
                "object row '" + text +
                    "' has no texture name; the builder "
                    "skips it");
            continue;
        }
        const size_t end = text.find(',', comma + 1);
        CfoNode mesh("mesh", text.substr(0, comma));
        CfoNode texture(
            "texture",
            text.substr(comma + 1, end == std::string::npos ? std::string::npos : end - comma - 1));
        CheckValue(&mesh, mesh_key, at, at, tree);
        CheckValue(&texture, texture_key, at, at, tree);
    }
}

void LevelCheck::CheckBuilder(const CfoNode* world, const std::string& path, Tree& tree) {
    const CfoNode* builder = world->FindChild("ABTBuilder");
    if (builder == nullptr) return;
    const std::string output = Value(builder, "output_file");
    const std::string file = Value(world, "file");
    const std::string at = Join(path, Segment(world, builder));
    const std::string expected = kDataPrefix + file;
    if (file.empty()) {
        Add(tree, at, true, "output_file '" + output + "' is written but no 'file' reads it");
        return;
    }
    if (output != expected) {
        Add(tree, at, true,
            "output_file '" + output + "' is not the file that 'file' loads ('" + expected + "')");
        return;
    }
    tree.built.insert(file);
}

void LevelCheck::MapTables(const CfoNode* document, bool configuration,
                           std::map<const CfoNode*, const CfoKeyTable*>& out) const {
    struct Walker {
        const LevelCheck& check;
        std::map<const CfoNode*, const CfoKeyTable*>& out;
        void Table(const CfoNode* node, const CfoKeyTable* table) {
            out[node] = table;
            for (const CfoNode* child : node->children) {
                if (child == nullptr) continue;
                const CfoKey* key = table->Find(child->GetName());
                if (key != nullptr && key->type == CfoKeyType::Table && key->table != nullptr)
                    Table(child, key->table);
            }
        }
        void Level(const CfoNode* node, const CfoKeyTable* table) {
            out[node] = table;
            for (const CfoNode* child : node->children) {
                if (child == nullptr) continue;
                if (const CfoKeyTable* keys = check.ClassKeys(child->GetName())) {
                    Level(child, keys);
                    continue;
                }
                const CfoKey* key = table->Find(child->GetName());
                if (key != nullptr && key->type == CfoKeyType::Table && key->table != nullptr)
                    Table(child, key->table);
            }
        }
    };
    Walker walker{*this, out};
    if (!configuration) {
        walker.Level(document, &scene_manager_keys);
        return;
    }
    for (const CfoNode* child : document->children) {
        if (child == nullptr) continue;
        if (child->name == "Window") walker.Table(child, &window_keys);
        if (child->name == "SceneManager") walker.Level(child, &scene_manager_keys);
    }
}

namespace {

std::string Anchor(const std::string& name) {
    std::string anchor;
    for (char c : name) anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return anchor;
}

void KeyRows(const CfoKeyTable* table, std::vector<const CfoKeyTable*>& children,
             std::string& out) {
    out += "| Key | Type | Default | Meaning |\n|---|---|---|---|\n";
    for (const CfoKey& key : table->keys) {
        std::string type = CfoKeyTypeName(key.type);
        if (key.type == CfoKeyType::File && key.extensions[0] != '\0') {
            std::string list = key.extensions;
            std::replace(list.begin(), list.end(), ',', ' ');
            type += " (" + list + ")";
        }
        if (key.table != nullptr) {
            type += ": [" + std::string(key.table->name) + "](#" + Anchor(key.table->name) + ")";
            if (std::find(children.begin(), children.end(), key.table) == children.end())
                children.push_back(key.table);
        }
        std::string name = key.name[0] != '\0' ? std::string("`") + key.name + "`" : "(row)";
        if (key.repeats) name += " (repeats)";
        std::string fallback = key.default_text;
        if (!fallback.empty()) fallback = key.derived ? fallback : "`" + fallback + "`";
        out += "| " + name + " | " + type + " | " + fallback + " | " + key.description + " |\n";
    }
}

void Section(const std::string& title, const CfoKeyTable* table,
             std::vector<const CfoKeyTable*>& children, std::string& out) {
    std::string description = table->description;
    if (!description.empty())
        description[0] =
            static_cast<char>(std::toupper(static_cast<unsigned char>(description[0])));
    out += "\n### " + title + "\n\n" + description + ".";
    if (table->base != nullptr)
        out += " Also reads the keys of [" + std::string(table->base->name) + "](#" +
               Anchor(table->base->name) + ").";
    out += "\n\n";
    if (table->keys.empty())
        out += "No keys of its own.\n";
    else
        KeyRows(table, children, out);
}

}  // namespace

std::string LevelKeysMarkdown(const LevelCheck& check) {
    std::string out;
    out +=
        "# Writing levels\n"
        "\n"
        "<!-- Generated by `velmora-check --keys-markdown > docs/levels.md` from the key tables\n"
        "     that the classes read; edit the tables, not this file. -->\n"
        "\n"
        "Everything in a level is a CFO document: a node named after a class makes an entity\n"
        "of that class, its keys set the entity up, and a \"require\" entry reads another\n"
        "document in its place. This guide lists every class a document may name, with the\n"
        "keys its Load reads: the type, the value it keeps without the key and what the key\n"
        "does. A node a class does not read is skipped without a word by the game, so check a\n"
        "level before playing it.\n"
        "\n"
        "## Checking a level\n"
        "\n"
        "    velmora-check conf_pc_d.cfo scenes/my_level.cfo\n"
        "\n"
        "reads each document as the game does (through the data folder the game uses, following\n"
        "\"require\") and prints one line a finding, `document: node/path[k]: error: ...`: "
        "classes\n"
        "and keys that nothing reads (with the closest known name), files missing from the\n"
        "search path or of a kind no loader takes, collision hulls that are not convex,\n"
        "clockwise, repeat a vertex or have more than 32 vertices, waypoint links out of range\n"
        "or unreached, a `Doors` whose trigger does not exist, two entities under a name the\n"
        "game looks up, a scene without \"game_scene\", an ABT builder that writes another file\n"
        "than the one read, and \"require\" cycles. Warnings are what the game plays, but\n"
        "likely not as meant: a clockwise hull, a repeated hull vertex, a waypoint no link\n"
        "reaches, a first link outside its list (a patrol that stays put reads it as a place\n"
        "in the list), a door without \"activator_name\", a key given twice, an unnamed block\n"
        "and a configuration node the program does not read; everything else is an error.\n"
        "It exits with 1 when there are errors, 0 otherwise (2 for a wrong command line).\n"
        "`-I folder` adds a folder to the search path after the data folder, and a path from\n"
        "above the data folder (`data/scenes/x.cfo`) names the same document as the game's\n"
        "`scenes/x.cfo`.\n"
        "\n"
        "## Classes\n";
    std::vector<const CfoKeyTable*> children;
    std::vector<const CfoKeyTable*> bases;
    for (const auto& entry : check.Classes()) {
        Section(entry.first, entry.second, children, out);
        for (const CfoKeyTable* base = entry.second->base; base != nullptr; base = base->base)
            if (std::find(bases.begin(), bases.end(), base) == bases.end()) bases.push_back(base);
    }
    out += "\n## Shared keys\n";
    for (const CfoKeyTable* base : bases) Section(base->name, base, children, out);
    out += "\n## The configuration's window\n";
    Section("Window", &window_keys, children, out);
    out += "\n## Child nodes\n";
    for (size_t i = 0; i < children.size(); ++i) {
        const CfoKeyTable* child = children[i];
        Section(child->name, child, children, out);
    }
    return out;
}

int LevelCheckMain(int argc, char** argv, std::ostream& out) {
    std::vector<std::string> documents;
    std::vector<std::string> folders;
    bool markdown = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--keys-markdown") {
            markdown = true;
        } else if (arg == "-I" && i + 1 < argc) {
            folders.push_back(argv[++i]);
        } else if (arg == "-h" || arg == "--help" || (!arg.empty() && arg[0] == '-')) {
            out << "usage: velmora-check [-I folder]... DOCUMENT...\n"
                   "       velmora-check --keys-markdown\n";
            return arg == "-h" || arg == "--help" ? 0 : 2;
        } else {
            documents.push_back(arg);
        }
    }
    LevelCheck check;
    if (markdown) {
        out << LevelKeysMarkdown(check);
        return 0;
    }
    if (documents.empty()) {
        out << "usage: velmora-check [-I folder]... DOCUMENT...\n";
        return 2;
    }
    const std::string program = ProgramPath(argc > 0 && argv[0] != nullptr ? argv[0] : "");
    const std::string data = FindDataFolder(program);
    if (data.empty()) {
        out << "velmora-check: no data folder: looked in 'data/' and '"
            << InstalledDataFolder(program) << "'\n";
        return 2;
    }
    std::string reason;
    if (!FileSystemMount(data, "/", &reason)) {
        out << "velmora-check: " << reason << " '" << data << "'\n";
        return 2;
    }
    for (const std::string& folder : folders)
        if (!FileSystemMount(folder, "/", &reason)) {
            out << "velmora-check: " << reason << " '" << folder << "'\n";
            return 2;
        }
    for (std::string document : documents) {
        // A path given from the folder above the data ("data/scenes/x.cfo") names the same
        // document as the game's "scenes/x.cfo".
        if (document.rfind(kDataPrefix, 0) == 0 && data == kDataPrefix)
            document = document.substr(std::strlen(kDataPrefix));
        check.CheckDocument(document);
    }
    for (const LevelFinding& finding : check.Findings()) out << finding.Line() << "\n";
    out << "velmora-check: " << check.DocumentsRead() << " documents, " << check.Errors()
        << " errors, " << check.Warnings() << " warnings\n";
    return check.Errors() > 0 ? 1 : 0;
}
