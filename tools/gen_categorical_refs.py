#!/usr/bin/env python3
"""Reference tables for the contingency-table tests (tests/categorical/data).

exact.csv   Fisher's exact p-value of a few hundred r by c tables from R's
            fisher.test (workspace raised where R needs it), and for the small
            ones the p-value, the observed probability and the number of
            tables by exact rational enumeration (Python fractions).
hybrid.csv  p-values under the hybrid rule (expected 5, percent 80,
            minimum 1), by a direct walk over all partial tables column by
            column, written here from the rule alone: the longest path by an
            exact dynamic programme, the shortest-path bound by its published
            greedy search, chi-squared tails from scipy.
tables.csv  Pearson's chi-squared, its p-value and the expected values from
            R's chisq.test, and the other statistics from their closed forms
            (concordant and discordant pairs counted pair by pair).

Needs Rscript (r-base-core), scipy and numpy.  Run from the repository root:
    python3 tools/gen_categorical_refs.py
"""
import csv
import math
import os
import random
import subprocess
import tempfile
from fractions import Fraction
from functools import lru_cache

import numpy as np
from scipy.stats import chi2

OUT = os.path.join(os.path.dirname(__file__), "..", "tests", "categorical", "data")
T_TOL = 2.0 ** -26  # sqrt of the double spacing at 1


def fmt(x):
    return "nan" if x is None or (isinstance(x, float) and math.isnan(x)) else repr(float(x))


def cells_text(m):
    return " ".join(str(int(v)) for row in m for v in row)


# ---- The tables ------------------------------------------------------------

def random_table(rng, r, c, total, kind):
    """A table of the given shape and total; kind sparse, dense, skewed, zeros."""
    if kind == "dense":
        weights = [[1.0] * c for _ in range(r)]
    elif kind == "skewed":
        weights = [[rng.random() ** 3 + 0.01 for _ in range(c)] for _ in range(r)]
    else:
        weights = [[rng.random() if rng.random() < 0.6 else 0.02 for _ in range(c)] for _ in range(r)]
    flat = [w for row in weights for w in row]
    s = sum(flat)
    counts = [0] * (r * c)
    for _ in range(total):
        u = rng.random() * s
        k = 0
        while k < len(flat) - 1 and u > flat[k]:
            u -= flat[k]
            k += 1
        counts[k] += 1
    m = [counts[i * c:(i + 1) * c] for i in range(r)]
    if kind == "zeros":
        if rng.random() < 0.5:
            i = rng.randrange(r)
            m[i] = [0] * c
        else:
            j = rng.randrange(c)
            for row in m:
                row[j] = 0
    return m


def exact_tables(rng):
    tables = []
    shapes = [(2, 2), (2, 3), (3, 2), (2, 4), (3, 3), (2, 5), (3, 4), (4, 3), (2, 6), (4, 4), (3, 5),
              (5, 3), (4, 5), (5, 4), (3, 6), (5, 5), (4, 6), (5, 6), (6, 5)]
    for shape in shapes:
        r, c = shape
        cap = {4: 400, 6: 300, 8: 300, 9: 250, 10: 200, 12: 150, 15: 120, 16: 100, 18: 80,
               20: 70, 24: 55, 25: 50, 30: 40}.get(r * c, 300)
        for n in range(16):
            total = rng.choice([rng.randint(3, 15), rng.randint(15, 40), rng.randint(40, cap)])
            total = min(total, cap)
            kind = ["sparse", "dense", "skewed", "zeros"][n % 4]
            tables.append((f"t{r}x{c}_{n}", random_table(rng, r, c, total, kind)))
    # Degenerate and hand-picked shapes.
    tables += [("all_in_one_cell", [[7, 0], [0, 0]]), ("one_row_of_counts", [[0, 0, 0], [2, 5, 1]]),
               ("identity3", [[4, 0, 0], [0, 4, 0], [0, 0, 4]]), ("uniform2x4", [[3, 3, 3, 3], [3, 3, 3, 3]]),
               ("lady_tasting_tea", [[3, 1], [1, 3]]), ("job_satisfaction", [[1, 2, 1, 0], [3, 3, 6, 1],
                                                                             [10, 10, 14, 9], [6, 7, 12, 11]])]
    return tables


# ---- R's fisher.test ---------------------------------------------------------

