// The float and double forms of the public routines that the regression
// family calls, chosen by the real type.
#pragma once

#include "orvls.h"

namespace orvls::regression {

inline float t_cdf(float t, float df) { return orvls_f_t_cdf(t, df); }
inline double t_cdf(double t, double df) { return orvls_d_t_cdf(t, df); }

inline float beta_incomplete(float x, float a, float b) { return orvls_f_beta_incomplete(x, a, b); }
inline double beta_incomplete(double x, double a, double b) { return orvls_d_beta_incomplete(x, a, b); }

}  // namespace orvls::regression
