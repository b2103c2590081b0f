# What `cmake --install` puts where: headers, library, CMake package, pkg-config file, tools. Programs that are there need the
# component runtime, those that are built also need dev.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ZQFoundation)

install(TARGETS ZQFoundation EXPORT ZQFoundationTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME dev)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/Foundation/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ZQFoundation
  FILES_MATCHING PATTERN "*.h")
install(EXPORT ZQFoundationTargets NAMESPACE ZQFoundation:: DESTINATION ${package_dir})

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ZQFoundationConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/ZQFoundationConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/ZQFoundationConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/ZQFoundationConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/ZQFoundationConfigVersion.cmake
  ${PROJECT_SOURCE_DIR}/cmake/FindLibUUID.cmake
  DESTINATION ${package_dir})

# Paths relative to the .pc file itself, so that an installed tree can be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_INCLUDEDIR
  BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE pc_includedir)
configure_file(${PROJECT_SOURCE_DIR}/cmake/ZQFoundation.pc.in ${CMAKE_CURRENT_BINARY_DIR}/ZQFoundation.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ZQFoundation.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(FILES ${PROJECT_SOURCE_DIR}/tools/queue_wait.bt ${PROJECT_SOURCE_DIR}/tools/timer_lateness.bt
  DESTINATION ${CMAKE_INSTALL_DATADIR}/ZQFoundation)

# gdb loads a script by the full path of the library that it belongs to, which is known when the prefix is. Under /usr it does
# so by itself, elsewhere after add-auto-load-scripts-directory.
install(FILES ${PROJECT_SOURCE_DIR}/tools/gdb/zqfoundation.py
  DESTINATION ${CMAKE_INSTALL_DATADIR}/gdb/auto-load/\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}
  RENAME $<TARGET_FILE_NAME:ZQFoundation>-gdb.py)
