// velmora_levelabt: writes the ABT file of a level exactly as the game's load step does,
// with the header's time stamp fixed, so that the committed tree can be compared byte for
// byte with a fresh build.
//
//   velmora_levelabt <data-dir> <level document under data-dir> <out-file>
//
// The level's WorldGeometry node holds the "ABTBuilder" step; the step runs on it as it
// stands, only with "output_file" pointed at <out-file>.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "world/abttreebuilder.h"

namespace {

// The game writes the local time of the build on the header's second line; a committed
// file carries this fixed one instead.
constexpr const char* kFixedStamp = "// 2000-1-1 0:0:0";

CfoNode* FindWorld(CfoNode* node) {
    if (node->name == "WorldGeometry") return node;
    for (CfoNode* child : node->children)
        if (CfoNode* found = FindWorld(child)) return found;
    return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: velmora_levelabt <data-dir> <level document> <out-file>\n";
        return 2;
    }
    const std::string out = argv[3];
    if (!FileSystemInit() || !FileSystemMount(argv[1])) {
        std::cerr << "velmora_levelabt: cannot mount '" << argv[1] << "'\n";
        return 1;
    }
    CfoDocument doc;
    if (!doc.LoadFile(argv[2])) return 1;
    CfoNode* world = FindWorld(&doc);
    CfoNode* builder = world != nullptr ? world->FindChild("ABTBuilder") : nullptr;
    if (builder == nullptr) {
        std::cerr << "velmora_levelabt: no WorldGeometry with an ABTBuilder in '" << argv[2]
                  << "'\n";
        return 1;
    }
    CfoNode* output = builder->FindChild("output_file");
    if (output == nullptr) output = builder->NewChild("output_file");
    output->value = out;
    ABTBuilder(builder);

    std::ifstream in(out, std::ios::binary);
    if (!in) {
        std::cerr << "velmora_levelabt: the builder wrote no '" << out << "'\n";
        return 1;
    }
    std::stringstream text;
    text << in.rdbuf();
    in.close();
    std::string all = text.str();
    const size_t first = all.find('\n');
    const size_t second = first == std::string::npos ? first : all.find('\n', first + 1);
    if (second == std::string::npos || all.compare(first + 1, 3, "// ") != 0) {
        std::cerr << "velmora_levelabt: unexpected header in '" << out << "'\n";
        return 1;
    }
    all.replace(first + 1, second - first - 1, kFixedStamp);
    std::ofstream rewritten(out, std::ios::binary | std::ios::trunc);
    rewritten << all;
    return rewritten ? 0 : 1;
}
