#!/usr/bin/env python3
"""Reference fits for the regression tests.

Small designs are solved in exact rational arithmetic (fractions) from the
weighted normal equations; the others are fitted by R's lm, with the
overall analysis of variance from summary.lm.  The data are written with
few enough digits that the text reads back as the same double everywhere.

Writes tests/regression/data/fits.txt, and conditioning.txt with exact fits
of ill-conditioned designs (polynomials on narrow ranges, nearly collinear
columns, columns with huge offsets), one block per case,

    name <text>
    shape <n_rows> <n_independent> <n_dependent> <intercept>
    tolerance <relative, double> <relative, float>
    x <n_rows * n_independent values, by rows>      (nan for missing)
    y <n_rows * n_dependent values, by rows>
    frequencies <n_rows values>                        (optional)
    weights <n_rows values>                            (optional)
    coefficients <n_parameters values per dependent variable>
    sscp_error <n_dependent^2 values>
    df_error <value>
    rank <value>
    n_rows_missing <value>
    anova <15 values per dependent variable>
    covariances <n_parameters^2 values per dependent variable>
    end

Run from the source tree: python3 tools/gen_regression_refs.py
"""
import math
import os
import random
import subprocess
import tempfile
from fractions import Fraction

DATA = os.path.join(os.path.dirname(__file__), "..", "tests", "regression", "data")


def fmt(v):
    if isinstance(v, float) and math.isnan(v):
        return "nan"
    if isinstance(v, (Fraction, str)):
        v = float(Fraction(v))
    if v == math.inf:
        return "inf"
    return repr(float(v))


# ---------------------------------------------------------------- exact fits
def solve(a, b):
    """Gauss-Jordan elimination over the rationals; rows of a zero pivot
    (columns dependent on earlier ones) get a zero coefficient."""
    n = len(a)
    m = [row[:] + [b[i]] for i, row in enumerate(a)]
    pivots = []
    r = 0
    for c in range(n):
        p = next((i for i in range(r, n) if m[i][c] != 0), None)
        if p is None:
            continue
        m[r], m[p] = m[p], m[r]
        for i in range(n):
            if i != r and m[i][c] != 0:
                f = m[i][c] / m[r][c]
                m[i] = [u - f * v for u, v in zip(m[i], m[r])]
        pivots.append((r, c))
        r += 1
    x = [Fraction(0)] * n
    for r, c in pivots:
        x[c] = m[r][n] / m[r][c]
    return x, len(pivots)


def invert(a, columns):
    """Inverse of the submatrix of a on the given columns, zero elsewhere."""
    n = len(a)
    out = [[Fraction(0)] * n for _ in range(n)]
    sub = [[a[i][j] for j in columns] for i in columns]
    k = len(columns)
    for e in range(k):
        unit = [Fraction(int(i == e)) for i in range(k)]
        col, _ = solve(sub, unit)
        for i in range(k):
            out[columns[i]][columns[e]] = col[i]
    return out


def exact_case(name, x, y, intercept=True, frequencies=None, weights=None, q=1):
    n = len(x)
    p_ind = len(x[0]) if n else 0
    f = [Fraction(v) for v in (frequencies or [1] * n)]
    w = [Fraction(v) for v in (weights or [1] * n)]
    rows = [([Fraction(1)] if intercept else []) + [Fraction(v) for v in xi] for xi in x]
    ys = [[Fraction(v) for v in yi] for yi in y]
    c = [fi * wi for fi, wi in zip(f, w)]
    p = len(rows[0])
    xtx = [[sum(c[i] * rows[i][a] * rows[i][b] for i in range(n)) for b in range(p)] for a in range(p)]
    coefs, sse_all, anova, covs = [], [], [], []
    rank = None
    for k in range(q):
        xty = [sum(c[i] * rows[i][a] * ys[i][k] for i in range(n)) for a in range(p)]
        b, rank = solve(xtx, xty)
        coefs.append(b)
    resid = [[ys[i][k] - sum(coefs[k][a] * rows[i][a] for a in range(p)) for k in range(q)] for i in range(n)]
    sscp = [[sum(c[i] * resid[i][j] * resid[i][k] for i in range(n)) for k in range(q)] for j in range(q)]
    df_error = sum(f) - rank
    sw = sum(c)
    # The kept columns: those the elimination pivoted on.
    kept = []
    for a in range(p):
        trial = kept + [a]
        sub = [[xtx[i][j] for j in trial] for i in trial]
        if solve(sub, [Fraction(0)] * len(trial))[1] == len(trial):
            kept = trial
    inv = invert(xtx, kept)
    for k in range(q):
        mean = sum(c[i] * ys[i][k] for i in range(n)) / sw
        total = sum(c[i] * (ys[i][k] - (mean if intercept else 0)) ** 2 for i in range(n))
        sse = sscp[k][k]
        # The model's degrees of freedom count rows, not frequencies.
        dfr = max(0, n - df_error - int(intercept))
        anova.append(anova_table(dfr, max(Fraction(0), total - sse), df_error, sse, mean))
        s2 = sse / df_error
        covs.append([inv[a][b] * s2 for a in range(p) for b in range(p)])
    return dict(name=name, n=n, p=p_ind, q=q, intercept=int(intercept), x=[v for r in x for v in r],
                y=[v for r in y for v in r], frequencies=frequencies, weights=weights,
                coefficients=[v for b in coefs for v in b], sscp=[sscp[j][k] for k in range(q) for j in range(q)],
                df_error=df_error, rank=rank, missing=0, anova=[v for t in anova for v in t],
                covariances=[v for cv in covs for v in cv], tolerance=(1e-12, 2e-4))


