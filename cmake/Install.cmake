# The installed tree, and the package that find_package(pxlworks) finds in it.
include(CMakePackageConfigHelpers)

set(installed_libraries pxlworks_object_model pxlworks_pxl ${PXLWORKS_PLUGINS})
# The libraries find each other in their own folder, installed or not. Otherwise CMake would reserve space for other
# paths with empty ones in the build folder, and an empty path is the working directory. A TBB outside the system's
# folders is found by its path; CMake doesn't add that of the thread sanitizer, which is within the project.
set(near_paths "")
if(TBB_DIR MATCHES "^${PROJECT_SOURCE_DIR}/")
  set(near_paths "$<TARGET_FILE_DIR:TBB::tbb>")
endif()
set_target_properties(${installed_libraries} PROPERTIES
  INSTALL_RPATH "$ORIGIN;${near_paths}"
  INSTALL_RPATH_USE_LINK_PATH ON
  BUILD_WITH_INSTALL_RPATH ON)
install(TARGETS pxlworks_object_model pxlworks_pxl EXPORT pxlworksTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
# Loaded while running and never linked: no part of the package's targets.
install(TARGETS ${PXLWORKS_PLUGINS} LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
if(TARGET qorn)
  file(RELATIVE_PATH to_libraries "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
  set(library_paths "$ORIGIN/${to_libraries}" "$ORIGIN/../lib")  # as installed, and in the build folder
  list(REMOVE_DUPLICATES library_paths)
  set_target_properties(qorn PROPERTIES
    INSTALL_RPATH "${library_paths};${near_paths}"
    INSTALL_RPATH_USE_LINK_PATH ON
    BUILD_WITH_INSTALL_RPATH ON)
  install(TARGETS qorn RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()

# Plug-ins are written with the contract and with the building blocks behind it, whose bodies they compile.
install(DIRECTORY host/include/ DESTINATION include/pxlworks FILES_MATCHING PATTERN "*.h")
install(DIRECTORY Core/private DESTINATION include/pxlworks/Core
  FILES_MATCHING PATTERN "*.h" PATTERN "*.impl" PATTERN "*.cpp")

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/pxlworks")
install(EXPORT pxlworksTargets NAMESPACE pxlworks:: DESTINATION "${package_folder}")
set(PXLWORKS_INCLUDE_FOLDER include/pxlworks)
configure_package_config_file(cmake/pxlworksConfig.cmake.in "${CMAKE_BINARY_DIR}/package/pxlworksConfig.cmake"
  INSTALL_DESTINATION "${package_folder}" PATH_VARS PXLWORKS_INCLUDE_FOLDER)
write_basic_package_version_file("${CMAKE_BINARY_DIR}/package/pxlworksConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
  "${CMAKE_BINARY_DIR}/package/pxlworksConfig.cmake"
  "${CMAKE_BINARY_DIR}/package/pxlworksConfigVersion.cmake"
  cmake/PxlworksPlugin.cmake
  cmake/plugin.map
  DESTINATION "${package_folder}")