def r_fisher(tables):
    with tempfile.TemporaryDirectory() as tmp:
        path = os.path.join(tmp, "tables.txt")
        with open(path, "w") as f:
            for _, m in tables:
                f.write(f"{len(m)} {len(m[0])} {cells_text(m)}\n")
        script = f"""
lines <- readLines("{path}")
for (line in lines) {{
  v <- as.numeric(strsplit(line, " ")[[1]])
  m <- matrix(v[-(1:2)], nrow = v[1], ncol = v[2], byrow = TRUE)
  p <- NA
  for (w in c(2e5, 2e7, 2e8)) {{
    p <- tryCatch(fisher.test(m, workspace = w)$p.value, error = function(e) NA)
    if (!is.na(p)) break
  }}
  cat(sprintf("%.17g\\n", p))
}}
"""
        out = subprocess.run(["Rscript", "-e", script], check=True, capture_output=True, text=True).stdout
    return [float("nan") if x == "NA" else float(x) for x in out.split()]


# ---- Exact rational enumeration ------------------------------------------------

def tables_with_margins(rows, cols):
    """Every table with these margins, column by column."""
    r, c = len(rows), len(cols)

    def fill(j, remaining):
        if j == c - 1:
            yield [[x] for x in remaining]
            return
        def column(i, left, rem):
            if i == r - 1:
                if left <= rem[i]:
                    yield [left]
                return
            room_below = sum(rem[i + 1:])
            for x in range(max(0, left - room_below), min(rem[i], left) + 1):
                for rest in column(i + 1, left - x, rem):
                    yield [x] + rest
        for col in column(0, cols[j], remaining):
            for rest in fill(j + 1, [a - b for a, b in zip(remaining, col)]):
                yield [[col[i]] + rest[i] for i in range(r)]
    yield from fill(0, list(rows))


def rational_fisher(m):
    rows = [sum(row) for row in m]
    cols = [sum(col) for col in zip(*m)]
    n = sum(rows)
    const = Fraction(math.prod(math.factorial(x) for x in rows) * math.prod(math.factorial(x) for x in cols),
                     math.factorial(n))

    def prob(t):
        return const / math.prod(math.factorial(x) for row in t for x in row)

    observed = prob(m)
    p = Fraction(0)
    count = 0
    for t in tables_with_margins(rows, cols):
        count += 1
        q = prob(t)
        if q <= observed:
            p += q
    return float(p), float(observed), count


def table_count_estimate(m):
    rows = [sum(row) for row in m]
    cols = [sum(col) for col in zip(*m)]
    est = 1.0
    for c in cols[:-1]:
        est *= math.comb(c + len(rows) - 1, len(rows) - 1)
    return est


# ---- The hybrid rule, walked path by path ------------------------------------------

def log_fact(n):
    return math.lgamma(n + 1)


