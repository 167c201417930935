# Checks of the game's flat data (label assets): every DDS, TGA and GLF file is well formed,
# every sound decodes through SDL2_mixer, the intro video decodes through libmpeg2 to its last
# picture, and the generator rebuilds data/ byte for byte. The checks read the files with
# their own small readers, not with the engine's loaders.
set(assets_dir ${CMAKE_CURRENT_LIST_DIR})
file(GLOB assets_srcs CONFIGURE_DEPENDS ${assets_dir}/checks/*.cpp)
add_executable(tests_assets ${assets_srcs})
target_link_libraries(tests_assets PRIVATE GTest::gtest GTest::gtest_main)
target_compile_definitions(tests_assets PRIVATE VELMORA_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
if(SDL2_MIXER_FOUND)
  target_link_libraries(tests_assets PRIVATE PkgConfig::SDL2_MIXER PkgConfig::SDL2)
  target_compile_definitions(tests_assets PRIVATE VELMORA_HAVE_MIXER=1)
endif()
if(MPEG2_FOUND)
  target_link_libraries(tests_assets PRIVATE PkgConfig::MPEG2)
  target_compile_definitions(tests_assets PRIVATE VELMORA_HAVE_MPEG2=1)
endif()
gtest_discover_tests(tests_assets
  WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
  PROPERTIES LABELS assets ENVIRONMENT "SDL_AUDIODRIVER=dummy"
  DISCOVERY_TIMEOUT 60)

# The generator is built with the tools; builds without them (the sanitizer build) skip this.
if(VELMORA_TOOLS)
  add_test(NAME assets.regenerate_identical
    COMMAND bash ${assets_dir}/regenerate.sh $<TARGET_FILE:velmora_assetgen> ${PROJECT_SOURCE_DIR}
            ${CMAKE_CURRENT_BINARY_DIR}/assets_regenerated)
  set_tests_properties(assets.regenerate_identical PROPERTIES LABELS assets TIMEOUT 300)
endif()

# The generator's own pieces, compiled from its sources (so they run in every build,
# the sanitizer build included).
set(assetgen_dir ${PROJECT_SOURCE_DIR}/tools/assetgen)
file(GLOB assets_tool_srcs CONFIGURE_DEPENDS ${assets_dir}/tool/*.cpp)
add_executable(tests_assets_tool ${assets_tool_srcs}
  ${assetgen_dir}/image.cpp ${assetgen_dir}/art.cpp ${assetgen_dir}/glf.cpp ${assetgen_dir}/audio.cpp)
target_include_directories(tests_assets_tool PRIVATE ${assetgen_dir})
target_compile_options(tests_assets_tool PRIVATE -ffp-contract=off)
target_link_libraries(tests_assets_tool PRIVATE GTest::gtest GTest::gtest_main)
target_compile_definitions(tests_assets_tool PRIVATE VELMORA_BINARY_DIR="${CMAKE_CURRENT_BINARY_DIR}")
gtest_discover_tests(tests_assets_tool
  WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
  PROPERTIES LABELS assets
  DISCOVERY_TIMEOUT 60)

# The level's committed ABT file against a fresh build by the engine's own builder
# (tools/levelgen/levelabt.cpp, built only with the engine).
if(VELMORA_TOOLS AND NOT VELMORA_FUZZ)
  add_test(NAME assets.level_abt_identical
    COMMAND bash ${assets_dir}/level_abt.sh $<TARGET_FILE:velmora_levelabt> ${PROJECT_SOURCE_DIR}
            ${CMAKE_CURRENT_BINARY_DIR}/level_abt)
  set_tests_properties(assets.level_abt_identical PROPERTIES LABELS assets TIMEOUT 120)
endif()
