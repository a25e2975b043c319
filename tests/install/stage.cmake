# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Installs the build tree BUILD into a first folder, moves that to STAGE, and checks what must be there.
# cmake -DBUILD=... -DSTAGE=... -DLIBDIR=... -DREADELF=... -P stage.cmake
set(first ${STAGE}-first)
file(REMOVE_RECURSE ${first} ${STAGE})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${first}
  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(RENAME ${first} ${STAGE})

foreach(file
    include/VexaCamUtl.h
    include/VexaCamFrames.h
    include/VexaCamFrames.hpp
    ${LIBDIR}/libVexaCamFrames.so
    ${LIBDIR}/libVexaCamFrames.so.0
    ${LIBDIR}/cmake/VexaCamUtl/VexaCamFramesTargets.cmake
    ${LIBDIR}/pkgconfig/vexacamframes.pc
    ${LIBDIR}/libVexaCamUtl_64.so
    ${LIBDIR}/libVexaCamUtl_64.so.1
    ${LIBDIR}/cmake/VexaCamUtl/VexaCamUtlConfig.cmake
    ${LIBDIR}/cmake/VexaCamUtl/VexaCamUtlConfigVersion.cmake
    ${LIBDIR}/pkgconfig/vexacamutl.pc)
  if(NOT EXISTS ${STAGE}/${file})
    message(FATAL_ERROR "${file} is not installed")
  endif()
endforeach()

file(READ_SYMLINK ${STAGE}/${LIBDIR}/libVexaCamUtl_64.so link)
if(NOT link STREQUAL "libVexaCamUtl_64.so.1")
  message(FATAL_ERROR "libVexaCamUtl_64.so points at ${link}")
endif()
if(IS_SYMLINK ${STAGE}/${LIBDIR}/libVexaCamUtl_64.so.1)
  message(FATAL_ERROR "libVexaCamUtl_64.so.1 is a link; it is to be the library itself")
endif()
execute_process(COMMAND ${READELF} -d ${STAGE}/${LIBDIR}/libVexaCamUtl_64.so.1
  OUTPUT_VARIABLE dynamic COMMAND_ERROR_IS_FATAL ANY)
if(NOT dynamic MATCHES "\\(SONAME\\)[^\n]*\\[libVexaCamUtl_64\\.so\\.1\\]")
  message(FATAL_ERROR "the SONAME is not libVexaCamUtl_64.so.1:\n${dynamic}")
endif()
if(dynamic MATCHES "\\((RPATH|RUNPATH)\\)")
  message(FATAL_ERROR "the installed library carries a search path:\n${dynamic}")
endif()

# Nothing in the installed text files may name a folder of the machine that built them.
file(GLOB_RECURSE texts ${STAGE}/*.cmake ${STAGE}/*.pc ${STAGE}/*.h ${STAGE}/*.py)
foreach(text IN LISTS texts)
  file(READ ${text} content)
  string(FIND "${content}" "${BUILD}" in_build)
  string(FIND "${content}" "${first}" in_first)
  if(NOT in_build EQUAL -1 OR NOT in_first EQUAL -1)
    message(FATAL_ERROR "${text} names a folder of the build")
  endif()
endforeach()
