#!/usr/bin/env python3
"""Known answers for the nine uniform generators, computed with exact integer
arithmetic from the generators' definitions (not from the library).

Writes tests/random/known_answers.h: for each option and precision, from seed
1234567 in a fresh thread whose first call chooses the option, the first and
the 10000th deviate and an FNV-1a hash of the bit patterns of the first
100000 deviates."""
import struct
import sys

M = 2147483647
SEED = 1234567
COUNT = 100000
NTH = 10000


def f32(x):
    return struct.unpack('<f', struct.pack('<f', x))[0]


def bits(x, single):
    return struct.unpack('<I', struct.pack('<f', x))[0] if single else struct.unpack('<Q', struct.pack('<d', x))[0]


def fnv1a(values, single):
    h = 0xcbf29ce484222325
    width = 4 if single else 8
    for v in values:
        b = bits(v, single)
        for k in range(width):
            h ^= (b >> (8 * k)) & 0xff
            h = (h * 0x100000001b3) & 0xffffffffffffffff
    return h


def scales(first_option):
    modulus = 2147483648.0 if first_option == 7 else 2147483647.0
    r = 1.0 / modulus
    while r * 2147483646.0 >= 1.0:
        r *= 1.0 - 2.0 ** -53
    rf = f32(r)
    while f32(rf * f32(2147483646.0)) >= 1.0:
        rf = f32(rf * f32(1.0 - 2.0 ** -24))
    return modulus, r, rf


def scale(s, single, r, rf):
    return f32(f32(float(s)) * rf) if single else float(s) * r


MULTIPLIER = {1: 16807, 3: 397204094, 5: 950706376}


def congruential(option, n, single):
    a = MULTIPLIER[option]
    _, r, rf = scales(option)
    s = SEED
    out = []
    for _ in range(n):
        s = s * a % M
        out.append(scale(s, single, r, rf))
    return out


def shuffled(option, n, single):
    a = MULTIPLIER[option - 1]
    modulus, r, rf = scales(option)
    s = SEED
    table = []
    for _ in range(128):
        s = s * a % M
        table.append(f32(s / modulus) if single else s / modulus)
    out = []
    for _ in range(n):
        s = s * a % M
        j = s % 128
        out.append(table[j])
        table[j] = scale(s, single, r, rf)
    return out


def gfsr_words(seed):
    k = seed & 0xffffffff
    a = []
    for _ in range(521):
        k = k * 69069 & 0xffffffff
        a.append(1 if 0 < k < 2 ** 31 else 0)
    for t in range(521):  # later terms read earlier extensions
        a.append(a[t] ^ a[t + 489])
    p = 1 << 1  # the polynomial x, bit i = coefficient of x^i
    for i in range(1, 521):
        q = 0
        for d in range(521):
            if p >> d & 1:
                q |= 1 << (2 * d + (0 if i % 2 else 1))
        for d in range(1041, 520, -1):
            if q >> d & 1:
                q ^= (1 << d) | (1 << (d - 521)) | (1 << (d - 32))
        p = q
    coeffs = [p >> i & 1 for i in range(521)]

    def apply(x):
        return [sum(coeffs[i] & x[t + i] for i in range(521)) & 1 for t in range(521)]

    b = apply(a)
    for t in range(520):
        b.append(b[t] ^ b[t + 489])
    c = apply(b)
    reg = []
    for t in range(521):
        reg += [a[t], b[t], c[t]]
    masks = [1 << e for e in range(30, -1, -1)] + [0]
    i, j = 1, 1468
    words = []
    for _ in range(1563):
        w = 0
        for mask in masks:
            if reg[i - 1]:
                w += mask
            reg[i - 1] ^= reg[j - 1]
            i = i % 1563 + 1
            j = j % 1563 + 1
        words.append(w)
    return words


def gfsr(option, n, single):
    _, r, rf = scales(option)
    t = gfsr_words(SEED)
    i1, i2 = 1, 1468
    out = []
    for _ in range(n):
        x = t[i1 - 1] | 1
        out.append(scale(x, single, r, rf))
        t[i1 - 1] ^= t[i2 - 1]
        i1 = i1 % 1563 + 1
        i2 = i2 % 1563 + 1
    return out


def twister(w, n_words, m, matrix, init_mult, temper, seed, count):
    mask = (1 << w) - 1
    lower = (1 << (31 if w == 64 else 31)) - 1
    upper = mask ^ lower
    mt = [seed & mask]
    for i in range(1, n_words):
        mt.append((init_mult * (mt[-1] ^ (mt[-1] >> (w - 2))) + i) & mask)
    out = []
    index = n_words
    for _ in range(count):
        if index >= n_words:
            for i in range(n_words):
                y = (mt[i] & upper) | (mt[(i + 1) % n_words] & lower)
                mt[i] = mt[(i + m) % n_words] ^ (y >> 1) ^ (matrix if y & 1 else 0)
            index = 0
        out.append(temper(mt[index]))
        index += 1
    return out


def temper32(y):
    y ^= y >> 11
    y ^= (y << 7) & 0x9d2c5680
    y ^= (y << 15) & 0xefc60000
    return (y ^ (y >> 18)) & 0xffffffff


def temper64(x):
    x ^= (x >> 29) & 0x5555555555555555
    x ^= (x << 17) & 0x71d67fffeda60000
    x ^= (x << 37) & 0xfff7eee000000000
    return (x ^ (x >> 43)) & 0xffffffffffffffff


def mt32(option, n, single):
    ys = twister(32, 624, 397, 0x9908b0df, 1812433253, temper32, SEED, n)
    return [f32((y + 0.5) * 2.0 ** -32) if single else (y + 0.5) * 2.0 ** -32 for y in ys]


def mt64(option, n, single):
    xs = twister(64, 312, 156, 0xb5026f5aa96619e9, 0x5851f42d4c957f2d, temper64, SEED, n)
    return [f32((x >> 11) * 2.0 ** -53) if single else (x >> 11) * 2.0 ** -53 for x in xs]


GENERATORS = {1: congruential, 2: shuffled, 3: congruential, 4: shuffled, 5: congruential, 6: shuffled,
              7: gfsr, 8: mt32, 9: mt64}


def main():
    rows = []
    for single in (False, True):
        for option in range(1, 10):
            values = GENERATORS[option](option, COUNT, single)
            rows.append('    {%d, %s, %s, %s, 0x%016xull},' % (
                option, 'true' if single else 'false', repr(values[0]), repr(values[NTH - 1]),
                fnv1a(values, single)))
    out = sys.stdout if len(sys.argv) < 2 else open(sys.argv[1], 'w')
    out.write('// Generated by tools/random_known_answers.py: exact integer arithmetic from\n'
              '// the generators\' definitions.  Seed %d; the first and the %dth deviate\n'
              '// and an FNV-1a hash of the bit patterns of the first %d.\n' % (SEED, NTH, COUNT))
    out.write('#pragma once\n\n#include <cstdint>\n\n')
    out.write('constexpr int64_t kKnownSeed = %d;\nconstexpr int64_t kKnownNth = %d;\n'
              'constexpr int64_t kKnownCount = %d;\n\n' % (SEED, NTH, COUNT))
    out.write('struct KnownAnswer {\n    int64_t option;\n    bool single;\n    double first;\n'
              '    double nth;\n    uint64_t hash;\n};\n\n')
    out.write('constexpr KnownAnswer kKnownAnswers[] = {\n%s\n};\n' % '\n'.join(rows))


main()
