// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The page's panels: what they show follows from the viewer; what is entered there goes to its set().
import { effective } from './conversion.js';
import { $, element } from './elements.js';
import { drawHistogram, statisticsRow } from './histogram.js';
import { count } from './layout.js';
import { SITE_COLOURS, drawOverlay, rulersOf } from './overlay.js';
import { Reading } from './reading.js';
import { parseTone } from './settings.js';

const NUMBERS = ['width', 'height', 'stride', 'offset', 'shift'];
const KINDS = { mono: 'Grey', bayer: 'Bayer', colour: 'Colour', yuv: 'YUV' };

export class Panels {
    constructor(viewer) {
        this.viewer = viewer;
        this.statistics = [];
        this.reading = new Reading(viewer);
        this.fillFormats();
        this.listenLayout();
        this.listenLevels();
        this.listenButtons();
        this.system = matchMedia('(prefers-color-scheme: light)');
        this.system.addEventListener('change', () => this.showTheme());
        this.showTheme();
        new ResizeObserver(() => this.showHistogram()).observe($('histogram'));
    }

    fillFormats() {
        const select = $('format');
        select.append(element('option', { value: '', textContent: 'choose or guess' }));
        for (const [kind, label] of Object.entries(KINDS)) {
            const group = element('optgroup', { label });
            for (const format of this.viewer.formats.values()) {
                if (format.kind === kind) {
                    group.append(element('option', { value: format.name, textContent: format.name }));
                }
            }
            select.append(group);
        }
        for (const swatch of document.querySelectorAll('.swatch[data-site]')) {
            swatch.style.background = SITE_COLOURS[swatch.dataset.site];
        }
    }

    // ---- what is entered

    listenLayout() {
        const { viewer } = this;
        $('format').addEventListener('change', (event) => viewer.set({ format: event.target.value }));
        $('range').addEventListener('change', (event) => viewer.set({ range: event.target.value }));
        for (const name of NUMBERS) {
            $(name).addEventListener('input', (event) => {
                const value = event.target.value.trim() === '' ? 0 : Number(event.target.value);
                const { min, validity } = event.target;
                const good = Number.isSafeInteger(value) && value >= Number(min) && validity.valid;
                event.target.setAttribute('aria-invalid', String(!good));
                if (good) {
                    viewer.set({ [name]: value });
                } else {
                    this.say('fit', `${name}: expected a whole number from ${event.target.min} on`, 'bad');
                }
            });
        }
    }

    listenLevels() {
        const { viewer } = this;
        const gains = ['gain-r', 'gain-g', 'gain-b'].map($);
        for (const input of gains) {
            this.listenNumber(input, 'White balance: expected gains from 0 to 16', () => {
                if (gains.every((gain) => gain.validity.valid)) {
                    const values = gains.map((gain) => (gain.value === '' ? 1 : Number(gain.value)));
                    viewer.set({ balance: gains.every((gain) => gain.value === '') ? null : values });
                }
            });
        }
        this.listenNumber($('black'), 'Black level: expected a whole number from 0 to 65534', (text) =>
            viewer.set({ black: Number(text) }),
        );
        this.listenNumber($('exposure'), 'Exposure: expected a factor from 0 to 16', (text) =>
            viewer.set({ exposure: text === '' ? 1 : Number(text) }),
        );
        $('tone').addEventListener('change', (event) => viewer.set({ tone: parseTone(event.target.value) }));
    }

    /** Takes what is typed into a number's field, or says below the levels what is wrong with it. */
    listenNumber(input, problem, take) {
        input.addEventListener('input', () => {
            const { valid } = input.validity;
            input.setAttribute('aria-invalid', String(!valid));
            input.problem = valid ? '' : `${problem}.`;
            if (valid) {
                take(input.value);
            }
            this.showLevelsNote();
        });
    }

