// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Periods.h. A correlation is the inverse transform of a power spectrum (Wiener-Khinchin). Here it is that of the
// amplitudes, which gives fine structure more weight beside broad shades, and so sharper peaks. Even and odd bytes go
// through one transform, as real and imaginary parts; the correlation of all bytes follows from theirs:
//
//     r(2m)     = even(m) + odd(m)
//     r(2m + 1) = cross(m) + cross(-m - 1)      cross(m): even byte n with odd byte n + m
#include "Periods.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <numbers>
#include <numeric>

namespace VexaGuess {

namespace {

/// Far below what any sample's noise leaves in a frequency.
constexpr double kLeastAmplitude = 1e-3;

using Complex = std::complex<double>;
using Spectrum = std::vector<Complex>;

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

/// Fourier transform in place, decimation in time; the size is a power of two, with half as many roots of unity.
void Transform(Spectrum& values, const Spectrum& roots) {
    ReverseBits(values);
    for (size_t half = 1; half < values.size(); half *= 2) {
        const size_t rootStep = values.size() / 2 / half;
        for (size_t start = 0; start < values.size(); start += 2 * half) {
            for (size_t i = 0; i < half; ++i) {
                Complex& low = values[start + i];
                Complex& high = values[start + half + i];
                const Complex root = roots[i * rootStep];
                // Written out: the library's product also looks after infinities, at several times the cost.
                const Complex turned(root.real() * high.real() - root.imag() * high.imag(),
                                     root.real() * high.imag() + root.imag() * high.real());
                high = low - turned;
                low += turned;
            }
        }
    }
}

Spectrum RootsFor(size_t size) {
    Spectrum roots(size / 2);
    for (size_t i = 0; i < roots.size(); ++i) {
        const double angle = -2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(size);
        roots[i] = {std::cos(angle), std::sin(angle)};
    }
    return roots;
}

Complex Product(Complex a, Complex b) {
    return {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
}

/// Sums of products to correlations: each lag by the number of its products, lag 0 becomes 1.
Correlation Normalised(const std::vector<double>& sums, size_t samples) {
    if (sums.empty() || sums[0] <= 0) {
        return {};
    }
    Correlation correlation(sums.size());
    for (size_t lag = 0; lag < sums.size(); ++lag) {
        correlation[lag] = sums[lag] / sums[0] * static_cast<double>(samples) / static_cast<double>(samples - lag);
    }
    return correlation;
}

}  // namespace

Correlations Autocorrelations(std::span<const uint8_t> bytes) {
    const size_t half = bytes.size() / 2;
    if (half < 2) {
        return {};
    }
    const double mean = static_cast<double>(std::accumulate(bytes.begin(), bytes.end(), uint64_t{0})) /
                        static_cast<double>(bytes.size());
    // Zeros behind the bytes keep the end from meeting the start.
    const size_t size = std::bit_ceil(2 * half + 2);
    const Spectrum roots = RootsFor(size);
    Spectrum both(size);
    for (size_t i = 0; i < half; ++i) {
        both[i] = {bytes[2 * i] - mean, bytes[2 * i + 1] - mean};
    }
    Transform(both, roots);
    Spectrum powers(size);
    Spectrum crossed(size);
    for (size_t k = 0; k < size; ++k) {
        const Complex mirrored = std::conj(both[(size - k) % size]);
        const Complex even = (both[k] + mirrored) * 0.5;
        const Complex odd = Product(both[k] - mirrored, Complex(0, -0.5));
        const double amplitude = std::sqrt(std::norm(even) + std::norm(odd)) + kLeastAmplitude;
        powers[k] = {std::norm(even) / amplitude, std::norm(odd) / amplitude};
        // Transforming forwards gives the inverse with the sign of the lag reversed.
        crossed[k] = Product(even, std::conj(odd)) / amplitude;
    }
    Transform(powers, roots);
    Transform(crossed, roots);
    std::vector<double> evenSums(half / 2 + 1);
    std::vector<double> oddSums(half / 2 + 1);
    std::vector<double> sums(half + 1);
    for (size_t m = 0; 2 * m < sums.size(); ++m) {
        evenSums[m] = powers[m].real();
        oddSums[m] = powers[m].imag();
        sums[2 * m] = evenSums[m] + oddSums[m];
        if (2 * m + 1 < sums.size()) {
            sums[2 * m + 1] = crossed[m].real() + crossed[size - m - 1].real();
        }
    }
    return {Normalised(sums, 2 * half), Normalised(evenSums, half), Normalised(oddSums, half)};
}

std::vector<size_t> ProminentLags(const Correlation& correlation, size_t shortest, size_t count) {
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

size_t SharpenedLag(const Correlation& correlation, size_t lag) {
    constexpr size_t kNear = 12;
    constexpr size_t kMostRows = 16;
    size_t best = lag;
    double bestMean = -1;
    const size_t rows = std::min(kMostRows, (correlation.size() - 1) / (lag + kNear));
    for (size_t near = lag - std::min(lag - 1, kNear); near <= lag + kNear && rows > 0; ++near) {
        double sum = 0;
        for (size_t row = 1; row <= rows; ++row) {
            sum += correlation[near * row];
        }
        if (sum > bestMean) {
            bestMean = sum;
            best = near;
        }
    }
    return best;
}

}  // namespace VexaGuess
