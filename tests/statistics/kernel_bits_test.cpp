// The moment kernel against its update formulas taken the plain way, row by
// row and variable by variable, on random data with missing values,
// frequencies, weights and removed rows: every accumulator must agree to the
// bit, so any reordering of the arithmetic in the kernel's loops shows here.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "basic/u2sta.h"
#include "statistics_support.h"

namespace {

using namespace orvls::basic;

// Column-major data of nvar variables, with the frequency and weight in the
// one-based columns ifrq and iwt (0 for none).
template <class Real>
struct Table {
    int64_t rows, nvar, ifrq, iwt;
    std::vector<Real> x;
    std::vector<int64_t> data_columns;

    Table(int64_t rows_, int64_t nvar_, int64_t ifrq_, int64_t iwt_, std::mt19937_64& engine)
        : rows(rows_), nvar(nvar_), ifrq(ifrq_), iwt(iwt_)
    {
        const int64_t columns = nvar + (ifrq > 0) + (iwt > 0);
        std::normal_distribution<double> normal(3, 2);
        std::uniform_real_distribution<double> uniform(0, 1);
        x.resize(static_cast<size_t>(rows * columns));
        for (int64_t c = 0; c < columns; ++c) {
            if (c != ifrq - 1 && c != iwt - 1)
                data_columns.push_back(c);
            for (int64_t i = 0; i < rows; ++i) {
                const double u = uniform(engine);
                double v = c == ifrq - 1 ? std::floor(4 * u) : c == iwt - 1 ? (u < 0.05 ? 0 : 2 * u) : normal(engine);
                if (uniform(engine) < (c == ifrq - 1 || c == iwt - 1 ? 0.01 : 0.03))
                    v = std::numeric_limits<double>::quiet_NaN();
                x[static_cast<size_t>(i + c * rows)] = static_cast<Real>(v);
            }
        }
    }
    Real at(int64_t i, int64_t c) const { return x[static_cast<size_t>(i + c * rows)]; }
    Real value(int64_t i, int64_t j) const { return at(i, data_columns[static_cast<size_t>(j)]); }
};

// The accumulators; listwise, element 0 of the count, total and sums serves all.
template <class Real>
struct Sums {
    std::vector<Real> mean, m2, m3, m4, minimum, maximum, first, changed, count, total, weight_sum, weight_sq_sum;
    int64_t missing = 0;

