# Installs the build into an empty folder, builds the small host in host/ against it, once with the
# CMake package and once with pkg-config, and has it record a sample.
cmake_minimum_required(VERSION 3.25)
set(work "${BUILD}/install-test")
file(REMOVE_RECURSE "${work}")

function(run)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY "${work}" RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(result)
    message(FATAL_ERROR "${ARGN}: ${result}\n${out}")
  endif()
endfunction()

function(record host)  # in.aac to out.mp4, both in ${work}
  set(file "${work}/out.mp4")
  file(REMOVE "${file}")
  run(${CMAKE_COMMAND} -E env "LD_LIBRARY_PATH=${work}/tree/${LIBDIR}" "${host}")
  execute_process(COMMAND ffprobe -v error -count_packets -show_entries stream=nb_read_packets -of csv=p=0 "${file}"
    OUTPUT_VARIABLE packets ERROR_VARIABLE trouble OUTPUT_STRIP_TRAILING_WHITESPACE)
  execute_process(COMMAND ffprobe -v error -count_packets -show_entries stream=nb_read_packets -of csv=p=0 "${SAMPLE}"
    OUTPUT_VARIABLE expected OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT packets STREQUAL expected OR packets STREQUAL "" OR NOT trouble STREQUAL "")
    message(FATAL_ERROR "${file} has ${packets} packets of ${expected}: ${trouble}")
  endif()
endfunction()

file(MAKE_DIRECTORY "${work}")
configure_file("${SAMPLE}" "${work}/in.aac" COPYONLY)
run(${CMAKE_COMMAND} --install "${BUILD}" --prefix "${work}/tree" --config "${CONFIG}")

run(${CMAKE_COMMAND} -S "${CMAKE_CURRENT_LIST_DIR}/host" -B "${work}/host" -G Ninja "-DCMAKE_PREFIX_PATH=${work}/tree"
  "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_CXX_FLAGS=${FLAGS}")
run(${CMAKE_COMMAND} --build "${work}/host")
record("${work}/host/host")

separate_arguments(flags UNIX_COMMAND "${FLAGS}")
execute_process(
  COMMAND ${CMAKE_COMMAND} -E env "PKG_CONFIG_PATH=${work}/tree/${LIBDIR}/pkgconfig" pkg-config --cflags --libs mediakit
  OUTPUT_VARIABLE options RESULT_VARIABLE result OUTPUT_STRIP_TRAILING_WHITESPACE)
if(result)
  message(FATAL_ERROR "pkg-config does not find mediakit")
endif()
separate_arguments(options UNIX_COMMAND "${options}")
run("${COMPILER}" -std=c++20 ${flags} "${CMAKE_CURRENT_LIST_DIR}/host/main.cpp" -o "${work}/host-pc" ${options})
record("${work}/host-pc")
