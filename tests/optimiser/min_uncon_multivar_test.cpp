// The quasi-Newton minimiser on the standard test problems (known minima),
// with analytic gradients and with differences, its stopping notices and
// its errors.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#include "capture.h"
#include "frame/memory.h"
#include "orvls.h"

namespace {

// Extended Rosenbrock: sum over pairs of 100 (x2 - x1^2)^2 + (1 - x1)^2.
template <class Real>
void rosenbrock(int64_t n, const Real* x, Real* f)
{
    Real sum = 0;
    for (int64_t i = 0; i + 1 < n; i += 2) {
        const Real a = x[i + 1] - x[i] * x[i], b = 1 - x[i];
        sum += 100 * a * a + b * b;
    }
    *f = sum;
}
template <class Real>
void rosenbrock_gradient(int64_t n, const Real* x, Real* g)
{
    for (int64_t i = 0; i + 1 < n; i += 2) {
        const Real a = x[i + 1] - x[i] * x[i];
        g[i] = -400 * x[i] * a - 2 * (1 - x[i]);
        g[i + 1] = 200 * a;
    }
}

void powell(int64_t, const double* x, double* f)
{
    const double a = x[0] + 10 * x[1], b = x[2] - x[3], c = x[1] - 2 * x[2], d = x[0] - x[3];
    *f = a * a + 5 * b * b + c * c * c * c + 10 * d * d * d * d;
}
void powell_gradient(int64_t, const double* x, double* g)
{
    const double a = x[0] + 10 * x[1], b = x[2] - x[3], c = x[1] - 2 * x[2], d = x[0] - x[3];
    g[0] = 2 * a + 40 * d * d * d;
    g[1] = 20 * a + 4 * c * c * c;
    g[2] = 10 * b - 8 * c * c * c;
    g[3] = -10 * b - 40 * d * d * d;
}

void wood(int64_t, const double* x, double* f)
{
    const double a = x[1] - x[0] * x[0], b = x[3] - x[2] * x[2];
    *f = 100 * a * a + (1 - x[0]) * (1 - x[0]) + 90 * b * b + (1 - x[2]) * (1 - x[2]) +
         10.1 * ((x[1] - 1) * (x[1] - 1) + (x[3] - 1) * (x[3] - 1)) + 19.8 * (x[1] - 1) * (x[3] - 1);
}
void wood_gradient(int64_t, const double* x, double* g)
{
    const double a = x[1] - x[0] * x[0], b = x[3] - x[2] * x[2];
    g[0] = -400 * x[0] * a - 2 * (1 - x[0]);
    g[1] = 200 * a + 20.2 * (x[1] - 1) + 19.8 * (x[3] - 1);
    g[2] = -360 * x[2] * b - 2 * (1 - x[2]);
    g[3] = 180 * b + 20.2 * (x[3] - 1) + 19.8 * (x[1] - 1);
}

struct Problem {
    const char* name;
    int64_t n;
    void (*f)(int64_t, const double*, double*);
    void (*g)(int64_t, const double*, double*);
    std::vector<double> start, minimum;
    double x_tolerance;  // Powell's minimum is singular: x converges as f^(1/4)
};

std::vector<Problem> problems()
{
    std::vector<double> start100(100), ones100(100, 1);
    for (int i = 0; i < 100; ++i)
        start100[i] = i % 2 == 0 ? -1.2 : 1;
    return {
        {"rosenbrock", 2, rosenbrock<double>, rosenbrock_gradient<double>, {-1.2, 1}, {1, 1}, 1e-5},
        {"powell", 4, powell, powell_gradient, {3, -1, 0, 1}, {0, 0, 0, 0}, 2e-2},
        {"wood", 4, wood, wood_gradient, {-3, -1, -3, -1}, {1, 1, 1, 1}, 1e-5},
        {"extended rosenbrock", 100, rosenbrock<double>, rosenbrock_gradient<double>, start100, ones100, 1e-5},
    };
}

TEST(Minimiser, StandardProblemsReachTheirMinima)
{
    ErrorCapture capture;
    for (const Problem& p : problems()) {
        for (bool analytic : {true, false}) {
            SCOPED_TRACE(std::string(p.name) + (analytic ? " analytic" : " differences"));
            double f = -1;
            std::vector<double> x(p.n);
            double* r = analytic ? orvls_d_min_uncon_multivar(p.f, p.n, ORVLS_GRAD, p.g, ORVLS_XGUESS, p.start.data(),
                                                              ORVLS_MAX_ITN, 2000, ORVLS_MAX_FCN, 20000,
                                                              ORVLS_MAX_GRAD, 20000, ORVLS_FVALUE, &f,
                                                              ORVLS_RETURN_USER, x.data(), 0)
                                 : orvls_d_min_uncon_multivar(p.f, p.n, ORVLS_XGUESS, p.start.data(), ORVLS_MAX_ITN,
                                                              2000, ORVLS_MAX_FCN, 20000, ORVLS_MAX_GRAD, 20000,
                                                              ORVLS_FVALUE, &f, ORVLS_RETURN_USER, x.data(), 0);
            ASSERT_EQ(r, x.data());
            EXPECT_LE(orvls_n1rty(1), 3);
            EXPECT_LT(f, analytic && p.name[0] != 'p' ? 1e-10 : 1e-8);
            for (int64_t i = 0; i < p.n; ++i)
                EXPECT_NEAR(x[i], p.minimum[i], p.x_tolerance) << i;
            double check = 0;
            p.f(p.n, x.data(), &check);
            EXPECT_EQ(check, f);
        }
    }
}

TEST(Minimiser, FloatFormAndAllocatedResult)
{
    ErrorCapture capture;
    const float start[2] = {-1.2f, 1};
    float f = -1;
    float* x = orvls_f_min_uncon_multivar(rosenbrock<float>, 2, ORVLS_GRAD, rosenbrock_gradient<float>, ORVLS_XGUESS,
                                          start, ORVLS_MAX_ITN, 500, ORVLS_FVALUE, &f, 0);
    ASSERT_NE(x, nullptr);
    EXPECT_NEAR(x[0], 1, 1e-2);
    EXPECT_NEAR(x[1], 1, 2e-2);
    EXPECT_LT(f, 1e-4f);
    orvls_free_allocated_memory(x);
}

// A function with data: the data pointer reaches the routines unchanged.
struct Shift {
    double centre;
    int calls;
};
void shifted(int64_t n, const double* x, double* f, void* data)
{
    auto* s = static_cast<Shift*>(data);
    ++s->calls;
    *f = 0;
    for (int64_t i = 0; i < n; ++i)
        *f += (x[i] - s->centre) * (x[i] - s->centre);
}
void shifted_gradient(int64_t n, const double* x, double* g, void* data)
{
    for (int64_t i = 0; i < n; ++i)
        g[i] = 2 * (x[i] - static_cast<Shift*>(data)->centre);
}

TEST(Minimiser, RoutinesWithData)
{
    ErrorCapture capture;
    Shift shift{3.5, 0};
    double* x = orvls_d_min_uncon_multivar(nullptr, 3, ORVLS_FCN_W_DATA, shifted, &shift, ORVLS_GRAD_W_DATA,
                                           shifted_gradient, &shift, 0);
    ASSERT_NE(x, nullptr);
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(x[i], 3.5, 1e-10);
    EXPECT_GT(shift.calls, 0);
    orvls_free_allocated_memory(x);
}

// Functions that make each stopping rule fire.
void quarter_square(int64_t n, const double* x, double* f)
{
    *f = 0;
    for (int64_t i = 0; i < n; ++i)
        *f += 0.25 * x[i] * x[i];
}
void quarter_square_gradient(int64_t n, const double* x, double* g)
{
    for (int64_t i = 0; i < n; ++i)
        g[i] = 0.5 * x[i];
}
void wrong_sign_gradient(int64_t n, const double* x, double* g)
{
    for (int64_t i = 0; i < n; ++i)
        g[i] = -0.5 * x[i];
}
void descending_line(int64_t, const double* x, double* f) { *f = -x[0]; }
void quartic_above_one(int64_t n, const double* x, double* f)
{
    *f = 1;
    for (int64_t i = 0; i < n; ++i)
        *f += std::pow(x[i] - 1, 4);
}

TEST(Minimiser, StoppingNotices)
{
    ErrorCapture capture;
    // Rosenbrock and the quartic start away from their minima, the others at (1, 1).
    const double away[2] = {-1.2, 1}, start[2] = {1, 1};
    struct Case {
        const char* what;
        Outcome outcome;
        double* (*run)(const double*);
    };
    const Case cases[] = {
        {"iteration limit", {3, 50057},
         [](const double* s) {
             return orvls_d_min_uncon_multivar(rosenbrock<double>, 2, ORVLS_XGUESS, s, ORVLS_MAX_ITN, 2, 0);
         }},
        {"evaluation limit", {3, 50058},
         [](const double* s) {
             return orvls_d_min_uncon_multivar(rosenbrock<double>, 2, ORVLS_XGUESS, s, ORVLS_MAX_FCN, 3, 0);
         }},
        {"gradient limit", {3, 50065},
         [](const double* s) {
             return orvls_d_min_uncon_multivar(rosenbrock<double>, 2, ORVLS_XGUESS, s, ORVLS_MAX_GRAD, 2, 0);
         }},
        {"relative function", {1, 50064},
         [](const double* s) {
             return orvls_d_min_uncon_multivar(quartic_above_one, 2, ORVLS_XGUESS, s, ORVLS_GRAD_TOL, 0.0,
                                               ORVLS_REL_FCN_TOL, 1e-3, 0);
         }},
        {"false convergence", {3, 20131},
         [](const double* s) {
             return orvls_d_min_uncon_multivar(quarter_square, 2, ORVLS_GRAD, quarter_square_gradient, ORVLS_XGUESS,
                                               s, ORVLS_GRAD_TOL, 0.0, ORVLS_REL_FCN_TOL, 0.0, ORVLS_STEP_TOL, 1.0, 0);
         }},
        {"no lower point", {3, 20129},
         [](const double* s) {
             return orvls_d_min_uncon_multivar(quarter_square, 2, ORVLS_GRAD, wrong_sign_gradient, ORVLS_XGUESS, s,
                                               0);
         }},
        {"largest steps", {3, 20135},
         [](const double* s) {
             return orvls_d_min_uncon_multivar(descending_line, 1, ORVLS_XGUESS, s, ORVLS_MAX_STEP, 1.0, 0);
         }},
    };
    for (const Case& c : cases) {
        double* x = c.run(c.outcome.code == 50057 || c.outcome.code == 50058 || c.outcome.code == 50065 ||
                                   c.outcome.code == 50064
                               ? away
                               : start);
        EXPECT_EQ(last_outcome(), c.outcome) << c.what;
        EXPECT_NE(x, nullptr) << c.what;
        orvls_free_allocated_memory(x);
    }
}

TEST(Minimiser, Errors)
{
    ErrorCapture capture;
    static const double start[2] = {1, 1};
    static double negative = -1;
    struct Case {
        Outcome outcome;
        double* (*run)();
    };
    const Case cases[] = {
        {{5, 603}, [] { return orvls_d_min_uncon_multivar(rosenbrock<double>, 0, 0); }},
        {{5, 150}, [] { return orvls_d_min_uncon_multivar(nullptr, 2, 0); }},
        {{5, 603}, [] { return orvls_d_min_uncon_multivar(rosenbrock<double>, 2, ORVLS_MAX_ITN, 0, 0); }},
        {{5, 603}, [] { return orvls_d_min_uncon_multivar(rosenbrock<double>, 2, ORVLS_MAX_FCN, -1, 0); }},
        {{5, 603}, [] { return orvls_d_min_uncon_multivar(rosenbrock<double>, 2, ORVLS_MAX_GRAD, 0, 0); }},
        {{5, 608}, [] { return orvls_d_min_uncon_multivar(rosenbrock<double>, 2, ORVLS_GRAD_TOL, -1.0, 0); }},
        {{5, 608}, [] { return orvls_d_min_uncon_multivar(rosenbrock<double>, 2, ORVLS_STEP_TOL_ADR, &negative, 0); }},
        {{5, 608}, [] { return orvls_d_min_uncon_multivar(rosenbrock<double>, 2, ORVLS_REL_FCN_TOL, -1e-3, 0); }},
        {{5, 50059}, [] { return orvls_d_min_uncon_multivar(rosenbrock<double>, 2, ORVLS_MAX_STEP, 0.0, 0); }},
        {{5, 104}, [] { return orvls_d_min_uncon_multivar(rosenbrock<double>, 2, ORVLS_RETURN_USER, nullptr, 0); }},
        {{5, 104}, [] { return orvls_d_min_uncon_multivar(rosenbrock<double>, 2, ORVLS_FVALUE, nullptr, 0); }},
        {{5, 104}, [] { return orvls_d_min_uncon_multivar(rosenbrock<double>, 2, ORVLS_XGUESS, nullptr, 0); }},
        {{5, 11001}, [] { return orvls_d_min_uncon_multivar(rosenbrock<double>, 2, ORVLS_XGUESS, start, 77, 0); }},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.run(), nullptr);
        EXPECT_EQ(last_outcome(), c.outcome);
    }
}

TEST(Minimiser, AllocationFailureLeavesNothing)
{
    ErrorCapture capture;
    const double start[2] = {-1.2, 1};
    for (int64_t k : {1, 2, 3, 4}) {
        orvls_testing_fail_allocation(k);
        double* x = orvls_d_min_uncon_multivar(rosenbrock<double>, 2, ORVLS_XGUESS, start, 0);
        orvls_testing_fail_allocation(0);
        if (x == nullptr) {
            EXPECT_EQ(last_outcome(), (Outcome{5, 201})) << k;
        } else {
            EXPECT_LE(orvls_n1rty(1), 3);
            orvls_free_allocated_memory(x);
        }
    }
}

}  // namespace
