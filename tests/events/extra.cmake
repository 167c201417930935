# Handlers belong to entities: the event tests make small entity classes.
target_link_libraries(${exe} PRIVATE velmora_scene)
