// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Periods.h. The correlation is the inverse transform of the power spectrum (Wiener-Khinchin).
#include "Periods.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <numbers>
#include <numeric>

namespace VexaGuess {

namespace {

using Spectrum = std::vector<std::complex<double>>;

void ReverseBits(Spectrum& values) {
    for (size_t i = 1, j = 0; i < values.size(); ++i) {
        size_t bit = values.size() >> 1;
        for (; (j & bit) != 0; bit >>= 1) {
            j ^= bit;
        }
        j ^= bit;
        if (i < j) {
            std::swap(values[i], values[j]);
        }
    }
}

/// Fourier transform in place, decimation in time; the size is a power of two.
void Transform(Spectrum& values) {
    ReverseBits(values);
    std::vector<std::complex<double>> roots(values.size() / 2);
    for (size_t i = 0; i < roots.size(); ++i) {
        const double angle = -2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(values.size());
        roots[i] = {std::cos(angle), std::sin(angle)};
    }
    for (size_t half = 1; half < values.size(); half *= 2) {
        const size_t rootStep = values.size() / 2 / half;
        for (size_t start = 0; start < values.size(); start += 2 * half) {
            for (size_t i = 0; i < half; ++i) {
                std::complex<double>& low = values[start + i];
                std::complex<double>& high = values[start + half + i];
                const std::complex<double> root = roots[i * rootStep];
                // Written out: the library's product also looks after infinities, at several times the cost.
                const std::complex<double> turned(root.real() * high.real() - root.imag() * high.imag(),
                                                  root.real() * high.imag() + root.imag() * high.real());
                high = low - turned;
                low += turned;
            }
        }
    }
}

}  // namespace

std::vector<double> Autocorrelation(std::span<const uint8_t> bytes) {
    if (bytes.size() < 2) {
        return {};
    }
    const double mean = static_cast<double>(std::accumulate(bytes.begin(), bytes.end(), uint64_t{0})) /
                        static_cast<double>(bytes.size());
    // Zeros behind the bytes keep the end from meeting the start.
    Spectrum values(std::bit_ceil(2 * bytes.size()));
    std::transform(bytes.begin(), bytes.end(), values.begin(), [mean](uint8_t byte) { return byte - mean; });
    Transform(values);
    for (std::complex<double>& value : values) {
        value = std::norm(value);
    }
    Transform(values);  // of a real even spectrum the transform is its own inverse but for the scale

    const double power = values[0].real() / static_cast<double>(bytes.size());
    if (power <= 0) {
        return {};
    }
    std::vector<double> correlation(bytes.size() / 2 + 1);
    for (size_t lag = 0; lag < correlation.size(); ++lag) {
        correlation[lag] = values[lag].real() / static_cast<double>(bytes.size() - lag) / power;
    }
    return correlation;
}

std::vector<size_t> ProminentLags(const std::vector<double>& correlation, size_t shortest, size_t count) {
    constexpr size_t kSurroundings = 48;
    std::vector<double> sums(correlation.size() + 1);
    std::partial_sum(correlation.begin(), correlation.end(), sums.begin() + 1);
    std::vector<std::pair<double, size_t>> peaks;
    for (size_t lag = std::max<size_t>(shortest, 1); lag + 1 < correlation.size(); ++lag) {
        if (correlation[lag] >= correlation[lag - 1] && correlation[lag] >= correlation[lag + 1]) {
            const size_t from = lag - std::min(lag, kSurroundings);
            const size_t to = std::min(lag + kSurroundings + 1, correlation.size());
            const double around = (sums[to] - sums[from]) / static_cast<double>(to - from);
            peaks.emplace_back(around - correlation[lag], lag);
        }
    }
    const size_t kept = std::min(count, peaks.size());
    std::partial_sort(peaks.begin(), peaks.begin() + static_cast<ptrdiff_t>(kept), peaks.end());
    std::vector<size_t> lags(kept);
    std::transform(peaks.begin(), peaks.begin() + static_cast<ptrdiff_t>(kept), lags.begin(),
                   [](const auto& peak) { return peak.second; });
    return lags;
}

}  // namespace VexaGuess
