// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The stage: up to four pictures of the same frame beside each other, moved and enlarged together.
//
//     pane 0 | pane 1       each pane shows the same part of its picture
//     -------+-------
//     pane 2 | pane 3
//
// Lengths are in pixels of the screen, not of the page, so that one pixel of the frame can be one of the screen.
import { CanvasPainter } from './painter-2d.js';
import { GlPainter } from './painter-gl.js';

const GAP = 2;
export const MOST_ZOOM = 256;
const REDUCED = [1 / 16, 1 / 12, 1 / 8, 1 / 6, 1 / 4, 1 / 3, 1 / 2, 2 / 3];
const STEPS = [...REDUCED, 1, 2, 3, 4, 6, 8, 12, 16, 24, 32, 48, 64, 96, 128, 192, MOST_ZOOM];

function makePainter(canvas, wanted) {
    if (wanted !== 'canvas') {
        try {
            return new GlPainter(canvas);
        } catch (error) {
            console.info(`painting without WebGL: ${error.message}`);
        }
    }
    return new CanvasPainter(canvas);
}

export class Stage {
    /** `settings` holds zoom, x and y; `painter` 'canvas' does without WebGL. */
    constructor(host, canvas, settings, painter) {
        this.host = host;
        this.canvas = canvas;
        this.settings = settings;
        this.painter = makePainter(canvas, painter);
        this.panes = []; // {label, error, shown}
        this.size = { width: 0, height: 0 };
        this.background = [0, 0, 0];
    }

    /** Device pixels per page pixel. */
    get ratio() {
        return window.devicePixelRatio || 1;
    }

    /** Fits the canvas to its place; whether it changed. */
    fit() {
        const box = this.host.getBoundingClientRect();
        const width = Math.max(1, Math.round(box.width * this.ratio));
        const height = Math.max(1, Math.round(box.height * this.ratio));
        if (this.canvas.width === width && this.canvas.height === height) {
            return false;
        }
        this.canvas.width = width;
        this.canvas.height = height;
        return true;
    }

    /** The rectangles of the panes. */
    rects() {
        const { width, height } = this.canvas;
        const panes = Math.max(1, this.panes.length);
        const across = panes === 1 || (panes === 2 && width < height) ? 1 : 2;
        const down = Math.ceil(panes / across);
        const paneWidth = Math.floor((width - GAP * (across - 1)) / across);
        const paneHeight = Math.floor((height - GAP * (down - 1)) / down);
        return Array.from({ length: panes }, (_, i) => ({
            x: (i % across) * (paneWidth + GAP),
            y: Math.floor(i / across) * (paneHeight + GAP),
            width: paneWidth,
            height: paneHeight,
        }));
    }

    /** Screen pixels per pixel; with `zoom` 0 as many as show the whole frame. */
    get zoom() {
        if (this.settings.zoom > 0) {
            return this.settings.zoom;
        }
        const rect = this.rects()[0];
        const zoom = Math.min(rect.width / Math.max(1, this.size.width), rect.height / Math.max(1, this.size.height));
        return zoom >= 1 ? Math.min(32, Math.floor(zoom)) : zoom;
    }

    /** The pixel in the middle of a pane. */
    get centre() {
        const { x, y } = this.settings;
        return { x: x < 0 ? this.size.width / 2 : x, y: y < 0 ? this.size.height / 2 : y };
    }

    /** Where the corner of a pane's picture is on the canvas. */
    corner(rect) {
        const { zoom, centre } = this;
        const along = (start, length, middle, size) => {
            const whole = size * zoom;
            const place = whole <= length ? (length - whole) / 2 : length / 2 - middle * zoom;
            // At most half of the pane stays empty beside a picture that is larger than the pane.
            const least = Math.min(length - whole, length / 2 - whole);
            return Math.round(start + Math.min(Math.max(place, least), length / 2));
        };
        return {
            left: along(rect.x, rect.width, centre.x, this.size.width),
            top: along(rect.y, rect.height, centre.y, this.size.height),
        };
    }

    /** The pixel below a point of the window; null outside of the pictures. */
    pixelAt(clientX, clientY) {
        const box = this.canvas.getBoundingClientRect();
        const x = (clientX - box.left) * this.ratio;
        const y = (clientY - box.top) * this.ratio;
        const rects = this.rects();
        for (let pane = 0; pane < this.panes.length; ++pane) {
            const rect = rects[pane];
            if (x < rect.x || y < rect.y || x >= rect.x + rect.width || y >= rect.y + rect.height) {
                continue;
            }
            const { left, top } = this.corner(rect);
            const pixel = { pane, x: Math.floor((x - left) / this.zoom), y: Math.floor((y - top) / this.zoom) };
            const inside = pixel.x >= 0 && pixel.y >= 0 && pixel.x < this.size.width && pixel.y < this.size.height;
            return inside ? pixel : null;
        }
        return null;
    }

    /** The pixels that a pane shows, whole or in part. */
    visible(rect) {
        const { left, top } = this.corner(rect);
        const { zoom, size } = this;
        const clamp = (value, most) => Math.min(Math.max(value, 0), most);
        return {
            x: clamp(Math.floor((rect.x - left) / zoom), size.width),
            y: clamp(Math.floor((rect.y - top) / zoom), size.height),
            right: clamp(Math.ceil((rect.x + rect.width - left) / zoom), size.width),
            bottom: clamp(Math.ceil((rect.y + rect.height - top) / zoom), size.height),
        };
    }

    draw() {
        this.painter.clear(this.background);
        const rects = this.rects();
        this.panes.forEach((pane, i) => {
            if (pane.shown) {
                const { left, top } = this.corner(rects[i]);
                this.painter.draw(i, rects[i], left, top, this.zoom);
            }
        });
    }

    /** The next step of zoom, up or down. */
    nextZoom(up) {
        const now = this.zoom;
        const steps = up ? STEPS.filter((step) => step > now * 1.0001) : STEPS.filter((step) => step < now * 0.9999);
        return up ? (steps[0] ?? MOST_ZOOM) : (steps.at(-1) ?? STEPS[0]);
    }

    /** The settings that zoom to `zoom` and keep the pixel below a point of the window where it is. */
    zoomedAt(zoom, clientX, clientY) {
        const box = this.canvas.getBoundingClientRect();
        const x = (clientX - box.left) * this.ratio;
        const y = (clientY - box.top) * this.ratio;
        const rect = this.rects().find((r) => x >= r.x && y >= r.y && x < r.x + r.width && y < r.y + r.height);
        if (!rect) {
            return { zoom, ...this.centre };
        }
        const { left, top } = this.corner(rect);
        const keep = { x: (x - left) / this.zoom, y: (y - top) / this.zoom };
        return this.clamped({
            zoom,
            x: keep.x - (x - rect.x - rect.width / 2) / zoom,
            y: keep.y - (y - rect.y - rect.height / 2) / zoom,
        });
    }

    /** The settings after a move by pixels of the screen. */
    moved(dx, dy) {
        const { zoom, centre } = this;
        return this.clamped({ zoom, x: centre.x - dx / zoom, y: centre.y - dy / zoom });
    }

    clamped({ zoom, x, y }) {
        return {
            zoom,
            x: Math.min(Math.max(x, 0), this.size.width),
            y: Math.min(Math.max(y, 0), this.size.height),
        };
    }
}
