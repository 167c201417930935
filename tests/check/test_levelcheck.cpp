// The level checker: the shipped documents pass clean, each broken document of
// tests/check/broken gives exactly its one line and exit status, the level author's guide
// matches what the program prints, and the key tables are what the classes' Load functions
// really read, defaults included.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "app/classlist.h"
#include "app/levelcheck.h"
#include "cfo/cfodocument.h"
#include "cfo/cforeaders.h"
#include "cfo/file.h"
#include "scene/scenemanager.h"
#include "scene/scenemanagerkeys.h"
#include "support/tempfolder.h"

namespace {

const std::string kSource = VELMORA_SOURCE_DIR;

// The data folder, the broken documents (as "broken/...") and a folder of the tests' own.
void MountAll() {
    static bool mounted = false;
    if (mounted) return;
    mounted = true;
    FileSystemMount(kSource + "/data/");
    FileSystemMount(kSource + "/tests/check/");
}

const std::string& TempDir() {
    MountAll();
    static testsupport::MountedTempFolder folder("velmora_check");
    return folder.path;
}

void WriteDocument(const std::string& name, const std::string& text) {
    testsupport::WriteNativeFile(TempDir(), name, text.data(), text.size());
}

std::vector<std::string> Lines(const LevelCheck& check) {
    std::vector<std::string> lines;
    for (const LevelFinding& finding : check.Findings()) lines.push_back(finding.Line());
    return lines;
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string out;
    for (const std::string& line : lines) out += line + "\n";
    return out;
}

// The shipped documents a level author may hand to the checker.
std::vector<std::string> ShippedDocuments() {
    std::vector<std::string> out{"conf_pc_d.cfo"};
    for (const char* folder : {"scenes", "gui"}) {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(kSource + "/data/" + folder))
            if (entry.path().extension() == ".cfo")
                names.push_back(std::string(folder) + "/" + entry.path().filename().string());
        std::sort(names.begin(), names.end());
        out.insert(out.end(), names.begin(), names.end());
    }
    return out;
}

struct ProgramRun {
    int status = -1;
    std::string output;
};

// The program itself, from the source folder (where it finds "data/"), with tests/check on
// the search path.
ProgramRun RunCheck(const std::string& arguments) {
    const std::string command = "cd '" + kSource + "' && '" + std::string(VELMORA_CHECK_EXE) +
                                "' -I tests/check " + arguments + " 2>&1";
    ProgramRun run;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return run;
    char buffer[4096];
    size_t n;
    while ((n = fread(buffer, 1, sizeof(buffer), pipe)) > 0) run.output.append(buffer, n);
    const int status = pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

TEST(LevelCheckShipped, EveryShippedDocumentIsClean) {
    MountAll();
    const std::vector<std::string> documents = ShippedDocuments();
    ASSERT_GE(documents.size(), 5u);
    for (const std::string& document : documents) {
        LevelCheck check;
        check.CheckDocument(document);
        EXPECT_EQ(Joined(Lines(check)), "") << document;
    }
}

TEST(LevelCheckShipped, TheConfigurationReadsItsThreeRequires) {
    MountAll();
    LevelCheck check;
    check.CheckDocument("conf_pc_d.cfo");
    EXPECT_EQ(check.DocumentsRead(), 4);
    EXPECT_EQ(check.Errors(), 0);
    EXPECT_EQ(check.Warnings(), 0);
}

TEST(LevelCheckShipped, TheProgramPrintsOnlyItsSummaryAndExitsWithZero) {
    std::string arguments;
    for (const std::string& document : ShippedDocuments()) arguments += " " + document;
    const ProgramRun run = RunCheck(arguments);
    EXPECT_EQ(run.status, 0);
    // conf_pc_d.cfo and its three requires, then every scene and GUI document once more.
    const size_t count = 4 + ShippedDocuments().size() - 1;
    EXPECT_EQ(run.output,
              "velmora-check: " + std::to_string(count) + " documents, 0 errors, 0 warnings\n");
}

TEST(LevelCheckShipped, PathsFromAboveTheDataFolderNameTheSameDocuments) {
    const ProgramRun run = RunCheck("data/scenes/enemy_test.cfo");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "velmora-check: 1 documents, 0 errors, 0 warnings\n");
}

