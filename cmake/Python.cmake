# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# A Python for tests:
#
#   vexa_find_python(variable module ...)    the first Python 3 that has the modules, or nothing. Debian's own is tried
#                                            first, as it is the one whose modules the system's packages bring
#   vexa_python_environment(variable reason) what its environment must be to import vexacamutl from this build, or why
#                                            that cannot be
function(vexa_find_python variable)
  list(TRANSFORM ARGN PREPEND "import " OUTPUT_VARIABLE imports)
  list(JOIN imports "\n" imports)
  set(${variable} "" PARENT_SCOPE)
  foreach(candidate /usr/bin/python3 python3)
    execute_process(COMMAND ${candidate} -c "${imports}" RESULT_VARIABLE result OUTPUT_QUIET ERROR_QUIET)
    if(result EQUAL 0)
      set(${variable} ${candidate} PARENT_SCOPE)
      return()
    endif()
  endforeach()
endfunction()

function(vexa_python_environment variable reason)
  set(environment
    VEXACAMUTL_LIBRARY=$<TARGET_FILE:VexaCamUtl>
    VEXACAMUTL_FRAMES_LIBRARY=$<TARGET_FILE:VexaCamFrames>
    VEXACAMUTL_FRAMES_DIR=${VEXACAMUTL_FRAMES_DIR}
    PYTHONPATH=${PROJECT_SOURCE_DIR}/python
    PYTHONDONTWRITEBYTECODE=1)
  set(${reason} "" PARENT_SCOPE)
  # An instrumented library can only be loaded into a process that has the sanitizer's runtime from its start on. The
  # thread sanitizer's wants an instrumented interpreter too, and clang's are linked into programs only.
  if(VEXACAMUTL_SANITIZE MATCHES "address" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # libstdc++ as well: the runtime looks for the functions that it wraps before Python has loaded anything.
    foreach(library asan stdc++)
      execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=lib${library}.so
        OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
      string(APPEND runtime "${path} ")
    endforeach()
    # The interpreter keeps memory until it ends; a small quarantine, as a test watches the size of the process.
    list(APPEND environment "LD_PRELOAD=${runtime}" ASAN_OPTIONS=detect_leaks=0:quarantine_size_mb=16)
  elseif(VEXACAMUTL_SANITIZE)
    set(${reason} "Python cannot load a library with these sanitizers" PARENT_SCOPE)
  endif()
  set(${variable} "${environment}" PARENT_SCOPE)
endfunction()
