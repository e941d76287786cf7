// Shared pieces of the filter tests: the public routine in either precision
// and a filter state with its running sums.
#pragma once

#include <cstdint>
#include <vector>

#include "capture.h"
#include "orvls.h"

template <class Real, class... Options>
void kalman(int64_t n, Real* b, Real* state_cov, int64_t* n_rank, Real* ss, Real* log_det, Options... options)
{
    if constexpr (sizeof(Real) == sizeof(float))
        orvls_f_kalman(n, b, state_cov, n_rank, ss, log_det, options...);
    else
        orvls_d_kalman(n, b, state_cov, n_rank, ss, log_det, options...);
}

// What the caller holds between calls.
template <class Real>
struct FilterState {
    int64_t n;
    std::vector<Real> b, p;
    int64_t n_rank = 0;
    Real ss = 0, log_det = 0;

    FilterState(std::vector<Real> b0, std::vector<Real> p0) : n(int64_t(b0.size())), b(std::move(b0)), p(std::move(p0)) {}

    template <class... Options>
    void step(Options... options)
    {
        kalman<Real>(n, b.data(), p.data(), &n_rank, &ss, &log_det, options..., 0);
    }
};
