# Checks of the sources and of the plug-in's binary, and a check that these checks can fail.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(checks "${CMAKE_CURRENT_LIST_DIR}")
set(check_by "${Python3_EXECUTABLE}" -B)

# Sanitizers, coverage and missing optimisation change what stands in the binary.
set(binary_kind "")
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize|--coverage" OR CMAKE_BUILD_TYPE STREQUAL "Debug")
  set(binary_kind relaxed)
endif()

foreach(check layers sources words)
  add_test(NAME check.${check} COMMAND ${check_by} "${checks}/check_${check}.py" "${PROJECT_SOURCE_DIR}")
endforeach()
foreach(plugin qorn elements)
  add_test(NAME check.plugin_${plugin} COMMAND ${check_by} "${checks}/check_plugin.py"
    "$<TARGET_FILE:pxlworks_pxl_${plugin}>" ${binary_kind})
endforeach()
add_test(NAME check.plugin_wide COMMAND ${check_by} "${checks}/check_plugin.py" "$<TARGET_FILE:pxlworks_pxl_wide>" wide
  ${binary_kind})
add_test(NAME check.run_paths COMMAND ${check_by} "${checks}/check_run_paths.py" "${CMAKE_BINARY_DIR}")
if(PXLWORKS_PROGRAMS)
  add_test(NAME check.docs COMMAND ${check_by} "${checks}/check_docs.py" "${PROJECT_SOURCE_DIR}" $<TARGET_FILE:qorn>)
  add_test(NAME check.checks_can_fail COMMAND ${check_by} "${checks}/checks_can_fail.py" "${PROJECT_SOURCE_DIR}"
    "${CMAKE_BINARY_DIR}/lib" "${CMAKE_CXX_COMPILER}" $<TARGET_FILE:qorn>)
endif()
add_test(NAME check.format COMMAND bash "${checks}/format.sh")
# That each mutation still finds its place; mutate.py runs them.
add_test(NAME check.mutations_apply COMMAND ${check_by} "${checks}/mutate.py" --check)
# The formatter is no part of what building and testing need.
set_tests_properties(check.format PROPERTIES SKIP_RETURN_CODE 77)
