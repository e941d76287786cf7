#include "basic/u2sta.h"

#include <algorithm>
#include <cmath>

#include "basic/precision.h"
#include "frame/checks.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "frame/safe_divide.h"
#include "orvls.h"

namespace orvls::basic {

namespace {

// The arguments of one kernel call, with the accessors the parts share.
template <class Real>
struct KernelCall {
    int64_t ido, nrow, nvar;
    const Real* x;
    int64_t row_step, column_step;  // x as the caller stores it: column-major or row-major
    int64_t ifrq, iwt, mopt;
    Real conprm, conprv;
    Real* stat;
    int64_t ldstat;
    int64_t* nrmiss;
    Real* first_values;
    UpdateState<Real>* state;
    int64_t skipped_low, skipped_high;  // the frequency and weight columns, ordered, zero-based; -1 for none

    Real& at(int64_t row, int64_t j) const { return stat[row + j * ldstat]; }
    Real element(int64_t i, int64_t column) const { return x[i * row_step + column * column_step]; }
    // The column of variable j: the data columns skip the frequency and weight.
    const Real* column(int64_t j) const
    {
        int64_t c = j;
        if (skipped_low >= 0 && c >= skipped_low)
            ++c;
        if (skipped_high >= 0 && c >= skipped_high)
            ++c;
        return x + c * column_step;
    }
    Real value(int64_t i, int64_t j) const { return column(j)[i * row_step]; }
    Real& first_value(int64_t j) const { return first_values[j]; }
    Real& not_constant(int64_t j) const { return first_values[nvar + j]; }
    bool listwise() const { return mopt < 1; }
    void count_missing() const { *nrmiss += nrow > 0 ? 1 : -1; }
};

// A warning about one variable, numbered from 1.
void warn(int64_t code, int64_t j)
{
    orvls_e1sti(1, j + 1);
    orvls_ermes(6, code);
}

template <class Real>
void check_arguments(const KernelCall<Real>& k, int64_t iprint)
{
    int64_t checks = 0;
    orvls_check_range(k.ido, "ido", 0, 3, &checks);
    orvls_check_range(k.nvar, "nvar", 1, -1, &checks);
    orvls_check_range(k.ifrq, "ifrq", 0, -1, &checks);
    orvls_check_range(k.iwt, "iwt", 0, -1, &checks);
    orvls_check_range(iprint, "iprint", 0, 2, &checks);
}

template <class Real>
void zero_moments(const KernelCall<Real>& k, int64_t j)
{
    for (int64_t row : {kMean, kVariance, kSkewness, kKurtosis})
        k.at(row, j) = 0;
}

// The first call of a sequence: the sums of weights, and every accumulator
// back to its empty state.  False when the sums cannot be allocated.
template <class Real>
bool start_sequence(const KernelCall<Real>& k)
{
    UpdateState<Real>& state = *k.state;
    if (k.iwt > 0) {
        std::free(state.weight_totals);
        state.weight_totals = allocate<Real>(static_cast<std::size_t>(k.nvar));
        if (state.weight_totals == nullptr) {
            orvls_e1sti(1, k.nvar);
            orvls_e1stl(1, "nvar");
            orvls_ermes(5, 201);
            return false;
        }
    }
    if (k.nrow < 1) {
        orvls_e1sti(1, k.nrow);
        orvls_e1sti(2, k.ido);
        orvls_ermes(5, 11063);
    }
    state.call_counter = 1;
    *k.nrmiss = 0;
    for (int64_t j = 0; j < k.nvar; ++j) {
        k.first_value(j) = missing_value<Real>();
        k.not_constant(j) = 0;
        for (int64_t row : {kMean, kVariance, kDeviation, kSkewness, kKurtosis, kVariation, kCount})
            k.at(row, j) = 0;
        k.at(kMinimum, j) = k.at(kMaximum, j) = missing_value<Real>();
        state.weight_sum[j] = state.weight_sq_sum[j] = 0;
        if (k.iwt > 0)
            state.weight_totals[j] = 0;
    }
    return true;
}

template <class Real>
void check_confidences(const KernelCall<Real>& k)
{
    if (k.conprm >= 100) {
        orvls_e1std(1, k.conprm);
        orvls_ermes(5, 11064);
    }
    if (k.conprv >= 100) {
        orvls_e1std(1, k.conprv);
        orvls_ermes(5, 11065);
    }
}

enum class RowUse { use, skip, missing, fatal };

// Reads the frequency f and weight w of row i; f is negated when rows are
// removed.  A negative frequency or weight is fatal.
template <class Real>
RowUse read_frequency_and_weight(const KernelCall<Real>& k, int64_t i, Real& f, Real& w)
{
    RowUse use = RowUse::use;
    f = 1;
    w = 1;
    if (k.ifrq > 0) {
        f = k.element(i, k.ifrq - 1);
        if (std::isnan(f)) {
            k.count_missing();
            use = RowUse::missing;
        } else if (f == 0) {
            return RowUse::skip;
        }
    }
    if (k.iwt > 0) {
        w = k.element(i, k.iwt - 1);
        if (std::isnan(w) && use != RowUse::missing) {
            k.count_missing();
            use = RowUse::missing;
        }
    }
    if (f < 0) {
        orvls_e1sti(1, i + 1);
        orvls_e1std(1, f);
        if (k.ido < 1) {
            orvls_ermes(4, 11055);
        } else {
            orvls_e1sti(2, k.state->call_counter);
            orvls_ermes(4, 11054);
        }
        use = RowUse::fatal;
    }
    if (k.nrow < 0)
        f = -f;
    if (w < 0) {
        orvls_e1sti(1, i + 1);
        orvls_e1std(1, w);
        if (k.ido > 0) {
            orvls_e1sti(2, k.state->call_counter);
            orvls_ermes(4, 11056);
        } else {
            orvls_ermes(4, 11057);
        }
        use = RowUse::fatal;
    }
    return use;
}

// Rows are taken in blocks.  A first pass reads the frequency and weight of
// each row and settles what concerns the whole row; then each group of
// variables runs through the taken rows with its accumulators in locals,
// which the compiler can keep in registers (in the statistics they might
// alias x) and update side by side, as many as fill a 16-byte register.
// Every value goes through the same operations in the same order as when
// taken alone.
constexpr int64_t kBlockRows = 128;
template <class Real>
constexpr int kLanes = 16 / sizeof(Real);

// How one value enters the moments: r = f w / W, s = f w (1 - r), and the
// factors of r in the updates of M3 and M4.
template <class Real>
struct Step {
    Real r, s, m3_factor, m4_factor;
};

template <class Real>
Step<Real> step_for(Real fw, Real total)
{
    const Real r = fw / total;
    return {r, fw * (1 - r), 1 - 2 * r, 1 - 3 * r * (1 - r)};
}

// A taken row, left uninitialised until it is taken.
template <class Real>
struct BlockRow {
    int64_t i;
    Real f, w;
    Step<Real> step;  // listwise: the same for every variable
    bool missing;     // elementwise: one of its values is missing
    bool cut;         // elementwise: a variable was emptied, the rest of the row is not taken
};

template <class Real>
struct Block {
    BlockRow<Real> rows[kBlockRows];
    int64_t size;
};

// The accumulators of variables first to first + size - 1.  The lanes past
// size repeat the last variable, so that the loops over lanes have a fixed
// length; they do the same operations again and are not stored.
template <class Real>
struct Lanes {
    static constexpr int n = kLanes<Real>;
    const KernelCall<Real>& k;
    const int64_t first, size;
    const Real* column[n];
    Real mean[n], m2[n], m3[n], m4[n], minimum[n], maximum[n], first_value[n];
    Real count[n] = {}, total[n] = {}, weight_sum[n] = {}, weight_sq_sum[n] = {};  // elementwise

