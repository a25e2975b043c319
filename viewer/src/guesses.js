// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The layouts that a file may have, the likeliest first, each with a small picture.
import { conversionOf, layoutOf } from './conversion.js';
import { count } from './layout.js';
import { hintOf, namedGuess } from './names.js';
import { START } from './settings.js';

const RANKED = 24; // the file's name may choose among these
const FEW_BYTES = 1024;
const MOST = 6; // are shown
const THUMBNAIL_SIDE = 168;

export class Guesses {
    constructor(viewer) {
        this.viewer = viewer;
        this.list = [];
    }

    async rank(apply = false) {
        const { source } = this.viewer;
        if (!source) {
            return;
        }
        this.viewer.state(apply ? 'guessing' : this.viewer.root.dataset.state);
        this.viewer.panels.guessState('Ranking layouts ...');
        try {
            const found = await this.viewer.during(() =>
                this.viewer.helper.ask('guess', { file: source.file, offset: 0, most: RANKED }),
            );
            if (found && this.viewer.source === source) {
                this.take(found, apply);
            }
        } catch (error) {
            if (this.viewer.source === source) {
                this.viewer.panels.guessState(error.message);
                this.viewer.fail(`${source.name}: ${error.message}`);
            }
        }
    }

    take({ guesses, explainsNothing }, apply) {
        const { formats, source } = this.viewer;
        const named = namedGuess(guesses, hintOf(source.entry.path, formats.values()), formats);
        if (named > 0) {
            guesses.unshift(...guesses.splice(named, 1));
        }
        this.list = guesses.slice(0, MOST);
        if (named >= 0) {
            this.list[0].evidence.push('The name of the file says so.');
        }
        this.viewer.panels.showGuesses();
        if (guesses.length === 0) {
            const { bytes } = this.viewer.source;
            const text =
                bytes < FEW_BYTES
                    ? `${count(bytes, 'byte')} ${bytes === 1 ? 'is' : 'are'} too few to guess from. Type the layout.`
                    : `Nothing in these ${count(bytes, 'byte')} tells their layout. Type it.`;
            this.viewer.panels.guessState(text);
            if (apply) {
                this.viewer.fail(`${this.viewer.source.name}: ${text}`);
                this.viewer.require(3);
            }
            return;
        }
        const unlikely = guesses[0].bitsPerByte >= explainsNothing;
        this.viewer.panels.guessState(
            unlikely
                ? 'No layout explains these bytes: compressed, encrypted or no picture.'
                : named > 0
                  ? 'First the one that the name of the file means, then the likeliest.'
                  : 'The likeliest first.',
        );
        if (apply) {
            this.use(0);
        }
        this.askThumbnails();
    }

    use(index) {
        const { format, width, height, stride, offset, shift } = this.list[index];
        const view = this.viewer.viewFor({ width, height });
        this.viewer.set({ format, width, height, stride, offset, shift, range: 'full', frame: 0, ...view });
        this.viewer.require(3);
    }

    step(by) {
        if (this.list.length > 0) {
            const now = this.viewer.panels.guessInUse();
            this.use((now + by + this.list.length) % this.list.length);
        }
    }

    async askThumbnails() {
        const { list } = this;
        const { source } = this.viewer;
        for (const [i, guess] of list.entries()) {
            const format = this.viewer.formats.get(guess.format);
            const settings = { ...START, ...guess, mode: 'bilinear', tone: format.kind === 'yuv' ? 'none' : 'srgb' };
            try {
                const { bytesNeeded } = this.viewer.engine.layout(layoutOf(settings, format));
                const conversion = conversionOf(settings, format, { format: guess.format, mode: 'bilinear' });
                const thumbnail = await this.viewer.during(() =>
                    this.viewer.helper.ask(
                        'thumbnail',
                        {
                            file: source.file,
                            start: guess.offset,
                            length: bytesNeeded,
                            conversion,
                            side: THUMBNAIL_SIDE,
                        },
                        `thumbnail ${i}`,
                    ),
                );
                if (this.viewer.source !== source || this.list !== list) {
                    return;
                }
                this.viewer.panels.showThumbnail(i, thumbnail);
            } catch (error) {
                console.info(`no small picture of guess ${i + 1}: ${error.message}`);
            }
        }
        this.viewer.root.dataset.guesses = String(list.length);
    }
}
