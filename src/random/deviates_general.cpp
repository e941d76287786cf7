// Generators from tables: a discrete law from its cumulative probabilities,
// and a continuous law from points of its distribution function, with the
// routines that build those tables from a function of the caller.
#include <algorithm>
#include <cmath>

#include "random/deviates.h"

namespace orvls {

namespace {

// The table builder places points until the distribution function, read
// between them by straight lines, is within this of the caller's at every
// midpoint, and warns when the points run out first or the range leaves out
// more probability than this.
constexpr double kTableTolerance = 1e-4;

bool refuse_null(const void* pointer, const char* name)
{
    if (pointer != nullptr)
        return false;
    orvls_e1stl(1, name);
    orvls_ermes(5, 150);
    return true;
}

void raise_table_error(int64_t code, int64_t index, double value)
{
    orvls_e1sti(1, index);
    orvls_e1std(1, value);
    orvls_ermes(5, code);
}

// ---- Discrete ----------------------------------------------------------------

// Cumulative probabilities of first, first + 1, ..., normalised to end at 1.
template <class Real>
void discrete_table_fill(Real (*probability)(int64_t), int64_t first, int64_t n_values, Real* cumulative)
{
    Real sum = 0;
    for (int64_t i = 0; i < n_values; ++i) {
        const Real p = probability(first + i);
        if (!(p >= 0 && std::isfinite(p))) {
            raise_table_error(65121, i + 1, p);
            return;
        }
        sum += p;
        cumulative[i] = sum;
    }
    if (!(sum > 0 && std::isfinite(sum))) {
        raise_table_error(65122, n_values, sum);
        return;
    }
    for (int64_t i = 0; i < n_values; ++i)
        cumulative[i] /= sum;
    cumulative[n_values - 1] = 1;
}

// A cumulative table must not decrease, start at or above 0 and end at 1.
template <class Real>
bool discrete_table_valid(int64_t n_values, const Real* cumulative)
{
    Real previous = 0;
    for (int64_t i = 0; i < n_values; ++i) {
        if (!(cumulative[i] >= previous)) {
            raise_table_error(65121, i + 1, cumulative[i]);
            return false;
        }
        previous = cumulative[i];
    }
    if (cumulative[n_values - 1] != 1) {
        raise_table_error(65122, n_values, cumulative[n_values - 1]);
        return false;
    }
    return true;
}

// Inversion by binary search: the first value whose cumulative probability
// reaches u.
template <class Real>
void general_discrete_fill(int64_t n, int64_t first, int64_t n_values, const Real* cumulative, int64_t* r)
{
    int64_t checks = 0;
    if (!orvls_check_range(n_values, "n_values", 1, 0, &checks) || refuse_null(cumulative, "cumulative") ||
        !discrete_table_valid(n_values, cumulative))
        return;
    WorkArray<Real> u(static_cast<std::size_t>(n));
    if (!u.ok()) {
        orvls_ermes(5, 200);
        return;
    }
    if (!draw_uniforms(n, u.get()))
        return;
    for (int64_t i = 0; i < n; ++i)
        r[i] = first + (std::lower_bound(cumulative, cumulative + n_values, u[i]) - cumulative);
}

// ---- Continuous --------------------------------------------------------------

// An interval between two placed points, with the caller's distribution
// function at its midpoint and how far the straight line misses it there.
template <class Real>
struct TableInterval {
    Real left_x, left_f, right_x, right_f, middle_x, middle_f, miss;
    bool operator<(const TableInterval& other) const { return miss < other.miss; }
};

template <class Real>
TableInterval<Real> make_interval(Real (*cdf)(Real), Real left_x, Real left_f, Real right_x, Real right_f)
{
    const Real middle_x = left_x + (right_x - left_x) / 2;
    const Real middle_f = cdf(middle_x);
    return {left_x, left_f, right_x, right_f, middle_x, middle_f, std::fabs(middle_f - (left_f + right_f) / 2)};
}

// Points of the distribution function on [lower, upper], rows (x, F), F
// rescaled to run from 0 to 1.  The interval that the straight line fits
// worst is split at its midpoint until the n_points are placed.
template <class Real>
void continuous_table_fill(Real (*cdf)(Real), int64_t n_points, Real lower, Real upper, Real* table)
{
    if (!(lower < upper)) {
        raise_table_error(65120, 2, upper);
        return;
    }
    const Real f_lower = cdf(lower);
    const Real f_upper = cdf(upper);
    if (!(f_lower >= 0 && f_upper <= 1 && f_upper > f_lower)) {
        raise_table_error(65122, 1, f_upper - f_lower);
        return;
    }
    WorkArray<TableInterval<Real>> heap(static_cast<std::size_t>(n_points));
    if (!heap.ok()) {
        orvls_ermes(5, 200);
        return;
    }
    TableInterval<Real>* begin = heap.get();
    int64_t intervals = 0;
    const auto push = [&](const TableInterval<Real>& interval) {
        begin[intervals++] = interval;
        std::push_heap(begin, begin + intervals);
    };
    push(make_interval(cdf, lower, f_lower, upper, f_upper));
    for (int64_t placed = 2; placed < n_points; ++placed) {
        std::pop_heap(begin, begin + intervals);
        const TableInterval<Real> worst = begin[--intervals];
        if (!(worst.middle_f >= worst.left_f && worst.middle_f <= worst.right_f)) {
            raise_table_error(65121, placed + 1, worst.middle_f);
            return;
        }
        push(make_interval(cdf, worst.left_x, worst.left_f, worst.middle_x, worst.middle_f));
        push(make_interval(cdf, worst.middle_x, worst.middle_f, worst.right_x, worst.right_f));
    }
    const Real scale = f_upper - f_lower;
    Real worst_miss = 0;
    for (int64_t i = 0; i < intervals; ++i)
        worst_miss = std::max(worst_miss, begin[i].miss / scale);
    // Rows in increasing x: the left ends of the intervals, then upper.
    std::sort(begin, begin + intervals,
              [](const TableInterval<Real>& a, const TableInterval<Real>& b) { return a.left_x < b.left_x; });
    for (int64_t i = 0; i < intervals; ++i) {
        table[2 * i] = begin[i].left_x;
        table[2 * i + 1] = (begin[i].left_f - f_lower) / scale;
    }
    table[2 * intervals] = upper;
    table[2 * intervals + 1] = 1;
    if (worst_miss > Real(kTableTolerance) || f_lower > Real(kTableTolerance) ||
        1 - f_upper > Real(kTableTolerance)) {
        orvls_e1std(1, worst_miss);
        orvls_ermes(3, 65128);
    }
}

// Abscissae must increase, F must not decrease and run from 0 to 1.
template <class Real>
bool continuous_table_valid(int64_t n_points, const Real* table)
{
    for (int64_t i = 1; i < n_points; ++i) {
        if (!(table[2 * i] > table[2 * i - 2])) {
            raise_table_error(65120, i + 1, table[2 * i]);
            return false;
        }
        if (!(table[2 * i + 1] >= table[2 * i - 1])) {
            raise_table_error(65121, i + 1, table[2 * i + 1]);
            return false;
        }
    }
    if (table[1] != 0 || table[2 * n_points - 1] != 1) {
        raise_table_error(65122, table[1] != 0 ? 1 : n_points, table[1] != 0 ? table[1] : table[2 * n_points - 1]);
        return false;
    }
    return true;
}

// Inversion of the piecewise-linear distribution function.
template <class Real>
Real table_inverse(int64_t n_points, const Real* table, Real u)
{
    int64_t low = 0;
    int64_t high = n_points - 1;
    while (high - low > 1) {
        const int64_t middle = low + (high - low) / 2;
        if (table[2 * middle + 1] <= u)
            low = middle;
        else
            high = middle;
    }
    const Real x0 = table[2 * low];
    const Real f0 = table[2 * low + 1];
    return x0 + (u - f0) / (table[2 * high + 1] - f0) * (table[2 * high] - x0);
}

template <class Real>
void general_continuous_fill(int64_t n, int64_t n_points, const Real* table, Real* r)
{
    int64_t checks = 0;
    if (!orvls_check_range(n_points, "n_points", 2, 0, &checks) || refuse_null(table, "table") ||
        !continuous_table_valid(n_points, table))
        return;
    if (!draw_uniforms(n, r))
        return;
    for (int64_t i = 0; i < n; ++i)
        r[i] = table_inverse(n_points, table, r[i]);
}

// ---- Entries -------------------------------------------------------------------

template <class Real>
Real* discrete_table_entry(Real (*probability)(int64_t), int64_t first, int64_t n_values, va_list ap)
{
    return array_routine<Real>(
        public_name<Real>("orvls_f_discrete_table_setup", "orvls_d_discrete_table_setup"), ap, 3, "n_values",
        n_values, 1, n_values, [&](int64_t n, Real* cumulative) {
            if (!refuse_null(reinterpret_cast<const void*>(probability), "probability"))
                discrete_table_fill(probability, first, n, cumulative);
        });
}

template <class Real>
Real* continuous_table_entry(Real (*cdf)(Real), int64_t n_points, Real lower, Real upper, va_list ap)
{
    return array_routine<Real>(
        public_name<Real>("orvls_f_continuous_table_setup", "orvls_d_continuous_table_setup"), ap, 4, "n_points",
        n_points, 2, 2 * n_points, [&](int64_t n, Real* table) {
            if (!refuse_null(reinterpret_cast<const void*>(cdf), "cdf"))
                continuous_table_fill(cdf, n, lower, upper, table);
        });
}

template <class Real>
int64_t* general_discrete_entry(int64_t n_random, int64_t first, int64_t n_values, const Real* cumulative, va_list ap)
{
    return deviate_routine<int64_t>(
        public_name<Real>("orvls_f_random_general_discrete", "orvls_d_random_general_discrete"), n_random, ap, 4,
        [&](int64_t n, int64_t* r) { general_discrete_fill(n, first, n_values, cumulative, r); });
}

template <class Real>
Real* general_continuous_entry(int64_t n_random, int64_t n_points, const Real* table, va_list ap)
{
    return deviate_routine<Real>(
        public_name<Real>("orvls_f_random_general_continuous", "orvls_d_random_general_continuous"), n_random, ap,
        3, [&](int64_t n, Real* r) { general_continuous_fill(n, n_points, table, r); });
}

}  // namespace

}  // namespace orvls

