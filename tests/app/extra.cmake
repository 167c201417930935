# The start-up tests run the real program as a child process.
if(TARGET velmora)
  add_dependencies(${exe} velmora)
  target_compile_definitions(${exe} PRIVATE VELMORA_EXE="$<TARGET_FILE:velmora>")
endif()
