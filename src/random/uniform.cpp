// The fill routines that every generator of the library draws from, and
// the public uniform deviates.
#include <cstdarg>

#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/tsd.h"
#include "orvls.h"
#include "random/generators.h"
#include "random/result_array.h"

namespace orvls {

template <class Real>
RandomState* drawing_state(ShuffleTable<Real>*& table)
{
    table = ThreadRecord<ShuffleTable<Real>>::get();
    if (table == nullptr) {
        orvls_ermes(5, 200);
        return nullptr;
    }
    if (table->setup_pending) {
        RandomState* state = l_rnset(0);
        if (state != nullptr)
            table->setup_pending = 0;
        return state;
    }
    // The setup made the state; it lives as long as the thread.
    return ThreadRecord<RandomState>::peek();
}

template RandomState* drawing_state<float>(ShuffleTable<float>*&);
template RandomState* drawing_state<double>(ShuffleTable<double>*&);

namespace {

template <class Real>
void uniform_fill_checked(int64_t n, Real* r)
{
    int64_t checks = 0;
    if (!orvls_check_range(n, "nr", 1, 0, &checks))
        return;
    ShuffleTable<Real>* table = nullptr;
    RandomState* state = drawing_state(table);
    if (state == nullptr)
        return;
    switch (state->generator_option) {
    case 2:
    case 4:
    case 6:
        shuffled_fill(*state, *table, n, r);
        break;
    case 7:
        gfsr_fill(*state, n, r);
        break;
    case 8:
        mt32_fill(*state, n, r);
        break;
    case 9:
        mt64_fill(*state, n, r);
        break;
    default:
        congruential_fill(*state, n, r);
        break;
    }
}

template <class Real>
Real* random_uniform(int64_t n_random, OptionReader& options)
{
    ResultArray<Real> result(options, "r");
    int64_t checks = 0;
    orvls_check_range(n_random, "n_random", 1, 0, &checks);
    if (orvls_n1rty(0) > 0)
        return nullptr;
    if (Real* r = result.data(n_random))
        uniform_fill(n_random, r);
    return result.finish();
}

template <class Real>
Real* random_uniform_entry(const char* name, int64_t n_random, va_list ap)
{
    OptionReader options(ap, 1);
    return envelope<Real*>(name, nullptr, [&] { return random_uniform<Real>(n_random, options); });
}

}  // namespace

void orvls_rnun(int64_t n, float* r) { uniform_fill_checked(n, r); }
void orvls_drnun(int64_t n, double* r) { uniform_fill_checked(n, r); }

}  // namespace orvls

extern "C" ORVLS_API float* orvls_f_random_uniform(int64_t n_random, ...)
{
    va_list ap;
    va_start(ap, n_random);
    float* result = orvls::random_uniform_entry<float>("orvls_f_random_uniform", n_random, ap);
    va_end(ap);
    return result;
}

extern "C" ORVLS_API double* orvls_d_random_uniform(int64_t n_random, ...)
{
    va_list ap;
    va_start(ap, n_random);
    double* result = orvls::random_uniform_entry<double>("orvls_d_random_uniform", n_random, ap);
    va_end(ap);
    return result;
}
