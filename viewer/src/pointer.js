// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Mouse, touch and pen on the stage: reading, moving, zooming, picking grey; and drops on the whole page.

import { MOST_ZOOM } from './stage.js';

const CLICK_DISTANCE = 4; // page pixels
const LEAST_ZOOM = 1 / 16;
const PIXEL_ZOOM = 48; // each pixel with its samples

export function listenToPointer(viewer) {
    const host = document.getElementById('stage');
    const canvas = document.getElementById('picture');
    const down = new Map(); // pointers that press: {x, y, startX, startY}
    let pinch = 0;

    const farFromStart = ({ x, y, startX, startY }) => Math.hypot(x - startX, y - startY) >= CLICK_DISTANCE;
    const distance = () => {
        const [a, b] = [...down.values()];
        return Math.hypot(a.x - b.x, a.y - b.y);
    };
    canvas.addEventListener('pointerdown', (event) => {
        canvas.setPointerCapture(event.pointerId);
        down.set(event.pointerId, { x: event.clientX, y: event.clientY, startX: event.clientX, startY: event.clientY });
        pinch = down.size === 2 ? distance() : 0;
    });
    canvas.addEventListener('pointermove', (event) => {
        const pointer = down.get(event.pointerId);
        if (!pointer) {
            viewer.look(viewer.stage.pixelAt(event.clientX, event.clientY));
            return;
        }
        const [dx, dy] = [event.clientX - pointer.x, event.clientY - pointer.y];
        pointer.x = event.clientX;
        pointer.y = event.clientY;
        if (viewer.stage.panes.length === 0) {
            return;
        }
        if (down.size === 2 && pinch > 0) {
            const now = distance();
            const zoom = Math.min(MOST_ZOOM, Math.max(LEAST_ZOOM, (viewer.stage.zoom * now) / pinch));
            viewer.zoomTo(zoom, event.clientX, event.clientY);
            pinch = now;
        } else if (pointer.moved || farFromStart(pointer)) {
            pointer.moved = true;
            host.classList.add('moving');
            viewer.set(viewer.stage.moved(dx * viewer.stage.ratio, dy * viewer.stage.ratio));
        }
    });
    const up = (event) => {
        const pointer = down.get(event.pointerId);
        down.delete(event.pointerId);
        host.classList.remove('moving');
        if (pointer && !pointer.moved && event.type === 'pointerup') {
            const pixel = viewer.stage.pixelAt(event.clientX, event.clientY);
            viewer.look(pixel);
            if (viewer.whiteBalance.picking && pixel) {
                viewer.whiteBalance.at(pixel);
            } else if (pixel) {
                viewer.choosePane(pixel.pane);
            }
        }
    };
    canvas.addEventListener('pointerup', up);
    canvas.addEventListener('pointercancel', up);
    canvas.addEventListener('pointerleave', () => {
        if (document.activeElement !== canvas) {
            viewer.look(null);
        }
    });
    canvas.addEventListener('dblclick', (event) => {
        viewer.zoomTo(viewer.stage.zoom < PIXEL_ZOOM ? PIXEL_ZOOM : 1, event.clientX, event.clientY);
    });
    canvas.addEventListener('keydown', (event) => {
        if (event.key === 'Enter' && viewer.whiteBalance.picking && viewer.cursor) {
            viewer.whiteBalance.at(viewer.cursor);
        }
    });
    canvas.addEventListener(
        'wheel',
        (event) => {
            event.preventDefault();
            if (event.deltaY !== 0) {
                viewer.zoomStep(event.deltaY < 0, event.clientX, event.clientY);
            }
        },
        { passive: false },
    );
}

export function listenToTransfers(viewer) {
    const root = document.documentElement;
    let depth = 0;
    const mark = (by) => {
        depth = Math.max(0, depth + by);
        root.classList.toggle('dropping', depth > 0);
    };
    document.addEventListener('dragenter', (event) => {
        event.preventDefault();
        mark(1);
    });
    document.addEventListener('dragleave', () => mark(-1));
    document.addEventListener('dragover', (event) => event.preventDefault());
    document.addEventListener('drop', (event) => {
        event.preventDefault();
        depth = 0;
        mark(0);
        const names = event.dataTransfer.files.length === 0 ? event.dataTransfer.getData('text/plain') : '';
        if (names) {
            viewer.intake.openNames(names);
        } else {
            viewer.intake.openTransfer(event.dataTransfer);
        }
    });
    document.addEventListener('paste', (event) => {
        if (event.target.matches?.('input, textarea')) {
            return;
        }
        event.preventDefault();
        if (event.clipboardData.files.length > 0) {
            viewer.intake.openTransfer(event.clipboardData);
        } else {
            viewer.intake.openNames(event.clipboardData.getData('text/plain'));
        }
    });
}