def ratio(a, b):
    """a / b, with a zero divisor giving a signed infinity, or NaN for 0 / 0."""
    if isinstance(a, float) and math.isnan(a) or isinstance(b, float) and math.isnan(b):
        return math.nan
    if b == 0:
        return math.nan if a == 0 else math.copysign(math.inf, a)
    if isinstance(a, float) and math.isinf(a):
        return a if b > 0 else -a
    return Fraction(a) / b


def anova_table(dfr, ssr, dfe, sse, mean):
    """The 15 values, with the F probability from R (upper tail); an
    infinite F has probability 1."""
    msr = ratio(ssr, dfr)
    mse = ratio(sse, dfe)
    f = ratio(msr, mse)
    if isinstance(f, float) and math.isnan(f):
        prob = math.nan
    elif isinstance(f, float) and math.isinf(f):
        prob = 1.0
    else:
        prob = r_upper_f(float(f), dfr, dfe)
    total = ssr + sse
    r2 = 100 * Fraction(ssr) / total
    q = ratio(mse, Fraction(total) / (dfr + dfe))
    adj = 0 if q > 1 else 100 * (1 - q)
    sd = math.sqrt(mse)
    return [dfr, dfe, dfr + dfe, ssr, sse, total, msr, mse, f, prob, r2, adj, sd, mean, 100 * sd / float(mean)]


def r_upper_f(f, d1, d2):
    expression = "cat(sprintf('%%.17g', pf(%r, %r, %r, lower.tail=FALSE)))" % (f, float(d1), float(d2))
    out = subprocess.run(["Rscript", "-e", expression], capture_output=True, text=True, check=True)
    return float(out.stdout)


# ---------------------------------------------------------------- R fits
R_SCRIPT = r"""
args <- commandArgs(TRUE)
d <- read.csv(args[1])
q <- as.integer(args[2]); intercept <- as.integer(args[3])
xs <- grep("^x", names(d), value=TRUE); ys <- grep("^y", names(d), value=TRUE)
f <- if ("f" %in% names(d)) d$f else rep(1, nrow(d))
w <- if ("w" %in% names(d)) d$w else rep(1, nrow(d))
ok <- complete.cases(d) & f != 0
n_all <- nrow(d)
missing <- sum(!complete.cases(d) & f != 0)
e <- d[rep(which(ok), f[ok]), , drop=FALSE]; we <- w[rep(which(ok), f[ok])]
X <- as.matrix(e[, xs, drop=FALSE]); Y <- as.matrix(e[, ys, drop=FALSE])
m <- if (intercept == 1) lm(Y ~ X, weights=we) else lm(Y ~ 0 + X, weights=we)
B <- as.matrix(coef(m)); B[is.na(B)] <- 0
R <- as.matrix(residuals(m))
sscp <- crossprod(R * sqrt(we))
rank <- m$rank; dfe <- m$df.residual
out <- function(key, v) cat(key, sprintf("%.17g", v), "\n")
out("coefficients", as.vector(B)); out("sscp_error", as.vector(sscp)); out("df_error", dfe); out("rank", rank)
out("n_rows_missing", missing)
p <- ncol(B) * 0 + nrow(B)
an <- c(); cv <- c()
for (k in seq_len(q)) {
  mk <- if (intercept == 1) lm(Y[, k] ~ X, weights=we) else lm(Y[, k] ~ 0 + X, weights=we)
  s <- summary(mk)
  rss <- sum(we * residuals(mk)^2)
  mean <- sum(we * Y[, k]) / sum(we)
  tss <- if (intercept == 1) sum(we * (Y[, k] - mean)^2) else sum(we * Y[, k]^2)
  # The model's degrees of freedom count rows, not frequencies.
  dfr <- max(0, n_all - missing - dfe - intercept)
  ssr <- tss - rss
  mse <- rss / dfe
  msr <- if (dfr > 0) ssr / dfr else if (ssr == 0) NaN else Inf
  Fv <- msr / mse
  pv <- if (is.infinite(Fv)) 1 else pf(Fv, dfr, dfe, lower.tail=FALSE)
  qv <- mse / (tss / (dfr + dfe))
  an <- c(an, dfr, dfe, dfr + dfe, ssr, rss, tss, msr, mse, Fv, pv,
          100 * ssr / tss, if (qv > 1) 0 else 100 * (1 - qv), sqrt(mse), mean, 100 * sqrt(mse) / mean)
  V <- vcov(mk, complete=TRUE); V[is.na(V)] <- 0
  cv <- c(cv, as.vector(V))
}
out("anova", an); out("covariances", cv)
"""


