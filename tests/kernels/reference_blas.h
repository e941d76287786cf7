// The reference BLAS (Fortran calling convention) and typed access to it and
// to the library's kernels, so that one test serves float and double.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <type_traits>
#include <vector>

#include "orvls.h"

extern "C" {
float sdot_(const int*, const float*, const int*, const float*, const int*);
double ddot_(const int*, const double*, const int*, const double*, const int*);
float snrm2_(const int*, const float*, const int*);
double dnrm2_(const int*, const double*, const int*);
float scnrm2_(const int*, const orvls_f_complex*, const int*);
double dznrm2_(const int*, const orvls_d_complex*, const int*);
void sscal_(const int*, const float*, float*, const int*);
void dscal_(const int*, const double*, double*, const int*);
void cscal_(const int*, const orvls_f_complex*, orvls_f_complex*, const int*);
void zscal_(const int*, const orvls_d_complex*, orvls_d_complex*, const int*);
void csscal_(const int*, const float*, orvls_f_complex*, const int*);
void zdscal_(const int*, const double*, orvls_d_complex*, const int*);
void scopy_(const int*, const float*, const int*, float*, const int*);
void dcopy_(const int*, const double*, const int*, double*, const int*);
void zswap_(const int*, orvls_d_complex*, const int*, orvls_d_complex*, const int*);
void srot_(const int*, float*, const int*, float*, const int*, const float*, const float*);
void drot_(const int*, double*, const int*, double*, const int*, const double*, const double*);
void srotg_(float*, float*, float*, float*);
void drotg_(double*, double*, double*, double*);
void srotm_(const int*, float*, const int*, float*, const int*, const float*);
void drotm_(const int*, double*, const int*, double*, const int*, const double*);
void srotmg_(float*, float*, float*, const float*, float*);
void drotmg_(double*, double*, double*, const double*, double*);
void sgemv_(const char*, const int*, const int*, const float*, const float*, const int*, const float*, const int*,
            const float*, float*, const int*, size_t);
void dgemv_(const char*, const int*, const int*, const double*, const double*, const int*, const double*,
            const int*, const double*, double*, const int*, size_t);
void sger_(const int*, const int*, const float*, const float*, const int*, const float*, const int*, float*,
           const int*);
void dger_(const int*, const int*, const double*, const double*, const int*, const double*, const int*, double*,
           const int*);
void strsv_(const char*, const char*, const char*, const int*, const float*, const int*, float*, const int*, size_t,
            size_t, size_t);
void dtrsv_(const char*, const char*, const char*, const int*, const double*, const int*, double*, const int*,
            size_t, size_t, size_t);
void ssymv_(const char*, const int*, const float*, const float*, const int*, const float*, const int*, const float*,
            float*, const int*, size_t);
void ssyr_(const char*, const int*, const float*, const float*, const int*, float*, const int*, size_t);
void ssyr2_(const char*, const int*, const float*, const float*, const int*, const float*, const int*, float*,
            const int*, size_t);
void dsyr2_(const char*, const int*, const double*, const double*, const int*, const double*, const int*, double*,
            const int*, size_t);
void sgemm_(const char*, const char*, const int*, const int*, const int*, const float*, const float*, const int*,
            const float*, const int*, const float*, float*, const int*, size_t, size_t);
void dgemm_(const char*, const char*, const int*, const int*, const int*, const double*, const double*, const int*,
            const double*, const int*, const double*, double*, const int*, size_t, size_t);
}

// Uniform values in [-1, 1), the same for the same seed.
template <class Real>
std::vector<Real> random_values(size_t count, unsigned seed)
{
    std::mt19937 engine(seed);
    std::uniform_real_distribution<Real> uniform(-1, 1);
    std::vector<Real> values(count);
    for (Real& v : values)
        v = uniform(engine);
    return values;
}

// Elements a vector of n with stride inc occupies.
inline size_t span(int64_t n, int64_t inc) { return n < 1 ? 1 : size_t(1 + (n - 1) * (inc < 0 ? -inc : inc)); }

// Sizes and strides every comparison runs over.
inline const int kSizes[] = {0, 1, 2, 3, 4, 5, 7, 8, 17, 100, 1001};
inline const int kStrides[] = {1, 2, -1, -3};

// The float or the double form of a routine.
template <class Real, class F, class D>
constexpr auto pick(F float_form, D double_form)
{
    if constexpr (std::is_same_v<Real, float>)
        return float_form;
    else
        return double_form;
}

// The library's kernels and the reference's, by precision.
template <class Real>
struct Api {
    static constexpr auto dot = pick<Real>(orvls_sdot, orvls_ddot), ref_dot = pick<Real>(sdot_, ddot_);
    static constexpr auto nrm2 = pick<Real>(orvls_snrm2, orvls_dnrm2), ref_nrm2 = pick<Real>(snrm2_, dnrm2_);
    static constexpr auto scal = pick<Real>(orvls_sscal, orvls_dscal), ref_scal = pick<Real>(sscal_, dscal_);
    static constexpr auto copy = pick<Real>(orvls_scopy, orvls_dcopy), ref_copy = pick<Real>(scopy_, dcopy_);
    static constexpr auto rot = pick<Real>(orvls_srot, orvls_drot), ref_rot = pick<Real>(srot_, drot_);
    static constexpr auto rotm = pick<Real>(orvls_srotm, orvls_drotm), ref_rotm = pick<Real>(srotm_, drotm_);
    static constexpr auto rotg = pick<Real>(orvls_srotg, orvls_drotg), ref_rotg = pick<Real>(srotg_, drotg_);
    static constexpr auto rotmg = pick<Real>(orvls_srotmg, orvls_drotmg), ref_rotmg = pick<Real>(srotmg_, drotmg_);
    static constexpr auto gemv = pick<Real>(orvls_sgemv, orvls_dgemv), ref_gemv = pick<Real>(sgemv_, dgemv_);
    static constexpr auto ger = pick<Real>(orvls_sger, orvls_dger), ref_ger = pick<Real>(sger_, dger_);
    static constexpr auto trsv = pick<Real>(orvls_strsv, orvls_dtrsv), ref_trsv = pick<Real>(strsv_, dtrsv_);
    static constexpr auto syr2 = pick<Real>(orvls_ssyr2, orvls_dsyr2), ref_syr2 = pick<Real>(ssyr2_, dsyr2_);
    static constexpr auto gemm = pick<Real>(orvls_sgemm, orvls_dgemm), ref_gemm = pick<Real>(sgemm_, dgemm_);
};

using Reals = ::testing::Types<float, double>;

// Every element within tolerance (1 + |reference|), untouched ones included.
template <class Real>
void expect_near(const std::vector<Real>& ours, const std::vector<Real>& reference, double tolerance)
{
    ASSERT_EQ(ours.size(), reference.size());
    for (size_t i = 0; i < ours.size(); ++i)
        ASSERT_NEAR(ours[i], reference[i], tolerance * (1 + std::fabs(reference[i]))) << "element " << i;
}
