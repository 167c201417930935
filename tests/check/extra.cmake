# The checker's tests run the real program as a child process too.
if(TARGET velmora-check)
  add_dependencies(${exe} velmora-check)
  target_compile_definitions(${exe} PRIVATE VELMORA_CHECK_EXE="$<TARGET_FILE:velmora-check>")
endif()
