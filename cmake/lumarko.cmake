# Helpers shared by the folders' CMakeLists.

# lmk_add_folders(dir...): adds each sub-folder that already has a CMakeLists.txt,
# so a layer can be built before the layers above it exist.
function(lmk_add_folders)
  foreach(dir IN LISTS ARGN)
    if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${dir}/CMakeLists.txt)
      add_subdirectory(${dir})
    endif()
  endforeach()
endfunction()

# lmk_add_test(name SOURCES a.cpp ... LIBS lib ...): one GoogleTest executable,
# each test its own CTest entry.
function(lmk_add_test name)
  cmake_parse_arguments(T "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE ${T_LIBS} lmk_test_support GTest::gtest GTest::gmock GTest::gtest_main)
  lmk_use_companions(${name})
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60
    PROPERTIES ENVIRONMENT "ASAN_OPTIONS=detect_leaks=1:abort_on_error=0;UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1")
endfunction()

# lmk_add_companion(target output_name SOURCES a.cpp ... LIBS lib ...): a part of the program
# built as a shared object of its own (see platform/companion_module.h), put beside the program
# and the plug-in. It exports only its lmk_* entry functions and records only the libraries it
# really uses, so that loading it brings in nothing more. Whatever may load it depends on
# lmk_companions, so that it is there.
add_custom_target(lmk_companions)
function(lmk_add_companion target output_name)
  cmake_parse_arguments(C "" "" "SOURCES;LIBS" ${ARGN})
  add_library(${target} MODULE ${C_SOURCES})
  set_target_properties(${target} PROPERTIES
    PREFIX ""
    OUTPUT_NAME ${output_name}
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
  target_link_libraries(${target} PRIVATE ${C_LIBS})
  add_dependencies(lmk_companions ${target})
  if(NOT WIN32)
    target_link_options(${target} PRIVATE -Wl,--as-needed -Wl,--no-undefined
      -Wl,--version-script=${CMAKE_SOURCE_DIR}/cmake/companion.map)
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${CMAKE_SOURCE_DIR}/cmake/companion.map)
  endif()
endfunction()

# lmk_use_companions(target): target may load the companion modules. Under the sanitizers it
# loads them at start instead: the leak checker of this compiler crashes reading the thread-local
# storage of libraries that were loaded later (the image library's worker threads have some).
function(lmk_use_companions target)
  add_dependencies(${target} lmk_companions)
  if(LMK_SANITIZE AND NOT WIN32)
    target_link_options(${target} PRIVATE -Wl,--no-as-needed $<TARGET_FILE:lumarko_net>
      $<TARGET_FILE:lumarko_python> $<TARGET_FILE:lumarko_vips>)
  endif()
endfunction()