struct BrokenCase {
    const char* document;
    const char* line;
    int status;
    int documents;
};

// clang-format off
const BrokenCase kBroken[] = {
    {"unknown_class.cfo",
     "broken/unknown_class.cfo: game_scene: error: no class 'Dors' is registered; did you mean 'Doors'?", 1, 1},
    {"unknown_key.cfo",
     "broken/unknown_key.cfo: game_scene/Player/PhysicsCharacter: error: PhysicsCharacter reads no key 'move_sped'; did you mean 'move_speed'?", 1, 1},
    {"missing_file.cfo",
     "broken/missing_file.cfo: game_scene/Item: error: 'model' names 'resources/models/crate.asm', which is not on the search path", 1, 1},
    {"bad_extension.cfo",
     "broken/bad_extension.cfo: game_scene/Item: error: 'texture' names 'resources/textures/item_medkit.png', of a kind it does not read (it takes .dds, .tga)", 1, 1},
    {"hull_not_convex.cfo",
     "broken/hull_not_convex.cfo: game_scene/WorldGeometry/PhysicsStaticGeometry/hull: error: hull is not convex: its collisions are not reliable", 1, 1},
    {"hull_clockwise.cfo",
     "broken/hull_clockwise.cfo: game_scene/WorldGeometry/PhysicsStaticGeometry/hull: warning: hull is clockwise; hulls go counter-clockwise", 0, 1},
    {"hull_repeat.cfo",
     "broken/hull_repeat.cfo: game_scene/WorldGeometry/PhysicsStaticGeometry/hull: warning: hull vertex 4 (100,100) repeats vertex 3", 0, 1},
    {"hull_too_many.cfo",
     "broken/hull_too_many.cfo: game_scene/WorldGeometry/PhysicsStaticGeometry/hull: error: hull has 33 vertices; a body takes 32, the rest are dropped", 1, 1},
    {"walk_link.cfo",
     "broken/walk_link.cfo: game_scene/EnemyPoliceDude[2]/walk_path[5]: error: link 9 names no waypoint", 1, 1},
    {"walk_unreached.cfo",
     "broken/walk_unreached.cfo: game_scene/EnemyPoliceDude/walk_path[3]: warning: no link reaches waypoint 2", 0, 1},
    {"walk_first.cfo",
     "broken/walk_first.cfo: game_scene/EnemyPoliceDude/walk_path[1]: warning: first link 2 is read as a place in a list of 2 links, which it lies outside", 0, 1},
    {"doors_activator.cfo",
     "broken/doors_activator.cfo: game_scene/Doors: error: activator_name 'gate_switch' names no Trigger", 1, 1},
    {"duplicate_name.cfo",
     "broken/duplicate_name.cfo: game_scene/Player[2]: error: the name 'main_player' is given before at broken/duplicate_name.cfo: game_scene/Player[1]; the game finds only the first", 1, 1},
    {"no_game_scene.cfo",
     "broken/no_game_scene.cfo: level_one: error: no entity is named 'game_scene': the game takes the level by that name", 1, 1},
    {"abt_output.cfo",
     "broken/abt_output.cfo: game_scene/WorldGeometry/ABTBuilder: error: output_file 'data/resources/meshes/yard.abt' is not the file that 'file' loads ('data/resources/meshes/courtyard.abt')", 1, 1},
    {"require_cycle.cfo",
     "broken/require_cycle_b.cfo: error: require 'broken/require_cycle.cfo' is a cycle (broken/require_cycle.cfo -> broken/require_cycle_b.cfo -> broken/require_cycle.cfo); the game skips it", 1, 2},
};
// clang-format on

