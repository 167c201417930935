# The viewer tests run the character viewer: it is built first, and the tests know its path.
if(TARGET velmora_viewer)
  add_dependencies(${exe} velmora_viewer)
  target_compile_definitions(${exe} PRIVATE VELMORA_VIEWER="$<TARGET_FILE:velmora_viewer>")
endif()
