#!/usr/bin/python3
"""Reference tables for the special functions and the continuous distributions.

Writes one CSV file per function into tests/special/data/ and
tests/distributions/data/, computed with mpmath at 50 significant digits.

Run from anywhere:

    /usr/bin/python3 tools/gen_special_refs.py

Needs the Debian package python3-mpmath (apt-get install -y python3-mpmath).
The grids are fixed, so the output is the same on every run.

Column conventions (see the README.md next to the data):
  * inputs first, printed as the shortest decimal that reads back as the
    same double;
  * `value`: the true function value rounded to double, printed with %.17g;
  * `prescribed` (only where the library's algorithm is a fixed approximation
    rather than the true function): that algorithm's formula evaluated in
    mpmath at 50 digits, with the branch decisions taken in double precision
    exactly as the double form takes them;
  * `branch`: a short label of the algorithm path the double form takes.
Rows whose true value is not a normal double, and inputs the functions reject
with an error, are left out.
"""

import math
import os
import struct

import mpmath as mp

mp.mp.dps = 50

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SPECIAL_DIR = os.path.join(ROOT, "tests", "special", "data")
DISTRIBUTIONS_DIR = os.path.join(ROOT, "tests", "distributions", "data")

# Machine constants of the double form.
DMIN = 2.2250738585072014e-308      # smallest positive normal number
DMAX = 1.7976931348623157e308       # largest number
EPS3 = 2.0 ** -53                   # smallest relative spacing
EPS4 = 2.0 ** -52                   # largest relative spacing


# ----------------------------------------------------------------------------
# Formatting and grids


def to_double(v):
    """Correctly rounded double of an mpmath number (mpmath's float() truncates)."""
    if isinstance(v, float):
        return v
    if isinstance(v, int):
        return float(v)
    v = mp.mpf(v)
    return mp.libmp.to_float(v._mpf_, rnd="n")


def fmt_input(x):
    if isinstance(x, int):
        return str(x)
    if math.isinf(x):
        return "inf" if x > 0 else "-inf"
    if x == int(x) and abs(x) < 2.0 ** 53:
        return str(int(x))
    return repr(x)


def fmt_value(v):
    d = to_double(v)
    if math.isinf(d):
        return "inf" if d > 0 else "-inf"
    return "%.17g" % d


def is_normal(v):
    """True for a value representable as a normal double (or exactly zero)."""
    if v == 0:
        return True
    d = abs(to_double(v))
    return DMIN <= d < math.inf


def f32(x):
    """Nearest float to x, as a double."""
    return struct.unpack("f", struct.pack("f", x))[0]


def f32_next(x, direction):
    """Neighbouring float of the float x, upwards for direction > 0."""
    bits = struct.unpack("I", struct.pack("f", x))[0]
    if (x > 0) == (direction > 0):
        bits += 1
    else:
        bits -= 1
    return struct.unpack("f", struct.pack("I", bits))[0]


def around_f32(x):
    """The float nearest x and its two float neighbours."""
    c = f32(x)
    return [f32_next(c, -1), c, f32_next(c, 1)]


def dyadic_around(x, bits=20):
    """Multiples of 2^-bits just below and just above x, and x itself when dyadic."""
    scale = 2.0 ** bits
    lo = math.floor(x * scale) / scale
    hi = math.ceil(x * scale) / scale
    out = [lo, hi]
    if lo == hi:
        out = [lo - 1 / scale, lo, lo + 1 / scale]
    return out


def unique_sorted(values):
    return sorted(set(values))


class Table:
    def __init__(self, directory, name, inputs, prescribed=False):
        self.directory = directory
        self.name = name
        self.inputs = inputs
        self.prescribed = prescribed
        self.rows = []
        self.seen = set()

    def add(self, args, value, branch, prescribed=None):
        key = tuple(args)
        if key in self.seen:
            return
        if not is_normal(value):
            return
        if self.prescribed and not is_normal(prescribed):
            return
        self.seen.add(key)
        fields = [fmt_input(a) for a in args] + [fmt_value(value)]
        if self.prescribed:
            fields.append(fmt_value(prescribed))
        fields.append(branch)
        self.rows.append(fields)

    def write(self):
        os.makedirs(self.directory, exist_ok=True)
        header = list(self.inputs) + ["value"]
        if self.prescribed:
            header.append("prescribed")
        header.append("branch")
        path = os.path.join(self.directory, self.name + ".csv")
        with open(path, "w") as out:
            out.write(",".join(header) + "\n")
            for row in self.rows:
                out.write(",".join(row) + "\n")
        return path, len(self.rows)


def trunc(x):
    return float(math.trunc(x))


# ----------------------------------------------------------------------------
# Thresholds of the double form, computed as the library computes them


def gamma_limits():
    alnsml = math.log(DMIN)
    xmin = -alnsml
    for _ in range(10):
        xold = xmin
        xln = math.log(xmin)
        xmin -= xmin * ((xmin + 0.5) * xln - xmin - 0.2258 + alnsml) / (xmin * xln + 0.5)
        if abs(xmin - xold) < 0.005:
            break
    xmin = 0.01 - xmin
    alnbig = math.log(DMAX)
    xmax = alnbig
    for _ in range(10):
        xold = xmax
        xln = math.log(xmax)
        xmax -= xmax * ((xmax - 0.5) * xln - xmax + 0.9189 - alnbig) / (xmax * xln - 0.5)
        if abs(xmax - xold) < 0.005:
            break
    xmax -= 0.01
    return max(xmin, 1 - xmax), xmax


GAMMA_XMIN, GAMMA_XMAX = gamma_limits()
GAMMA_XSML = math.exp(max(math.log(DMIN), -math.log(DMAX)) + 0.01)
DXREL = math.sqrt(EPS4)
ERF_SQEPS = math.sqrt(2 * EPS3)
ERF_XBIG = math.sqrt(-math.log(1.772453850905516 * EPS3))
ERFC_XSML = -ERF_XBIG
_L = math.sqrt(-math.log(1.772453850905516 * DMIN))
ERFC_XMAX = _L - 0.5 * math.log(_L) / _L - 0.01


def erfc_inverse_xmax():
    s = math.sqrt(EPS4 / 12.566)
    w = -s / math.log(1.77 * s)
    l = math.log(1.77 * w)
    return 2 - (w - (l * w + s) / (l + 1))


ERFC_INV_XMAX = erfc_inverse_xmax()


# ----------------------------------------------------------------------------
# True functions in mpmath


def mpf(x):
    return mp.mpf(x)


def norm_cdf(x):
    return mp.erfc(-mpf(x) / mp.sqrt(2)) / 2


def erfc_inv_true(x):
    """y with erfc(y) = x, for 0 < x < 2, without forming 1 - x."""
    x = mpf(x)
    if x == 1:
        return mpf(0)
    if x > 1:
        return -erfc_inv_true(2 - x)
    # 0 < x < 1: y > 0, solve log erfc(y) = log x.
    lx = mp.log(x)
    if x > mp.mpf("0.3"):
        y0 = mp.erfinv(1 - x)
    else:
        y0 = mp.sqrt(-lx)
    return mp.findroot(lambda y: mp.log(mp.erfc(y)) - lx, y0, tol=mp.mpf(10) ** -45)


def norm_quantile(p):
    return -mp.sqrt(2) * erfc_inv_true(2 * mpf(p))


