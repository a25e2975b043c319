# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# What every target of this project is compiled with: vexa_compile_settings(target).
include(CheckCXXCompilerFlag)

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

# A later compiler's new warning must not stop the build of somebody else's project.
option(VEXACAMUTL_WARNINGS_AS_ERRORS "A warning ends the build" ${PROJECT_IS_TOP_LEVEL})

# In a project that names no build type, CMake compiles without optimisation, and the kernels take twenty times as long.
# A configuration that says nothing of optimisation gets Release's; Debug, and any level that the user gives, stays.
set(vexa_optimisation)
if(NOT CMAKE_CXX_FLAGS MATCHES "(^| )-O")
  set(chosen Debug Release RelWithDebInfo MinSizeRel)
  foreach(configuration IN LISTS CMAKE_BUILD_TYPE CMAKE_CONFIGURATION_TYPES)
    string(TOUPPER ${configuration} upper)
    if(CMAKE_CXX_FLAGS_${upper} MATCHES "(^| )-O")
      list(APPEND chosen ${configuration})
    endif()
  endforeach()
  list(REMOVE_DUPLICATES chosen)
  list(JOIN chosen "," chosen)
  set(vexa_optimisation $<$<NOT:$<CONFIG:${chosen}>>:-O3>)
endif()

# What Debian's packages are hardened with (dpkg-buildflags, and its hardening=+all), where the compiler knows it. The
# sanitizers replace the functions that _FORTIFY_SOURCE would check, and that needs an optimised build. WebAssembly keeps its stack of calls
# out of memory.
set(vexa_hardening)
set(vexa_hardening_link)
if(NOT VEXACAMUTL_SANITIZE AND NOT EMSCRIPTEN)
  foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection)
    string(MAKE_C_IDENTIFIER "VEXACAMUTL_HAS${flag}" known)
    # An error where the flag is for another processor; clang only warns.
    set(CMAKE_REQUIRED_FLAGS -Werror)
    check_cxx_compiler_flag(${flag} ${known})
    unset(CMAKE_REQUIRED_FLAGS)
    if(${known})
      list(APPEND vexa_hardening ${flag})
    endif()
  endforeach()
  if(NOT CMAKE_CXX_FLAGS MATCHES "_FORTIFY_SOURCE|(^| )-O0")
    list(APPEND vexa_hardening $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
  endif()
  set(vexa_hardening_link LINKER:-z,relro,-z,now,-z,noexecstack)
endif()

function(vexa_compile_settings target)
  target_compile_features(${target} PRIVATE cxx_std_20 c_std_99)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF C_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wconversion -Wshadow -Wformat-security
    # Addresses of 32 bits: sizes are computed with 64 and compared with a buffer's length before they become addresses.
    $<$<BOOL:${EMSCRIPTEN}>:-Wno-shorten-64-to-32> $<$<BOOL:${EMSCRIPTEN}>:-Wno-sign-conversion>
    $<$<BOOL:${VEXACAMUTL_WARNINGS_AS_ERRORS}>:-Werror>
    # Some results hang on a product being rounded before it is added; FMA would round once.
    -ffp-contract=off
    ${vexa_optimisation} ${vexa_hardening})
  get_target_property(type ${target} TYPE)
  if(NOT type MATCHES "OBJECT_LIBRARY|STATIC_LIBRARY")
    target_link_options(${target} PRIVATE ${vexa_hardening_link})
  endif()
  if(VEXACAMUTL_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=${VEXACAMUTL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${VEXACAMUTL_SANITIZE})
    # The library asks for the part of the runtime that knows C++, and clang gives it to no C program.
    set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX)
  endif()
  if(VEXACAMUTL_COVERAGE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # Counters that several processes may share in one mapped file (%c of LLVM_PROFILE_FILE), so that the counts of a
    # process that a test kills are kept.
    target_compile_options(${target} PRIVATE
      -fprofile-instr-generate -fcoverage-mapping -mllvm -runtime-counter-relocation)
    target_link_options(${target} PRIVATE -fprofile-instr-generate)
  elseif(VEXACAMUTL_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage)
    target_link_options(${target} PRIVATE --coverage)
  endif()
endfunction()
