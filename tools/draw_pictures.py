#!/usr/bin/python3
"""Draws the accuracy and speed pictures of the reference manual (docs/images).

Accuracy: for each special function and distribution function with a
reference table (tests/special/data, tests/distributions/data), the error of
the library's float and double forms in ulps against the first argument.
The library's values are computed by calling the built shared object
through ctypes, by the numbered symbols that the header assigns.

Speed: for bench/special and bench/distributions, the CPU time of orvls
over the time of each peer library, from Google Benchmark JSON output.

    cmake -S . -B build && cmake --build build -j2 --target orvls
    cmake -S . -B build-bench -DORVLS_BENCH=ON -DORVLS_TESTS=OFF
    cmake --build build-bench -j2 --target bench_special bench_distributions
    build-bench/bench/bench_special --benchmark_out=special.json --benchmark_out_format=json
    build-bench/bench/bench_distributions --benchmark_out=distributions.json --benchmark_out_format=json
    /usr/bin/python3 tools/draw_pictures.py --library build/liborvls.so \\
        --special-bench special.json --distributions-bench distributions.json

Without the benchmark files only the accuracy pictures are drawn.  Needs
python3-matplotlib and python3-numpy.
"""
import argparse
import csv
import ctypes
import json
import math
import os
import re
import sys
from pathlib import Path

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402

ROOT = Path(__file__).resolve().parent.parent

# Table file, public name, argument columns and whether they are integers.
SPECIAL = [
    ("gamma", "gamma", ["x"]),
    ("log_gamma", "log_gamma", ["x"]),
    ("gamma_incomplete", "gamma_incomplete", ["a", "x"]),
    ("beta", "beta", ["a", "b"]),
    ("log_beta", "log_beta", ["a", "b"]),
    ("beta_incomplete", "beta_incomplete", ["x", "a", "b"]),
    ("erf", "erf", ["x"]),
    ("erfc", "erfc", ["x"]),
    ("erfc_inverse", "erfc_inverse", ["x"]),
    ("factorial", "factorial", ["n"]),
    ("binomial_coefficient", "binomial_coefficient", ["n", "m"]),
]
DISTRIBUTIONS = [
    ("normal_cdf", "normal_cdf", ["x"]),
    ("normal_inverse_cdf", "normal_inverse_cdf", ["p"]),
    ("bivariate_normal_cdf", "bivariate_normal_cdf", ["x", "y", "rho"]),
    ("t_cdf", "t_cdf", ["t", "df"]),
    ("t_inverse", "t_inverse", ["p", "df"]),
    ("chi_squared_cdf", "chi_squared_cdf", ["chi_squared", "df"]),
    ("chi_squared_inverse_cdf", "chi_squared_inverse_cdf", ["p", "df"]),
    ("F_cdf", "F_cdf", ["f", "df_numerator", "df_denominator"]),
    ("F_inverse_cdf", "F_inverse_cdf", ["p", "df_numerator", "df_denominator"]),
    ("gamma_cdf", "gamma_cdf", ["x", "a"]),
    ("gamma_inverse_cdf", "gamma_inverse_cdf", ["p", "a"]),
    ("beta_cdf", "beta_cdf", ["x", "pin", "qin"]),
    ("beta_inverse_cdf", "beta_inverse_cdf", ["p", "pin", "qin"]),
]
INTEGER_ARGUMENTS = {"factorial", "binomial_coefficient"}
INTEGER_RESULTS = {"factorial"}


