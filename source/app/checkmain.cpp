// velmora-check: checks level documents as the game reads them; see app/levelcheck.h.
#include <iostream>

#include "app/levelcheck.h"

int main(int argc, char** argv) { return LevelCheckMain(argc, argv, std::cout); }
