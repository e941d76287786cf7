// The Chebyshev series evaluator and the count of terms a tolerance needs.
#include "special/common.h"
#include "special/special.h"

namespace orvls {

using namespace special;

template <class Real>
Real orvls_csevl(Real x, const Real* series, int64_t n)
{
    if (n < 1 || n > 1000) {
        orvls_e1sti(1, n);
        if (n < 1)
            orvls_ermes(5, 9001);
        else
            orvls_ermes(5, 9002);
        return Machine<Real>::nan;
    }
    if (x < Real(-1.1) || x > Real(1.1))
        raise_error(3, 9003, {double(x)});
    // Clenshaw's recurrence from the top term down.
    Real b0 = 0, b1 = 0, b2 = 0;
    const Real twox = 2 * x;
    for (int64_t i = n - 1; i >= 0; --i) {
        b2 = b1;
        b1 = b0;
        b0 = twox * b1 - b2 + series[i];
    }
    return (b0 - b2) / 2;
}

template <class Real>
int64_t orvls_initds(const Real* series, int64_t count, Real eta)
{
    orvls_e1sti(1, count);
    if (count < 1) {
        orvls_ermes(5, 9004);
        return 0;
    }
    const int64_t length = effective_length(series, count, eta);
    if (length == count) {
        orvls_ermes(5, 9005);
        return 0;
    }
    return length;
}

int64_t orvls_inits(const float* series, int64_t count, float eta) { return orvls_initds(series, count, eta); }

template float orvls_csevl<float>(float, const float*, int64_t);
template double orvls_csevl<double>(double, const double*, int64_t);
template int64_t orvls_initds<float>(const float*, int64_t, float);
template int64_t orvls_initds<double>(const double*, int64_t, double);

}  // namespace orvls
