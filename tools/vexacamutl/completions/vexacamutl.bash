# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
# shellcheck shell=bash
#
# Bash completion of vexacamutl. Verbs, options and formats are asked of the tool itself, so they cannot grow stale.

_vexacamutl_words() { # words, for the word that is being typed
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "${COMP_WORDS[COMP_CWORD]}")
}

_vexacamutl() {
    local program=${COMP_WORDS[0]} verb=${COMP_WORDS[1]:-} current=${COMP_WORDS[COMP_CWORD]}
    local previous=${COMP_WORDS[COMP_CWORD - 1]}
    if ((COMP_CWORD == 1)); then
        _vexacamutl_words "$("$program" --help | sed -n '/^Verbs:/,/^$/s/^  \([a-z]\{1,\}\) .*/\1/p') --help --version"
        return
    fi
    case $previous in
        -f | --format) _vexacamutl_words "$("$program" formats --aliases)" ;;
        -b | --bayer-mode) _vexacamutl_words "default acpi" ;;
        -t | --to) _vexacamutl_words "png tif tiff jpg jpeg ppm pgm bmp vbmp bgra bgr rwh raw" ;;
        -o | --output-dir) mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
        *)
            if [[ $current == -* ]]; then
                _vexacamutl_words "$("$program" "$verb" --help | grep -oE -- '--[a-z][a-z-]*' | sort -u)"
            elif [[ $verb == formats ]]; then
                _vexacamutl_words "$("$program" formats --aliases)"
            else
                compopt -o filenames 2>/dev/null
                mapfile -t COMPREPLY < <(compgen -f -- "$current")
            fi
            ;;
    esac
}

complete -F _vexacamutl vexacamutl
