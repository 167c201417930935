#include "app/classlist.h"

#include "game/doors.h"
#include "game/enemypolicedude.h"
#include "game/item.h"
#include "game/player.h"
#include "game/trigger.h"
#include "gui/customguilayer.h"
#include "gui/gameguilayer.h"
#include "gui/guibutton.h"
#include "gui/guifilewindow.h"
#include "gui/guiimage.h"
#include "gui/guilist.h"
#include "gui/guivideo.h"
#include "gui/guiwindow.h"
#include "resources/font.h"
#include "resources/shaderprogram.h"
#include "resources/sound.h"
#include "resources/texturedds.h"
#include "resources/texturetga.h"
#include "scene/scene.h"
#include "scene/scenemanager.h"
#include "world/meshaam.h"
#include "world/meshasm.h"
#include "world/staticgeometry.h"
#include "world/worldgeometry.h"

void RegisterEngineClasses(SceneManager* scene_manager) {
    ClassRegistry* classes = scene_manager->GetClasses();
    classes->Register<SceneManager>();
    classes->Register<CustomGuiLayer>();
    classes->Register<GameGuiLayer>();
    classes->Register<GUIWindow>();
    classes->Register<GUIButton>();
    classes->Register<GUIImage>();
    classes->Register<GUIVideo>();
    classes->Register<GUIList>();
    classes->Register<GUIFileWindow>();
    classes->Register<Scene>();
    classes->Register<Player>();
    classes->Register<EnemyPoliceDude>();
    classes->Register<StaticGeometry>();
    classes->Register<Trigger>();
    classes->Register<Doors>();
    classes->Register<Item>();
    classes->Register<WorldGeometry>();
}

void RegisterResourceLoaders(SceneManager* scene_manager) {
    scene_manager->RegisterResource("dds", TextureDDS());
    scene_manager->RegisterResource("tga", TextureTGA());
    scene_manager->RegisterResource("asm", MeshASM());
    scene_manager->RegisterResource("aam", MeshAAM());
    scene_manager->RegisterResource("glf", Font());
    scene_manager->RegisterResource("cg", ShaderProgram());
    scene_manager->RegisterResource("wav", Sound());
    scene_manager->RegisterResource("ogg", Sound());
}
