// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What the page shows, as one plain object, and the same as the fragment of its address:
//
//     viewer.html#format=BayerRG12p&size=1920x1080&offset=16&balance=1.9,1,1.6&tone=srgb
//
// A fragment never leaves the computer. It holds settings, not files.

export const START = Object.freeze({
    format: '',
    width: 0,
    height: 0,
    stride: 0,
    offset: 0,
    shift: 0,
    frame: 0,
    mode: 'bilinear', // bilinear, acpi, grey
    view: 'single', // single, modes, phases
    balance: null, // gains of red, green, blue
    black: 0,
    exposure: 1,
    tone: 'none', // none, linear, srgb or a gamma
    range: 'full', // full, limited
    zoom: 0, // screen pixels per pixel; 0: the whole frame
    x: -1, // pixel in the middle; -1: of the frame
    y: -1,
    scale: 'linear', // of the histogram: linear, log
    theme: 'auto', // auto, light, dark
    fps: 10,
});

export const MODES = ['bilinear', 'acpi', 'grey'];
export const VIEWS = ['single', 'modes', 'phases'];
export const THEMES = ['auto', 'light', 'dark'];
export const TONES = ['none', 'linear', 'srgb', '1.8', '2.2', '2.4'];
const MOST_ZOOM = 256;

function whole(text, most = Number.MAX_SAFE_INTEGER, least = 0) {
    const value = /^\d{1,16}$/.test(text) ? Number(text) : NaN;
    if (!(value >= least && value <= most)) {
        throw new Error(most === Number.MAX_SAFE_INTEGER ? 'expected a whole number' : `expected ${least} to ${most}`);
    }
    return value;
}

function oneOf(choices) {
    return (text) => {
        if (!choices.includes(text)) {
            throw new Error(`expected ${choices.join(', ')}`);
        }
        return text;
    };
}

export function parseGains(text) {
    const gains = text.split(',').map((part) => (/^\s*\d*\.?\d+\s*$|^\s*\d+\.\s*$/.test(part) ? Number(part) : NaN));
    if (gains.length !== 3 || gains.some((gain) => !(gain >= 0 && gain <= 16))) {
        throw new Error('expected three gains from 0 to 16, for example 1.9,1,1.6');
    }
    return gains;
}

export function parseExposure(text) {
    const exposure = /^\d*\.?\d+$/.test(text) ? Number(text) : NaN;
    if (!(exposure >= 0 && exposure <= 16)) {
        throw new Error('expected a factor from 0 to 16');
    }
    return exposure;
}

export function parseTone(text) {
    if (text === 'none' || text === 'linear' || text === 'srgb') {
        return text;
    }
    const gamma = /^\d*\.?\d+$/.test(text) ? Number(text) : NaN;
    if (!(gamma >= 0.1 && gamma <= 10)) {
        throw new Error('expected none, linear, srgb or a gamma from 0.1 to 10');
    }
    return String(gamma);
}

function parsePair(text, separator, most) {
    const parts = text.split(separator);
    if (parts.length !== 2) {
        throw new Error(`expected two numbers with ${separator} between them`);
    }
    return parts.map((part) => whole(part, most));
}

/** Of each key of the fragment: its fields, how to read it, how to write it ('' leaves it out). */
const KEYS = {
    format: { read: (text) => ({ format: text }), write: (s) => s.format },
    size: {
        read: (text) => {
            const [width, height] = parsePair(text, 'x', 2 ** 30);
            return { width, height };
        },
        write: (s) => (s.width > 0 && s.height > 0 ? `${s.width}x${s.height}` : ''),
    },
    stride: number('stride', 2 ** 30),
    offset: number('offset'),
    shift: number('shift', 15),
    frame: number('frame'),
    mode: choice('mode', MODES),
    view: choice('view', VIEWS),
    balance: {
        read: (text) => ({ balance: parseGains(text) }),
        write: (s) => (s.balance ? s.balance.join(',') : ''),
    },
    black: number('black', 65534),
    exposure: {
        read: (text) => ({ exposure: parseExposure(text) }),
        write: (s) => (s.exposure === 1 ? '' : String(s.exposure)),
    },
    tone: { read: (text) => ({ tone: parseTone(text) }), write: (s) => (s.tone === 'none' ? '' : s.tone) },
    range: choice('range', ['full', 'limited']),
    zoom: {
        read: (text) => {
            const zoom = /^\d*\.?\d+$/.test(text) ? Number(text) : NaN;
            if (!(zoom >= 0 && zoom <= MOST_ZOOM)) {
                throw new Error(`expected 0 to ${MOST_ZOOM}`);
            }
            return { zoom };
        },
        write: (s) => (s.zoom === 0 ? '' : String(Number(s.zoom.toFixed(4)))),
    },
    at: {
        read: (text) => {
            const [x, y] = parsePair(text, ',', 2 ** 30);
            return { x, y };
        },
        write: (s) => (s.x >= 0 && s.y >= 0 ? `${Math.floor(s.x)},${Math.floor(s.y)}` : ''),
    },
    scale: choice('scale', ['linear', 'log']),
    theme: choice('theme', THEMES),
    fps: number('fps', 60, 1),
};

function number(field, most, least = 0) {
    return {
        read: (text) => ({ [field]: whole(text, most, least) }),
        write: (s) => (s[field] === START[field] ? '' : String(s[field])),
    };
}

function choice(field, choices) {
    const check = oneOf(choices);
    return {
        read: (text) => ({ [field]: check(text) }),
        write: (s) => (s[field] === START[field] ? '' : s[field]),
    };
}

/** '#format=...'; '' when every setting is as at the start. */
export function toFragment(settings) {
    const parts = [];
    for (const [key, rule] of Object.entries(KEYS)) {
        const text = rule.write(settings);
        if (text !== '') {
            parts.push(`${key}=${encodeURIComponent(text).replace(/%2C/g, ',')}`);
        }
    }
    return parts.length > 0 ? `#${parts.join('&')}` : '';
}

/** The settings that a fragment names, and a sentence for each part that makes no sense. */
export function fromFragment(fragment) {
    const settings = {};
    const problems = [];
    for (const part of fragment.replace(/^#/, '').split('&')) {
        if (part === '') {
            continue;
        }
        const equals = part.indexOf('=');
        const key = equals < 0 ? part : part.slice(0, equals);
        try {
            if (!Object.hasOwn(KEYS, key)) {
                throw new Error(`expected one of ${Object.keys(KEYS).join(', ')}`);
            }
            Object.assign(settings, KEYS[key].read(decodeURIComponent(equals < 0 ? '' : part.slice(equals + 1))));
        } catch (error) {
            problems.push(`The address says '${part}': ${error.message}.`);
        }
    }
    return { settings, problems };
}

/** Whether raw levels are changed before demosaicing. */
export function usesLevels(settings) {
    return settings.balance !== null || settings.black > 0 || settings.exposure !== 1 || settings.tone !== 'none';
}
