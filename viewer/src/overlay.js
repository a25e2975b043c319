// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What is drawn over the pictures: the pixel that is looked at, and from some enlargement on a grid, then the raw
// samples of each pixel and their sites.

const GRID_FROM = 10;
const VALUES_FROM = 32;
const SITES_FROM = 44;

export const SITE_COLOURS = {
    R: '#e5484d',
    Gr: '#3fa35b',
    Gb: '#12a594',
    G: '#3fa35b',
    B: '#4f7df3',
    Y: '#9aa3ab',
    U: '#5d8fd8',
    V: '#d0719a',
    Grey: '#9aa3ab',
};

/** The same, dark enough for white letters. */
export const TAG_COLOURS = {
    R: '#c9353a',
    Gr: '#2c7d45',
    Gb: '#0b7d70',
    G: '#2c7d45',
    B: '#3f66dd',
    Y: '#68717a',
    U: '#3f6db5',
    V: '#b04c7a',
    Grey: '#68717a',
};

function drawGrid(context, stage, rect, area, corner) {
    const { zoom } = stage;
    context.strokeStyle = 'rgba(128, 128, 128, 0.45)';
    context.lineWidth = 1;
    context.beginPath();
    for (let x = area.x; x <= area.right; ++x) {
        const at = corner.left + x * zoom + 0.5;
        context.moveTo(at, corner.top + area.y * zoom);
        context.lineTo(at, corner.top + area.bottom * zoom);
    }
    for (let y = area.y; y <= area.bottom; ++y) {
        const at = corner.top + y * zoom + 0.5;
        context.moveTo(corner.left + area.x * zoom, at);
        context.lineTo(corner.left + area.right * zoom, at);
    }
    context.stroke();
}

/** Writes each pixel's samples into it. `samplesAt(pane, x, y)` gives [{site, value}] and the colour of the pixel. */
function drawValues(context, stage, pane, area, corner, samplesAt) {
    const { zoom } = stage;
    context.textAlign = 'center';
    context.textBaseline = 'middle';
    for (let y = area.y; y < area.bottom; ++y) {
        for (let x = area.x; x < area.right; ++x) {
            const { samples, colour } = samplesAt(pane, x, y);
            const bright = 0.299 * colour[0] + 0.587 * colour[1] + 0.114 * colour[2] > 140;
            const lines = samples.length;
            const size = Math.min(15 * stage.ratio, zoom / Math.max(3, lines + 1));
            const sites = lines > 1 || zoom >= SITES_FROM;
            context.font = `${size}px ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace`;
            context.fillStyle = bright ? 'rgba(0, 0, 0, 0.88)' : 'rgba(255, 255, 255, 0.92)';
            samples.forEach(({ site, value }, i) => {
                const text = lines > 1 && sites ? `${site}${value}` : String(value);
                const middle = corner.top + (y + 0.5) * zoom + (i - (lines - 1) / 2) * size * 1.1;
                context.fillText(text, corner.left + (x + 0.5) * zoom, middle, zoom - 4);
            });
            if (lines === 1 && sites && samples[0].site !== 'Grey') {
                context.font = `600 ${size * 0.75}px system-ui, sans-serif`;
                context.fillText(samples[0].site, corner.left + (x + 0.5) * zoom, corner.top + (y + 0.2) * zoom);
            }
        }
    }
}

/** The width of the rulers of a pane in screen pixels, [0, 0] where there are none. */
export function rulersOf(stage) {
    const digits = String(Math.max(stage.size.width, stage.size.height)).length;
    return stage.zoom >= VALUES_FROM ? [(6.2 * digits + 8) * stage.ratio, 15 * stage.ratio] : [0, 0];
}

