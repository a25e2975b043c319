// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The viewer: a file, settings, and the pictures that follow from both.
//
//     set(changes) --> layout --> bytes --> convert --> upload --> draw        each step only where something
//                     checked    sliced    per pane    textures                before it has changed
//
// Attributes of the root element say what the page does: data-state (empty, reading, guessing, ready, error),
// data-settled (yes: nothing is under way), data-pictures (how many were painted).
import { WhiteBalance } from './balance.js';
import { conversionOf, layoutOf, panesOf } from './conversion.js';
import { Exporter } from './exporter.js';
import { Guesses } from './guesses.js';
import { Intake } from './intake.js';
import { PHASES, count, fitOf, phaseOf, samplesOfPixel, withPhase } from './layout.js';
import { Panels } from './panels.js';
import { Player } from './player.js';
import { START, fromFragment, toFragment } from './settings.js';
import { Stage } from './stage.js';

const LAYOUT = ['format', 'width', 'height', 'stride', 'offset', 'shift', 'range'];
const PICTURE = ['frame', 'mode', 'view', 'balance', 'black', 'exposure', 'tone'];
const VIEW = ['zoom', 'x', 'y'];
const MOST_FRAME_BYTES = 2 ** 29;
const BIG_STEP = 16;

export class Viewer {
    constructor(engine, helper, options) {
        this.engine = engine;
        this.helper = helper;
        this.formats = new Map(engine.formats().map((format) => [format.name, format]));
        this.settings = { ...START };
        this.intake = new Intake(this);
        this.guesses = new Guesses(this);
        this.exporter = new Exporter(this);
        this.player = new Player(this);
        this.whiteBalance = new WhiteBalance(this);
        this.source = null; // the file
        this.sizes = null; // {rowBytes, frameBytes, bytesNeeded} of a layout that makes sense
        this.bytes = null; // of the frame
        this.pictures = []; // one per pane
        this.kept = []; // memory of their pixels
        this.cursor = null;
        this.level = 0; // of what has to be done anew: 3 layout, 2 picture, 1 drawing
        this.updating = false;
        this.pending = 0;
        this.painted = 0;
        this.root = document.documentElement;
        this.stage = new Stage(
            document.getElementById('stage'),
            document.getElementById('picture'),
            this.settings,
            options.painter,
        );
        this.stage.painter.onrestored = () => this.require(2);
        this.panels = new Panels(this);
        this.state('empty');
        this.readAddress();
        this.panels.refresh();
        this.require(1);
    }

    get format() {
        return this.formats.get(this.settings.format) ?? null;
    }

    state(name) {
        this.root.dataset.state = name;
    }

    /** Whether anything is under way, for those who wait. */
    settle() {
        const busy = this.level > 0 || this.updating || this.pending > 0 || this.helper.busy;
        this.root.dataset.settled = busy ? 'no' : 'yes';
    }

    async during(work) {
        ++this.pending;
        this.settle();
        try {
            return await work();
        } finally {
            --this.pending;
            this.settle();
        }
    }

    // ---- settings

    readAddress() {
        const { settings, problems } = fromFragment(location.hash);
        if (settings.format !== undefined && !this.formats.has(settings.format)) {
            problems.push(`The address names an unknown pixel format '${settings.format}'.`);
            delete settings.format;
        }
        this.addressed = settings.format !== undefined && settings.width !== undefined;
        this.set({ ...START, ...settings });
        if (problems.length > 0) {
            this.panels.message(problems.join('\n'));
        }
    }

    /** Changes settings; everything that depends on them follows. */
    set(changes) {
        const changed = Object.keys(changes).filter((key) => changes[key] !== this.settings[key]);
        Object.assign(this.settings, changes);
        if (changed.length === 0) {
            return;
        }
        if (changed.includes('format') && this.format) {
            this.settings.shift = this.format.packing === 'none' && this.format.depth > 8 ? this.settings.shift : 0;
            this.settings.range = this.format.kind === 'yuv' ? this.settings.range : 'full';
        }
        this.writeAddress();
        if (changed.every((key) => VIEW.includes(key))) {
            this.require(1);
            return;
        }
        this.panels.refresh();
        const any = (keys) => changed.some((key) => keys.includes(key));
        this.require(any(LAYOUT) ? 3 : any(PICTURE) ? 2 : 1);
    }

