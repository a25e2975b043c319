// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Where a pixel's samples are: in the bytes of a frame and in the array of samples.
//
//     frame bytes      | group | group | ... | padding |     a group is the smallest run of whole bytes
//     samples          s s s s   s s s s                     a word each, no padding; YUV: its bytes

/** Of each packing, the bytes of a group that hold sample m. */
const BYTES_OF_SAMPLE = {
    '10p': (m) => [Math.floor((m * 10) / 8), Math.floor((m * 10) / 8) + 1],
    '12p': (m) => [m, m + 1],
    '10Packed': (m) => (m === 0 ? [0, 1] : [1, 2]),
    '12Packed': (m) => (m === 0 ? [0, 1] : [1, 2]),
    '10CSI2': (m) => [m, 4],
    '12CSI2': (m) => [m, 2],
};

/** Of each YUV format, the bytes of a group that hold Y, U and V of pixel m. */
const BYTES_OF_YUV = {
    YUV411_8_UYYVYY: (m) => [[1, 2, 4, 5][m], 0, 3],
    YUV422_8_UYVY: (m) => [1 + 2 * m, 0, 2],
    YUV422_8: (m) => [2 * m, 1, 3],
    YUV8_UYV: () => [1, 0, 2],
};

/** The bytes of a group that pixel m of it lies in. */
function bytesInGroup(format, m) {
    const known = BYTES_OF_SAMPLE[format.packing] ?? BYTES_OF_YUV[format.name];
    return known ? known(m) : Array.from({ length: format.groupBytes }, (_, i) => i);
}

/** The bytes of a pixel, counted from the beginning of its frame. */
export function bytesOfPixel(format, layout, x, y) {
    const { groupPixels, groupBytes } = format;
    const ownRows = layout.stride > 0 || format.packing.endsWith('CSI2');
    const rowBytes = layout.stride || Math.ceil(layout.width / groupPixels) * groupBytes;
    const pixel = ownRows ? x : y * layout.width + x;
    const start = (ownRows ? y * rowBytes : 0) + Math.floor(pixel / groupPixels) * groupBytes;
    return bytesInGroup(format, pixel % groupPixels).map((byte) => start + byte);
}

const ROWS_OF_PHASE = { GR: ['GR', 'BG'], RG: ['RG', 'GB'], GB: ['GB', 'RG'], BG: ['BG', 'GR'] };

export const PHASES = ['GR', 'RG', 'GB', 'BG'];

/** 'RG' of BayerRG12p; '' of other formats. */
export function phaseOf(format) {
    return format.sites;
}

export function withPhase(name, phase) {
    return name.replace(/^Bayer(GR|RG|GB|BG)/, `Bayer${phase}`);
}

/** What a frame of the format counts apart: sites of a mosaic, channels of colour. */
export function channelsOf(format) {
    switch (format.kind) {
        case 'bayer':
            return ['R', 'Gr', 'Gb', 'B'];
        case 'colour':
            return ['R', 'G', 'B'];
        case 'yuv':
            return ['Y', 'U', 'V'];
        default:
            return ['Grey'];
    }
}

/** The site of a mosaic's pixel: R, B, Gr (in a row with red) or Gb. */
export function siteAt(phase, x, y) {
    const row = ROWS_OF_PHASE[phase][y % 2];
    const letter = row[x % 2];
    return letter === 'G' ? (row.includes('R') ? 'Gr' : 'Gb') : letter;
}

/** The samples of a pixel: what each is, and where in the array of samples. */
export function samplesOfPixel(format, width, x, y) {
    const pixel = y * width + x;
    if (format.kind === 'bayer') {
        return [{ site: siteAt(phaseOf(format), x, y), index: pixel }];
    }
    if (format.kind === 'colour') {
        const names = format.name.startsWith('RGB') ? ['R', 'G', 'B'] : ['B', 'G', 'R'];
        return names.map((site, i) => ({ site, index: 3 * pixel + i }));
    }
    if (format.kind === 'yuv') {
        const start = Math.floor(pixel / format.groupPixels) * format.groupBytes;
        const places = bytesInGroup(format, pixel % format.groupPixels);
        return ['Y', 'U', 'V'].map((site, i) => ({ site, index: start + places[i] }));
    }
    return [{ site: 'Grey', index: pixel }];
}

export function largestSample(format) {
    return 2 ** format.depth - 1;
}

/** '4 147 200 bytes', in groups of three digits with narrow spaces that do not break. */
export function count(number, unit) {
    const digits = String(number).replace(/\B(?=(\d{3})+$)/g, '\u202f');
    return unit === undefined ? digits : `${digits}\u00a0${unit}${number === 1 ? '' : 's'}`;
}

/** How frames of `frameBytes` lie in a file: how many, bytes left over, bytes missing from the first one. */
export function fitOf(fileBytes, offset, frameBytes) {
    const available = Math.max(0, fileBytes - offset);
    const frames = Math.floor(available / frameBytes);
    return {
        frames,
        rest: frames > 0 ? available - frames * frameBytes : 0,
        missing: frames > 0 ? 0 : frameBytes - available,
        beyond: Math.max(0, offset - fileBytes),
    };
}
