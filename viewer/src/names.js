// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What a file's name says of the layout: a format's name or alias and WIDTHxHEIGHT. A name may be wrong, so it only
// chooses among layouts that the bytes allow.

const SHORTEST_ALIAS = 4; // shorter ones mean other things too
const OTHER_WORDS = ['gray', 'grey']; // as in grey_card.raw

function isIn(name, word) {
    return new RegExp(`(^|[^a-z0-9])${word.replace(/[^a-z0-9_]/g, '')}([^a-z0-9]|$)`).test(name);
}

/** {format, width, height} as far as the name says them. Of several formats the longest word counts. */
export function hintOf(path, formats) {
    const name = path.replace(/^.*\//, '').toLowerCase();
    const size = /(?:^|[^0-9])(\d{1,5})x(\d{1,5})(?:[^0-9]|$)/.exec(name);
    let longest = '';
    let format = null;
    for (const candidate of formats) {
        for (const word of [candidate.name, ...candidate.aliases.split(/[\s,]+/)].map((each) => each.toLowerCase())) {
            const clear = word.length >= SHORTEST_ALIAS && !OTHER_WORDS.includes(word);
            if (clear && word.length > longest.length && isIn(name, word)) {
                longest = word;
                format = candidate;
            }
        }
    }
    return { format, width: size ? Number(size[1]) : 0, height: size ? Number(size[2]) : 0 };
}

/**
 * The guess that the name means: one that agrees with all it says; where it says no size, one with the rows and the
 * offset of the likeliest; else the likeliest with the Bayer phase of the name, since statistics cannot tell red from
 * blue. -1 for none.
 */
export function namedGuess(guesses, { format, width, height }, formats) {
    if (guesses.length === 0 || (!format && width === 0)) {
        return -1;
    }
    const [first] = guesses;
    const isSize = (guess) =>
        width > 0
            ? guess.width === width && guess.height === height
            : guess.height === first.height && guess.offset === first.offset;
    const whole = guesses.findIndex((guess) => (!format || guess.format === format.name) && isSize(guess));
    if (whole >= 0 || !format?.sites) {
        return whole;
    }
    const depth = formats.get(first.format).depth;
    const alike = ['width', 'height', 'stride', 'offset', 'shift'];
    return guesses.findIndex(
        (guess) =>
            alike.every((key) => guess[key] === first[key]) &&
            formats.get(guess.format).sites === format.sites &&
            formats.get(guess.format).depth === depth,
    );
}
