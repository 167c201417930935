# The physics benchmark compares against Box2D (Debian libbox2d-dev): it needs the physics
# library, the event core it posts through, the entities that own the bodies, and libbox2d.
find_library(BOX2D_LIBRARY box2d REQUIRED)
set_property(TARGET bench_${name} PROPERTY LINK_LIBRARIES velmora_scene ${BOX2D_LIBRARY} benchmark::benchmark)