    Lanes(const KernelCall<Real>& call, int64_t first_variable)
        : k(call), first(first_variable), size(std::min<int64_t>(n, call.nvar - first_variable))
    {
        for (int l = 0; l < n; ++l) {
            const int64_t j = first + std::min<int64_t>(l, size - 1);
            column[l] = k.column(j);
            mean[l] = k.at(kMean, j);
            m2[l] = k.at(kVariance, j);
            m3[l] = k.at(kSkewness, j);
            m4[l] = k.at(kKurtosis, j);
            minimum[l] = k.at(kMinimum, j);
            maximum[l] = k.at(kMaximum, j);
            first_value[l] = k.first_value(j);
            if (!k.listwise()) {
                count[l] = k.at(kCount, j);
                total[l] = k.iwt > 0 ? k.state->weight_totals[j] : 0;
                weight_sum[l] = k.state->weight_sum[j];
                weight_sq_sum[l] = k.state->weight_sq_sum[j];
            }
        }
    }

    // A value differs from the first one exactly when it lies below or
    // above it, so the change flag follows from the extremes.  The loop has
    // a fixed length, which keeps the lanes out of memory.
    void store() const
    {
        for (int l = 0; l < n; ++l) {
            if (l >= size)
                break;
            const int64_t j = first + l;
            k.at(kMean, j) = mean[l];
            k.at(kVariance, j) = m2[l];
            k.at(kSkewness, j) = m3[l];
            k.at(kKurtosis, j) = m4[l];
            k.at(kMinimum, j) = minimum[l];
            k.at(kMaximum, j) = maximum[l];
            k.first_value(j) = first_value[l];
            if (minimum[l] < first_value[l] || first_value[l] < maximum[l])
                k.not_constant(j) = 1;
            if (!k.listwise()) {
                k.at(kCount, j) = count[l];
                if (k.iwt > 0)
                    k.state->weight_totals[j] = total[l];
                k.state->weight_sum[j] = weight_sum[l];
                k.state->weight_sq_sum[j] = weight_sq_sum[l];
            }
        }
    }

