# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
# shellcheck shell=bash
#
# From a source tree to Debian packages, for scripts/package and scripts/release. To be sourced in the project's folder.

# Name and address that packages carry: the repository's own, those of its last commit. An exported tree has them in a
# file. A tree with neither gets an address that says that there is none.
packages_contact() {
    local contact
    contact=$(<packaging/contact)
    if [[ $contact == *Format:* ]]; then
        contact=$(git -c safe.directory='*' log -1 --format='%aN <%aE>' 2>/dev/null) || contact=
    fi
    [[ $contact == *' <'*@*'>' ]] || contact='the Vexa camera utility library authors <nobody@vexacamutl.invalid>'
    echo "$contact"
}

# debianize TREE CONTACT: gives an exported tree the folder `debian` that dpkg works with.
debianize() {
    local tree=$1 contact=$2
    rm -rf "$tree/debian"
    cp -r "$tree/packaging/debian" "$tree/debian"
    cp "$tree/packaging/symbols" "$tree/debian/libvexacamutl-64-1.symbols"
    cp "$tree/packaging/frames/symbols" "$tree/debian/libvexacamframes0.symbols"
    local file
    for file in control changelog; do
        contact=$contact awk '{ at = index($0, "@CONTACT@")
            print at ? substr($0, 1, at - 1) ENVIRON["contact"] substr($0, at + 9) : $0 }' \
            "$tree/packaging/debian/$file" >"$tree/debian/$file"
    done
}

# build_packages TREE [OPTION...]: runs dpkg-buildpackage in the tree; what it makes lies beside the tree.
build_packages() {
    local tree=$1
    shift
    (cd "$tree" && DEB_BUILD_OPTIONS="noautodbgsym parallel=$(nproc)" dpkg-buildpackage --no-sign "$@") \
        >"$tree.log" 2>&1 || {
        tail -n 30 "$tree.log" >&2
        return 1
    }
}
