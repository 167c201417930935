# The video player's decoding, without GL or the rest of the engine.
target_link_libraries(fuzz_${name} PRIVATE velmora_resources)
