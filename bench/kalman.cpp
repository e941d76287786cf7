// One step of the Kalman filter (measurement update, then time update)
// against a plain dense recursion on OpenBLAS (one thread), for state
// dimensions 2, 10 and 50 and 1 or 5 observations, in nanoseconds per step.
// Both filter the same simulated series of the same model from the same
// start.  OpenBLAS is opened by full path after its settings are made, as in
// the kernels benchmark; the library runs with signal trapping off.
#include <benchmark/benchmark.h>
#include <cblas.h>
#include <dlfcn.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "orvls.h"
#include "peer_report.h"

namespace {

struct OpenBlas {
    decltype(&cblas_dgemm) dgemm = nullptr;
    decltype(&cblas_dsymm) dsymm = nullptr;
    decltype(&cblas_dsyrk) dsyrk = nullptr;
    decltype(&cblas_dtrsm) dtrsm = nullptr;
    decltype(&cblas_dtrsv) dtrsv = nullptr;
    decltype(&cblas_dgemv) dgemv = nullptr;
    decltype(&cblas_ddot) ddot = nullptr;
    void (*dpotrf)(const char*, const int*, double*, const int*, int*, size_t) = nullptr;

    bool open()
    {
        void* handle = peer_report::open_openblas();
        if (handle == nullptr)
            return false;
        auto get = [handle](auto& function, const char* name) {
            function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(handle, name));
            return function != nullptr;
        };
        return get(dgemm, "cblas_dgemm") && get(dsymm, "cblas_dsymm") && get(dsyrk, "cblas_dsyrk") &&
               get(dtrsm, "cblas_dtrsm") && get(dtrsv, "cblas_dtrsv") && get(dgemv, "cblas_dgemv") &&
               get(ddot, "cblas_ddot") && get(dpotrf, "dpotrf_");
    }
};
OpenBlas openblas;

constexpr int kSeries = 256;

// A stable model of n states and m observations, row-major, and a series
// simulated from it.
struct Model {
    int n, m;
    std::vector<double> t, q, z, r, b0, p0, ys;

    Model(int n_, int m_) : n(n_), m(m_)
    {
        std::mt19937_64 engine(uint64_t(n * 100 + m));
        std::normal_distribution<double> normal;
        t.assign(size_t(n * n), 0);
        q.assign(size_t(n * n), 0);
        p0.assign(size_t(n * n), 0);
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j)
                t[size_t(i * n + j)] = (i == j ? 0.7 : 0.2 / n * normal(engine));
            q[size_t(i * n + i)] = 0.1;
            p0[size_t(i * n + i)] = 1;
        }
        for (int i = 0; i + 1 < n; ++i)
            q[size_t(i * n + i + 1)] = q[size_t((i + 1) * n + i)] = 0.02;
        z.resize(size_t(m * n));
        for (double& e : z)
            e = normal(engine);
        r.assign(size_t(m * m), 0);
        for (int i = 0; i < m; ++i)
            r[size_t(i * m + i)] = 0.5;
        b0.assign(size_t(n), 0);
        std::vector<double> x(size_t(n), 0.0), next(size_t(n), 0.0);
        for (int k = 0; k < kSeries; ++k) {
            for (int i = 0; i < m; ++i) {
                double y = std::sqrt(0.5) * normal(engine);
                for (int j = 0; j < n; ++j)
                    y += z[size_t(i * n + j)] * x[size_t(j)];
                ys.push_back(y);
            }
            for (int i = 0; i < n; ++i) {
                next[size_t(i)] = std::sqrt(0.1) * normal(engine);
                for (int j = 0; j < n; ++j)
                    next[size_t(i)] += t[size_t(i * n + j)] * x[size_t(j)];
            }
            x.swap(next);
        }
    }
};

void bench_orvls(benchmark::State& state, const Model* model)
{
    const Model& md = *model;
    std::vector<double> b = md.b0, p = md.p0;
    int64_t n_rank = 0;
    double ss = 0, log_det = 0;
    int k = 0;
    for (auto _ : state) {
        orvls_d_kalman(md.n, b.data(), p.data(), &n_rank, &ss, &log_det, ORVLS_MEASUREMENT, md.m,
                       md.ys.data() + k * md.m, md.z.data(), md.r.data(), ORVLS_TRANSITION, md.t.data(),
                       ORVLS_STATE_NOISE, md.q.data(), 0);
        k = (k + 1) % kSeries;
        benchmark::ClobberMemory();
    }
    if (orvls_n1rty(1) != 0)
        state.SkipWithError("the filter reported an error");
    benchmark::DoNotOptimize(ss + log_det);
}

// The plain recursion, column-major: F = Z P Z' + R = U'U, X = U'^-1 Z P,
// e = U'^-1 (y - Z b), b += X'e, P -= X'X, then b := T b, P := T P T' + Q.
// P is kept in its upper triangle between the symmetric kernels.
struct PlainFilter {
    int n, m;
    std::vector<double> t, q, z, r;  // column-major copies
    std::vector<double> b, p, w, f, v, a, tmp;
    double ss = 0, log_det = 0;

