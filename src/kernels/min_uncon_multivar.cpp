// Unconstrained minimisation by a quasi-Newton method: the BFGS update of an
// inverse Hessian and a backtracking line search with a bounded step.  The
// gradient is the caller's, or is taken by differences of the function.
//
// The iterates and the inverse Hessian are held in double in both forms, so
// that the update keeps its symmetry and positive definiteness as long as
// the float form's function values allow.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstring>

#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "orvls.h"

namespace orvls::kernels {

namespace {

template <class Real>
using Function = void (*)(int64_t, const Real*, Real*);
template <class Real>
using FunctionWithData = void (*)(int64_t, const Real*, Real*, void*);

// The caller's routines: a function and, optionally, its gradient, each
// with or without a data pointer.
template <class Real>
struct Routines {
    Function<Real> fcn = nullptr;
    FunctionWithData<Real> fcn_w_data = nullptr;
    void* fcn_data = nullptr;
    Function<Real> grad = nullptr;
    FunctionWithData<Real> grad_w_data = nullptr;
    void* grad_data = nullptr;

    bool has_function() const { return fcn != nullptr || fcn_w_data != nullptr; }
    bool has_gradient() const { return grad != nullptr || grad_w_data != nullptr; }
};

template <class Real>
struct Settings {
    const Real* xguess = nullptr;
    Real* fvalue = nullptr;
    Real* user_result = nullptr;
    int64_t max_itn = 100;
    int64_t max_fcn = 400;
    int64_t max_grad = 400;
    double max_step = 0;  // 0: the default, from the starting point
    bool max_step_given = false;
    double grad_tol;
    double step_tol;
    double rfcn_tol;

    Settings()
    {
        const double eps = machine_table<Real>(4);
        grad_tol = std::cbrt(eps);
        step_tol = std::pow(eps, 2.0 / 3.0);
        rfcn_tol = std::max(sizeof(Real) == sizeof(float) ? 1e-10 : 1e-20, step_tol);
    }
};

template <class Real>
void read_options(OptionReader& options, Routines<Real>& routines, Settings<Real>& settings)
{
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_XGUESS:
            settings.xguess = options.pointer<const Real*>();
            refuse_null_user(settings.xguess, "xguess", "ORVLS_XGUESS");
            break;
        case ORVLS_FVALUE:
            settings.fvalue = options.pointer<Real*>();
            refuse_null_user(settings.fvalue, "fvalue", "ORVLS_FVALUE");
            break;
        case ORVLS_RETURN_USER:
            settings.user_result = options.pointer<Real*>();
            refuse_null_user(settings.user_result, "x", "ORVLS_RETURN_USER");
            break;
        case ORVLS_GRAD: routines.grad = options.pointer<Function<Real>>(); break;
        case ORVLS_FCN_W_DATA:
            routines.fcn_w_data = options.pointer<FunctionWithData<Real>>();
            routines.fcn_data = options.pointer<void*>();
            break;
        case ORVLS_GRAD_W_DATA:
            routines.grad_w_data = options.pointer<FunctionWithData<Real>>();
            routines.grad_data = options.pointer<void*>();
            break;
        case ORVLS_MAX_ITN: settings.max_itn = options.integer(); break;
        case ORVLS_MAX_FCN: settings.max_fcn = options.integer(); break;
        case ORVLS_MAX_GRAD: settings.max_grad = options.integer(); break;
        case ORVLS_MAX_STEP:
            settings.max_step = static_cast<Real>(options.real());
            settings.max_step_given = true;
            break;
        case ORVLS_MAX_STEP_ADR:
            settings.max_step = options.real_address<Real>();
            settings.max_step_given = true;
            break;
        case ORVLS_GRAD_TOL: settings.grad_tol = static_cast<Real>(options.real()); break;
        case ORVLS_GRAD_TOL_ADR: settings.grad_tol = options.real_address<Real>(); break;
        case ORVLS_STEP_TOL: settings.step_tol = static_cast<Real>(options.real()); break;
        case ORVLS_STEP_TOL_ADR: settings.step_tol = options.real_address<Real>(); break;
        case ORVLS_REL_FCN_TOL: settings.rfcn_tol = static_cast<Real>(options.real()); break;
        case ORVLS_REL_FCN_TOL_ADR: settings.rfcn_tol = options.real_address<Real>(); break;
        default: options.unknown(code);
        }
    }
}