def r_case(name, x, y, intercept=True, frequencies=None, weights=None, tolerance=(1e-10, 1e-3)):
    n, p, q = len(x), len(x[0]), len(y[0])
    with tempfile.TemporaryDirectory() as tmp:
        data = os.path.join(tmp, "d.csv")
        with open(data, "w") as out:
            cols = ["x%d" % j for j in range(p)] + ["y%d" % k for k in range(q)]
            cols += (["f"] if frequencies else []) + (["w"] if weights else [])
            out.write(",".join(cols) + "\n")
            for i in range(n):
                row = [fmt(v) for v in x[i]] + [fmt(v) for v in y[i]]
                row += ([fmt(frequencies[i])] if frequencies else []) + ([fmt(weights[i])] if weights else [])
                out.write(",".join("NA" if v == "nan" else v for v in row) + "\n")
        script = os.path.join(tmp, "fit.R")
        with open(script, "w") as out:
            out.write(R_SCRIPT)
        res = subprocess.run(["Rscript", script, data, str(q), str(int(intercept))], capture_output=True,
                             text=True, check=True).stdout
    values = {}
    for line in res.splitlines():
        parts = line.split()
        values[parts[0]] = [float(v) for v in parts[1:]]
    return dict(name=name, n=n, p=p, q=q, intercept=int(intercept), x=[v for r in x for v in r],
                y=[v for r in y for v in r], frequencies=frequencies, weights=weights,
                coefficients=values["coefficients"], sscp=values["sscp_error"], df_error=values["df_error"][0],
                rank=int(values["rank"][0]), missing=int(values["n_rows_missing"][0]), anova=values["anova"],
                covariances=values["covariances"], tolerance=tolerance)


def write(cases, name):
    with open(os.path.join(DATA, name), "w") as out:
        out.write("# Generated by tools/gen_regression_refs.py; do not edit.\n")
        for c in cases:
            out.write("name %s\n" % c["name"])
            out.write("shape %d %d %d %d\n" % (c["n"], c["p"], c["q"], c["intercept"]))
            out.write("tolerance %g %g\n" % c["tolerance"])
            for key in ("x", "y", "frequencies", "weights"):
                if c.get(key):
                    out.write(key + " " + " ".join(fmt(v) for v in c[key]) + "\n")
            out.write("coefficients " + " ".join(fmt(v) for v in c["coefficients"]) + "\n")
            out.write("sscp_error " + " ".join(fmt(v) for v in c["sscp"]) + "\n")
            out.write("df_error %s\nrank %d\nn_rows_missing %d\n" % (fmt(c["df_error"]), c["rank"], c["missing"]))
            out.write("anova " + " ".join(fmt(v) for v in c["anova"]) + "\n")
            out.write("covariances " + " ".join(fmt(v) for v in c["covariances"]) + "\n")
            out.write("end\n")


def rounded(v, digits=3):
    return round(v, digits)