class Library:
    """The public routines of the built library, found by their numbered symbols."""

    def __init__(self, path):
        self.dll = ctypes.CDLL(str(path))
        header = (ROOT / "include" / "orvls.h").read_text()
        self.symbols = dict(re.findall(r"#define\s+(orvls_\w+)\s+(orvls_\d{5})\b", header))
        # Reports off and no stops for types 1 to 7: the tables hold rows
        # that come with notes and alerts.
        off = ctypes.c_int64(0)
        self.dll.orvls_e1pos(ctypes.c_int64(0), ctypes.byref(off), ctypes.byref(ctypes.c_int64(0)))
        self.dll.orvls_skip_signal_handler()

    def routine(self, name, precision, arity):
        symbol = self.symbols["orvls_%s_%s" % (precision, name)]
        function = getattr(self.dll, symbol)
        real = ctypes.c_float if precision == "f" else ctypes.c_double
        argument = ctypes.c_int64 if name in INTEGER_ARGUMENTS else real
        function.argtypes = [argument] * arity
        function.restype = ctypes.c_int64 if name in INTEGER_RESULTS else real
        return function


def read_table(path):
    with open(path, newline="") as stream:
        return list(csv.DictReader(stream))


def is_float(value):
    return math.isinf(value) or float(np.float32(value)) == value


def ulps(computed, true, precision):
    """(computed - true) over the spacing of the format at the true value."""
    dtype = np.float32 if precision == "f" else np.float64
    spacing = float(np.spacing(dtype(abs(true))))
    if not math.isfinite(computed):
        return math.nan
    return (computed - true) / spacing


def measure(library, table, name, columns):
    """Per precision: arguments (first column) and errors in ulps."""
    rows = read_table(table)
    result = {}
    for precision in ("d", "f"):
        routine = library.routine(name, precision, len(columns))
        finfo = np.finfo(np.float32 if precision == "f" else np.float64)
        xs, errors = [], []
        for row in rows:
            arguments = [float(row[c]) for c in columns]
            true = float(row["value"])
            if true == 0 or not math.isfinite(true) or abs(true) < finfo.tiny or abs(true) > finfo.max:
                continue
            if precision == "f" and not all(is_float(a) for a in arguments):
                continue
            if name in INTEGER_ARGUMENTS:
                arguments = [int(a) for a in arguments]
            error = ulps(float(routine(*arguments)), true, precision)
            if math.isfinite(error):
                xs.append(arguments[0])
                errors.append(error)
        result[precision] = (np.array(xs, dtype=float), np.array(errors))
    return result


def argument_axis(axis, xs, name, note):
    """How the arguments are drawn: a log axis for positive arguments over
    many decades, sign(x) log10(1 + |x|) for arguments from 0 or below over
    many decades (matplotlib's symlog fails over hundreds of them), else as
    they are.  Returns the function that maps the arguments."""
    finite = xs[np.isfinite(xs)]
    low, high = (finite.min(), finite.max()) if finite.size else (0, 0)
    if low > 0 and high / low > 1e3:
        axis.set_xscale("log")
    elif low <= 0 < high and max(-low, high) > 1e3:
        axis.set_xlabel("sign(%s) log10(1 + |%s|)%s" % (name, name, note), fontsize=8)
        return lambda x: np.sign(x) * np.log10(1 + np.abs(x))
    axis.set_xlabel(name + note, fontsize=8)
    return lambda x: x


def draw_accuracy(library, functions, data_dir, output, title):
    columns = 3
    rows = math.ceil(len(functions) / columns)
    figure, axes = plt.subplots(rows, columns, figsize=(4.2 * columns, 3.0 * rows), squeeze=False)
    for axis, (table, name, arguments) in zip(axes.flat, functions):
        measured = measure(library, data_dir / (table + ".csv"), name, arguments)
        note = "" if len(arguments) == 1 else " (others vary)"
        mapped = argument_axis(axis, np.concatenate([measured["d"][0], measured["f"][0]]), arguments[0], note)
        summary = []
        for precision, colour, marker in (("d", "tab:blue", "o"), ("f", "tab:orange", "x")):
            xs, errors = measured[precision]
            label = "double" if precision == "d" else "float"
            axis.scatter(mapped(xs), errors, s=8, c=colour, marker=marker, label=label, linewidths=0.8)
            if errors.size:
                summary.append("%s %.3g" % (label, np.abs(errors).max()))
        axis.set_yscale("symlog", linthresh=1)
        axis.axhline(0, color="grey", linewidth=0.5)
        axis.set_title("%s\nmax |error|: %s" % (name, ", ".join(summary)), fontsize=9)
        axis.set_ylabel("error in ulps", fontsize=8)
        axis.tick_params(labelsize=7)
        axis.legend(fontsize=7, loc="upper right")
    for axis in axes.flat[len(functions):]:
        axis.set_visible(False)
    figure.suptitle(title, fontsize=11)
    figure.tight_layout()
    figure.savefig(output, dpi=72)
    plt.close(figure)