    // The first value of a variable sets both extremes; min(v, v) is v again.
    void take_first_value(int l, Real v)
    {
        if (std::isnan(first_value[l]))
            minimum[l] = maximum[l] = first_value[l] = v;
    }

    void take_extremes(int l, Real v)
    {
        minimum[l] = std::min(minimum[l], v);
        maximum[l] = std::max(maximum[l], v);
    }

    // Each central sum uses the old values of the lower ones, hence the
    // order M4, M3, M2, mean.
    void take_moments(int l, Real v, const Step<Real>& t)
    {
        const Real d = v - mean[l];
        const Real rd = t.r * d;
        const Real d2 = d * d;
        m4[l] += -4 * rd * m3[l] + 6 * rd * rd * m2[l] + t.s * d2 * d2 * t.m4_factor;
        m3[l] += -3 * rd * m2[l] + t.s * d2 * d * t.m3_factor;
        m2[l] += t.s * d2;
        mean[l] += rd;
    }

    // Listwise every variable takes every row, so the first row of the block
    // gives the first values still missing.
    void take_listwise(const Block<Real>& block)
    {
        const bool adding = k.nrow > 0;
        for (int l = 0; adding && block.size > 0 && l < n; ++l)
            take_first_value(l, column[l][block.rows[0].i * k.row_step]);
        for (int64_t p = 0; p < block.size; ++p) {
            const BlockRow<Real>& row = block.rows[p];
            Real v[n];
            for (int l = 0; l < n; ++l)
                v[l] = column[l][row.i * k.row_step];
            if (adding)
                for (int l = 0; l < n; ++l)
                    take_extremes(l, v[l]);
            if (row.w > 0)
                for (int l = 0; l < n; ++l)
                    take_moments(l, v[l], row.step);
        }
    }