def main():
    rng = random.Random(20313)
    cases = []
    # Exact: a small design, then one with rational frequencies and weights
    # and a zero frequency, then a cubic on 1..8, then two dependents.
    x = [[1, 4], [2, 3], [3, 7], [4, 1], [5, 6], [6, 2]]
    y = [[3], [1], [8], [2], [9], [5]]
    cases.append(exact_case("exact_small", x, y))
    cases.append(exact_case("exact_frequencies_weights", x, y, frequencies=[1, 2, 0, 3, 1, 1],
                            weights=["1/2", "3/2", "1", "1/4", "2", "1"]))
    xc = [[t, t * t, t ** 3] for t in range(1, 9)]
    yc = [[(t * 37) % 11 - 5] for t in range(1, 9)]
    cases.append(exact_case("exact_cubic", xc, yc))
    y2 = [[3, 1], [1, 4], [8, 1], [2, 5], [9, 9], [5, 2]]
    cases.append(exact_case("exact_two_dependents", x, y2, q=2))
    cases.append(exact_case("exact_no_intercept", x, y, intercept=False))
    # Exactly collinear: the third column is the sum of the first two.
    xd = [[a, b, a + b] for a, b in x]
    cases.append(exact_case("exact_collinear", xd, y))
    # R: random designs.
    def design(n, p, q, scale=1.0, offset=0.0):
        xs = [[rounded(offset + scale * rng.gauss(0, 1)) for _ in range(p)] for _ in range(n)]
        ys = [[rounded(1 + sum((j + 1) * (v - offset) / scale for j, v in enumerate(r)) * (k + 1) +
                       rng.gauss(0, 1)) for k in range(q)] for r in xs]
        return xs, ys
    xr, yr = design(40, 3, 1)
    cases.append(r_case("r_basic", xr, yr))
    xr, yr = design(30, 2, 1)
    cases.append(r_case("r_weighted", xr, yr, weights=[rounded(rng.uniform(0.2, 3)) for _ in range(30)]))
    xr, yr = design(25, 2, 1)
    cases.append(r_case("r_frequencies", xr, yr, frequencies=[rng.choice([0, 1, 1, 2, 3]) for _ in range(25)],
                        weights=[rounded(rng.uniform(0.5, 2)) for _ in range(25)]))
    xr, yr = design(30, 3, 3)
    cases.append(r_case("r_three_dependents", xr, yr))
    xr, yr = design(20, 2, 1)
    cases.append(r_case("r_no_intercept", xr, yr, intercept=False))
    xr, yr = design(30, 3, 1)
    xr[4][1] = math.nan
    yr[9][0] = math.nan
    cases.append(r_case("r_missing", xr, yr))
    xr, yr = design(50, 3, 1, scale=1.0, offset=1e6)
    cases.append(r_case("r_huge_offset", xr, yr, tolerance=(1e-7, math.inf)))
    write(cases, "fits.txt")
    write(conditioning_cases(rng), "conditioning.txt")


def as_doubles(rows):
    """The values as the doubles the library will read, exactly."""
    return [[Fraction(float(v)) for v in row] for row in rows]


def conditioning_cases(rng):
    """Designs whose condition costs digits; references in exact arithmetic
    on the data rounded to doubles."""
    cases = []
    for degree, low, high in ((5, 1, 2), (6, 1, 2), (7, 2, 3), (8, 10, 11)):
        ts = [Fraction(low) + Fraction(high - low) * i / 24 for i in range(25)]
        x = [[t ** k for k in range(1, degree + 1)] for t in ts]
        y = [[Fraction(round(1000 * math.sin(3 * float(t)))) / 1000] for t in ts]
        name = "polynomial_degree_%d_on_%d_%d" % (degree, low, high)
        cases.append(exact_case(name, as_doubles(x), as_doubles(y)))
    for gap in (Fraction(1, 10 ** 4), Fraction(1, 10 ** 6)):
        base = [[Fraction(rng.randint(-999, 999), 100), Fraction(rng.randint(-999, 999), 100)] for _ in range(30)]
        x = [[a, a + gap * rng.randint(-5, 5), b] for a, b in base]
        y = [[Fraction(rng.randint(-9999, 9999), 100)] for _ in base]
        cases.append(exact_case("nearly_collinear_%g" % float(gap), as_doubles(x), as_doubles(y)))
    for offset in (10 ** 6, 10 ** 9):
        x = [[offset + Fraction(rng.randint(-999, 999), 100), offset + Fraction(rng.randint(-999, 999), 100)]
             for _ in range(30)]
        y = [[Fraction(rng.randint(-9999, 9999), 100)] for _ in x]
        cases.append(exact_case("offset_%g" % offset, as_doubles(x), as_doubles(y)))
    return cases


if __name__ == "__main__":
    main()
