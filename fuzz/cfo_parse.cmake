# Only the document library, plus the reference parser kept with the tests.
target_link_libraries(fuzz_${name} PRIVATE velmora_cfo)
target_include_directories(fuzz_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/cfo)