void refuse_below(double value, const char* name)
{
    if (value >= 0)
        return;
    orvls_e1stl(1, name);
    orvls_e1std(1, value);
    orvls_e1std(2, 0);
    orvls_ermes(5, 608);
}

template <class Real>
void check_arguments(int64_t n, const Routines<Real>& routines, const Settings<Real>& settings)
{
    int64_t checks = 0;
    orvls_check_range(n, "n", 1, 0, &checks);
    if (!routines.has_function()) {
        orvls_e1stl(1, "fcn");
        orvls_ermes(5, 150);
    }
    orvls_check_range(settings.max_itn, "max_itn", 1, 0, &checks);
    orvls_check_range(settings.max_fcn, "max_fcn", 1, 0, &checks);
    orvls_check_range(settings.max_grad, "max_grad", 1, 0, &checks);
    refuse_below(settings.grad_tol, "grad_tol");
    refuse_below(settings.step_tol, "step_tol");
    refuse_below(settings.rfcn_tol, "rfcn_tol");
    if (settings.max_step_given && !(settings.max_step > 0)) {
        orvls_e1std(1, settings.max_step);
        orvls_ermes(5, 50059);
    }
}

double norm(int64_t n, const double* v)
{
    double scale = 0, sum = 1;
    for (int64_t i = 0; i < n; ++i) {
        const double a = std::fabs(v[i]);
        if (a == 0)
            continue;
        if (a > scale) {
            sum = 1 + sum * (scale / a) * (scale / a);
            scale = a;
        } else {
            sum += (a / scale) * (a / scale);
        }
    }
    return scale * std::sqrt(sum);
}

double dot(int64_t n, const double* a, const double* b)
{
    double s = 0;
    for (int64_t i = 0; i < n; ++i)
        s += a[i] * b[i];
    return s;
}

// Largest |v_i| / max(|x_i|, 1): a step or a gradient relative to the point.
double relative_size(int64_t n, const double* v, const double* x)
{
    double largest = 0;
    for (int64_t i = 0; i < n; ++i)
        largest = std::max(largest, std::fabs(v[i]) * (1 / std::max(std::fabs(x[i]), 1.0)));
    return largest;
}

// The state of one minimisation: the caller's routines, the counts, and
// the work arrays (point, gradient, trial point, direction, step, change
// of gradient, inverse Hessian, and the real buffers handed to the caller).
template <class Real>
class Minimiser {
public:
    Minimiser(int64_t n, const Routines<Real>& routines, const Settings<Real>& settings)
        : n_(n), routines_(routines), settings_(settings), eps_(machine_table<Real>(4)),
          vectors_(static_cast<std::size_t>(6 * n)),
          hessian_(static_cast<std::size_t>(n) * static_cast<std::size_t>(n)),
          buffers_(static_cast<std::size_t>(2 * n))
    {
    }

    bool ok() const { return vectors_.ok() && hessian_.ok() && buffers_.ok(); }

    // Minimises from the start; leaves the point reached in `result` and
    // its value in `fvalue`.
    void run(Real* result, Real& fvalue);

private:
    double* x() const { return vectors_.get(); }
    double* g() const { return vectors_.get() + n_; }
    double* trial() const { return vectors_.get() + 2 * n_; }
    double* direction() const { return vectors_.get() + 3 * n_; }
    double* step() const { return vectors_.get() + 4 * n_; }
    double* change() const { return vectors_.get() + 5 * n_; }
    double& h(int64_t i, int64_t j) const { return hessian_[static_cast<std::size_t>(j * n_ + i)]; }

