// The Kalman filter: one time point per call, a measurement update when an
// observation is given and then the time update, on a state that the caller
// holds between calls.
//
// The caller's matrices are row-major.  The kernel reads them where they
// stand, taking each as the column-major transpose that the matrix kernels
// see at the same address, so nothing is transposed and every input is
// left as it was on every path.  Symmetric matrices carry their values in
// the upper triangle of the row-major layout.
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <type_traits>
#include <utility>

#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "kernels/girts.h"
#include "kernels/nan_search.h"
#include "kernels/symmetric.h"
#include "kernels/vectors.h"
#include "orvls.h"

namespace orvls::timeseries {

namespace {

using kernels::Storage;

template <class Real>
struct Settings {
    int64_t ny = 0;
    const Real* y = nullptr;
    const Real* z = nullptr;
    const Real* r = nullptr;
    const Real* t = nullptr;
    const Real* q = nullptr;
    int64_t t_col_dim, q_col_dim, state_cov_col_dim, z_col_dim;
    int64_t r_col_dim = 0;
    bool r_col_dim_given = false;
    Real tolerance = 100 * machine_table<Real>(4);
    Real** innovations = nullptr;
    Real* innovations_user = nullptr;
    Real** innovation_cov = nullptr;
    Real* innovation_cov_user = nullptr;

    explicit Settings(int64_t n) : t_col_dim(n), q_col_dim(n), state_cov_col_dim(n), z_col_dim(n) {}
};

// A result pointer option: refused when null (104), else cleared, so that
// it holds null on every path that hands nothing over.
template <class Real>
Real** result_pointer(OptionReader& options, const char* argument, const char* option)
{
    Real** pointer = options.non_null_pointer<Real**>(argument, option);
    if (pointer != nullptr)
        *pointer = nullptr;
    return pointer;
}

template <class Real>
void read_measurement(OptionReader& options, Settings<Real>& settings)
{
    settings.ny = options.integer();
    settings.y = options.pointer<const Real*>();
    settings.z = options.pointer<const Real*>();
    settings.r = options.pointer<const Real*>();
    if (settings.ny < 1)
        return;
    refuse_null_user(settings.y, "y", "ORVLS_MEASUREMENT");
    refuse_null_user(settings.z, "z", "ORVLS_MEASUREMENT");
    refuse_null_user(settings.r, "r", "ORVLS_MEASUREMENT");
}

template <class Real>
void read_options(OptionReader& options, Settings<Real>& settings)
{
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_MEASUREMENT: read_measurement(options, settings); break;
        case ORVLS_TRANSITION: settings.t = options.non_null_pointer<Real*>("t", "ORVLS_TRANSITION"); break;
        case ORVLS_TRANSITION_COL_DIM: settings.t_col_dim = options.integer(); break;
        case ORVLS_STATE_NOISE: settings.q = options.non_null_pointer<Real*>("q", "ORVLS_STATE_NOISE"); break;
        case ORVLS_STATE_NOISE_COL_DIM: settings.q_col_dim = options.integer(); break;
        case ORVLS_STATE_COV_COL_DIM: settings.state_cov_col_dim = options.integer(); break;
        case ORVLS_OBSERVATION_COL_DIM: settings.z_col_dim = options.integer(); break;
        case ORVLS_MEASUREMENT_COV_COL_DIM:
            settings.r_col_dim = options.integer();
            settings.r_col_dim_given = true;
            break;
        case ORVLS_TOLERANCE: settings.tolerance = static_cast<Real>(options.real()); break;
        case ORVLS_INNOVATIONS:
            settings.innovations = result_pointer<Real>(options, "innovations", "ORVLS_INNOVATIONS");
            break;
        case ORVLS_INNOVATIONS_USER:
            settings.innovations_user = options.non_null_pointer<Real*>("innovations", "ORVLS_INNOVATIONS_USER");
            break;
        case ORVLS_INNOVATION_COV:
            settings.innovation_cov = result_pointer<Real>(options, "innovation_cov", "ORVLS_INNOVATION_COV");
            break;
        case ORVLS_INNOVATION_COV_USER:
            settings.innovation_cov_user =
                options.non_null_pointer<Real*>("innovation_cov", "ORVLS_INNOVATION_COV_USER");
            break;
        default: options.unknown(code);
        }
    }
}

