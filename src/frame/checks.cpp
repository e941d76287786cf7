#include "frame/checks.h"

#include <cmath>

#include "orvls.h"

namespace orvls {

namespace {

// The checks without the counter, so that composite checks count once.
bool in_range(int64_t value, const char* name, int64_t low, int64_t high)
{
    const bool unbounded = low > high;
    if (unbounded ? value >= low : (value >= low && value <= high))
        return true;
    orvls_e1sti(1, value);
    orvls_e1sti(2, low);
    if (!unbounded)
        orvls_e1sti(3, high);
    orvls_e1stl(1, name);
    orvls_ermes(5, unbounded ? 603 : 602);
    return false;
}

bool at_most(int64_t value, const char* name, int64_t limit, const char* limit_name)
{
    if (value <= limit)
        return true;
    orvls_e1sti(1, value);
    orvls_e1sti(2, limit);
    orvls_e1stl(1, name);
    orvls_e1stl(2, limit_name);
    orvls_ermes(5, 601);
    return false;
}

bool at_least(int64_t value, const char* name, int64_t low) { return in_range(value, name, low, low - 1); }

}  // namespace

bool orvls_check_range(int64_t value, const char* name, int64_t low, int64_t high, int64_t* check_count)
{
    ++*check_count;
    return in_range(value, name, low, high);
}

bool orvls_check_at_most(int64_t value, const char* name, int64_t limit, const char* limit_name, int64_t* check_count)
{
    ++*check_count;
    return at_most(value, name, limit, limit_name);
}

bool orvls_check_dimension(int64_t low, int64_t value, const char* name, int64_t limit, const char* limit_name,
                           int64_t* check_count)
{
    ++*check_count;
    const bool no_lower_check = name[0] == '*';
    const char* plain_name = no_lower_check ? name + 1 : name;
    bool passed = no_lower_check || at_least(value, plain_name, low);
    if (!at_least(limit, limit_name, 1))
        return false;
    return at_most(value, plain_name, limit, limit_name) && passed;
}

bool orvls_check_bounded(int64_t low, int64_t value, const char* name, int64_t limit, const char* limit_name,
                         int64_t* check_count)
{
    ++*check_count;
    const bool passed = at_least(value, name, low);
    return (limit < 1 || at_most(value, name, limit, limit_name)) && passed;
}

bool orvls_check_col_dim(int64_t col_dim, const char* name, int64_t needed, const char* extent_name)
{
    if (col_dim >= needed)
        return true;
    orvls_e1sti(1, col_dim);
    orvls_e1stl(1, name);
    orvls_e1sti(2, needed);
    orvls_e1stl(2, extent_name);
    orvls_ermes(5, 600);
    return false;
}

bool orvls_check_not_negative(double value, const char* name, int64_t* check_count)
{
    ++*check_count;
    if (!(value < 0))
        return true;
    orvls_e1std(1, value);
    orvls_e1stl(1, name);
    orvls_ermes(5, 11061);
    return false;
}

template <class Real>
bool orvls_check_zero_pivot_rows(int64_t n, const Real* matrix, int64_t leading_dimension, int64_t* check_count)
{
    ++*check_count;
    bool passed = true;
    for (int64_t i = 0; i < n; ++i) {
        if (matrix[i + i * leading_dimension] != 0)
            continue;
        for (int64_t j = 0; j < n; ++j) {
            const Real element = matrix[i + j * leading_dimension];
            if (j != i && (element != 0 || std::isnan(element))) {
                orvls_e1sti(1, i);
                orvls_e1sti(2, j);
                orvls_e1std(1, matrix[i + i * leading_dimension]);
                orvls_e1std(2, element);
                orvls_ermes(5, 11060);
                passed = false;
                break;
            }
        }
    }
    return passed;
}

template bool orvls_check_zero_pivot_rows<float>(int64_t, const float*, int64_t, int64_t*);
template bool orvls_check_zero_pivot_rows<double>(int64_t, const double*, int64_t, int64_t*);

}  // namespace orvls
