# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Fish completion of vexacamutl, asked of the tool itself as the one for bash is.

complete -c vexacamutl -n __fish_use_subcommand -f -a "(vexacamutl --help | string match -rg '^  ([a-z]+) ')"
complete -c vexacamutl -n "not __fish_use_subcommand" \
    -a "(string match -q -- '-*' (commandline -ct); and vexacamutl (commandline -opc)[2] --help | string match -ra -- '--[a-z][a-z-]*' | sort -u)"
complete -c vexacamutl -n "__fish_seen_subcommand_from formats" -f -a "(vexacamutl formats --aliases | string split -n ' ')"
complete -c vexacamutl -s f -l format -x -a "(vexacamutl formats --aliases | string split -n ' ')"
complete -c vexacamutl -s b -l bayer-mode -x -a "default acpi"
complete -c vexacamutl -s t -l to -x -a "png tif tiff jpg jpeg ppm pgm bmp vbmp bgra bgr rwh raw"
complete -c vexacamutl -s o -l output-dir -x -a "(__fish_complete_directories)"
