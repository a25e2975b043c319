# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# The names of the install folders; needed before the first folder that installs something.
include(GNUInstallDirs)

# Debian's Python looks into /usr/lib/python3/dist-packages, but below /usr/local its version is part of the name.
set(python_version 3)
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  execute_process(COMMAND /usr/bin/python3 -c "import sys; print('%d.%d' % sys.version_info[:2])"
    OUTPUT_VARIABLE python_answer OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE python_result)
  if(python_result EQUAL 0)
    set(python_version ${python_answer})
  endif()
endif()
set(VEXACAMUTL_PYTHON_DIR lib/python${python_version}/dist-packages CACHE STRING
  "Where the Python package goes, below the prefix or absolute; empty: it is not installed")
