# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# What a build leaves out:
#
#   vexa_left_out(test reason)    on purpose; the test is reported as skipped, with the reason
#   vexa_missing(test what)       because something is not installed. The project's own set-up installs it, so with
#                                 VEXACAMUTL_REQUIRE_ALL (scripts/test) that is an error; elsewhere it is left out
option(VEXACAMUTL_REQUIRE_ALL "A test or example that cannot be built for want of a package is an error" OFF)

function(vexa_left_out test reason)
  message(STATUS "${test} is left out: ${reason}")
  if(VEXACAMUTL_BUILD_TESTS)
    add_test(NAME ${test} COMMAND ${CMAKE_COMMAND} -E echo "skipped: ${reason}")
    set_tests_properties(${test} PROPERTIES SKIP_REGULAR_EXPRESSION "^skipped: ")
  endif()
endfunction()

function(vexa_missing test what)
  if(VEXACAMUTL_REQUIRE_ALL)
    message(SEND_ERROR "${test}: ${what}; scripts/packages.sh lists what the tests need")
  endif()
  vexa_left_out(${test} "${what}")
endfunction()