class Hybrid:
    def __init__(self, m, expect=5.0, percent=80.0, minimum=1.0):
        if len(m) > len(m[0]):
            m = [list(col) for col in zip(*m)]
        self.m = m
        self.expect, self.percent, self.emin = expect, percent, minimum
        self.rows = sorted(sum(row) for row in m)
        self.cols = sorted(sum(col) for col in zip(*m))
        self.n = sum(self.rows)
        self.F = [0.0] * (self.n + 1)
        for k in range(2, self.n + 1):
            self.F[k] = self.F[k - 1] + math.log(k)
        F = self.F
        dro = F[self.n] - sum(F[x] for x in self.rows)
        self.obs = T_TOL + sum(F[sum(col)] - sum(F[x] for x in col) for col in zip(*m)) - dro
        self.root = -dro

    @lru_cache(maxsize=None)
    def min_sum_f(self, rows, cols):
        """The exact minimum of sum log x! over the tables with these margins."""
        if not cols:
            return 0.0
        n = cols[0]
        best = math.inf
        for v in self.fillings(rows, n):
            rest = tuple(sorted(a - b for a, b in zip(rows, v)))
            best = min(best, sum(self.F[x] for x in v) + self.min_sum_f(rest, cols[1:]))
        return best

    @staticmethod
    def fillings(cap, n):
        if not cap:
            if n == 0:
                yield ()
            return
        for x in range(min(cap[0], n) + 1):
            for rest in Hybrid.fillings(cap[1:], n - x):
                yield (x,) + rest

    def shortest_bound(self, R, C, base):
        """The greedy search with limited backtracking for the largest sum log x!."""
        F, p, q = self.F, len(R), len(C)
        if p == 0:
            return base
        if p == 1:
            return base - sum(F[x] for x in C)
        if q == 1:
            return base - sum(F[x] for x in R)
        if p == 2 and q == 2:
            if R[1] <= C[1]:
                return base - (F[R[1]] + F[C[0]] + F[C[1] - R[1]])
            return base - (F[C[1]] + F[R[0]] + F[R[1] - C[1]])
        rows = {1: sorted(R, reverse=True)}
        cols = {1: sorted(C, reverse=True)}
        np_, nq = p, q
        y, best = 0.0, 0.0
        L, alt = 1, 1
        saved = {1: (p, q, 0.0)}
        rec = {}
        cnt, side = 0, "R"
        state = "enter"
        while True:
            if state == "enter":
                a, b = rows[L][0], cols[L][0]
                if a > b:
                    side, cnt = ("C", nq - 1) if np_ >= nq else ("R", np_)
                elif a < b:
                    side, cnt = ("R", np_ - 1) if np_ <= nq else ("C", nq)
                else:
                    side, cnt = ("R", np_ - 1) if np_ <= nq else ("C", nq - 1)
                state = "place"
            elif state == "place":
                i, j = (alt - 1, 0) if side == "R" else (0, alt - 1)
                rr, cc = list(rows[L]), list(cols[L])
                u, w = rr[i], cc[j]
                y += F[min(u, w)]
                if u == w:
                    del rr[i]
                    del cc[j]
                elif u > w:
                    del cc[j]
                    rr[i] = u - w
                else:
                    del rr[i]
                    cc[j] = w - u
                rr.sort(reverse=True)
                cc.sort(reverse=True)
                np_, nq = len(rr), len(cc)
                if np_ == 1 or nq == 1:
                    y += sum(F[x] for x in (cc if np_ == 1 else rr))
                    state = "complete"
                    continue
                rec[L] = (alt, cnt, side)
                L += 1
                rows[L], cols[L] = rr, cc
                saved[L] = (np_, nq, y)
                alt = 1
                state = "enter"
            elif state == "complete":
                if y > best:
                    best = y
                    if base - best <= T_TOL:
                        return 0.0
                state = "back"
            else:
                L -= 1
                if L == 0:
                    w = base - best
                    return 0.0 if w - best <= T_TOL else w
                alt = rec[L][0] + 1
                while alt <= rec[L][1]:
                    side = rec[L][2]
                    np_, nq, y = saved[L]
                    vec = rows[L] if side == "R" else cols[L]
                    if vec[alt - 1] < vec[alt - 2]:
                        state = "place"
                        break
                    alt += 1

    def statistic(self, R, C, T, k1):
        """-2 obs less the hybrid constant, or None where the test is not applied."""
        if self.expect <= 0 or not R or C[0] < 1 or not R[0] * C[0] > T * self.emin:
            return None
        n_ge = sum(1 for a in R for b in C if a * b >= T * self.expect)
        if 100 * n_ge < k1 * len(R) * self.percent:
            return None
        nr = len(R)
        df = (nr - 1) * (k1 - 1)
        if df < 1:
            return None
        h = ((k1 - 1) * sum(math.log(a) for a in R) + (nr - 1) * sum(math.log(b) for b in C)
             + df * math.log(2 * math.pi) - (nr * k1 - 1) * math.log(T))
        return -2 * self.obs - h, df

    def p_value(self):
        if len(self.rows) == 1:
            return 1.0
        self.p = 0.0
        self.walk(0, tuple(self.rows), self.root)
        return min(1.0, self.p)

    @lru_cache(maxsize=None)
    def node(self, s, D, C, T, k1, colpart):
        R = tuple(x for x in D if x > 0)
        dlp = min(0.0, -self.min_sum_f(R, C))
        dsp = min(0.0, self.shortest_bound(R, C, colpart) - colpart)
        return dlp, dsp, self.statistic(R, C, T, k1)

    def walk(self, s, M, past):
        F = self.F
        n = self.cols[s]
        C = tuple(self.cols[s + 1:])
        k1 = len(C)
        T = sum(C)
        colpart = sum(F[x] for x in C)
        for v in self.fillings(M, n):
            D = tuple(sorted(a - b for a, b in zip(M, v)))
            A = F[n] - sum(F[x] for x in v)
            d = A + F[T] - sum(F[x] for x in D)
            if k1 >= 2:
                dlp, dsp, hyb = self.node(s, D, C, T, k1, colpart)
                lim_all = self.obs - A - colpart - dlp
                lim_any = self.obs - A - colpart - dsp
            else:
                hyb = None
                lim_all = lim_any = self.obs - d
            if past <= lim_all:
                self.p += math.exp(past + d)
            elif past < lim_any:
                if hyb is not None:
                    stat, df = hyb
                    self.p += math.exp(past + d) * chi2.sf(max(0.0, stat + 2 * (past + d)), df)
                else:
                    self.walk(s + 1, D, past + A)


