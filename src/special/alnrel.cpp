// log(1 + x) without loss near zero.  Two entries with one body: they differ
// only in the codes they raise, which callers have always seen.
#include <cmath>

#include "special/common.h"
#include "special/special.h"

namespace orvls {

using namespace special;

namespace {

struct AlnrelCodes {
    int64_t below_minus_one_type, below_minus_one_code;
    int64_t near_minus_one_type, near_minus_one_code;
};

template <class Real>
Real log_one_plus(Real x, const AlnrelCodes& codes)
{
    if (x <= -1) {
        raise_error(codes.below_minus_one_type, codes.below_minus_one_code, {double(x)});
        return Machine<Real>::nan;
    }
    // Below this bound the result has lost half its digits.
    const Real bound = Thresholds<Real>::sqrt_eps4 - 1;
    if (x < bound)
        raise_error(codes.near_minus_one_type, codes.near_minus_one_code, {double(x), double(bound)});
    if (std::fabs(x) <= Real(0.375))
        return x * (1 - x * orvls_csevl(x / Real(0.375), Tables<Real>::alnrcs.data(), Tables<Real>::alnrcs.length));
    return std::log(1 + x);
}

}  // namespace

template <class Real>
Real l_alnrel(Real x)
{
    return log_one_plus(x, AlnrelCodes{5, 9039, 3, 9040});
}

template <class Real>
Real orvls_alnrel(Real x)
{
    return log_one_plus(x, AlnrelCodes{5, 20400, 5, 20401});
}

template float l_alnrel<float>(float);
template double l_alnrel<double>(double);
template float orvls_alnrel<float>(float);
template double orvls_alnrel<double>(double);

}  // namespace orvls