// Documents of the folder that only others require.
const char* const kRequiredOnly[] = {"require_cycle_b.cfo"};

class LevelCheckBroken : public ::testing::TestWithParam<BrokenCase> {};

TEST_P(LevelCheckBroken, GivesItsOneLineAndExitStatus) {
    const BrokenCase& c = GetParam();
    const ProgramRun run = RunCheck(std::string("broken/") + c.document);
    const int errors = c.status;
    const std::string summary = "velmora-check: " + std::to_string(c.documents) + " documents, " +
                                std::to_string(errors) + " errors, " + std::to_string(1 - errors) +
                                " warnings\n";
    EXPECT_EQ(run.output, std::string(c.line) + "\n" + summary);
    EXPECT_EQ(run.status, c.status);
}

INSTANTIATE_TEST_SUITE_P(Documents, LevelCheckBroken, ::testing::ValuesIn(kBroken),
                         [](const ::testing::TestParamInfo<BrokenCase>& info) {
                             std::string name = info.param.document;
                             name = name.substr(0, name.find('.'));
                             return name;
                         });

TEST(LevelCheckBrokenFolder, EveryDocumentHasItsCase) {
    std::set<std::string> listed;
    for (const BrokenCase& c : kBroken) listed.insert(c.document);
    for (const char* name : kRequiredOnly) listed.insert(name);
    std::set<std::string> present;
    for (const auto& entry : std::filesystem::directory_iterator(kSource + "/tests/check/broken"))
        present.insert(entry.path().filename().string());
    EXPECT_EQ(present, listed);
}

// ---- edge cases, in process ----

TEST(LevelCheckEdges, AKeyFarFromEveryKnownOneGetsNoSuggestion) {
    WriteDocument("edge/far.cfo", "Scene = { name = game_scene; zzzzzzzz = 1; }");
    LevelCheck check;
    check.CheckDocument("edge/far.cfo");
    EXPECT_EQ(Joined(Lines(check)),
              "edge/far.cfo: game_scene: error: Scene reads no key 'zzzzzzzz'\n");
}

TEST(LevelCheckEdges, AKeyGivenTwiceIsAWarningAboutTheFirst) {
    WriteDocument("edge/twice.cfo",
                  "Scene = { name = game_scene; camera_fov = 60; "
                  "camera_fov = 70; }");
    LevelCheck check;
    check.CheckDocument("edge/twice.cfo");
    EXPECT_EQ(Joined(Lines(check)),
              "edge/twice.cfo: game_scene/camera_fov[2]: warning: "
              "'camera_fov' is given again; Scene reads the first\n");
    EXPECT_EQ(check.Errors(), 0);
}

TEST(LevelCheckEdges, APhysicsStaticGeometryOfTheWorldRepeatsWithoutAWord) {
    WriteDocument("edge/walls.cfo",
                  "Scene = { name = game_scene; WorldGeometry = { "
                  "PhysicsStaticGeometry = { hull = { {0,0} {1,0} {1,1} } } "
                  "PhysicsStaticGeometry = { hull = { {0,0} {1,0} {1,1} } } } }");
    LevelCheck check;
    check.CheckDocument("edge/walls.cfo");
    EXPECT_EQ(Joined(Lines(check)), "");
}

TEST(LevelCheckEdges, ADocumentThatIsNotThereIsAnError) {
    MountAll();
    LevelCheck check;
    check.CheckDocument("scenes/none.cfo");
    EXPECT_EQ(Joined(Lines(check)), "scenes/none.cfo: error: not on the search path\n");
    EXPECT_EQ(check.DocumentsRead(), 0);
}

TEST(LevelCheckEdges, ARequireOfAMissingDocumentIsReportedAtTheRequire) {
    WriteDocument("edge/require.cfo", "Scene = { name = game_scene; require = \"edge/no.cfo\"; }");
    LevelCheck check;
    check.CheckDocument("edge/require.cfo");
    EXPECT_EQ(Joined(Lines(check)),
              "edge/require.cfo: game_scene: error: 'require' names "
              "'edge/no.cfo', which is not on the search path\n");
}

