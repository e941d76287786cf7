#!/usr/bin/python3
"""Where the prescribed methods of the distribution functions are approximate,
and by how much: the figures that the comment blocks of include/orvls.h state.

Calls the built library through ctypes (the double forms) and compares with
mpmath (Debian package python3-mpmath), through the reference helpers of
gen_special_refs.py.  Build the shared object first:

    cmake --build build --target orvls
    /usr/bin/python3 tools/measure_limits.py [path/to/liborvls.so] [section ...]

Sections: chi_squared chi_squared_inverse t_cdf t_inverse beta_inverse
gamma_inverse (all by default), and table, which writes the points that
tests/distributions/limits_test.cpp pins, with their true values, to
tests/distributions/data/documented_limits.csv.

Each section prints the worst case found on its grid, with its arguments.
"""

import ctypes
import math
import os
import sys

import mpmath as mp

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import gen_special_refs as refs  # noqa: E402

mpf = mp.mpf
ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def load_library(path):
    os.environ.setdefault("ORVLSERRPATH", os.path.dirname(os.path.abspath(path)))
    lib = ctypes.CDLL(path)
    d = ctypes.c_double
    for name, arguments in (("orvls_20077", 2), ("orvls_20079", 2), ("orvls_20081", 2), ("orvls_20083", 2),
                            ("orvls_20091", 2), ("orvls_20095", 3)):
        getattr(lib, name).restype = d
        getattr(lib, name).argtypes = [d] * arguments
    lib.orvls_n1rty.restype = ctypes.c_int64
    lib.orvls_n1rty.argtypes = [ctypes.c_int64]
    lib.orvls_20227.restype = ctypes.c_int64
    # No report printed, and none ends the process.
    zero = ctypes.c_int64(0)
    lib.orvls_e1pos(ctypes.c_int64(0), ctypes.byref(zero), ctypes.byref(zero))
    return lib


class Library:
    def __init__(self, path):
        self.lib = load_library(path)

    def call(self, name, *arguments):
        """The value, and the (type, code) of the error the call left."""
        value = getattr(self.lib, name)(*arguments)
        return value, (self.lib.orvls_n1rty(1), self.lib.orvls_20227())

    def chi_squared_cdf(self, x, df):
        return self.call("orvls_20081", x, df)

    def t_cdf(self, t, df):
        return self.call("orvls_20077", t, df)

    def t_inverse(self, p, df):
        return self.call("orvls_20079", p, df)

    def gamma_inverse(self, p, a):
        return self.call("orvls_20091", p, a)

    def beta_inverse(self, p, pin, qin):
        return self.call("orvls_20095", p, pin, qin)


class Worst:
    """The largest error seen, with the arguments that gave it."""

    def __init__(self, what):
        self.what = what
        self.error = 0.0
        self.where = None

    def add(self, error, where):
        error = float(error)
        if error > self.error:
            self.error, self.where = error, where

    def report(self):
        print("  %-58s %.3g  at %s" % (self.what, self.error, self.where))


def relative(value, truth):
    return abs(mpf(value) - truth) / abs(truth)


def wilson_hilferty_x(z, df):
    w = 0.2222222222222222 / df
    base = z * math.sqrt(w) + 1 - w
    return df * base ** 3 if base > 0 else None


def chi_squared(library):
    """Above 65 degrees of freedom: the Wilson-Hilferty form with its cut-offs."""
    print("chi-squared cdf, df > 65 (Wilson-Hilferty)")
    lower = Worst("relative error, lower tail (value below 1/2, not cut to 0)")
    lower_by_tail = {}
    upper = Worst("relative error of 1 - value, upper tail (above 1/2, below 1)")
    absolute = Worst("absolute error")
    cut = Worst("largest true value returned as 0")
    cut_one = Worst("largest true 1 - value returned as 1")
    for df in (66, 67, 70, 80, 100, 150, 200, 300, 500, 1000, 10000, 100000):
        for i in range(-76, 22):
            z = i / 4
            x = wilson_hilferty_x(z, df)
            if x is None or x <= 0:
                continue
            value, _ = library.chi_squared_cdf(x, df)
            truth = refs.chi2_cdf_true(x, df)
            absolute.add(abs(mpf(value) - truth), (x, df))
            if value == 0:
                cut.add(truth, (x, df))
            elif value == 1:
                cut_one.add(1 - truth, (x, df))
            elif truth < 0.5:
                error = relative(value, truth)
                lower.add(error, (x, df))
                band = int(math.floor(math.log10(float(truth))))
                lower_by_tail[band] = max(lower_by_tail.get(band, 0.0), float(error))
            else:
                upper.add(relative(1 - mpf(value), 1 - truth), (x, df))
    for worst in (lower, upper, absolute, cut, cut_one):
        worst.report()
    print("  lower tail, worst relative error by decade of the true value:")
    for band in sorted(lower_by_tail):
        print("    1e%-5d %.3g" % (band, lower_by_tail[band]))


