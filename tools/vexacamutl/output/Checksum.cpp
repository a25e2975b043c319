// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Bare pictures are written so fast that libdeflate's 128-bit carry-less product would take an eighth of the time.
// The 512-bit one takes a quarter of that.
//
// The CRC is the remainder of the bytes as a polynomial modulo P. Folding replaces the bytes so far by 256 with the
// same remainder, which move on with the data:
//
//     accumulators   | 0..63 | 64..127 | 128..191 | 192..255 |          each 128-bit lane is  high x^64 + low
//     next bytes                                               | 256..319 | ...
//     new lane       high * (x^(2048+64) mod P) + low * (x^2048 mod P) + the lane 2048 bits further on
//
// libdeflate then computes the CRC of the 64 bytes that are left in the end, and of the tail behind them.
#include "output/Checksum.h"

#include <libdeflate.h>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace VexaTool {

namespace {

uint32_t PlainCrc32(Bytes bytes) {
    return libdeflate_crc32(0, bytes.data(), bytes.size());
}

#if defined(__x86_64__)

#define VEXA_WIDE_PRODUCT gnu::target("avx512f,vpclmulqdq")

constexpr size_t kStep = 256;         // bytes of the four accumulators
constexpr size_t kLeast = 2 * kStep;  // below it libdeflate is as quick

/// x^exponent mod P in the order of bits that the CRC has: bit 63 - n is the coefficient of x^n.
consteval long long PowerModP(unsigned exponent) {
    uint32_t power = 0x80000000;
    for (; exponent > 0; --exponent) {
        power = (power >> 1) ^ ((power & 1) != 0 ? 0xEDB88320 : 0);
    }
    return static_cast<long long>(power) << 32;
}

[[VEXA_WIDE_PRODUCT]] __m512i Load(const uint8_t* bytes, size_t index) {
    return _mm512_loadu_si512(bytes + 64 * index);
}

/// What Fold multiplies by, in each lane.
[[VEXA_WIDE_PRODUCT]] __m512i InEachLane(long long high, long long low) {
    return _mm512_set_epi64(low, high, low, high, low, high, low, high);
}

/// `lanes` moved on, plus `data`. For n bits the powers are those of n + 63 and n - 1: the product of two reversed
/// numbers is one bit short of a reversed one, a factor of x.
[[VEXA_WIDE_PRODUCT]] __m512i Fold(__m512i lanes, __m512i powers, __m512i data) {
    const __m512i high = _mm512_clmulepi64_epi128(lanes, powers, 0x00);
    const __m512i low = _mm512_clmulepi64_epi128(lanes, powers, 0x11);
    return _mm512_ternarylogic_epi64(high, low, data, 0x96);  // the XOR of all three
}

[[VEXA_WIDE_PRODUCT]] uint32_t FoldedCrc32(Bytes bytes) {
    if (bytes.size() < kLeast) {
        return PlainCrc32(bytes);
    }
    static constexpr long long kStepHigh = PowerModP(8 * kStep + 63);
    static constexpr long long kStepLow = PowerModP(8 * kStep - 1);
    static constexpr long long kNextHigh = PowerModP(512 + 63);
    static constexpr long long kNextLow = PowerModP(512 - 1);
    const __m512i step = InEachLane(kStepHigh, kStepLow);
    const __m512i next512 = InEachLane(kNextHigh, kNextLow);
    const uint8_t* next = bytes.data();
    // The register starts as ones, which are added to the first four bytes.
    __m512i lanes0 = _mm512_xor_si512(Load(next, 0), _mm512_zextsi128_si512(_mm_cvtsi32_si128(-1)));
    __m512i lanes1 = Load(next, 1);
    __m512i lanes2 = Load(next, 2);
    __m512i lanes3 = Load(next, 3);
    size_t left = bytes.size() - kStep;
    for (next += kStep; left >= kStep; left -= kStep) {
        lanes0 = Fold(lanes0, step, Load(next, 0));
        lanes1 = Fold(lanes1, step, Load(next, 1));
        lanes2 = Fold(lanes2, step, Load(next, 2));
        lanes3 = Fold(lanes3, step, Load(next, 3));
        next += kStep;
    }
    uint8_t rest[64];
    _mm512_storeu_si512(rest, Fold(Fold(Fold(lanes0, next512, lanes1), next512, lanes2), next512, lanes3));
    static constexpr uint32_t kZeroRegister = 0xFFFFFFFF;  // libdeflate takes and gives the complement
    return libdeflate_crc32(libdeflate_crc32(kZeroRegister, rest, sizeof rest), next, left);
}

/// 1 if the processor has the 512-bit product and the system saves its registers.
size_t HasWideProduct() {
    const bool registers = __builtin_cpu_supports("avx512f") != 0;
    const bool product = __builtin_cpu_supports("vpclmulqdq") != 0;
    return size_t{registers} & size_t{product};
}

#endif

}  // namespace

uint32_t Crc32(Bytes bytes) {
#if defined(__x86_64__)
    static constexpr uint32_t (*kWays[])(Bytes) = {PlainCrc32, FoldedCrc32};
    return kWays[HasWideProduct()](bytes);
#else
    return PlainCrc32(bytes);
#endif
}

}  // namespace VexaTool
