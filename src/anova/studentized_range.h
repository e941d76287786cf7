// The studentized range: the distribution of the range of r independent
// standard normal values divided by an independent scale estimate with df
// degrees of freedom, and its inverse.  Both work in double for either
// element type.
#pragma once

namespace orvls::anova {

// P(Q <= q) for r means and df degrees of freedom.  Above 120 degrees of
// freedom the scale counts as known (the range of r normal values alone).
// Errors: type 5, 11155, r below 2 (real 1 = r; NaN); type 5, 11152, df
// below 1 (real 1 = df; NaN); type 3, 11156, q negative (the result is 0).
template <class Real>
Real orvls_srdf(Real q, Real r, Real df);

// The q with P(Q <= q) = p, for p from 0.90 to 0.99, each end widened by
// the element type's machine epsilon.  Errors: type 5, 11154, p outside
// that band (real 1 = p); 11155 and 11152 as above.  NaN after an error.
template <class Real>
Real orvls_srin(Real p, Real r, Real df);

// The same inverse for any p in (0, 1), without the band and without
// errors: for the multiple-range levels that fall outside the band.  The
// arguments must be valid (0 < p < 1, r >= 2, df >= 1).
double range_quantile(double p, double r, double df);

}  // namespace orvls::anova
