# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# What is shipped: which files, for which processors, for which requests of a version. Included by CMakeLists.txt.
if(script_python)
  set(parts)
  if(VEXACAMUTL_BUILD_TOOL)
    list(APPEND parts --tool)
  endif()
  if(VEXACAMUTL_PYTHON_DIR)
    list(APPEND parts --python)
  endif()
  add_test(NAME install.shipped COMMAND ${script_python} ${CMAKE_CURRENT_SOURCE_DIR}/shipped.py
    ${PROJECT_SOURCE_DIR} ${stage} ${parts})
  set_tests_properties(install.shipped PROPERTIES FIXTURES_REQUIRED stage)
endif()

# Sanitizers and gcov change the code; without optimisation a compiler may not use what it is allowed to.
if(script_python AND NOT VEXACAMUTL_SANITIZE AND NOT VEXACAMUTL_COVERAGE AND CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
  set(objects $<TARGET_OBJECTS:VexaCamUtlObjects>)
  if(TARGET VexaCamFramesObjects)
    list(APPEND objects $<TARGET_OBJECTS:VexaCamFramesObjects>)
  endif()
  set(commands)
  if(CMAKE_EXPORT_COMPILE_COMMANDS)
    set(commands --commands ${PROJECT_BINARY_DIR}/compile_commands.json)
  endif()
  add_test(NAME install.instruction_sets COMMAND ${script_python} ${CMAKE_CURRENT_SOURCE_DIR}/instruction_sets.py
    --objdump ${CMAKE_OBJDUMP} ${commands} ${objects} COMMAND_EXPAND_LISTS)
endif()

# Only the same major version serves, and none that is newer than the installed one.
foreach(version 0.9 1.999)
  add_test(NAME install.find_package_refuses_version_${version} COMMAND ${CMAKE_COMMAND}
    -S ${CMAKE_CURRENT_SOURCE_DIR}/find_package -B ${CMAKE_CURRENT_BINARY_DIR}/version_${version}
    ${same_build} -DCMAKE_PREFIX_PATH=${stage} -DWANTED_VERSION=${version})
  set_tests_properties(install.find_package_refuses_version_${version} PROPERTIES
    FIXTURES_REQUIRED stage
    PASS_REGULAR_EXPRESSION "compatible with[ \n]+requested[ \n]+version \"${version}\"")
endforeach()
