# mediakit_floor(<target> DIR <folder>... [SHARED] [LINKS <target>...])
#
# One floor of the house: a library of every .cpp in the folders, and beside it
# <target>_test of every *_test.cpp, linked with the test kit. Sources are found by
# pattern, so that a new file needs no edit here. A folder without sources is a floor
# of headers.

set(MEDIAKIT_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wcast-qual -Wunused)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # Reports overlapping copies inside std::string's own operator+ (GCC bug 105651).
  list(APPEND MEDIAKIT_WARNINGS -Wno-restrict)
endif()

# Paths in log lines are relative to the source folder, also where ccache's base_dir made the compiler's
# own arguments relative to the build folder.
file(RELATIVE_PATH MEDIAKIT_BUILD_TO_SOURCE "${PROJECT_BINARY_DIR}" "${PROJECT_SOURCE_DIR}")

function(mediakit_compile_options target)
  target_compile_options(${target} PRIVATE ${MEDIAKIT_WARNINGS}
    "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=" "-fmacro-prefix-map=${MEDIAKIT_BUILD_TO_SOURCE}=")
endfunction()

function(mediakit_add_test target)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
  add_executable(${target} ${ARG_SOURCES})
  mediakit_compile_options(${target})
  target_link_libraries(${target} PRIVATE ${ARG_LINKS} mediakit_testkit GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${target} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()

function(mediakit_floor target)
  cmake_parse_arguments(ARG "SHARED" "" "DIR;LINKS" ${ARGN})
  set(sources)
  set(tests)
  foreach(dir IN LISTS ARG_DIR)
    file(GLOB found CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${dir}/*.cpp")
    list(APPEND sources ${found})
  endforeach()
  set(tests ${sources})
  list(FILTER tests INCLUDE REGEX "_test\\.cpp$")
  list(FILTER sources EXCLUDE REGEX "_test\\.cpp$")

  if(sources)
    if(ARG_SHARED)
      add_library(${target} SHARED ${sources})
      set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
    else()
      add_library(${target} STATIC ${sources})
    endif()
    set(scope PUBLIC)
    mediakit_compile_options(${target})
  else()
    add_library(${target} INTERFACE)
    set(scope INTERFACE)
  endif()
  target_include_directories(${target} ${scope}
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>"
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>"
    "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>"
    "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/MediaKit>")
  target_compile_features(${target} ${scope} cxx_std_20)
  target_link_libraries(${target} ${scope} ${ARG_LINKS})

  if(MEDIAKIT_TESTS AND tests)
    mediakit_add_test(${target}_test SOURCES ${tests} LINKS ${target})
  endif()
endfunction()
