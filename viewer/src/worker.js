// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What takes long, away from the page's own thread: ranking layouts, small pictures of the candidates, counting
// samples. The worker has an engine of its own and reads files itself.
//
//     page                          worker
//     {id, job, ...}   ------>      one job after another
//                      <------      {id, result} or {id, error}
import { loadEngine } from './engine.js';
import { statisticsOf } from './statistics.js';

const RANKED_BYTES = 16 * 2 ** 20; // of the file's beginning, as the tool ranks

async function bytesOf(file, start, length) {
    return new Uint8Array(await file.slice(start, start + length).arrayBuffer());
}

/** Every factor-th pixel in both directions, the mean of 2 x 2, as RGBA. */
function shrunk({ pixels, width, height }, mostSide) {
    const factor = Math.max(1, Math.ceil(Math.max(width, height) / mostSide));
    const small = { width: Math.max(1, Math.floor(width / factor)), height: Math.max(1, Math.floor(height / factor)) };
    const rgba = new Uint8ClampedArray(small.width * small.height * 4);
    const next = factor > 1 ? Math.floor(factor / 2) : 0;
    for (let y = 0, to = 0; y < small.height; ++y) {
        for (let x = 0; x < small.width; ++x, to += 4) {
            const first = (y * factor * width + x * factor) * 4;
            const places = [first, first + next * 4, first + next * width * 4, first + next * (width + 1) * 4];
            for (let channel = 0; channel < 3; ++channel) {
                const sum = places.reduce((total, place) => total + pixels[place + channel], 0);
                rgba[to + 2 - channel] = (sum + 2) >> 2;
            }
            rgba[to + 3] = 255;
        }
    }
    return { ...small, rgba };
}

const JOBS = {
    async guess(engine, { file, offset, most }) {
        const head = await bytesOf(file, offset, RANKED_BYTES);
        const guesses = engine.guess(head, file.size - offset, most);
        return { guesses, explainsNothing: engine.explainsNothing };
    },

    async thumbnail(engine, { file, start, length, conversion, side }) {
        const bytes = await bytesOf(file, start, length);
        return shrunk(engine.convert(bytes, conversion), side);
    },

    async statistics(engine, { file, start, length, format, layout }) {
        const bytes = await bytesOf(file, start, length);
        return statisticsOf(engine.samples(bytes, layout), format, layout);
    },
};

async function answer(engine, { id, job, ...details }) {
    try {
        return { id, result: await JOBS[job](await engine, details) };
    } catch (error) {
        return { id, error: error.message };
    }
}

/** Makes this thread the worker; its first message is the engine's module. */
export function runWorker(scope) {
    let engine = null;
    let turn = Promise.resolve();
    scope.onmessage = ({ data }) => {
        if (data.wasm) {
            engine = loadEngine(data.wasm);
        } else {
            turn = turn.then(async () => scope.postMessage(await answer(engine, data)));
        }
    };
}

/** The page's side: jobs as promises. A job asked for under a name replaces an older one of that name that waits. */
export class Helper {
    /** `program` null: on the page's own thread. */
    constructor(program, wasm) {
        this.next = 1;
        this.waiting = new Map();
        this.queue = [];
        this.running = null;
        if (program === null) {
            this.engine = loadEngine(wasm);
            return;
        }
        const url = URL.createObjectURL(new Blob([program], { type: 'text/javascript' }));
        this.worker = new Worker(url);
        this.worker.postMessage({ wasm });
        this.worker.onmessage = ({ data }) => this.finish(data);
        this.worker.onerror = (event) => this.finish({ id: this.running?.id, error: event.message });
    }

    /** The result of a job; null if another one of the same name took its place before it began. */
    ask(job, details, name = job) {
        return new Promise((resolve, reject) => {
            const older = this.queue.findIndex((entry) => entry.name === name);
            if (older >= 0) {
                this.queue.splice(older, 1)[0].resolve(null);
            }
            this.queue.push({ id: this.next++, job, details, name, resolve, reject });
            this.pump();
        });
    }

    /** Drops what waits and begins with these letters. */
    drop(prefix) {
        const dropped = this.queue.filter((entry) => entry.name.startsWith(prefix));
        this.queue = this.queue.filter((entry) => !entry.name.startsWith(prefix));
        dropped.forEach((entry) => entry.resolve(null));
    }

    get busy() {
        return this.running !== null || this.queue.length > 0;
    }

    pump() {
        if (this.running === null && this.queue.length > 0) {
            this.running = this.queue.shift();
            const { id, job, details } = this.running;
            if (this.worker) {
                this.worker.postMessage({ id, job, ...details });
            } else {
                answer(this.engine, { id, job, ...details }).then((found) => this.finish(found));
            }
        }
    }

    finish({ id, result, error }) {
        const entry = this.running;
        if (entry === null || entry.id !== id) {
            return;
        }
        this.running = null;
        if (error === undefined) {
            entry.resolve(result);
        } else {
            entry.reject(new Error(error));
        }
        this.pump();
    }
}
