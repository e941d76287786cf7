// The first missing value of a vector.
#pragma once

#include <cmath>
#include <cstdint>

#include "kernels/vectors.h"

namespace orvls::kernels {

// The position, counted from 1 in the order the stride walks, of the first
// NaN among the n elements of x; 0 when there is none (or n is below 1).
template <class Real>
int64_t orvls_first_nan(int64_t n, const Real* x, int64_t incx)
{
    if (n < 1)
        return 0;
    const auto elements = in_order(n, x, incx);
    for (int64_t i = 0; i < n; ++i)
        if (std::isnan(elements[i]))
            return i + 1;
    return 0;
}

}  // namespace orvls::kernels