    double call(Real* point)
    {
        Real f = 0;
        if (routines_.fcn_w_data != nullptr)
            routines_.fcn_w_data(n_, point, &f, routines_.fcn_data);
        else
            routines_.fcn(n_, point, &f);
        return f;
    }
    // f at a point of the iteration, counted against max_fcn.
    double value(const double* point)
    {
        ++n_fcn_;
        Real* p = buffers_.get();
        for (int64_t i = 0; i < n_; ++i)
            p[i] = static_cast<Real>(point[i]);
        return call(p);
    }
    void gradient(const double* point, double f, double* out);
    void differences(const double* point, double f, double* out);
    void identity(double scale);
    void search_direction();
    bool line_search(double f, double& f_new, bool& max_taken);
    void update(bool first);
    // max |g_i| max(|x_i|, 1) / max(|f|, 1) within the gradient tolerance.
    bool gradient_small(double f) const
    {
        double largest = 0;
        for (int64_t i = 0; i < n_; ++i)
            largest = std::max(largest, std::fabs(g()[i]) * std::max(std::fabs(x()[i]), 1.0));
        return largest / std::max(std::fabs(f), 1.0) <= settings_.grad_tol;
    }
    double predicted_reduction() const;

    int64_t n_;
    const Routines<Real>& routines_;
    const Settings<Real>& settings_;
    double eps_;
    double max_step_ = 0;
    int64_t n_fcn_ = 0, n_grad_ = 0;
    bool central_ = false;
    WorkArray<double> vectors_, hessian_;
    WorkArray<Real> buffers_;
};

// The gradient by the caller's routine, or by differences.
template <class Real>
void Minimiser<Real>::gradient(const double* point, double f, double* out)
{
    ++n_grad_;
    if (!routines_.has_gradient()) {
        differences(point, f, out);
        return;
    }
    Real* p = buffers_.get();
    Real* q = buffers_.get() + n_;
    for (int64_t i = 0; i < n_; ++i) {
        p[i] = static_cast<Real>(point[i]);
        q[i] = 0;
    }
    if (routines_.grad_w_data != nullptr)
        routines_.grad_w_data(n_, p, q, routines_.grad_data);
    else
        routines_.grad(n_, p, q);
    for (int64_t i = 0; i < n_; ++i)
        out[i] = q[i];
}

// Forward differences with steps of sqrt(eps) relative to each coordinate,
// or central ones with steps of eps^(1/3); each step is rounded to what the
// real type can represent, so that the divisor is the step taken.
template <class Real>
void Minimiser<Real>::differences(const double* point, double f, double* out)
{
    Real* p = buffers_.get();
    for (int64_t i = 0; i < n_; ++i)
        p[i] = static_cast<Real>(point[i]);
    const double relative = central_ ? std::cbrt(eps_) : std::sqrt(eps_);
    for (int64_t i = 0; i < n_; ++i) {
        const Real saved = p[i];
        const Real h = static_cast<Real>(relative * std::max(std::fabs(double(saved)), 1.0));
        p[i] = saved + h;
        const double forward_step = double(p[i]) - double(saved);
        const double f_plus = call(p);
        if (central_) {
            p[i] = saved - h;
            const double backward_step = double(saved) - double(p[i]);
            const double f_minus = call(p);
            out[i] = (f_plus - f_minus) / (forward_step + backward_step);
        } else {
            out[i] = (f_plus - f) / forward_step;
        }
        p[i] = saved;
    }
}

template <class Real>
void Minimiser<Real>::identity(double scale)
{
    for (int64_t j = 0; j < n_; ++j)
        for (int64_t i = 0; i < n_; ++i)
            h(i, j) = i == j ? scale : 0;
}

// direction = -H g, or the steepest descent (with H reset) when that does
// not lead downhill.
template <class Real>
void Minimiser<Real>::search_direction()
{
    double* d = direction();
    std::fill(d, d + n_, 0.0);
    for (int64_t j = 0; j < n_; ++j) {
        const double gj = g()[j];
        for (int64_t i = 0; i < n_; ++i)
            d[i] -= h(i, j) * gj;
    }
    if (dot(n_, d, g()) < 0)
        return;
    identity(1);
    for (int64_t i = 0; i < n_; ++i)
        d[i] = -g()[i];
}