// The routine's own checks; the row lengths that the kernel needs are the
// kernel's to check, except that of z, whose rows only the worker knows.
template <class Real>
void check_arguments(int64_t n, const Settings<Real>& settings)
{
    if (n < 1) {
        orvls_e1sti(1, n);
        orvls_ermes(5, 65170);
    }
    if (settings.ny < 0) {
        orvls_e1sti(1, settings.ny);
        orvls_ermes(5, 65167);
    }
    if (!(settings.tolerance >= 0 && settings.tolerance <= 1)) {
        orvls_e1std(1, settings.tolerance);
        orvls_ermes(5, 50098);
    }
    if (settings.ny > 1)
        orvls_check_col_dim(settings.z_col_dim, "observation_col_dim", n, "n");
}

// One step of the filter as the kernel sees it.  Matrices are row-major with
// the given row lengths; t and q are null when not given.
template <class Real>
struct FilterStep {
    int64_t n, ny;
    const Real* y;
    const Real* z;
    int64_t ldz;
    const Real* r;
    int64_t ldr;
    const Real* t;
    int64_t ldt;
    const Real* q;
    int64_t ldq;
    Real tolerance;
    Real* b;
    Real* state_cov;
    int64_t ldp;
    int64_t* n_rank;
    Real* ss;
    Real* log_det;
    Real* v;               // ny prediction errors
    Real* innovation_cov;  // ny x ny
};

// The kernel's work areas: the triangular factor (ny x ny), the product with
// t (n x n), the gain products in the triangular solves' order (ny x n,
// column-major) and transposed (n x ny), a vector of max(n, ny) and the
// magnitudes behind the prediction errors (ny).
template <class Real>
struct FilterWork {
    Real* factor;
    Real* product;
    Real* gain;
    Real* gain_rows;
    Real* vector;
    Real* error_scale;
};

// b (columns x rows, column-major) := a' for a rows x columns, column-major.
template <class Real>
void transpose(int64_t rows, int64_t columns, const Real* a, Real* b)
{
    for (int64_t i = 0; i < rows; ++i)
        for (int64_t j = 0; j < columns; ++j)
            b[j + i * columns] = a[i + j * rows];
}

template <class Real>
Real dot(int64_t n, const Real* x, int64_t incx, const Real* y, int64_t incy)
{
    return kernels::sum_of<4, Real>(n, [](Real a, Real c) { return a * c; }, kernels::vector(x, incx),
                                    kernels::vector(y, incy));
}

// y := alpha op(A) x + beta y, A column-major m x n, unit strides.
template <class Real>
void matrix_vector(const char* trans, int64_t m, int64_t n, Real alpha, const Real* a, int64_t lda, const Real* x,
                   Real beta, Real* y)
{
    const int64_t one = 1;
    if constexpr (std::is_same_v<Real, float>)
        orvls_sgemv(trans, &m, &n, &alpha, a, &lda, x, &one, &beta, y, &one, 1);
    else
        orvls_dgemv(trans, &m, &n, &alpha, a, &lda, x, &one, &beta, y, &one, 1);
}

constexpr const char* kProductName = "l_mrrrr";

// C := op(A) op(B), C m x n, depth k, column-major, with the product's own
// name on the error stack.
template <class Real>
void l_mrrrr(const char* transa, const char* transb, int64_t m, int64_t n, int64_t k, const Real* a, int64_t lda,
             const Real* b, int64_t ldb, Real* c, int64_t ldc)
{
    const Real one = 1, zero = 0;
    orvls_e1psh(kProductName);
    if constexpr (std::is_same_v<Real, float>)
        orvls_sgemm(transa, transb, &m, &n, &k, &one, a, &lda, b, &ldb, &zero, c, &ldc, 1, 1);
    else
        orvls_dgemm(transa, transb, &m, &n, &k, &one, a, &lda, b, &ldb, &zero, c, &ldc, 1, 1);
    orvls_e1pop(kProductName);
}

