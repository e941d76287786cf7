// The nested (hierarchical) analysis of variance: factor 1, factor 2 within
// factor 1, ..., the last factor (the responses) within the one before.
// Equal and unequal numbers of levels share one path: a hierarchy of groups
// whose responses lie in one contiguous run of y each.
#include <cmath>
#include <cstdarg>

#include "anova/components.h"
#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "kernels/accurate_sum.h"
#include "orvls.h"
#include "regression/inference.h"

namespace orvls::anova {

namespace {

using kernels::accurate_mean;
using kernels::AccurateSum;
using regression::is_fatal;

// The groups of every depth: depth 0 is the whole, depth d the groups of
// factor d, depth n the single responses (not stored).  The groups of a
// depth are stored one behind the other, each with the first response of
// its run, its number of responses and its parent.
struct Hierarchy {
    int64_t depths = 0;                // n_factors
    WorkArray<int64_t> offset;         // start of each depth's groups, depths + 1 entries
    WorkArray<int64_t> first, size, parent;

    int64_t groups(int64_t d) const { return offset[d + 1] - offset[d]; }
    // The group count of depth d, the responses included.
    int64_t count(int64_t d, int64_t n_obs) const { return d == depths ? n_obs : groups(d); }
};

// The list of n_levels in its unequal form: the groups of factor 1, then
// for every group of each factor in turn its number of groups of the next
// (the last: of responses).  Equal numbers are spread into that form.
struct LevelList {
    WorkArray<int64_t> spread;
    const int64_t* entries = nullptr;
    int64_t length = 0;
    int64_t responses = 0;
};

// Counts beyond this cannot be held in memory; refused as a short allocation.
constexpr int64_t kMostGroups = int64_t(1) << 32;

bool count_valid(int64_t entry, int64_t count)
{
    if (count >= 1)
        return true;
    orvls_e1sti(1, entry + 1);
    orvls_e1sti(2, count);
    orvls_ermes(5, 20303);
    return false;
}

// Checks the counts and finds the list's length and the number of
// responses; false after an error.
bool measure(int64_t n_factors, bool equal, const int64_t* n_levels, LevelList& list)
{
    int64_t at = 0, groups = 1;
    for (int64_t d = 0; d < n_factors; ++d) {
        if (equal && !count_valid(d, n_levels[d]))
            return false;
        int64_t next = 0;
        for (int64_t g = 0; g < groups; ++g, ++at) {
            const int64_t count = equal ? n_levels[d] : n_levels[at];
            if (!equal && !count_valid(at, count))
                return false;
            next += count;
            if (next > kMostGroups) {
                refuse_memory(next);
                return false;
            }
        }
        groups = next;
    }
    list.length = at;
    list.responses = groups;
    return true;
}

bool spread_equal(int64_t n_factors, const int64_t* n_levels, LevelList& list)
{
    if (!list.spread.reset(list.length))
        return false;
    for (int64_t d = 0, at = 0, count = 1; d < n_factors; count *= n_levels[d++])
        for (int64_t g = 0; g < count; ++g)
            list.spread[at++] = n_levels[d];
    list.entries = list.spread.get();
    return true;
}

// Builds the groups from the list.
bool build(int64_t n_factors, const LevelList& list, Hierarchy& h)
{
    h.depths = n_factors;
    if (!h.offset.reset(n_factors + 1) || !h.first.reset(list.length) || !h.size.reset(list.length) ||
        !h.parent.reset(list.length))
        return false;
    // Depth d's groups are the entries of the list's block d - 1; depth 0 is
    // the one entry before them.
    h.offset[0] = 0;
    for (int64_t d = 0, at = 0, groups = 1; d < n_factors; ++d) {
        h.offset[d + 1] = h.offset[d] + groups;
        int64_t next = 0;
        for (int64_t g = 0; g < groups; ++g)
            next += list.entries[at++];
        groups = next;
    }
    h.parent[0] = -1;
    for (int64_t d = 1; d < n_factors; ++d)
        for (int64_t p = h.offset[d - 1], child = h.offset[d]; p < h.offset[d]; ++p)
            for (int64_t k = 0; k < list.entries[p]; ++k)
                h.parent[child++] = p;
    // Runs of responses, from the deepest groups up.
    int64_t n_obs = 0;
    for (int64_t g = h.offset[n_factors - 1]; g < h.offset[n_factors]; ++g) {
        h.first[g] = n_obs;
        h.size[g] = list.entries[g];
        n_obs += h.size[g];
    }
    for (int64_t d = n_factors - 2; d >= 0; --d) {
        for (int64_t g = h.offset[d]; g < h.offset[d + 1]; ++g)
            h.size[g] = 0;
        for (int64_t c = h.offset[d + 1]; c < h.offset[d + 2]; ++c) {
            if (h.size[h.parent[c]] == 0)
                h.first[h.parent[c]] = h.first[c];
            h.size[h.parent[c]] += h.size[c];
        }
    }
    return true;
}

// A factor whose groups each hold one group of the next has no degrees of
// freedom; refused (20304), with the factor's number.
bool every_factor_free(const Hierarchy& h, int64_t n_obs)
{
    for (int64_t d = 1; d <= h.depths; ++d)
        if (h.count(d, n_obs) <= h.count(d - 1, n_obs)) {
            orvls_e1sti(1, d);
            orvls_ermes(5, 20304);
            return false;
        }
    return true;
}

// Sums of squares of the sources: source d (1 to n) is the spread of the
// means of depth d about the means of their parents, each weighted by its
// responses.  Means are of y less its accurate mean, summed accurately, so
// that responses with many equal leading digits keep their variation.
template <class Real>
void sums_of_squares(const Hierarchy& h, const Real* y, Real shift, Real* means, Real* ss)
{
    for (int64_t g = 0; g < h.offset[h.depths]; ++g) {
        AccurateSum<Real> sum;
        for (int64_t i = h.first[g]; i < h.first[g] + h.size[g]; ++i)
            sum.add(y[i] - shift);
        means[g] = sum.value() / Real(h.size[g]);
    }
    for (int64_t d = 1; d < h.depths; ++d) {
        AccurateSum<Real> sum;
        for (int64_t g = h.offset[d]; g < h.offset[d + 1]; ++g) {
            const Real deviation = means[g] - means[h.parent[g]];
            sum.add(Real(h.size[g]) * deviation * deviation);
        }
        ss[d - 1] = sum.value();
    }
    AccurateSum<Real> within;
    for (int64_t g = h.offset[h.depths - 1]; g < h.offset[h.depths]; ++g)
        for (int64_t i = h.first[g]; i < h.first[g] + h.size[g]; ++i) {
            const Real deviation = y[i] - shift - means[g];
            within.add(deviation * deviation);
        }
    ss[h.depths - 1] = within.value();
}

// The ancestor at depth `to` of group g at depth `from`.
int64_t ancestor(const Hierarchy& h, int64_t g, int64_t from, int64_t to)
{
    for (; from > to; --from)
        g = h.parent[g];
    return g;
}

// The expected mean squares: the term of depth j >= i enters source i with
// sum over groups w of depth j of n_w^2 (1/n_a - 1/n_b), a and b the
// ancestors of w at depths i and i - 1, over the degrees of freedom of i;
// the responses' term (the error variance) with 1.
void expected_mean_squares(const Hierarchy& h, const double* df, double* ems)
{
    const int64_t n = h.depths;
    for (int64_t i = 0; i < n * n; ++i)
        ems[i] = 0;
    for (int64_t i = 1; i <= n; ++i) {
        ems[(i - 1) * n + n - 1] = 1;
        for (int64_t j = i; j < n; ++j) {
            double sum = 0;
            for (int64_t w = h.offset[j]; w < h.offset[j + 1]; ++w) {
                const int64_t a = ancestor(h, w, j, i);
                const int64_t b = h.parent[a];
                const double nw = double(h.size[w]);
                sum += nw * nw * (1 / double(h.size[a]) - 1 / double(h.size[b]));
            }
            ems[(i - 1) * n + j - 1] = sum / df[i - 1];
        }
    }
}

template <class Real>
Real anova_nested(int64_t n_factors, int64_t equal_option, const int64_t* n_levels, const Real* y,
                  OptionReader& options)
{
    const Real nan = missing_value<Real>();
    RandomModelOptions<Real> settings;
    read_random_model_options(options, settings, false);
    if (orvls_n1rty(0) > 0)
        return nan;
    int64_t checks = 0;
    if (!orvls_check_range(n_factors, "n_factors", 2, 1, &checks) ||
        !orvls_check_range(equal_option, "equal_option", 0, 1, &checks))
        return nan;
    if (!regression::check_confidence(double(settings.confidence)))
        return nan;
    LevelList list;
    if (!measure(n_factors, equal_option == 1, n_levels, list))
        return nan;
    const int64_t n_obs = list.responses;
    list.entries = n_levels;
    Hierarchy h;
    if ((equal_option == 1 && !spread_equal(n_factors, n_levels, list)) || !build(n_factors, list, h)) {
        refuse_memory(n_obs);
        return nan;
    }
    if (!every_factor_free(h, n_obs) || !responses_present(n_obs, y))
        return nan;

    WorkArray<Real> means(h.offset[n_factors]), df(n_factors), ss(n_factors);
    WorkArray<double> df_real(n_factors), ems(n_factors * n_factors);
    WorkArray<bool> random(n_factors);
    if (!means.ok() || !df.ok() || !ss.ok() || !df_real.ok() || !ems.ok() || !random.ok()) {
        refuse_memory(n_obs);
        return nan;
    }
    const Real shift = accurate_mean(n_obs, y);
    sums_of_squares(h, y, shift, means.get(), ss.get());
    for (int64_t d = 1; d <= n_factors; ++d) {
        df_real[d - 1] = double(h.count(d, n_obs) - h.count(d - 1, n_obs));
        df[d - 1] = Real(df_real[d - 1]);
        random[d - 1] = true;
    }
    expected_mean_squares(h, df_real.get(), ems.get());
    for (int64_t g = 0; g < h.offset[n_factors]; ++g)
        means[g] += shift;
    const SourceModel<Real> model{n_factors, df.get(), ss.get(), ems.get(), random.get()};
    const Real p = deliver_random_model(model, means[0], means.get(), h.offset[n_factors], settings, n_obs);
    return is_fatal(orvls_n1rty(0)) ? nan : p;
}

template <class Real>
Real nested_entry(const char* name, int64_t n_factors, int64_t equal_option, const int64_t* n_levels, const Real* y,
                  va_list ap)
{
    OptionReader options(ap, 4);
    return envelope<Real>(name, missing_value<Real>(),
                          [&] { return anova_nested(n_factors, equal_option, n_levels, y, options); });
}

}  // namespace

}  // namespace orvls::anova

extern "C" {

ORVLS_API float orvls_f_anova_nested(int64_t n_factors, int64_t equal_option, const int64_t* n_levels,
                                     const float* y, ...)
{
    va_list ap;
    va_start(ap, y);
    const float p = orvls::anova::nested_entry("orvls_f_anova_nested", n_factors, equal_option, n_levels, y, ap);
    va_end(ap);
    return p;
}

ORVLS_API double orvls_d_anova_nested(int64_t n_factors, int64_t equal_option, const int64_t* n_levels,
                                      const double* y, ...)
{
    va_list ap;
    va_start(ap, y);
    const double p = orvls::anova::nested_entry("orvls_d_anova_nested", n_factors, equal_option, n_levels, y, ap);
    va_end(ap);
    return p;
}

}  // extern "C"
