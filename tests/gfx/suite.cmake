# Graphical end-to-end tests: every tests/gfx/test_*.py runs the real velmora binary (or the
# probe program, tests/probe, where a test looks inside the frame loop) inside
# its own Xvfb (scripts/with-xvfb.sh) through the harness in tests/gfx/harness.py.
# A script names its labels on a line "# labels: app;gfx" (default "app;gfx"); "gfx" is
# always added so that `ctest -LE gfx` leaves them all out. A line "# serial" runs the script
# alone: a played scene whose physics steps grow with the frame time under load.
find_package(Python3 COMPONENTS Interpreter)
if(Python3_Interpreter_FOUND AND TARGET velmora AND TARGET velmora_probe)
  file(GLOB gfx_scripts CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/test_*.py)
  foreach(script ${gfx_scripts})
    get_filename_component(gfx_name ${script} NAME_WE)
    file(STRINGS ${script} gfx_label_line REGEX "^# labels: " LIMIT_COUNT 1)
    set(gfx_labels app gfx)
    if(gfx_label_line)
      string(REGEX REPLACE "^# labels: *" "" gfx_labels "${gfx_label_line}")
      list(APPEND gfx_labels gfx)
      list(REMOVE_DUPLICATES gfx_labels)
    endif()
    add_test(NAME gfx.${gfx_name}
      COMMAND ${PROJECT_SOURCE_DIR}/scripts/with-xvfb.sh --size 1280x1024
              ${Python3_EXECUTABLE} ${script} $<TARGET_FILE:velmora> $<TARGET_FILE:velmora_probe>
      WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
    file(STRINGS ${script} gfx_serial_line REGEX "^# serial$" LIMIT_COUNT 1)
    if(gfx_serial_line)
      set_tests_properties(gfx.${gfx_name} PROPERTIES RUN_SERIAL TRUE)
    endif()
    # A line "# timeout: SECONDS" gives a long script more than the usual five minutes.
    set(gfx_timeout 300)
    file(STRINGS ${script} gfx_timeout_line REGEX "^# timeout: [0-9]+$" LIMIT_COUNT 1)
    if(gfx_timeout_line)
      string(REGEX REPLACE "^# timeout: " "" gfx_timeout "${gfx_timeout_line}")
    endif()
    set_tests_properties(gfx.${gfx_name} PROPERTIES
      LABELS "${gfx_labels}"
      TIMEOUT ${gfx_timeout}
      ENVIRONMENT "VELMORA_BINARY=$<TARGET_FILE:velmora>;VELMORA_PROBE=$<TARGET_FILE:velmora_probe>;PYTHONDONTWRITEBYTECODE=1")
  endforeach()
endif()