template <class Real>
Real norm2(int64_t n, const Real* x, int64_t incx)
{
    if constexpr (std::is_same_v<Real, float>)
        return orvls_snrm2(n, x, incx);
    else
        return orvls_dnrm2(n, x, incx);
}

template <class Real>
void complete_state_cov(const FilterStep<Real>& s)
{
    kernels::orvls_dcsfrg(s.n, s.state_cov, s.ldp, Storage::row_major);
}

// The kernel's checks, all raised, the last one counting.
template <class Real>
bool kernel_arguments_pass(const FilterStep<Real>& s)
{
    if (s.ny > 1 && s.ldr < s.ny) {
        orvls_e1sti(1, s.ny);
        orvls_e1sti(2, s.ldz);
        orvls_e1sti(3, s.ldr);
        orvls_e1sti(4, s.ny);
        orvls_ermes(5, 65168);
    }
    if (const int64_t first = kernels::orvls_first_nan(s.ny, s.y, 1); first != 0) {
        orvls_e1sti(1, first - 1);
        orvls_ermes(5, 65169);
    }
    if ((s.t != nullptr && s.ldt < s.n) || (s.q != nullptr && s.ldq < s.n) || s.ldp < s.n) {
        orvls_e1sti(1, s.n);
        orvls_e1sti(2, s.ldt);
        orvls_e1sti(3, s.ldq);
        orvls_e1sti(4, s.ldp);
        orvls_ermes(5, 65170);
    }
    return orvls_n1rty(0) == 0;
}

// Adds to log_det the logarithm of the generalised determinant of R'R: from
// the last row up, a row with a non-zero diagonal adds the log of its sum of
// squares over its diagonal and the zero-diagonal positions just after it.
template <class Real>
void add_log_determinant(int64_t ny, const Real* factor, Real* log_det)
{
    int64_t count = 1;
    for (int64_t i = ny - 1; i >= 0; --i) {
        const Real* diagonal = factor + i + i * ny;
        if (*diagonal == 0) {
            ++count;
            continue;
        }
        *log_det += 2 * std::log(norm2(count, diagonal, ny));
        count = 1;
    }
}

// The measurement update; false after a fatal error.  The factor's rank is
// decided on variances, within the tolerance; the solves then compare
// linear quantities, whose scale is the square root of theirs.
template <class Real>
bool measurement_update(const FilterStep<Real>& s, const FilterWork<Real>& work)
{
    const int64_t n = s.n, ny = s.ny;
    complete_state_cov(s);
    // W = z state_cov, formed as its transpose state_cov z' (n x ny), whose
    // columns are the rows of W.
    l_mrrrr<Real>("N", "N", n, ny, n, s.state_cov, s.ldp, s.z, s.ldz, work.gain_rows, n);
    Real* f = s.innovation_cov;
    for (int64_t j = 0; j < ny; ++j)
        for (int64_t i = 0; i <= j; ++i)
            f[i + j * ny] =
                dot(n, work.gain_rows + i * n, int64_t(1), s.z + j * s.ldz, int64_t(1)) + s.r[i * s.ldr + j];
    kernels::orvls_dcsfrg(ny, f, ny);

    int64_t rank = 0;
    if (kernels::orvls_chfac(ny, f, ny, s.tolerance, &rank, work.factor, ny) != 0) {
        orvls_e1std(1, s.tolerance);
        orvls_ermes(4, 65173);
        return false;
    }
    *s.n_rank += rank;
    add_log_determinant(ny, work.factor, s.log_det);

    // R'X = W, then state_cov -= X'X over the upper triangle, one row of X
    // at a time.
    const Real linear_tolerance = std::sqrt(s.tolerance);
    transpose(n, ny, work.gain_rows, work.gain);
    if (kernels::orvls_girts(ny, work.factor, ny, n, work.gain, ny, int64_t(kernels::kSolveTransposed),
                             linear_tolerance, &rank, work.gain, ny) != 0) {
        orvls_e1std(1, s.tolerance);
        orvls_ermes(4, 65174);
        return false;
    }
    transpose(ny, n, work.gain, work.gain_rows);
    for (int64_t k = 0; k < ny; ++k) {
        const Real* x = work.gain_rows + k * n;
        for (int64_t i = 0; i < n; ++i)
            kernels::for_each_element(
                n - i, [xi = x[i]](Real& p, Real xj) { p -= xi * xj; },
                kernels::vector(s.state_cov + i * s.ldp + i, 1), kernels::vector(x + i, 1));
    }

    std::memcpy(s.v, s.y, static_cast<std::size_t>(ny) * sizeof(Real));
    matrix_vector<Real>("T", n, ny, -1, s.z, s.ldz, s.b, 1, s.v);
    // A prediction error is a difference: an observation that the others
    // determine is judged on the size of y and z b, not on what is left.
    for (int64_t i = 0; i < ny; ++i)
        work.error_scale[i] = std::fabs(s.y[i]) + kernels::sum_of<4, Real>(
                                                      n, [](Real zk, Real bk) { return std::fabs(zk * bk); },
                                                      kernels::vector(s.z + i * s.ldz, 1), kernels::vector(s.b, 1));
    Real* e = work.vector;
    if (kernels::orvls_girts(ny, work.factor, ny, int64_t(1), s.v, ny, int64_t(kernels::kSolveTransposed),
                             linear_tolerance, &rank, e, ny, work.error_scale) != 0) {
        orvls_ermes(4, 65175);
        return false;
    }
    matrix_vector<Real>("N", n, ny, 1, work.gain_rows, n, e, 1, s.b);
    *s.ss += dot(ny, e, int64_t(1), e, int64_t(1));
    return true;
}

