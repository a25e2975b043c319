// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A PNG file from BGRA pixels, 8 bits per channel, grey or RGB. The browser compresses; filters keep the rows as they
// are except that each byte is stored as its difference from the pixel to the left.

const CRC_TABLE = Uint32Array.from({ length: 256 }, (_, n) => {
    let value = n;
    for (let bit = 0; bit < 8; ++bit) {
        value = value & 1 ? (value >>> 1) ^ 0xedb88320 : value >>> 1;
    }
    return value;
});

function crcOf(bytes) {
    let crc = 0xffffffff;
    for (let i = 0; i < bytes.length; ++i) {
        crc = CRC_TABLE[(crc ^ bytes[i]) & 0xff] ^ (crc >>> 8);
    }
    return (crc ^ 0xffffffff) >>> 0;
}

function chunk(kind, content) {
    const bytes = new Uint8Array(12 + content.length);
    const view = new DataView(bytes.buffer);
    view.setUint32(0, content.length);
    for (let i = 0; i < 4; ++i) {
        bytes[4 + i] = kind.charCodeAt(i);
    }
    bytes.set(content, 8);
    view.setUint32(8 + content.length, crcOf(bytes.subarray(4, 8 + content.length)));
    return bytes;
}

/** Rows with their filter byte: 1, the difference from the pixel to the left. */
function filteredRows(pixels, width, height, channels) {
    const rowBytes = 1 + width * channels;
    const rows = new Uint8Array(rowBytes * height);
    for (let y = 0; y < height; ++y) {
        let to = y * rowBytes;
        let from = y * width * 4;
        rows[to++] = 1;
        let [red, green, blue] = [0, 0, 0];
        for (let x = 0; x < width; ++x, from += 4) {
            if (channels === 3) {
                rows[to++] = pixels[from + 2] - red;
                rows[to++] = pixels[from + 1] - green;
                [red, green] = [pixels[from + 2], pixels[from + 1]];
            }
            rows[to++] = pixels[from] - blue;
            blue = pixels[from];
        }
    }
    return rows;
}

async function deflated(bytes) {
    const stream = new Blob([bytes]).stream().pipeThrough(new CompressionStream('deflate'));
    return new Uint8Array(await new Response(stream).arrayBuffer());
}

export async function pngOf({ pixels, width, height }, grey) {
    const header = new Uint8Array(13);
    const view = new DataView(header.buffer);
    view.setUint32(0, width);
    view.setUint32(4, height);
    header.set([8, grey ? 0 : 2, 0, 0, 0], 8);
    const content = await deflated(filteredRows(pixels, width, height, grey ? 1 : 3));
    const signature = Uint8Array.of(0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a);
    return new Blob([signature, chunk('IHDR', header), chunk('IDAT', content), chunk('IEND', new Uint8Array())], {
        type: 'image/png',
    });
}