TEST(LevelCheckEdges, ARequiredDocumentsTopIsReadByTheRequiringClass) {
    WriteDocument("edge/part.cfo", "camera_fov = 50; camera_fox = 50;");
    WriteDocument("edge/whole.cfo", "Scene = { name = game_scene; require = \"edge/part.cfo\"; }");
    LevelCheck check;
    check.CheckDocument("edge/whole.cfo");
    EXPECT_EQ(Joined(Lines(check)),
              "edge/part.cfo: error: Scene reads no key 'camera_fox'; did you mean "
              "'camera_fov'?\n");
    EXPECT_EQ(check.DocumentsRead(), 2);
}

TEST(LevelCheckEdges, ADoorWithoutActivatorIsAWarning) {
    WriteDocument("edge/door.cfo", "Scene = { name = game_scene; Doors = { name = d; } }");
    LevelCheck check;
    check.CheckDocument("edge/door.cfo");
    EXPECT_EQ(Joined(Lines(check)),
              "edge/door.cfo: game_scene/Doors: warning: no "
              "activator_name: no Trigger moves this door\n");
}

TEST(LevelCheckEdges, ADoorFindsItsTriggerAnywhereInTheTree) {
    WriteDocument("edge/switch.cfo", "Trigger = { name = s; }");
    WriteDocument("edge/doors.cfo",
                  "Scene = { name = game_scene; Doors = { name = d; "
                  "activator_name = s; } require = \"edge/switch.cfo\"; }");
    LevelCheck check;
    check.CheckDocument("edge/doors.cfo");
    EXPECT_EQ(Joined(Lines(check)), "");
}

TEST(LevelCheckEdges, ABuilderWithoutAFileToReadIsAnError) {
    WriteDocument("edge/builder.cfo",
                  "Scene = { name = game_scene; WorldGeometry = { ABTBuilder = { "
                  "output_file = \"data/x.abt\"; } } }");
    LevelCheck check;
    check.CheckDocument("edge/builder.cfo");
    EXPECT_EQ(Joined(Lines(check)),
              "edge/builder.cfo: game_scene/WorldGeometry/ABTBuilder: error: output_file "
              "'data/x.abt' is written but no 'file' reads it\n");
}

TEST(LevelCheckEdges, AFileTheBuilderWritesNeedNotExistYet) {
    WriteDocument("edge/built.cfo",
                  "Scene = { name = game_scene; WorldGeometry = { ABTBuilder = { "
                  "output_file = \"data/resources/meshes/new.abt\"; } "
                  "file = \"resources/meshes/new.abt\"; } }");
    LevelCheck check;
    check.CheckDocument("edge/built.cfo");
    EXPECT_EQ(Joined(Lines(check)), "");
}

TEST(LevelCheckEdges, TheBuildersObjectsNameMeshesAndTexturesThatExist) {
    WriteDocument("edge/objects.cfo",
                  "Scene = { name = game_scene; WorldGeometry = { ABTBuilder = { "
                  "output_file = \"data/resources/meshes/courtyard.abt\"; Objects = { "
                  "{resources/meshes/courtyard_ground.asm,resources/textures/ground_cobbles.dds} "
                  "{resources/meshes/none.asm,resources/textures/ground_cobbles.dds} "
                  "{resources/meshes/courtyard_walls.asm} "
                  "{resources/meshes/courtyard_walls.asm,resources/textures/wall.tga} } } "
                  "file = \"resources/meshes/courtyard.abt\"; } }");
    LevelCheck check;
    check.CheckDocument("edge/objects.cfo");
    const std::string at = "edge/objects.cfo: game_scene/WorldGeometry/ABTBuilder/Objects";
    EXPECT_EQ(Joined(Lines(check)),
              at +
                  "[2]: error: 'mesh' names 'resources/meshes/none.asm', which is not on the "
                  "search path\n" +
                  at +
                  "[3]: error: object row 'resources/meshes/courtyard_walls.asm' has no "
                  "texture name; the builder skips it\n" +
                  at +
                  "[4]: error: 'texture' names 'resources/textures/wall.tga', of a kind "
                  "it does not read (it takes .dds)\n");
}

