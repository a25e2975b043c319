#!/bin/sh
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# list_linked.sh LIST COMMAND...   runs a link command; the files that the linker names go into LIST.
list=$1
shift
exec "$@" >"$list"