    writeAddress() {
        clearTimeout(this.addressTimer);
        this.addressTimer = setTimeout(() => {
            const fragment = toFragment(this.settings);
            if (location.hash !== fragment) {
                history.replaceState(null, '', fragment || location.pathname + location.search);
            }
        }, 150);
    }

    /** Drops what belongs to the file before. */
    forget() {
        this.guesses.list = [];
        this.cursor = null;
        this.fit = null;
        this.sizes = null;
        this.bytes = null;
        this.clear();
        this.panels.guessState('');
        this.panels.exported('');
    }

    // ---- from settings to the screen

    require(level) {
        if (level > 1 && this.changedAt === undefined) {
            this.changedAt = performance.now();
        }
        this.level = Math.max(this.level, level);
        this.settle();
        if (!this.updating) {
            this.updating = true;
            requestAnimationFrame(() => this.update());
        }
    }

    async update() {
        try {
            while (this.level > 0) {
                const level = this.level;
                this.level = 0;
                await this.step(level);
            }
        } catch (error) {
            this.fail(error.message);
        } finally {
            this.updating = false;
            this.settle();
        }
    }

    async step(level) {
        if (level >= 3) {
            this.checkLayout();
        }
        const times = {};
        if (level >= 2 && this.source && this.sizes) {
            const { source, sizes } = this;
            const { offset, frame } = this.settings;
            const started = performance.now();
            const bytes = await source.read(offset + frame * sizes.frameBytes, sizes.bytesNeeded);
            if (this.level >= 2 || this.source !== source || this.sizes !== sizes) {
                return; // changed meanwhile
            }
            this.bytes = bytes;
            times.read = performance.now() - started;
            this.convert(times);
        }
        const started = performance.now();
        this.draw();
        if (level >= 2) {
            this.stage.painter.finish();
            times.draw = performance.now() - started;
            this.afterPicture(times);
        }
    }

    /** Says what the layout makes of the file; without a sound layout there is no picture. */
    checkLayout() {
        const { settings, source } = this;
        this.sizes = null;
        this.samples = null;
        if (!source || !this.format) {
            return;
        }
        try {
            const sizes = this.engine.layout(layoutOf(settings, this.format));
            if (Math.max(sizes.bytesNeeded, settings.width * settings.height * 4) > MOST_FRAME_BYTES) {
                throw new Error(`a frame of ${count(sizes.bytesNeeded, 'byte')} is more than the page can hold`);
            }
            this.sizes = sizes;
        } catch (error) {
            this.fit = { frames: 0, missing: 0, rest: 0, error: error.message };
            this.fail('');
            return;
        }
        // The last frame may lack the padding of its last row.
        const spare = this.sizes.frameBytes - this.sizes.bytesNeeded;
        this.fit = fitOf(source.bytes + spare, settings.offset, this.sizes.frameBytes);
        this.fit.rest = Math.max(0, this.fit.rest - spare);
        source.frames = Math.max(1, this.fit.frames);
        source.rest = this.fit.rest;
        const header = source.header;
        source.selfDescribing = Boolean(header) && LAYOUT.every((key) => settings[key] === (header[key] ?? START[key]));
        settings.frame = Math.min(settings.frame, source.frames - 1);
        this.panels.showFit();
        this.panels.refresh();
    }

    /** The first row that the file does not hold whole; the height where it holds all. */
    get endRow() {
        const { height, offset } = this.settings;
        if (!this.sizes || this.fit.missing === 0) {
            return height;
        }
        return Math.max(0, Math.floor((this.source.bytes - offset) / (this.sizes.frameBytes / height)));
    }

