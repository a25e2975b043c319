# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Adds each competitor that is installed to bench-competitors, and says of the others that they are missing.

function(vexa_add_competitor name source target)
  if(TARGET ${target})
    message(STATUS "Competitor ${name}: found")
    target_sources(bench-competitors PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/competitors/${source})
    target_link_libraries(bench-competitors PRIVATE ${target})
  else()
    message(STATUS "Competitor ${name}: MISSING, will not be measured")
  endif()
endfunction()

find_package(OpenCV QUIET COMPONENTS core imgproc)
vexa_add_competitor(OpenCV OpenCv.cpp opencv_imgproc)

find_path(LIBYUV_INCLUDE_DIR libyuv.h)
find_library(LIBYUV_LIBRARY yuv)
if(LIBYUV_INCLUDE_DIR AND LIBYUV_LIBRARY)
  add_library(VexaBenchLibyuv INTERFACE)
  target_include_directories(VexaBenchLibyuv SYSTEM INTERFACE ${LIBYUV_INCLUDE_DIR})
  target_link_libraries(VexaBenchLibyuv INTERFACE ${LIBYUV_LIBRARY})
endif()
vexa_add_competitor(libyuv Libyuv.cpp VexaBenchLibyuv)

find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(Swscale QUIET IMPORTED_TARGET libswscale libavutil)
  pkg_check_modules(Dc1394 QUIET IMPORTED_TARGET libdc1394-2)
  pkg_check_modules(GStreamer QUIET IMPORTED_TARGET gstreamer-1.0)
endif()
vexa_add_competitor(libswscale Swscale.cpp PkgConfig::Swscale)
vexa_add_competitor(libdc1394 Dc1394.cpp PkgConfig::Dc1394)
vexa_add_competitor(GStreamer GStreamer.cpp PkgConfig::GStreamer)
