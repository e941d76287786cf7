// The reference BLAS (Fortran calling convention) and typed access to it and
// to the library's kernels, so that one test serves float and double.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
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
