# GoogleTest and GoogleMock for i386, built from Debian's sources.

set(googletest_sources /usr/src/googletest)
if(NOT EXISTS ${googletest_sources}/CMakeLists.txt)
  message(FATAL_ERROR "${googletest_sources} is missing: run scripts/setup.sh")
endif()

set(INSTALL_GTEST OFF)
add_subdirectory(${googletest_sources} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
foreach(library gtest gtest_main gmock gmock_main)
  get_target_property(include_directories ${library} INTERFACE_INCLUDE_DIRECTORIES)
  set_target_properties(${library} PROPERTIES
    INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${include_directories}")
  if(NOT TARGET GTest::${library})
    add_library(GTest::${library} ALIAS ${library})
  endif()
endforeach()
include(GoogleTest)