using namespace orvls;

ORVLS_DEVIATE_ENTRY(float, orvls_f_discrete_table_setup, n_values,
                    discrete_table_entry(probability, first, n_values, ap), float (*probability)(int64_t),
                    int64_t first, int64_t n_values)
ORVLS_DEVIATE_ENTRY(double, orvls_d_discrete_table_setup, n_values,
                    discrete_table_entry(probability, first, n_values, ap), double (*probability)(int64_t),
                    int64_t first, int64_t n_values)
ORVLS_DEVIATE_ENTRY(float, orvls_f_continuous_table_setup, upper,
                    continuous_table_entry(cdf, n_points, lower, upper, ap), float (*cdf)(float), int64_t n_points,
                    float lower, float upper)
ORVLS_DEVIATE_ENTRY(double, orvls_d_continuous_table_setup, upper,
                    continuous_table_entry(cdf, n_points, lower, upper, ap), double (*cdf)(double), int64_t n_points,
                    double lower, double upper)
ORVLS_DEVIATE_ENTRY(int64_t, orvls_f_random_general_discrete, cumulative,
                    general_discrete_entry(n_random, first, n_values, cumulative, ap), int64_t n_random,
                    int64_t first, int64_t n_values, const float* cumulative)
ORVLS_DEVIATE_ENTRY(int64_t, orvls_d_random_general_discrete, cumulative,
                    general_discrete_entry(n_random, first, n_values, cumulative, ap), int64_t n_random,
                    int64_t first, int64_t n_values, const double* cumulative)
ORVLS_DEVIATE_ENTRY(float, orvls_f_random_general_continuous, table,
                    general_continuous_entry(n_random, n_points, table, ap), int64_t n_random, int64_t n_points,
                    const float* table)
ORVLS_DEVIATE_ENTRY(double, orvls_d_random_general_continuous, table,
                    general_continuous_entry(n_random, n_points, table, ap), int64_t n_random, int64_t n_points,
                    const double* table)
