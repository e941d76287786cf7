// Sorting a real vector ascending.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "orvls.h"

namespace orvls::kernels {
namespace {

// b := a sorted ascending, NaNs last; in place when a == b.
template <class Real>
void sort_ascending(int64_t n, const Real* a, Real* b)
{
    if (n < 1)
        return;
    if (a != b)
        std::memmove(b, a, static_cast<size_t>(n) * sizeof(Real));
    Real* numbers_end = std::partition(b, b + n, [](Real v) { return !std::isnan(v); });
    std::sort(b, numbers_end);
}

}  // namespace
}  // namespace orvls::kernels

extern "C" {

ORVLS_API void orvls_svrgn(int64_t n, const float* a, float* b) { orvls::kernels::sort_ascending(n, a, b); }
ORVLS_API void orvls_dsvrgn(int64_t n, const double* a, double* b) { orvls::kernels::sort_ascending(n, a, b); }

}  // extern "C"
