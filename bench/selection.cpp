// Best subsets by R-squared, the best one of each size, for p = 20, 25 and
// 30 candidates on 200 rows, beside leaps::regsubsets (exhaustive, nbest 1)
// on the same data in the same process (R started once, before the
// timings).  At the end: CPU time per size of problem, the ratio, and
// whether both chose the same subset at every size.
#include <Rembedded.h>
#include <Rinternals.h>
#include <R_ext/Parse.h>
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "orvls.h"

namespace {

struct Problem {
    int64_t n, p;
    std::vector<double> x, y;  // x by rows
};

// Correlated candidates, a third of them in the model.
Problem make_problem(int64_t p)
{
    std::mt19937 engine(static_cast<unsigned>(p));
    std::normal_distribution<double> normal;
    Problem pr{200, p, std::vector<double>(static_cast<size_t>(200 * p)), std::vector<double>(200)};
    std::vector<double> mix(static_cast<size_t>(p * p));
    for (int64_t a = 0; a < p; ++a)
        for (int64_t b = 0; b < p; ++b)
            mix[static_cast<size_t>(a * p + b)] = (a == b) + 0.3 * normal(engine);
    for (int64_t i = 0; i < pr.n; ++i) {
        std::vector<double> z(static_cast<size_t>(p));
        for (double& v : z)
            v = normal(engine);
        double y = normal(engine);
        for (int64_t b = 0; b < p; ++b) {
            double v = 0;
            for (int64_t a = 0; a < p; ++a)
                v += z[static_cast<size_t>(a)] * mix[static_cast<size_t>(a * p + b)];
            pr.x[static_cast<size_t>(i * p + b)] = v;
            if (b % 3 == 0)
                y += 0.5 * v;
        }
        pr.y[static_cast<size_t>(i)] = y;
    }
    return pr;
}

const std::vector<Problem>& problems()
{
    static const std::vector<Problem> all = {make_problem(20), make_problem(25), make_problem(30)};
    return all;
}

// Our best subset of each size, as 0/1 flags by size then candidate.
std::vector<int> ours(const Problem& pr)
{
    std::vector<int64_t> index(static_cast<size_t>(pr.p + 1)), variables(static_cast<size_t>(pr.p * pr.p));
    std::vector<double> x = pr.x, y = pr.y;
    orvls_d_regression_selection(pr.n, pr.p, x.data(), y.data(), ORVLS_MAX_N_BEST, 1, ORVLS_MAX_N_GOOD_SAVED, 1,
                                 ORVLS_SELECTION_PRINT_OFF, ORVLS_INDEX_VECTORS_USER, index.data(), variables.data(),
                                 0);
    std::vector<int> flags(static_cast<size_t>(pr.p * pr.p), 0);
    for (int64_t k = 0; k < pr.p; ++k)
        for (int64_t v = index[static_cast<size_t>(k)]; v < index[static_cast<size_t>(k + 1)]; ++v)
            flags[static_cast<size_t>(k * pr.p + variables[static_cast<size_t>(v)])] = 1;
    return flags;
}

SEXP r_call(const Problem& pr)
{
    static bool started = false;
    if (!started) {
        char name[] = "R", quiet[] = "--quiet", vanilla[] = "--vanilla", silent[] = "--no-echo";
        char* argv[] = {name, quiet, vanilla, silent};
        Rf_initEmbeddedR(4, argv);
        started = true;
    }
    SEXP x = PROTECT(Rf_allocMatrix(REALSXP, static_cast<int>(pr.n), static_cast<int>(pr.p)));
    SEXP y = PROTECT(Rf_allocVector(REALSXP, static_cast<int>(pr.n)));
    for (int64_t i = 0; i < pr.n; ++i) {
        for (int64_t j = 0; j < pr.p; ++j)
            REAL(x)[i + j * pr.n] = pr.x[static_cast<size_t>(i * pr.p + j)];
        REAL(y)[i] = pr.y[static_cast<size_t>(i)];
    }
    const std::string suffix = std::to_string(pr.p);
    Rf_defineVar(Rf_install(("x" + suffix).c_str()), x, R_GlobalEnv);
    Rf_defineVar(Rf_install(("y" + suffix).c_str()), y, R_GlobalEnv);
    UNPROTECT(2);
    const std::string text = "as.integer(t(summary(leaps::regsubsets(x" + suffix + ", y" + suffix + ", nbest = 1, nvmax = " +
                             suffix + ", method = 'exhaustive', really.big = TRUE))$which[, -1]))";
    ParseStatus status;
    SEXP source = PROTECT(Rf_mkString(text.c_str()));
    SEXP parsed = PROTECT(R_ParseVector(source, 1, &status, R_NilValue));
    SEXP call = VECTOR_ELT(parsed, 0);
    R_PreserveObject(call);
    UNPROTECT(2);
    return call;
}

std::vector<int> leaps(SEXP call)
{
    int error = 0;
    SEXP value = R_tryEvalSilent(call, R_GlobalEnv, &error);
    if (error != 0)
        return {};
    return std::vector<int>(INTEGER(value), INTEGER(value) + Rf_length(value));
}

void bench_ours(benchmark::State& state, const Problem* pr)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(ours(*pr));
}

void bench_leaps(benchmark::State& state, const Problem* pr)
{
    SEXP call = r_call(*pr);
    for (auto _ : state)
        benchmark::DoNotOptimize(leaps(call));
}

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (!run.error_occurred)
                seconds_[run.benchmark_name()] = run.GetAdjustedCPUTime() * 1e-3;
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::printf("\n%4s %16s %16s %14s %13s\n", "p", "ours (CPU ms)", "leaps (CPU ms)", "leaps / ours",
                    "same subsets");
        for (const Problem& pr : problems()) {
            const std::string p = std::to_string(pr.p);
            const double o = seconds_["ours/p" + p], r = seconds_["leaps/p" + p];
            std::printf("%4ld %16.3f %16.3f %14.2f %13s\n", static_cast<long>(pr.p), o * 1e3, r * 1e3, r / o,
                        ours(pr) == leaps(r_call(pr)) ? "yes" : "no");
        }
    }

private:
    std::map<std::string, double> seconds_;
};

}  // namespace

int main(int argc, char** argv)
{
    orvls_error_options(ORVLS_SET_PRINT, ORVLS_WARNING, 0, 0);
    for (const Problem& pr : problems()) {
        const std::string p = std::to_string(pr.p);
        r_call(pr);
        benchmark::RegisterBenchmark(("ours/p" + p).c_str(), bench_ours, &pr)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("leaps/p" + p).c_str(), bench_leaps, &pr)->Unit(benchmark::kMillisecond);
    }
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    Rf_endEmbeddedR(0);
    return 0;
}
