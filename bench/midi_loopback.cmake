# Latency and throughput of the loopback cables, from a hub sender to a hub
# receiver. Its last line: median_us=... p99_us=... msgs_per_s=...
add_executable(bench_midi_loopback ${CMAKE_CURRENT_LIST_DIR}/midi_loopback.cpp)
target_link_libraries(bench_midi_loopback PRIVATE midi)
brassfold_warnings(bench_midi_loopback)
