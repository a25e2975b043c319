// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Elements of the page: found by their id, made with properties and children.

export const $ = (id) => document.getElementById(id);

export function element(name, properties = {}, ...children) {
    const made = Object.assign(document.createElement(name), properties);
    made.append(...children);
    return made;
}
