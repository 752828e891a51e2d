# The plug-ins.
include(cmake/PxlworksPlugin.cmake)

# Vectors of 128 bits: SSE4.1 and nothing above. Other processors than x86 have only the plug-in with Highway's vectors.
if(PXLWORKS_X86)
  set(PXLWORKS_PLUGINS pxlworks_pxl_qorn pxlworks_pxl_elements pxlworks_pxl_wide)
  set(PXLWORKS_SSE41_OPTIONS -msse4.1)
else()
  set(PXLWORKS_PLUGINS pxlworks_pxl_wide)
  set(PXLWORKS_SSE41_OPTIONS "")
endif()
pxlworks_add_plugin_bodies(PXLWORKS_SSE41_BODIES ${PXLWORKS_SSE41_OPTIONS})
# Most of the compile time of an operator's unit is spent on these headers.
target_precompile_headers(${PXLWORKS_SSE41_BODIES} PRIVATE
  "${PROJECT_SOURCE_DIR}/Core/private/Helper/AutoRegisterRunnable.h"
  "${PROJECT_SOURCE_DIR}/Core/private/Filters/RecursiveImageFilters.h"
  "${PROJECT_SOURCE_DIR}/Core/private/Morphology/Neighborhood2dToValueSimd.h"
  "${PROJECT_SOURCE_DIR}/Core/private/Morphology/Neighborhood3dToValueSimd.h"
  "${PROJECT_SOURCE_DIR}/Core/private/Morphology/OneTypeRunner.h"
  "${PROJECT_SOURCE_DIR}/host/include/pxl/morphology/Morphology.h")

if(PXLWORKS_X86)
  # What several operators share, compiled once; the tests of kernels are linked with it too.
  add_library(pxlworks_qorn_passes OBJECT
    morphology/Passes2d.cpp
    morphology/DilationPasses3d.cpp
    morphology/ErosionPasses3d.cpp
    morphology/ReducedRows.cpp
    morphology/RunOnOffsets.cpp)
  pxlworks_compile_as_plugin(pxlworks_qorn_passes ${PXLWORKS_SSE41_OPTIONS})

  pxlworks_add_plugin(pxlworks_pxl_qorn
    $<TARGET_OBJECTS:pxlworks_qorn_passes>
    PointOperations/src/LogicalOperationWithImage_SSE41.cpp
    PointOperations/src/LogicalOperationWithValue_SSE41.cpp
    analysis/IntensityExtrema_SSE41.cpp
    filtering/linear/FiniteImpulseResponseFilter2D_SSE41.cpp
    filtering/linear/FiniteImpulseResponseFilter3D_SSE41.cpp
    morphology/Dilation2d_SSE41.cpp
    morphology/Dilation3d_SSE41.cpp
    morphology/DilationBall3d_SSE41.cpp
    morphology/DilationDisk2d_SSE41.cpp
    morphology/DilationDisk3d_SSE41.cpp
    morphology/DilationLine2d_SSE41.cpp
    morphology/DilationLine3d_SSE41.cpp
    morphology/Erosion2d_SSE41.cpp
    morphology/Erosion3d_SSE41.cpp
    morphology/ErosionBall3d_SSE41.cpp
    morphology/ErosionDisk2d_SSE41.cpp
    morphology/ErosionDisk3d_SSE41.cpp
    morphology/ErosionLine2d_SSE41.cpp
    morphology/ErosionLine3d_SSE41.cpp
    COMPILE_OPTIONS ${PXLWORKS_SSE41_OPTIONS})

  # The operators beyond those of the first one.
  pxlworks_add_plugin(pxlworks_pxl_elements
    elements/DilationElement3d_SSE41.cpp
    elements/ErosionElement3d_SSE41.cpp
    COMPILE_OPTIONS ${PXLWORKS_SSE41_OPTIONS})
endif()

# The same operators by programs of folds on wide vectors. Units with kernels are compiled once for each target within
# one object: Highway's lowest is that of SSE4.2 here, and none may use fused multiply-adds. On other processors there is
# the target that all of them have.
find_path(PXLWORKS_HIGHWAY hwy/highway.h REQUIRED)
set(PXLWORKS_WIDE_KERNELS wide/ExtremaKernels.cpp wide/FirKernels.cpp wide/LogicKernels.cpp wide/RowKernels8.cpp
  wide/RowKernels16.cpp wide/RowKernels32.cpp wide/RowKernelsReal.cpp)
if(PXLWORKS_X86)
  set(targets HWY_BASELINE_TARGETS=HWY_SSE4 HWY_DISABLE_PCLMUL_AES HWY_DISABLE_BMI2_FMA HWY_DISABLE_F16C)
else()
  set(targets HWY_COMPILE_ONLY_STATIC)
endif()
set_source_files_properties(${PXLWORKS_WIDE_KERNELS} PROPERTIES COMPILE_DEFINITIONS "${targets}")
pxlworks_add_plugin(pxlworks_pxl_wide
  ${PXLWORKS_WIDE_KERNELS}
  wide/ExtremaRunner.cpp
  wide/FirFilter.cpp
  wide/FirRunners.cpp
  wide/FirTaps.cpp
  wide/FirTile.cpp
  wide/FoldProgram.cpp
  wide/IteratedRunners.cpp
  wide/KeptRows.cpp
  wide/ListPlans.cpp
  wide/LogicRunners.cpp
  wide/MemoryImage.cpp
  wide/MorphologyRunner.cpp
  wide/PairPlans.cpp
  wide/PastCaches.cpp
  wide/Pieces.cpp
  wide/Plans2d.cpp
  wide/Plans3d.cpp
  wide/ProgramFilter.cpp
  wide/RunPlans.cpp
  wide/RunViews.cpp
  wide/ShapeRunners.cpp
  wide/Targets.cpp
  wide/TileCut.cpp
  wide/TileLayout.cpp
  wide/TileRun.cpp
  wide/Windows.cpp
  COMPILE_OPTIONS ${PXLWORKS_SSE41_OPTIONS})
set(pxlworks_plugin_targets ${PXLWORKS_PLUGINS} ${PXLWORKS_SSE41_BODIES})
if(PXLWORKS_X86)
  list(APPEND pxlworks_plugin_targets pxlworks_qorn_passes)
endif()
foreach(target ${pxlworks_plugin_targets})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${target} PRIVATE pxlworks_warnings)
  if(NOT target STREQUAL PXLWORKS_SSE41_BODIES)
    # The macro of the target alone would keep it from using the others' headers.
    set_target_properties(${target} PROPERTIES DEFINE_SYMBOL "")
    target_precompile_headers(${target} REUSE_FROM ${PXLWORKS_SSE41_BODIES})
  endif()
endforeach()