def betainc_cf(x, a, b):
    """Regularised incomplete beta by its continued fraction (modified Lentz),
    for x below the mean, where it converges."""
    tiny = mpf(10) ** -300
    eps = mpf(10) ** -48
    qab, qap, qam = a + b, a + 1, a - 1
    c = mpf(1)
    d = 1 - qab * x / qap
    d = 1 / (d if abs(d) > tiny else tiny)
    h = d
    for m in range(1, 200000):
        m2 = 2 * m
        for aa in (m * (b - m) * x / ((qam + m2) * (a + m2)),
                   -(a + m) * (qab + m) * x / ((a + m2) * (qap + m2))):
            d = 1 + aa * d
            d = 1 / (d if abs(d) > tiny else tiny)
            c = 1 + aa / c
            if abs(c) < tiny:
                c = tiny
            h *= d * c
        if abs(d * c - 1) < eps:
            break
    else:
        raise ArithmeticError("continued fraction did not converge")
    front = mp.exp(a * mp.log(x) + b * mp.log1p(-x) - mp.log(a) - mp.log(mp.beta(a, b)))
    return front * h


def betainc_reg(x, a, b):
    x, a, b = mpf(x), mpf(a), mpf(b)
    if x <= 0:
        return mpf(0)
    if x >= 1:
        return mpf(1)
    try:
        return mp.betainc(a, b, 0, x, regularized=True)
    except (ValueError, mp.libmp.NoConvergence):
        # mpmath's hypergeometric sum gives up for very large parameters.
        if x < (a + 1) / (a + b + 2):
            return betainc_cf(x, a, b)
        return 1 - betainc_cf(1 - x, b, a)


def check_betainc():
    """The continued fraction and mpmath's hypergeometric form agree."""
    for x, a, b in ((0.3, 2, 3), (0.01, 50, 40), (0.7, 0.5, 0.5), (0.5, 1000, 1000), (0.2, 7.25, 1.5)):
        x, a, b = mpf(x), mpf(a), mpf(b)
        ref = mp.betainc(a, b, 0, x, regularized=True)
        cf = betainc_cf(x, a, b) if x < (a + 1) / (a + b + 2) else 1 - betainc_cf(1 - x, b, a)
        assert abs(cf - ref) <= mpf(10) ** -40 * abs(ref), (x, a, b, cf, ref)


def gammainc_own(a, x):
    """Regularised lower incomplete gamma: power series below a + 1, Legendre's
    continued fraction for the complement above."""
    eps = mpf(10) ** -48
    front = mp.exp(a * mp.log(x) - x - mp.loggamma(a))
    if x < a + 1:
        term = total = 1 / a
        n = 0
        while abs(term) > eps * total:
            n += 1
            term *= x / (a + n)
            total += term
        return front * total
    tiny = mpf(10) ** -300
    b = x + 1 - a
    c = 1 / tiny
    d = 1 / b
    h = d
    for i in range(1, 1000000):
        an = -i * (i - a)
        b += 2
        d = an * d + b
        d = 1 / (d if abs(d) > tiny else tiny)
        c = b + an / c
        if abs(c) < tiny:
            c = tiny
        h *= d * c
        if abs(d * c - 1) < eps:
            break
    return 1 - front * h


def gammainc_reg(a, x):
    a, x = mpf(a), mpf(x)
    if x <= 0:
        return mpf(0)
    try:
        return mp.gammainc(a, 0, x, regularized=True)
    except (ValueError, mp.libmp.NoConvergence):
        # mpmath's hypergeometric sum gives up for very large parameters.
        return gammainc_own(a, x)


def check_gammainc():
    """The series and continued fraction agree with mpmath's own."""
    for a, x in ((0.5, 0.25), (3, 2), (3, 10), (25.5, 30), (100, 90), (0.25, 13)):
        a, x = mpf(a), mpf(x)
        ref = mp.gammainc(a, 0, x, regularized=True)
        assert abs(gammainc_own(a, x) - ref) <= mpf(10) ** -40 * ref, (a, x)


def t_cdf_true(t, df):
    if math.isinf(t):
        return mpf(1) if t > 0 else mpf(0)
    t = mpf(t)
    df = mpf(df)
    tail = betainc_reg(df / (df + t * t), df / 2, mpf(1) / 2) / 2
    return 1 - tail if t > 0 else tail


def solve_increasing(f, target, lo, hi, log_scale=False):
    """Root of f(x) = target for f nondecreasing on [lo, hi]; Illinois steps
    guarded by bisection, to about 45 digits."""
    lo = mpf(lo)
    hi = mpf(hi)
    flo = f(lo) - target
    fhi = f(hi) - target
    if flo > 0 or fhi < 0:
        raise ValueError("root not bracketed")
    tol = mp.mpf(10) ** -45
    side = 0
    for _ in range(2000):
        if hi - lo <= tol * max(abs(lo), abs(hi)) or hi - lo == 0:
            break
        if log_scale and lo > 0 and hi / lo > 4:
            x = mp.sqrt(lo * hi)
        elif fhi != flo:
            x = (lo * fhi - hi * flo) / (fhi - flo)
            if not (lo < x < hi):
                x = (lo + hi) / 2
        else:
            x = (lo + hi) / 2
        fx = f(x) - target
        if fx == 0:
            return x
        if fx < 0:
            lo, flo = x, fx
            if side == -1:
                fhi /= 2
            side = -1
        else:
            hi, fhi = x, fx
            if side == 1:
                flo /= 2
            side = 1
    return (lo + hi) / 2


def bracket_up(f, target, start):
    """Smallest power-of-two multiple of start with f >= target."""
    hi = mpf(start)
    while f(hi) < target:
        hi *= 2
    return hi


def owen_t_true(h, a):
    h = mpf(abs(h))
    sign = -1 if a < 0 else 1
    a = mpf(abs(a))
    if a == 0:
        return mpf(0)
    def f(x):
        return mp.exp(-h * h * (1 + x * x) / 2) / (1 + x * x)
    points = [mpf(0)]
    for p in ([mpf(1) / (4 * h), mpf(1) / h, mpf(4) / h] if h > 0 else []) + [mpf(1), mpf(10), mpf(100)]:
        if 0 < p < a:
            points.append(p)
    points = sorted(set(points)) + [a]
    return sign * mp.quad(f, points) / (2 * mp.pi)


def bivariate_true(x, y, rho):
    x = mpf(x)
    y = mpf(y)
    rho = mpf(rho)
    if rho == 1:
        return norm_cdf(min(x, y))
    if rho == -1:
        return max(norm_cdf(x) + norm_cdf(y) - 1, mpf(0))
    def density(r):
        q = 1 - r * r
        return mp.exp(-(x * x - 2 * r * x * y + y * y) / (2 * q)) / (2 * mp.pi * mp.sqrt(q))
    # Plackett's identity: d/drho of the distribution function is the density.
    points = [mpf(0)]
    for frac in ("0.5", "0.9", "0.99", "0.999", "0.9999", "0.99999"):
        points.append(rho * mpf(frac))
    points.append(rho)
    return norm_cdf(x) * norm_cdf(y) + mp.quad(density, points)


def bivariate_by_owen(x, y, rho):
    """Second route for the bivariate normal, by Owen's T, as a cross-check."""
    x = mpf(x)
    y = mpf(y)
    rho = mpf(rho)
    r = 1 / mp.sqrt(1 - rho * rho)
    def T(h, a):
        return owen_t_true(h, a)
    if x == 0 and y == 0:
        t1 = t2 = T(0, (1 - rho) * r)
    elif x == 0:
        t1 = mpf(0.25) * mp.sign(y)
        t2 = T(y, -rho * r)
    elif y == 0:
        t2 = mpf(0.25) * mp.sign(x)
        t1 = T(x, -rho * r)
    else:
        t1 = T(x, (y / x - rho) * r)
        t2 = T(y, (x / y - rho) * r)
    v = (norm_cdf(x) + norm_cdf(y)) / 2 - t1 - t2
    if x * y < 0 or (x * y == 0 and x + y < 0):
        v -= mpf(0.5)
    return v


