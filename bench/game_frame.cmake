# The game-logic benchmark compares the collision step with Box2D (Debian libbox2d-dev).
find_library(BOX2D_LIBRARY box2d REQUIRED)
target_link_libraries(bench_${name} PRIVATE ${BOX2D_LIBRARY})
