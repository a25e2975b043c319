// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What is read at a pixel: its samples, its colour in the picture, its bytes in the file.
import { $, element } from './elements.js';
import { bytesOfPixel, count } from './layout.js';
import { TAG_COLOURS } from './overlay.js';

const MOST_BYTES = 64;
const LETTER = 7.2; // width of a letter in the line of bytes

export class Reading {
    constructor(viewer) {
        this.viewer = viewer;
    }

    show(spoken = false) {
        const { viewer } = this;
        const { cursor } = viewer;
        const shown = cursor && viewer.pictures[cursor.pane] && viewer.sizes;
        if (!shown || cursor.x >= viewer.settings.width || cursor.y >= viewer.settings.height) {
            ['pixel-at', 'pixel-samples', 'pixel-colour', 'pixel-byte'].forEach((id) => ($(id).textContent = '\u2013'));
            $('hex').textContent = '\u00a0';
            return;
        }
        const { samples, colour } = viewer.pixel(cursor);
        $('pixel-at').textContent = `${cursor.x}, ${cursor.y}`;
        $('pixel-samples').replaceChildren(
            ...samples.flatMap(({ site, value }) => {
                const tag = element('span', { className: 'site', textContent: site });
                tag.style.background = TAG_COLOURS[site];
                return [tag, `${value} `];
            }),
        );
        const chip = element('span', { className: 'chip' });
        chip.style.background = `rgb(${colour.join(',')})`;
        $('pixel-colour').replaceChildren(chip, `R ${colour[0]}  G ${colour[1]}  B ${colour[2]}`);
        this.showBytes(cursor);
        if (spoken) {
            const values = samples.map(({ site, value }) => `${site} ${value}`).join(', ');
            const [red, green, blue] = colour;
            const said = `${values}; red ${red}, green ${green}, blue ${blue}`;
            $('reading').textContent = `${cursor.x}, ${cursor.y}: ${said}`;
        }
    }

    /** The bytes around the pixel, its own marked, and where they are in the file. */
    showBytes({ x, y }) {
        const { viewer } = this;
        const { settings, bytes, format, sizes, source } = viewer;
        const own = bytesOfPixel(format, settings, x, y);
        const base = settings.offset + settings.frame * sizes.frameBytes;
        const address = (at) => `0x${(base + at).toString(16)}`;
        $('pixel-byte').textContent = `${address(own[0])} (${count(base + own[0])})`;
        const room = this.roomForBytes();
        const before = Math.floor((own[0] - room / 2) / 8) * 8 + 8;
        const first = Math.max(0, Math.min(before, Math.ceil((bytes.length - room) / 8) * 8));
        const end = Math.min(first + room, bytes.length, Math.max(0, source.bytes - base));
        const parts = [`${(base + first).toString(16).padStart(9, '0')}  `];
        for (let at = first; at < end; ++at) {
            const text = bytes[at].toString(16).padStart(2, '0');
            const gap = (at - first) % 8 === 7 ? '  ' : ' ';
            parts.push(own.includes(at) ? element('b', { textContent: text }) : text, gap);
        }
        const letterOf = (byte) => (byte > 32 && byte < 127 ? String.fromCharCode(byte) : '.');
        const letters = [...bytes.subarray(first, end)].map(letterOf);
        parts.push(` ${letters.join('')}`);
        $('hex').replaceChildren(...parts);
    }

    /** How many bytes have room in the line: the address, then three letters and one more for each. */
    roomForBytes() {
        const letters = Math.floor($('hex').parentElement.clientWidth / LETTER) - 16;
        return Math.min(MOST_BYTES, Math.max(8, Math.floor(letters / 4.15 / 8) * 8));
    }
}
