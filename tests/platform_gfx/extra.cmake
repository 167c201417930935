# The window tests read the shown frame back from the X server.
find_package(X11 REQUIRED)
target_link_libraries(${exe} PRIVATE X11::X11)
