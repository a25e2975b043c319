# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# The names in packaging/symbols are exactly the names that the library exports.
# cmake -DNM=... -DLIBRARY=... -DSYMBOLS=... -P symbols.cmake
execute_process(COMMAND ${NM} -D --defined-only --format=just-symbols ${LIBRARY}
  OUTPUT_VARIABLE exported COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" exported "${exported}")
list(SORT exported)

file(STRINGS ${SYMBOLS} lines REGEX "^ ")
set(listed)
foreach(line IN LISTS lines)
  if(NOT line MATCHES "^ ([A-Za-z0-9_]+)@Base [0-9]+\\.[0-9]+\\.[0-9]+$")
    message(FATAL_ERROR "not ' Name@Base version': '${line}'")
  endif()
  list(APPEND listed ${CMAKE_MATCH_1})
endforeach()
list(SORT listed)

if(NOT exported STREQUAL listed)
  set(missing ${exported})
  list(REMOVE_ITEM missing ${listed})
  set(gone ${listed})
  list(REMOVE_ITEM gone ${exported})
  message(FATAL_ERROR "exported but not listed: ${missing}\nlisted but not exported: ${gone}")
endif()
