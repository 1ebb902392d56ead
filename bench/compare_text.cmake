# CompareText on names as definition and map files hold them: the 7-bit fast
# path against the ICU collator, and names with accents, which always go to ICU.
add_executable(bench_compare_text ${CMAKE_CURRENT_LIST_DIR}/compare_text.cpp)
target_link_libraries(bench_compare_text PRIVATE foundation benchmark::benchmark)
brassfold_warnings(bench_compare_text)