def hybrid_tables(rng):
    tables = []
    for shape, total in [((2, 3), 60), ((2, 4), 70), ((3, 3), 45), ((3, 3), 70), ((2, 5), 60), ((3, 4), 40),
                         ((2, 6), 50), ((3, 2), 50), ((4, 3), 36), ((2, 2), 40)]:
        for n in range(4):
            kind = ["dense", "skewed", "sparse", "dense"][n]
            tables.append((f"h{shape[0]}x{shape[1]}_{total}_{n}", random_table(rng, *shape, total, kind)))
    return tables


# ---- Asymptotic statistics -----------------------------------------------------------------

def r_chisq(tables):
    with tempfile.TemporaryDirectory() as tmp:
        path = os.path.join(tmp, "tables.txt")
        with open(path, "w") as f:
            for _, m in tables:
                f.write(f"{len(m)} {len(m[0])} {' '.join(repr(float(v)) for row in m for v in row)}\n")
        script = f"""
lines <- readLines("{path}")
for (line in lines) {{
  v <- as.numeric(strsplit(line, " ")[[1]])
  m <- matrix(v[-(1:2)], nrow = v[1], ncol = v[2], byrow = TRUE)
  m <- m[rowSums(m) > 0, colSums(m) > 0, drop = FALSE]
  t <- suppressWarnings(chisq.test(m, correct = FALSE))
  cat(sprintf("%.17g %.17g\\n", t$statistic, t$p.value))
}}
"""
        out = subprocess.run(["Rscript", "-e", script], check=True, capture_output=True, text=True).stdout
    return [tuple(float(x) for x in line.split()) for line in out.strip().split("\n")]


def pairs(m):
    """P and Q counted over ordered pairs of observations, pair by pair of cells."""
    r, c = m.shape
    P = Q = 0.0
    A = np.zeros_like(m)
    D = np.zeros_like(m)
    for i in range(r):
        for j in range(c):
            for k in range(r):
                for l in range(c):
                    if (k - i) * (l - j) > 0:
                        A[i, j] += m[k, l]
                    elif (k - i) * (l - j) < 0:
                        D[i, j] += m[k, l]
    P = float((m * A).sum())
    Q = float((m * D).sum())
    return P, Q, A, D


def closed_forms(m):
    m = np.array(m, dtype=float)
    n = m.sum()
    ri, cj = m.sum(1), m.sum(0)
    E = np.outer(ri, cj) / n
    with np.errstate(divide="ignore", invalid="ignore"):
        g2 = 2 * np.nansum(np.where(m > 0, m * np.log(m / E), 0.0))
    nzr, nzc = int((ri > 0).sum()), int((cj > 0).sum())
    df = (nzr - 1) * (nzc - 1)
    P, Q, A, D = pairs(m)
    wr = n * n - (ri ** 2).sum()
    wc = n * n - (cj ** 2).sum()
    d = A - D
    out = {"g2": g2, "df": df, "g2_p": chi2.sf(g2, df) if df > 0 else math.nan}
    out["gamma"] = (P - Q) / (P + Q)
    out["gamma_se"] = math.sqrt(16 / (P + Q) ** 4 * (m * (Q * A - P * D) ** 2).sum())
    w = math.sqrt(wr * wc)
    taub = (P - Q) / w
    v = np.add.outer(ri * wc, cj * wr)
    out["taub"] = taub
    out["taub_se"] = math.sqrt((m * (2 * w * d + taub * v) ** 2).sum() - n ** 3 * taub ** 2 * (wr + wc) ** 2) / w ** 2
    q = min(m.shape)
    out["tauc"] = q * (P - Q) / (n * n * (q - 1))
    out["tauc_se"] = 2 * q / ((q - 1) * n * n) * math.sqrt((m * d ** 2).sum() - (P - Q) ** 2 / n)
    out["somers_row"] = (P - Q) / wr
    out["somers_row_se"] = 2 / wr ** 2 * math.sqrt((m * (wr * d - (P - Q) * (n - ri)[:, None]) ** 2).sum())
    out["somers_col"] = (P - Q) / wc
    out["somers_col_se"] = 2 / wc ** 2 * math.sqrt((m * (wc * d - (P - Q) * (n - cj)[None, :]) ** 2).sum())
    rs = np.arange(1, m.shape[0] + 1, dtype=float)
    cs = np.arange(1, m.shape[1] + 1, dtype=float)
    rbar, cbar = (ri * rs).sum() / n, (cj * cs).sum() / n
    dr, dc = rs - rbar, cs - cbar
    ssr, ssc = (ri * dr ** 2).sum(), (cj * dc ** 2).sum()
    ssrc = (m * np.outer(dr, dc)).sum()
    wcor = math.sqrt(ssr * ssc)
    corr = ssrc / wcor
    b = np.add.outer(dr ** 2 * ssc, dc ** 2 * ssr)
    out["corr"] = corr
    out["corr_se"] = math.sqrt((m * (wcor * np.outer(dr, dc) - b * ssrc / (2 * wcor)) ** 2).sum()) / wcor ** 2
    out["mh"] = (n - 1) * corr ** 2
    out["mh_p"] = chi2.sf(out["mh"], 1)
    # Lambda and uncertainty coefficients.
    row_max = m.max(1).sum()
    col_max = m.max(0).sum()
    out["lambda_cr"] = (row_max - cj.max()) / (n - cj.max())
    out["lambda_rc"] = (col_max - ri.max()) / (n - ri.max())
    out["lambda_sym"] = (row_max + col_max - cj.max() - ri.max()) / (2 * n - cj.max() - ri.max())

    def ent(x):
        x = x[x > 0] / n
        return -(x * np.log(x)).sum()
    hr, hc, hrc = ent(ri), ent(cj), ent(m.flatten())
    out["u_cr"] = (hr + hc - hrc) / hc
    out["u_rc"] = (hr + hc - hrc) / hr
    out["u_sym"] = 2 * (hr + hc - hrc) / (hr + hc)
    return out


