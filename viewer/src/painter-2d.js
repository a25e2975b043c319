// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Paints BGRA pictures with a plain canvas, where WebGL 2 is missing. The same calls as GlPainter.

const SWAP_ROWS = 256; // swizzled at a time

export class CanvasPainter {
    constructor(canvas) {
        this.canvas = canvas;
        this.context = canvas.getContext('2d', { alpha: false });
        this.slots = new Map();
    }

    get name() {
        return 'canvas';
    }

    upload(slot, pixels, width, height) {
        let picture = this.slots.get(slot);
        if (!picture || picture.width !== width || picture.height !== height) {
            picture = document.createElement('canvas');
            picture.width = width;
            picture.height = height;
            this.slots.set(slot, picture);
        }
        const context = picture.getContext('2d', { alpha: false });
        for (let y = 0; y < height; y += SWAP_ROWS) {
            const rows = Math.min(SWAP_ROWS, height - y);
            const strip = context.createImageData(width, rows);
            const to = new Uint32Array(strip.data.buffer);
            const from = new Uint32Array(pixels.slice(y * width * 4, (y + rows) * width * 4).buffer);
            for (let i = 0; i < to.length; ++i) {
                const bgra = from[i];
                to[i] = 0xff000000 | ((bgra & 0xff) << 16) | (bgra & 0xff00) | ((bgra >>> 16) & 0xff);
            }
            context.putImageData(strip, 0, y);
        }
    }

    release(slot) {
        this.slots.delete(slot);
    }

    clear([red, green, blue]) {
        this.context.setTransform(1, 0, 0, 1, 0, 0);
        this.context.fillStyle = `rgb(${red}, ${green}, ${blue})`;
        this.context.fillRect(0, 0, this.canvas.width, this.canvas.height);
    }

    draw(slot, rect, left, top, zoom) {
        const picture = this.slots.get(slot);
        if (!picture) {
            return;
        }
        const { context } = this;
        context.save();
        context.beginPath();
        context.rect(rect.x, rect.y, rect.width, rect.height);
        context.clip();
        context.imageSmoothingEnabled = zoom < 1;
        context.imageSmoothingQuality = 'medium';
        context.drawImage(picture, left, top, picture.width * zoom, picture.height * zoom);
        context.restore();
    }

    finish() {
        this.context.getImageData(0, 0, 1, 1);
    }

    read() {
        const { width, height } = this.canvas;
        return { width, height, bytes: new Uint8Array(this.context.getImageData(0, 0, width, height).data.buffer) };
    }
}
