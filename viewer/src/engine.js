// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The libraries and the guesser as a module of WebAssembly: bytes in, pixels, samples and guesses out. It touches no
// document and no file, so it works alike in a page, in a worker and in node.js.
//
// What a call returns as an array lies in the module's memory and is valid until the next call; copy it to keep it.

const DEMOSAIC = { bilinear: 0, acpi: 1, none: 2, grey: 2 };
const TONE = { linear: 0, srgb: 2 };
const GAMMA_TONE = 1;
const ONE = 65536;
const MATRIX_ONE = 4096;
const MOST_UINT32 = 4294967295;

/** What the engine refuses; its message is a sentence for people. */
export class EngineError extends Error {
    constructor(message) {
        super(message);
        this.name = 'EngineError';
    }
}

function wholeNumber(value, name, most = MOST_UINT32) {
    const number = value === undefined || value === null ? 0 : value;
    if (typeof number !== 'number' || !Number.isInteger(number) || number < 0 || number > most) {
        throw new EngineError(`${name}: expected a whole number from 0 to ${most}, not ${String(value)}`);
    }
    return number;
}

/** A multiple of 1 / one, for numbers from `least` to 16. */
function fixedPoint(value, name, one, least) {
    if (typeof value !== 'number' || !(value >= least && value <= 16)) {
        throw new EngineError(`${name}: expected a number from ${least} to 16, not ${String(value)}`);
    }
    return Math.round(value * one);
}

/** What the C runtime imports. There is no environment; a failure without a way out stops the module. */
function imports(memoryOf) {
    const noVariables = (count, bytes) => {
        const words = new DataView(memoryOf().buffer);
        words.setUint32(count, 0, true);
        words.setUint32(bytes, 0, true);
        return 0;
    };
    const stop = (code) => {
        throw new EngineError(`the engine has stopped (${code})`);
    };
    return {
        env: { emscripten_notify_memory_growth: () => {} },
        wasi_snapshot_preview1: { environ_sizes_get: noVariables, environ_get: () => 0, proc_exit: stop },
    };
}

class Engine {
    #exports;

    constructor(exports) {
        this.#exports = exports;
        this.simd = this.#text(exports.EngineKernels()) !== 'scalar';
    }

    /** The library's version, "1.0.0". */
    version() {
        return this.#text(this.#exports.EngineVersion());
    }

    /** Which kernels convert: "wasm" or "scalar". */
    kernels() {
        return this.#text(this.#exports.EngineKernels());
    }

    /**
     * All pixel formats: {name, code, bitsPerPixel, packing, kind, depth, sites, aliases, unpacked, groupPixels,
     * groupBytes}. `kind` is mono, bayer, colour or yuv; `sites` the phase of a mosaic, "RG", or empty; `packing` none,
     * 10p, 12p, 10Packed, 12Packed, 10CSI2 or 12CSI2.
     */
    formats() {
        this.#check(this.#exports.EngineFormats());
        return this.#answer();
    }

    /** Bytes of a row's pixels, from frame to frame, and to the end of the last pixel; an impossible layout throws. */
    layout(layout) {
        this.#setLayout(layout);
        return {
            rowBytes: this.#exports.EngineRowBytes(),
            frameBytes: this.#exports.EngineFrameBytes(),
            bytesNeeded: this.#exports.EngineBytesNeeded(),
        };
    }

    /**
     * How a file fits a layout: whole frames from `offset` on, bytes behind the last one, and how many are missing for
     * the first one, with a sentence where something is missing or left over.
     */
    fit(layout, fileBytes) {
        const { frameBytes, bytesNeeded } = this.layout(layout);
        const offset = wholeNumber(layout.offset, 'offset', Number.MAX_SAFE_INTEGER);
        const bytes = wholeNumber(fileBytes, 'file size', Number.MAX_SAFE_INTEGER) - offset;
        const more = bytes >= bytesNeeded ? 1 + Math.floor((bytes - bytesNeeded) / frameBytes) : 0;
        const missing = more > 0 ? 0 : bytesNeeded - bytes;
        const rest = more > 0 ? Math.max(0, bytes - more * frameBytes) : Math.max(0, bytes);
        let text = '';
        if (missing > 0) {
            text = `the file is ${missing} bytes too short for a frame of ${bytesNeeded} bytes` +
                    (offset > 0 ? ` at offset ${offset}` : '');
        } else if (rest > 0) {
            text = `${rest} bytes follow the last whole frame`;
        }
        return { frames: more, rest, missing, text };
    }

    /** The likeliest layouts of a file, the best first, from its beginning (16 MiB are plenty) and its length. */
    guess(headBytes, fileBytes, most = 5) {
        this.#setInput(headBytes);
        const length = wholeNumber(fileBytes, 'file size', Number.MAX_SAFE_INTEGER);
        if (length < headBytes.length) {
            throw new EngineError(`a file of ${length} bytes does not begin with ${headBytes.length} bytes`);
        }
        this.#check(this.#exports.EngineGuess(headBytes.length, length, wholeNumber(most, 'most', 64)));
        return this.#answer();
    }

    /** Bits per byte above which a guess explains nothing: the file is compressed, encrypted or no picture. */
    get explainsNothing() {
        return this.#exports.EngineExplainsNothing();
    }

