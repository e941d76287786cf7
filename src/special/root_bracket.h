// The root search shared by the chi-squared and gamma inverses: widen a
// step from a start until the distribution function minus p changes sign,
// then close in by regula falsi with the Illinois safeguard.
#pragma once

#include <algorithm>
#include <cmath>

namespace orvls {

template <class Real>
struct RootBracket {
    Real x0;      // start, then the far end of the bracket
    Real f0;      // excess at the start; kept while the bracket widens
    Real x1;      // latest point
    Real f1;      // excess at x1
    Real lowest;  // trial points are kept at or above this

    // Tries x0 + step, then doubles the step from the last point, at most
    // 100 times, until the excess has the other sign from f0.  `refuse(x)`
    // ends the search at a trial point where the excess must not be taken.
    template <class Excess, class Refuse>
    bool widen(Excess excess, Real step, Refuse refuse)
    {
        for (int round = 0; round < 100; ++round) {
            x1 = std::max(x0 + step, lowest);
            if (refuse(x1))
                return false;
            f1 = excess(x1);
            if (f1 * f0 < 0)
                return true;
            step *= 2;
            x0 = x1;
        }
        return false;
    }

    // Regula falsi, at most 100 rounds, stopping when converged(x1 - x0,
    // midpoint) holds.  After a false step that keeps the same end, the
    // excess kept at the far end is halved; when even that leaves it smaller
    // than the new point's, it is restored and the next round bisects.
    template <class Excess, class Converged>
    bool refine(Excess excess, Converged converged)
    {
        bool bisect = false;
        for (int round = 0; round < 100; ++round) {
            const Real dx = x1 - x0;
            Real m = Real(0.5) * (x1 + x0);
            if (converged(dx, m))
                return true;
            if (!bisect)
                m = x1 - f1 * dx / (f1 - f0);
            bisect = false;
            m = std::max(m, lowest);
            const Real fm = excess(m);
            if (fm * f1 <= 0) {
                x0 = x1;
                f0 = f1;
            } else {
                f0 *= Real(0.5);
                if (std::fabs(fm) > std::fabs(f0)) {
                    f0 *= 2;
                    bisect = true;
                }
            }
            x1 = m;
            f1 = fm;
        }
        return false;
    }

    Real middle() const { return Real(0.5) * (x1 + x0); }
};

}  // namespace orvls