    listenButtons() {
        const { viewer } = this;
        const on = (id, action) => $(id).addEventListener('click', action);
        on('open', () => viewer.intake.chooseFiles());
        on('open-folder', () => viewer.intake.chooseFolder());
        on('empty-open', () => viewer.intake.chooseFiles());
        on('empty-folder', () => viewer.intake.chooseFolder());
        on('theme', () => viewer.set({ theme: { auto: 'light', light: 'dark', dark: 'auto' }[viewer.settings.theme] }));
        on('help-open', () => viewer.help());
        on('help-close', () => $('help').close());
        on('message-close', () => this.message(''));
        on('message-folder', () => viewer.intake.chooseFolder());
        on('guess', () => viewer.guesses.rank());
        on('previous', () => viewer.stepFrame(-1));
        on('next', () => viewer.stepFrame(1));
        on('play', () => viewer.player.play(!viewer.player.on));
        on('zoom-in', () => viewer.zoomStep(true));
        on('zoom-out', () => viewer.zoomStep(false));
        on('zoom-fit', () => viewer.set({ zoom: 0, x: -1, y: -1 }));
        on('zoom-one', () => viewer.zoomTo(1));
        on('zoom-pixels', () => viewer.zoomTo(48));
        on('balance-auto', () => viewer.whiteBalance.auto());
        on('balance-pick', () => viewer.whiteBalance.pick(!viewer.whiteBalance.picking));
        on('levels-natural', () => viewer.whiteBalance.natural());
        on('levels-reset', () => viewer.set({ balance: null, black: 0, exposure: 1, tone: 'none' }));
        on('save-png', () => viewer.exporter.png());
        on('save-text', () => viewer.exporter.sidecar());
        on('save-rwh', () => viewer.exporter.rwh());
        on('copy-shell', () => viewer.exporter.copy('shell'));
        on('copy-python', () => viewer.exporter.copy('python'));
        $('frame').addEventListener('input', (event) => viewer.set({ frame: Number(event.target.value) }));
        $('fps').addEventListener('input', (event) => {
            const good = event.target.value !== '' && event.target.validity.valid;
            event.target.setAttribute('aria-invalid', String(!good));
            if (good) {
                viewer.set({ fps: Number(event.target.value) });
            }
        });
        $('file').addEventListener('change', (event) => {
            viewer.intake.show(viewer.intake.entries[event.target.selectedIndex]);
        });
        for (const name of ['view', 'mode', 'scale']) {
            for (const button of document.querySelectorAll(`[data-${name}]`)) {
                button.addEventListener('click', () => viewer.set({ [name]: button.dataset[name] }));
            }
        }
        for (const input of [$('file-input'), $('folder-input')]) {
            input.addEventListener('change', () => viewer.intake.openInput(input));
        }
    }

    // ---- what is shown

    /** Everything that follows from the settings alone. */
    refresh() {
        const { settings, source, format } = this.viewer;
        const put = (input, value) => {
            if (document.activeElement !== input || input.getAttribute('aria-invalid') !== 'true') {
                const typed = document.activeElement === input && Number(input.value) === Number(value);
                if (input.value !== value && !typed) {
                    input.value = value;
                    input.removeAttribute('aria-invalid');
                }
            }
        };
        put($('format'), settings.format);
        put($('range'), settings.range);
        for (const name of NUMBERS) {
            put($(name), settings[name] > 0 ? String(settings[name]) : '');
        }
        settings.balance?.forEach((gain, i) => put($(['gain-r', 'gain-g', 'gain-b'][i]), String(gain)));
        if (!settings.balance) {
            ['gain-r', 'gain-g', 'gain-b'].forEach((id) => put($(id), ''));
        }
        put($('black'), settings.black > 0 ? String(settings.black) : '');
        put($('exposure'), settings.exposure === 1 ? '' : String(settings.exposure));
        this.showTone(settings.tone);
        put($('fps'), String(settings.fps));
        for (const name of ['view', 'mode', 'scale']) {
            for (const button of document.querySelectorAll(`[data-${name}]`)) {
                button.setAttribute('aria-pressed', String(button.dataset[name] === settings[name]));
            }
        }
        this.enable(settings, source, format);
        this.showTheme();
        this.showFrames();
        this.showLevelsNote();
        this.showCommands();
        this.showGuessInUse();
        this.showHistogram();
    }