// The time update: b := t b, state_cov := t state_cov t' + q, either part
// left out when its matrix is not given; state_cov leaves complete.
template <class Real>
void time_update(const FilterStep<Real>& s, const FilterWork<Real>& work)
{
    const int64_t n = s.n;
    if (s.t != nullptr) {
        std::memcpy(work.vector, s.b, static_cast<std::size_t>(n) * sizeof(Real));
        matrix_vector<Real>("T", n, n, 1, s.t, s.ldt, work.vector, 0, s.b);
        complete_state_cov(s);
        // The row-major t state_cov is the column-major state_cov t'; the
        // column-major t (state_cov t') is t state_cov t', symmetric, and
        // lands in state_cov as it stands.
        l_mrrrr<Real>("N", "N", n, n, n, s.state_cov, s.ldp, s.t, s.ldt, work.product, n);
        l_mrrrr<Real>("T", "N", n, n, n, s.t, s.ldt, work.product, n, s.state_cov, s.ldp);
    }
    if (s.q != nullptr)
        for (int64_t i = 0; i < n; ++i)
            kernels::for_each_element(
                n - i, [](Real& p, Real noise) { p += noise; }, kernels::vector(s.state_cov + i * s.ldp + i, 1),
                kernels::vector(s.q + i * s.ldq + i, 1));
    complete_state_cov(s);
}

constexpr const char* kKernelName = "K2LMN ";

template <class Real>
void l_k2lmn(const FilterStep<Real>& step, const FilterWork<Real>& work)
{
    orvls_e1psh(kKernelName);
    if (kernel_arguments_pass(step) && (step.ny == 0 || measurement_update(step, work)))
        time_update(step, work);
    orvls_e1pop(kKernelName);
}

bool is_fatal(int64_t type) { return type >= 4 && type != 6; }

// The prediction errors and their covariance when the caller asks for them
// in arrays of their own: handed over at the end, freed on any other path.
template <class Real>
struct Results {
    Real* v = nullptr;
    Real* innovation_cov = nullptr;
    Results() = default;
    Results(const Results&) = delete;
    Results& operator=(const Results&) = delete;
    ~Results()
    {
        std::free(v);
        std::free(innovation_cov);
    }
};

// An array for a result asked for through its pointer, unless the caller
// gave one; false when it cannot be had.
template <class Real>
bool allocate_result(Real*& array, std::size_t size, Real** asked, const Real* user)
{
    if (asked == nullptr || user != nullptr || size == 0)
        return true;
    array = allocate<Real>(size);
    return array != nullptr;
}

