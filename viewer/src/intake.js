// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Files on their way to the viewer: opened, dropped, pasted or picked out of a folder, and the layout that each brings.
import { filesOfInput, filesOfTransfer, matchNames, namesIn, withSidecars } from './files.js';
import { count } from './layout.js';
import { Source, foreignKind, isRwhName } from './source.js';

const RWH_HEADER_BYTES = 16;
const MOST_SIDECAR_BYTES = 64 * 1024; // as the tool

async function sidecarText(file) {
    if (file.size > MOST_SIDECAR_BYTES) {
        throw new Error('a sidecar has at most 64 KiB');
    }
    return file.text();
}

export class Intake {
    constructor(viewer) {
        this.viewer = viewer;
        this.entries = []; // {file, path, sidecar}
        this.folder = [];
        this.wanted = []; // names that were pasted
    }

    chooseFiles() {
        document.getElementById('file-input').click();
    }

    chooseFolder() {
        document.getElementById('folder-input').click();
    }

    openInput(input) {
        const files = filesOfInput(input);
        input.value = '';
        return this.open(files, input.id === 'folder-input');
    }

    async openTransfer(transfer) {
        const files = await this.viewer.during(() => filesOfTransfer(transfer));
        await this.open(files, files.some(({ path }) => path.includes('/')));
    }

    /** Opens files; of a folder only those that were pasted by name, if any were. */
    async open(files, isFolder) {
        this.viewer.panels.message('');
        if (isFolder) {
            this.folder = files;
            if (this.wanted.length > 0) {
                this.pickNames();
                return;
            }
        }
        const { frames, texts } = withSidecars(files);
        if (frames.length > 0) {
            this.entries = frames;
            await this.show(frames[0]);
        } else if (texts.length > 0) {
            await this.applySidecar(texts[0].file);
        } else {
            const what = isFolder ? 'There is no file in this folder.' : 'There was no file in what was dropped.';
            this.viewer.panels.message(what);
        }
    }

    /** Names as text: a page cannot open them, but it can pick them out of a folder. */
    openNames(text) {
        this.wanted = namesIn(text);
        if (this.wanted.length === 0) {
            return;
        }
        if (this.folder.length > 0) {
            this.pickNames();
            return;
        }
        this.viewer.panels.message(
            `${count(this.wanted.length, 'name')} pasted. A page cannot open files by their names: choose or drop ` +
                'the folder that holds them, and these files are picked out of it.',
            'info',
        );
    }

    pickNames() {
        const { chosen, missing } = matchNames(this.wanted, this.folder);
        this.wanted = [];
        const { frames } = withSidecars([...chosen, ...this.folder.filter(({ path }) => /\.txt$/i.test(path))]);
        if (frames.length > 0) {
            this.entries = frames;
            this.show(frames[0]);
        }
        if (missing.length > 0 || frames.length === 0) {
            const which = missing.slice(0, 5).join(', ') + (missing.length > 5 ? ', ...' : '');
            this.viewer.panels.message(`${count(missing.length, 'name')} not found in the folder: ${which}`, 'info');
        }
    }

    stepFile(by) {
        const index = this.entries.indexOf(this.viewer.source?.entry);
        const next = this.entries[(index + by + this.entries.length) % this.entries.length];
        if (next && next !== this.viewer.source?.entry) {
            this.show(next);
        }
    }

    /** Shows a file: in the layout that is known of it, else in the likeliest. */
    async show(entry) {
        const { viewer } = this;
        await viewer.during(async () => {
            viewer.panels.message('');
            viewer.player.play(false);
            viewer.helper.drop('');
            viewer.state('reading');
            const before = viewer.sizes ? viewer.source : null;
            viewer.source = new Source(entry);
            viewer.forget();
            viewer.changedAt = performance.now();
            viewer.panels.showFile();
            viewer.panels.showGuesses();
            if (viewer.source.bytes === 0) {
                viewer.fit = { frames: 0, missing: 0, rest: 0, error: `${viewer.source.name} is empty: 0 bytes` };
                viewer.sizes = null;
                viewer.fail(`${viewer.source.name} is empty: it has 0 bytes.`);
                return;
            }
            try {
                await this.takeLayout(await this.knownLayout(entry, before));
            } catch (error) {
                viewer.fail(`${entry.file.name}: ${error.message}`);
            }
        });
    }

    async takeLayout(layout) {
        const { viewer } = this;
        if (!layout) {
            await viewer.guesses.rank(true);
            return;
        }
        const start = viewer.addressed ? {} : { frame: 0, ...viewer.viewFor(layout) };
        viewer.addressed = false;
        viewer.set({ ...layout, ...start });
        viewer.require(3);
    }

    /** The layout from the file itself, its sidecar, the address, or a file of the same length before; else null. */
    async knownLayout(entry, before) {
        const { viewer } = this;
        const { source } = viewer;
        const tight = { stride: 0, offset: 0, shift: 0, range: 'full' };
        const head = await source.read(0, RWH_HEADER_BYTES);
        if (isRwhName(source.name)) {
            try {
                const header = viewer.engine.rwhHeader(head.subarray(0, Math.min(head.length, source.bytes)));
                source.header = header;
                this.checkRwhLength(header);
                viewer.panels.guessState('The layout is that of the RWH header.');
                return { ...tight, ...header };
            } catch (error) {
                viewer.panels.complain(`${source.name}: ${error.message}. It is read as a bare file instead.`);
            }
        }
        if (entry.sidecar) {
            try {
                const layout = viewer.engine.sidecar(await sidecarText(entry.sidecar));
                viewer.panels.guessState(`The layout is that of ${entry.sidecar.name}.`);
                return { ...tight, ...layout };
            } catch (error) {
                viewer.panels.complain(`${entry.sidecar.name}: ${error.message}. The layout is guessed instead.`);
            }
        }
        const foreign = foreignKind(head);
        if (foreign) {
            viewer.panels.complain(`${source.name} seems to be ${foreign}, not a raw frame.`);
        }
        if (viewer.addressed) {
            viewer.panels.guessState('The layout is that of the address.');
            return { format: viewer.settings.format };
        }
        const alike = before && before.bytes === source.bytes && !before.header && !source.header;
        if (alike) {
            viewer.panels.guessState('The layout is that of the file before, which is as long.');
        }
        return alike ? { format: viewer.settings.format } : null;
    }

    checkRwhLength(header) {
        const { source, engine, panels } = this.viewer;
        const { frameBytes } = engine.layout(header);
        const difference = source.bytes - RWH_HEADER_BYTES - frameBytes;
        if (difference !== 0) {
            panels.complain(
                `${source.name}: the header promises a frame of ${count(frameBytes, 'byte')}; the file is ` +
                    `${count(Math.abs(difference), 'byte')} too ${difference < 0 ? 'short' : 'long'}.`,
            );
        }
    }

    async applySidecar(file) {
        try {
            const layout = this.viewer.engine.sidecar(await sidecarText(file));
            this.viewer.set({ stride: 0, offset: 0, shift: 0, range: 'full', ...layout });
            this.viewer.addressed = !this.viewer.source;
            const what = `${layout.format} ${layout.width}x${layout.height}`;
            this.viewer.panels.message(
                this.viewer.source ? '' : `${file.name} names ${what}. Drop the frame that it belongs to.`,
                'info',
            );
        } catch (error) {
            this.viewer.panels.message(`${file.name}: ${error.message}.`);
        }
    }
}
