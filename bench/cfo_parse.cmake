# The CFO parser benchmark needs only the document library (not the whole engine), the
# header-only RapidJSON it is compared with, and the reference parser kept with the tests.
set_property(TARGET bench_${name} PROPERTY LINK_LIBRARIES velmora_cfo benchmark::benchmark)
target_include_directories(bench_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/cfo)