    // Each variable has its own count N and running weight W.  A count that
    // reaches 0 empties its variable and cuts the row.  False after a fatal
    // error.
    bool take_elementwise(Block<Real>& block)
    {
        const bool adding = k.nrow > 0;
        for (int64_t p = 0; p < block.size; ++p) {
            BlockRow<Real>& row = block.rows[p];
            for (int l = 0; l < n && !row.cut; ++l) {
                const Real v = column[l][row.i * k.row_step];
                if (std::isnan(v)) {
                    row.missing = true;
                    continue;
                }
                if (adding) {
                    take_first_value(l, v);
                    take_extremes(l, v);
                }
                count[l] += row.f;
                if (count[l] < 0) {
                    orvls_ermes(5, 11066);
                    return false;
                }
                if (count[l] == 0) {
                    mean[l] = m2[l] = m3[l] = m4[l] = total[l] = 0;
                    row.cut = true;
                } else if (row.w > 0) {
                    const Real fw = row.f * row.w;
                    weight_sum[l] += fw;
                    weight_sq_sum[l] += fw * std::fabs(fw);
                    total[l] = (k.iwt > 0 ? total[l] : count[l] - row.f) + fw;
                    take_moments(l, v, step_for(fw, total[l]));
                }
            }
        }
        return true;
    }
};

// Takes the rows of the block into every variable and empties it.  False
// after a fatal error.
template <class Real>
bool take_block(const KernelCall<Real>& k, Block<Real>& block)
{
    bool ok = true;
    for (int64_t first = 0; first < k.nvar && ok; first += kLanes<Real>) {
        Lanes<Real> lanes(k, first);
        if (k.listwise())
            lanes.take_listwise(block);
        else
            ok = lanes.take_elementwise(block);
        lanes.store();
    }
    for (int64_t p = 0; p < block.size; ++p)
        if (block.rows[p].missing)
            k.count_missing();
    block.size = 0;
    return ok;
}

template <class Real>
bool row_has_missing(const KernelCall<Real>& k, int64_t i)
{
    for (int64_t j = 0; j < k.nvar; ++j)
        if (std::isnan(k.value(i, j)))
            return true;
    return false;
}

// Listwise, one count N and one running weight W for all variables: what
// is left of a row is its step.
template <class Real>
RowUse settle_listwise(const KernelCall<Real>& k, Block<Real>& block, BlockRow<Real>& row, Real& count, Real& total)
{
    if (row_has_missing(k, row.i)) {
        k.count_missing();
        return RowUse::missing;
    }
    total += row.f * row.w;
    count += row.f;
    if (count < 0) {
        take_block(k, block);
        orvls_ermes(5, 11066);
        return RowUse::fatal;
    }
    if (count == 0) {
        take_block(k, block);
        for (int64_t j = 0; j < k.nvar; ++j) {
            zero_moments(k, j);
            if (k.iwt > 0)
                k.state->weight_totals[j] = 0;
        }
        total = 0;
        return RowUse::skip;
    }
    if (row.w > 0) {
        const Real fw = row.f * row.w;
        row.step = step_for(fw, total);
        k.state->weight_sum[0] += fw;
        k.state->weight_sq_sum[0] += fw * std::fabs(fw);
    }
    return RowUse::use;
}

template <class Real>
bool take_rows(const KernelCall<Real>& k)
{
    // Elementwise, a removed row can take a count below zero part-way
    // through, which must leave the variables after it as they were: removed
    // rows go one at a time.  Added rows cannot.
    const int64_t block_rows = k.nrow < 0 && !k.listwise() ? 1 : kBlockRows;
    const int64_t rows = k.nrow < 0 ? -k.nrow : k.nrow;
    Real count = k.at(kCount, 0);
    Real total = k.iwt > 0 ? k.state->weight_totals[0] : count;
    Block<Real> block;
    block.size = 0;
    for (int64_t start = 0; start < rows; start += block_rows) {
        for (int64_t i = start; i < std::min(rows, start + block_rows); ++i) {
            BlockRow<Real>& row = block.rows[block.size];
            row.i = i;
            row.missing = row.cut = false;
            RowUse use = read_frequency_and_weight(k, i, row.f, row.w);
            if (use == RowUse::use && k.listwise())
                use = settle_listwise(k, block, row, count, total);
            if (use == RowUse::fatal) {
                take_block(k, block);
                return false;
            }
            block.size += use == RowUse::use;
        }
        if (!take_block(k, block))
            return false;
    }
    for (int64_t j = 0; k.listwise() && j < k.nvar; ++j) {
        k.at(kCount, j) = count;
        if (k.iwt > 0)
            k.state->weight_totals[j] = total;
    }
    return true;
}

// Undefined statistics of variable j: rows first_row to 4, the range when
// asked, the coefficient of variation, and the limits that were asked for.
template <class Real>
void make_undefined(const KernelCall<Real>& k, int64_t j, int64_t first_row, bool with_range)
{
    const Real nan = missing_value<Real>();
    for (int64_t row = first_row; row <= kKurtosis; ++row)
        k.at(row, j) = nan;
    if (with_range)
        k.at(kRange, j) = nan;
    k.at(kVariation, j) = nan;
    if (k.conprm > 0)
        k.at(kMeanLower, j) = k.at(kMeanUpper, j) = nan;
    if (k.conprv > 0)
        k.at(kVarianceLower, j) = k.at(kVarianceUpper, j) = nan;
}

template <class Real>
void make_all_undefined(const KernelCall<Real>& k, int64_t first_row, bool with_range)
{
    for (int64_t j = 0; j < k.nvar; ++j)
        make_undefined(k, j, first_row, with_range);
}

// The largest element of a row of the statistics, NaN only if all are.
template <class Real>
Real largest(const KernelCall<Real>& k, int64_t row)
{
    Real result = missing_value<Real>();
    for (int64_t j = 0; j < k.nvar; ++j)
        result = std::fmax(result, k.at(row, j));
    return result;
}

// Variance, deviation, skewness and kurtosis of variable j from its sums.
template <class Real>
void finish_moments(const KernelCall<Real>& k, int64_t j)
{
    const Real tiny = machine_table<Real>(1);
    const Real count = k.at(kCount, j);
    const Real range = k.at(kRange, j);
    const Real m2 = k.at(kVariance, j);
    if (!(count > 1)) {
        make_undefined(k, j, kVariance, false);
        warn(11072, j);
    } else if (k.not_constant(j) == 0) {
        warn(11076, j);
        for (int64_t row = kVariance; row <= kKurtosis; ++row)
            k.at(row, j) = 0;
    } else if (!(m2 > 0) && !std::isnan(m2)) {
        k.at(kDeviation, j) = m2;
        warn(11077, j);
    } else if (range >= std::sqrt(tiny)) {
        const Real v = m2 / count;
        const Real s = std::sqrt(v);
        const int64_t index = k.listwise() ? 0 : j;
        const Real total = k.state->weight_sum[index];
        const Real variance = m2 * total / (total * total - k.state->weight_sq_sum[index]);
        k.at(kVariance, j) = variance;
        k.at(kDeviation, j) = std::sqrt(variance);
        Real& skewness = k.at(kSkewness, j);
        Real& kurtosis = k.at(kKurtosis, j);
        if (range >= std::cbrt(tiny)) {
            skewness = 3 * std::log(s) >= std::log(tiny) ? skewness / (count * std::pow(s, Real(3)))
                                                         : skewness / (count * s) / s / s;
        } else {
            skewness = kurtosis = missing_value<Real>();
            warn(11074, j);
        }
        if (range >= std::pow(tiny, Real(0.25))) {
            kurtosis = 2 * std::log(v) >= std::log(tiny) ? kurtosis / (count * std::pow(v, Real(2))) - 3
                                                         : kurtosis / (count * v) / v - 3;
        } else {
            kurtosis = missing_value<Real>();
            warn(11075, j);
        }
    } else {
        k.at(kVariance, j) = k.at(kDeviation, j) = 0;
        k.at(kSkewness, j) = k.at(kKurtosis, j) = missing_value<Real>();
        warn(11073, j);
    }
}

template <class Real>
void coefficient_of_variation(const KernelCall<Real>& k, int64_t j)
{
    Real& variation = k.at(kVariation, j);
    if (std::isnan(variation))
        return;
    const Real mean = k.at(kMean, j);
    if (std::isnan(mean) || std::fabs(mean) < machine_table<Real>(4))
        variation = missing_value<Real>();
    else
        orvls_safe_divide(k.at(kDeviation, j), mean, &variation);
    if (std::isnan(variation))
        warn(11078, j);
}

template <class Real>
void mean_limits(const KernelCall<Real>& k, int64_t j)
{
    const Real p = k.conprm / 200 + Real(0.5);
    const Real count = k.at(kCount, j);
    const Real deviation = k.at(kDeviation, j);
    Real& lower = k.at(kMeanLower, j);
    Real& upper = k.at(kMeanUpper, j);
    lower = upper = missing_value<Real>();
    if (deviation < 0) {
        warn(11079, j);
        return;
    }
    const Real t = t_inverse(p, count - 1);
    if (orvls_n1rty(1) >= 5) {
        orvls_ermes(6, 11080);
        return;
    }
    if (std::isnan(deviation))
        return;
    const Real half = t * deviation / std::sqrt(count);
    lower = k.at(kMean, j) - half;
    upper = k.at(kMean, j) + half;
}

// variance df / the chi-squared quantile at p; NaN when it fails.
template <class Real>
Real variance_limit(Real variance, Real df, Real p)
{
    const Real quantile = chi_squared_inverse(p, df);
    if (orvls_n1rty(1) >= 4) {
        orvls_ermes(6, 11082);
        return missing_value<Real>();
    }
    return variance * df / quantile;
}

template <class Real>
void variance_limits(const KernelCall<Real>& k, int64_t j)
{
    const Real p = (1 - k.conprv / 100) / 2;
    const Real df = k.at(kCount, j) - 1;
    const Real variance = k.at(kVariance, j);
    Real& lower = k.at(kVarianceLower, j);
    Real& upper = k.at(kVarianceUpper, j);
    lower = upper = missing_value<Real>();
    if (variance < 0) {
        warn(11081, j);
        return;
    }
    if (std::isnan(variance))
        return;
    lower = variance_limit(variance, df, 1 - p);
    upper = variance_limit(variance, df, p);
}

// Turns the accumulators into the statistics.  Conditions that leave some
// statistics undefined are warnings; the first three end the summary.
template <class Real>
void summarise(const KernelCall<Real>& k)
{
    if (!(largest(k, kCount) > 1)) {
        make_all_undefined(k, kVariance, false);
        orvls_ermes(6, 11067);
        return;
    }
    const Real least_weight = 10 * machine_table<Real>(4);
    if (k.iwt > 0) {
        Real heaviest = missing_value<Real>();
        for (int64_t j = 0; j < k.nvar; ++j)
            heaviest = std::fmax(heaviest, k.state->weight_totals[j]);
        if (heaviest < least_weight) {
            make_all_undefined(k, kMean, false);
            orvls_ermes(6, 11068);
            return;
        }
        for (int64_t j = 0; j < k.nvar; ++j) {
            if (k.at(kCount, j) > 1 && k.state->weight_totals[j] < least_weight) {
                make_undefined(k, j, kMean, false);
                warn(11069, j);
            }
        }
    }
    for (int64_t j = 0; j < k.nvar; ++j) {
        const Real minimum = k.at(kMinimum, j), maximum = k.at(kMaximum, j);
        k.at(kRange, j) = std::isnan(minimum) || std::isnan(maximum) ? 0 : maximum - minimum;
    }
    if (!(largest(k, kRange) >= 0)) {
        make_all_undefined(k, kVariance, true);
        orvls_ermes(6, 11070);
        return;
    }
    for (int64_t j = 0; j < k.nvar; ++j) {
        if (k.at(kRange, j) < 0) {
            make_undefined(k, j, kVariance, true);
            warn(11071, j);
        }
    }
    for (int64_t j = 0; j < k.nvar; ++j)
        if (!std::isnan(k.at(kRange, j)))
            finish_moments(k, j);
    for (int64_t j = 0; j < k.nvar; ++j)
        coefficient_of_variation(k, j);
    if (k.conprm > 0)
        for (int64_t j = 0; j < k.nvar; ++j)
            mean_limits(k, j);
    if (k.conprv > 0)
        for (int64_t j = 0; j < k.nvar; ++j)
            variance_limits(k, j);
}

template <class Real>
void run_kernel(KernelCall<Real>& k, int64_t iprint)
{
    check_arguments(k, iprint);
    if (orvls_n1rty(0) >= 4)
        return;
    if (!(k.ido == 3 && k.nrow == 0)) {
        if (k.ido < 2) {
            if (!start_sequence(k))
                return;
        } else {
            ++k.state->call_counter;
        }
        if (k.ido != 2) {
            check_confidences(k);
            if (orvls_n1rty(0) > 0)
                return;
        }
        if (!take_rows(k))
            return;
    }
    if (k.ido == 0 || k.ido == 3)
        summarise(k);
}

template <class Real>
void u2sta(int64_t ido, int64_t nrow, int64_t nvar, const Real* x, int64_t row_step, int64_t column_step,
           int64_t ifrq, int64_t iwt, int64_t mopt, Real conprm, Real conprv, int64_t iprint, Real* stat,
           int64_t ldstat, int64_t* nrmiss, Real* first_values, UpdateState<Real>* update_state)
{
    orvls_e1psh("l_u2sta");
    const int64_t skipped_low = std::min(ifrq, iwt) > 0 ? std::min(ifrq, iwt) - 1 : std::max(ifrq, iwt) - 1;
    const int64_t skipped_high = ifrq > 0 && iwt > 0 && ifrq != iwt ? std::max(ifrq, iwt) - 1 : -1;
    KernelCall<Real> k{ido,    nrow,   nvar, x,      row_step, column_step,  ifrq,         iwt,         mopt,
                       conprm, conprv, stat, ldstat, nrmiss,   first_values, update_state, skipped_low, skipped_high};
    run_kernel(k, iprint);
    orvls_e1pop("l_u2sta");
}

}  // namespace

template <class Real>
void l_u2sta(int64_t ido, int64_t nrow, int64_t nvar, const Real* x, int64_t ldx, int64_t ifrq, int64_t iwt,
             int64_t mopt, Real conprm, Real conprv, int64_t iprint, Real* stat, int64_t ldstat, int64_t* nrmiss,
             Real* first_values, UpdateState<Real>* update_state, bool row_major)
{
    u2sta(ido, nrow, nvar, x, row_major ? ldx : 1, row_major ? 1 : ldx, ifrq, iwt, mopt, conprm, conprv, iprint,
          stat, ldstat, nrmiss, first_values, update_state);
}

template void l_u2sta<float>(int64_t, int64_t, int64_t, const float*, int64_t, int64_t, int64_t, int64_t, float,
                             float, int64_t, float*, int64_t, int64_t*, float*, UpdateState<float>*, bool);
template void l_u2sta<double>(int64_t, int64_t, int64_t, const double*, int64_t, int64_t, int64_t, int64_t, double,
                              double, int64_t, double*, int64_t, int64_t*, double*, UpdateState<double>*, bool);

}  // namespace orvls::basic
