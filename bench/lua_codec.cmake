# The scripted codec host against the generic codec of the same mapping, in one
# run: messages per second through midi rules and through an input function,
# and the time of an output frame. Its last line:
# rules_per_s=... input_fn_per_s=... generic_per_s=... frame_us=...
add_executable(bench_lua_codec ${CMAKE_CURRENT_LIST_DIR}/lua_codec.cpp)
target_link_libraries(bench_lua_codec PRIVATE host brassfold::diagnostic_hooks)
brassfold_warnings(bench_lua_codec)
if(TARGET luahost)
  add_dependencies(bench_lua_codec luahost)
endif()
