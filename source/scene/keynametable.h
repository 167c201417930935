#pragma once
// KeyNameTable: the names that key bindings of the configuration use ("uparrow", "F1",
// "kenter") and the SDL 1.2 key codes they stand for. Built on the stack by each
// SceneManager::Load and dropped at its end; only the codes it yields survive.
//
// The table is built in one fixed order and a repeated name overwrites the earlier code.
// Two names are repeated on purpose: "sysreq", and "kperiod", which ends as 269 (the
// keypad minus key) while "kminus" ends as 267 (the keypad divide key). No name maps to
// 266. Documents bound their keys with these values and keep them.
//
// Every name can fire except "lmeta" and "rmeta": SDL2 reports meta keys as the GUI keys,
// which are "lwindows" and "rwindows" (platform/sdlinput.h; docs/input.md).

#include <cstdint>
#include <map>
#include <string>

class KeyNameTable {
public:
    // Fills the table (137 assignments, 135 distinct names).
    void Build();
    // On a hit writes the code to `out` and returns true; on a miss leaves `out` alone.
    bool Lookup(const std::string& name, int32_t& out) const;

    size_t Size() const { return table.size(); }
    int32_t Assignments() const { return assignments; }

    std::map<std::string, int32_t> table;

private:
    void Set(const std::string& name, int32_t code);
    int32_t assignments = 0;
};