def benchmark_times(path):
    """CPU time per benchmark name, 'function/implementation'."""
    runs = json.loads(Path(path).read_text())["benchmarks"]
    return {run["name"]: run["cpu_time"] for run in runs if run.get("run_type", "iteration") == "iteration"}


def draw_speed(path, output, title):
    times = benchmark_times(path)
    peers = sorted({name.split("/")[1] for name in times} - {"orvls", "orvls_guarded"})
    # Functions in benchmark order, those measured beside at least one peer.
    functions = []
    for name in times:
        function = name.split("/")[0]
        if function not in functions and any(function + "/" + peer in times for peer in peers):
            functions.append(function)
    width = 0.8 / max(len(peers), 1)
    figure, axis = plt.subplots(figsize=(max(8, 0.75 * len(functions)), 4.5))
    for k, peer in enumerate(peers):
        positions, ratios = [], []
        for i, function in enumerate(functions):
            ours, theirs = times.get(function + "/orvls"), times.get(function + "/" + peer)
            if ours and theirs:
                positions.append(i + (k - (len(peers) - 1) / 2) * width)
                ratios.append(ours / theirs)
        axis.bar(positions, ratios, width=width, label="over " + peer)
    axis.axhline(1, color="black", linewidth=0.8)
    axis.set_yscale("log")
    axis.set_xticks(range(len(functions)))
    axis.set_xticklabels(functions, rotation=35, ha="right", fontsize=8)
    axis.set_ylabel("orvls time / peer time (below 1: orvls faster)", fontsize=8)
    axis.legend(fontsize=8)
    axis.set_title(title, fontsize=11)
    figure.tight_layout()
    figure.savefig(output, dpi=72)
    plt.close(figure)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--library", default=str(ROOT / "build" / "liborvls.so"))
    parser.add_argument("--special-bench", help="JSON output of bench_special")
    parser.add_argument("--distributions-bench", help="JSON output of bench_distributions")
    parser.add_argument("--output", default=str(ROOT / "docs" / "images"))
    options = parser.parse_args()
    output = Path(options.output)
    output.mkdir(parents=True, exist_ok=True)

    # Reports of the rows that come with notes would go to the error
    # stream: keep it quiet while the library runs.
    saved_stderr = os.dup(2)
    with open(os.devnull, "w") as null:
        os.dup2(null.fileno(), 2)
    try:
        library = Library(options.library)
        draw_accuracy(library, SPECIAL, ROOT / "tests" / "special" / "data", output / "special_accuracy.png",
                      "Special functions: error in ulps over the reference tables")
        draw_accuracy(library, DISTRIBUTIONS, ROOT / "tests" / "distributions" / "data",
                      output / "distributions_accuracy.png",
                      "Distribution functions: error in ulps over the reference tables")
    finally:
        os.dup2(saved_stderr, 2)
    if options.special_bench:
        draw_speed(options.special_bench, output / "special_speed.png",
                   "Special functions: CPU time of orvls over the peer libraries")
    if options.distributions_bench:
        draw_speed(options.distributions_bench, output / "distributions_speed.png",
                   "Distribution functions: CPU time of orvls over the peer libraries")
    return 0


if __name__ == "__main__":
    sys.exit(main())
