// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// White balance: from the mean of the frame, or from a grey spot that is pointed at.
import { gainsAt, layoutOf } from './conversion.js';

const DECIMALS = 4;

export class WhiteBalance {
    constructor(viewer) {
        this.viewer = viewer;
        this.picking = false;
    }

    /** Whether the format has raw colours. */
    get possible() {
        return this.viewer.format?.kind === 'bayer' || this.viewer.format?.kind === 'colour';
    }

    /** The mean of the frame becomes grey; with `tone` that changes too. */
    auto(tone = this.viewer.settings.tone) {
        const { viewer } = this;
        if (!viewer.bytes || !viewer.sizes || !this.possible) {
            return;
        }
        try {
            const options = { ...layoutOf(viewer.settings, viewer.format), black: viewer.settings.black };
            const gains = viewer.engine.estimateWhiteBalance(viewer.bytes, options);
            viewer.set({ tone, balance: gains.map((gain) => Number(gain.toFixed(DECIMALS))) });
        } catch (error) {
            viewer.panels.message(`White balance: ${error.message}`);
        }
    }

    /** About what the eye sees: balanced where there is colour, lighter in the dark. */
    natural() {
        if (this.possible) {
            this.auto('srgb');
        } else if (this.viewer.format?.kind === 'mono') {
            this.viewer.set({ tone: 'srgb' });
        }
    }

    /** Whether the next click on a picture picks. */
    pick(on) {
        this.picking = Boolean(on) && this.possible;
        this.viewer.panels.refresh();
        this.viewer.panels.showOverlay();
    }

    at({ x, y }) {
        const { viewer } = this;
        this.pick(false);
        const gains = gainsAt(viewer.allSamples(), viewer.format, viewer.settings, x, y);
        if (gains) {
            viewer.set({ balance: gains });
        } else {
            viewer.panels.message('There is no light at this spot in one of the colours; pick a brighter one.');
        }
    }
}
