// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Counts the samples of a frame: per site of a mosaic, per channel of colour.
import { channelsOf, largestSample, phaseOf, siteAt } from './layout.js';

export const BINS = 256;

class Channel {
    constructor(name, largest) {
        this.name = name;
        this.largest = largest;
        this.counts = new Uint32Array(65536);
    }

    /** {name, count, min, mean, max, clipped, over, bins}; `over` samples exceed the largest that the depth allows. */
    summary() {
        const { counts, largest } = this;
        const result = { name: this.name, count: 0, min: 0, mean: 0, max: 0, clipped: counts[largest], over: 0 };
        const bins = new Uint32Array(BINS);
        let sum = 0;
        for (let value = 0; value < counts.length; ++value) {
            const found = counts[value];
            if (found === 0) {
                continue;
            }
            result.min = result.count === 0 ? value : result.min;
            result.max = value;
            result.count += found;
            result.over += value > largest ? found : 0;
            sum += found * value;
            bins[Math.min(BINS - 1, Math.floor((value * BINS) / (largest + 1)))] += found;
        }
        result.mean = result.count > 0 ? sum / result.count : 0;
        return { ...result, bins, largest };
    }
}

function countMosaic(samples, { width, height }, phase, channels) {
    for (let y = 0; y < height; ++y) {
        for (let column = 0; column < 2; ++column) {
            const { counts } = channels.find((channel) => channel.name === siteAt(phase, column, y));
            const end = (y + 1) * width;
            for (let i = y * width + column; i < end; i += 2) {
                ++counts[samples[i]];
            }
        }
    }
}

/** Samples that repeat along the whole array: `order` names the channel of each. */
function countInterleaved(samples, order, channels) {
    const counts = order.map((name) => channels.find((channel) => channel.name === name).counts);
    for (let k = 0; k < order.length; ++k) {
        const own = counts[k];
        for (let i = k; i < samples.length; i += order.length) {
            ++own[samples[i]];
        }
    }
}

const YUV_ORDER = {
    YUV411_8_UYYVYY: 'UYYVYY',
    YUV422_8_UYVY: 'UYVY',
    YUV422_8: 'YUYV',
    YUV8_UYV: 'UYV',
};

/** A summary for each channel of the format. */
export function statisticsOf(samples, format, layout) {
    const channels = channelsOf(format).map((name) => new Channel(name, largestSample(format)));
    if (format.kind === 'bayer') {
        countMosaic(samples, layout, phaseOf(format), channels);
    } else if (format.kind === 'colour') {
        countInterleaved(samples, format.name.startsWith('RGB') ? ['R', 'G', 'B'] : ['B', 'G', 'R'], channels);
    } else if (format.kind === 'yuv') {
        countInterleaved(samples, [...YUV_ORDER[format.name]], channels);
    } else {
        countInterleaved(samples, ['Grey'], channels);
    }
    return channels.map((channel) => channel.summary());
}
