// The prediction routine in either precision, for the summaries tests.
#pragma once

#include "../regression/regression_support.h"

template <class Real>
Real* predict(const RegressionInfo<Real>* info, int64_t n, const Real* x, auto... options)
{
    if constexpr (sizeof(Real) == sizeof(float))
        return orvls_f_regression_prediction(info, n, x, options...);
    else
        return orvls_d_regression_prediction(info, n, x, options...);
}