    /**
     * One frame as BGRA. Beside the layout {format, width, height, stride, shift, range}:
     *   mode          'bilinear', 'acpi' (adaptive), 'none' (the mosaic as grey) or 'grey' (as with grey: true)
     *   grey          true: a grey picture; of mosaics the samples as they are
     *   black, whiteBalance: [r, g, b], exposure, tone: 'linear', 'srgb' or a gamma as a number
     *                 levels of the raw samples; without any of them (null or absent) none are applied
     *   matrix        nine numbers, rows R, G, B, for the finished picture
     */
    convert(bytes, options) {
        this.#setLayout(options);
        this.#setSettings(options);
        this.#setInput(bytes);
        this.#check(this.#exports.EngineConvert(bytes.length));
        const { width, height } = options;
        return { pixels: this.#bytes(this.#exports.EngineOutput(), 4 * width * height), width, height };
    }

    /** The samples of a frame as words, row by row as they are stored: YUV byte by byte, packed colour three each. */
    samples(bytes, options) {
        this.#setLayout(options);
        this.#setInput(bytes);
        this.#check(this.#exports.EngineSamples(bytes.length));
        return new Uint16Array(this.#exports.memory.buffer, this.#exports.EngineOutput(),
                this.#exports.EngineSampleCount());
    }

    /** Gains [r, g, b] that make the mean of a mosaic or of packed colour grey. */
    estimateWhiteBalance(bytes, options) {
        this.#setLayout(options);
        this.#setInput(bytes);
        const step = options.step === undefined ? 1 : wholeNumber(options.step, 'step');
        this.#check(this.#exports.EngineBalance(bytes.length, wholeNumber(options.black, 'black'), step));
        return [0, 1, 2].map((channel) => this.#exports.EngineGain(channel));
    }

    /** What the first 16 bytes of an RWH file name: {format, width, height, stride, offset}. */
    rwhHeader(bytes) {
        const head = bytes.subarray(0, 16);
        this.#setInput(head);
        this.#check(this.#exports.EngineRwhHeader(head.length));
        return this.#answer();
    }

    /** What the text of a sidecar names: {format, width, height, stride, offset, shift, range}. */
    sidecar(text) {
        this.#setText(text);
        this.#check(this.#exports.EngineSidecar());
        return this.#answer();
    }

    #setLayout({ format, width, height, stride, shift, range }) {
        if (range !== undefined && range !== null && range !== 'full' && range !== 'limited') {
            throw new EngineError(`range: expected full or limited, not ${String(range)}`);
        }
        this.#setText(String(format));
        this.#check(this.#exports.EngineSetLayout(wholeNumber(width, 'width'), wholeNumber(height, 'height'),
                wholeNumber(stride, 'stride'), wholeNumber(shift, 'shift'), range === 'limited' ? 1 : 0));
    }

    #setSettings({ mode, grey, whiteBalance, black, exposure, tone, matrix }) {
        const demosaic = DEMOSAIC[mode || 'bilinear'];
        if (demosaic === undefined) {
            throw new EngineError(`mode: expected bilinear, acpi, none or grey, not ${String(mode)}`);
        }
        const isGrey = grey || mode === 'grey';
        this.#exports.EngineSetDemosaic(isGrey ? DEMOSAIC.none : demosaic, isGrey ? 1 : 0);
        const given = (value) => value !== undefined && value !== null;
        if (given(whiteBalance) || given(exposure) || given(tone) || black > 0) {
            const gains = (whiteBalance || [1, 1, 1]).map((gain) => fixedPoint(gain, 'white balance', ONE, 0));
            const curve = given(tone) ? tone : 'linear';
            const isGamma = typeof curve === 'number';
            if (!isGamma && TONE[curve] === undefined) {
                throw new EngineError(`tone: expected linear, srgb or a number, not ${String(tone)}`);
            }
            const exposed = given(exposure) ? fixedPoint(exposure, 'exposure', ONE, 0) : ONE;
            const gamma = isGamma ? fixedPoint(curve, 'tone', 100, 0.1) : 220;
            const kind = isGamma ? GAMMA_TONE : TONE[curve];
            this.#exports.EngineSetLevels(wholeNumber(black, 'black'), ...gains, exposed, kind, gamma);
        }
        if (given(matrix)) {
            matrix.forEach((value, index) => {
                this.#exports.EngineSetMatrix(index, fixedPoint(value, 'matrix', MATRIX_ONE, -8));
            });
        }
    }

    #bytes(at, length) {
        return new Uint8Array(this.#exports.memory.buffer, at, length);
    }

    #text(at) {
        const memory = new Uint8Array(this.#exports.memory.buffer);
        return new TextDecoder().decode(memory.slice(at, memory.indexOf(0, at)));
    }

    #answer() {
        return JSON.parse(this.#text(this.#exports.EngineAnswer()));
    }

    #check(done) {
        if (!done) {
            throw new EngineError(this.#text(this.#exports.EngineMessage()));
        }
    }

    #setInput(bytes) {
        const room = this.#exports.EngineInput(wholeNumber(bytes.length, 'bytes'));
        this.#check(room);
        this.#bytes(room, bytes.length).set(bytes);
    }

    #setText(text) {
        const bytes = new TextEncoder().encode(text);
        const room = this.#exports.EngineTextInput(bytes.length + 1);
        this.#check(room);
        this.#bytes(room, bytes.length).set(bytes);
        this.#bytes(room + bytes.length, 1)[0] = 0;
    }
}

/** The engine of a module, given as its bytes or as a compiled WebAssembly.Module. */
export async function loadEngine(wasm) {
    let memory = null;
    const module = wasm instanceof WebAssembly.Module ? wasm : await WebAssembly.compile(wasm);
    const instance = await WebAssembly.instantiate(module, imports(() => memory));
    memory = instance.exports.memory;
    instance.exports._initialize();
    return new Engine(instance.exports);
}
