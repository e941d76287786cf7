// One-way analysis of variance: the public routine anova_oneway, its
// option walk and checks, the worker l_aonew and the comparisons of the
// group means.
//
// The sums run in double for both element types, over values shifted by
// the first finite response, in blocks whose sums are added with
// compensation, in both passes: responses that share many leading digits
// (1e12 plus a small variation) keep their differences exactly, and the
// sums of squares keep at least 12 digits.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdint>

#include "anova/comparisons.h"
#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "kernels/accurate_sum.h"
#include "orvls.h"
#include "regression/inference.h"
#include "regression/outputs.h"

namespace orvls::anova {

namespace {

using kernels::AccurateSum;
using regression::is_fatal;
using regression::kAnovaValues;
using regression::Output;
using regression::ratio;
using regression::read_output;

// Columns of the group statistics table (k rows, column-major).
enum GroupColumn : int64_t { kGroupNumber = 0, kCount = 1, kGroupMean = 2, kWithinSs = 3, kGroupColumns = 4 };

// The sum of term(v - shift) over the values v of a group, skipping the
// missing ones when `skip_missing` (a missing value then adds 0), and the
// number of values taken.  Blocks of 64 values are summed in four
// interleaved lanes, which the compiler vectorises, and the block sums are
// added with compensation: a bound of about 16 rounding errors relative to
// the sum of |term|.
template <bool skip_missing, class Real, class Term>
double blocked_sum(const Real* v, int64_t n, double shift, Term term, int64_t* count)
{
    constexpr int kLanes = 4;
    constexpr int64_t kBlock = 64;
    AccurateSum<double> total;
    double kept = 0;
    for (int64_t start = 0; start < n; start += kBlock) {
        const int64_t end = std::min(n, start + kBlock);
        double lane[kLanes] = {}, present[kLanes] = {};
        auto add = [&](int l, double x) {
            if constexpr (skip_missing) {
                lane[l] += x == x ? term(x - shift) : 0.0;
                present[l] += x == x ? 1.0 : 0.0;
            } else {
                lane[l] += term(x - shift);
            }
        };
        int64_t j = start;
        for (; j + kLanes <= end; j += kLanes)
            for (int l = 0; l < kLanes; ++l)
                add(l, double(v[j + l]));
        for (; j < end; ++j)
            add(0, double(v[j]));
        total.add((lane[0] + lane[1]) + (lane[2] + lane[3]));
        kept += (present[0] + present[1]) + (present[2] + present[3]);
    }
    *count = skip_missing ? static_cast<int64_t>(kept) : n;
    return total.value();
}

// The same over the values of a group that are not missing.  The plain sum
// comes first: a missing value makes it NaN, and only then are the values
// tested one by one.
template <class Real, class Term>
double group_sum(const Real* v, int64_t n, double shift, Term term, int64_t* count)
{
    const double sum = blocked_sum<false>(v, n, shift, term, count);
    return std::isnan(sum) ? blocked_sum<true>(v, n, shift, term, count) : sum;
}

template <class Real>
struct OnewaySettings {
    Real confidence = 95;
    int64_t method = -1;  // the comparison method, none when negative
    Output<Real> anova_table, means, std_devs, comparisons;
    Output<int64_t> counts;
};

template <class Real>
void read_comparison(OptionReader& options, OnewaySettings<Real>& s, ExclusiveOptions& conflict, int64_t method,
                     bool allocated, const char* option)
{
    conflict.seen();
    s.method = method;
    read_output(options, s.comparisons, allocated, "comparisons", option);
}

template <class Real>
void read_options(OptionReader& options, OnewaySettings<Real>& s, ExclusiveOptions& conflict)
{
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_ANOVA_TABLE: read_output(options, s.anova_table, true, "anova_table", "ORVLS_ANOVA_TABLE"); break;
        case ORVLS_ANOVA_TABLE_USER:
            read_output(options, s.anova_table, false, "anova_table", "ORVLS_ANOVA_TABLE_USER");
            break;
        case ORVLS_CONFIDENCE: s.confidence = static_cast<Real>(options.real()); break;
        case ORVLS_CONFIDENCE_ADR: s.confidence = options.real_address<Real>(); break;
        case ORVLS_GROUP_MEANS: read_output(options, s.means, true, "group_means", "ORVLS_GROUP_MEANS"); break;
        case ORVLS_GROUP_MEANS_USER:
            read_output(options, s.means, false, "group_means", "ORVLS_GROUP_MEANS_USER");
            break;
        case ORVLS_GROUP_STD_DEVS:
            read_output(options, s.std_devs, true, "group_std_devs", "ORVLS_GROUP_STD_DEVS");
            break;
        case ORVLS_GROUP_STD_DEVS_USER:
            read_output(options, s.std_devs, false, "group_std_devs", "ORVLS_GROUP_STD_DEVS_USER");
            break;
        case ORVLS_GROUP_COUNTS: read_output(options, s.counts, true, "group_counts", "ORVLS_GROUP_COUNTS"); break;
        case ORVLS_GROUP_COUNTS_USER:
            read_output(options, s.counts, false, "group_counts", "ORVLS_GROUP_COUNTS_USER");
            break;
        case ORVLS_TUKEY: read_comparison(options, s, conflict, kTukey, true, "ORVLS_TUKEY"); break;
        case ORVLS_TUKEY_USER: read_comparison(options, s, conflict, kTukey, false, "ORVLS_TUKEY_USER"); break;
        case ORVLS_DUNN_SIDAK: read_comparison(options, s, conflict, kDunnSidak, true, "ORVLS_DUNN_SIDAK"); break;
        case ORVLS_DUNN_SIDAK_USER:
            read_comparison(options, s, conflict, kDunnSidak, false, "ORVLS_DUNN_SIDAK_USER");
            break;
        case ORVLS_BONFERRONI: read_comparison(options, s, conflict, kBonferroni, true, "ORVLS_BONFERRONI"); break;
        case ORVLS_BONFERRONI_USER:
            read_comparison(options, s, conflict, kBonferroni, false, "ORVLS_BONFERRONI_USER");
            break;
        case ORVLS_SCHEFFE: read_comparison(options, s, conflict, kScheffe, true, "ORVLS_SCHEFFE"); break;
        case ORVLS_SCHEFFE_USER: read_comparison(options, s, conflict, kScheffe, false, "ORVLS_SCHEFFE_USER"); break;
        case ORVLS_ONE_AT_A_TIME:
            read_comparison(options, s, conflict, kOneAtATime, true, "ORVLS_ONE_AT_A_TIME");
            break;
        case ORVLS_ONE_AT_A_TIME_USER:
            read_comparison(options, s, conflict, kOneAtATime, false, "ORVLS_ONE_AT_A_TIME_USER");
            break;
        default: options.unknown(code);
        }
    }
}

