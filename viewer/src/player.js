// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Plays the frames of a file, over and over, no faster than they can be shown.

export class Player {
    constructor(viewer) {
        this.viewer = viewer;
        this.on = false;
        this.timer = null;
    }

    play(on) {
        this.on = Boolean(on) && (this.viewer.source?.frames ?? 1) > 1;
        this.viewer.panels.refresh();
        if (this.on && this.timer === null) {
            this.timer = setTimeout(() => this.next());
        }
    }

    next() {
        const { viewer } = this;
        this.timer = null;
        if (!this.on) {
            viewer.require(2); // counts the samples, which playing may have left out
            return;
        }
        const started = performance.now();
        viewer.set({ frame: (viewer.settings.frame + 1) % viewer.source.frames });
        const wait = () => {
            if (viewer.updating) {
                requestAnimationFrame(wait);
                return;
            }
            const rest = 1000 / viewer.settings.fps - (performance.now() - started);
            this.timer = setTimeout(() => this.next(), Math.max(0, rest));
        };
        wait();
    }
}
