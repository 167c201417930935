#pragma once
// LevelCheck: the level author's checker. It reads configuration, scene and GUI documents
// as the game reads them (through the search path, following "require"), without a window
// and without loading a single asset, and reports what the game would stumble over, one
// finding a line, like a compiler:
//
//   scenes/enemy_test.cfo: game_scene/EnemyPoliceDude[2]/walk_path[5]: error: link 9 names no
//   waypoint
//
// The location is the document and the node path: the node names from the document's top,
// a top node written by its entity "name" when it has one (levels are known by theirs:
// "game_scene"), and [k], the 1-based place among same-named siblings, where a name repeats;
// anonymous rows (waypoints, hull vertices) are [k] right after their parent's name.
// Errors are what the game gets wrong or skips; warnings are what it plays, but likely not
// as the author meant. The keys come from the classes' own key tables (cfo/cfokeys.h).
//
// A LevelCheck owns a SceneManager of its own that holds the class list and the resource
// loaders; the search path is PhysFS's, shared with the rest of the process.

#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "cfo/cfokeys.h"

class CfoNode;
class SceneManager;

struct LevelFinding {
    std::string document;  // as the search path names it
    std::string path;      // node path, see above; empty for the document itself
    bool error = true;     // else a warning
    std::string message;

    // "document: path: error: message".
    std::string Line() const;
};

class LevelCheck {
public:
    LevelCheck();
    ~LevelCheck();

    LevelCheck(const LevelCheck&) = delete;
    LevelCheck& operator=(const LevelCheck&) = delete;

    // Checks one document as the game reads it, with everything it requires. Each call is
    // one tree: names must be unique within it.
    void CheckDocument(const std::string& path);

    const std::vector<LevelFinding>& Findings() const { return findings; }
    int Errors() const;
    int Warnings() const;
    int DocumentsRead() const { return documents_read; }

    // The table of a class name; 0 for a name no class registers.
    const CfoKeyTable* ClassKeys(const std::string& name) const;
    // Every class a document may name, with its table, in name order.
    std::vector<std::pair<std::string, const CfoKeyTable*>> Classes() const;
    // The resource loaders' extensions (lower case, no dot).
    bool LoaderTakes(const std::string& extension) const;

    // The table that reads each node of `document`'s tree, as the checker assigns them;
    // the tables' own tests compare it with what the classes' Load functions read.
    void MapTables(const CfoNode* document, bool configuration,
                   std::map<const CfoNode*, const CfoKeyTable*>& out) const;

private:
    struct Tree;  // what one CheckDocument collects across its documents

    void CheckFile(const std::string& path, Tree& tree, std::vector<std::string>& stack);
    void CheckLevel(const CfoNode* node, const CfoKeyTable* table, const std::string& path,
                    Tree& tree, std::vector<std::string>& stack);
    void CheckClass(const CfoNode* node, const CfoKeyTable* table, const std::string& path,
                    Tree& tree, std::vector<std::string>& stack);
    void CheckTable(const CfoNode* node, const CfoKeyTable* table, const std::string& path,
                    Tree& tree);
    // `path` is the owner's, where a file is reported; a child table's findings go below it,
    // at `child_path`.
    void CheckValue(const CfoNode* child, const CfoKey& key, const std::string& path,
                    const std::string& child_path, Tree& tree);
    void CheckHull(const CfoNode* hull, const std::string& path, Tree& tree);
    void CheckWalkPath(const CfoNode* walk_path, const std::string& path, Tree& tree);
    void CheckObjects(const CfoNode* objects, const std::string& path, Tree& tree);
    void CheckBuilder(const CfoNode* world, const std::string& path, Tree& tree);
    void Unknown(const CfoNode* child, const CfoKeyTable* table, bool classes_allowed,
                 const std::string& path, const std::string& child_path, Tree& tree);
    void Add(Tree& tree, const std::string& path, bool error, const std::string& message);

    SceneManager* manager;  // owned: the class list and the loaders
    std::vector<LevelFinding> findings;
    int documents_read = 0;
};

// The level author's guide in Markdown: every class with its keys, types, defaults and
// descriptions, from the key tables. docs/levels.md is this text.
std::string LevelKeysMarkdown(const LevelCheck& check);

// The velmora-check program: arguments, search path, output and exit status (0 clean or
// warnings only, 1 with errors, 2 for a wrong command line or no data folder).
int LevelCheckMain(int argc, char** argv, std::ostream& out);
