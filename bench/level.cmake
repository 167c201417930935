# Only the world library and what it stands on (not the whole engine), plus SDL for the
# benchmark's own window.
set_property(TARGET bench_${name} PROPERTY LINK_LIBRARIES velmora_world benchmark::benchmark PkgConfig::SDL2)