    showTone(tone) {
        const select = $('tone');
        if (![...select.options].some((option) => option.value === tone)) {
            select.append(element('option', { value: tone, textContent: `gamma ${tone}` }));
        }
        select.value = tone;
    }

    enable(settings, source, format) {
        const { viewer } = this;
        const bayer = format?.kind === 'bayer';
        const words = Boolean(format) && format.packing === 'none' && format.depth > 8;
        document.querySelectorAll('[data-mode], [data-view]').forEach((button) => {
            button.disabled = Boolean(format) && !bayer && button.dataset.view !== 'single';
        });
        $('shift').disabled = Boolean(format) && !words;
        $('range').disabled = Boolean(format) && format.kind !== 'yuv';
        const yuv = format?.kind === 'yuv';
        ['black', 'exposure', 'tone', 'levels-natural', 'levels-reset'].forEach((id) => ($(id).disabled = yuv));
        ['gain-r', 'gain-g', 'gain-b', 'balance-auto', 'balance-pick'].forEach(
            (id) => ($(id).disabled = Boolean(format) && !viewer.whiteBalance.possible),
        );
        $('balance-pick').setAttribute('aria-pressed', String(viewer.whiteBalance.picking));
        $('stage').classList.toggle('picking', viewer.whiteBalance.picking);
        $('guess').disabled = !source;
        const { whole, refusal } = viewer.exporter;
        ['save-text', 'save-rwh'].forEach((id) => ($(id).disabled = !whole));
        ['save-png', 'copy-shell', 'copy-python'].forEach((id) => ($(id).disabled = !whole || refusal !== ''));
    }

    showTheme() {
        const { theme } = this.viewer.settings;
        const light = theme === 'light' || (theme === 'auto' && this.system.matches);
        const shade = light ? 'light' : 'dark';
        const changed = document.documentElement.dataset.shade !== shade;
        document.documentElement.dataset.shade = shade;
        $('theme').setAttribute('aria-label', `Theme: ${theme === 'auto' ? 'as the system' : theme}`);
        if (changed && this.viewer.panels) {
            this.viewer.require(1);
            this.showHistogram();
        }
    }

    stageColour() {
        const text = getComputedStyle(document.documentElement).getPropertyValue('--stage').trim();
        return [1, 3, 5].map((at) => parseInt(text.slice(at, at + 2), 16));
    }

    /** Says something above the panels; '' says nothing more. */
    message(text, kind = 'error') {
        $('message').hidden = text === '';
        $('message-folder').hidden = this.viewer.intake.wanted.length === 0;
        $('message').classList.toggle('info', kind === 'info');
        $('message-text').textContent = text;
    }

    /** Says one thing more. */
    complain(text) {
        const before = $('message').hidden ? '' : `${$('message-text').textContent}\n`;
        this.message(before + text);
    }

    say(id, text, kind = '') {
        $(id).textContent = text;
        $(id).className = `${id} ${kind}`.trim();
    }

    showFile() {
        const { source } = this.viewer;
        const { entries } = this.viewer.intake;
        $('empty').hidden = source !== null;
        const facts = $('file-facts');
        facts.replaceChildren();
        if (source) {
            facts.append(element('b', { textContent: source.entry.path }), `\u2002${count(source.bytes, 'byte')}`);
            facts.title = source.entry.path;
        }
        document.title = source ? `${source.name} - Raw frame viewer` : 'Raw frame viewer';
        document.querySelector('.file-choice').hidden = entries.length < 2;
        if (entries.length > 1) {
            facts.firstChild?.remove();
            const select = $('file');
            if (select.entries !== entries) {
                select.entries = entries;
                select.replaceChildren(...entries.map(({ path }) => element('option', { textContent: path })));
            }
            select.selectedIndex = entries.indexOf(source.entry);
        }
    }

