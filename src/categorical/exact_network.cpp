// Fisher's exact test of an r by c table by the network algorithm: the
// public routine, its options, and the attempts with tables ten times
// larger each time one fills.
#include <algorithm>
#include <cmath>
#include <cstdarg>

#include "categorical/exact.h"
#include "categorical/network.h"
#include "frame/envelope.h"

namespace orvls::categorical {

namespace {

template <class Real>
struct NetworkSettings {
    ExactOutputs<Real> outputs;
    int64_t factor1 = 100, factor2 = 3000, max_attempts = 10;
    int64_t* n_attempts = nullptr;
    HybridLimits hybrid;

    explicit NetworkSettings(int64_t n_columns) : outputs(n_columns) {}
};

template <class Real>
void read_options(OptionReader& options, NetworkSettings<Real>& settings)
{
    int code;
    while (options.next(code)) {
        if (settings.outputs.read(options, code))
            continue;
        switch (code) {
        case ORVLS_WORKSPACE:
            settings.factor1 = options.integer();
            settings.factor2 = options.integer();
            settings.max_attempts = options.integer();
            settings.n_attempts = options.pointer<int64_t*>();
            refuse_null_user(settings.n_attempts, "n_attempts", "ORVLS_WORKSPACE");
            break;
        case ORVLS_HYBRID:
            settings.hybrid.expect = static_cast<Real>(options.real());
            settings.hybrid.percent = static_cast<Real>(options.real());
            settings.hybrid.minimum = static_cast<Real>(options.real());
            break;
        case ORVLS_HYBRID_ADR:
            settings.hybrid.expect = options.real_address<Real>();
            settings.hybrid.percent = options.real_address<Real>();
            settings.hybrid.minimum = options.real_address<Real>();
            break;
        case ORVLS_NO_HYBRID: settings.hybrid.expect = 0; break;
        default: options.unknown(code);
        }
    }
}

// factor * 10^(attempt - 1), or -1 beyond the 64-bit integers.
int64_t attempt_size(int64_t factor, int64_t attempt)
{
    int64_t size = factor;
    for (int64_t i = 1; i < attempt; ++i)
        if (__builtin_mul_overflow(size, int64_t{10}, &size))
            return -1;
    return size;
}

// The attempts: fresh tables each time, ten times larger after one filled.
// True with the result when one attempt finished.
template <class Real>
bool run_attempts(const CountTable& counts, const NetworkSettings<Real>& settings, NetworkWork& work,
                  NetworkResult& result)
{
    int64_t ldkey = 0;
    for (int64_t attempt = 1; attempt <= settings.max_attempts; ++attempt) {
        if (settings.n_attempts != nullptr)
            *settings.n_attempts = attempt;
        ldkey = attempt_size(settings.factor1, attempt);
        const int64_t ldstp = attempt_size(settings.factor2, attempt);
        NetworkTables tables;
        if (ldkey < 0 || ldstp < 0 || !tables.allocate(ldkey, ldstp)) {
            orvls_e1sti(1, attempt);
            orvls_e1stl(1, "n_attempts");
            orvls_e1sti(2, ldkey);
            orvls_e1stl(2, "factor1");
            orvls_e1sti(3, ldstp);
            orvls_e1stl(3, "factor_2");
            orvls_ermes(5, 203);
            return false;
        }
        const NetworkEnd end = l_c2epr(counts, settings.hybrid, work, tables, result);
        if (end == NetworkEnd::done)
            return true;
        if (end == NetworkEnd::failed)
            return false;
    }
    orvls_e1sti(1, settings.max_attempts);
    orvls_e1sti(2, ldkey);
    orvls_ermes(4, 20541);
    return false;
}

template <class Real>
Real exact_network(int64_t n_rows, int64_t n_columns, const Real* table, OptionReader& options)
{
    NetworkSettings<Real> settings(n_columns);
    read_options(options, settings);
    if (orvls_n1rty(0) > 0)
        return missing_value<Real>();
    int64_t checks = 0;
    orvls_check_range(settings.factor1, "factor1", 1, -1, &checks);
    orvls_check_range(settings.factor2, "factor2", 10, -1, &checks);
    orvls_check_range(settings.max_attempts, "max_attempts", 1, -1, &checks);
    CountTable counts;
    if (orvls_n1rty(0) > 0 || !read_exact_table(n_rows, n_columns, table, settings.outputs, counts)) {
        settings.outputs.store_missing();
        return missing_value<Real>();
    }
    if (counts.total == 0) {
        orvls_ermes(6, 20542);
        settings.outputs.store_missing();
        return Real(1);
    }
    NetworkWork work;
    if (!work.allocate(counts.total, std::max(counts.rows, counts.columns))) {
        orvls_e1sti(1, counts.total);
        orvls_e1stl(1, "sum of all cell counts");
        orvls_ermes(5, 201);
        settings.outputs.store_missing();
        return missing_value<Real>();
    }
    NetworkResult result;
    if (!run_attempts(counts, settings, work, result)) {
        settings.outputs.store_missing();
        return missing_value<Real>();
    }
    const double p = as_probability(result.p_value);
    settings.outputs.store(p, result.prob_table);
    return static_cast<Real>(p);
}

template <class Real>
Real exact_network_entry(const char* name, int64_t n_rows, int64_t n_columns, const Real* table, va_list ap)
{
    OptionReader options(ap, 3);
    return envelope<Real>(name, missing_value<Real>(),
                          [&] { return exact_network(n_rows, n_columns, table, options); });
}

}  // namespace

}  // namespace orvls::categorical

extern "C" {

ORVLS_API float orvls_f_exact_network(int64_t n_rows, int64_t n_columns, const float* table, ...)
{
    va_list ap;
    va_start(ap, table);
    const float p = orvls::categorical::exact_network_entry("orvls_f_exact_network", n_rows, n_columns, table, ap);
    va_end(ap);
    return p;
}

ORVLS_API double orvls_d_exact_network(int64_t n_rows, int64_t n_columns, const double* table, ...)
{
    va_list ap;
    va_start(ap, table);
    const double p = orvls::categorical::exact_network_entry("orvls_d_exact_network", n_rows, n_columns, table, ap);
    va_end(ap);
    return p;
}

}  // extern "C"