    explicit Sums(int64_t nvar)
    {
        const Real nan = std::numeric_limits<Real>::quiet_NaN();
        for (auto* v : {&mean, &m2, &m3, &m4, &changed, &count, &total, &weight_sum, &weight_sq_sum})
            v->assign(static_cast<size_t>(nvar), 0);
        for (auto* v : {&minimum, &maximum, &first})
            v->assign(static_cast<size_t>(nvar), nan);
    }
    void empty(size_t j) { mean[j] = m2[j] = m3[j] = m4[j] = 0; }
    void take(size_t j, Real v, bool adding, bool with_moments, Real r, Real s)
    {
        if (adding) {
            if (std::isnan(first[j])) {
                minimum[j] = maximum[j] = first[j] = v;
            } else {
                minimum[j] = std::min(minimum[j], v);
                maximum[j] = std::max(maximum[j], v);
                if (v != first[j])
                    changed[j] = 1;
            }
        }
        if (!with_moments)
            return;
        const Real d = v - mean[j], rd = r * d, d2 = d * d;
        m4[j] += -4 * rd * m3[j] + 6 * rd * rd * m2[j] + s * d2 * d2 * (1 - 3 * r * (1 - r));
        m3[j] += -3 * rd * m2[j] + s * d2 * d * (1 - 2 * r);
        m2[j] += s * d2;
        mean[j] += rd;
    }
};

// Rows from .. from + |nrow| - 1 of t taken in (nrow > 0) or out (nrow < 0).
template <class Real>
void take_rows(Sums<Real>& a, const Table<Real>& t, int64_t from, int64_t nrow, bool listwise)
{
    for (int64_t i = from; i < from + std::abs(nrow); ++i) {
        Real f = t.ifrq > 0 ? t.at(i, t.ifrq - 1) : 1;
        const Real w = t.iwt > 0 ? t.at(i, t.iwt - 1) : 1;
        bool missing = std::isnan(f) || std::isnan(w);
        for (int64_t j = 0; listwise && j < t.nvar; ++j)
            missing = missing || std::isnan(t.value(i, j));
        if (f == 0)
            continue;
        if (missing) {
            a.missing += nrow > 0 ? 1 : -1;
            continue;
        }
        if (nrow < 0)
            f = -f;
        const Real fw = f * w;
        if (listwise) {
            a.total[0] += fw;
            a.count[0] += f;
            if (a.count[0] == 0) {
                for (size_t j = 0; j < static_cast<size_t>(t.nvar); ++j)
                    a.empty(j);
                a.total[0] = 0;
                continue;
            }
            const Real r = fw / a.total[0], s = fw * (1 - r);
            if (w > 0) {
                a.weight_sum[0] += fw;
                a.weight_sq_sum[0] += fw * std::fabs(fw);
            }
            for (int64_t j = 0; j < t.nvar; ++j)
                a.take(static_cast<size_t>(j), t.value(i, j), nrow > 0, w > 0, r, s);
            continue;
        }
        bool counted = false;
        for (size_t j = 0; j < static_cast<size_t>(t.nvar); ++j) {
            const Real v = t.value(i, static_cast<int64_t>(j));
            if (std::isnan(v)) {
                a.missing += counted ? 0 : (nrow > 0 ? 1 : -1);
                counted = true;
                continue;
            }
            a.count[j] += f;
            if (a.count[j] == 0) {
                a.take(j, v, nrow > 0, false, 0, 0);
                a.empty(j);
                a.total[j] = 0;
                break;
            }
            Real total = t.iwt > 0 ? a.total[j] : a.count[j] - f;
            if (w > 0) {
                a.weight_sum[j] += fw;
                a.weight_sq_sum[j] += fw * std::fabs(fw);
                total += fw;
                a.total[j] = total;
            }
            const Real r = fw / total;
            a.take(j, v, nrow > 0, w > 0, r, fw * (1 - r));
        }
    }
}

template <class Real>
bool same(Real a, Real b)
{
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

template <class Real>
void expect_same(const char* what, int64_t j, Real library, Real reference)
{
    EXPECT_TRUE(same(library, reference)) << what << " of variable " << j << ": " << library << " against "
                                          << reference;
}

// Adds all rows but the last 100, removes the first m, adds back half of
// those, removes the last 100, which never came in (the extremes stay), and
// after each call compares every accumulator the kernel keeps.
template <class Real>
void check_kernel(const Table<Real>& t, int64_t mopt, int64_t m)
{
    const int64_t nvar = t.nvar, n = t.rows - 100;
    std::vector<Real> stat(static_cast<size_t>(kMomentRows * nvar)), first_values(static_cast<size_t>(2 * nvar));
    UpdateState<Real> state;
    state.weight_sum = static_cast<Real*>(std::malloc(sizeof(Real) * static_cast<size_t>(nvar)));
    state.weight_sq_sum = static_cast<Real*>(std::malloc(sizeof(Real) * static_cast<size_t>(nvar)));
    int64_t nrmiss = 0;
    Sums<Real> a(nvar);
    const struct {
        int64_t ido, from, nrow;
    } calls[] = {{1, 0, n}, {2, 0, -m}, {2, 0, m / 2}, {2, n, -100}};
    for (const auto& c : calls) {
        SCOPED_TRACE(testing::Message() << "rows " << c.from << " + " << c.nrow);
        l_u2sta<Real>(c.ido, c.nrow, nvar, t.x.data() + c.from, t.rows, t.ifrq, t.iwt, mopt, 0, 0, 0, stat.data(),
                      kMomentRows, &nrmiss, first_values.data(), &state);
        ASSERT_LT(orvls_n1rty(1), 4);
        take_rows(a, t, c.from, c.nrow, mopt == 0);
        EXPECT_EQ(nrmiss, a.missing);
        for (int64_t j = 0; j < nvar; ++j) {
            const size_t u = static_cast<size_t>(j), s = mopt == 0 ? 0 : u;
            auto statistic = [&](int64_t row) { return stat[static_cast<size_t>(row + kMomentRows * j)]; };
            expect_same("mean", j, statistic(kMean), a.mean[u]);
            expect_same("M2", j, statistic(kVariance), a.m2[u]);
            expect_same("M3", j, statistic(kSkewness), a.m3[u]);
            expect_same("M4", j, statistic(kKurtosis), a.m4[u]);
            expect_same("minimum", j, statistic(kMinimum), a.minimum[u]);
            expect_same("maximum", j, statistic(kMaximum), a.maximum[u]);
            expect_same("count", j, statistic(kCount), a.count[s]);
            expect_same("first value", j, first_values[u], a.first[u]);
            expect_same("change flag", j, first_values[u + static_cast<size_t>(nvar)], a.changed[u]);
            if (t.iwt > 0)
                expect_same("sum of weights", j, state.weight_totals[u], a.total[s]);
            if (mopt != 0 || j == 0) {
                expect_same("sum of f w", j, state.weight_sum[u], a.weight_sum[u]);
                expect_same("sum of (f w)^2", j, state.weight_sq_sum[u], a.weight_sq_sum[u]);
            }
        }
    }
}

// The public routine on the row-major copy of t, which has no frequencies
// or weights: the statistics that come straight from the accumulators.
template <class Real>
void check_public_routine(const Table<Real>& t, int64_t mopt)
{
    const int64_t nvar = t.nvar, n = t.rows;
    std::vector<Real> x(static_cast<size_t>(n * nvar));
    for (int64_t i = 0; i < n; ++i)
        for (int64_t j = 0; j < nvar; ++j)
            x[static_cast<size_t>(i * nvar + j)] = t.value(i, j);
    Real* result = simple_statistics<Real>(n, nvar, x.data(), mopt == 0 ? ORVLS_MISSING_LISTWISE
                                                                        : ORVLS_MISSING_ELEMENTWISE, 0);
    ASSERT_NE(result, nullptr);
    Sums<Real> a(nvar);
    take_rows(a, t, 0, n, mopt == 0);
    for (int64_t j = 0; j < nvar; ++j) {
        const size_t u = static_cast<size_t>(j), s = mopt == 0 ? 0 : u;
        auto statistic = [&](int64_t row) { return result[row * nvar + j]; };
        const Real count = a.count[s], total = a.weight_sum[s];
        const Real variance = a.m2[u] * total / (total * total - a.weight_sq_sum[s]);
        const Real v = a.m2[u] / count, deviation = std::sqrt(v);
        expect_same("mean", j, statistic(kMean), a.mean[u]);
        expect_same("variance", j, statistic(kVariance), variance);
        expect_same("skewness", j, statistic(kSkewness), a.m3[u] / (count * std::pow(deviation, Real(3))));
        expect_same("kurtosis", j, statistic(kKurtosis), a.m4[u] / (count * std::pow(v, Real(2))) - 3);
        expect_same("minimum", j, statistic(kMinimum), a.minimum[u]);
        expect_same("maximum", j, statistic(kMaximum), a.maximum[u]);
        expect_same("count", j, statistic(kCount), count);
    }
    orvls_free_allocated_memory(result);
}

template <class Real>
void check_random_tables()
{
    std::mt19937_64 engine(4417);
    const struct {
        int64_t ifrq, iwt;
    } layouts[] = {{0, 0}, {2, 0}, {0, 8}, {1, 3}, {9, 5}};
    for (const auto& layout : layouts) {
        const Table<Real> t(800, 7, layout.ifrq, layout.iwt, engine);
        for (int64_t mopt : {0, 1}) {
            for (int64_t m : {int64_t{230}, t.rows - 100}) {
                SCOPED_TRACE(testing::Message() << "ifrq " << layout.ifrq << ", iwt " << layout.iwt << ", mopt "
                                                << mopt << ", removing " << m);
                check_kernel(t, mopt, m);
            }
            if (layout.ifrq == 0 && layout.iwt == 0)
                check_public_routine(t, mopt);
        }
    }
}

TEST(SimpleStatisticsKernel, AccumulatorsAgreeBitForBitWithTheFormulas)
{
    ReportLog log;
    check_random_tables<double>();
    check_random_tables<float>();
}

}  // namespace