template <class Real>
void kalman(int64_t n, Real* b, Real* state_cov, int64_t* n_rank, Real* ss, Real* log_det, OptionReader& options)
{
    Settings<Real> settings(n);
    read_options(options, settings);
    if (orvls_n1rty(0) > 0)
        return;
    check_arguments(n, settings);
    if (orvls_n1rty(0) > 0)
        return;

    const int64_t ny = settings.ny;
    const std::size_t nn = std::size_t(n), my = std::size_t(ny);
    const std::size_t work_size =
        my * my + (settings.t != nullptr ? nn * nn : 0) + 2 * my * nn + (nn > my ? nn : my) + my;
    const std::size_t own_outputs = (settings.innovations_user == nullptr ? my : 0) +
                                    (settings.innovation_cov_user == nullptr ? my * my : 0);
    WorkArray<Real> work_space(work_size + own_outputs);
    Results<Real> results;
    if (!work_space.ok() || !allocate_result(results.v, my, settings.innovations, settings.innovations_user) ||
        !allocate_result(results.innovation_cov, my * my, settings.innovation_cov, settings.innovation_cov_user)) {
        orvls_ermes(5, 200);
        return;
    }
    Real* next = work_space.get();
    auto take = [&next](std::size_t size) { return std::exchange(next, next + size); };
    const FilterWork<Real> work{take(my * my), take(settings.t != nullptr ? nn * nn : 0), take(my * nn),
                                take(my * nn), take(nn > my ? nn : my), take(my)};
    Real* v = settings.innovations_user != nullptr ? settings.innovations_user
              : results.v != nullptr               ? results.v
                                                   : take(my);
    Real* innovation_cov = settings.innovation_cov_user != nullptr ? settings.innovation_cov_user
                           : results.innovation_cov != nullptr     ? results.innovation_cov
                                                                   : take(my * my);

    const FilterStep<Real> step{n,
                                ny,
                                settings.y,
                                settings.z,
                                ny > 1 ? settings.z_col_dim : n,
                                settings.r,
                                ny > 1 ? (settings.r_col_dim_given ? settings.r_col_dim : ny) : 1,
                                settings.t,
                                settings.t_col_dim,
                                settings.q,
                                settings.q_col_dim,
                                settings.tolerance,
                                b,
                                state_cov,
                                settings.state_cov_col_dim,
                                n_rank,
                                ss,
                                log_det,
                                v,
                                innovation_cov};
    l_k2lmn(step, work);
    if (is_fatal(orvls_n1rty(0)))
        return;
    if (results.v != nullptr)
        *settings.innovations = std::exchange(results.v, nullptr);
    if (results.innovation_cov != nullptr)
        *settings.innovation_cov = std::exchange(results.innovation_cov, nullptr);
}

template <class Real>
void kalman_entry(const char* name, int64_t n, Real* b, Real* state_cov, int64_t* n_rank, Real* ss, Real* log_det,
                  va_list ap)
{
    OptionReader options(ap, 6);
    envelope(name, [&] { kalman(n, b, state_cov, n_rank, ss, log_det, options); });
}

}  // namespace

}  // namespace orvls::timeseries

extern "C" {

ORVLS_API void orvls_f_kalman(int64_t n, float* b, float* state_cov, int64_t* n_rank, float* ss, float* log_det, ...)
{
    va_list ap;
    va_start(ap, log_det);
    orvls::timeseries::kalman_entry("orvls_f_kalman", n, b, state_cov, n_rank, ss, log_det, ap);
    va_end(ap);
}

ORVLS_API void orvls_d_kalman(int64_t n, double* b, double* state_cov, int64_t* n_rank, double* ss, double* log_det,
                              ...)
{
    va_list ap;
    va_start(ap, log_det);
    orvls::timeseries::kalman_entry("orvls_d_kalman", n, b, state_cov, n_rank, ss, log_det, ap);
    va_end(ap);
}

}  // extern "C"