TEST(LevelCheckEdges, TheConfigurationsOtherTopNodesAreReadByNothing) {
    WriteDocument("edge/conf.cfo",
                  "Window = { width = 640; heigth = 480; } SceneManager = { "
                  "r_debug = 0; } Extra = { a = 1; }");
    LevelCheck check;
    check.CheckDocument("edge/conf.cfo");
    EXPECT_EQ(Joined(Lines(check)),
              "edge/conf.cfo: Window: error: Window reads no key 'heigth'; did you mean "
              "'height'?\n"
              "edge/conf.cfo: Extra: warning: the configuration's 'Extra' is read by nothing\n");
}

TEST(LevelCheckEdges, AnUnnamedBlockUnderAClassIsReadByNothing) {
    WriteDocument("edge/block.cfo", "Scene = { name = game_scene; { a = 1; } }");
    LevelCheck check;
    check.CheckDocument("edge/block.cfo");
    EXPECT_EQ(Joined(Lines(check)),
              "edge/block.cfo: game_scene[1]: warning: an unnamed block is read by nothing "
              "in Scene\n");
}

TEST(LevelCheckEdges, ALowerCaseScopeIsAnUnknownKeyNotAClass) {
    WriteDocument("edge/scope.cfo",
                  "Scene = { name = game_scene; Player = { name = main_player; "
                  "physicscharacter = { radius = 3; } } }");
    LevelCheck check;
    check.CheckDocument("edge/scope.cfo");
    EXPECT_EQ(Joined(Lines(check)),
              "edge/scope.cfo: game_scene/Player: error: Player reads no key "
              "'physicscharacter'; did you mean 'PhysicsCharacter'?\n");
}

TEST(LevelCheckEdges, ClassNodesDeeperThanTheTreeCapAreSkippedAsTheGameSkipsThem) {
    // The Scene and 256 items nested in one another: the last item is the 257th level.
    std::string text = "Scene = { name = game_scene; ";
    std::string path = "game_scene";
    for (int i = 0; i < 256; ++i) {
        text += "Item = { ";
        path += "/Item";
    }
    for (int i = 0; i < 257; ++i) text += "} ";
    WriteDocument("edge/deep.cfo", text);
    LevelCheck check;
    check.CheckDocument("edge/deep.cfo");
    EXPECT_EQ(Joined(Lines(check)),
              "edge/deep.cfo: " + path +
                  ": error: class nodes nested deeper than 256 levels; the game skips this one\n");
}

TEST(LevelCheckEdges, IncludesDeeperThanTheRequireCapAreSkipped) {
    // r0 requires r1, which requires r2, ... up to r33: r32's include is the 33rd.
    for (int i = 0; i <= 33; ++i)
        WriteDocument("edge/r" + std::to_string(i) + ".cfo",
                      i < 33 ? "require = \"edge/r" + std::to_string(i + 1) + ".cfo\";" : "");
    LevelCheck check;
    check.CheckDocument("edge/r0.cfo");
    EXPECT_EQ(Joined(Lines(check)),
              "edge/r32.cfo: error: require 'edge/r33.cfo' is nested "
              "deeper than 32 includes; the game skips it\n");
    EXPECT_EQ(check.DocumentsRead(), 33);
}

TEST(LevelCheckEdges, ADocumentThatDoesNotParseIsOneFindingAndNothingElse) {
    WriteDocument("edge/open.cfo", "Scene = { name = game_scene;\n");
    const ProgramRun run = RunCheck("-I '" + TempDir() + "' edge/open.cfo");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output,
              "edge/open.cfo: error: does not parse: Parse failed: Missing scopes\n"
              "velmora-check: 0 documents, 1 errors, 0 warnings\n");
}

