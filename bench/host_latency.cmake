# The host's main road measured with the idle scheduling that the workbench
# uses: the latency that the hub adds between a port's delivery and the
# listener on the main thread, and the output frame period with the CPU that
# idling costs. Its last line: median_us=... p99_us=... frame_ms=... fps=... cpu_pct=...
add_executable(bench_host_latency ${CMAKE_CURRENT_LIST_DIR}/host_latency.cpp)
target_link_libraries(bench_host_latency PRIVATE host brassfold::diagnostic_hooks)
brassfold_warnings(bench_host_latency)
