# The comparison of the GPS geodesy with GeographicLib's geodesic solver: a test-only
# dependency (Debian libgeographiclib-dev), built as its own test program when it is installed.
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(GeographicLib QUIET IMPORTED_TARGET geographiclib)
endif()
if(GeographicLib_FOUND)
  lmk_add_test(lmk_gps_geodesic_tests
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/gps_geodesic_reference_check.cpp
    LIBS lmk_conditions PkgConfig::GeographicLib)
else()
  message(STATUS "GeographicLib not found: the geodesic reference test is not built")
endif()
