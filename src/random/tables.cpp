// Saving and restoring a stream: the shuffle tables, the shift register
// and the twister states, each read into an array and set back from one.
#include <algorithm>
#include <cstdarg>

#include "frame/envelope.h"
#include "orvls.h"
#include "random/generators.h"
#include "random/result_array.h"
#include "random/twister.h"

namespace orvls {

namespace {

constexpr int64_t kGfsrTableLength = kGfsrWords + 2;  // the words, then the two taps

// A table get routine: `copy` fills an array of `count` elements, which
// goes to *table unless the caller gave an array of its own.
template <class T, class Copy>
void table_get(const char* name, T** table, int64_t count, va_list ap, Copy copy)
{
    OptionReader options(ap, 1);
    envelope(name, [&] {
        ResultArray<T> result(options, "table");
        if (orvls_n1rty(0) > 0)
            return;
        if (T* values = result.data(count))
            copy(values);
        const bool to_table = !result.user_given();
        T* filled = result.finish();
        if (filled != nullptr && to_table)
            *table = filled;
    });
}

template <class Real>
void shuffle_table_get(Real* values)
{
    ShuffleTable<Real>* table = nullptr;
    RandomState* state = drawing_state(table);
    if (state == nullptr)
        return;
    ready_shuffle_table(*state, *table);
    std::copy_n(table->values, kShuffleEntries, values);
}

// A first value of 0 or below asks for a fresh fill at the next draw.
template <class Real>
void shuffle_table_set(const Real* values)
{
    ShuffleTable<Real>* table = nullptr;
    RandomState* state = drawing_state(table);
    if (state == nullptr)
        return;
    int32_t& ready = shuffle_table_ready<Real>(*state);
    if (values[0] <= 0) {
        ready = 0;
        return;
    }
    for (int i = 0; i < kShuffleEntries; ++i) {
        if (!(values[i] > 0 && values[i] < 1)) {
            orvls_e1std(1, values[i]);
            orvls_e1sti(1, i);
            orvls_ermes(5, 11031);
            return;
        }
        table->values[i] = values[i];
    }
    ready = 1;
}

void gfsr_table_get(int64_t* values)
{
    RandomState* state = l_rnset(0);
    if (state == nullptr)
        return;
    ready_gfsr(*state);
    std::copy_n(state->gfsr_table, kGfsrWords, values);
    values[kGfsrWords] = state->gfsr_index_1;
    values[kGfsrWords + 1] = state->gfsr_index_2;
}

// A first word below 1 asks for a fresh register at the next draw.  The
// taps must also lie within the register.
void gfsr_table_set(const int64_t* values)
{
    RandomState* state = l_rnset(0);
    if (state == nullptr)
        return;
    if (values[0] < 1) {
        state->gfsr_ready = 0;
        return;
    }
    for (int64_t i = 0; i < kGfsrTableLength; ++i) {
        if (values[i] < 1 || (i >= kGfsrWords && values[i] > kGfsrWords)) {
            orvls_e1sti(1, values[i]);
            orvls_e1sti(2, i);
            orvls_ermes(5, 65102);
            return;
        }
        if (i < kGfsrWords)
            state->gfsr_table[i] = values[i];
    }
    state->gfsr_index_1 = values[kGfsrWords];
    state->gfsr_index_2 = values[kGfsrWords + 1];
    state->gfsr_ready = 1;
}

}  // namespace

}  // namespace orvls

using orvls::Mt32;
using orvls::Mt64;

extern "C" ORVLS_API void orvls_f_random_table_get(float** table, ...)
{
    va_list ap;
    va_start(ap, table);
    orvls::table_get("orvls_f_random_table_get", table, orvls::kShuffleEntries, ap,
                     orvls::shuffle_table_get<float>);
    va_end(ap);
}

extern "C" ORVLS_API void orvls_d_random_table_get(double** table, ...)
{
    va_list ap;
    va_start(ap, table);
    orvls::table_get("orvls_d_random_table_get", table, orvls::kShuffleEntries, ap,
                     orvls::shuffle_table_get<double>);
    va_end(ap);
}

extern "C" ORVLS_API void orvls_f_random_table_set(const float* table)
{
    orvls::envelope("orvls_f_random_table_set", [&] { orvls::shuffle_table_set(table); });
}

extern "C" ORVLS_API void orvls_d_random_table_set(const double* table)
{
    orvls::envelope("orvls_d_random_table_set", [&] { orvls::shuffle_table_set(table); });
}

extern "C" ORVLS_API void orvls_random_GFSR_table_get(int64_t** table, ...)
{
    va_list ap;
    va_start(ap, table);
    orvls::table_get("orvls_random_GFSR_table_get", table, orvls::kGfsrTableLength, ap, orvls::gfsr_table_get);
    va_end(ap);
}

extern "C" ORVLS_API void orvls_random_GFSR_table_set(const int64_t* table)
{
    orvls::envelope("orvls_random_GFSR_table_set", [&] { orvls::gfsr_table_set(table); });
}

extern "C" ORVLS_API void orvls_random_MT32_table_get(uint32_t** table, ...)
{
    va_list ap;
    va_start(ap, table);
    orvls::table_get("orvls_random_MT32_table_get", table, Mt32::n + 1, ap, orvls::twister_table_get<Mt32>);
    va_end(ap);
}

extern "C" ORVLS_API void orvls_random_MT32_table_set(const uint32_t* table)
{
    orvls::envelope("orvls_random_MT32_table_set", [&] { orvls::twister_table_set<Mt32>(table); });
}

extern "C" ORVLS_API void orvls_random_MT64_table_get(uint64_t** table, ...)
{
    va_list ap;
    va_start(ap, table);
    orvls::table_get("orvls_random_MT64_table_get", table, Mt64::n + 1, ap, orvls::twister_table_get<Mt64>);
    va_end(ap);
}

extern "C" ORVLS_API void orvls_random_MT64_table_set(const uint64_t* table)
{
    orvls::envelope("orvls_random_MT64_table_set", [&] { orvls::twister_table_set<Mt64>(table); });
}
