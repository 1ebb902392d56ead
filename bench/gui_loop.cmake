# The Qt adapter's run loop under the offscreen platform: the latency from a
# MIDI thread's post to the input listener, the output frames and the CPU of
# the idle workbench. Its last line: median_us=... p99_us=... fps=... frame_p99_ms=... cpu_pct=...
add_executable(bench_gui_loop ${CMAKE_CURRENT_LIST_DIR}/gui_loop.cpp)
target_link_libraries(bench_gui_loop PRIVATE gui brassfold::diagnostic_hooks)
brassfold_warnings(bench_gui_loop)
