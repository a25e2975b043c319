// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Paints BGRA pictures with WebGL 2. Bytes are uploaded as they are; the shader exchanges red and blue. Enlarged
// pictures show every pixel as a square of one colour; reduced ones take the mean of the pixels below a screen pixel.
//
// A picture larger than a texture is cut into tiles.

const VERTEX = `#version 300 es
uniform vec4 place;   // of the picture on the screen: left, top, right, bottom, -1 to 1
void main() {
    vec2 corner = vec2(gl_VertexID & 1, gl_VertexID >> 1);
    gl_Position = vec4(mix(place.xy, place.zw, corner), 0.0, 1.0);
}`;

const FRAGMENT = `#version 300 es
precision highp float;
precision highp int;
uniform sampler2D picture;
uniform vec3 origin;  // of the picture in window coordinates (y upwards), and screen pixels per pixel
uniform ivec2 size;
uniform int taps;     // per side, below a screen pixel; each is the mean of 2 x 2 pixels. 0: no reduction
out vec4 colour;
void main() {
    vec2 screen = vec2(gl_FragCoord.x - origin.x, origin.y - gl_FragCoord.y);
    if (taps == 0) {
        ivec2 at = clamp(ivec2(floor(screen / origin.z)), ivec2(0), size - 1);
        colour = vec4(texelFetch(picture, at, 0).bgr, 1.0);
        return;
    }
    vec2 whole = 1.0 / (origin.z * vec2(size));
    vec2 first = (screen - 0.5) * whole;
    vec2 width = whole / float(taps);
    vec3 sum = vec3(0.0);
    for (int y = 0; y < taps; ++y) {
        for (int x = 0; x < taps; ++x) {
            sum += texture(picture, first + (vec2(x, y) + 0.5) * width).bgr;
        }
    }
    colour = vec4(sum / float(taps * taps), 1.0);
}`;

const MOST_TAPS = 4;

function compile(gl, kind, text) {
    const shader = gl.createShader(kind);
    gl.shaderSource(shader, text);
    gl.compileShader(shader);
    return shader;
}

export class GlPainter {
    constructor(canvas) {
        const gl = canvas.getContext('webgl2', {
            alpha: false,
            antialias: false,
            depth: false,
            powerPreference: 'high-performance',
        });
        if (!gl) {
            throw new Error('no WebGL 2');
        }
        this.gl = gl;
        this.canvas = canvas;
        this.slots = new Map();
        this.prepare();
        canvas.addEventListener('webglcontextlost', (event) => event.preventDefault());
        canvas.addEventListener('webglcontextrestored', () => {
            this.slots.clear();
            this.prepare();
            this.onrestored?.();
        });
    }

    get name() {
        return 'WebGL';
    }

    prepare() {
        const { gl } = this;
        const program = gl.createProgram();
        gl.attachShader(program, compile(gl, gl.VERTEX_SHADER, VERTEX));
        gl.attachShader(program, compile(gl, gl.FRAGMENT_SHADER, FRAGMENT));
        gl.linkProgram(program);
        if (!gl.getProgramParameter(program, gl.LINK_STATUS)) {
            throw new Error(`shaders: ${gl.getProgramInfoLog(program)}`);
        }
        gl.useProgram(program);
        this.at = {};
        for (const name of ['place', 'origin', 'size', 'taps']) {
            this.at[name] = gl.getUniformLocation(program, name);
        }
        gl.pixelStorei(gl.UNPACK_ALIGNMENT, 4);
        this.mostSide = Math.min(gl.getParameter(gl.MAX_TEXTURE_SIZE), 8192);
    }

    /** Takes the bytes of a picture; they may change afterwards. */
    upload(slot, pixels, width, height) {
        const { gl } = this;
        let entry = this.slots.get(slot);
        if (!entry || entry.width !== width || entry.height !== height) {
            this.release(slot);
            entry = { width, height, tiles: this.makeTiles(width, height) };
            this.slots.set(slot, entry);
        }
        gl.pixelStorei(gl.UNPACK_ROW_LENGTH, width);
        for (const tile of entry.tiles) {
            gl.bindTexture(gl.TEXTURE_2D, tile.texture);
            gl.pixelStorei(gl.UNPACK_SKIP_PIXELS, tile.x);
            gl.pixelStorei(gl.UNPACK_SKIP_ROWS, tile.y);
            gl.texSubImage2D(gl.TEXTURE_2D, 0, 0, 0, tile.width, tile.height, gl.RGBA, gl.UNSIGNED_BYTE, pixels);
        }
    }

