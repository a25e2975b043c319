// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Draws the counts of samples, and their figures as rows of a table.
import { count } from './layout.js';
import { SITE_COLOURS, TAG_COLOURS } from './overlay.js';

const ROOM_BELOW = 14; // for the ends of the axis

function heights(bins, log) {
    return Float64Array.from(bins, (found) => (log ? Math.log10(1 + found) : found));
}

/** The tallest bar that sets the scale: of linear ones the fourth, so that a peak of clipped samples hides nothing. */
function scaleOf(channels, log) {
    const all = channels.flatMap(({ bins }) => [...heights(bins, log)]).sort((a, b) => b - a);
    return Math.max(1e-9, log ? all[0] : Math.max(all[3] ?? 0, all[0] / 20));
}

function colourOf(name) {
    return getComputedStyle(document.documentElement).getPropertyValue(name).trim();
}

export function drawHistogram(canvas, channels, { scale, black }) {
    const ratio = window.devicePixelRatio || 1;
    const width = Math.max(1, Math.round(canvas.clientWidth * ratio));
    const height = Math.max(1, Math.round(canvas.clientHeight * ratio));
    if (canvas.width !== width || canvas.height !== height) {
        canvas.width = width;
        canvas.height = height;
    }
    const context = canvas.getContext('2d');
    context.clearRect(0, 0, width, height);
    const floor = height - ROOM_BELOW * ratio;
    context.strokeStyle = colourOf('--line');
    context.lineWidth = ratio;
    context.beginPath();
    for (let quarter = 1; quarter < 4; ++quarter) {
        const x = Math.round((width * quarter) / 4) + 0.5;
        context.moveTo(x, 0);
        context.lineTo(x, floor);
    }
    context.moveTo(0, floor + 0.5);
    context.lineTo(width, floor + 0.5);
    context.stroke();
    if (channels.length === 0) {
        return;
    }
    const log = scale === 'log';
    const tallest = scaleOf(channels, log);
    for (const { name, bins } of channels) {
        const tops = heights(bins, log);
        context.beginPath();
        context.moveTo(0, floor);
        tops.forEach((top, i) => {
            const y = floor - Math.min(1, top / tallest) * (floor - 4 * ratio);
            context.lineTo((i * width) / tops.length, y);
            context.lineTo(((i + 1) * width) / tops.length, y);
        });
        context.lineTo(width, floor);
        context.globalAlpha = 0.18;
        context.fillStyle = SITE_COLOURS[name];
        context.fill();
        context.globalAlpha = 1;
        context.strokeStyle = SITE_COLOURS[name];
        context.lineWidth = 1.25 * ratio;
        context.stroke();
    }
    drawAxis(context, { width, height, floor, ratio, black, largest: channels[0].largest });
}

function drawAxis(context, { width, height, floor, ratio, black, largest }) {
    if (black > 0 && black <= largest) {
        const x = Math.round((black * width) / (largest + 1)) + 0.5;
        context.strokeStyle = colourOf('--text');
        context.setLineDash([3 * ratio, 3 * ratio]);
        context.beginPath();
        context.moveTo(x, 0);
        context.lineTo(x, floor);
        context.stroke();
        context.setLineDash([]);
    }
    context.fillStyle = colourOf('--soft');
    context.font = `${10 * ratio}px system-ui, sans-serif`;
    context.textBaseline = 'bottom';
    context.textAlign = 'left';
    context.fillText('0', 3 * ratio, height - ratio);
    context.textAlign = 'center';
    context.fillText(String((largest + 1) / 2), width / 2, height - ratio);
    context.textAlign = 'right';
    context.fillText(String(largest), width - 3 * ratio, height - ratio);
}

/** A row of the table of figures. */
export function statisticsRow({ name, min, mean, max, clipped, over, count: all }) {
    const row = document.createElement('tr');
    const head = document.createElement('th');
    head.scope = 'row';
    const tag = document.createElement('span');
    tag.className = 'site';
    tag.textContent = name;
    tag.style.background = TAG_COLOURS[name];
    head.append(tag);
    row.append(head);
    row.dataset.channel = name;
    const cells = { min, mean: mean.toFixed(1), max, clipped: count(clipped), over: count(over) };
    for (const [key, text] of Object.entries(cells)) {
        const cell = document.createElement('td');
        cell.textContent = String(text);
        cell.dataset.figure = key;
        const share = all > 0 ? (100 * { clipped, over }[key]) / all : 0;
        if (share > 0) {
            cell.title = `${share.toFixed(share < 1 ? 3 : 1)} %`;
        }
        cell.classList.toggle('alarm', (key === 'over' && over > 0) || (key === 'clipped' && share > 1));
        row.append(cell);
    }
    return row;
}