    explicit PlainFilter(const Model& md) : n(md.n), m(md.m)
    {
        auto column_major = [](const std::vector<double>& x, int rows, int columns) {
            std::vector<double> out(x.size());
            for (int i = 0; i < rows; ++i)
                for (int j = 0; j < columns; ++j)
                    out[size_t(i + j * rows)] = x[size_t(i * columns + j)];
            return out;
        };
        t = column_major(md.t, n, n);
        q = md.q;
        z = column_major(md.z, m, n);
        r = md.r;
        b = md.b0;
        p = md.p0;
        w.resize(size_t(m * n));
        f.resize(size_t(m * m));
        v.resize(size_t(m));
        a.resize(size_t(n * n));
        tmp.resize(size_t(n));
    }

    void step(const double* y)
    {
        const OpenBlas& o = openblas;
        o.dsymm(CblasColMajor, CblasRight, CblasUpper, m, n, 1, p.data(), n, z.data(), m, 0, w.data(), m);
        f = r;
        o.dgemm(CblasColMajor, CblasNoTrans, CblasTrans, m, m, n, 1, w.data(), m, z.data(), m, 1, f.data(), m);
        v.assign(y, y + m);
        o.dgemv(CblasColMajor, CblasNoTrans, m, n, -1, z.data(), m, b.data(), 1, 1, v.data(), 1);
        int info = 0;
        o.dpotrf("U", &m, f.data(), &m, &info, 1);
        o.dtrsm(CblasColMajor, CblasLeft, CblasUpper, CblasTrans, CblasNonUnit, m, n, 1, f.data(), m, w.data(), m);
        o.dtrsv(CblasColMajor, CblasUpper, CblasTrans, CblasNonUnit, m, f.data(), m, v.data(), 1);
        o.dgemv(CblasColMajor, CblasTrans, m, n, 1, w.data(), m, v.data(), 1, 1, b.data(), 1);
        o.dsyrk(CblasColMajor, CblasUpper, CblasTrans, n, m, -1, w.data(), m, 1, p.data(), n);
        ss += o.ddot(m, v.data(), 1, v.data(), 1);
        for (int i = 0; i < m; ++i)
            log_det += 2 * std::log(f[size_t(i + i * m)]);
        o.dgemv(CblasColMajor, CblasNoTrans, n, n, 1, t.data(), n, b.data(), 1, 0, tmp.data(), 1);
        b.swap(tmp);
        o.dsymm(CblasColMajor, CblasRight, CblasUpper, n, n, 1, p.data(), n, t.data(), n, 0, a.data(), n);
        p = q;
        o.dgemm(CblasColMajor, CblasNoTrans, CblasTrans, n, n, n, 1, a.data(), n, t.data(), n, 1, p.data(), n);
    }
};

void bench_openblas(benchmark::State& state, const Model* model)
{
    PlainFilter filter(*model);
    int k = 0;
    for (auto _ : state) {
        filter.step(model->ys.data() + k * model->m);
        k = (k + 1) % kSeries;
        benchmark::ClobberMemory();
    }
    benchmark::DoNotOptimize(filter.ss + filter.log_det);
}

// The library's filter and the plain one agree on the series.
bool same_results(const Model& md)
{
    std::vector<double> b = md.b0, p = md.p0;
    int64_t n_rank = 0;
    double ss = 0, log_det = 0;
    PlainFilter plain(md);
    for (int k = 0; k < kSeries; ++k) {
        orvls_d_kalman(md.n, b.data(), p.data(), &n_rank, &ss, &log_det, ORVLS_MEASUREMENT, md.m,
                       md.ys.data() + k * md.m, md.z.data(), md.r.data(), ORVLS_TRANSITION, md.t.data(),
                       ORVLS_STATE_NOISE, md.q.data(), 0);
        plain.step(md.ys.data() + k * md.m);
    }
    double worst = std::fabs(ss - plain.ss) / plain.ss + std::fabs(log_det - plain.log_det) / std::fabs(plain.log_det);
    for (int i = 0; i < md.n; ++i)
        worst = std::fmax(worst, std::fabs(b[size_t(i)] - plain.b[size_t(i)]));
    return worst < 1e-9;
}

}  // namespace

int main(int argc, char** argv)
{
    peer_report::prepare_openblas();
    orvls_skip_signal_handler();
    benchmark::Initialize(&argc, argv);
    const bool have_openblas = openblas.open();
    static std::vector<Model> models;
    for (int n : {2, 10, 50})
        for (int m : {1, 5})
            models.emplace_back(n, m);
    for (const Model& md : models) {
        const std::string shape = std::to_string(md.n) + "/" + std::to_string(md.m);
        if (have_openblas && !same_results(md)) {
            std::fprintf(stderr, "the two filters disagree on %s\n", shape.c_str());
            return 1;
        }
        benchmark::RegisterBenchmark(("kalman/orvls/" + shape).c_str(), bench_orvls, &md)->Unit(benchmark::kNanosecond);
        if (have_openblas)
            benchmark::RegisterBenchmark(("kalman/openblas/" + shape).c_str(), bench_openblas, &md)
                ->Unit(benchmark::kNanosecond);
    }
    peer_report::RatioReporter reporter({"openblas"}, "ns per step");
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
