# The list, the file picker and the video widget drawn: GUI tests with a window of their own
# (tests/gui_gfx has its own context and size), under the label of the GUI.
set(label gui)
