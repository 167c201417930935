#pragma once
// The lists that make a SceneManager able to read the game's documents: every entity class
// a document may name, and the resource loaders by file extension. The game registers both
// at start-up; the level checker registers the classes to know which names and keys a
// document may use, without a window.

class SceneManager;

// Every class that documents may name, in the game's order.
void RegisterEngineClasses(SceneManager* scene_manager);

// The resource loaders by file extension, in lookup order.
void RegisterResourceLoaders(SceneManager* scene_manager);
