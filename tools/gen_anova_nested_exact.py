"""Exact sums of squares for responses with many equal leading digits
(1e12 plus a small variation), by rational arithmetic on the doubles
themselves, for tests/anova/nested_test.cpp.  Run from the source tree:
    python3 tools/gen_anova_nested_exact.py
"""
import random
from fractions import Fraction

random.seed(7)


def offset_data(n):
    return [1e12 + random.uniform(-2, 2) for _ in range(n)]


def mean(values):
    return sum(values, Fraction(0)) / len(values)


def nested_ss(y, levels_lists):
    """levels_lists[d] holds, for each group at depth d, its number of groups
    (or responses, last) at depth d + 1."""
    depth_sizes = []  # for each depth, list of group sizes (responses)
    # responses per group at the deepest grouped level
    sizes = list(levels_lists[-1])
    depth_sizes.append(sizes)
    for block in reversed(levels_lists[:-1]):
        upper = []
        at = 0
        for k in block:
            upper.append(sum(sizes[at:at + k]))
            at += k
        sizes = upper
        depth_sizes.append(sizes)
    depth_sizes.reverse()  # depth_sizes[d] for depth d = 0 .. n-1
    exact = [Fraction(v) for v in y]

    def group_means(sizes):
        out, at = [], 0
        for s in sizes:
            out.append((mean(exact[at:at + s]), s, at))
            at += s
        return out

    means = [group_means(s) for s in depth_sizes]
    ss = []
    for d in range(1, len(depth_sizes)):
        total = Fraction(0)
        for m, s, at in means[d]:
            parent = next(p for p in means[d - 1] if p[2] <= at < p[2] + p[1])
            total += s * (m - parent[0]) ** 2
        ss.append(total)
    within = Fraction(0)
    for m, s, at in means[-1]:
        within += sum((v - m) ** 2 for v in exact[at:at + s])
    ss.append(within)
    return ss


def factorial_ss(y, a, b, r):
    """Two factors with r replicates: A, B, AB and within cells."""
    exact = [Fraction(v) for v in y]
    cell = lambda i, j: exact[(i * b + j) * r:(i * b + j + 1) * r]
    g = mean(exact)
    ma = [mean([v for j in range(b) for v in cell(i, j)]) for i in range(a)]
    mb = [mean([v for i in range(a) for v in cell(i, j)]) for j in range(b)]
    mc = [[mean(cell(i, j)) for j in range(b)] for i in range(a)]
    ssa = b * r * sum((m - g) ** 2 for m in ma)
    ssb = a * r * sum((m - g) ** 2 for m in mb)
    ssab = r * sum((mc[i][j] - ma[i] - mb[j] + g) ** 2 for i in range(a) for j in range(b))
    within = sum((v - mc[i][j]) ** 2 for i in range(a) for j in range(b) for v in cell(i, j))
    return [ssa, ssb, ssab, within]


with open("tests/anova/data/nested_exact.txt", "w") as out:
    def put(key, values):
        out.write(key + " " + " ".join(repr(float(v)) for v in values) + "\n")

    y = offset_data(3 * 4 * 3)
    out.write("name factorial_3x4_r3\n")
    put("levels", [3, 4, 3])
    put("y", y)
    put("ss", factorial_ss(y, 3, 4, 3))

    lists = [[3], [2, 3, 2], [2, 3, 1, 2, 4, 2, 3]]
    flat = [v for block in lists for v in block]
    y = offset_data(sum(lists[-1]))
    out.write("name nested_unequal\n")
    put("levels", flat)
    put("y", y)
    put("ss", nested_ss(y, lists))