# ----------------------------------------------------------------------------
# Special functions


def gamma_branch(x):
    y = abs(x)
    if y <= 10:
        n = trunc(x)
        if x < 0:
            n -= 1
        f = x - n
        n -= 1
        if n == 0:
            return "series"
        if n > 0:
            return "series_up"
        big_n = -n
        if x == 0 or f * 1e20 < GAMMA_XSML * 1e20:
            return None
        if x < 0 and x + (big_n - 2) == 0:
            return None
        if x < -0.5 and abs((x - trunc(x - 0.5)) / x) < DXREL:
            return "series_down_neg_alert3"
        return "series_down" if x > 0 else "series_down_neg"
    if x > GAMMA_XMAX or x < GAMMA_XMIN:
        return None
    if x > 0:
        return "stirling"
    if abs((x - trunc(x - 0.5)) / x) < DXREL:
        return "reflection_alert3"
    return "reflection"


def gen_gamma():
    t = Table(SPECIAL_DIR, "gamma", ["x"])
    xs = []
    xs += [2.0 ** -k for k in (1, 2, 3, 5, 8, 10, 16, 20, 24, 30, 40, 53, 64, 100, 126, 127, 200, 500, 1000, 1021, 1022)]
    xs += [-2.0 ** -k for k in (1, 3, 10, 20, 40, 100, 500, 1021)]
    xs += [k / 8 for k in range(1, 81)]
    xs += [k / 8 for k in range(-79, 0) if k % 8]
    xs += [1 - 2.0 ** -20, 1 + 2.0 ** -20, 2 - 2.0 ** -20, 2 + 2.0 ** -20, 1.984375, 2.015625, 0.984375, 1.015625]
    xs += [10 - 2.0 ** -20, 10 - 1 / 64, 10 + 1 / 64, 10 + 2.0 ** -20, -10 + 1 / 64, -10 - 1 / 64,
           -10 + 2.0 ** -20, -10 - 2.0 ** -20]
    for n in (1, 2, 3, 5, 9, 10):
        for d in (2.0 ** -20, 2.0 ** -30, 2.0 ** -40):
            xs += [-n + d, -n - d]
    xs += [10.5, 11, 12.25, 15, 20, 25.5, 30, 33.25, 50, 64.75, 100, 100.5, 128, 150, 160.25, 170, 170.5, 171,
           171.5, 171.609375, 171.6171875]
    xs += [-10.5, -11.25, -11.75, -12.5, -15.5, -20.0625, -33.25, -50.5, -64.75, -100.25, -128.5, -150.75,
           -160.5, -169.5, -170.25, -170.5, -170.75]
    for n in (11, 20, 50, 100):
        for d in (2.0 ** -10, 2.0 ** -20, 2.0 ** -30, 2.0 ** -40):
            xs += [-n + d, -n - d]
    for x in unique_sorted(xs):
        b = gamma_branch(x)
        if b is None:
            continue
        t.add([x], mp.gamma(mpf(x)), b)
    return t


def gen_log_gamma():
    t = Table(SPECIAL_DIR, "log_gamma", ["x"])
    xmax = DMAX / math.log(DMAX)
    xs = []
    xs += [2.0 ** -k for k in (1, 5, 20, 53, 100, 500, 1000, 1021)]
    xs += [-2.0 ** -k for k in (1, 20, 100, 1021)]
    xs += [k / 4 for k in range(1, 41)]
    xs += [k / 4 for k in range(-39, 0) if k % 4]
    xs += [1 - 2.0 ** -20, 2 + 2.0 ** -20, 10 - 1 / 64, 10 + 1 / 64, -10 + 1 / 64, -10 - 1 / 64]
    xs += [10.5, 12, 20.5, 33.25, 100, 171.5, 200, 1000.5, 1e5, 2.0 ** 30, 2.0 ** 40, 1e10, 1e15, 1e20,
           1e50, 1e100, 1e200, 1e300, 1e305, 2.5e305]
    xs += [-10.5, -11.25, -20.75, -50.5, -100.25, -170.5, -171.5, -200.5, -1000.25, -12345.5, -1e6 - 0.5,
           -2.0 ** 30 - 0.25, -1e12 - 0.5]
    for n in (11, 20, 100, 1000):
        for d in (2.0 ** -10, 2.0 ** -30):
            xs += [-n + d, -n - d]
    for x in unique_sorted(xs):
        y = abs(x)
        if y > xmax:
            continue
        v = mp.re(mp.loggamma(mpf(x)))
        if y <= 10:
            b = gamma_branch(x)
            if b is None:
                continue
            b = "via_gamma_alert3" if b.endswith("alert3") else "via_gamma"
        elif x > 0:
            b = "stirling"
        else:
            vd = to_double(v)
            near = abs((x - trunc(x - 0.5)) * vd / x) < DXREL
            b = "reflection_alert3" if near else "reflection"
        t.add([x], v, b)
    return t


def gamit_label(a, x):
    if x == 0:
        return "x_zero"
    if x <= 1:
        return "series"
    if x <= a:
        return "cf_lower"
    q = mp.gammainc(mpf(a), mpf(x), mp.inf, regularized=True)
    return "cf_upper" if q > EPS3 else "cf_upper_negligible"


def gen_gamma_incomplete():
    t = Table(SPECIAL_DIR, "gamma_incomplete", ["a", "x"])
    avals = [2.0 ** -10, 0.125, 0.25, 0.5, 0.75, 1, 1.5, 2, 2.5, 3, 5, 7.5, 10, 20, 33.25, 50, 100, 150, 170]
    for a in avals:
        xs = [0, 2.0 ** -40, 2.0 ** -20, 0.125, 0.5, 0.984375, 1, 1.015625, 2, 10, 50, 100, 200, 500, 1000]
        xs += [a * f for f in (0.5, 0.984375, 1, 1.015625, 2)]
        for x in unique_sorted(xs):
            v = mp.gammainc(mpf(a), 0, mpf(x))
            t.add([a, x], v, gamit_label(a, x))
    return t


def gen_beta():
    t = Table(SPECIAL_DIR, "beta", ["a", "b"])
    vals = [2.0 ** -20, 2.0 ** -5, 0.25, 0.5, 1, 1.5, 2, 3.75, 9.96875, 10, 10.03125, 25.5, 60, 85.5, 100,
            150, 171, 200, 1000, 1e5]
    for a in vals:
        for b in vals:
            if b < a:
                continue
            branch = "gamma_ratio" if a + b < GAMMA_XMAX else "via_log_beta"
            # The gamma product overflows before the division when one argument is tiny.
            if branch == "gamma_ratio" and abs(mp.gamma(a) * mp.gamma(b)) > DMAX:
                continue
            t.add([a, b], mp.beta(mpf(a), mpf(b)), branch)
    return t


def gen_log_beta():
    t = Table(SPECIAL_DIR, "log_beta", ["a", "b"])
    vals = [2.0 ** -20, 2.0 ** -5, 0.25, 0.5, 1, 1.5, 2, 3.75, 9.5, 9.96875, 10, 10.03125, 10.5, 25.5, 100,
            1000, 1e5, 1e10, 1e15]
    for a in vals:
        for b in vals:
            if b < a:
                continue
            p, q = min(a, b), max(a, b)
            branch = "both_large" if p >= 10 else ("one_large" if q >= 10 else "gammas")
            for (x, y) in ((a, b), (b, a)) if a != b and a in (0.5, 10) else ((a, b),):
                t.add([x, y], mp.log(mp.beta(mpf(x), mpf(y))), branch)
    return t


