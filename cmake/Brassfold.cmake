# Helpers shared by every target of the project.

# Warnings are errors on our own code only; third-party headers come in as
# system includes and stay out of it.
function(brassfold_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
endfunction()

# One static library per layer. Sources are collected from the layer's folder
# so that adding a unit needs no edit of a shared list.
#   brassfold_layer(NAME foundation DEPENDS ... [PUBLIC_LIBS ...])
function(brassfold_layer)
  cmake_parse_arguments(L "" "NAME" "DEPENDS;LIBS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS
       ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.c)
  file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  add_library(${L_NAME} STATIC ${sources} ${headers})
  add_library(brassfold::${L_NAME} ALIAS ${L_NAME})
  target_include_directories(${L_NAME} PUBLIC ${CMAKE_SOURCE_DIR}/src)
  target_link_libraries(${L_NAME} PUBLIC ${L_DEPENDS} ${L_LIBS})
  brassfold_warnings(${L_NAME})
endfunction()

# One GoogleTest program per layer, from the .cpp files of its test folder.
#   brassfold_test_program(NAME foundation_tests LIBS ... [LABELS ...])
function(brassfold_test_program)
  cmake_parse_arguments(T "" "NAME" "LIBS;LABELS;PROPERTIES" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  add_executable(${T_NAME} ${sources})
  target_link_libraries(${T_NAME} PRIVATE brassfold_test_support ${T_LIBS})
  brassfold_warnings(${T_NAME})
  if(NOT T_LABELS)
    set(T_LABELS unit)
  endif()
  # Every test program, for builds that need the tests alone (./test.sh
  # builds only these under the sanitizers).
  if(TARGET brassfold_test_programs)
    add_dependencies(brassfold_test_programs ${T_NAME})
  endif()
  gtest_discover_tests(${T_NAME}
    WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
    PROPERTIES LABELS "${T_LABELS}" ${T_PROPERTIES}
    DISCOVERY_TIMEOUT 60)
endfunction()
