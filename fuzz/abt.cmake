# The ABT reader and its culling, without the rest of the engine.
target_link_libraries(fuzz_${name} PRIVATE velmora_world)