def beta_incomplete_branch(x, pin, qin):
    y, p, q = x, pin, qin
    swap = not (x < 0.2 or (q <= p and x < 0.8))
    if swap:
        y, p, q = 1 - x, qin, pin
    label = "swap_" if swap else "direct_"
    if (p + q) * y / (p + 1) < EPS3:
        return label + "small"
    label += "main"
    if q - trunc(q) != 0:
        label += "_frac"
    if q > 1:
        label += "_finsum"
    return label


def gen_beta_incomplete():
    t = Table(SPECIAL_DIR, "beta_incomplete", ["x", "a", "b"])
    xs = [0, 2.0 ** -100, 2.0 ** -60, 2.0 ** -20, 0.0625, 0.125, 0.25, 0.5, 0.625, 0.75, 0.9375, 1 - 2.0 ** -20, 1]
    xs += around_f32(0.2) + around_f32(0.8)
    pairs = [(0.5, 0.5), (1, 1), (2, 3), (3, 2), (0.25, 5), (5, 0.25), (1.5, 1.5), (2.5, 0.75), (0.75, 2.5),
             (9.5, 10.5), (10, 10), (50, 40), (40, 50), (1000, 1000), (200.5, 3), (3, 200.5), (1e4, 1e4 + 0.5),
             (2.0 ** -10, 2.0 ** -10), (7, 1), (1, 7)]
    for a, b in pairs:
        for x in unique_sorted(xs):
            v = betainc_reg(x, a, b)
            t.add([x, a, b], v, beta_incomplete_branch(x, a, b))
        # The bulk of the distribution for the large pairs.
        mean = a / (a + b)
        if a + b > 100:
            sd = math.sqrt(a * b / ((a + b) ** 2 * (a + b + 1)))
            for k in (-6, -3, -1, 0, 1, 3, 6):
                x = f32(mean + k * sd)
                t.add([x, a, b], betainc_reg(x, a, b), beta_incomplete_branch(x, a, b))
    return t


def erf_branch(x):
    y = abs(x)
    if y <= 1:
        return "linear" if y <= ERF_SQEPS else "erfcs"
    if y <= ERF_XBIG:
        return "via_erfc"
    return "saturated"


def erfc_branch(x):
    if x <= ERFC_XSML:
        return "two"
    if x > ERFC_XMAX:
        return None
    y = abs(x)
    if y > 1:
        label = "erc2cs" if y * y <= 4 else "erfccs"
        return label + ("_neg" if x < 0 else "")
    return "linear" if y < ERF_SQEPS else "erfcs"


def erf_grid():
    xs = [0, 2.0 ** -40, 2.0 ** -30, 2.0 ** -26, 2.0 ** -25, 2.0 ** -20, 2.0 ** -10]
    xs += [k / 16 for k in range(1, 49)]
    xs += [1 - 2.0 ** -20, 1 + 2.0 ** -20, 2 - 2.0 ** -20, 2 + 2.0 ** -20, 1 - 1 / 64, 1 + 1 / 64,
           2 - 1 / 64, 2 + 1 / 64]
    xs += [3.25, 3.5, 4, 4.5, 5, 5.5, 5.75, 6, 6.5, 7, 8, 10, 12.5, 15, 20, 25, 26, 26.5, 26.515625, 26.53125,
           26.546875, 26.5625, 27, 30]
    xs += around_f32(ERF_XBIG) + around_f32(ERFC_XMAX) + around_f32(ERF_SQEPS)
    xs += [a for a in around_f32(math.sqrt(2))]
    return unique_sorted(xs + [-x for x in xs])


def gen_erf():
    t = Table(SPECIAL_DIR, "erf", ["x"])
    for x in erf_grid():
        t.add([x], mp.erf(mpf(x)), erf_branch(x))
    return t


def gen_erfc():
    t = Table(SPECIAL_DIR, "erfc", ["x"])
    for x in erf_grid():
        b = erfc_branch(x)
        if b is None:
            continue
        t.add([x], mp.erfc(mpf(x)), b)
    return t


def gen_erfc_inverse():
    t = Table(SPECIAL_DIR, "erfc_inverse", ["x"])
    xs = [2.0 ** -k for k in (1, 2, 3, 4, 8, 16, 24, 30, 40, 52, 53, 60, 100, 126, 149, 200, 500, 1000, 1022)]
    xs += [1e-300, 1e-100, 1e-10]
    xs += [k / 64 for k in range(1, 128)]
    xs += [0.25 - 2.0 ** -20, 0.25 + 2.0 ** -20, 1.75 - 2.0 ** -20, 1.75 + 2.0 ** -20, 1 - 2.0 ** -30,
           1 + 2.0 ** -30, 1 - 2.0 ** -52, 1 + 2.0 ** -52]
    xs += [2 - 2.0 ** -k for k in (2, 4, 8, 16, 20, 24, 30, 32, 33, 34, 40, 52)]
    xs += around_f32(ERFC_INV_XMAX)
    for x in unique_sorted(xs):
        if not 0 < x < 2:
            continue
        y = 1 - x
        if abs(y) < 0.75:
            b = "series"
        else:
            b = "newton_lower" if y >= 0 else "newton_upper"
        if x > ERFC_INV_XMAX:
            b += "_alert3"
        t.add([x], erfc_inv_true(x), b)
    return t


def gen_factorial():
    t = Table(SPECIAL_DIR, "factorial", ["n"])
    for n in range(0, 21):
        t.add([n], mpf(math.factorial(n)), "via_gamma")
    return t


def binomial_branch(n, m):
    bilnmx = math.log(DMAX) - 0.0001
    k = min(m, n - m)
    if k == 0 or n == 1:
        return "trivial"
    if k <= 20 and k * math.log(max(n, 1)) <= bilnmx:
        # Exact when every partial product stays below 2^53.
        r = 1
        for i in range(1, k + 1):
            if r * (n + 1 - i) >= 2 ** 53:
                return "product"
            r = r * (n + 1 - i) // i
        return "product_exact"
    if k > 8:
        return "stirling"
    return None


