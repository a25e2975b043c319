// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The limit kernels of one vector width. Compiled once per width: the build gives VECTOR_BYTES (16, 32 or 64), the
// table's name and the matching instruction set. Nothing here is inline or weak, so that no other file can end up
// with code for an instruction set that the processor lacks.
//
//     loads   | s0 | s1 | s2 |               3 : 8, one step
//     stores  | s0 | s1 | s2 | s0 | s1 | s2 | s0 | s1 |
//
// Where there are more loads than stores, the surplus is folded into the last store.
#include "Limit.h"

namespace Bench {
namespace {

using Vector [[gnu::vector_size(VECTOR_BYTES), gnu::aligned(1), gnu::may_alias]] = uint8_t;

template <unsigned loads, unsigned stores>
void Limit(uint8_t* dst, const uint8_t* src, size_t srcBytes) {
    for (size_t steps = srcBytes / (loads * sizeof(Vector)); steps != 0; --steps) {
        Vector v[loads];
        for (unsigned i = 0; i < loads; ++i) {
            v[i] = reinterpret_cast<const Vector*>(src)[i];
        }
        for (unsigned i = stores; i < loads; ++i) {
            v[stores - 1] ^= v[i];
        }
        for (unsigned i = 0; i < stores; ++i) {
            reinterpret_cast<Vector*>(dst)[i] = v[i % loads];
        }
        src += loads * sizeof(Vector);
        dst += stores * sizeof(Vector);
    }
}

template <unsigned loads, unsigned stores>
constexpr LimitShape Shape() {
    return {loads, stores, Limit<loads, stores>};
}

}  // namespace

constinit const LimitTable LIMIT_TABLE = {
    VECTOR_BYTES,
    {Shape<1, 4>(), Shape<1, 3>(), Shape<1, 2>(), Shape<2, 3>(), Shape<3, 4>(), Shape<1, 1>(), Shape<3, 2>(),
     Shape<2, 1>(), Shape<3, 8>(), Shape<5, 6>(), Shape<4, 3>()},
};

}  // namespace Bench
