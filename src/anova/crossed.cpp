#include "anova/crossed.h"

#include <bit>

#include "kernels/accurate_sum.h"

namespace orvls::anova {

using kernels::accurate_mean;
using kernels::AccurateSum;
using kernels::two_sum;

template <class Real>
int64_t CrossedLayout<Real>::cells(Mask mask) const
{
    int64_t count = 1;
    for (int d = 0; d < n_; ++d)
        if (mask & (Mask(1) << d))
            count *= levels_[d];
    return count;
}

template <class Real>
Real CrossedLayout<Real>::effect_df(Mask mask) const
{
    Real df = 1;
    for (int d = 0; d < n_; ++d)
        if (mask & (Mask(1) << d))
            df *= Real(levels_[d] - 1);
    return df;
}

template <class Real>
int64_t CrossedLayout<Real>::cell_of(Mask mask, int64_t index) const
{
    // Peel the subscripts off the last one first, then put back together the
    // ones in mask with their own strides.
    int64_t cell = 0;
    int64_t stride = 1;
    for (int d = int(n_) - 1; d >= 0; --d) {
        const int64_t subscript = index % levels_[d];
        index /= levels_[d];
        if (mask & (Mask(1) << d)) {
            cell += subscript * stride;
            stride *= levels_[d];
        }
    }
    return cell;
}

template <class Real>
bool CrossedLayout<Real>::allocate_tables()
{
    const Mask masks = full() + 1;
    if (!offset_.reset(masks + 1) || !ss_.reset(masks))
        return false;
    offset_[0] = 0;
    for (Mask m = 0; m < masks; ++m)
        offset_[m + 1] = offset_[m] + cells(m);
    return centred_.reset(offset_[masks]) && effects_.reset(offset_[masks]) && carry_.reset(offset_[masks]);
}

// The table of mask is the average of a table over one more subscript d
// along d; each mask takes the smallest such parent.  Sums carry their
// rounding errors in `carry`.
template <class Real>
void CrossedLayout<Real>::form_means(const Real* y)
{
    const int64_t n_obs = observations();
    shift_ = accurate_mean(n_obs, y);
    Real* cell_table = centred_.get() + offset_[full()];
    for (int64_t i = 0; i < n_obs; ++i)
        cell_table[i] = y[i] - shift_;

    for (int size = int(n_) - 1; size >= 0; --size) {
        for (Mask m = 0; m < full(); ++m) {
            if (std::popcount(m) != size)
                continue;
            int d = -1;
            for (int e = 0; e < n_; ++e)
                if (!(m & (Mask(1) << e)) && (d < 0 || levels_[e] < levels_[d]))
                    d = e;
            const Mask parent = m | (Mask(1) << d);
            const int64_t after = cells(parent & ~((Mask(2) << d) - 1));
            const int64_t outer = cells(parent) / (after * levels_[d]);
            const Real* from = centred_.get() + offset_[parent];
            Real* to = centred_.get() + offset_[m];
            for (int64_t o = 0; o < outer; ++o) {
                Real* sum = to + o * after;
                Real* err = carry_.get() + o * after;
                for (int64_t i = 0; i < after; ++i)
                    sum[i] = err[i] = Real(0);
                for (int64_t j = 0; j < levels_[d]; ++j) {
                    const Real* line = from + (o * levels_[d] + j) * after;
                    for (int64_t i = 0; i < after; ++i)
                        err[i] += two_sum(sum[i], line[i]);
                }
                for (int64_t i = 0; i < after; ++i)
                    sum[i] = (sum[i] + err[i]) / Real(levels_[d]);
            }
        }
    }
}

// Removes from the table of mask its mean along subscript d.
template <class Real>
void CrossedLayout<Real>::centre_along(Mask mask, int d, Real* table) const
{
    const int64_t after = cells(mask & ~((Mask(2) << d) - 1));
    const int64_t outer = cells(mask) / (after * levels_[d]);
    for (int64_t o = 0; o < outer; ++o) {
        Real* block = table + o * levels_[d] * after;
        for (int64_t i = 0; i < after; ++i) {
            Real sum = 0;
            for (int64_t j = 0; j < levels_[d]; ++j)
                sum += block[j * after + i];
            const Real mean = sum / Real(levels_[d]);
            for (int64_t j = 0; j < levels_[d]; ++j)
                block[j * after + i] -= mean;
        }
    }
}

// The effect of mask is its table of means centred along each of its own
// subscripts in turn; its sum of squares counts each cell as often as the
// observations it stands for.
template <class Real>
void CrossedLayout<Real>::form_effects()
{
    const int64_t n_obs = observations();
    for (Mask m = 0; m <= full(); ++m) {
        const int64_t count = cells(m);
        Real* table = effects_.get() + offset_[m];
        const Real* means = centred_.get() + offset_[m];
        for (int64_t c = 0; c < count; ++c)
            table[c] = means[c];
        for (int d = 0; d < n_; ++d)
            if (m & (Mask(1) << d))
                centre_along(m, d, table);
        AccurateSum<Real> squares;
        for (int64_t c = 0; c < count; ++c)
            squares.add(table[c] * table[c]);
        ss_[m] = squares.value() * Real(n_obs / count);
    }
    const Real* cell_table = centred_.get() + offset_[full()];
    const Real centre = centred_[offset_[0]];
    AccurateSum<Real> total;
    for (int64_t i = 0; i < n_obs; ++i)
        total.add((cell_table[i] - centre) * (cell_table[i] - centre));
    total_ss_ = total.value();
}

template <class Real>
bool CrossedLayout<Real>::analyse(int64_t n_subscripts, const int64_t* levels, const Real* y)
{
    n_ = n_subscripts;
    for (int d = 0; d < n_; ++d)
        levels_[d] = levels[d];
    if (!allocate_tables())
        return false;
    form_means(y);
    form_effects();
    return true;
}

template class CrossedLayout<float>;
template class CrossedLayout<double>;

}  // namespace orvls::anova
