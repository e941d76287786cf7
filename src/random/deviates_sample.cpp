// Distinct indices drawn from a population, by Floyd's algorithm.
#include <algorithm>
#include <bit>

#include "random/deviates.h"

namespace orvls {

namespace {

// A set of positive integers in open addressing; 0 marks an empty slot.
class IndexSet {
public:
    explicit IndexSet(int64_t capacity_at_least)
        : capacity_(std::bit_ceil(static_cast<uint64_t>(capacity_at_least))),
          slots_(static_cast<std::size_t>(capacity_))
    {
        if (slots_.ok())
            std::fill_n(slots_.get(), capacity_, 0);
    }

    bool ok() const { return slots_.ok(); }

    // Adds the index; false when it was there already.
    bool insert(int64_t index)
    {
        const uint64_t mask = capacity_ - 1;
        for (uint64_t slot = (static_cast<uint64_t>(index) * 0x9E3779B97F4A7C15ull) & mask;;
             slot = (slot + 1) & mask) {
            if (slots_[slot] == index)
                return false;
            if (slots_[slot] == 0) {
                slots_[slot] = index;
                return true;
            }
        }
    }

private:
    uint64_t capacity_;
    WorkArray<int64_t> slots_;
};

// For j from N - k + 1 to N: t uniform on 1..j; t joins the sample unless it
// is there already, in which case j does.  Each k-subset is equally likely.
void sample_indices_fill(int64_t n_indices, int64_t n_population, int64_t* r)
{
    IndexSet chosen(2 * n_indices);
    WorkArray<double> u(static_cast<std::size_t>(n_indices));
    if (!chosen.ok() || !u.ok()) {
        orvls_ermes(5, 200);
        return;
    }
    if (!draw_uniforms(n_indices, u.get()))
        return;
    for (int64_t k = 0; k < n_indices; ++k) {
        const int64_t j = n_population - n_indices + 1 + k;
        int64_t t = std::min(j, 1 + static_cast<int64_t>(u[k] * static_cast<double>(j)));
        if (!chosen.insert(t)) {
            chosen.insert(j);
            t = j;
        }
        r[k] = t;
    }
    std::sort(r, r + n_indices);
}

int64_t* sample_indices_entry(int64_t n_indices, int64_t n_population, va_list ap)
{
    OptionReader options(ap, 2);
    return envelope<int64_t*>("orvls_random_sample_indices", nullptr, [&]() -> int64_t* {
        ResultArray<int64_t> result(options, "r");
        int64_t checks = 0;
        if (orvls_check_range(n_population, "n_population", 1, 0, &checks))
            orvls_check_range(n_indices, "n_indices", 1, n_population, &checks);
        if (orvls_n1rty(0) > 0)
            return nullptr;
        if (int64_t* r = result.data(n_indices))
            sample_indices_fill(n_indices, n_population, r);
        return result.finish();
    });
}

}  // namespace

}  // namespace orvls

using namespace orvls;

ORVLS_DEVIATE_ENTRY(int64_t, orvls_random_sample_indices, n_population,
                    sample_indices_entry(n_indices, n_population, ap), int64_t n_indices, int64_t n_population)
