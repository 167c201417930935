# The tree's own conventions: the include layers of docs/CONVENTIONS.md and the one
# formatting style. Each check runs on the real tree and, in test_checks.py, on small
# planted trees that it must refuse.
find_package(Python3 COMPONENTS Interpreter)
if(Python3_Interpreter_FOUND)
  add_test(NAME conventions.layers
    COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/scripts/check_layers.py
            --root ${PROJECT_SOURCE_DIR})
  add_test(NAME conventions.format
    COMMAND bash ${PROJECT_SOURCE_DIR}/scripts/check_format.sh)
  add_test(NAME conventions.checks_fail_on_planted_trees
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/test_checks.py ${PROJECT_SOURCE_DIR})
  set_tests_properties(conventions.layers conventions.format
    conventions.checks_fail_on_planted_trees PROPERTIES LABELS conventions TIMEOUT 120)
endif()
