# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The identities that the fast rows rely on, each for all values of its operands."""
import prover
import pytest
import z3
from prover import byte, constants, counterexample, low_byte, mul_high, mul_high_round, prove, word

BAYER8, BAYER_N = "src/kernels/simd/Bayer8.inc", "src/kernels/simd/BayerN.inc"
YUV, ACPI = "src/kernels/simd/Yuv.inc", "src/kernels/simd/Acpi.inc"
TABLES = "src/catalogue/LookupTables.cpp"


def test_a_false_claim_is_refuted():
    value = z3.BitVec("value", 16)
    assert counterexample(value != 4711) is not None
    with pytest.raises(AssertionError, match="does not hold for .*4711"):
        prove(value != 4711)
    with pytest.raises(AssertionError, match="fits 0 places"):
        constants(BAYER8, r"no such text (\d+)")


# Bayer, 8 bits

def third_factor():
    (factor,) = constants(BAYER8, r"MulHigh\(.*, (?:Repeat|Splat|Set1)<U16, uint16_t>\((0x[0-9A-F]+)\)\)")
    return factor


def test_mean_of_three_bytes():
    total = byte("a", 16) + byte("b", 16) + byte("c", 16)
    prove(mul_high(total, third_factor()) == z3.UDiv(total, z3.BitVecVal(3, 16)))


def test_mean_of_three_bytes_needs_this_factor():
    total = byte("a", 16) + byte("b", 16) + byte("c", 16)
    for other in (third_factor() - 1, third_factor() + 0x100):
        assert counterexample(mul_high(total, other) == z3.UDiv(total, z3.BitVecVal(3, 16))) is not None


def test_mean_of_four_bytes_fits_words():
    names = "abcd"
    narrow = sum((byte(name, 16) for name in names[1:]), byte(names[0], 16))
    wide = sum((byte(name, 32) for name in names[1:]), byte(names[0], 32))
    prove(z3.ZeroExt(16, z3.LShR(narrow, 2)) == z3.UDiv(wide, z3.BitVecVal(4, 32)))


# Bayer, 16-bit samples

def thirds_of_words():
    (factor,) = constants(BAYER_N, r"twoThirds = (?:Repeat|Splat|Set1)<U16, uint16_t>\((0x[0-9A-F]+)\)")
    return factor


def remainder_constants():
    return constants(BAYER_N, r"\(\(remainders \* (\d+)\) >> (\d+)\)")


def third(value):
    return z3.LShR(mul_high(value, thirds_of_words()), 1)


