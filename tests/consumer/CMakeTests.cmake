# Installs this build and uses it as a third party does. A new prefix each time, so that a file that is no longer
# installed is detected; the settings that must match the host's are passed on.
add_test(NAME consumer COMMAND bash "${CMAKE_CURRENT_LIST_DIR}/run.sh"
  "${CMAKE_COMMAND}" "${CMAKE_BINARY_DIR}" "${CMAKE_INSTALL_LIBDIR}"
  -G "${CMAKE_GENERATOR}"
  "-DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER}"
  "-DCMAKE_CXX_FLAGS=${CMAKE_CXX_FLAGS}"
  "-DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE}"
  "-DTBB_DIR=${TBB_DIR}")
set_tests_properties(consumer PROPERTIES TIMEOUT 300)
