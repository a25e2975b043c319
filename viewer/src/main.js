// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Where the script begins: in the page it starts the viewer, in a worker it waits for jobs. Both are the same text.
import { loadEngine } from './engine.js';
import { describeKeys, listenToKeys } from './keys.js';
import { listenToPointer, listenToTransfers } from './pointer.js';
import { Viewer } from './viewer.js';
import { Helper, runWorker } from './worker.js';

function bytesOfBase64(text) {
    const letters = atob(text.trim());
    return Uint8Array.from(letters, (letter) => letter.charCodeAt(0));
}

/** A worker; where the browser allows none, or by '?worker=none', the page itself. */
function helperFor(wanted, wasm) {
    if (wanted !== 'none') {
        try {
            return new Helper(document.getElementById('program').textContent, wasm);
        } catch (error) {
            console.info(`working without a worker: ${error.message}`);
        }
    }
    return new Helper(null, wasm);
}

async function start() {
    performance.mark('viewer:start');
    const wasm = bytesOfBase64(document.getElementById('engine-bytes').textContent);
    const engine = await loadEngine(wasm);
    const query = new URLSearchParams(location.search);
    const viewer = new Viewer(engine, helperFor(query.get('worker'), wasm), { painter: query.get('painter') });
    listenToKeys(viewer);
    listenToPointer(viewer);
    listenToTransfers(viewer);
    describeKeys(document.getElementById('help-keys'), viewer);
    addEventListener('hashchange', () => viewer.readAddress());
    new ResizeObserver(() => viewer.require(1)).observe(document.getElementById('stage'));
    const how = `${engine.simd ? 'WebAssembly SIMD' : 'WebAssembly'}, ${viewer.stage.painter.name}`;
    document.getElementById('engine').textContent = `${engine.version()}, ${how}`;
    document.getElementById('status').textContent = 'Ready';
    performance.measure('viewer:started', 'viewer:start');
    window.viewer = viewer; // for tests and for the curious
}

if (typeof document === 'undefined') {
    runWorker(self);
} else {
    start().catch((error) => {
        document.documentElement.dataset.state = 'error';
        document.getElementById('message').hidden = false;
        document.getElementById('message-text').textContent = `The viewer cannot start: ${error.message}`;
    });
}