def test_third_of_a_word():
    value = z3.BitVec("value", 16)
    rest = value - third(value) * 3
    prove(z3.And(z3.ULT(rest, 3), z3.ULE(third(value), 0xFFFF // 3)))


def mean_of_three_words(a, b, c):
    """As TruncatingMean3 computes it, modulo 2^16 throughout."""
    factor, shift = remainder_constants()
    thirds = third(a) + third(b) + third(c)
    remainders = a + b + c - thirds * 3
    return thirds + z3.LShR(remainders * factor, shift)


def test_mean_of_three_words():
    """A word is three times its third and a remainder, so thirds and remainders stand for all words."""
    factor, shift = remainder_constants()
    one, three = z3.BitVecVal(1, 16), z3.BitVecVal(3, 16)
    quotients = [z3.BitVec(f"quotient {i}", 16) for i in range(3)]
    remainders = [z3.BitVec(f"remainder {i}", 16) for i in range(3)]
    largest = 0xFFFF // 3  # with nothing left over
    assumptions = [z3.And(z3.ULE(quotient, largest), z3.ULT(remainder, z3.If(quotient == largest, one, three)))
                   for quotient, remainder in zip(quotients, remainders)]
    words = [quotient * 3 + remainder for quotient, remainder in zip(quotients, remainders)]
    thirds = quotients[0] + quotients[1] + quotients[2]
    rest = words[0] + words[1] + words[2] - thirds * 3
    mean = thirds + z3.LShR(rest * factor, shift)
    wide = [z3.ZeroExt(16, value) for value in quotients + remainders]
    exact = wide[0] + wide[1] + wide[2] + z3.UDiv(wide[3] + wide[4] + wide[5], z3.BitVecVal(3, 32))
    prove(z3.ZeroExt(16, mean) == exact, *assumptions)


def test_mean_of_three_words_at_its_ends():
    """The whole function, where everything wraps the most."""
    a, b, c = (z3.BitVec(name, 16) for name in "abc")
    top = [z3.UGE(value, 0xFFFC) for value in (a, b, c)]
    total = z3.ZeroExt(16, a) + z3.ZeroExt(16, b) + z3.ZeroExt(16, c)
    prove(z3.ZeroExt(16, mean_of_three_words(a, b, c)) == z3.UDiv(total, z3.BitVecVal(3, 32)), *top)


def largest_fused_shift():
    (shift,) = constants(BAYER_N, r"kMaxFusedShift = (\d+);")
    return shift


def four_words_agree(shift):
    """Whether the sum modulo 2^16 gives the byte that the whole sum of four samples gives."""
    wide = word("a", 32) + word("b", 32) + word("c", 32) + word("d", 32)
    kept = z3.Extract(15, 0, wide)
    return low_byte(z3.LShR(kept, shift + 2)) == low_byte(z3.LShR(wide, shift + 2))


@pytest.mark.parametrize("shift", range(7))
def test_sums_modulo_65536(shift):
    assert shift <= largest_fused_shift()
    prove(four_words_agree(shift))


def test_no_larger_shift_is_fused():
    assert largest_fused_shift() == 6
    assert counterexample(four_words_agree(largest_fused_shift() + 1)) is not None


@pytest.mark.parametrize("shift", range(7))
def test_mean_of_three_words_as_four_times_itself(shift):
    """floor(floor(x / 3) / 2^s) is floor(x / (3 * 2^s)), and two bits more on top are not looked at."""
    total = z3.BitVec("total", 18)
    mean = z3.UDiv(total, z3.BitVecVal(3, 18))
    kept = z3.Extract(15, 0, mean) << 2
    exact = z3.UDiv(z3.ZeroExt(14, total), z3.BitVecVal(3 << shift, 32))
    prove(low_byte(z3.LShR(kept, shift + 2)) == low_byte(exact), z3.ULE(total, 3 * 0xFFFF))


# YUV

def chroma_factors():
    blue, red = constants(YUV, r"<U32, uint32_t>\((\d+)u \| (\d+)u << 16\)")
    return {"blue": blue, "red": red}


def table_factors():
    red, blue = constants(TABLES, r"Red is Y \+ 1\.(\d{3}) V and blue is Y \+ 1\.(\d{3}) U")
    return {"blue": 1000 + blue, "red": 1000 + red}


@pytest.mark.parametrize("colour", ["blue", "red"])
def test_tables_and_rows_have_the_same_numbers(colour):
    numbers = constants(TABLES, colour + r" = ClampToByte\(y \+ \(\((\d+) \* chroma \+ (\d+)\) >> (\d+)\)\);")
    assert numbers == (chroma_factors()[colour], 8256, 14)


def centred_chroma():
    """U - 128 for all U: the byte with its high bit turned, as a signed value."""
    chroma = z3.BitVec("chroma", 8)
    return chroma, z3.SignExt(24, chroma ^ 0x80)


@pytest.mark.parametrize("colour", ["blue", "red"])
def test_chroma_offset_by_two_rounding_multiplies(colour):
    (again,) = constants(YUV, r"MulHighRound\(times128, (?:Repeat|Splat|Set1)<I16, int16_t>\((\d+)\)\)")
    chroma, centred = centred_chroma()
    times_256 = z3.Concat(chroma ^ 0x80, z3.BitVecVal(0, 8))
    offset = mul_high_round(mul_high_round(times_256, chroma_factors()[colour]), again)
    prove(z3.SignExt(16, offset) == (centred * chroma_factors()[colour] + 8256) >> 14)


@pytest.mark.parametrize("colour", ["blue", "red"])
def test_chroma_offset_gives_the_table(colour):
    """clamp(trunc(y + f c + 0.5)) for all y and c, with the decimal factor f of the contract taken exactly."""
    _, centred = centred_chroma()
    luma = byte("luma", 32)
    thousandths = luma * 1000 + centred * table_factors()[colour] + 500
    result = luma + ((centred * chroma_factors()[colour] + 8256) >> 14)
    rest = thousandths - result * 1000
    prove(z3.If(thousandths >= 0, z3.And(rest >= 0, rest < 1000), result <= 0))


def exact_in_double_precision(luma, chroma, factor):
    """The contract in double precision, which Python has as well."""
    return int((luma + chroma * (factor / 1000)) + 0.5) == int((luma * 1000 + chroma * factor + 500) / 1000)


def test_ties_of_the_tables():
    """Only where the sum is a whole number could the rounding of double precision turn it: blue, 125 off the middle."""
    _, centred = centred_chroma()
    for colour, ties in (("red", ()), ("blue", (-125, 125))):
        rest = z3.SRem(centred * table_factors()[colour] + 500, z3.BitVecVal(1000, 32))
        prove(z3.Or(rest != 0, *(centred == tie for tie in ties)))
        for tie in ties:
            assert counterexample(z3.Or(rest != 0, centred != tie)) is not None
            assert all(exact_in_double_precision(luma, tie, table_factors()[colour]) for luma in range(256))


# ACPI

def direction(first, last, second):
    """The sum with its correction and the gradient, in the vectors' own width."""
    def size(value):
        return z3.If(value < 0, -value, value)
    return first + last + first + last + second, size(first - last) + size(second)


def green_of(bits):
    """The green step of one site, from its nine samples."""
    left, right, up, down, own, far_left, far_right, far_up, far_down = (byte(f"s{i}", bits) for i in range(9))
    across, gradient_across = direction(left, right, own + own - (far_left + far_right))
    upright, gradient_upright = direction(up, down, own + own - (far_up + far_down))
    doubled = z3.If(gradient_across < gradient_upright, across + across,
                    z3.If(gradient_upright < gradient_across, upright + upright, across + upright))
    return doubled >> 3


def test_green_fits_words():
    constants(ACPI, r"ClampToByte\(.*\(across, upright\) >> (3)\)")
    prove(z3.SignExt(16, green_of(16)) == green_of(32))


def test_tie_is_rounded_towards_zero():
    """M = sum of both estimates + 4; the double-precision rule takes (M / 8) towards zero, in exact eighths."""
    half, sign, mask, shift, kept = constants(
        ACPI, r"rounded = sum \+ (\d+);\n.*\(rounded \+ \(\(rounded >> (\d+)\) & (\d+)\)\) >> (\d+);\n"
              r".*towardsZero & (0xFF)")
    total = z3.BitVec("total", 16)
    rounded = total + half
    elements = (rounded + ((rounded >> sign) & mask)) >> shift
    wide = z3.SignExt(16, total)
    exact = (wide + 4) / 8
    # Two estimates of at most 4 * 255 + 4 * 255 each.
    prove(low_byte(elements) == low_byte(exact), total >= -4096, total <= 4096)
    assert kept == 0xFF


def test_estimates_fit_the_range_of_the_tie():
    """Both estimates together: 2 * (a + b) + second for samples of 8 bits, twice."""
    a, b, green, green_a, green_b = (byte(f"v{i}", 32) for i in range(5))
    estimate = 2 * (a + b) + 2 * green - green_a - green_b
    prove(z3.And(estimate >= -2048, estimate <= 2048))


def test_prover_knows_rounding_multiplies():
    """The model of pmulhrsw, on values worked out by hand."""
    for a, b, expected in ((0x4000, 0x4000, 0x2000), (-0x4000, 3, -1), (0x7FFF, 0x7FFF, 0x7FFE), (-1, 1, 0)):
        result = z3.simplify(prover.mul_high_round(z3.BitVecVal(a, 16), b))
        assert result.as_signed_long() == expected
