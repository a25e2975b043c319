// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// From the page's settings to what the engine is asked for, and from a grey spot to gains.
import { PHASES, phaseOf, samplesOfPixel, withPhase } from './layout.js';
import { usesLevels } from './settings.js';

/** Adaptive demosaicing of more than 8 bits works on levels: with no tone chosen it is linear. */
export function effective(settings, format, mode = settings.mode) {
    const needsLevels = format.kind === 'bayer' && mode === 'acpi' && format.depth > 8 && !usesLevels(settings);
    return { ...settings, mode, tone: needsLevels ? 'linear' : settings.tone };
}

export function layoutOf(settings, format, name = settings.format) {
    const { width, height, stride, shift, range } = settings;
    return { format: name, width, height, stride, shift, range: format.kind === 'yuv' ? range : 'full' };
}

/** The options of Engine.convert for one pane. */
export function conversionOf(settings, format, pane) {
    const own = effective(settings, format, pane.mode);
    const options = layoutOf(own, format, pane.format);
    if (format.kind === 'bayer') {
        options.mode = own.mode === 'grey' ? 'none' : own.mode;
        options.grey = own.mode === 'grey';
    }
    if (format.kind !== 'yuv') {
        options.black = own.black;
        options.whiteBalance = own.balance;
        options.exposure = own.exposure === 1 ? null : own.exposure;
        options.tone = own.tone === 'none' ? null : /^\d/.test(own.tone) ? Number(own.tone) : own.tone;
    }
    return options;
}

const MODE_NAMES = { bilinear: 'Bilinear', acpi: 'Adaptive', grey: 'Mosaic' };

/** The pictures beside each other: {label, format, mode}. */
export function panesOf(settings, format) {
    const { format: name, mode, view } = settings;
    if (format.kind !== 'bayer' || view === 'single') {
        return [{ label: '', format: name, mode }];
    }
    if (view === 'modes') {
        return ['bilinear', 'acpi'].map((each) => ({
            label: each === mode ? `${MODE_NAMES[each]} (chosen)` : MODE_NAMES[each],
            format: name,
            mode: each,
        }));
    }
    return PHASES.map((phase) => ({
        label: phase === phaseOf(format) ? `${phase} (chosen)` : phase,
        format: withPhase(name, phase),
        mode,
    }));
}

const PICKED = 4; // pixels to each side of the one clicked on

/** Gains that make the surroundings of a pixel grey, with four decimals, the smallest 1; null where one is black. */
export function gainsAt(samples, format, settings, x, y) {
    const { width, height, black } = settings;
    const sums = { R: [0, 0], G: [0, 0], B: [0, 0] };
    for (let row = Math.max(0, y - PICKED); row <= Math.min(height - 1, y + PICKED); ++row) {
        for (let column = Math.max(0, x - PICKED); column <= Math.min(width - 1, x + PICKED); ++column) {
            for (const { site, index } of samplesOfPixel(format, width, column, row)) {
                const sum = sums[site[0]];
                sum[0] += Math.max(0, samples[index] - black);
                sum[1] += 1;
            }
        }
    }
    const means = ['R', 'G', 'B'].map((channel) => sums[channel][0] / sums[channel][1]);
    if (!means.every((mean) => mean > 0)) {
        return null;
    }
    const largest = Math.max(...means);
    return means.map((mean) => Math.min(16, Number((largest / mean).toFixed(4))));
}