    /** Shows no picture. */
    clear() {
        this.pictures = [];
        this.stage.panes = [];
        this.samples = null;
        this.counted = '';
        this.changedAt = undefined;
        this.refusal = '';
        this.panels.showFit();
        this.panels.reading.show();
        this.panels.showStatistics([]);
        this.panels.refresh();
        this.draw();
    }

    fail(text) {
        this.clear();
        this.state('error');
        if (text) {
            this.panels.complain(text);
        }
    }

    convert(times) {
        const { settings, format, stage } = this;
        const panes = panesOf(settings, format);
        this.samples = null;
        this.pictures = [];
        stage.size = { width: settings.width, height: settings.height };
        let started = performance.now();
        times.convert = 0;
        times.upload = 0;
        stage.panes = panes.map((pane, i) => {
            try {
                const picture = this.engine.convert(this.bytes, conversionOf(settings, format, pane));
                times.convert += performance.now() - started;
                started = performance.now();
                stage.painter.upload(i, picture.pixels, picture.width, picture.height);
                this.pictures[i] = { ...picture, pixels: this.keep(i, picture.pixels) };
                times.upload += performance.now() - started;
                started = performance.now();
                return { ...pane, shown: true, error: '' };
            } catch (error) {
                return { ...pane, shown: false, error: error.message };
            }
        });
    }

    /** A copy of a pane's pixels, which stay in the engine's memory only until its next call. */
    keep(pane, pixels) {
        const kept = this.kept[pane]?.length === pixels.length ? this.kept[pane] : new Uint8Array(pixels.length);
        this.kept[pane] = kept;
        kept.set(pixels);
        return kept;
    }

    draw() {
        const { stage } = this;
        stage.fit();
        stage.background = this.panels.stageColour();
        stage.draw();
        this.panels.showStage();
    }

    afterPicture(times) {
        if (!this.sizes || !this.source) {
            return;
        }
        const since = this.changedAt ?? performance.now();
        this.changedAt = undefined;
        const done = performance.now();
        performance.clearMeasures('viewer:picture');
        performance.measure('viewer:picture', { start: since, end: done, detail: times });
        this.times = { ...times, picture: done - since };
        this.state(this.stage.panes.some((pane) => pane.shown) ? 'ready' : 'error');
        this.root.dataset.pictures = String(++this.painted);
        this.panels.showPicture();
        const { refusal } = this.exporter;
        if (refusal !== this.refusal) {
            this.refusal = refusal;
            this.panels.refresh(); // what can be exported
        }
        this.askStatistics();
        requestAnimationFrame(() =>
            setTimeout(() => {
                performance.clearMeasures('viewer:painted');
                performance.measure('viewer:painted', { start: since, end: performance.now() });
            }),
        );
    }

    async askStatistics() {
        const { source, settings, format, sizes } = this;
        if (this.fit.missing > 0 || (this.player.on && this.helper.busy)) {
            return;
        }
        const start = settings.offset + settings.frame * sizes.frameBytes;
        const key = JSON.stringify([start, layoutOf(settings, format)]);
        if (this.counted === key && this.countedSource === source) {
            return;
        }
        const result = await this.during(() =>
            this.helper.ask('statistics', {
                file: source.file,
                start,
                length: sizes.bytesNeeded,
                format,
                layout: layoutOf(settings, format),
            }),
        ).catch((error) => this.panels.message(`Counting the samples: ${error.message}`));
        if (result && this.source === source) {
            this.counted = key;
            this.countedSource = source;
            this.panels.showStatistics(result);
        }
    }

    /** Takes the phase or the mode of a pane; more than one is shown only to choose from. */
    choosePane(pane) {
        const { format, mode } = this.stage.panes[pane];
        if (this.settings.view === 'phases') {
            this.set({ format });
        } else if (this.settings.view === 'modes') {
            this.set({ mode });
        }
    }

    // ---- frames

