// The count of terms a tolerance needs, and the evaluator's two forms.
#include "special/common.h"
#include "special/special.h"

namespace orvls {

using namespace special;

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
