# The tests make their own ZIP archives (deflate and checksums from zlib).
find_package(ZLIB REQUIRED)
target_link_libraries(${exe} PRIVATE ZLIB::ZLIB)