void check_group_sizes(int64_t n_groups, const int64_t* n)
{
    for (int64_t i = 0; i < n_groups; ++i) {
        if (n[i] < 0) {
            orvls_e1sti(1, i);
            orvls_e1sti(2, n[i]);
            orvls_e1sti(3, i + 1);
            orvls_ermes(5, 11127);
            return;
        }
    }
}

int64_t comparison_rows(int64_t n_groups) { return n_groups * (n_groups - 1) / 2; }

// The first finite response, the shift of every sum; 0 when there is none.
template <class Real>
double first_finite(int64_t total, const Real* y)
{
    for (int64_t i = 0; i < total; ++i)
        if (std::isfinite(y[i]))
            return y[i];
    return 0;
}

// What l_aonew forms: the group statistics table, the group means less the
// shift, and the analysis-of-variance table.
template <class Real>
struct Layout {
    WorkArray<Real> groups;      // the group statistics table
    WorkArray<double> shifted;   // the group means less the shift
    Real aov[kAnovaValues];
};

// l_aonew: two passes over each group, then the table through orvls_g1aov.
template <class Real>
void l_aonew(int64_t n_groups, const int64_t* n, const Real* y, Layout<Real>& layout)
{
    int64_t total = 0;
    for (int64_t i = 0; i < n_groups; ++i)
        total += n[i];
    const double shift = first_finite(total, y);
    Real* const number = layout.groups.get() + kGroupNumber * n_groups;
    Real* const count = layout.groups.get() + kCount * n_groups;
    Real* const mean = layout.groups.get() + kGroupMean * n_groups;
    Real* const within = layout.groups.get() + kWithinSs * n_groups;
    AccurateSum<double> grand, within_total;
    int64_t observations = 0, groups_left = 0;
    const Real* group = y;
    for (int64_t i = 0; i < n_groups; group += n[i], ++i) {
        int64_t m;
        const double shifted_sum = group_sum(group, n[i], shift, [](double d) { return d; }, &m);
        const double shifted_mean = ratio(shifted_sum, double(m));
        auto square = [shifted_mean](double d) { return (d - shifted_mean) * (d - shifted_mean); };
        const double squares = m == 0 ? 0.0 : group_sum(group, n[i], shift, square, &m);
        layout.shifted[i] = shifted_mean;
        number[i] = Real(i + 1);
        count[i] = Real(m);
        mean[i] = static_cast<Real>(shift + shifted_mean);
        within[i] = static_cast<Real>(squares);
        grand.add(shifted_sum);
        within_total.add(squares);
        observations += m;
        groups_left += m > 0;
    }
    const double grand_shifted = ratio(grand.value(), double(observations));
    AccurateSum<double> between;
    for (int64_t i = 0; i < n_groups; ++i) {
        if (count[i] > 0) {
            const double deviation = layout.shifted[i] - grand_shifted;
            between.add(double(count[i]) * deviation * deviation);
        }
    }
    regression::orvls_g1aov(Real(groups_left - 1), static_cast<Real>(between.value()),
                            Real(observations - groups_left), static_cast<Real>(within_total.value()),
                            static_cast<Real>(shift + grand_shifted), layout.aov);
}

