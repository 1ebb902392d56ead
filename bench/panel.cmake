# A hardware panel of 128 items flooded with 100,000 messages a second on a
# loopback cable, in the workbench's real windows on the offscreen platform.
# Its last line: handled_per_s=... dropped=... frame_p99_ms=... ui_stall_max_ms=...
add_executable(bench_panel ${CMAKE_CURRENT_LIST_DIR}/panel.cpp)
target_link_libraries(bench_panel PRIVATE gui brassfold::diagnostic_hooks)
brassfold_warnings(bench_panel)
