#pragma once
// The key tables of the physics nodes that entities carry as children ("PhysicsCharacter",
// "PhysicsRayCast", "PhysicsStaticGeometry"); their Load functions read through them.

#include "cfo/cfokeys.h"

extern const CfoKeyTable physics_character_keys;
extern const CfoKeyTable physics_ray_cast_keys;
extern const CfoKeyTable physics_static_geometry_keys;
// A "hull" node: anonymous rows of "{x,y}", one vertex each, counter-clockwise.
extern const CfoKeyTable physics_hull_keys;
