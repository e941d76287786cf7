// The factorial and the binomial coefficient.
#include <algorithm>
#include <climits>
#include <cmath>

#include "frame/checks.h"
#include "frame/envelope.h"
#include "special/common.h"
#include "special/special.h"

namespace orvls {

using namespace special;

namespace {

// Truncation to a 64-bit integer as the processor converts: a value out of
// range, or NaN, gives the smallest integer.
template <class Real>
int64_t truncate_to_integer(Real value)
{
    if (!(value >= Real(-0x1p63) && value < Real(0x1p63)))
        return INT64_MIN;
    return static_cast<int64_t>(value);
}

// n + 1 as a real, added in integers as long as they hold it.
template <class Real>
Real plus_one(int64_t n)
{
    return n < INT64_MAX ? static_cast<Real>(n + 1) : static_cast<Real>(n) + 1;
}

// Leaves the routine on top of the stack without the report of a return:
// the error it raised (immediate) has been printed already, and a return
// that skips the pop neither reports again nor stops.  The entry still
// hands its type and code down, so the caller can read them.
void leave_without_report(ErrorBlock* block, const char* name)
{
    ErrorStackEntry* below = block->error_stack_top - 1;
    const int8_t user_call = below->user_call;
    below->user_call = 0;
    pop(block, name);
    below->user_call = user_call;
}

// n! as the factorial gives it, Gamma(n + 1) truncated, for every n up to
// the gamma limit, where the gamma raises nothing: found once per process by
// that same arithmetic, so a lookup gives the computed value to the bit.
template <class Real>
struct FactorialTable {
    static constexpr int64_t kCapacity = 171;  // n + 1 below the larger (double) gamma limit
    static inline OnceFlag made{0};
    static inline int64_t count = 0;
    static inline int64_t values[kCapacity];

    static void make()
    {
        const Real xmax = StoredGammaLimits<Real>::get().xmax;
        for (count = 0; count < kCapacity && Real(count + 1) <= xmax; ++count)
            values[count] = truncate_to_integer(l_gamma(Real(count + 1)));
    }
};

// The coefficient lies beyond the largest real.
template <class Real>
Real binomial_overflow()
{
    orvls_ermes(5, 20402);
    return Machine<Real>::nan;
}

}  // namespace

template <class Real>
Real orvls_binom(int64_t n, int64_t m)
{
    const Real bilnmx = Thresholds<Real>::log_big - Real(0.0001);
    const Real fintmx = Real(0.9) / Machine<Real>::eps3;
    int64_t checks = 0;
    orvls_check_range(m, "m", 0, -1, &checks);
    orvls_check_range(n, "n", 0, -1, &checks);
    if (n < m) {
        orvls_e1stl(1, "n");
        orvls_e1stl(2, "m");
        orvls_e1sti(1, n);
        orvls_e1sti(2, m);
        orvls_ermes(5, 600);
    }
    if (terminal_error_stands())
        return Machine<Real>::nan;
    const int64_t k = std::min(m, n - m);
    if (k == 0 || n == 1)
        return 1;
    Real r;
    const Real xn = plus_one<Real>(n);
    if (k <= 20 && static_cast<Real>(k) * std::log(static_cast<Real>(std::max<int64_t>(n, 1))) <= bilnmx) {
        r = 1;
        for (int64_t i = 1; i <= k; ++i)
            r = r * (xn - static_cast<Real>(i)) / static_cast<Real>(i);
    } else {
        // Stirling's form with the log-gamma corrections; k > 8 keeps every
        // argument of the corrections at 10 or above.
        if (k <= 8)
            return binomial_overflow<Real>();
        const Real xk = plus_one<Real>(k);
        const Real xnk = plus_one<Real>(n - k);
        const Real corr = orvls_r9lgmc(xn) - orvls_r9lgmc(xk) - orvls_r9lgmc(xnk);
        const Real v = xk * std::log(xnk / xk) - xn * orvls_alnrel(-static_cast<Real>(k) / xn) -
                       Real(0.5) * std::log(xn * xnk / xk) + 1 - Real(kLogSqrtTwoPi) + corr;
        if (!(v <= bilnmx))
            return binomial_overflow<Real>();
        r = std::exp(v);
    }
    // Cut, not rounded: a product just under a whole number comes back one less.
    if (r < fintmx)
        r = std::trunc(r);
    return r;
}

template <class Real>
Real binomial_coefficient_routine(int64_t n, int64_t m)
{
    return envelope<Real>(public_name<Real>("orvls_f_binomial_coefficient", "orvls_d_binomial_coefficient"),
                          Machine<Real>::nan, [&] { return orvls_binom<Real>(n, m); });
}

// Gamma(n + 1), truncated.  A negative n returns at once, without the
// return's report (see leave_without_report).
template <class Real>
int64_t factorial_routine(int64_t n)
{
    const char* name = public_name<Real>("orvls_f_factorial", "orvls_d_factorial");
    push(orvls_error_block(), name);
    int64_t checks = 0;
    if (!orvls_check_range(n, "n", 0, -1, &checks)) {
        leave_without_report(existing_error_block(), name);
        return 0;
    }
    using Table = FactorialTable<Real>;
    if (Table::made.load(std::memory_order_acquire) == 0)
        orvls_once(&Table::made, Table::make);
    const int64_t value = n < Table::count ? Table::values[n] : truncate_to_integer(inner_gamma(plus_one<Real>(n)));
    pop(existing_error_block(), name);
    return value;
}

template float orvls_binom<float>(int64_t, int64_t);
template double orvls_binom<double>(int64_t, int64_t);
template float binomial_coefficient_routine<float>(int64_t, int64_t);
template double binomial_coefficient_routine<double>(int64_t, int64_t);
template int64_t factorial_routine<float>(int64_t);
template int64_t factorial_routine<double>(int64_t);

}  // namespace orvls

extern "C" {
ORVLS_API int64_t orvls_f_factorial(int64_t n) { return orvls::factorial_routine<float>(n); }
ORVLS_API int64_t orvls_d_factorial(int64_t n) { return orvls::factorial_routine<double>(n); }
ORVLS_API float orvls_f_binomial_coefficient(int64_t n, int64_t m)
{
    return orvls::binomial_coefficient_routine<float>(n, m);
}
ORVLS_API double orvls_d_binomial_coefficient(int64_t n, int64_t m)
{
    return orvls::binomial_coefficient_routine<double>(n, m);
}
}
