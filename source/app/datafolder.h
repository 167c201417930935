#pragma once
// Where the game's data lives. A run from a checkout or a build tree finds "data/" in the
// current folder; an installed game finds the data installed beside its program
// (<prefix>/bin/velmora and <prefix>/share/velmora/data/). The current folder wins, so a
// level author's copy is always the one that plays.

#include <string>

// The data folder installed beside the program at `program_path`:
// <program's folder>/../share/velmora/data/.
std::string InstalledDataFolder(const std::string& program_path);

// The folder to mount: "data/" when the current folder holds one, else the installed one
// when it exists, else "" (nothing found).
std::string FindDataFolder(const std::string& program_path);

// The running program's own path (through /proc/self/exe); `fallback` when unknown.
std::string ProgramPath(const std::string& fallback);