    /** How the layout fits the file, to the byte. */
    showFit() {
        const { fit, sizes, source, settings } = this.viewer;
        const invalid = { stride: /stride/i, width: /width|groups|pixels/i, offset: /offset/i };
        for (const [id, pattern] of Object.entries(invalid)) {
            $(id).setAttribute('aria-invalid', String(Boolean(fit?.error) && pattern.test(fit.error)));
        }
        if (!source || !fit) {
            this.say('fit', '');
        } else if (fit.error) {
            this.say('fit', fit.error, 'bad');
        } else if (fit.beyond > 0) {
            const text = `The offset is ${count(fit.beyond, 'byte')} behind the end of the file.`;
            this.say('fit', text, 'bad');
        } else if (fit.missing > 0) {
            this.say(
                'fit',
                `A frame takes ${count(sizes.bytesNeeded, 'byte')}: ${count(fit.missing, 'byte')} too few. ` +
                    `Rows from ${this.viewer.endRow} on are missing.`,
                'bad',
            );
        } else {
            const frames = `${count(fit.frames, 'frame')} of ${count(sizes.frameBytes, 'byte')}`;
            const rest = fit.rest > 0 ? `; ${count(fit.rest, 'byte')} left over` : ', the file fits';
            this.say('fit', `${frames}${rest}`, fit.rest > 0 ? '' : 'good');
        }
        $('stride').placeholder = sizes ? String(sizes.rowBytes) : 'tight';
    }

    showFrames() {
        const { source, settings, player } = this.viewer;
        const frames = source?.frames ?? 1;
        const slider = $('frame');
        slider.max = String(frames - 1);
        slider.value = String(settings.frame);
        [slider, $('play'), $('previous'), $('next'), $('fps')].forEach((control) => (control.disabled = frames < 2));
        slider.setAttribute('aria-valuetext', `frame ${settings.frame} of ${frames}`);
        $('frame-text').textContent = frames > 1 ? `frame ${settings.frame} of 0 to ${frames - 1}` : 'one frame';
        $('play').textContent = player.on ? 'Stop' : 'Play';
        $('play').setAttribute('aria-pressed', String(player.on));
    }

    showLevelsNote() {
        const { settings, format } = this.viewer;
        const wrong = document.querySelector('#levels input[aria-invalid="true"]');
        if (wrong) {
            this.say('levels-note', wrong.problem, 'note bad');
        } else if (!format) {
            this.say('levels-note', '', 'note');
        } else if (format.kind === 'yuv') {
            this.say('levels-note', 'YUV is finished colour: it has no raw levels.', 'note');
        } else if (settings.tone === 'none' && effective(settings, format).tone === 'linear') {
            const text = `Adaptive demosaicing of ${format.depth} bits takes levels, so the tone is linear.`;
            this.say('levels-note', text, 'note');
        } else {
            this.say('levels-note', '', 'note');
        }
    }

    showCommands() {
        const commands = this.viewer.exporter.commands();
        const words = (commands?.shell ?? '\u2013').split(/(?<= )/);
        const unbroken = (word) => element('span', { textContent: word, className: 'word' });
        const option = (word) => (word.startsWith('--') ? unbroken(word) : word);
        $('shell').replaceChildren(...words.map(option));
        $('python').textContent = commands?.python ?? '\u2013';
    }

    exported(text) {
        $('export-note').textContent = text;
    }

    // ---- guesses

    guessState(text) {
        $('guess-state').textContent = text;
    }

