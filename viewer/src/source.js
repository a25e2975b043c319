// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A file as slices: only the frames that are looked at are in memory.

const KEPT_BYTES = 192 * 2 ** 20;

export class Source {
    /** `entry` is {file, path, sidecar}. */
    constructor(entry) {
        this.entry = entry;
        this.file = entry.file;
        this.name = entry.file.name;
        this.bytes = entry.file.size;
        this.frames = 1;
        this.rest = 0;
        this.selfDescribing = false; // an RWH file, read as its header says
        this.kept = new Map(); // 'start+length' -> bytes, the latest last
    }

    /** Bytes from `start` on; zeros where the file has ended. */
    async read(start, length) {
        const key = `${start}+${length}`;
        let bytes = this.kept.get(key);
        if (!bytes) {
            bytes = new Uint8Array(await this.file.slice(start, start + length).arrayBuffer());
            if (bytes.length < length) {
                const padded = new Uint8Array(length);
                padded.set(bytes);
                bytes = padded;
            }
        }
        this.kept.delete(key);
        this.kept.set(key, bytes);
        this.forget();
        return bytes;
    }

    forget() {
        let sum = 0;
        for (const [key, bytes] of [...this.kept].reverse()) {
            sum += bytes.length;
            if (sum > KEPT_BYTES && sum > bytes.length) {
                this.kept.delete(key);
            }
        }
    }
}

const MAGIC = [
    ['a PNG picture', [0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a]],
    ['a JPEG picture', [0xff, 0xd8, 0xff, 0xe0]],
    ['a JPEG picture', [0xff, 0xd8, 0xff, 0xe1]],
    ['a GIF picture', [0x47, 0x49, 0x46, 0x38]],
    ['a PDF document', [0x25, 0x50, 0x44, 0x46, 0x2d]],
    ['a ZIP archive', [0x50, 0x4b, 0x03, 0x04]],
    ['compressed by gzip', [0x1f, 0x8b, 0x08]],
];

/** What a file of another kind seems to be; '' for none of those. */
export function foreignKind(head) {
    const found = MAGIC.find(([, magic]) => magic.every((byte, i) => head[i] === byte));
    return found ? found[0] : '';
}

export function isRwhName(name) {
    return /\.rwh$/i.test(name);
}
