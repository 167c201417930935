# Only the document library (the file layer lives there).
target_link_libraries(fuzz_${name} PRIVATE velmora_cfo)
