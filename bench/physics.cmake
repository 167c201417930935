# The physics benchmark compares against Box2D (Debian libbox2d-dev): it needs the physics
# library, the event core it posts through, and libbox2d.
find_library(BOX2D_LIBRARY box2d REQUIRED)
set_property(TARGET bench_${name} PROPERTY LINK_LIBRARIES velmora_physics ${BOX2D_LIBRARY} benchmark::benchmark)
