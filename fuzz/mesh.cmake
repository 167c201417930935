# The mesh readers and the ABT builder, without the rest of the engine.
target_link_libraries(fuzz_${name} PRIVATE velmora_world)
