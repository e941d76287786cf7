// Fisher's exact test by the network algorithm on a fixed set of tables,
// sparse and dense, 2 by 5 to 6 by 8, totals 20 to 500, beside R's
// fisher.test on the same tables in the same process (R is started once,
// before the timings).  Where R refuses a table with its default workspace
// it is tried again with workspace = 2e8.  At the end: the time ratio per
// table, and our peak resident memory per table, measured in a child
// process that does the table once.
#include <Rembedded.h>
#include <Rinternals.h>
#include <R_ext/Parse.h>
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "orvls.h"

namespace {

struct Table {
    std::string name;
    int64_t rows, columns;
    std::vector<double> cells;
};

// Counts thrown into the cells with weights: equal (dense) or mostly small
// (sparse), from a fixed seed.
Table make_table(int64_t rows, int64_t columns, int64_t total, bool dense, unsigned seed)
{
    std::mt19937 engine(seed);
    std::vector<double> weights(static_cast<size_t>(rows * columns));
    for (double& w : weights)
        w = dense ? 1.0 : (engine() % 10 < 6 ? 1.0 + engine() % 4 : 0.05);
    std::vector<double> cumulative(weights.size());
    double sum = 0;
    for (size_t k = 0; k < weights.size(); ++k)
        cumulative[k] = sum += weights[k];
    Table t{std::to_string(rows) + "x" + std::to_string(columns) + (dense ? "_dense_" : "_sparse_") +
                std::to_string(total),
            rows, columns, std::vector<double>(weights.size(), 0.0)};
    for (int64_t n = 0; n < total; ++n) {
        const double u = sum * static_cast<double>(engine()) / 4294967296.0;
        size_t k = 0;
        while (k + 1 < cumulative.size() && u >= cumulative[k])
            ++k;
        t.cells[k] += 1;
    }
    return t;
}

const std::vector<Table>& tables()
{
    static const std::vector<Table> all = [] {
        struct TableShape {
            int64_t rows, columns, total;
            bool dense;
        };
        const TableShape shapes[] = {{2, 5, 100, true}, {2, 8, 500, true}, {3, 4, 60, false}, {3, 5, 150, true},
                              {3, 8, 80, false}, {4, 4, 100, true}, {4, 6, 60, false}, {4, 6, 60, true},
                              {5, 5, 40, false}, {5, 5, 40, true},  {5, 6, 40, true},  {6, 6, 30, false},
                              {6, 6, 30, true},  {6, 8, 20, false}, {6, 8, 40, false}, {6, 8, 30, true}};
        std::vector<Table> t;
        unsigned seed = 1;
        for (const TableShape& s : shapes)
            t.push_back(make_table(s.rows, s.columns, s.total, s.dense, seed++));
        return t;
    }();
    return all;
}

double ours(const Table& t)
{
    return orvls_d_exact_network(t.rows, t.columns, t.cells.data(), ORVLS_NO_HYBRID, 0);
}

// ---- R ------------------------------------------------------------------

void start_r()
{
    static bool started = false;
    if (started)
        return;
    char name[] = "R", quiet[] = "--quiet", vanilla[] = "--vanilla", silent[] = "--no-echo";
    char* argv[] = {name, quiet, vanilla, silent};
    Rf_initEmbeddedR(4, argv);
    started = true;
}

// The call fisher.test(m, workspace = w)$p.value on the table, parsed once.
SEXP r_call(const Table& t, double workspace)
{
    start_r();
    SEXP m = PROTECT(Rf_allocMatrix(REALSXP, static_cast<int>(t.rows), static_cast<int>(t.columns)));
    for (int64_t i = 0; i < t.rows; ++i)
        for (int64_t j = 0; j < t.columns; ++j)
            REAL(m)[i + j * t.rows] = t.cells[static_cast<size_t>(i * t.columns + j)];
    Rf_defineVar(Rf_install(("m_" + t.name).c_str()), m, R_GlobalEnv);
    UNPROTECT(1);
    char text[200];
    std::snprintf(text, sizeof text, "fisher.test(m_%s, workspace = %.0f)$p.value", t.name.c_str(), workspace);
    ParseStatus status;
    SEXP source = PROTECT(Rf_mkString(text));
    SEXP parsed = PROTECT(R_ParseVector(source, 1, &status, R_NilValue));
    SEXP call = VECTOR_ELT(parsed, 0);
    R_PreserveObject(call);
    UNPROTECT(2);
    return call;
}

// NaN when R refuses the table.
double r_p_value(SEXP call)
{
    int error = 0;
    SEXP value = R_tryEvalSilent(call, R_GlobalEnv, &error);
    return error != 0 ? std::nan("") : Rf_asReal(value);
}

void bench_ours(benchmark::State& state, const Table* t)
{
    double p = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(p = ours(*t));
    state.counters["p"] = p;
}

void bench_r(benchmark::State& state, const Table* t, double workspace)
{
    SEXP call = r_call(*t, workspace);
    const double p = r_p_value(call);
    if (std::isnan(p)) {
        state.SkipWithError("R refuses the table");
        for (auto _ : state) {
        }
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(r_p_value(call));
    state.counters["p"] = p;
}

// Peak resident kilobytes of a child that runs the table once, less that of
// a child that does nothing.
long peak_kb(const Table* t)
{
    const pid_t child = fork();
    if (child == 0) {
        if (t != nullptr)
            ours(*t);
        _exit(0);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    return usage.ru_maxrss;
}

// Keeps each benchmark's time per iteration, and prints the ratios at the end.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (!run.error_occurred)
                seconds_[run.benchmark_name()] = run.GetAdjustedCPUTime() * 1e-3;  // CPU ms: the machine is shared
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        const long baseline = peak_kb(nullptr);
        std::printf("\n%-20s %13s %12s %14s %9s %10s\n", "table", "ours (CPU ms)", "R (CPU ms)", "R raised", "R / ours",
                    "peak (MB)");
        for (const Table& t : tables()) {
            const double o = time("ours/" + t.name), r = time("R/" + t.name), raised = time("R_raised/" + t.name);
            const double peer = !std::isnan(r) ? r : raised;
            std::printf("%-20s %12.3f %12s %14s %9.2f %10.1f\n", t.name.c_str(), o * 1e3,
                        text(r, "refused").c_str(), text(raised, std::isnan(r) ? "refused" : "-").c_str(), peer / o,
                        static_cast<double>(peak_kb(&t) - baseline) / 1024);
        }
    }

private:
    double time(const std::string& name) const
    {
        const auto it = seconds_.find(name);
        return it == seconds_.end() ? std::nan("") : it->second;
    }
    static std::string text(double seconds, const char* missing)
    {
        if (std::isnan(seconds))
            return missing;
        char buffer[32];
        std::snprintf(buffer, sizeof buffer, "%.3f", seconds * 1e3);
        return buffer;
    }
    std::map<std::string, double> seconds_;
};

}  // namespace

int main(int argc, char** argv)
{
    orvls_error_options(ORVLS_SET_PRINT, ORVLS_WARNING, 0, 0);
    for (const Table& t : tables()) {
        benchmark::RegisterBenchmark(("ours/" + t.name).c_str(), bench_ours, &t)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("R/" + t.name).c_str(), bench_r, &t, 2e5)->Unit(benchmark::kMillisecond);
        if (std::isnan(r_p_value(r_call(t, 2e5))))
            benchmark::RegisterBenchmark(("R_raised/" + t.name).c_str(), bench_r, &t, 2e8)
                ->Unit(benchmark::kMillisecond);
    }
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    Rf_endEmbeddedR(0);
    return 0;
}
