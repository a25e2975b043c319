# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# The Debian packages, made by CPack from the install components: one each for the library, for building against it,
# for the program and for Python. scripts/package builds and checks them; it configures with the prefix /usr, which is
# what makes CMAKE_INSTALL_LIBDIR the multi-arch folder that Debian asks for.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vexacamutl)
set(CPACK_PACKAGE_VENDOR "the Vexa camera utility library authors")
set(CPACK_PACKAGE_CONTACT "The Vexa camera utility library authors <authors@vexacamutl.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development frames frames_development)
if(VEXACAMUTL_BUILD_TOOL)
  list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
if(TARGET gstvexacamutl)
  list(APPEND CPACK_COMPONENTS_ALL gstreamer)
endif()
if(VEXACAMUTL_PYTHON_DIR)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# A shared library's package is named after its SONAME: libVexaCamUtl_64.so.1.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libvexacamutl-64-${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvexacamutl-dev)
set(CPACK_DEBIAN_FRAMES_PACKAGE_NAME libvexacamframes0)
set(CPACK_DEBIAN_FRAMES_DEVELOPMENT_PACKAGE_NAME libvexacamframes-dev)
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME vexacamutl-tools)
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_NAME gstreamer1.0-vexacamutl)
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-vexacamutl)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_FRAMES_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_FRAMES_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)

# The first line is the synopsis, then follow the text that all packages share and the contents of this one. CPack would
# put a summary of the project in front of each description, so the summary is empty.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(description
"The library converts raw frames of industrial cameras (grey, Bayer mosaic,
packed RGB or BGR, YUV) into BGRA or BGR pictures, saves pictures and raw
frames, mirrors raw frames and answers queries about pixel formats.")
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "raw camera frames to BGRA and BGR pictures (library)
${description}
.
This package holds the shared library.")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "raw camera frames to BGRA and BGR pictures (development)
${description}
.
This package holds the header and the files for CMake and pkg-config.")
set(CPACK_DEBIAN_FRAMES_DESCRIPTION "camera buffers to BGRA and BGR pictures (library)
${description}
.
This package holds the frames layer over it: packed 10 and 12 bits, padded rows,
trailing data, black level, white balance and tone.")
set(CPACK_DEBIAN_FRAMES_DEVELOPMENT_DESCRIPTION "camera buffers to BGRA and BGR pictures (development)
${description}
.
This package holds the headers and the files for CMake and pkg-config of the
frames layer, and its manual page.")
set(CPACK_DEBIAN_TOOL_DESCRIPTION "raw camera frames to BGRA and BGR pictures (tool)
${description}
.
This package holds the tool vexacamutl, which does this from a shell.")
set(CPACK_DEBIAN_GSTREAMER_DESCRIPTION "raw camera frames to BGRA and BGR pictures (GStreamer)
${description}
.
This package holds the GStreamer elements vexaconvert, vexarwhdec and
vexarwhenc, which show and record camera frames in pipelines.")
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "raw camera frames to BGRA and BGR pictures (Python 3)
${description}
.
This package holds the Python package vexacamutl, which works on NumPy arrays.")

# What the binaries need is read off them; what our own packages need of each other stands here.
set(library_package ${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_FRAMES_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src ${PROJECT_BINARY_DIR}/frames)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_FRAMES_PACKAGE_DEPENDS "${library_package} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_FRAMES_DEVELOPMENT_PACKAGE_DEPENDS
  "libvexacamframes0 (= ${PROJECT_VERSION}), libvexacamutl-dev (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${library_package} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_DEPENDS
  "libvexacamframes0 (>= ${PROJECT_VERSION}), ${library_package} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
  "python3 (>= 3.9), python3-numpy, ${library_package} (>= ${PROJECT_VERSION}), ${CPACK_DEBIAN_FRAMES_PACKAGE_NAME}")

# What a program that links the library depends on: the symbols file is kept by hand, as each symbol carries the
# version that brought it; shlibs is the coarse answer for tools that don't read symbols.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/packaging/shlibs
  CONTENT "libVexaCamUtl_64 @PROJECT_VERSION_MAJOR@ @library_package@ (>= @PROJECT_VERSION@)\n" @ONLY)
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/packaging/frames/shlibs
  CONTENT "libVexaCamFrames 0 libvexacamframes0 (>= @PROJECT_VERSION@)\n" @ONLY)
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/packaging/triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/packaging/symbols
  ${PROJECT_BINARY_DIR}/packaging/shlibs
  ${PROJECT_BINARY_DIR}/packaging/triggers)

set(CPACK_DEBIAN_FRAMES_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/packaging/frames/symbols
  ${PROJECT_BINARY_DIR}/packaging/frames/shlibs
  ${PROJECT_BINARY_DIR}/packaging/triggers)

set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/packaging/python/postinst
  ${PROJECT_SOURCE_DIR}/packaging/python/prerm)

# Every package carries its licence and its history, under its own name; other installs don't.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(changelog ${PROJECT_SOURCE_DIR}/packaging/changelog)
  set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${changelog})
  execute_process(COMMAND gzip -9n
    INPUT_FILE ${changelog} OUTPUT_FILE ${PROJECT_BINARY_DIR}/packaging/changelog.gz COMMAND_ERROR_IS_FATAL ANY)
  foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright ${PROJECT_BINARY_DIR}/packaging/changelog.gz
      DESTINATION share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME} COMPONENT ${component})
  endforeach()
endif()

include(CPack)