def gen_binomial_coefficient():
    t = Table(SPECIAL_DIR, "binomial_coefficient", ["n", "m"])
    cases = []
    for n in (0, 1, 2, 3, 5, 10, 20, 21, 30, 40, 41, 50, 60, 66, 67, 100, 200, 1000, 1029, 1030):
        for m in (0, 1, 2, 3, 5, 8, 9, 10, 15, 19, 20, 21, 22, 30, 50, 100, 500, 1000):
            if m <= n:
                cases.append((n, m))
        cases.append((n, n // 2))
        cases.append((n, n - 1) if n >= 1 else (0, 0))
    for n in (10 ** 4, 10 ** 6, 10 ** 9, 2 ** 40, 2 ** 50, 2 ** 52):
        for m in (1, 2, 5, 8, 9, 20, 21, 30):
            cases.append((n, m))
    for n, m in sorted(set(cases)):
        b = binomial_branch(n, m)
        if b is None:
            continue
        v = mp.binomial(n, m)
        if to_double(v) > DMAX or math.log(float(v)) > math.log(DMAX) - 0.0001:
            continue
        t.add([n, m], v, b)
    return t


# ----------------------------------------------------------------------------
# Distributions


def gen_normal_cdf():
    t = Table(DISTRIBUTIONS_DIR, "normal_cdf", ["x"])
    xs = [0, 2.0 ** -40, 2.0 ** -20, 2.0 ** -10]
    xs += [k / 8 for k in range(1, 73)]
    xs += [10, 12.5, 15, 20, 25, 30, 35, 37, 37.5, 38, 38.5, 40]
    xs += around_f32(math.sqrt(2)) + around_f32(2 * math.sqrt(2))
    xs = unique_sorted(xs + [-x for x in xs])
    for x in xs:
        w = -0.7071067811865476 * x
        b = erfc_branch(w)
        if b is None:
            continue
        t.add([x], norm_cdf(x), "erfc_" + b)
    return t


def normal_inverse_grid():
    ps = [2.0 ** -k for k in (1, 2, 3, 4, 5, 8, 10, 16, 20, 24, 30, 40, 50, 52, 53, 60, 100, 126, 200, 500,
                              1000, 1021)]
    ps += [1 - 2.0 ** -k for k in (2, 3, 4, 5, 8, 10, 16, 20, 24, 30, 32, 33, 34, 40, 50, 52, 53)]
    ps += [k / 64 for k in range(1, 64)]
    ps += [0.125 - 2.0 ** -20, 0.125 + 2.0 ** -20, 0.875 - 2.0 ** -20, 0.875 + 2.0 ** -20,
           0.5 - 2.0 ** -30, 0.5 + 2.0 ** -30, 0.5 - 2.0 ** -54, 0.5 + 2.0 ** -53]
    return unique_sorted(p for p in ps if 0 < p < 1)


def gen_normal_inverse_cdf():
    t = Table(DISTRIBUTIONS_DIR, "normal_inverse_cdf", ["p"])
    for p in normal_inverse_grid():
        x = 2 * p
        y = 1 - x
        if abs(y) < 0.75:
            b = "series"
        else:
            b = "newton_lower" if y >= 0 else "newton_upper"
        if x > ERFC_INV_XMAX:
            b += "_alert3"
        t.add([p], norm_quantile(p), b)
    return t


def anorin_prescribed(p):
    """The fast four-figure inverse of the normal, as written, in mpmath."""
    M = mp.mpf
    eps = EPS4
    def tail(s):
        w = 1 / s
        return ((M("0.01078639") * w - M("0.1498384")) * w - M("0.002028152")) * w / (
            ((w - M("0.06888301")) * w + M("0.5211733")) * w + M("0.09952975")) + M("0.0001851159")
    if eps < p < 1 - 3 * eps:
        t = abs(1 - 2 * mpf(p))
        if float(t) <= 0.85:
            u = t * t
            c = M("-0.113773") - M("0.5751703") * u / (u - M("3.293474") - M("1.896513") / (
                u - M("2.374996") - M("0.05496261") / (u - M("1.187515"))))
            branch = "central"
        else:
            s = mp.sqrt(-mp.log((1 - t) * t + (1 - t)))
            if s < 2.5:
                c = ((M("0.05073975") * s - M("0.2368201")) * s - M("0.1314774")) * s / (
                    ((s - M("7.586103")) * s + M("21.98546")) * s - M("44.27977")) - M("0.1146666")
                branch = "tail_s_below_2.5"
            elif s < 4:
                c = ((M("0.06208963") * s - M("0.3166501")) * s + M("0.3937021")) * s / (
                    ((s - M("2.962883")) * s + M("4.666263")) * s - M("6.266786")) - M("0.05668422")
                branch = "tail_s_below_4"
            else:
                c = tail(s)
                branch = "tail_s_from_4"
            t = s
    else:
        q = min(mpf(p), 1 - mpf(p))
        v = 2 * q
        s = mp.sqrt(-mp.log(v - v * v + v))
        c = tail(s)
        t = s
        branch = "outside_central"
    r = (c * t + t) * M("1.4142135623730951")
    if p < 0.5:
        r = -r
    return r, branch


def gen_l_anorin():
    t = Table(DISTRIBUTIONS_DIR, "l_anorin", ["p"], prescribed=True)
    ps = normal_inverse_grid()
    # The switches of the fast inverse: t = 0.85 and s = 2.5, 4.
    for tt in (0.85,):
        ps += around_f32((1 - tt) / 2) + around_f32((1 + tt) / 2)
    for s in (2.5, 4):
        q = float(mp.exp(-mpf(s) ** 2) / 2)
        ps += around_f32(q) + around_f32(1 - q)
    ps += [2.0 ** -52, 2.0 ** -51, 1 - 2.0 ** -51, 1 - 3 * 2.0 ** -53]
    for p in unique_sorted(ps):
        if not 0 < p < 1:
            continue
        prescribed, b = anorin_prescribed(p)
        t.add([p], norm_quantile(p), b, prescribed)
    return t


# ---- Owen's T and the bivariate normal

OWEN_HRANGE = [0.02, 0.06, 0.09, 0.125, 0.26, 0.4, 0.6, 1.6, 1.7, 2.33, 2.4, 3.36, 3.4, 4.8]
OWEN_ARANGE = [0.025, 0.09, 0.15, 0.36, 0.5, 0.9, 0.99999]
OWEN_SELECT = [
    [1, 1, 2, 13, 13, 13, 13, 13, 13, 13, 13, 16, 16, 16, 9],
    [1, 2, 2, 3, 3, 5, 5, 14, 14, 15, 15, 16, 16, 16, 9],
    [2, 2, 3, 3, 3, 5, 5, 15, 15, 15, 15, 16, 16, 16, 10],
    [2, 2, 3, 5, 5, 5, 5, 7, 7, 16, 16, 16, 16, 16, 10],
    [2, 3, 3, 5, 5, 6, 6, 8, 8, 17, 17, 17, 12, 12, 11],
    [2, 3, 5, 5, 5, 6, 6, 8, 8, 17, 17, 17, 12, 12, 12],
    [2, 3, 4, 4, 6, 6, 8, 8, 17, 17, 17, 17, 17, 12, 12],
    [2, 3, 4, 4, 6, 6, 18, 18, 18, 18, 17, 17, 17, 12, 12],
]
OWEN_METHOD = [1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 3, 4, 4, 4, 4, 5, 6]
OWEN_ORDER = [2, 3, 4, 5, 7, 10, 12, 18, 10, 20, 30, 20, 4, 7, 8, 20, 13, 0]


def owen_cell(hs, as_):
    i = next((k for k, b in enumerate(OWEN_HRANGE) if hs <= b), 14)
    j = next((k for k, b in enumerate(OWEN_ARANGE) if as_ <= b), 7)
    return i, j


def owen_branch(h, a):
    ah = abs(h) * abs(a)
    if abs(a) <= 1:
        hs, as_ = abs(h), abs(a)
        reflect = ""
    else:
        hs, as_ = ah, 1 / abs(a)
        reflect = "_reflect_small_h" if abs(h) <= 0.67 else "_reflect_large_h"
    i, j = owen_cell(hs, as_)
    code = OWEN_SELECT[j][i]
    label = "T%d_code%d_m%d" % (OWEN_METHOD[code - 1], code, OWEN_ORDER[code - 1]) + reflect
    return label + ("_neg_a" if a < 0 else "")


def gen_owen_t():
    t = Table(DISTRIBUTIONS_DIR, "l_owen_t", ["h", "a"])
    hb = [0.0] + OWEN_HRANGE + [6.0]
    ab = [0.0] + OWEN_ARANGE + [1.0]
    hmid = [f32((hb[i] + hb[i + 1]) / 2) for i in range(len(hb) - 1)] + [f32(7.5), 10.0, 15.0]
    amid = [f32((ab[j] + ab[j + 1]) / 2) for j in range(len(ab) - 1)] + [1.0]
    cases = []
    # One point inside every cell of the selection table.
    for h in hmid:
        for a in amid:
            cases.append((h, a))
    # Both sides of every h switch, at a few a; both sides of every a switch, at a few h.
    for b in OWEN_HRANGE:
        for h in around_f32(b):
            for a in (f32(0.01), f32(0.3), f32(0.7), 1.0):
                cases.append((h, a))
    for b in OWEN_ARANGE:
        for a in around_f32(b):
            for h in (f32(0.05), f32(0.5), 2.0, f32(3.38), 5.0):
                cases.append((h, a))
    # Edges: h = 0, a = 0, a = 1.
    for h in (0.0, 1.0, 4.0):
        cases.append((h, 0.0))
    for a in (f32(0.3), 1.0):
        cases.append((0.0, a))
    # Reflection for |a| > 1, on both sides of |h| = 0.67, and negative a.
    for a in (1.0 + 2.0 ** -20, 1.5, 4.0, 40.0, 1000.0, 1e4):
        for h in around_f32(0.67) + [0.125, 1.0, 3.0, 9.0]:
            cases.append((h, a))
    for h, a in ((0.5, -0.5), (2.0, -0.25), (0.25, -3.0), (1.5, -7.0), (-1.0, 0.5), (-2.0, -2.0)):
        cases.append((f32(h), f32(a)))
    for h, a in sorted(set(cases)):
        v = owen_t_true(h, a)
        if v == 0:
            t.add([h, a], v, owen_branch(h, a))
            continue
        t.add([h, a], v, owen_branch(h, a))
    return t


def check_owen():
    for h in (0.0, 0.5, 3.0):
        assert abs(owen_t_true(0, h) - mp.atan(h) / (2 * mp.pi)) < mpf(10) ** -40
        ph = norm_cdf(h)
        assert abs(owen_t_true(h, 1) - ph * (1 - ph) / 2) < mpf(10) ** -40


def gen_bivariate_normal_cdf():
    t = Table(DISTRIBUTIONS_DIR, "bivariate_normal_cdf", ["x", "y", "rho"])
    pairs = [(0, 0), (0, 1), (1, 0), (0, -1.5), (-1.5, 0), (1, 1), (-1, -1), (0.5, 2), (2, 0.5), (-2, 1),
             (1, -2), (-0.25, -3), (3, 3), (-3, 2.5), (2.5, -0.75), (-6, -6), (5, -5), (8, 8), (-1, 1.5)]
    rhos = [-1, -1 + 2.0 ** -30, -1 + 2.0 ** -10, -0.75, -0.5, -0.125, 0, 0.125, 0.5, 0.75, 1 - 2.0 ** -10,
            1 - 2.0 ** -20, 1 - 2.0 ** -30, 1]
    for x, y in pairs:
        for rho in rhos:
            x, y = float(x), float(y)
            v = bivariate_true(x, y, rho)
            if abs(rho) == 1:
                b = "rho_plus_one_note6" if rho > 0 else "rho_minus_one_note6"
            else:
                if abs(rho) not in (1 - 2.0 ** -20, 1 - 2.0 ** -30) or (x, y) in ((1, 1), (0, 0), (2.5, -0.75)):
                    w = bivariate_by_owen(x, y, rho)
                    assert abs(w - v) < mpf(10) ** -30, (x, y, rho, v, w)
                if x == 0 and y == 0:
                    b = "both_zero"
                elif x == 0 or y == 0:
                    b = "one_zero" + ("_minus_half" if x + y < 0 else "")
                else:
                    b = "owen_pair" + ("_minus_half" if x * y < 0 else "")
            t.add([x, y, rho], v, b)
    return t


# ---- Student t


def t_cdf_prescribed(t, df):
    """The t distribution function as the library computes it, in mpmath.
    Branch decisions use double arithmetic, formulas use 50 digits."""
    if math.isinf(t):
        return (mpf(1) if t > 0 else mpf(0)), "infinite_t"
    u = t * t
    M = mp.mpf
    if df <= u:
        U = mpf(t) ** 2
        v = betainc_reg(mpf(df) / (U + df), mpf(df) / 2, mpf(0.5))
        branch = "beta_tail"
    else:
        y = mpf(t) ** 2 / df
        b = 1 + y
        dfi = df == trunc(df)
        if not dfi or df >= 20:
            if b - 1 != 0:
                y *= mp.log(b) / (b - 1)
            a = mpf(df) - M("0.5")
            y *= a
            z = mp.sqrt(y)
            c = 48 * a * a
            w = z * (1 + (y + 3 + (((M("-0.4") * y - M("3.3")) * y - 24) * y - M("85.5")) /
                          (M("0.8") * y * y + 100 + c)) / c)
            v = mp.erfc(mp.sqrt(M("0.5")) * w) if w < M("18.8125") else mpf(0)
            branch = "normal_approx"
        elif u < 4:
            a = mp.sqrt(y)
            s = mpf(0) if df == 1 else a
            n = int(df) - 2
            while n > 1:
                s = s * (n - 1) / (b * n) + a
                n -= 2
            if n != 0:
                v = 1 - (mp.atan(a) + s / b) * M("0.63661977236758")
            else:
                v = 1 - s / mp.sqrt(b)
            branch = "nested_sum"
        else:
            a = mpf(1)
            yy = mpf(df)
            j = 0
            while True:
                j += 2
                yy = yy * (j - 1) / (j * b)
                old = a
                a += yy / (j + df)
                if a == old:
                    break
            n = int(df)
            if df > 1:
                while True:
                    if a < M("1e-30"):
                        break
                    a *= mpf(n - 1) / (b * n)
                    n -= 2
                    if not n > 1:
                        break
            if n != 0:
                v = a * mp.sqrt(b) * M("0.63661977236758") / b
            else:
                v = a
            branch = "tail_series"
    return (1 - v / 2 if t > 0 else v / 2), branch


def gen_t_cdf():
    tb = Table(DISTRIBUTIONS_DIR, "t_cdf", ["t", "df"], prescribed=True)
    dfs = [1, 2, 3, 4, 5, 7, 10, 19, 20, 21, 30, 100, 1000, 1e6, 1.5, 2.5, 7.25, 19.5, 20.5, 100.5]
    for df in dfs:
        ts = [0, 0.5, 1, 1.5, 1.984375, 2, 2.015625, 3, 4.25, 6, 10, 50, 1000, 1e10, math.inf]
        r = math.sqrt(df)
        ts += [f32(r * 0.99), f32(r), f32(r * 1.01)]
        if df >= 100:
            ts += [15, 20, 25]
        for x in unique_sorted(ts):
            for tt in ((x, -x) if x != 0 else (x,)):
                pres, b = t_cdf_prescribed(tt, df)
                tb.add([tt, df], t_cdf_true(tt, df), b, pres)
    return tb


def t_quantile_true(p, df):
    if p == 0.5:
        return mpf(0)
    q = 2 * min(mpf(p), 1 - mpf(p))
    df_ = mpf(df)
    # Two-sided tail I_z(df/2, 1/2) = q with z = df/(df+t^2); I is increasing in z.
    z = solve_increasing(lambda z: betainc_reg(z, df_ / 2, mpf(0.5)), q, 0, 1)
    v = mp.sqrt(df_ * (1 / z - 1))
    return -v if p < 0.5 else v


def beta_quantile_true(p, a, b):
    p, a, b = mpf(p), mpf(a), mpf(b)
    return solve_increasing(lambda x: betainc_reg(x, a, b), p, 0, 1)


def t_inverse_prescribed(p, df):
    M = mp.mpf
    if 0.5 - EPS4 < p < 0.5 + EPS4:
        return mpf(0), "half"
    left = p < 0.5
    Q = 2 * min(mpf(p), 1 - mpf(p))
    if abs(df - 2) <= EPS4:
        v = mp.sqrt(2 / ((2 - Q) * Q) - 2)
        branch = "df2_closed"
    elif abs(df - 1) <= EPS4:
        g = M("1.570796") * Q
        v = mp.cos(g) / mp.sin(g)
        branch = "df1_cot"
    elif df <= 2:
        w = 1 - abs(1 - 2 * mpf(p))
        b = beta_quantile_true(w, mpf(df) / 2, M("0.5"))
        v = mp.sqrt((1 / b - 1) * df)
        branch = "beta_inverse"
    else:
        a = 1 / (mpf(df) - M("0.5"))
        b = 48 / (a * a)
        c = ((20700 * a / b - 98) * a - 16) * a + M("96.36")
        d = mp.sqrt(M("1.570796") * a) * ((M("94.5") / (b + c) - 3) / b + 1) * df
        y = (d * Q) ** (mpf(2) / df)
        if y <= a + M("0.05"):
            c2 = ((df + 6) / (df * y) - M("0.089") * d - M("0.822")) * (df + 2) * 3
            y2 = (1 / c2 + M("0.5") / (df + 4)) * y - 1
            v = mp.sqrt(df * ((mpf(df) + 1) / (df + 2) * y2 + 1 / y))
            branch = "hill_tail"
        else:
            x = norm_quantile(Q / 2)
            x2 = x * x
            if df < 5:
                c += M("0.3") * (df - M("4.5")) * (x + M("0.6"))
            c += (((M("0.05") * d * x - 5) * x - 7) * x - 2) * x + b
            y = ((((M("0.4") * x2 + M("6.3")) * x2 + 36) * x2 + M("94.5")) / c - x2 - 3) / b + 1
            y = y * x
            y = a * y * y
            inner = mp.exp(y) - 1 if y > M("0.002") else y + M("0.5") * y * y
            v = mp.sqrt(df * inner)
            branch = "hill_body" + ("_df_below_5" if df < 5 else "")
    return (-v if left else v), branch


def gen_t_inverse():
    tb = Table(DISTRIBUTIONS_DIR, "t_inverse", ["p", "df"], prescribed=True)
    dfs = [1, 1.25, 1.5, 1.75, 2, 2.25, 2.5, 3, 4, 4.5, 4.75, 5, 5.5, 7, 10, 20, 30, 100, 1000, 1e5]
    ps = [2.0 ** -40, 2.0 ** -20, 2.0 ** -10, 2.0 ** -7, 0.03125, 0.125, 0.25, 0.375, 0.4375, 0.5 - 2.0 ** -20,
          0.5, 0.5 + 2.0 ** -53, 0.5 + 2.0 ** -20, 0.625, 0.75, 0.875, 0.96875, 1 - 2.0 ** -7, 1 - 2.0 ** -10,
          1 - 2.0 ** -20]
    for df in dfs:
        for p in ps:
            pres, b = t_inverse_prescribed(p, df)
            tb.add([p, df], t_quantile_true(p, df), b, pres)
    return tb


# ---- Chi-squared


def chi2_cdf_prescribed(x, df):
    """The chi-squared distribution function as the library computes it, in
    mpmath. x may be an mpmath number; decisions use its double value."""
    M = mp.mpf
    xd = to_double(x)
    x = mpf(x)
    eps = EPS4
    if xd <= 1e-12:
        return mpf(0), "tiny_zero"
    if df > 65:
        if xd < 2:
            return mpf(0), "wh_below_2_zero"
        w = M("0.2222222222222222") / df
        z = (mp.cbrt(x / df) - (1 - w)) / mp.sqrt(w)
        if z > 5:
            return mpf(1), "wh_above_5_one"
        if z < M("-18.8055"):
            return mpf(0), "wh_underflow_alert2"
        return norm_cdf(z), "wilson_hilferty"
    if xd > 200:
        return mpf(1), "above_200_one"
    a = mpf(df) / 2
    h = x / 2
    g = mp.gamma(a)
    if to_double(h) >= max(df / 4, 13):
        r = 1 / h
        c = a - 1
        t = r * c
        s = 1 + t
        for _ in range(49):
            c -= 1
            t *= r * c
            if t <= eps * s:
                break
            s += t
        return 1 - mp.exp(a * mp.log(h) - h) * s * r / g, "asymptotic"
    if df <= 25 or xd >= 2:
        s = 1 / (g * a)
        t = s
        for i in range(1, 51):
            t *= h / (i + a)
            if t <= eps * s:
                break
            s += t
        return mp.exp(a * mp.log(h) - h) * s, "series"
    return mpf(0), "mid_df_below_2_zero"


def chi2_cdf_true(x, df):
    return gammainc_reg(mpf(df) / 2, mpf(x) / 2)


def gen_chi_squared_cdf():
    tb = Table(DISTRIBUTIONS_DIR, "chi_squared_cdf", ["chi_squared", "df"], prescribed=True)
    dfs = [0.5, 1, 1.5, 2, 3, 5, 10, 24, 25, 25.5, 26, 30, 50, 64, 65, 66, 100, 1000, 1e5]
    for df in dfs:
        xs = [2.0 ** -40, 2.0 ** -39, 2.0 ** -20, 0.25, 1, 1.984375, 2, 2.015625, 25.984375, 26, 26.015625,
              199.5, 200, 200.5, 400]
        xs += [f32(df * f) for f in (0.125, 0.25, 0.5, 0.75, 1, 1.25, 1.5, 2, 3)]
        if df > 65:
            # Around z = 5 and z = -18.8055 of the Wilson-Hilferty form.
            w = 0.2222222222222222 / df
            for z in (5, 4, -4, -10, -18.8055):
                xs += around_f32(df * (z * math.sqrt(w) + 1 - w) ** 3) if z * math.sqrt(w) + 1 - w > 0 else []
        for x in unique_sorted(xs):
            pres, b = chi2_cdf_prescribed(x, df)
            tb.add([x, df], chi2_cdf_true(x, df), b, pres)
    return tb


def chi2_quantile_true(p, df):
    a = mpf(df) / 2
    f = lambda x: gammainc_reg(a, x / 2)
    hi = bracket_up(f, mpf(p), max(df, 1))
    return solve_increasing(f, mpf(p), 0, hi)


def chi2_inverse_prescribed(p, df):
    """Crossing point of the library's chi-squared distribution function with p."""
    f = lambda x: chi2_cdf_prescribed(x, df)[0]
    hi = bracket_up(f, mpf(p), max(df, 1))
    lo = mpf(0)
    # Bisection: the function is a step function at its switches.
    for _ in range(400):
        m = (lo + hi) / 2
        if f(m) < p:
            lo = m
        else:
            hi = m
        if hi - lo <= mpf(10) ** -40 * hi:
            break
    x = (lo + hi) / 2
    return x, chi2_cdf_prescribed(x, df)[1]


def gen_chi_squared_inverse_cdf():
    tb = Table(DISTRIBUTIONS_DIR, "chi_squared_inverse_cdf", ["p", "df"], prescribed=True)
    dfs = [0.5, 1, 2, 3, 5, 10, 25, 26, 30, 50, 65, 66, 100, 1000, 1e5]
    ps = [2.0 ** -30, 2.0 ** -10, 0.03125, 0.125, 0.25, 0.5, 0.75, 0.875, 0.96875, 1 - 2.0 ** -10,
          1 - 2.0 ** -20]
    for df in dfs:
        for p in ps:
            pres, b = chi2_inverse_prescribed(p, df)
            tb.add([p, df], chi2_quantile_true(p, df), "root_in_" + b, pres)
    return tb


# ---- F


def F_cdf_true(f, d1, d2):
    f, d1, d2 = mpf(f), mpf(d1), mpf(d2)
    return betainc_reg(d1 * f / (d1 * f + d2), d1 / 2, d2 / 2)


def gen_F_cdf():
    tb = Table(DISTRIBUTIONS_DIR, "F_cdf", ["f", "df_numerator", "df_denominator"])
    dfs = [(1, 1), (1, 10), (10, 1), (2, 2), (3, 7), (5, 5), (4.5, 12.5), (10, 100), (100, 10), (30, 30),
           (1000, 1000), (0.5, 0.5)]
    fs = [2.0 ** -30, 2.0 ** -10, 0.0625, 0.25, 0.5, 0.75, 1, 1.25, 1.5, 2, 3, 5, 10, 100, 1e4, 1e10]
    for d1, d2 in dfs:
        for f in fs:
            xb = d2 / (f * d1 + d2)
            tb.add([f, d1, d2], F_cdf_true(f, d1, d2),
                   "complement_of_" + beta_incomplete_branch(xb, d2 / 2, d1 / 2))
    return tb


def gen_F_inverse_cdf():
    tb = Table(DISTRIBUTIONS_DIR, "F_inverse_cdf", ["p", "df_numerator", "df_denominator"])
    dfs = [(1, 1), (1, 10), (10, 1), (2, 2), (3, 7), (5, 5), (4.5, 12.5), (10, 100), (100, 10), (30, 30),
           (1000, 1000), (0.5, 0.5)]
    ps = [2.0 ** -30, 2.0 ** -10, 0.03125, 0.125, 0.25, 0.5, 0.5 + 2.0 ** -20, 0.75, 0.875, 0.96875,
          1 - 2.0 ** -10, 1 - 2.0 ** -20]
    for d1, d2 in dfs:
        for p in ps:
            if p <= 0.5:
                b = beta_quantile_true(p, mpf(d1) / 2, mpf(d2) / 2)
                v = b * d2 / ((1 - b) * d1)
                br = "lower_half"
            else:
                b = beta_quantile_true(1 - mpf(p), mpf(d2) / 2, mpf(d1) / 2)
                v = (1 / b - 1) * d2 / d1
                br = "upper_half"
            if b < 1e-290:
                continue
            tb.add([p, d1, d2], v, br)
    return tb


# ---- Gamma distribution


def gamma_cdf_branch(x, a):
    if x == 0:
        return "zero"
    if math.log(x) >= math.log(DMAX) / 3:
        return "huge_x_one"
    return "continued_fraction" if x > 1 and x >= a else "series"


def gen_gamma_cdf():
    tb = Table(DISTRIBUTIONS_DIR, "gamma_cdf", ["x", "a"])
    avals = [2.0 ** -10, 0.125, 0.5, 1, 1.5, 2, 3.75, 10, 25.5, 100, 1000, 1e5]
    for a in avals:
        xs = [0, 2.0 ** -30, 2.0 ** -10, 0.25, 0.984375, 1, 1.015625, 2, 10, 100, 1e3, 1e5, 1e103]
        xs += [f32(a * f) for f in (0.5, 0.75, 0.984375, 1, 1.015625, 1.25, 1.5, 2)]
        if a >= 100:
            sd = math.sqrt(a)
            xs += [f32(a + k * sd) for k in (-8, -4, -2, 2, 4, 8)]
        for x in unique_sorted(xs):
            b = gamma_cdf_branch(x, a)
            if b == "huge_x_one" and a >= x / 2:
                continue
            tb.add([x, a], gammainc_reg(a, x), b)
    return tb


def gamma_quantile_true(p, a):
    a = mpf(a)
    f = lambda x: gammainc_reg(a, x)
    hi = bracket_up(f, mpf(p), max(a, 1))
    return solve_increasing(f, mpf(p), 0, hi)


def gen_gamma_inverse_cdf():
    tb = Table(DISTRIBUTIONS_DIR, "gamma_inverse_cdf", ["p", "a"])
    avals = [2.0 ** -4, 0.125, 0.5, 1, 1.5, 2, 3.75, 10, 25.5, 100, 1000, 1e5]
    ps = [2.0 ** -30, 2.0 ** -10, 0.03125, 0.125, 0.25, 0.5, 0.75, 0.875, 0.96875, 1 - 2.0 ** -10,
          1 - 2.0 ** -20]
    for a in avals:
        for p in ps:
            z = to_double(norm_quantile(p))
            b = "start_wilson_hilferty" if z * z >= 9 * a else "start_zero"
            v = gamma_quantile_true(p, a)
            if v < 1e-290:
                continue
            tb.add([p, a], v, b)
    return tb


# ---- Beta distribution

BETA_PAIRS = [(0.5, 0.5), (1, 1), (2, 3), (3, 2), (0.25, 5), (5, 0.25), (1.5, 1.5), (2.5, 0.75), (0.75, 2.5),
              (9.5, 10.5), (10, 10), (50, 40), (1000, 1000), (200.5, 3), (3, 200.5), (2, 25), (25, 2),
              (1.25, 12.5)]


def gen_beta_cdf():
    tb = Table(DISTRIBUTIONS_DIR, "beta_cdf", ["x", "pin", "qin"])
    xs = [-0.5, 0, 2.0 ** -60, 2.0 ** -20, 0.0625, 0.125, 0.25, 0.5, 0.625, 0.75, 0.9375, 1 - 2.0 ** -20, 1, 1.5]
    xs += around_f32(0.2) + around_f32(0.8)
    for a, b in BETA_PAIRS:
        for x in unique_sorted(xs):
            if x <= 0:
                tb.add([x, a, b], mpf(0), "x_not_above_0_note1")
            elif x >= 1:
                tb.add([x, a, b], mpf(1), "x_not_below_1_note1")
            else:
                tb.add([x, a, b], betainc_reg(x, a, b), "beta_incomplete_" + beta_incomplete_branch(x, a, b))
    return tb


def gen_beta_inverse_cdf():
    tb = Table(DISTRIBUTIONS_DIR, "beta_inverse_cdf", ["p", "pin", "qin"])
    ps = [2.0 ** -30, 2.0 ** -10, 0.03125, 0.125, 0.25, 0.5, 0.5 + 2.0 ** -20, 0.75, 0.875, 0.96875,
          1 - 2.0 ** -10, 1 - 2.0 ** -20]
    for a, b in BETA_PAIRS:
        for p in ps:
            v = beta_quantile_true(p, a, b)
            if v < 1e-290:
                continue
            first = "bisect_then_" if min(a, b) > 1 and 10 * min(a, b) > max(a, b) else ""
            tail = "newton_lower_tail" if p <= 0.5 else "newton_upper_tail"
            tb.add([p, a, b], v, first + tail)
    return tb


GENERATORS = [
    gen_gamma, gen_log_gamma, gen_gamma_incomplete, gen_beta, gen_log_beta, gen_beta_incomplete, gen_erf,
    gen_erfc, gen_erfc_inverse, gen_factorial, gen_binomial_coefficient,
    gen_normal_cdf, gen_normal_inverse_cdf, gen_l_anorin, gen_owen_t, gen_bivariate_normal_cdf, gen_t_cdf,
    gen_t_inverse, gen_chi_squared_cdf, gen_chi_squared_inverse_cdf, gen_F_cdf, gen_F_inverse_cdf,
    gen_gamma_cdf, gen_gamma_inverse_cdf, gen_beta_cdf, gen_beta_inverse_cdf,
]


def main():
    import sys
    check_owen()
    check_betainc()
    check_gammainc()
    wanted = set(sys.argv[1:])
    for gen in GENERATORS:
        if wanted and gen.__name__[4:] not in wanted:
            continue
        path, count = gen().write()
        print("%5d  %s" % (count, os.path.relpath(path, ROOT)))


if __name__ == "__main__":
    main()
