// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What leaves the page: files for the browser to save under new names, and the commands that make the same picture.
import { usesLevels } from './settings.js';
import { isRwhName } from './source.js';

/** A word of a shell command. */
export function quoted(text) {
    return /^[\w@%+=:,./-]+$/.test(text) ? text : `'${text.replace(/'/g, `'\\''`)}'`;
}

/** A string of Python. */
function pythonString(text) {
    const escape = (letter) => `\\u${letter.charCodeAt(0).toString(16).padStart(4, '0')}`;
    return JSON.stringify(text).replace(/[\u007f-\uffff]/g, escape);
}

export function stemOf(name) {
    return name.replace(/\.[^.]+$/, '') || name;
}

/** frame_00012.png for frame 12 of several; never the name of the input. */
export function exportName(source, settings, extension) {
    const frame = source.frames > 1 ? `_${String(settings.frame).padStart(5, '0')}` : '';
    const name = `${stemOf(source.name)}${frame}.${extension}`;
    return name === source.name ? `${stemOf(source.name)}${frame}-copy.${extension}` : name;
}

function levelOptions(settings) {
    const options = [];
    if (settings.balance) {
        options.push('--white-balance', settings.balance.join(','));
    }
    if (settings.black > 0) {
        options.push('--black-level', String(settings.black));
    }
    if (settings.exposure !== 1) {
        options.push('--exposure', String(settings.exposure));
    }
    if (settings.tone !== 'none') {
        options.push('--tone', settings.tone);
    }
    return options;
}

/** The tool believes an RWH file's header; to read it otherwise it has to come as a stream. */
function isStreamed(source) {
    return isRwhName(source.name) && !source.selfDescribing;
}

/** The options that read the file; an RWH file names its layout itself. */
function layoutOptions(source, settings) {
    const options = [];
    if (!source.selfDescribing) {
        options.push('--format', settings.format, '--size', `${settings.width}x${settings.height}`);
        for (const name of ['stride', 'offset', 'shift']) {
            if (settings[name] > 0) {
                options.push(`--${name}`, String(settings[name]));
            }
        }
    }
    if (source.frames > 1 || source.rest > 0) {
        options.push('--frame', String(settings.frame));
    }
    return options;
}

/**
 * The command of the tool that writes the picture shown. It takes whole frames: `lacking` bytes of padding are added.
 */
export function shellCommand(source, settings, format, { frameBytes }) {
    const lacking = Math.max(0, settings.offset + source.frames * frameBytes - source.bytes);
    const options = layoutOptions(source, settings);
    if (format.kind === 'bayer' && settings.mode === 'acpi') {
        options.push('--bayer-mode', 'acpi');
    }
    if (format.kind === 'bayer' && settings.mode === 'grey') {
        options.push('--grey');
    }
    if (format.kind === 'yuv') {
        options.push(...(settings.range === 'limited' ? ['--range', 'limited'] : []));
    } else {
        options.push(...levelOptions(settings));
    }
    const [input, output] = [source.name, exportName(source, settings, 'png')]
        .map((name) => quoted(name.startsWith('-') ? `./${name}` : name));
    const command = ['vexacamutl', 'convert', ...options].map(quoted).join(' ');
    if (lacking > 0) {
        return `{ cat ${input}; head -c ${lacking} /dev/zero; } | ${command} - ${output}`;
    }
    return isStreamed(source) ? `${command} - ${output} < ${input}` : `${command} ${input} ${output}`;
}

/** The lines of Python that make the picture shown, as an array of red, green and blue. */
export function pythonLines(source, settings, format, { frameBytes, bytesNeeded }) {
    const start = settings.offset + settings.frame * frameBytes;
    const count = source.bytes > bytesNeeded ? `, count=${bytesNeeded}` : '';
    const offset = start > 0 ? `, offset=${start}` : '';
    const frame = `np.fromfile(${pythonString(source.name)}, np.uint8${count}${offset})`;
    const parts = [frame, pythonString(settings.format)];
    const put = (name, value) => parts.push(`${name}=${value}`);
    put('width', settings.width);
    put('height', settings.height);
    for (const name of ['stride', 'shift']) {
        if (settings[name] > 0) {
            put(name, settings[name]);
        }
    }
    if (format.kind === 'bayer' && settings.mode === 'acpi') {
        put('mode', '"acpi"');
    }
    if (format.kind === 'bayer' && settings.mode === 'grey') {
        put('bayer', 'False');
    }
    if (format.kind === 'yuv') {
        if (settings.range === 'limited') {
            put('range', '"limited"');
        }
    } else if (usesLevels(settings)) {
        if (settings.balance) {
            put('white_balance', `(${settings.balance.join(', ')})`);
        }
        if (settings.black > 0) {
            put('black_level', settings.black);
        }
        if (settings.exposure !== 1) {
            put('exposure', settings.exposure);
        }
        if (settings.tone !== 'none') {
            put('tone', /^\d/.test(settings.tone) ? settings.tone : `"${settings.tone}"`);
        }
    }
    return `import numpy as np, vexacamutl as vcu\npicture = vcu.to_rgb(${parts.join(', ')})`;
}

/** The text beside a raw file that names its layout, as the tool writes and reads it. */
export function sidecarText(source, settings, format, frameBytes) {
    const code = `0x${(format.code >>> 0).toString(16).toUpperCase().padStart(8, '0')}`;
    const lines = [
        `file: ${source.name}`,
        `pixel format: ${code} ${format.name}`,
        `width: ${settings.width}`,
        `height: ${settings.height}`,
    ];
    if (settings.stride > 0) {
        lines.push(`stride: ${settings.stride}`);
    }
    if (settings.offset > 0) {
        lines.push(`offset: ${settings.offset}`);
    }
    if (settings.shift > 0) {
        lines.push(`shift: ${settings.shift}`);
    }
    lines.push(`bytes: ${frameBytes}`);
    if (format.kind === 'yuv' && settings.range === 'limited') {
        lines.push('range: limited');
    }
    return `${lines.join('\n')}\n`;
}

/** An RWH file: 16 bytes of format, width, height and bytes per row, then the rows without padding. */
export function rwhOf(code, width, height, rowBytes, rows) {
    const header = new DataView(new ArrayBuffer(16));
    [code, width, height, rowBytes].forEach((word, i) => header.setUint32(4 * i, word, true));
    return new Blob([header.buffer, rows], { type: 'application/octet-stream' });
}

/** Hands a file to the browser, which saves it under a new name if there is one already. */
export function save(blob, name) {
    const link = document.createElement('a');
    link.href = URL.createObjectURL(blob);
    link.download = name;
    document.body.append(link);
    link.click();
    link.remove();
    setTimeout(() => URL.revokeObjectURL(link.href), 60000);
}

/** Copies a text; whether it worked. */
export async function copyText(text) {
    try {
        await navigator.clipboard.writeText(text);
        return true;
    } catch {
        const area = document.createElement('textarea');
        area.value = text;
        document.body.append(area);
        area.select();
        const done = document.execCommand('copy');
        area.remove();
        return done;
    }
}
