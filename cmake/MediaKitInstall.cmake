# The installed form: the filter library, the platform that hosts stand on, headers, a CMake
# package and a pkg-config file.
include(CMakePackageConfigHelpers)

set(installed platform_com platform_kernel qz_logging platform_dshow platform_graph mediakit_interfaces MediaKitFilters)
set_target_properties(MediaKitFilters PROPERTIES EXPORT_NAME Filters)
foreach(name com kernel dshow graph)
  set_target_properties(platform_${name} PROPERTIES EXPORT_NAME platform_${name} OUTPUT_NAME mediakit_platform_${name})
endforeach()
set_target_properties(qz_logging PROPERTIES OUTPUT_NAME mediakit_qz_logging)
set_target_properties(MediaKitFilters platform_kernel qz_logging PROPERTIES INSTALL_RPATH "$ORIGIN")

install(TARGETS ${installed} EXPORT MediaKitTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(MEDIAKIT_TOOL AND TARGET mediakit)
  set_target_properties(mediakit PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS mediakit RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(DIRECTORY include/MediaKit DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
foreach(folder Platform/Com Platform/Kernel Platform/DirectShow Platform/Graph Logging)
  file(GLOB headers CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${folder}/*.h")
  list(FILTER headers EXCLUDE REGEX "_test\\.h$")
  install(FILES ${headers} DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/MediaKit/${folder}")
endforeach()

set(package "${CMAKE_INSTALL_LIBDIR}/cmake/MediaKit")
install(EXPORT MediaKitTargets NAMESPACE MediaKit:: DESTINATION ${package})
configure_package_config_file(cmake/MediaKitConfig.cmake.in "${PROJECT_BINARY_DIR}/MediaKitConfig.cmake"
  INSTALL_DESTINATION ${package})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/MediaKitConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/MediaKitConfig.cmake" "${PROJECT_BINARY_DIR}/MediaKitConfigVersion.cmake"
  DESTINATION ${package})

file(RELATIVE_PATH MEDIAKIT_PC_TO_PREFIX "/p/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/p")
configure_file(cmake/mediakit.pc.in "${PROJECT_BINARY_DIR}/mediakit.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/mediakit.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
