#!/usr/bin/python3
"""Reference best subsets for tests/selection/data/subsets.txt.

Every subset of the candidates is fitted by least squares (numpy, with an
intercept, rows scaled by the square roots of frequency times weight), and
the best ones are kept per size for R-squared and overall for adjusted
R-squared and Mallows Cp.  For the unweighted sets, R's leaps::regsubsets
(exhaustive) is run too, and its best subsets per size must agree.
Run: python3 tools/gen_selection_refs.py > tests/selection/data/subsets.txt
"""
import itertools
import subprocess
import sys
import tempfile

import numpy as np

N_BEST_SIZE = 3
N_BEST_OVERALL = 5


def make_set(seed, n, p, weighted):
    rng = np.random.default_rng(seed)
    base = rng.standard_normal((n, p))
    mix = np.eye(p) + 0.4 * rng.standard_normal((p, p))
    x = base @ mix
    beta = np.zeros(p)
    beta[rng.choice(p, size=max(2, p // 3), replace=False)] = rng.uniform(0.5, 2.0, size=max(2, p // 3))
    y = 3 + x @ beta + rng.standard_normal(n)
    f = rng.integers(1, 4, size=n).astype(float) if weighted else np.ones(n)
    w = rng.uniform(0.5, 2.0, size=n) if weighted else np.ones(n)
    return np.round(x, 6), np.round(y, 6), f, np.round(w, 6)


def rss_of(x, y, sw, subset):
    design = np.column_stack([np.ones(len(y))] + [x[:, j] for j in subset]) * sw[:, None]
    coef, *_ = np.linalg.lstsq(design, y * sw, rcond=None)
    r = y * sw - design @ coef
    return float(r @ r)


def all_subsets(x, y, f, w):
    p = x.shape[1]
    sw = np.sqrt(f * w)
    table = []
    for k in range(1, p + 1):
        for subset in itertools.combinations(range(p), k):
            table.append((rss_of(x, y, sw, subset), subset))
    return table


def leaps_best(x, y, n_best):
    n, p = x.shape
    data = " ".join(repr(v) for v in np.column_stack([x, y]).ravel())
    script = f"""
suppressMessages(library(leaps))
d <- matrix(scan(text="{data}", quiet=TRUE), ncol={p + 1}, byrow=TRUE)
s <- summary(regsubsets(d[, 1:{p}], d[, {p + 1}], nbest={n_best}, nvmax={p}, method="exhaustive", really.big=TRUE))
for (i in seq_len(nrow(s$which))) cat(sum(s$which[i, -1]), format(s$rss[i], digits=17), which(s$which[i, -1]) - 1, "\\n")
"""
    with tempfile.NamedTemporaryFile("w", suffix=".R") as file:
        file.write(script)
        file.flush()
        out = subprocess.run(["Rscript", file.name], capture_output=True, text=True, check=True).stdout
    rows = []
    for line in out.strip().splitlines():
        v = line.split()
        rows.append((int(v[0]), float(v[1]), tuple(int(t) for t in v[2:])))
    return rows


def main():
    sets = [("small", 1, 20, 4, False), ("medium", 2, 40, 8, False), ("wide", 3, 60, 12, False),
            ("fifteen", 4, 80, 15, False), ("weighted", 5, 30, 6, True)]
    out = sys.stdout
    print("# name n p weighted; x (n rows of p); y; f; w; then lines: criterion size value vars...", file=out)
    for name, seed, n, p, weighted in sets:
        x, y, f, w = make_set(seed, n, p, weighted)
        table = all_subsets(x, y, f, w)
        n_obs = f.sum()
        sw = np.sqrt(f * w)
        mean = np.sum(f * w * y) / np.sum(f * w)
        tss = float(np.sum(f * w * (y - mean) ** 2))
        full = rss_of(x, y, sw, tuple(range(p)))
        sigma2 = full / (n_obs - 1 - p)
        if not weighted:
            best = {}
            for k, rss, subset in leaps_best(x, y, N_BEST_SIZE):
                best.setdefault(k, []).append((rss, subset))
            for k, found in best.items():
                mine = sorted((r, s) for r, s in table if len(s) == k)[:len(found)]
                assert [s for _, s in mine] == [s for _, s in found], (name, k)
                assert all(abs(a - b[0]) <= 1e-8 * tss for (a, _), b in zip(mine, found)), (name, k)
        print(f"set {name} {n} {p} {int(weighted)}", file=out)
        print("x " + " ".join(repr(v) for v in x.ravel()), file=out)
        print("y " + " ".join(repr(v) for v in y), file=out)
        print("f " + " ".join(repr(v) for v in f), file=out)
        print("w " + " ".join(repr(v) for v in w), file=out)
        for k in range(1, p + 1):
            for rss, subset in sorted((r, s) for r, s in table if len(s) == k)[:N_BEST_SIZE]:
                print(f"r2 {k} {100 * (1 - rss / tss)!r} " + " ".join(map(str, subset)), file=out)
        adj = sorted((100 * (1 - (r / (n_obs - 1 - len(s))) / (tss / (n_obs - 1))), s) for r, s in table)
        for value, subset in adj[::-1][:N_BEST_OVERALL]:
            print(f"adj {len(subset)} {value!r} " + " ".join(map(str, subset)), file=out)
        cp = sorted((r / sigma2 + 2 * (len(s) + 1) - n_obs, s) for r, s in table)
        for value, subset in cp[:N_BEST_OVERALL]:
            print(f"cp {len(subset)} {value!r} " + " ".join(map(str, subset)), file=out)
        print("end", file=out)


if __name__ == "__main__":
    main()