TEST(LevelCheckEdges, TheProgramWithoutDocumentsShowsItsUsage) {
    const ProgramRun run = RunCheck("");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.output, "usage: velmora-check [-I folder]... DOCUMENT...\n");
}

// ---- the guide ----

TEST(LevelCheckGuide, DocsLevelsMdIsWhatTheProgramPrints) {
    LevelCheck check;
    const std::string expected = LevelKeysMarkdown(check);
    std::ifstream file(kSource + "/docs/levels.md", std::ios::binary);
    std::stringstream committed;
    committed << file.rdbuf();
    EXPECT_TRUE(committed.str() == expected)
        << "docs/levels.md is out of date; regenerate it from the source folder with\n"
           "  <build>/velmora-check --keys-markdown > docs/levels.md";
}

TEST(LevelCheckGuide, TheProgramPrintsTheGuide) {
    LevelCheck check;
    const ProgramRun run = RunCheck("--keys-markdown");
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(run.output == LevelKeysMarkdown(check));
}

// ---- the tables against the classes ----

struct Read {
    const CfoNode* node;
    const CfoKey* key;
    bool present;
    std::string kept;
};

std::vector<Read>& Reads() {
    static std::vector<Read> reads;
    return reads;
}

void Record(const CfoNode* node, const CfoKey& key, bool present, const std::string& kept) {
    Reads().push_back(Read{node, &key, present, kept});
}

struct Observing {
    Observing() {
        Reads().clear();
        CfoSetReadObserver(&Record);
    }
    ~Observing() { CfoSetReadObserver(nullptr); }
};

TEST(LevelCheckTables, EveryRegisteredClassHasATableOfItsOwnName) {
    LevelCheck check;
    const auto classes = check.Classes();
    ASSERT_EQ(classes.size(), 17u);
    for (const auto& entry : classes) {
        ASSERT_NE(entry.second, nullptr) << entry.first;
        EXPECT_EQ(std::string(entry.second->name), entry.first);
    }
    EXPECT_EQ(check.ClassKeys("SceneManager"), &scene_manager_keys);
    EXPECT_EQ(check.ClassKeys("Dors"), nullptr);
}

// Copies the children of `from` under `to`, but those named in `skip`, and notes which node
// each copy stands for.
void CopyWithout(const CfoNode* from, CfoNode* to, const std::set<std::string>& skip,
                 std::map<const CfoNode*, const CfoNode*>& origin) {
    origin[to] = from;
    for (const CfoNode* child : from->children) {
        if (child == nullptr || skip.count(child->GetName()) != 0) continue;
        CopyWithout(child, to->NewChild(child->GetName(), child->GetValue()), skip, origin);
    }
}