def chi_squared_inverse(library):
    """Above 65 degrees of freedom the root of the Wilson-Hilferty form."""
    print("chi-squared inverse, df > 65 (root of the Wilson-Hilferty form)")
    worst = Worst("relative error of the quantile")
    body = Worst("relative error of the quantile, 1e-6 <= p <= 1 - 1e-6")
    for df in (66, 70, 100, 200, 1000, 100000):
        for p in (1e-12, 1e-9, 1e-6, 1e-4, 1e-2, 0.1, 0.5, 0.9, 0.99, 1 - 1e-4, 1 - 1e-6):
            value, (kind, _) = library.call("orvls_20083", p, df)
            if kind >= 3:
                continue
            error = relative(value, refs.chi2_quantile_true(p, df))
            worst.add(error, (p, df))
            if 1e-6 <= p <= 1 - 1e-6:
                body.add(error, (p, df))
    worst.report()
    body.report()


def t_cdf(library):
    """Hill's normal approximation: non-integral df, or df >= 20, with t^2 < df."""
    print("t cdf, Hill's normal approximation (df not whole or df >= 20, t^2 < df)")
    tail = Worst("relative error, lower tail (t < 0, not cut to 0)")
    absolute = Worst("absolute error")
    cut = Worst("largest true value returned as 0")
    by_decade = {}
    for df in (1.25, 1.5, 2.5, 3.5, 4.5, 5.5, 7.5, 10.5, 15.5, 19.5, 20, 25, 30, 50, 100, 1000, 1e5):
        for i in range(1, 41):
            t = math.sqrt(df) * i / 40 * (1 - 1e-9)
            for sign in (-1, 1):
                value, _ = library.t_cdf(sign * t, df)
                truth = refs.t_cdf_true(sign * t, df)
                absolute.add(abs(mpf(value) - truth), (sign * t, df))
                if sign < 0 and value == 0:
                    cut.add(truth, (sign * t, df))
                elif sign < 0 and truth > 1e-300:
                    tail.add(relative(value, truth), (sign * t, df))
                    band = int(math.floor(math.log10(float(truth))))
                    by_decade[band] = max(by_decade.get(band, 0.0), float(relative(value, truth)))
    for worst in (tail, absolute, cut):
        worst.report()
    print("  lower tail, worst relative error by decade of the true value:")
    for band in sorted(by_decade):
        print("    1e%-5d %.3g" % (band, by_decade[band]))


def t_inverse(library):
    """Hill's inverse above 2 degrees of freedom, and the cotangent at df = 1."""
    print("t inverse, Hill's approximation (df > 2) and df = 1")
    hill = Worst("relative error of the quantile, df > 2")
    hill_body = Worst("relative error of the quantile, df > 2, 1e-4 <= p <= 0.5")
    one = Worst("relative error of the quantile, df = 1")
    ps = [10.0 ** -k for k in range(12, 0, -1)] + [0.2, 0.3, 0.4, 0.45, 0.49]
    for df in (1, 2.25, 2.5, 3, 4, 4.5, 5, 7.5, 10, 20, 50, 100, 1000, 1e5):
        for p in ps:
            value, _ = library.t_inverse(p, df)
            truth = refs.t_quantile_true(p, df)
            error = relative(value, truth)
            if df == 1:
                one.add(error, (p, df))
            else:
                hill.add(error, (p, df))
                if p >= 1e-4:
                    hill_body.add(error, (p, df))
    for worst in (hill, hill_body, one):
        worst.report()


BETA_SHAPES = [(0.1, 0.1), (0.1, 5), (5, 0.1), (0.5, 0.5), (0.5, 2), (2, 0.5), (1, 1), (1.5, 1.5), (2, 3),
               (2, 25), (25, 2), (0.25, 50), (50, 0.25), (5, 5), (10, 100), (100, 10), (50, 40), (200.5, 3),
               (1000, 1000), (1e4, 1e4)]


