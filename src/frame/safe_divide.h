// Division that neither overflows nor underflows: an overflowing quotient
// becomes a signed infinity (NaN for 0 / 0), an underflowing one 0, and NaN
// in either operand gives NaN.  Shared by every family that forms ratios of
// accumulated sums.
#pragma once

#include <cmath>

#include "frame/machine.h"

namespace orvls {

template <class Real>
void orvls_safe_divide(Real a, Real b, Real* result)
{
    if (std::isnan(a) || std::isnan(b)) {
        *result = missing_value<Real>();
    } else if (std::fabs(b) <= 1) {
        if (!(machine_table<Real>(2) * std::fabs(b) > std::fabs(a))) {
            if (a == 0)
                *result = missing_value<Real>();
            else
                *result = std::signbit(a) == std::signbit(b) ? machine_table<Real>(7) : machine_table<Real>(8);
        } else {
            *result = a / b;
        }
    } else {
        *result = std::fabs(a) < machine_table<Real>(1) * std::fabs(b) ? Real(0) : a / b;
    }
}

}  // namespace orvls
