// Shared pieces of the regressors tests: the public routine in either
// precision, and row-major matrices compared cell by cell.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "capture.h"
#include "orvls.h"

template <class Real, class... Options>
int64_t regressors_for_glm(int64_t n_observations, Real* x, int64_t n_class, int64_t n_cont, Options... options)
{
    if constexpr (sizeof(Real) == sizeof(float))
        return orvls_f_regressors_for_glm(n_observations, x, n_class, n_cont, options...);
    else
        return orvls_d_regressors_for_glm(n_observations, x, n_class, n_cont, options...);
}

// The rows x columns cells of `actual` (row length col_dim) equal `expected`
// (row-major, row length columns); NaN matches NaN.
template <class Real>
void expect_cells(const std::vector<double>& expected, int64_t rows, int64_t columns, const Real* actual,
                  int64_t col_dim)
{
    for (int64_t i = 0; i < rows; ++i)
        for (int64_t j = 0; j < columns; ++j) {
            const double e = expected[i * columns + j], a = actual[i * col_dim + j];
            if (std::isnan(e))
                EXPECT_TRUE(std::isnan(a)) << "row " << i << " column " << j;
            else
                EXPECT_EQ(a, e) << "row " << i << " column " << j;
        }
}

// Bit-for-bit equality of two arrays, NaN payloads included.
template <class Real>
bool same_bits(const std::vector<Real>& a, const std::vector<Real>& b)
{
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(Real)) == 0;
}