// Backtracking along the direction, cut to max_step: the first point with
// f(x + t d) <= f(x) + 1e-4 t g'd, trying t = 1 and then the minimiser of a
// quadratic, later a cubic, model of f along d, kept within [0.1 t, 0.5 t].
// False when t falls below the step tolerance before such a point is found.
template <class Real>
bool Minimiser<Real>::line_search(double f, double& f_new, bool& max_taken)
{
    double* d = direction();
    double length = norm(n_, d);
    max_taken = false;
    if (length > max_step_) {
        for (int64_t i = 0; i < n_; ++i)
            d[i] *= max_step_ / length;
        length = max_step_;
    }
    const double slope = dot(n_, g(), d);
    const double smallest = settings_.step_tol / std::max(relative_size(n_, d, x()), eps_);
    double t = 1, t_previous = 1, f_previous = f;
    for (;;) {
        for (int64_t i = 0; i < n_; ++i)
            trial()[i] = x()[i] + t * d[i];
        f_new = value(trial());
        if (std::isfinite(f_new) && f_new <= f + 1e-4 * t * slope) {
            max_taken = t == 1 && length > 0.99 * max_step_;
            return true;
        }
        if (t < smallest || n_fcn_ >= settings_.max_fcn)
            return false;
        double next;
        if (!std::isfinite(f_new)) {
            next = 0.1 * t;
        } else if (t == 1) {
            next = -slope / (2 * (f_new - f - slope));
        } else {
            const double r1 = f_new - f - t * slope, r2 = f_previous - f - t_previous * slope;
            const double a = (r1 / (t * t) - r2 / (t_previous * t_previous)) / (t - t_previous);
            const double b = (-t_previous * r1 / (t * t) + t * r2 / (t_previous * t_previous)) / (t - t_previous);
            const double discriminant = b * b - 3 * a * slope;
            if (a == 0)
                next = -slope / (2 * b);
            else
                next = (-b + std::sqrt(std::max(discriminant, 0.0))) / (3 * a);
        }
        if (!std::isfinite(next))
            next = 0.5 * t;
        t_previous = t;
        f_previous = f_new;
        t = std::clamp(next, 0.1 * t, 0.5 * t);
    }
}

// H := (I - r s y') H (I - r y s') + r s s', r = 1 / s'y, skipped when s'y
// is not safely positive.  Before the first update H is scaled to s'y / y'y.
template <class Real>
void Minimiser<Real>::update(bool first)
{
    const double* s = step();
    const double* y = change();
    const double sy = dot(n_, s, y);
    if (!(sy > std::sqrt(eps_) * norm(n_, s) * norm(n_, y)))
        return;
    if (first)
        identity(sy / dot(n_, y, y));
    // Hy in trial(), which is free here.
    double* hy = trial();
    std::fill(hy, hy + n_, 0.0);
    for (int64_t j = 0; j < n_; ++j)
        for (int64_t i = 0; i < n_; ++i)
            hy[i] += h(i, j) * y[j];
    const double r = 1 / sy;
    const double factor = r * (1 + r * dot(n_, y, hy));
    for (int64_t j = 0; j < n_; ++j)
        for (int64_t i = 0; i < n_; ++i)
            h(i, j) += factor * s[i] * s[j] - r * (hy[i] * s[j] + s[i] * hy[j]);
}

// The decrease of f that the quadratic model promises: g' H g / 2.
template <class Real>
double Minimiser<Real>::predicted_reduction() const
{
    double sum = 0;
    for (int64_t j = 0; j < n_; ++j) {
        double column = 0;
        for (int64_t i = 0; i < n_; ++i)
            column += h(i, j) * g()[i];
        sum += column * g()[j];
    }
    return 0.5 * sum;
}

