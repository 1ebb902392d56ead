# The generic codec's input path against a hand-written switch decoder of the
# same mapping: messages per second through IControlSurface_HandleMIDIEvent.
add_executable(bench_generic_codec ${CMAKE_CURRENT_LIST_DIR}/generic_codec.cpp)
target_link_libraries(bench_generic_codec PRIVATE generic benchmark::benchmark)
brassfold_warnings(bench_generic_codec)
