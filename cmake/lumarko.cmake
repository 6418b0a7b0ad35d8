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
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60
    PROPERTIES ENVIRONMENT "ASAN_OPTIONS=detect_leaks=1:abort_on_error=0;UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1")
endfunction()