    showGuesses() {
        const { viewer } = this;
        delete document.documentElement.dataset.guesses;
        $('guesses').replaceChildren(
            ...viewer.guesses.list.map((guess, i) => {
                const details = [
                    `${guess.width} \u00d7 ${guess.height}`,
                    guess.stride > 0 ? `stride ${guess.stride}` : '',
                    guess.offset > 0 ? `offset ${guess.offset}` : '',
                    guess.shift > 0 ? `shift ${guess.shift}` : '',
                    guess.frames > 1 ? `${count(guess.frames)} frames` : '',
                    guess.rest > 0 ? `${count(guess.rest)} left over` : '',
                ].filter((text) => text !== '');
                const button = element(
                    'button',
                    { type: 'button' },
                    element('span', { className: 'thumb', id: `thumb-${i}` }),
                    element(
                        'span',
                        {},
                        element('b', { textContent: guess.format }),
                        element('small', { textContent: details.join(', ') }),
                        element('small', { textContent: `${guess.bitsPerByte.toFixed(2)} bits per byte` }),
                    ),
                );
                button.addEventListener('click', () => viewer.guesses.use(i));
                const evidence = element('details', {}, element('summary', { textContent: 'Evidence' }));
                const lines = guess.evidence.map((text) => element('li', { textContent: text }));
                evidence.append(element('ul', {}, ...lines));
                return element('li', {}, button, evidence);
            }),
        );
        this.showGuessInUse();
    }

    /** The guess that the settings agree with; -1 for none. */
    guessInUse() {
        const { settings } = this.viewer;
        const { list } = this.viewer.guesses;
        const keys = ['format', 'width', 'height', 'stride', 'offset', 'shift'];
        return list.findIndex((guess) => keys.every((key) => guess[key] === settings[key]));
    }

    showGuessInUse() {
        const index = this.guessInUse();
        document.querySelectorAll('#guesses button').forEach((button, i) => {
            button.setAttribute('aria-pressed', String(i === index));
        });
    }

    showThumbnail(i, thumbnail) {
        const host = $(`thumb-${i}`);
        if (host && thumbnail) {
            const { rgba, width, height } = thumbnail;
            const canvas = element('canvas', { width, height });
            canvas.getContext('2d').putImageData(new ImageData(rgba, width, height), 0, 0);
            host.replaceChildren(canvas);
        }
    }

    // ---- picture

    showPicture() {
        const { viewer } = this;
        const { settings, times, format, source } = viewer;
        const text = `${source.name}, ${format.name} ${settings.width}\u00d7${settings.height}`;
        $('picture').setAttribute('aria-label', `${text}, frame ${settings.frame} of ${source.frames}`);
        $('status').textContent = text;
        $('timing').textContent =
            `convert ${times.convert.toFixed(1)} ms, upload ${times.upload.toFixed(1)}, ` +
            `shown after ${times.picture.toFixed(0)}`;
        this.reading.show();
    }

    /** What lies over the pictures: labels, zoom, grid, samples. */
    showStage() {
        const { stage } = this.viewer;
        const rects = stage.rects();
        const [across, down] = rulersOf(stage);
        $('labels').replaceChildren(
            ...stage.panes.flatMap((pane, i) => {
                const place = (label) => {
                    label.style.left = `${(rects[i].x + across) / stage.ratio}px`;
                    label.style.top = `${(rects[i].y + down) / stage.ratio}px`;
                    return label;
                };
                const title = pane.label && !pane.error ? [place(element('span', { textContent: pane.label }))] : [];
                const text = pane.error && `${pane.label ? `${pane.label}: ` : ''}${pane.error}`;
                return pane.error ? [place(element('span', { className: 'error', textContent: text }))] : title;
            }),
        );
        const percent = stage.zoom * 100;
        const shown = percent >= 10 ? Math.round(percent) : percent.toFixed(1);
        $('zoom').textContent = stage.panes.length === 0 ? '\u2013' : `${shown} %`;
        this.showOverlay();
    }

    showOverlay() {
        const { viewer } = this;
        const colour = viewer.whiteBalance.picking ? '#ffd166' : '#ffffff';
        const samplesAt = viewer.pictures.length > 0 ? (pane, x, y) => viewer.pixel({ pane, x, y }) : null;
        drawOverlay($('overlay'), viewer.stage, { cursor: viewer.cursor, colour, samplesAt, endRow: viewer.endRow });
    }

    showStatistics(statistics) {
        this.statistics = statistics;
        $('statistics').replaceChildren(...statistics.map(statisticsRow));
        this.showHistogram();
    }

    showHistogram() {
        drawHistogram($('histogram'), this.statistics, this.viewer.settings);
    }
}
