// A running sum that carries the rounding error of each addition
// (Kahan-Babuska), so that long sums of data with many equal leading digits,
// or of many small terms, keep nearly the working precision.
#pragma once

#include <cstdint>

namespace orvls::kernels {

// Replaces s by fl(s + x) and returns the rounding error of that addition
// exactly (Knuth's branch-free two-sum).
template <class Real>
inline Real two_sum(Real& s, Real x)
{
    const Real t = s + x;
    const Real z = t - s;
    const Real error = (s - (t - z)) + (x - z);
    s = t;
    return error;
}

template <class Real>
class AccurateSum {
public:
    void add(Real x) { carry_ += two_sum(sum_, x); }
    Real value() const { return sum_ + carry_; }

private:
    Real sum_ = 0;
    Real carry_ = 0;
};

// The mean of n values at stride `stride`, summed accurately and then
// corrected by the mean of the deviations from it, so that the result is
// within an ulp or so of the exact mean.
template <class Real>
Real accurate_mean(int64_t n, const Real* x, int64_t stride = 1)
{
    if (n <= 0)
        return Real(0);
    AccurateSum<Real> sum;
    for (int64_t i = 0; i < n; ++i)
        sum.add(x[i * stride]);
    const Real mean = sum.value() / Real(n);
    AccurateSum<Real> deviations;
    for (int64_t i = 0; i < n; ++i)
        deviations.add(x[i * stride] - mean);
    return mean + deviations.value() / Real(n);
}

}  // namespace orvls::kernels