def beta_inverse(library):
    """The Newton steps on log I with the truncated continued fraction."""
    print("beta inverse (bisection, then Newton on log I with a truncated continued fraction)")
    worst = Worst("relative error of the quantile")
    body = Worst("relative error of the quantile, 1e-3 <= p <= 1 - 1e-3")
    unconverged = Worst("relative error where 9047 (not converged) was raised")
    count = [0, 0]
    errors = []
    ps = [1e-10, 1e-6, 1e-3, 0.01, 0.1, 0.25, 0.5, 0.75, 0.9, 0.99, 0.999]
    for pin, qin in BETA_SHAPES:
        for p in ps:
            value, (_, code) = library.beta_inverse(p, pin, qin)
            truth = refs.beta_quantile_true(p, pin, qin)
            if truth < 1e-300:
                continue
            error = relative(value, truth)
            count[0] += 1
            worst.add(error, (p, pin, qin))
            errors.append((float(error), p, pin, qin))
            if 1e-3 <= p <= 1 - 1e-3:
                body.add(error, (p, pin, qin))
            if code == 9047:
                count[1] += 1
                unconverged.add(error, (p, pin, qin))
    for w in (worst, body, unconverged):
        w.report()
    print("  9047 raised in %d of %d points" % (count[1], count[0]))
    print("  relative errors above 1e-9 (error, p, pin, qin):")
    for error in sorted(errors, reverse=True):
        if error[0] > 1e-9:
            print("    %.3g  %g %g %g" % error)


def gamma_inverse(library):
    """Bracket and refinement from a start of 0 for z^2 < 9a."""
    print("gamma inverse (bracket, then refinement of at most 100 rounds)")
    good = Worst("relative error of the quantile where no error was raised")
    print("  per shape: the largest p refused with type 4 (and its true quantile), the smallest p served")
    for a in (0.01, 0.05, 0.1, 0.25, 0.5, 1, 1.5, 2, 3, 5, 10, 100):
        failed = None
        served = None
        for k in range(0, 65):
            p = 10.0 ** (-k / 4) * 0.5
            value, (kind, code) = library.gamma_inverse(p, a)
            truth = refs.gamma_quantile_true(p, a)
            if kind >= 4:
                if failed is None or p > failed[0]:
                    failed = (p, float(truth), code, value)
            else:
                good.add(relative(value, truth), (p, a))
                served = p
        print("    a = %-5g refused up to p = %-10.3g (quantile %-10.3g, code %s, value %.3g); served down to p = %s"
              % ((a,) + (failed if failed else (0, 0, "-", 0)) + (served,)))
    good.report()


# The points at which tests/distributions/limits_test.cpp pins the figures
# that the header states: (function, arguments, what is measured, the figure).
PINNED = [
    ("chi_squared_cdf", (36.0926, 66), "relative", 0.026),
    ("chi_squared_cdf", (16.7436, 66), "relative", 0.85),
    ("chi_squared_cdf", (146, 70), "upper_relative", 0.12),
    ("chi_squared_inverse_cdf", (1e-6, 66), "relative", 0.0085),
    ("t_cdf", (-1.118033987631861, 1.25), "relative", 0.0156),
    ("t_inverse", (0.2, 2.25), "relative", 2.1e-4),
    ("beta_inverse_cdf", (0.75, 0.1, 5), "relative", 0.037),
    ("gamma_inverse_cdf", (1e-10, 0.05), "refused", 0),
]

TRUTHS = {
    "chi_squared_cdf": lambda x, df: refs.chi2_cdf_true(x, df),
    "chi_squared_inverse_cdf": lambda p, df: refs.chi2_quantile_true(p, df),
    "t_cdf": refs.t_cdf_true,
    "t_inverse": refs.t_quantile_true,
    "beta_inverse_cdf": refs.beta_quantile_true,
    "gamma_inverse_cdf": refs.gamma_quantile_true,
}


def table(library):
    """Writes the pinned points with their true values."""
    del library
    path = os.path.join(ROOT, "tests", "distributions", "data", "documented_limits.csv")
    with open(path, "w") as out:
        out.write("function,a,b,c,value,measure,figure\n")
        for function, arguments, measure, figure in PINNED:
            padded = [refs.fmt_input(float(a)) for a in arguments] + [""] * (3 - len(arguments))
            truth = refs.fmt_value(TRUTHS[function](*arguments))
            out.write(",".join([function] + padded + [truth, measure, "%g" % figure]) + "\n")
    print("wrote", os.path.relpath(path, ROOT))


def main():
    arguments = sys.argv[1:]
    path = os.path.join(ROOT, "build", "liborvls.so")
    if arguments and arguments[0].endswith(".so"):
        path = arguments.pop(0)
    library = Library(path)
    for section in (chi_squared, chi_squared_inverse, t_cdf, t_inverse, beta_inverse, gamma_inverse, table):
        if section.__name__ in arguments or (not arguments and section is not table):
            section(library)


if __name__ == "__main__":
    main()