    /** Bytes from row to row, also where rows are tight. */
    get stride() {
        return this.settings.stride || this.sizes?.rowBytes || 0;
    }

    nextRange() {
        if (this.format?.kind === 'yuv') {
            this.set({ range: this.settings.range === 'full' ? 'limited' : 'full' });
        }
    }

    nextPhase() {
        if (this.format?.kind === 'bayer') {
            const next = PHASES[(PHASES.indexOf(phaseOf(this.format)) + 1) % PHASES.length];
            this.set({ format: withPhase(this.settings.format, next) });
        }
    }

    stepFrame(by) {
        const last = (this.source?.frames ?? 1) - 1;
        this.set({ frame: Math.min(Math.max(this.settings.frame + by, 0), last) });
    }

    // ---- view

    /** The whole frame for another size; the same part for the same one. */
    viewFor({ width, height }) {
        const { size } = this.stage;
        const other = width !== undefined && (width !== size.width || height !== size.height);
        return other ? { zoom: 0, x: -1, y: -1 } : {};
    }

    zoomTo(zoom, clientX, clientY) {
        const box = this.stage.canvas.getBoundingClientRect();
        if (clientX === undefined && this.cursor) {
            this.set({ zoom, x: this.cursor.x + 0.5, y: this.cursor.y + 0.5 });
            return;
        }
        const rect = this.stage.rects()[0];
        const x = clientX ?? box.left + (rect.x + rect.width / 2) / this.stage.ratio;
        const y = clientY ?? box.top + (rect.y + rect.height / 2) / this.stage.ratio;
        this.set(this.stage.zoomedAt(zoom, x, y));
    }

    zoomStep(up, clientX, clientY) {
        if (this.stage.panes.length > 0) {
            this.zoomTo(this.stage.nextZoom(up), clientX, clientY);
        }
    }

    /** The pixel that is read: {pane, x, y} or null. */
    look(cursor, spoken = false) {
        this.cursor = cursor;
        this.panels.reading.show(spoken);
        this.panels.showOverlay();
    }

    moveCursor(dx, dy, far) {
        const { width, height } = this.stage.size;
        if (this.stage.panes.length === 0) {
            return;
        }
        const by = far ? BIG_STEP : 1;
        const middle = { pane: 0, x: Math.floor(width / 2) - dx * by, y: Math.floor(height / 2) - dy * by };
        const from = this.cursor ?? middle;
        const to = {
            pane: from.pane,
            x: Math.min(Math.max(from.x + dx * by, 0), width - 1),
            y: Math.min(Math.max(from.y + dy * by, 0), height - 1),
        };
        this.look(to, true);
        const area = this.stage.visible(this.stage.rects()[to.pane]);
        if (to.x < area.x || to.y < area.y || to.x >= area.right || to.y >= area.bottom) {
            this.set({ zoom: this.stage.zoom, x: to.x + 0.5, y: to.y + 0.5 });
        }
    }

    /** All samples of the frame; read when they are needed first. */
    allSamples() {
        if (!this.samples && this.bytes && this.sizes) {
            this.samples = this.engine.samples(this.bytes, layoutOf(this.settings, this.format)).slice();
        }
        return this.samples;
    }

    /** [{site, value}] of a pixel in a pane, and its colour there: [red, green, blue]. */
    pixel({ pane, x, y }) {
        const format = this.formats.get(this.stage.panes[pane]?.format) ?? this.format;
        const all = this.allSamples();
        const samples = samplesOfPixel(format, this.settings.width, x, y).map(({ site, index }) => ({
            site,
            value: all[index],
        }));
        const picture = this.pictures[pane];
        const at = (y * this.settings.width + x) * 4;
        const colour = picture ? [picture.pixels[at + 2], picture.pixels[at + 1], picture.pixels[at]] : [0, 0, 0];
        return { samples, colour };
    }

    help() {
        document.getElementById('help').showModal();
    }

    escape() {
        this.whiteBalance.pick(false);
        this.panels.message('');
    }
}
