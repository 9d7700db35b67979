# The example in the README is the one that the installed-tree test compiles.
cmake_minimum_required(VERSION 3.25)
file(READ "${README}" readme)
file(READ "${EXAMPLE}" example)
string(FIND "${readme}" "${example}" at)
if(at EQUAL -1)
  message(FATAL_ERROR "README.md does not show Testing/Install/host/main.cpp as it stands")
endif()
