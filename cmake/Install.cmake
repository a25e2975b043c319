# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# What `cmake --install` puts where, in seven components:
#
#   library             libVexaCamUtl_64.so.1
#   development         the link libVexaCamUtl_64.so, the header, the CMake package, vexacamutl.pc
#   frames              libVexaCamFrames.so.0
#   frames_development  its link, header and manual page, its part of the CMake package, vexacamframes.pc
#   tool                the program vexacamutl with its man page and completions (installed by its own folder)
#   gstreamer           the GStreamer plugin (installed by its own folder)
#   python              the Python package, which needs no build
#
# Every path inside the installed files is relative to the file itself, so that the tree may be moved afterwards.
include(CMakePackageConfigHelpers)

set(cmake_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VexaCamUtl)

install(TARGETS VexaCamUtl
  EXPORT VexaCamUtlTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/VexaCamUtl.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

install(TARGETS VexaCamFrames
  EXPORT VexaCamFramesTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT frames NAMELINK_COMPONENT frames_development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/VexaCamFrames.h ${PROJECT_SOURCE_DIR}/include/VexaCamFrames.hpp
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT frames_development)

# find_package(VexaCamUtl 1 CONFIG), with COMPONENTS Frames where the frames layer is wanted
install(EXPORT VexaCamFramesTargets
  NAMESPACE VexaCamUtl::
  DESTINATION ${cmake_package_dir} COMPONENT frames_development)
install(EXPORT VexaCamUtlTargets
  NAMESPACE VexaCamUtl::
  DESTINATION ${cmake_package_dir} COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/VexaCamUtlConfig.cmake.in
  ${PROJECT_BINARY_DIR}/VexaCamUtlConfig.cmake
  INSTALL_DESTINATION ${cmake_package_dir}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VexaCamUtlConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/VexaCamUtlConfig.cmake
  ${PROJECT_BINARY_DIR}/VexaCamUtlConfigVersion.cmake
  DESTINATION ${cmake_package_dir} COMPONENT development)

# pkg-config --cflags --libs vexacamutl
#
# Where an install folder was given as an absolute path, the file names it as it is.
function(vexa_pkgconfig_path variable path)
  if(IS_ABSOLUTE ${path})
    set(${variable} ${path} PARENT_SCOPE)
  else()
    set(${variable} "\${prefix}/${path}" PARENT_SCOPE)
  endif()
endfunction()
vexa_pkgconfig_path(PKGCONFIG_LIBDIR ${CMAKE_INSTALL_LIBDIR})
vexa_pkgconfig_path(PKGCONFIG_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
file(RELATIVE_PATH PKGCONFIG_TO_PREFIX
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" PKGCONFIG_TO_PREFIX ${PKGCONFIG_TO_PREFIX})
configure_file(${CMAKE_CURRENT_LIST_DIR}/vexacamutl.pc.in ${PROJECT_BINARY_DIR}/vexacamutl.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vexacamutl.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
configure_file(${CMAKE_CURRENT_LIST_DIR}/vexacamframes.pc.in ${PROJECT_BINARY_DIR}/vexacamframes.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vexacamframes.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT frames_development)

# The program and the frames layer find the library of their own tree, wherever that is; in /usr the loader does.
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set_target_properties(VexaCamFrames PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()
if(TARGET vexacamutl AND NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  file(RELATIVE_PATH to_library ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(vexacamutl PROPERTIES INSTALL_RPATH "$ORIGIN/${to_library}")
endif()

if(VEXACAMUTL_PYTHON_DIR)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/vexacamutl
    DESTINATION ${VEXACAMUTL_PYTHON_DIR} COMPONENT python
    FILES_MATCHING PATTERN *.py PATTERN py.typed PATTERN format_names.txt
    PATTERN __pycache__ EXCLUDE)
endif()

if(PROJECT_IS_TOP_LEVEL)
  include(${CMAKE_CURRENT_LIST_DIR}/Sbom.cmake)
endif()
