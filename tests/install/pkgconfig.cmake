# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Compiles CONSUMER (a C file of this folder) as strict C99 with the flags that pkg-config gives for PACKAGE in the staged
# tree, and runs it.
# cmake -DPACKAGE=... -DCONSUMER=... -DSTAGE=... -DLIBDIR=... -DCC=... -DPKG_CONFIG=... -DVERSION=... -DFLAGS=... -DWORK=... -P pkgconfig.cmake
set(ENV{PKG_CONFIG_PATH} ${STAGE}/${LIBDIR}/pkgconfig)
function(ask variable)
  execute_process(COMMAND ${PKG_CONFIG} ${ARGN} ${PACKAGE}
    OUTPUT_VARIABLE answer OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(${variable} "${answer}" PARENT_SCOPE)
endfunction()

ask(version --modversion)
if(NOT version STREQUAL VERSION)
  message(FATAL_ERROR "${PACKAGE}.pc has version '${version}', the project ${VERSION}")
endif()
ask(cflags --cflags)
ask(libs --libs)
separate_arguments(cflags UNIX_COMMAND "${cflags}")
separate_arguments(libs UNIX_COMMAND "${libs}")
separate_arguments(flags UNIX_COMMAND "${FLAGS}")

file(MAKE_DIRECTORY ${WORK})
execute_process(
  COMMAND ${CC} -std=c99 -Wall -Wextra -Wconversion -Wshadow -Wpedantic -Werror ${flags} ${cflags}
    ${CMAKE_CURRENT_LIST_DIR}/${CONSUMER} -o ${WORK}/consumer ${libs}
  COMMAND_ERROR_IS_FATAL ANY)
execute_process(
  COMMAND ${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${STAGE}/${LIBDIR} ${WORK}/consumer
  COMMAND_ERROR_IS_FATAL ANY)
