#include "scene/scenemanagerkeys.h"

const CfoKeyTable scene_manager_keys{
    "SceneManager", "the root: settings, key bindings, the tree of the game", kSceneManagerKeys};