/** Numbers of columns above the picture and of rows left of it; at the edges of the pane where the picture fills it. */
function drawRulers(context, stage, rect, area, corner) {
    const { zoom, ratio } = stage;
    const [across, down] = rulersOf(stage);
    const left = Math.max(rect.x, corner.left - across);
    const top = Math.max(rect.y, corner.top - down);
    const right = Math.min(rect.x + rect.width, corner.left + area.right * zoom);
    const bottom = Math.min(rect.y + rect.height, corner.top + area.bottom * zoom);
    context.fillStyle = '#26292d';
    context.fillRect(left, top, right - left, down);
    context.fillRect(left, top, across, bottom - top);
    context.fillStyle = '#ffffff';
    context.font = `${10 * ratio}px ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace`;
    context.textBaseline = 'middle';
    context.textAlign = 'center';
    const step = Math.ceil(across / zoom); // so that numbers do not collide
    for (let x = Math.ceil(area.x / step) * step; x < area.right; x += step) {
        const at = corner.left + (x + 0.5) * zoom;
        if (at - across / 2 >= left + across) {
            context.fillText(String(x), at, top + down / 2);
        }
    }
    for (let y = area.y; y < area.bottom; ++y) {
        const at = corner.top + (y + 0.5) * zoom;
        if (at - down / 2 >= top + down) {
            context.fillText(String(y), left + across / 2, at);
        }
    }
}

function drawCursor(context, stage, corner, cursor, colour) {
    const { zoom } = stage;
    const x = corner.left + cursor.x * zoom;
    const y = corner.top + cursor.y * zoom;
    const size = Math.max(zoom, 7);
    const shift = (size - zoom) / 2;
    context.lineWidth = 1;
    context.strokeStyle = '#000';
    context.strokeRect(x - shift - 1.5, y - shift - 1.5, size + 3, size + 3);
    context.lineWidth = 2;
    context.strokeStyle = colour;
    context.strokeRect(x - shift - 0.5, y - shift - 0.5, size + 1, size + 1);
}

/** Stripes over the rows that the file does not hold. */
function drawMissing(context, stage, corner, endRow) {
    const left = corner.left;
    const top = corner.top + endRow * stage.zoom;
    const width = stage.size.width * stage.zoom;
    const height = (stage.size.height - endRow) * stage.zoom;
    context.save();
    context.beginPath();
    context.rect(left, top, width, height);
    context.clip();
    context.fillStyle = '#4a2224';
    context.fillRect(left, top, width, height);
    context.strokeStyle = '#8c3a3d';
    context.lineWidth = 2 * stage.ratio;
    context.beginPath();
    for (let x = left - height; x < left + width; x += 14 * stage.ratio) {
        context.moveTo(x, top + height);
        context.lineTo(x + height, top);
    }
    context.stroke();
    context.restore();
}

export function drawOverlay(canvas, stage, { cursor, colour, samplesAt, endRow }) {
    if (canvas.width !== stage.canvas.width || canvas.height !== stage.canvas.height) {
        canvas.width = stage.canvas.width;
        canvas.height = stage.canvas.height;
    }
    const context = canvas.getContext('2d');
    context.clearRect(0, 0, canvas.width, canvas.height);
    const rects = stage.rects();
    stage.panes.forEach((pane, i) => {
        if (!pane.shown) {
            return;
        }
        const rect = rects[i];
        const corner = stage.corner(rect);
        const area = stage.visible(rect);
        context.save();
        context.beginPath();
        context.rect(rect.x, rect.y, rect.width, rect.height);
        context.clip();
        if (endRow < stage.size.height) {
            drawMissing(context, stage, corner, endRow);
        }
        if (stage.zoom >= GRID_FROM) {
            drawGrid(context, stage, rect, area, corner);
        }
        if (stage.zoom >= VALUES_FROM && samplesAt) {
            drawValues(context, stage, i, area, corner, samplesAt);
            drawRulers(context, stage, rect, area, corner);
        }
        if (cursor) {
            drawCursor(context, stage, corner, cursor, colour);
        }
        context.restore();
    });
}
