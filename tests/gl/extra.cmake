# The extension rule lives beside the window code, in the platform layer.
target_link_libraries(${exe} PRIVATE velmora_platform)