// The groups that kept values, sorted by mean (group number on ties), with
// their numbers, counts and means; the number of them.
template <class Real>
int64_t sorted_groups(int64_t n_groups, const Real* groups, int64_t* order, Real* numbers, Real* counts, Real* means)
{
    const Real* count = groups + kCount * n_groups;
    const Real* mean = groups + kGroupMean * n_groups;
    int64_t k = 0;
    for (int64_t i = 0; i < n_groups; ++i)
        if (count[i] > 0)
            order[k++] = i;
    std::sort(order, order + k, [&](int64_t a, int64_t b) {
        if (mean[a] < mean[b] || (!std::isnan(mean[a]) && std::isnan(mean[b])))
            return true;
        const bool tie = mean[a] == mean[b] || (std::isnan(mean[a]) && std::isnan(mean[b]));
        return tie && a < b;
    });
    for (int64_t j = 0; j < k; ++j) {
        numbers[j] = Real(order[j] + 1);
        counts[j] = count[order[j]];
        means[j] = mean[order[j]];
    }
    return k;
}

// The comparison table: the pairs of the groups that kept values, the rows
// left over NaN.  11220 when it cannot be formed.
template <class Real>
void compare_groups(int64_t n_groups, const Layout<Real>& layout, const OnewaySettings<Real>& s, Real* table)
{
    const int64_t rows = comparison_rows(n_groups);
    std::fill(table, table + rows * kComparisonValues, missing_value<Real>());
    const auto size = static_cast<std::size_t>(n_groups);
    WorkArray<int64_t> order(size);
    WorkArray<Real> sorted(3 * size);
    if (!order.ok() || !sorted.ok()) {
        orvls_ermes(5, 200);
        return;
    }
    Real* numbers = sorted.get();
    Real* counts = numbers + n_groups;
    Real* means = counts + n_groups;
    const int64_t k = sorted_groups(n_groups, layout.groups.get(), order.get(), numbers, counts, means);
    if (k >= 2) {
        l_s2ipm(s.method, k, numbers, counts, means, layout.aov[regression::kErrorMs],
                layout.aov[regression::kErrorDf], s.confidence, table, rows);
        if (!is_fatal(orvls_n1rty(1)))
            return;
    }
    orvls_ermes(5, 11220);
}

