# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Building for WebAssembly with Debian's emscripten; programs run in node.js. Exceptions are those of WebAssembly: the
# other kind needs calls through JavaScript.
set(ENV{NODE_PATH} /usr/share/nodejs)  # Debian's emscripten looks for its parser there
include(/usr/share/emscripten/cmake/Modules/Platform/Emscripten.cmake)
set(CMAKE_C_FLAGS_INIT -fwasm-exceptions)
set(CMAKE_CXX_FLAGS_INIT -fwasm-exceptions)
