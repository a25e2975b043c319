// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The page's first step: the engine out of the page itself.
import { loadEngine } from './engine.js';

/** The bytes of the engine, which the page holds as base64. */
function engineBytes() {
    const text = atob(document.getElementById('engine').textContent);
    return Uint8Array.from(text, (character) => character.charCodeAt(0));
}

globalThis.engineReady = loadEngine(engineBytes());
