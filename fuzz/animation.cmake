# The animation reader and the Animator, without the rest of the engine.
target_link_libraries(fuzz_${name} PRIVATE velmora_world)
