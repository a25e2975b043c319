// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Every key of the page: what it is, what the help sheet says of it, what it does.
import { MODES, THEMES, TONES, VIEWS } from './settings.js';

function after(list, value) {
    return list[(list.indexOf(value) + 1) % list.length];
}

/** [group, [[keys, text, action], ...]]; keys as KeyboardEvent.key says them, several separated by spaces. */
export function keysOf(viewer) {
    const { settings } = viewer;
    const set = (changes) => viewer.set(changes);
    const focus = (id) => document.getElementById(id).focus();
    const least = (field) => (field === 'width' || field === 'height' ? 1 : 0);
    const step = (field, by) => () => set({ [field]: Math.max(least(field), settings[field] + by) });
    const toggle = (view) => () => set({ view: settings.view === view ? 'single' : view });
    return [
        ['Files', [
            ['o', 'open files', () => viewer.intake.chooseFiles()],
            ['O', 'open a folder', () => viewer.intake.chooseFolder()],
            ['n', 'next file', () => viewer.intake.stepFile(1)],
            ['N', 'previous file', () => viewer.intake.stepFile(-1)],
            ['u', 'rank layouts by the bytes', () => viewer.guesses.rank()],
            ['g', 'next guess', () => viewer.guesses.step(1)],
            ['G', 'previous guess', () => viewer.guesses.step(-1)],
        ]],
        ['Layout', [
            ['[', 'width one less', step('width', -1)],
            [']', 'width one more', step('width', 1)],
            ['{', 'width 16 less', step('width', -16)],
            ['}', 'width 16 more', step('width', 16)],
            [';', 'height one less', step('height', -1)],
            ["'", 'height one more', step('height', 1)],
            ['(', 'stride one byte less', () => set({ stride: viewer.stride - 1 })],
            [')', 'stride one byte more', () => set({ stride: viewer.stride + 1 })],
            ['<', 'offset one byte less', step('offset', -1)],
            ['>', 'offset one byte more', step('offset', 1)],
            ['x', 'next Bayer phase', () => viewer.nextPhase()],
            ['q', 'range of YUV', () => viewer.nextRange()],
            ['e', 'to the field of the format', () => focus('format')],
        ]],
        ['Frames', [
            [', PageUp', 'previous frame', () => viewer.stepFrame(-1)],
            ['. PageDown', 'next frame', () => viewer.stepFrame(1)],
            ['Home', 'first frame', () => set({ frame: 0 })],
            ['End', 'last frame', () => viewer.stepFrame(Infinity)],
            ['Space', 'play or stop', () => viewer.player.play(!viewer.player.on)],
        ]],
        ['View', [
            ['v', 'next view', () => set({ view: after(VIEWS, settings.view) })],
            ['p', 'four phases or one', toggle('phases')],
            ['b', 'bilinear beside adaptive, or one', toggle('modes')],
            ['m', 'next demosaic mode', () => set({ mode: after(MODES, settings.mode) })],
            ['+ =', 'zoom in', () => viewer.zoomStep(true)],
            ['- _', 'zoom out', () => viewer.zoomStep(false)],
            ['0 f', 'whole frame', () => set({ zoom: 0, x: -1, y: -1 })],
            ['1', 'one pixel per screen pixel', () => viewer.zoomTo(1)],
            ['2', 'single pixels with samples', () => viewer.zoomTo(48)],
            ['ArrowLeft', 'pixel to the left, with Shift 16', (e) => viewer.moveCursor(-1, 0, e.shiftKey)],
            ['ArrowRight', 'pixel to the right', (e) => viewer.moveCursor(1, 0, e.shiftKey)],
            ['ArrowUp', 'pixel above', (e) => viewer.moveCursor(0, -1, e.shiftKey)],
            ['ArrowDown', 'pixel below', (e) => viewer.moveCursor(0, 1, e.shiftKey)],
        ]],
        ['Levels', [
            ['w', 'white balance from the mean', () => viewer.whiteBalance.auto()],
            ['z', 'natural look: white balance and sRGB tone', () => viewer.whiteBalance.natural()],
            ['k', 'pick grey; Enter takes the pixel', () => viewer.whiteBalance.pick(!viewer.whiteBalance.picking)],
            ['a', 'to the gains', () => focus('gain-r')],
            ['j', 'to the black level', () => focus('black')],
            ['i', 'next tone', () => set({ tone: after(TONES, settings.tone) })],
            ['r', 'samples as they are', () => set({ balance: null, black: 0, exposure: 1, tone: 'none' })],
            ['l', 'histogram linear or logarithmic', () => set({ scale: settings.scale === 'log' ? 'linear' : 'log' })],
        ]],
        ['Export', [
            ['s', 'PNG', () => viewer.exporter.png()],
            ['t', 'sidecar', () => viewer.exporter.sidecar()],
            ['h', 'RWH', () => viewer.exporter.rwh()],
            ['c', 'copy the shell command', () => viewer.exporter.copy('shell')],
            ['y', 'copy the Python lines', () => viewer.exporter.copy('python')],
        ]],
        ['Page', [
            ['d', 'theme: system, light, dark', () => set({ theme: after(THEMES, settings.theme) })],
            ['?', 'this sheet', () => viewer.help()],
            ['Escape', 'stop picking, dismiss a message', () => viewer.escape()],
        ]],
    ];
}

