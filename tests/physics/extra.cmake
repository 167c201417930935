# The physics tests give their bodies owning entities, from the scene layer above.
target_link_libraries(${exe} PRIVATE velmora_scene)
