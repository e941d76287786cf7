#include "kernels/girts.h"

#include <cmath>

#include "kernels/vectors.h"
#include "orvls.h"

namespace orvls::kernels {
namespace {

// How a row at a zero diagonal is judged.  The exact rule finds any
// right-hand side left over inconsistent and raises the first such row as
// type 3, code 11058 (row and column numbered from 1, the value).  With a
// tolerance, what is left over is measured against the magnitudes of the
// terms it came from, and nothing is raised.
template <class Real>
struct ZeroDiagonalRule {
    bool exact;
    Real tolerance;
    const Real* right_scale = nullptr;  // magnitudes behind the right-hand sides, or null for |b|
    int64_t ld_right_scale = 0;
    bool inconsistent = false;

    Real right_magnitude(int64_t row, int64_t column, Real right) const
    {
        return right_scale != nullptr ? right_scale[row + column * ld_right_scale] : std::fabs(right);
    }

    // `left` remains of row `row` of right-hand side `column`; scale() sums
    // the magnitudes of its terms.
    template <class Scale>
    void judge(int64_t row, int64_t column, Real left, Scale scale)
    {
        if (left == 0 || (!exact && std::fabs(left) <= tolerance * scale()))
            return;
        if (exact && !inconsistent) {
            orvls_e1sti(1, row + 1);
            orvls_e1sti(2, column + 1);
            orvls_e1std(1, left);
            orvls_ermes(3, 11058);
        }
        inconsistent = true;
    }
};

// Substitution with R (back, last row first) or with its transpose
// (forward, first row first).
template <class Real>
void substitute(int64_t n, Matrix<const Real> r, bool transposed, const Real* b, Real* x, int64_t column,
                ZeroDiagonalRule<Real>& rule)
{
    for (int64_t step = 0; step < n; ++step) {
        const int64_t i = transposed ? step : n - 1 - step;
        Real v = b[i];
        if (transposed) {
            const Real* ri = r.column(i);
            for (int64_t j = 0; j < i; ++j)
                v -= ri[j] * x[j];
        } else {
            for (int64_t j = i + 1; j < n; ++j)
                v -= r(i, j) * x[j];
        }
        if (r(i, i) != 0) {
            x[i] = v / r(i, i);
        } else {
            rule.judge(i, column, v, [&] {
                Real scale = rule.right_magnitude(i, column, b[i]);
                for (int64_t j = transposed ? 0 : i + 1; j < (transposed ? i : n); ++j)
                    scale += std::fabs((transposed ? r(j, i) : r(i, j)) * x[j]);
                return scale;
            });
            x[i] = 0;
        }
    }
}

// Column j of the inverse from its diagonal upwards; entries at zero
// diagonals are 0, so the sums leave those rows out by themselves.
template <class Real>
void invert(int64_t n, Matrix<const Real> r, Matrix<Real> inverse)
{
    for (int64_t j = 0; j < n; ++j) {
        for (int64_t i = 0; i < n; ++i)
            inverse(i, j) = 0;
        if (r(j, j) == 0)
            continue;
        inverse(j, j) = 1 / r(j, j);
        for (int64_t i = j - 1; i >= 0; --i) {
            if (r(i, i) == 0)
                continue;
            Real sum = 0;
            for (int64_t k = i + 1; k <= j; ++k)
                sum += r(i, k) * inverse(k, j);
            inverse(i, j) = -sum / r(i, i);
        }
    }
}

template <class Real>
int64_t count_non_zero_diagonals(int64_t n, Matrix<const Real> r)
{
    int64_t count = 0;
    for (int64_t i = 0; i < n; ++i)
        count += r(i, i) != 0;
    return count;
}

// Paths 1 and 2, column by column.
template <class Real>
void solve(int64_t n, Matrix<const Real> r, int64_t nb, const Real* b, int64_t ldb, int64_t ipath, Real* x,
           int64_t ldx, ZeroDiagonalRule<Real>& rule)
{
    for (int64_t column = 0; column < nb; ++column)
        substitute(n, r, ipath == kSolveTransposed, b + column * ldb, x + column * ldx, column, rule);
}

}  // namespace

template <class Real>
void orvls_girts(int64_t n, const Real* r, int64_t ldr, int64_t nb, const Real* b, int64_t ldb, int64_t ipath,
                 int64_t* irank, Real* x, int64_t ldx, Real* rinv, int64_t ldrinv)
{
    const Matrix<const Real> triangle{r, ldr};
    *irank = count_non_zero_diagonals(n, triangle);
    if (ipath == kInverse) {
        invert(n, triangle, Matrix<Real>{rinv, ldrinv});
        return;
    }
    ZeroDiagonalRule<Real> rule{true, 0};
    solve(n, triangle, nb, b, ldb, ipath, x, ldx, rule);
}

template <class Real>
int64_t orvls_girts(int64_t n, const Real* r, int64_t ldr, int64_t nb, const Real* b, int64_t ldb, int64_t ipath,
                    Real tolerance, int64_t* irank, Real* x, int64_t ldx, const Real* right_scale)
{
    const Matrix<const Real> triangle{r, ldr};
    *irank = count_non_zero_diagonals(n, triangle);
    ZeroDiagonalRule<Real> rule{false, tolerance, right_scale, ldb};
    solve(n, triangle, nb, b, ldb, ipath, x, ldx, rule);
    return rule.inconsistent ? 1 : 0;
}

template void orvls_girts<float>(int64_t, const float*, int64_t, int64_t, const float*, int64_t, int64_t, int64_t*,
                                 float*, int64_t, float*, int64_t);
template void orvls_girts<double>(int64_t, const double*, int64_t, int64_t, const double*, int64_t, int64_t,
                                  int64_t*, double*, int64_t, double*, int64_t);
template int64_t orvls_girts<float>(int64_t, const float*, int64_t, int64_t, const float*, int64_t, int64_t, float,
                                    int64_t*, float*, int64_t, const float*);
template int64_t orvls_girts<double>(int64_t, const double*, int64_t, int64_t, const double*, int64_t, int64_t,
                                     double, int64_t*, double*, int64_t, const double*);

}  // namespace orvls::kernels