template <class Real>
bool allocate_outputs(int64_t n_groups, OnewaySettings<Real>& s, Layout<Real>& layout)
{
    const auto k = static_cast<std::size_t>(n_groups);
    if (layout.groups.reset(kGroupColumns * k) && layout.shifted.reset(k) && s.anova_table.allocate_for(kAnovaValues) &&
        s.means.allocate_for(n_groups) && s.std_devs.allocate_for(n_groups) && s.counts.allocate_for(n_groups) &&
        s.comparisons.allocate_for(comparison_rows(n_groups) * kComparisonValues))
        return true;
    orvls_e1sti(1, n_groups);
    orvls_e1stl(1, "n_groups");
    orvls_ermes(5, 201);
    return false;
}

template <class Real>
void deliver(int64_t n_groups, OnewaySettings<Real>& s, const Layout<Real>& layout)
{
    const Real* count = layout.groups.get() + kCount * n_groups;
    const Real* mean = layout.groups.get() + kGroupMean * n_groups;
    const Real* within = layout.groups.get() + kWithinSs * n_groups;
    if (s.anova_table.wanted())
        std::copy(layout.aov, layout.aov + kAnovaValues, s.anova_table.data());
    for (int64_t i = 0; i < n_groups; ++i) {
        if (s.means.wanted())
            s.means.data()[i] = mean[i];
        if (s.std_devs.wanted())
            s.std_devs.data()[i] = count[i] >= 2 ? std::sqrt(within[i] / (count[i] - 1)) : missing_value<Real>();
        if (s.counts.wanted())
            s.counts.data()[i] = static_cast<int64_t>(count[i]);
    }
    s.anova_table.hand_over();
    s.means.hand_over();
    s.std_devs.hand_over();
    s.counts.hand_over();
    s.comparisons.hand_over();
}

template <class Real>
Real anova_oneway(int64_t n_groups, const int64_t* n, const Real* y, OptionReader& options)
{
    OnewaySettings<Real> s;
    ExclusiveOptions conflict(
        "ORVLS_TUKEY, ORVLS_DUNN_SIDAK, ORVLS_BONFERRONI, ORVLS_SCHEFFE, and ORVLS_ONE_AT_A_TIME");
    read_options(options, s, conflict);
    if (orvls_n1rty(0) > 0)
        return missing_value<Real>();
    int64_t checks = 0;
    if (orvls_check_range(n_groups, "n_groups", 1, -1, &checks))
        check_group_sizes(n_groups, n);
    conflict.report();
    if (s.method >= 0)
        check_interval_confidence(s.method, s.confidence);
    if (is_fatal(orvls_n1rty(0)))
        return missing_value<Real>();

    Layout<Real> layout;
    if (!allocate_outputs(n_groups, s, layout))
        return missing_value<Real>();
    l_aonew(n_groups, n, y, layout);
    if (s.method >= 0)
        compare_groups(n_groups, layout, s, s.comparisons.data());
    if (is_fatal(orvls_n1rty(0)))
        return missing_value<Real>();
    deliver(n_groups, s, layout);
    return layout.aov[regression::kProbF];
}

template <class Real>
Real anova_oneway_entry(const char* name, int64_t n_groups, const int64_t* n, const Real* y, va_list ap)
{
    OptionReader options(ap, 3);
    return envelope<Real>(name, missing_value<Real>(), [&] { return anova_oneway(n_groups, n, y, options); });
}

}  // namespace

}  // namespace orvls::anova

extern "C" {

ORVLS_API float orvls_f_anova_oneway(int64_t n_groups, const int64_t* n, const float* y, ...)
{
    va_list ap;
    va_start(ap, y);
    const float p = orvls::anova::anova_oneway_entry("orvls_f_anova_oneway", n_groups, n, y, ap);
    va_end(ap);
    return p;
}

ORVLS_API double orvls_d_anova_oneway(int64_t n_groups, const int64_t* n, const double* y, ...)
{
    va_list ap;
    va_start(ap, y);
    const double p = orvls::anova::anova_oneway_entry("orvls_d_anova_oneway", n_groups, n, y, ap);
    va_end(ap);
    return p;
}

}  // extern "C"
