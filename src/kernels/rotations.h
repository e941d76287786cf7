// The modified plane rotations: building one that zeroes a component of a
// scaled pair (rotmg) and applying it to two vectors (rotm).  Inline, so that
// the updating kernels of the regression family rotate at the speed of a
// plain loop; the exported orvls_srotm, orvls_drotm, orvls_srotmg and
// orvls_drotmg use the same templates.
#pragma once

#include <cmath>
#include <cstdint>

#include "kernels/vectors.h"

namespace orvls::kernels {

// The modified rotation H given by param: param[0] is the flag, param[1..4]
// are h11, h21, h12, h22; flag 0 and 1 imply the unit and +-1 entries.
template <class Real>
[[gnu::always_inline]] inline void rotm(int64_t n, Real* x, int64_t incx, Real* y, int64_t incy, const Real* param)
{
    const Real flag = param[0];
    if (n < 1 || flag == -2)
        return;
    Real h11 = param[1], h21 = param[2], h12 = param[3], h22 = param[4];
    if (flag == 0) {
        h11 = 1;
        h22 = 1;
    } else if (flag > 0) {
        h21 = -1;
        h12 = 1;
    }
    for_each_element(
        n,
        [=](Real& xi, Real& yi) {
            const Real w = xi;
            const Real z = yi;
            xi = w * h11 + z * h12;
            yi = w * h21 + z * h22;
        },
        vector(x, incx), vector(y, incy));
}

// Rescaling limits of the modified rotation, as the published routine has them.
template <class Real>
struct RotmgLimits;
template <>
struct RotmgLimits<float> {
    static constexpr float gamma = 4096.0f, gamma_squared = 1.67772e7f, reciprocal_gamma_squared = 5.96046e-8f;
};
template <>
struct RotmgLimits<double> {
    static constexpr double gamma = 4096.0, gamma_squared = 16777216.0, reciprocal_gamma_squared = 5.9604645e-8;
};

// The modified rotation that zeroes the second component of
// (sqrt(d1) x1, sqrt(d2) y1), with the published routine's flag and rescaling.
template <class Real>
[[gnu::always_inline]] inline void rotmg(Real* d1, Real* d2, Real* x1, Real y1, Real* param)
{
    using L = RotmgLimits<Real>;
    Real flag = -1, h11 = 0, h12 = 0, h21 = 0, h22 = 0;
    auto zero_all = [&] {
        flag = -1;
        h11 = h12 = h21 = h22 = 0;
        *d1 = *d2 = *x1 = 0;
    };
    if (*d1 < 0) {
        zero_all();
    } else {
        const Real p2 = *d2 * y1;
        if (p2 == 0) {
            param[0] = -2;
            return;
        }
        const Real p1 = *d1 * *x1;
        const Real q2 = p2 * y1;
        const Real q1 = p1 * *x1;
        if (std::fabs(q1) > std::fabs(q2)) {
            h21 = -y1 / *x1;
            h12 = p2 / p1;
            const Real u = 1 - h12 * h21;
            if (u > 0) {
                flag = 0;
                *d1 /= u;
                *d2 /= u;
                *x1 *= u;
            } else {
                zero_all();
            }
        } else if (q2 < 0) {
            zero_all();
        } else {
            flag = 1;
            h11 = p1 / p2;
            h22 = *x1 / y1;
            const Real u = 1 + h11 * h22;
            const Real swapped = *d2 / u;
            *d2 = *d1 / u;
            *d1 = swapped;
            *x1 = y1 * u;
        }
    }
    // Rescaling makes H explicit; the published routine writes the unit
    // entries again on every step, and so does this one.
    auto make_explicit = [&] {
        if (flag == 0) {
            h11 = 1;
            h22 = 1;
        } else {
            h21 = -1;
            h12 = 1;
        }
        flag = -1;
    };
    const Real gamma = L::gamma;
    if (*d1 != 0) {
        while (*d1 <= L::reciprocal_gamma_squared || *d1 >= L::gamma_squared) {
            make_explicit();
            if (*d1 <= L::reciprocal_gamma_squared) {
                *d1 *= gamma * gamma;
                *x1 /= gamma;
                h11 /= gamma;
                h12 /= gamma;
            } else {
                *d1 /= gamma * gamma;
                *x1 *= gamma;
                h11 *= gamma;
                h12 *= gamma;
            }
        }
    }
    if (*d2 != 0) {
        while (std::fabs(*d2) <= L::reciprocal_gamma_squared || std::fabs(*d2) >= L::gamma_squared) {
            make_explicit();
            if (std::fabs(*d2) <= L::reciprocal_gamma_squared) {
                *d2 *= gamma * gamma;
                h21 /= gamma;
                h22 /= gamma;
            } else {
                *d2 /= gamma * gamma;
                h21 *= gamma;
                h22 *= gamma;
            }
        }
    }
    if (flag < 0) {
        param[1] = h11;
        param[2] = h21;
        param[3] = h12;
        param[4] = h22;
    } else if (flag == 0) {
        param[2] = h21;
        param[3] = h12;
    } else {
        param[1] = h11;
        param[4] = h22;
    }
    param[0] = flag;
}

}  // namespace orvls::kernels