def statistic_tables(rng):
    tables = [("smoking", [[15, 20, 8], [22, 30, 14], [9, 12, 25]]),
              ("two_by_two", [[12, 5], [7, 18]]),
              ("sparse_cells", [[1, 0, 3, 2], [0, 4, 1, 0], [2, 1, 0, 5]]),
              ("zero_row", [[5, 3, 2], [0, 0, 0], [4, 6, 9]]),
              ("wide", [[3, 7, 2, 9, 4, 6], [8, 1, 5, 2, 7, 3]])]
    for n in range(25):
        r, c = rng.randint(2, 6), rng.randint(2, 6)
        tables.append((f"s{r}x{c}_{n}", random_table(rng, r, c, rng.randint(20, 400), ["dense", "skewed"][n % 2])))
    return tables


STAT_COLUMNS = ["chi2", "chi2_p", "df", "g2", "g2_p", "mh", "mh_p", "gamma", "gamma_se", "taub", "taub_se", "tauc",
                "tauc_se", "somers_row", "somers_row_se", "somers_col", "somers_col_se", "corr", "corr_se",
                "lambda_cr", "lambda_rc", "lambda_sym", "u_cr", "u_rc", "u_sym"]


def main():
    rng = random.Random(20240514)
    os.makedirs(OUT, exist_ok=True)

    tables = exact_tables(rng)
    p_r = r_fisher(tables)
    with open(os.path.join(OUT, "exact.csv"), "w", newline="") as f:
        w = csv.writer(f, lineterminator="\n")
        w.writerow(["name", "rows", "columns", "cells", "p_r", "p_rational", "prob_rational", "n_tables"])
        for (name, m), p in zip(tables, p_r):
            if sum(map(sum, m)) == 0:
                continue  # the zero table is a note of its own, tested apart
            small = table_count_estimate(m) <= 3e4
            pr, prob, count = rational_fisher(m) if small else (None, None, None)
            w.writerow([name, len(m), len(m[0]), cells_text(m), fmt(p), fmt(pr), fmt(prob),
                        count if count is not None else -1])

    with open(os.path.join(OUT, "hybrid.csv"), "w", newline="") as f:
        w = csv.writer(f, lineterminator="\n")
        w.writerow(["name", "rows", "columns", "cells", "p_hybrid", "p_exact"])
        for name, m in hybrid_tables(rng):
            w.writerow([name, len(m), len(m[0]), cells_text(m), fmt(Hybrid(m).p_value()),
                        fmt(Hybrid(m, expect=0).p_value())])

    tables = statistic_tables(rng)
    chisq = r_chisq(tables)
    with open(os.path.join(OUT, "tables.csv"), "w", newline="") as f:
        w = csv.writer(f, lineterminator="\n")
        w.writerow(["name", "rows", "columns", "cells"] + STAT_COLUMNS)
        for (name, m), (x2, p) in zip(tables, chisq):
            s = closed_forms(m)
            s["chi2"], s["chi2_p"] = x2, p
            w.writerow([name, len(m), len(m[0]), cells_text(m)] + [fmt(s[k]) for k in STAT_COLUMNS])


if __name__ == "__main__":
    main()
