#!/usr/bin/env python3
"""Effect sums of squares of complete crossed layouts, in exact rational
arithmetic, for tests/anova/crossed_test.cpp.  Each case: a line
`case <name> <k> <levels...>`, a line of responses (shortest round-trip
decimal doubles), then one line `ss <mask> <value>` per effect and
`total <value>`."""
import itertools
import random
from fractions import Fraction

def effects(levels, y):
    k = len(levels)
    cells = list(itertools.product(*[range(l) for l in levels]))
    n = len(cells)
    yf = [Fraction(v) for v in y]
    def marginal(mask):
        sums, counts = {}, {}
        for c, v in zip(cells, yf):
            key = tuple(c[d] for d in range(k) if mask >> d & 1)
            sums[key] = sums.get(key, 0) + v
            counts[key] = counts.get(key, 0) + 1
        return {key: sums[key] / counts[key] for key in sums}
    means = {m: marginal(m) for m in range(1 << k)}
    out = {}
    for m in range(1, 1 << k):
        ss = Fraction(0)
        for c in cells:
            e = Fraction(0)
            for sub in range(1 << k):
                if sub & ~m:
                    continue
                key = tuple(c[d] for d in range(k) if sub >> d & 1)
                sign = -1 if (bin(m).count('1') - bin(sub).count('1')) % 2 else 1
                e += sign * means[sub][key]
            ss += e * e
        out[m] = ss
    g = sum(yf) / n
    total = sum((v - g) ** 2 for v in yf)
    return out, total

def main():
    rng = random.Random(20261125)
    cases = [("plain", [3, 4, 2], 0.0, 10.0),
             ("offset", [4, 3, 3], 1e12, 0.01),
             ("leading", [2, 5], 123456.789, 1e-6),
             ("four", [2, 3, 2, 2], 50.0, 3.0)]
    with open("tests/anova/data/crossed.txt", "w") as f:
        for name, levels, base, spread in cases:
            n = 1
            for l in levels:
                n *= l
            y = [base + spread * rng.gauss(0, 1) + (spread * (i % levels[-1])) for i in range(n)]
            ss, total = effects(levels, y)
            f.write(f"case {name} {len(levels)} {' '.join(map(str, levels))}\n")
            f.write(" ".join(repr(v) for v in y) + "\n")
            for m, v in ss.items():
                f.write(f"ss {m} {float(v)!r}\n")
            f.write(f"total {float(total)!r}\n")

if __name__ == "__main__":
    main()
