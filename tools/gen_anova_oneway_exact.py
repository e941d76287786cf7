"""Exact sums of squares of one-way layouts whose responses share many
leading digits, by rational arithmetic on the doubles themselves.

    python3 tools/gen_anova_oneway_exact.py

writes tests/anova/data/oneway_exact_data.csv (case, group, y) and
tests/anova/data/oneway_exact.csv (case, between and within sums of
squares, F), every number printed to 17 digits."""
import random
from fractions import Fraction

random.seed(20521)


def layout(offset, scale, sizes, shifts):
    groups = []
    for size, shift in zip(sizes, shifts):
        groups.append([offset + (shift + random.uniform(-1, 1)) * scale for _ in range(size)])
    return groups


cases = {
    "offset_1e12": layout(1e12, 0.25, [5, 7, 6], [0.0, 0.4, 1.1]),
    "offset_1e12_equal_means": layout(1e12, 0.5, [8, 8, 8, 8], [0.0, 0.0, 0.0, 0.0]),
    "leading_digits": layout(123456789.123, 1e-4, [4, 9, 6, 5], [0.0, 2.0, -1.0, 0.5]),
    "offset_1e9_many": layout(1e9, 1e-3, [40, 35, 50, 45, 30], [0.0, 0.3, 0.1, -0.2, 0.6]),
}
with open("tests/anova/data/oneway_exact_data.csv", "w") as data, open("tests/anova/data/oneway_exact.csv", "w") as out:
    data.write("case,group,y\n")
    out.write("case,between,within,f\n")
    for name, groups in cases.items():
        exact = [[Fraction(v) for v in g] for g in groups]
        total = sum(len(g) for g in exact)
        grand = sum(sum(g) for g in exact) / total
        means = [sum(g) / len(g) for g in exact]
        between = sum(len(g) * (m - grand) ** 2 for g, m in zip(exact, means))
        within = sum(sum((v - m) ** 2 for v in g) for g, m in zip(exact, means))
        f = (between / (len(exact) - 1)) / (within / (total - len(exact)))
        for i, g in enumerate(groups):
            for v in g:
                data.write("%s,%d,%r\n" % (name, i + 1, v))
        out.write("%s,%.17g,%.17g,%.17g\n" % (name, float(between), float(within), float(f)))
