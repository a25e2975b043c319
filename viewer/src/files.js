// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Files that come to the page: chosen, dropped, pasted; alone, many or as a folder; with texts beside them.

const TEXT = /\.txt$/i;
const MOST_FILES = 20000;

/** Every file below an entry of a dropped folder, as {file, path}. */
async function filesBelow(entry, found) {
    if (found.length >= MOST_FILES) {
        return;
    }
    if (entry.isFile) {
        const file = await new Promise((resolve, reject) => entry.file(resolve, reject));
        found.push({ file, path: entry.fullPath.replace(/^\//, '') });
        return;
    }
    const reader = entry.createReader();
    for (;;) {
        const children = await new Promise((resolve, reject) => reader.readEntries(resolve, reject));
        if (children.length === 0) {
            return;
        }
        for (const child of children) {
            await filesBelow(child, found);
        }
    }
}

/** What a drop or a paste brings. The entries have to be taken before anything is awaited. */
export async function filesOfTransfer(transfer) {
    const entries = [...(transfer.items ?? [])]
        .filter((item) => item.kind === 'file')
        .map((item) => item.webkitGetAsEntry?.() ?? null);
    const plain = [...transfer.files].map((file) => ({ file, path: file.webkitRelativePath || file.name }));
    if (!entries.some((entry) => entry?.isDirectory)) {
        return plain;
    }
    const found = [];
    for (const entry of entries) {
        if (entry) {
            await filesBelow(entry, found);
        }
    }
    return found;
}

export function filesOfInput(input) {
    return [...input.files].map((file) => ({ file, path: file.webkitRelativePath || file.name }));
}

/** Splits files into frames, each with the text beside it, and texts that belong to none. */
export function withSidecars(files) {
    const texts = new Map(files.filter(({ path }) => TEXT.test(path)).map((entry) => [entry.path, entry]));
    const frames = [];
    const used = new Set();
    for (const entry of files.filter(({ path }) => !TEXT.test(path))) {
        const candidates = [entry.path.replace(/\.[^./]*$/, '.txt'), `${entry.path}.txt`];
        const name = candidates.find((candidate) => texts.has(candidate));
        used.add(name);
        frames.push({ ...entry, sidecar: name === undefined ? null : texts.get(name).file });
    }
    frames.sort((a, b) => a.path.localeCompare(b.path, 'en', { numeric: true }));
    return { frames, texts: [...texts.values()].filter(({ path }) => !used.has(path)) };
}

/** The names in a pasted text, one per line, as file managers and shells write them. */
export function namesIn(text) {
    const decode = (line) => {
        if (!line.startsWith('file://')) {
            return line;
        }
        try {
            return decodeURIComponent(line.slice('file://'.length));
        } catch {
            return line;
        }
    };
    return text
        .split(/[\r\n]+/)
        .map((line) => line.trim().replace(/^(["'])(.*)\1$/, '$2'))
        .filter((line) => line !== '' && !line.startsWith('#'))
        .map((line) => decode(line).replace(/\\/g, '/').replace(/^\.\//, ''));
}

/** How many folders and names two paths have in common at their ends. */
function commonEnd(a, b) {
    const [left, right] = [a.split('/').reverse(), b.split('/').reverse()];
    let count = 0;
    while (count < left.length && count < right.length && left[count] === right[count]) {
        ++count;
    }
    return count;
}

/** The files that the names mean, each by the longest common end of its path, and the names that are not there. */
export function matchNames(names, files) {
    const chosen = [];
    const missing = [];
    for (const name of names) {
        const best = files.reduce((most, entry) => Math.max(most, commonEnd(name, entry.path)), 0);
        if (best === 0) {
            missing.push(name);
            continue;
        }
        chosen.push(...files.filter((entry) => commonEnd(name, entry.path) === best && !chosen.includes(entry)));
    }
    return { chosen, missing };
}
