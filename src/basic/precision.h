// The float and double forms of the public routines that the statistics
// call, chosen by the real type, so that one template serves both forms.
#pragma once

#include <cstdint>

#include "orvls.h"

namespace orvls::basic {

inline void transpose_in_place(int64_t rows, int64_t columns, float* a) { orvls_f_m1ran(rows, columns, a, a); }
inline void transpose_in_place(int64_t rows, int64_t columns, double* a) { orvls_d_m1ran(rows, columns, a, a); }

inline void sort_in_place(int64_t n, float* a) { orvls_svrgn(n, a, a); }
inline void sort_in_place(int64_t n, double* a) { orvls_dsvrgn(n, a, a); }

inline float t_inverse(float p, float df) { return orvls_f_t_inverse(p, df); }
inline double t_inverse(double p, double df) { return orvls_d_t_inverse(p, df); }

inline float chi_squared_inverse(float p, float df) { return orvls_f_chi_squared_inverse_cdf(p, df); }
inline double chi_squared_inverse(double p, double df) { return orvls_d_chi_squared_inverse_cdf(p, df); }

inline float normal_inverse(float p) { return orvls_f_normal_inverse_cdf(p); }
inline double normal_inverse(double p) { return orvls_d_normal_inverse_cdf(p); }

}  // namespace orvls::basic
