# The fuzz build: every target of the tree, the layers' libraries included,
# carries the fuzzer's coverage instrumentation and the address and
# undefined-behaviour sanitizers, so that a fault deep in a layer is found
# where it happens. Included by the top CMakeLists before any target exists.

if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  message(FATAL_ERROR "BRASSFOLD_FUZZ needs clang (libFuzzer); use the fuzz preset")
endif()

add_compile_options(-fsanitize=fuzzer-no-link,address,undefined
                    -fno-sanitize-recover=undefined -fno-omit-frame-pointer -gline-tables-only)
add_link_options(-fsanitize=address,undefined)
