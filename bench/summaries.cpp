// Case diagnostics of n = 10^6 rows on p regressors and an intercept: ours
// (fitted values, leverages, mean limits, standardized and deleted
// residuals, Cook's distance and DFFITS, one triangular solve per row)
// beside GSL's gsl_multifit_linear_est, which gives per row only the
// fitted value and its standard error from the covariance matrix (the
// same O(p^2) quadratic form).  The counter time_per_row gives the time of one row.
#include <benchmark/benchmark.h>
#include <gsl/gsl_multifit.h>

#include <cstdlib>
#include <random>
#include <vector>

#include "orvls.h"

namespace {

constexpr int64_t kRows = 1000000;

struct Problem {
    int64_t p = 0;
    std::vector<double> x, y;
    orvls_d_regression_info* info = nullptr;
};

Problem& problem(int64_t p)
{
    static Problem cached;
    if (cached.p == p)
        return cached;
    std::free(cached.info);
    cached = Problem{};
    cached.p = p;
    std::mt19937_64 engine(7);
    std::normal_distribution<double> normal;
    cached.x.resize(size_t(kRows * p));
    cached.y.resize(size_t(kRows));
    for (int64_t i = 0; i < kRows; ++i) {
        double sum = 1;
        for (int64_t j = 0; j < p; ++j) {
            cached.x[size_t(i * p + j)] = normal(engine);
            sum += double(j + 1) * cached.x[size_t(i * p + j)];
        }
        cached.y[size_t(i)] = sum + normal(engine);
    }
    std::free(orvls_d_regression(kRows, p, cached.x.data(), cached.y.data(), ORVLS_REGRESSION_INFO, &cached.info, 0));
    return cached;
}

void BM_ours(benchmark::State& state)
{
    Problem& pr = problem(state.range(0));
    std::vector<double> fitted(kRows), leverage(kRows), lower(kRows), upper(kRows), standardized(kRows),
        deleted(kRows), cooksd(kRows), dffits(kRows);
    for (auto _ : state) {
        orvls_d_regression_prediction(pr.info, kRows, pr.x.data(), ORVLS_Y, pr.y.data(), ORVLS_RETURN_USER,
                                      fitted.data(), ORVLS_LEVERAGE_USER, leverage.data(), ORVLS_MEAN_LIMITS_USER,
                                      lower.data(), upper.data(), ORVLS_STANDARDIZED_RESIDUAL_USER,
                                      standardized.data(), ORVLS_DELETED_RESIDUAL_USER, deleted.data(),
                                      ORVLS_COOKSD_USER, cooksd.data(), ORVLS_DFFITS_USER, dffits.data(), 0);
        benchmark::DoNotOptimize(fitted.data());
    }
    state.counters["time_per_row"] =
        benchmark::Counter(double(kRows), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_gsl_estimate(benchmark::State& state)
{
    Problem& pr = problem(state.range(0));
    const int64_t p = pr.p + 1;
    gsl_vector* c = gsl_vector_alloc(size_t(p));
    gsl_matrix* cov = gsl_matrix_alloc(size_t(p), size_t(p));
    double* cov_values = nullptr;
    orvls_d_regression_summary(pr.info, ORVLS_COEF_COVARIANCES, &cov_values, 0);
    for (int64_t i = 0; i < p; ++i) {
        gsl_vector_set(c, size_t(i), pr.info->coefficients[i]);
        for (int64_t j = 0; j < p; ++j)
            gsl_matrix_set(cov, size_t(i), size_t(j), cov_values[i * p + j]);
    }
    std::free(cov_values);
    gsl_vector* row = gsl_vector_alloc(size_t(p));
    std::vector<double> fitted(kRows), error(kRows);
    for (auto _ : state) {
        for (int64_t i = 0; i < kRows; ++i) {
            gsl_vector_set(row, 0, 1.0);
            for (int64_t j = 1; j < p; ++j)
                gsl_vector_set(row, size_t(j), pr.x[size_t(i * pr.p + j - 1)]);
            gsl_multifit_linear_est(row, c, cov, &fitted[size_t(i)], &error[size_t(i)]);
        }
        benchmark::DoNotOptimize(fitted.data());
    }
    state.counters["time_per_row"] =
        benchmark::Counter(double(kRows), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    gsl_vector_free(row);
    gsl_vector_free(c);
    gsl_matrix_free(cov);
}

}  // namespace

BENCHMARK(BM_ours)->Arg(5)->Arg(10)->Arg(20)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_gsl_estimate)->Arg(5)->Arg(10)->Arg(20)->Unit(benchmark::kMillisecond)->Iterations(2);

BENCHMARK_MAIN();
