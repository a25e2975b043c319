# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# What every target of this project is compiled with: vexa_compile_settings(target).

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

function(vexa_compile_settings target)
  target_compile_features(${target} PRIVATE cxx_std_20 c_std_99)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF C_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wconversion -Wshadow
    # A later compiler's new warning must not stop the build of somebody else's project.
    $<$<BOOL:${VexaCamUtl_IS_TOP_LEVEL}>:-Werror>
    # Some results hang on a product being rounded before it is added; FMA would round once.
    -ffp-contract=off)
  if(VEXACAMUTL_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=${VEXACAMUTL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${VEXACAMUTL_SANITIZE})
    # The library asks for the part of the runtime that knows C++, and clang gives it to no C program.
    set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX)
  endif()
  if(VEXACAMUTL_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage)
    target_link_options(${target} PRIVATE --coverage)
  endif()
endfunction()