// Every Load of every class node of the shipped documents reads only keys of the table the
// checker gives that node, through that table's own entries.
TEST(LevelCheckTables, TheShippedDocumentsAreReadThroughTheCheckersTables) {
    MountAll();
    SceneManager manager;
    RegisterEngineClasses(&manager);
    LevelCheck check;
    size_t total = 0;
    for (const std::string& path : ShippedDocuments()) {
        CfoDocument document;
        ASSERT_TRUE(document.LoadFile(path)) << path;
        const bool configuration = document.FindChild("SceneManager") != nullptr;
        std::map<const CfoNode*, const CfoKeyTable*> tables;
        check.MapTables(&document, configuration, tables);
        // Every class node but the root's own, whose Load sets the process up.
        std::vector<const CfoNode*> nodes;
        for (const auto& entry : tables)
            if (entry.first != &document && check.ClassKeys(entry.first->GetName()) != nullptr &&
                entry.first->GetName() != "SceneManager")
                nodes.push_back(entry.first);
        Observing observing;
        std::map<const CfoNode*, const CfoNode*> origin;
        std::vector<std::unique_ptr<CfoNode>> copies;
        for (const CfoNode* node : nodes) {
            std::unique_ptr<Entity> entity(manager.GetClasses()->Create(node->GetName()));
            ASSERT_NE(entity, nullptr);
            // A world's tree file needs GL buffers, and its builder would write into whatever
            // folder the test runs in: the copy goes without "file" and "output_file".
            if (node->GetName() == "WorldGeometry") {
                copies.emplace_back(new CfoNode(node->GetName()));
                CopyWithout(node, copies.back().get(), {"file", "output_file"}, origin);
                entity->Load(copies.back().get(), nullptr);
            } else {
                entity->Load(const_cast<CfoNode*>(node), nullptr);
            }
        }
        for (Read& read : Reads())
            if (origin.count(read.node) != 0) read.node = origin[read.node];
        // The configuration holds no class node of its own: its requires are read below.
        if (!configuration) ASSERT_FALSE(Reads().empty()) << path;
        for (const Read& read : Reads()) {
            auto it = tables.find(read.node);
            ASSERT_NE(it, tables.end()) << path << ": a read of '" << read.key->name
                                        << "' on a node the checker gives no table";
            EXPECT_EQ(it->second->Find(read.key->name), read.key)
                << path << ": " << it->second->name << " read '" << read.key->name
                << "' through another table's entry";
        }
        total += Reads().size();
    }
    EXPECT_GT(total, 200u);
}

// Gives `node` an empty child for each child table its class reads, and so on down.
void AddEmptyTables(CfoNode* node, const CfoKeyTable* table) {
    for (; table != nullptr; table = table->base)
        for (const CfoKey& key : table->keys)
            if (key.type == CfoKeyType::Table && key.table != nullptr)
                AddEmptyTables(node->NewChild(key.name), key.table);
}

// A node without keys (only empty child tables): every key a class reads is absent, and the
// value it keeps is the table's default.
TEST(LevelCheckTables, EveryDefaultIsWhatTheClassKeepsWithoutTheKey) {
    MountAll();
    SceneManager manager;
    RegisterEngineClasses(&manager);
    LevelCheck check;
    std::set<std::string> compared;
    for (const auto& entry : check.Classes()) {
        if (entry.first == "SceneManager") continue;
        CfoNode node(entry.first);
        AddEmptyTables(&node, entry.second);
        Observing observing;
        std::unique_ptr<Entity> entity(manager.GetClasses()->Create(entry.first));
        entity->Load(&node, nullptr);
        for (const Read& read : Reads()) {
            const CfoKey& key = *read.key;
            if (key.type == CfoKeyType::Table) continue;
            EXPECT_FALSE(read.present) << entry.first << " '" << key.name << "'";
            if (key.derived || key.type == CfoKeyType::File || key.type == CfoKeyType::Rows)
                continue;
            EXPECT_EQ(read.kept, key.default_text) << entry.first << " '" << key.name << "'";
            compared.insert(entry.first + "." + key.name);
        }
    }
    EXPECT_TRUE(compared.count("Doors.open_pos"));
    EXPECT_TRUE(compared.count("Doors.init_state"));
    EXPECT_TRUE(compared.count("EnemyPoliceDude.wait_at_target"));
    EXPECT_TRUE(compared.count("GUIButton.font_size"));
    EXPECT_TRUE(compared.count("GUIVideo.buffer_frames"));
    EXPECT_TRUE(compared.count("Scene.camera_target"));
    EXPECT_TRUE(compared.count("Trigger.open_time"));
    // The child tables, read by the classes that hold them.
    EXPECT_TRUE(compared.count("Doors.move_speed"));
    EXPECT_TRUE(compared.count("Doors.wander"));
    EXPECT_TRUE(compared.count("EnemyPoliceDude.run_speed"));
    EXPECT_TRUE(compared.count("Trigger.direction"));
    EXPECT_TRUE(compared.count("Item.pos"));
    EXPECT_TRUE(compared.count("WorldGeometry.weights"));
    EXPECT_TRUE(compared.count("WorldGeometry.max_depth"));
}

}  // namespace
