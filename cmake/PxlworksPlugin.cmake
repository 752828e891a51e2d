# How a plug-in is built. The project's own plug-in uses this file, and so do third parties: it is installed with the
# package, plugin.map beside it.

# Under a sanitizer optimising takes minutes for each unit and shows nothing more.
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  set(PXLWORKS_PLUGIN_OPTIMISATION -O1 -g1)
else()
  set(PXLWORKS_PLUGIN_OPTIMISATION $<$<NOT:$<CONFIG:Debug>>:-O3>)
endif()

# No contraction into fused multiply-adds: every machine computes the same. A unique symbol (STB_GNU_UNIQUE, which GCC
# makes of static locals in templates) would keep a plug-in in memory after dlclose.
set(PXLWORKS_PLUGIN_COMPILE_OPTIONS
  ${PXLWORKS_PLUGIN_OPTIMISATION} -ffp-contract=off $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>
  CACHE INTERNAL "Compile options of plug-ins")

# The units that every plug-in compiles once, whatever the number of its operators: the bodies of Core/private for the
# eight voxel types. Headers declare them `extern template`.
set(PXLWORKS_PLUGIN_BODIES
  Access/IteratorBodies.cpp Access/RowBodies.cpp Access/VolumeIteratorBodies.cpp Filters/ContextBodies.cpp
  Filters/FilterBodies.cpp)
if(EXISTS "${CMAKE_CURRENT_LIST_DIR}/../Core/private")
  list(TRANSFORM PXLWORKS_PLUGIN_BODIES PREPEND "${CMAKE_CURRENT_LIST_DIR}/../Core/private/")
else()
  list(TRANSFORM PXLWORKS_PLUGIN_BODIES PREPEND "${PXLWORKS_INCLUDE_FOLDER}/Core/private/")
endif()
set(PXLWORKS_PLUGIN_BODIES ${PXLWORKS_PLUGIN_BODIES} CACHE INTERNAL "Units of each plug-in")

# pxlworks_compile_as_plugin(TARGET options...)
# Gives a target the compile options and libraries of a plug-in, and options of its own.
function(pxlworks_compile_as_plugin name)
  target_compile_features(${name} PRIVATE cxx_std_17)
  target_compile_options(${name} PRIVATE ${PXLWORKS_PLUGIN_COMPILE_OPTIONS} ${ARGN})
  target_link_libraries(${name} PRIVATE pxlworks::pxl pxlworks::object_model TBB::tbb)
  set_target_properties(${name} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
endfunction()

# pxlworks_add_plugin_bodies(VARIABLE options...)
# Sets VARIABLE to the target of the bodies compiled with the options. Plug-ins with the same ones share it.
function(pxlworks_add_plugin_bodies variable)
  list(JOIN ARGN "" suffix)
  string(MAKE_C_IDENTIFIER "pxlworks_plugin_bodies${suffix}" name)
  if(NOT TARGET ${name})
    add_library(${name} OBJECT ${PXLWORKS_PLUGIN_BODIES})
    pxlworks_compile_as_plugin(${name} ${ARGN})
  endif()
  set(${variable} ${name} PARENT_SCOPE)
endfunction()

# pxlworks_add_plugin(NAME sources... [COMPILE_OPTIONS options...])
# Makes the target NAME, a library libNAME.so that exports nothing: constructors register its runners with the host. In
# the folder of the host's libraries it is loaded automatically if NAME begins with pxlworks_pxl_. COMPILE_OPTIONS
# select the instruction set. Vectors of 128 bits need -msse4.1. The runners must test that the processor has the set.
function(pxlworks_add_plugin name)
  cmake_parse_arguments(PARSE_ARGV 1 plugin "" "" "COMPILE_OPTIONS")
  pxlworks_add_plugin_bodies(bodies ${plugin_COMPILE_OPTIONS})
  add_library(${name} MODULE ${plugin_UNPARSED_ARGUMENTS} $<TARGET_OBJECTS:${bodies}>)
  pxlworks_compile_as_plugin(${name} ${plugin_COMPILE_OPTIONS})
  set(map "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/plugin.map")
  target_link_options(${name} PRIVATE "LINKER:--version-script=${map}")
  # Clang leaves the functions of its sanitizers to the program; elsewhere what is missing shows at build time.
  if(NOT (CMAKE_CXX_COMPILER_ID MATCHES "Clang" AND CMAKE_CXX_FLAGS MATCHES "-fsanitize"))
    target_link_options(${name} PRIVATE "LINKER:--no-undefined")
  endif()
  set_target_properties(${name} PROPERTIES LINK_DEPENDS "${map}")
endfunction()
