// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The engine's answers in node.js: pixels, samples and guesses against the tool's, refusals by what they say.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readFileSync, writeFileSync, mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, test } from 'node:test';

import { EngineError, loadEngine } from '../../viewer/src/engine.js';
import { hintOf } from '../../viewer/src/names.js';

const TOOL = process.env.VEXACAMUTL_TOOL;
let engine;
let folder;

before(async () => {
    engine = await loadEngine(readFileSync(process.env.VEXACAMUTL_ENGINE));
    folder = mkdtempSync(join(tmpdir(), 'engine-'));
});

after(() => rmSync(folder, { recursive: true }));

/** Numbers that look like noise and are the same every time. */
function noise(bytes, seed) {
    const result = new Uint8Array(bytes);
    let state = seed;
    for (let i = 0; i < bytes; ++i) {
        state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
        result[i] = state >>> 24;
    }
    return result;
}

/** What the tool makes of a frame, as BGRA. */
function converted(bytes, { format, width, height }, options = []) {
    const input = join(folder, 'frame.raw');
    const output = join(folder, 'frame.bgra');
    writeFileSync(input, bytes);
    execFileSync(TOOL, ['convert', '--format', format, '--size', `${width}x${height}`, ...options, input,
        output]);
    return readFileSync(output);
}

test('the module uses the vector kernels', () => {
    assert.equal(engine.simd, true);
    assert.equal(engine.kernels(), 'wasm');
});

test('every format has what the page shows of it', () => {
    const formats = engine.formats();
    assert.equal(formats.length, 65);
    const packed = formats.find(({ name }) => name === 'BayerRG12p');
    assert.deepEqual(packed, { name: 'BayerRG12p', aliases: packed.aliases, kind: 'bayer', packing: '12p', sites: 'RG',
        unpacked: 'BayerRG12', depth: 12, bitsPerPixel: 12, groupPixels: 2, groupBytes: 3, code: 0x010C0059 });
});

test('pixels of every format are those of the tool, at even and odd sizes', () => {
    for (const { name, kind } of engine.formats()) {
        for (const [width, height] of [[66, 10], [67, 9]]) {
            const shape = { format: name, width: kind === 'yuv' ? 4 * Math.ceil(width / 4) : width, height };
            const frame = noise(engine.layout(shape).frameBytes, 7);
            const { pixels } = engine.convert(frame, shape);
            assert.ok(Buffer.from(pixels).equals(converted(frame, shape)), `${name} ${shape.width}x${height}`);
        }
    }
});

test('what is impossible is refused with a sentence', () => {
    const refused = (work, message) => assert.throws(work, (error) => error instanceof EngineError &&
        (assert.match(error.message, message), true));
    refused(() => engine.layout({ format: 'Mono8', width: 0, height: 4 }), /0x4|no pixels|0 pixels/);
    refused(() => engine.layout({ format: 'BayerRG', width: 4, height: 4 }), /unknown pixel format 'BayerRG'/);
    refused(() => engine.layout({ format: 'Mono8', width: 4.5, height: 4 }), /^width: expected a whole number/);
    refused(() => engine.layout({ format: 'Mono8', width: 40, height: 4, stride: 39 }), /stride of 39 bytes is shorter/);
    const shape = { format: 'Mono8', width: 8, height: 8 };
    refused(() => engine.convert(new Uint8Array(59), shape), /needs 64 bytes, the buffer has 59: 5 too few/);
    refused(() => engine.samples(new Uint8Array(63), shape), /1 too few/);
    refused(() => engine.convert(new Uint8Array(64), { ...shape, mode: 'best' }), /^mode: expected/);
    refused(() => engine.rwhHeader(new Uint8Array(5)), /11 bytes too short/);
    refused(() => engine.sidecar('width: 5\n'), /no line 'pixel format: ...'/);
    const named = engine.sidecar('pixel format: Mono10\nwidth: 4\nheight: 2\nshift: 6\n');
    assert.deepEqual(named, { format: 'Mono10', width: 4, height: 2, stride: 0, offset: 0, shift: 6, range: 'full' });
    const yuv = engine.sidecar('pixel format: YUV422_8\nwidth: 4\nheight: 2\nrange: limited\n');
    assert.equal(yuv.range, 'limited');
});

test('a file is compared with its layout by bytes', () => {
    const shape = { format: 'Mono8', width: 10, height: 10, offset: 4 };
    assert.deepEqual(engine.fit(shape, 204), { frames: 2, rest: 0, missing: 0, text: '' });
    assert.equal(engine.fit(shape, 251).text, '47 bytes follow the last whole frame');
    assert.match(engine.fit(shape, 25).text, /^the file is 79 bytes too short/);
});

test('guesses are those of the tool', () => {
    const shapes = [['BayerRG8', '320x240'], ['BayerGB12p', '324x242'], ['Mono10', '400x300'], ['RGB8', '240x180'],
        ['YUV422_8_UYVY', '320x240'], ['BayerGR12CSI2', '404x302']];
    // The logarithms of two C libraries may differ in the last digit.
    const rounded = (guesses) => guesses.map(({ bitsPerByte, score, evidence, ...layout }) => ({ ...layout,
        bitsPerByte: bitsPerByte.toFixed(2), score: score.toFixed(2), evidence: evidence.length }));
    for (const [format, size] of shapes) {
        const path = join(folder, 'unknown.bin');
        execFileSync(TOOL, ['synth', '--format', format, '--size', size, join(folder, 'known.raw')]);
        const bytes = readFileSync(join(folder, 'known.raw'));
        writeFileSync(path, bytes);
        const wanted = JSON.parse(execFileSync(TOOL, ['guess', '--json', '--most', '3', path], { encoding: 'utf8' }));
        assert.ok(wanted.length > 0, format);
        assert.deepEqual(rounded(engine.guess(bytes, bytes.length, 3)), rounded(wanted), `${format} ${size}`);
    }
});

test('what the name of a file says', () => {
    const formats = engine.formats();
    const said = (name) => {
        const { format, width, height } = hintOf(name, formats);
        return [format?.name ?? '', width, height];
    };
    assert.deepEqual(said('folder/BayerGB8_2048x1534.raw'), ['BayerGB8', 2048, 1534]);
    assert.deepEqual(said('a_YUV422_8_UYVY_64X48_3.raw'), ['YUV422_8_UYVY', 64, 48]);
    assert.deepEqual(said('a_yuv422_8-64.raw'), ['YUV422_8', 0, 0]);
    assert.deepEqual(said('bayerrg12p.1920x1080'), ['BayerRG12p', 1920, 1080]);
    assert.deepEqual(said('BayerRG12pX_19200000x1080.raw'), ['', 0, 0]);
    assert.deepEqual(said('BayerRG8/a.raw'), ['', 0, 0]);
    assert.deepEqual(said('my10x20y.raw'), ['', 10, 20]);
    assert.deepEqual(said('grey_card_rgb8.raw'), ['RGB8', 0, 0]);
});