template <class Real>
void Minimiser<Real>::run(Real* result, Real& fvalue)
{
    double* point = x();
    for (int64_t i = 0; i < n_; ++i)
        point[i] = settings_.xguess != nullptr ? double(settings_.xguess[i]) : 0.0;
    max_step_ = settings_.max_step_given ? settings_.max_step : 1000 * std::max(norm(n_, point), 1.0);
    identity(1);
    double f = value(point);
    gradient(point, f, g());
    bool first_update = true;
    int consecutive_max_steps = 0;
    int64_t iteration = 0;
    while (!gradient_small(f)) {
        if (iteration >= settings_.max_itn) {
            orvls_ermes(3, 50057);
            break;
        }
        if (n_fcn_ >= settings_.max_fcn) {
            orvls_ermes(3, 50058);
            break;
        }
        if (n_grad_ >= settings_.max_grad) {
            orvls_ermes(3, 50065);
            break;
        }
        ++iteration;
        search_direction();
        double f_new = f;
        bool max_taken = false;
        if (!line_search(f, f_new, max_taken)) {
            if (n_fcn_ >= settings_.max_fcn) {
                orvls_ermes(3, 50058);
                break;
            }
            // Forward differences may be too coarse to lead downhill.
            if (!routines_.has_gradient() && !central_) {
                central_ = true;
                gradient(point, f, g());
                continue;
            }
            orvls_ermes(3, 20129);
            break;
        }
        for (int64_t i = 0; i < n_; ++i) {
            step()[i] = trial()[i] - point[i];
            point[i] = trial()[i];
            change()[i] = -g()[i];
        }
        gradient(point, f_new, g());
        for (int64_t i = 0; i < n_; ++i)
            change()[i] += g()[i];
        f = f_new;
        update(first_update);
        first_update = false;
        consecutive_max_steps = max_taken ? consecutive_max_steps + 1 : 0;
        if (gradient_small(f))
            break;
        if (consecutive_max_steps == 5) {
            orvls_ermes(3, 20135);
            break;
        }
        if (predicted_reduction() <= settings_.rfcn_tol * std::fabs(f)) {
            orvls_ermes(1, 50064);
            break;
        }
        if (relative_size(n_, step(), point) <= settings_.step_tol) {
            orvls_ermes(3, 20131);
            break;
        }
    }
    for (int64_t i = 0; i < n_; ++i)
        result[i] = static_cast<Real>(point[i]);
    fvalue = static_cast<Real>(f);
}

bool is_fatal(int64_t type) { return type >= 4 && type != 6; }

template <class Real>
Real* min_uncon_multivar(Function<Real> fcn, int64_t n, OptionReader& options)
{
    Routines<Real> routines;
    routines.fcn = fcn;
    Settings<Real> settings;
    read_options(options, routines, settings);
    if (orvls_n1rty(0) > 0)
        return nullptr;
    check_arguments(n, routines, settings);
    if (orvls_n1rty(0) > 0)
        return nullptr;
    Minimiser<Real> minimiser(n, routines, settings);
    WorkArray<Real> allocated(settings.user_result == nullptr ? static_cast<std::size_t>(n) : 0);
    if (!minimiser.ok() || !allocated.ok()) {
        orvls_e1sti(1, n);
        orvls_e1stl(1, "n");
        orvls_ermes(5, 201);
        return nullptr;
    }
    Real* result = settings.user_result != nullptr ? settings.user_result : allocated.get();
    Real fvalue = 0;
    minimiser.run(result, fvalue);
    if (is_fatal(orvls_n1rty(0)))
        return nullptr;
    if (settings.fvalue != nullptr)
        *settings.fvalue = fvalue;
    if (settings.user_result == nullptr)
        allocated.release();
    return result;
}

template <class Real>
Real* min_uncon_multivar_entry(const char* name, Function<Real> fcn, int64_t n, va_list ap)
{
    OptionReader options(ap, 2);
    return envelope<Real*>(name, nullptr, [&] { return min_uncon_multivar<Real>(fcn, n, options); });
}

}  // namespace

}  // namespace orvls::kernels

extern "C" {

ORVLS_API float* orvls_f_min_uncon_multivar(void (*fcn)(int64_t, const float*, float*), int64_t n, ...)
{
    va_list ap;
    va_start(ap, n);
    float* result = orvls::kernels::min_uncon_multivar_entry<float>("orvls_f_min_uncon_multivar", fcn, n, ap);
    va_end(ap);
    return result;
}

ORVLS_API double* orvls_d_min_uncon_multivar(void (*fcn)(int64_t, const double*, double*), int64_t n, ...)
{
    va_list ap;
    va_start(ap, n);
    double* result = orvls::kernels::min_uncon_multivar_entry<double>("orvls_d_min_uncon_multivar", fcn, n, ap);
    va_end(ap);
    return result;
}

}  // extern "C"
