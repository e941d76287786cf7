#!/usr/bin/python3
"""Reference stepwise runs for tests/selection/data/stepwise.txt.

The step rules are applied to fresh least-squares fits (numpy lstsq with an
intercept, scipy's t distribution), not to a swept matrix: a removal is
tried first (direction not forward, some variable in, highest level in above
n_force) on the smallest |t| at the highest level in the model, removed when
p > remove; without a removal, or always forward, an entry on the largest
|t| a variable out at the lowest level would have, entered when p < enter.
Level 0 never moves.  Each run writes the model after every step and the
final four statistics per candidate.
Run: python3 tools/gen_stepwise_refs.py > tests/selection/data/stepwise.txt
"""
import numpy as np
from scipy import stats


def fit_t(x, y, model, j):
    cols = sorted(set(model) | {j})
    design = np.column_stack([np.ones(len(y))] + [x[:, c] for c in cols])
    coef, *_ = np.linalg.lstsq(design, y, rcond=None)
    resid = y - design @ coef
    df = len(y) - 1 - len(cols)
    mse = resid @ resid / df
    cov = mse * np.linalg.inv(design.T @ design)
    k = 1 + cols.index(j)
    b, se = coef[k], np.sqrt(cov[k, k])
    t = b / se
    return b, se, t, 2 * stats.t.sf(abs(t), df)


def run(x, y, levels, direction, enter, remove, n_force):
    p = x.shape[1]
    model = {j for j in range(p) if levels[j] > 0} if direction == -1 else set()
    steps = []
    while True:
        inside = [j for j in range(p) if j in model and levels[j] > 0]
        outside = [j for j in range(p) if j not in model and levels[j] > 0]
        max_level = max((levels[j] for j in inside), default=0)
        min_level = min((levels[j] for j in outside), default=0)
        removed = entered = False
        if direction <= 0 and inside and not (n_force > 0 and max_level <= n_force):
            cands = [(abs(fit_t(x, y, model, j)[2]), j) for j in inside if levels[j] == max_level]
            t, j = min(cands, key=lambda c: c[0])  # first of equals
            if fit_t(x, y, model, j)[3] > remove:
                model.remove(j)
                removed = True
        if outside and (not removed or direction == 1):
            cands = [(abs(fit_t(x, y, model, j)[2]), j) for j in outside if levels[j] == min_level]
            best = max(c[0] for c in cands)
            j = next(c[1] for c in cands if c[0] == best)
            if fit_t(x, y, model, j)[3] < enter:
                model.add(j)
                entered = True
        if not (removed or entered):
            break
        steps.append(sorted(model))
    final = [fit_t(x, y, model - {j}, j) for j in range(p)]
    return steps, final


def main():
    rng = np.random.default_rng(11)
    n, p = 50, 7
    x = np.round(rng.standard_normal((n, p)) @ (np.eye(p) + 0.3 * rng.standard_normal((p, p))), 6)
    y = np.round(1 + 1.5 * x[:, 0] - 0.8 * x[:, 3] + 0.3 * x[:, 5] + rng.standard_normal(n), 6)
    print(f"# n p; x; y; then runs: name direction enter remove n_force levels; steps; final statistics")
    print(f"data {n} {p}")
    print("x " + " ".join(repr(v) for v in x.ravel()))
    print("y " + " ".join(repr(v) for v in y))
    runs = [("backward", -1, 0.05, 0.10, 0, [1] * p), ("forward", 1, 0.05, 0.10, 0, [1] * p),
            ("stepwise", 0, 0.05, 0.10, 0, [1] * p), ("loose", 0, 0.3, 0.35, 0, [1] * p),
            ("levels", 0, 0.05, 0.10, 0, [1, 2, 2, 1, 0, 2, 1]),
            ("forced", -1, 0.05, 0.10, 1, [1, 2, 1, 2, 2, 2, 1])]
    for name, direction, enter, remove, n_force, levels in runs:
        steps, final = run(x, y, levels, direction, enter, remove, n_force)
        print(f"run {name} {direction} {enter} {remove} {n_force} " + " ".join(map(str, levels)))
        for model in steps:
            print("step " + " ".join(map(str, model)))
        for j, row in enumerate(final):
            print(f"stat {j} " + " ".join(repr(float(v)) for v in row))
        print("end")


if __name__ == "__main__":
    main()
