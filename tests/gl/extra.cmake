# The extension rule lives beside the window code.
target_link_libraries(${exe} PRIVATE velmora_app)
