// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Writes what the viewer shows: pictures, sidecars, RWH files, commands.
import { conversionOf, effective, layoutOf } from './conversion.js';
import { copyText, exportName, pythonLines, rwhOf, save, shellCommand, sidecarText } from './exports.js';
import { count } from './layout.js';
import { pngOf } from './png.js';

export class Exporter {
    constructor(viewer) {
        this.viewer = viewer;
    }

    get settings() {
        return effective(this.viewer.settings, this.viewer.format);
    }

    /** Whether there is a whole frame to export. */
    get whole() {
        return Boolean(this.viewer.sizes && this.viewer.source && this.viewer.fit.missing === 0);
    }

    /** Why there is no picture of the frame; '' where there is one. */
    get refusal() {
        const { settings, stage } = this.viewer;
        const chosen = stage.panes.find(({ format, mode }) => format === settings.format && mode === settings.mode);
        return chosen?.error ?? '';
    }

    commands() {
        if (!this.whole || this.refusal !== '') {
            return null;
        }
        const { source, sizes, format } = this.viewer;
        return {
            shell: shellCommand(source, this.settings, format, sizes),
            python: pythonLines(source, this.settings, format, sizes),
        };
    }

    async saveAs(extension, make) {
        if (!this.whole) {
            this.viewer.panels.message('No frame is complete, so nothing can be exported.');
            return;
        }
        const name = exportName(this.viewer.source, this.viewer.settings, extension);
        try {
            const blob = await this.viewer.during(make);
            save(blob, name);
            this.viewer.panels.exported(`${name}, ${count(blob.size, 'byte')}, handed to the browser.`);
        } catch (error) {
            this.viewer.panels.message(`${name}: ${error.message}`);
        }
    }

    png() {
        return this.saveAs('png', async () => {
            const own = { format: this.viewer.settings.format, mode: this.viewer.settings.mode };
            const { engine, bytes, settings, format } = this.viewer;
            const picture = engine.convert(bytes, conversionOf(settings, format, own));
            const grey = format.kind === 'mono' || (format.kind === 'bayer' && own.mode === 'grey');
            return pngOf(picture, grey);
        });
    }

    sidecar() {
        return this.saveAs('txt', async () => {
            const { source, settings, format, sizes } = this.viewer;
            const text = sidecarText(source, settings, format, sizes.frameBytes);
            return new Blob([text], { type: 'text/plain' });
        });
    }

    rwh() {
        return this.saveAs('rwh', async () => {
            const { width, height } = this.viewer.settings;
            const { engine, bytes, settings, format } = this.viewer;
            const words = engine.samples(bytes, layoutOf(settings, format));
            const unpacked = this.viewer.formats.get(this.viewer.format.unpacked);
            const rowBytes = (width * unpacked.bitsPerPixel) / 8;
            const rows = unpacked.depth > 8 ? words.slice() : Uint8Array.from(words);
            if (rows.byteLength !== rowBytes * height) {
                throw new Error('rows of this frame do not end at whole bytes, as RWH files need');
            }
            return rwhOf(unpacked.code, width, height, rowBytes, rows);
        });
    }

    async copy(which) {
        const text = this.commands()?.[which];
        if (text) {
            const done = await copyText(text);
            this.viewer.panels.exported(done ? 'Copied.' : 'The browser does not allow copying; select the text.');
        }
    }
}