    makeTiles(width, height) {
        const { gl, mostSide } = this;
        const tiles = [];
        for (let y = 0; y < height; y += mostSide) {
            for (let x = 0; x < width; x += mostSide) {
                const tile = { x, y, width: Math.min(mostSide, width - x), height: Math.min(mostSide, height - y) };
                tile.texture = gl.createTexture();
                gl.bindTexture(gl.TEXTURE_2D, tile.texture);
                gl.texStorage2D(gl.TEXTURE_2D, 1, gl.RGBA8, tile.width, tile.height);
                gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_MIN_FILTER, gl.LINEAR);
                gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_MAG_FILTER, gl.LINEAR);
                gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_WRAP_S, gl.CLAMP_TO_EDGE);
                gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_WRAP_T, gl.CLAMP_TO_EDGE);
                tiles.push(tile);
            }
        }
        if (gl.getError() === gl.OUT_OF_MEMORY) {
            throw new Error('the graphics memory is full');
        }
        return tiles;
    }

    release(slot) {
        for (const tile of this.slots.get(slot)?.tiles ?? []) {
            this.gl.deleteTexture(tile.texture);
        }
        this.slots.delete(slot);
    }

    clear([red, green, blue]) {
        const { gl } = this;
        gl.disable(gl.SCISSOR_TEST);
        gl.viewport(0, 0, this.canvas.width, this.canvas.height);
        gl.clearColor(red / 255, green / 255, blue / 255, 1);
        gl.clear(gl.COLOR_BUFFER_BIT);
    }

    /** Paints into a rectangle of the canvas; the picture's corner is at (left, top) of the canvas. */
    draw(slot, rect, left, top, zoom) {
        const { gl, at, canvas } = this;
        gl.enable(gl.SCISSOR_TEST);
        gl.scissor(rect.x, canvas.height - rect.y - rect.height, rect.width, rect.height);
        for (const tile of this.slots.get(slot)?.tiles ?? []) {
            const x = left + tile.x * zoom;
            const y = top + tile.y * zoom;
            const clip = (value, whole) => (2 * value) / whole - 1;
            gl.uniform4f(
                at.place,
                clip(x, canvas.width),
                -clip(y, canvas.height),
                clip(x + tile.width * zoom, canvas.width),
                -clip(y + tile.height * zoom, canvas.height),
            );
            gl.uniform3f(at.origin, x, canvas.height - y, zoom);
            gl.uniform2i(at.size, tile.width, tile.height);
            gl.uniform1i(at.taps, zoom >= 1 ? 0 : Math.min(MOST_TAPS, Math.ceil(0.4 / zoom)));
            gl.bindTexture(gl.TEXTURE_2D, tile.texture);
            gl.drawArrays(gl.TRIANGLE_STRIP, 0, 4);
        }
    }

    /** Waits until everything is painted. */
    finish() {
        const { gl } = this;
        gl.readPixels(0, 0, 1, 1, gl.RGBA, gl.UNSIGNED_BYTE, new Uint8Array(4));
    }

    /** The canvas as RGBA bytes, the top row first; only in the task that painted it. */
    read() {
        const { gl, canvas } = this;
        const { width, height } = canvas;
        const upwards = new Uint8Array(width * height * 4);
        gl.readPixels(0, 0, width, height, gl.RGBA, gl.UNSIGNED_BYTE, upwards);
        const bytes = new Uint8Array(upwards.length);
        for (let y = 0; y < height; ++y) {
            bytes.set(upwards.subarray((height - 1 - y) * width * 4, (height - y) * width * 4), y * width * 4);
        }
        return { width, height, bytes };
    }
}
