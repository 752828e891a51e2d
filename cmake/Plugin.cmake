# The plug-in.
include(cmake/PxlworksPlugin.cmake)

pxlworks_add_plugin(pxlworks_pxl_qorn
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
  morphology/ErosionLine3d_SSE41.cpp)
target_include_directories(pxlworks_pxl_qorn PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(pxlworks_pxl_qorn PRIVATE pxlworks_warnings)