const ARROWS = ['ArrowLeft', 'ArrowRight', 'ArrowUp', 'ArrowDown'];

/** Keys that an element in focus needs itself. */
function isOwn(target, key) {
    if (target.matches?.('input[type="range"]')) {
        return [...ARROWS, 'Home', 'End', 'PageUp', 'PageDown'].includes(key);
    }
    if (target.matches?.('input, select, textarea')) {
        return key !== 'Escape';
    }
    if (target.matches?.('button, summary')) {
        return key === ' ' || key === 'Enter';
    }
    return target.matches?.('pre') && (ARROWS.includes(key) || key === 'Home' || key === 'End');
}

export function listenToKeys(viewer) {
    const actions = new Map();
    for (const [, keys] of keysOf(viewer)) {
        for (const [names, , action] of keys) {
            names.split(' ').forEach((name) => actions.set(name === 'Space' ? ' ' : name, action));
        }
    }
    document.addEventListener('keydown', (event) => {
        const action = actions.get(event.key);
        const modified = event.ctrlKey || event.metaKey || event.altKey;
        const inDialog = document.querySelector('dialog[open]') !== null;
        if (!action || modified || inDialog || isOwn(event.target, event.key)) {
            return;
        }
        if (ARROWS.includes(event.key) && event.target.id !== 'picture' && event.target !== document.body) {
            return;
        }
        event.preventDefault();
        action(event);
    });
}

const SHOWN = { ArrowLeft: '\u2190', ArrowRight: '\u2192', ArrowUp: '\u2191', ArrowDown: '\u2193', Escape: 'Esc' };

/** Fills the help sheet. */
export function describeKeys(host, viewer) {
    for (const [group, keys] of keysOf(viewer)) {
        const section = document.createElement('section');
        const title = document.createElement('h3');
        title.textContent = group;
        const list = document.createElement('dl');
        for (const [names, text] of keys) {
            const term = document.createElement('dt');
            for (const name of names.split(' ')) {
                const key = document.createElement('kbd');
                key.textContent = SHOWN[name] ?? (/^[A-Z]$/.test(name) ? `Shift+${name}` : name.toUpperCase());
                key.textContent = name.length > 1 && !SHOWN[name] ? name : key.textContent;
                term.append(key, ' ');
            }
            const meaning = document.createElement('dd');
            meaning.textContent = text;
            list.append(term, meaning);
        }
        section.append(title, list);
        host.append(section);
    }
}
