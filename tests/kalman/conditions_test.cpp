// Refusals and failures of the filter with their parameters and the routine
// that raised them, the state of every input afterwards, every allocation
// failure, and the cases at the edges: no observations, a singular or zero
// innovation covariance, the generalised determinant, the triangles read.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "frame/error_block.h"
#include "frame/memory.h"
#include "kalman_support.h"

namespace {

// Every report printed while an instance lives, with the routine named on
// it and the parameters that stood when it was printed.
struct Report {
    int64_t type, code;
    std::string name;
    std::vector<int64_t> ints;
    double real;
};

class Reports {
public:
    Reports()
    {
        log().clear();
        orvls_error_options(ORVLS_ERROR_PRINT_PROC, keep, 0);
    }
    ~Reports() { orvls_error_options(ORVLS_ERROR_PRINT_PROC, nullptr, 0); }
    const std::vector<Report>& all() const { return log(); }
    void clear() { log().clear(); }

private:
    static std::vector<Report>& log()
    {
        static std::vector<Report> reports;
        return reports;
    }
    static void keep(int64_t type, int64_t code, const char* name, const char*)
    {
        const orvls::ErrorBlock* block = orvls::orvls_error_block();
        log().push_back({type, code, name, {block->int_param, block->int_param + 4}, block->real_param[0]});
    }
    ErrorCapture capture_;
};

// A two-state problem with two observations; arrays as the caller holds them.
template <class Real>
struct Problem {
    std::vector<Real> b = {1, 2}, p = {2, 0.5, 0.5, 1}, t = {1, 1, 0, 1}, q = {0.1, 0, 0, 0.2};
    std::vector<Real> z = {1, 0, 0.5, 1}, r = {1, 0.2, 0.2, 1}, y = {1.5, 2.5};
    int64_t n_rank = 0;
    Real ss = 0, log_det = 0;
    Real* innovations = nullptr;

    template <class... Options>
    void call(int64_t n, Options... options)
    {
        kalman<Real>(n, b.data(), p.data(), &n_rank, &ss, &log_det, options..., 0);
    }
    // Both observations, the prediction errors asked for, then `options`.
    template <class... Options>
    void measure(Options... options)
    {
        innovations = b.data();  // to be cleared
        call(2, ORVLS_MEASUREMENT, 2, y.data(), z.data(), r.data(), ORVLS_INNOVATIONS, &innovations, options...);
    }
    // Bit for bit, NaN included.
    static bool same(const std::vector<Real>& a, const std::vector<Real>& c)
    {
        return a.size() == c.size() && std::memcmp(a.data(), c.data(), a.size() * sizeof(Real)) == 0;
    }
    bool inputs_equal(const Problem& o) const
    {
        return same(t, o.t) && same(q, o.q) && same(z, o.z) && same(r, o.r) && same(y, o.y);
    }
    bool state_equal(const Problem& o) const
    {
        return b == o.b && p == o.p && n_rank == o.n_rank && ss == o.ss && log_det == o.log_det;
    }
};

template <class Real>
struct Refusal {
    const char* what;
    std::function<void(Problem<Real>&)> setup;  // changes before the call, or none
    std::function<void(Problem<Real>&)> call;
    Report expected;  // the last report; ints as far as given, the real unless -1
};

template <class Real>
std::vector<Refusal<Real>> refusals()
{
    using P = Problem<Real>;
    const double nan = std::numeric_limits<double>::quiet_NaN(), no_real = -1;
    const std::string routine = sizeof(Real) == 4 ? "orvls_f_kalman" : "orvls_d_kalman", kernel = "K2LMN ";
    const double tol = 100 * std::numeric_limits<Real>::epsilon();
    const std::function<void(P&)> none;
    return {
        {"unknown option", none, [](P& p) { p.call(2, 12345); }, {5, 11001, routine, {12345, 7}, no_real}},
        {"unknown option after the measurement", none, [](P& p) { p.measure(12345); },
         {5, 11001, routine, {12345, 14}, no_real}},
        {"negative unknown option", none, [](P& p) { p.call(2, -3); }, {5, 11001, routine, {-3, 7}, no_real}},
        {"no state", none, [](P& p) { p.call(0); }, {5, 65170, routine, {0}, no_real}},
        {"negative ny", none, [](P& p) { p.call(2, ORVLS_MEASUREMENT, -1, p.y.data(), p.z.data(), p.r.data()); },
         {5, 65167, routine, {-1}, no_real}},
        {"negative tolerance", none, [](P& p) { p.measure(ORVLS_TOLERANCE, -0.25); },
         {5, 50098, routine, {}, -0.25}},
        {"tolerance above 1", none, [](P& p) { p.measure(ORVLS_TOLERANCE, 1.5); }, {5, 50098, routine, {}, 1.5}},
        {"NaN tolerance", none, [nan](P& p) { p.measure(ORVLS_TOLERANCE, nan); }, {5, 50098, routine, {}, nan}},
        {"short rows of z", none, [](P& p) { p.measure(ORVLS_OBSERVATION_COL_DIM, 1); },
         {5, 600, routine, {1, 2}, no_real}},
        {"short rows of r", none, [](P& p) { p.measure(ORVLS_MEASUREMENT_COV_COL_DIM, 1); },
         {5, 65168, kernel, {2, 2, 1, 2}, no_real}},
        {"NaN observation", [nan](P& p) { p.y[1] = Real(nan); }, [](P& p) { p.measure(); },
         {5, 65169, kernel, {1}, no_real}},
        {"short rows of t", none, [](P& p) { p.call(2, ORVLS_TRANSITION, p.t.data(), ORVLS_TRANSITION_COL_DIM, 1); },
         {5, 65170, kernel, {2, 1, 2, 2}, no_real}},
        {"short rows of q", none,
         [](P& p) { p.call(2, ORVLS_STATE_NOISE, p.q.data(), ORVLS_STATE_NOISE_COL_DIM, 0); },
         {5, 65170, kernel, {2, 2, 0, 2}, no_real}},
        {"short rows of state_cov", none, [](P& p) { p.call(2, ORVLS_STATE_COV_COL_DIM, 1); },
         {5, 65170, kernel, {2, 2, 2, 1}, no_real}},
        {"null y", none, [](P& p) { p.call(2, ORVLS_MEASUREMENT, 1, nullptr, p.z.data(), p.r.data()); },
         {5, 104, routine, {}, no_real}},
        {"null t", none, [](P& p) { p.call(2, ORVLS_TRANSITION, nullptr); }, {5, 104, routine, {}, no_real}},
        {"null q", none, [](P& p) { p.call(2, ORVLS_STATE_NOISE, nullptr); }, {5, 104, routine, {}, no_real}},
        {"null result pointer", none, [](P& p) { p.call(2, ORVLS_INNOVATION_COV, nullptr); },
         {5, 104, routine, {}, no_real}},
        {"null user array", none, [](P& p) { p.measure(ORVLS_INNOVATIONS_USER, nullptr); },
         {5, 104, routine, {}, no_real}},
        {"negative variance",
         [](P& p) {
             p.r = {-1, 0, 0, 1};
             p.p = {0, 0, 0, 0};
         },
         [](P& p) { p.measure(); }, {4, 65173, routine, {}, tol}},
        {"gain inconsistent: r takes back a variance but not its covariances",
         [](P& p) {
             p.z = {1, 0, 0, 1};
             p.r = {0, 0, 0, -1};
             p.p = {1, 0, 0, 1};
         },
         [](P& p) { p.measure(); }, {4, 65174, routine, {}, tol}},
        {"an observation disagrees with its repetition",
         [](P& p) {
             p.z = {1, 0, 1, 0};
             p.r = {1, 1, 1, 1};
         },
         [](P& p) { p.measure(); }, {4, 65175, routine, {}, no_real}},
    };
}

template <class>
class KalmanConditions : public ::testing::Test {};
using Reals = ::testing::Types<float, double>;
TYPED_TEST_SUITE(KalmanConditions, Reals);

// Every report: type, code, parameters and the routine named.  Terminal
// errors leave the state as it was; fatal ones leave b alone and have moved
// what their text says.  No input other than the state is ever changed,
// and no result pointer is left holding anything.
TYPED_TEST(KalmanConditions, RefusalsAndFailuresWithTheirParameters)
{
    using Real = TypeParam;
    Reports reports;
    for (const Refusal<Real>& c : refusals<Real>()) {
        SCOPED_TRACE(c.what);
        reports.clear();
        Problem<Real> problem;
        if (c.setup)
            c.setup(problem);
        const Problem<Real> before = problem;
        c.call(problem);
        ASSERT_FALSE(reports.all().empty());
        const Report& got = reports.all().back();
        EXPECT_EQ(got.type, c.expected.type);
        EXPECT_EQ(got.code, c.expected.code);
        EXPECT_EQ(got.name, c.expected.name);
        for (size_t i = 0; i < c.expected.ints.size(); ++i)
            EXPECT_EQ(got.ints[i], c.expected.ints[i]) << "int " << i + 1;
        if (std::isnan(c.expected.real)) {
            EXPECT_TRUE(std::isnan(got.real));
        } else if (c.expected.real != -1) {
            EXPECT_EQ(got.real, c.expected.real);
        }
        EXPECT_EQ(orvls_n1rty(1), c.expected.type);
        EXPECT_TRUE(problem.inputs_equal(before));
        EXPECT_EQ(problem.b, before.b);
        EXPECT_EQ(problem.innovations, nullptr);
        if (c.expected.type == 5) {
            EXPECT_TRUE(problem.state_equal(before));
        } else {
            const bool sums_moved = c.expected.code != 65173;
            EXPECT_EQ(problem.n_rank != 0, sums_moved);
            EXPECT_EQ(problem.ss, 0);
            const bool reduced = c.expected.code == 65175;
            EXPECT_EQ(problem.p[1] != before.p[1], reduced) << "upper triangle";
        }
    }
}

// Each allocation of a call refused in turn: the work space and the two
// results give 200 and leave everything as it was; the packing buffers of
// the matrix product fall back to plain loops and the call goes through.
TEST(KalmanAllocations, EveryFailureIsReportedOrAbsorbed)
{
    ErrorCapture capture;
    const int64_t n = 30, ny = 3;
    std::vector<double> t(n * n), q(n * n, 0), z(ny * n), r(ny * ny, 0), y = {1, -1, 2};
    std::vector<double> b0(n, 0.5), p0(n * n, 0);
    for (int64_t i = 0; i < n; ++i) {
        for (int64_t j = 0; j < n; ++j)
            t[i * n + j] = (i == j ? 0.5 : 0.01 * double((i + 2 * j) % 7));
        q[i * n + i] = p0[i * n + i] = 1;
        for (int64_t k = 0; k < ny; ++k)
            z[k * n + i] = double((i + k) % 3);
    }
    for (int64_t k = 0; k < ny; ++k)
        r[k * ny + k] = 0.5;
    auto call = [&](FilterState<double>& s, double** v, double** f) {
        s.step(ORVLS_MEASUREMENT, int(ny), y.data(), z.data(), r.data(), ORVLS_TRANSITION, t.data(),
               ORVLS_STATE_NOISE, q.data(), ORVLS_INNOVATIONS, v, ORVLS_INNOVATION_COV, f);
    };
    FilterState<double> good(b0, p0);
    double *v = nullptr, *f = nullptr;
    const int64_t before = orvls_testing_allocation_count();
    call(good, &v, &f);
    const int64_t allocations = orvls_testing_allocation_count() - before;
    ASSERT_EQ(orvls_n1rty(1), 0);
    ASSERT_NE(v, nullptr);
    const std::vector<double> v_good(v, v + ny), f_good(f, f + ny * ny);
    std::free(v);
    std::free(f);
    EXPECT_EQ(allocations, 7);  // work space, two results, two packing buffers for each product with t
    for (int64_t k = 1; k <= allocations; ++k) {
        SCOPED_TRACE(k);
        FilterState<double> s(b0, p0);
        v = f = &y[0];
        orvls_testing_fail_allocation(k);
        call(s, &v, &f);
        orvls_testing_fail_allocation(0);
        if (k <= 3) {
            EXPECT_EQ(last_outcome(), (Outcome{5, 200}));
            EXPECT_EQ(v, nullptr);
            EXPECT_EQ(f, nullptr);
            EXPECT_EQ(s.b, b0);
            EXPECT_EQ(s.p, p0);
            EXPECT_EQ(s.n_rank, 0);
            continue;
        }
        EXPECT_EQ(orvls_n1rty(1), 0);
        ASSERT_NE(v, nullptr);
        for (int64_t i = 0; i < n * n; ++i)
            EXPECT_NEAR(s.p[i], good.p[i], 1e-12);
        EXPECT_EQ(std::vector<double>(v, v + ny), v_good);
        EXPECT_EQ(std::vector<double>(f, f + ny * ny), f_good);
        std::free(v);
        std::free(f);
    }
}

// n = 2, state (1, 2), covariance [2 .5; .5 1], t = [1 1; 0 1], q = diag(.1, .2).
struct TimeUpdate {
    const char* what;
    bool with_t, with_q;
    std::vector<double> b, p;
};

TEST(KalmanEdges, TimeUpdateWithEitherMatrixOrNone)
{
    const TimeUpdate cases[] = {
        {"nothing: the covariance is completed", false, false, {1, 2}, {2, 0.5, 0.5, 1}},
        {"noise alone", false, true, {1, 2}, {2.1, 0.5, 0.5, 1.2}},
        {"transition alone", true, false, {3, 2}, {4, 1.5, 1.5, 1}},
        {"both", true, true, {3, 2}, {4.1, 1.5, 1.5, 1.2}},
    };
    const std::vector<double> t = {1, 1, 0, 1}, q = {0.1, 0, -7, 0.2};  // the lower triangles are not read
    ErrorCapture capture;
    for (const TimeUpdate& c : cases) {
        SCOPED_TRACE(c.what);
        FilterState<double> s({1, 2}, {2, 0.5, -7, 1});
        if (c.with_t && c.with_q)
            s.step(ORVLS_TRANSITION, t.data(), ORVLS_STATE_NOISE, q.data());
        else if (c.with_t)
            s.step(ORVLS_TRANSITION, t.data());
        else if (c.with_q)
            s.step(ORVLS_STATE_NOISE, q.data());
        else
            s.step();
        EXPECT_EQ(orvls_n1rty(1), 0);
        EXPECT_EQ(s.b, c.b);
        for (int64_t i = 0; i < 4; ++i)
            EXPECT_NEAR(s.p[i], c.p[i], 1e-15) << i;
        EXPECT_EQ(s.n_rank, 0);
        EXPECT_EQ(s.ss, 0);
        EXPECT_EQ(s.log_det, 0);
    }
}

// Observations in several forms that must give the same step.
TEST(KalmanEdges, EquivalentCalls)
{
    ErrorCapture capture;
    const std::vector<double> t = {1, 1, 0, 1}, z = {1, 0.5}, r = {2};
    const std::vector<double> y = {1.5};
    FilterState<double> plain({1, 2}, {2, 0.5, 0.5, 1});
    plain.step(ORVLS_MEASUREMENT, 1, y.data(), z.data(), r.data(), ORVLS_TRANSITION, t.data());
    ASSERT_EQ(orvls_n1rty(1), 0);
    EXPECT_EQ(plain.n_rank, 1);

    // One observation: the row lengths of z and r are not read.
    FilterState<double> one_row({1, 2}, {2, 0.5, 0.5, 1});
    one_row.step(ORVLS_OBSERVATION_COL_DIM, 1, ORVLS_MEASUREMENT_COV_COL_DIM, 0, ORVLS_MEASUREMENT, 1, y.data(),
                 z.data(), r.data(), ORVLS_TRANSITION, t.data());
    EXPECT_EQ(orvls_n1rty(1), 0);
    EXPECT_EQ(one_row.b, plain.b);
    EXPECT_EQ(one_row.p, plain.p);

    // Lower triangles of state_cov that disagree are not read.
    FilterState<double> lower({1, 2}, {2, 0.5, 99, 1});
    lower.step(ORVLS_MEASUREMENT, 1, y.data(), z.data(), r.data(), ORVLS_TRANSITION, t.data());
    EXPECT_EQ(lower.b, plain.b);
    EXPECT_EQ(lower.p, plain.p);

    // Both forms of the prediction errors: the caller's array is filled and
    // the pointer stays null; without observations neither is written.
    FilterState<double> both({1, 2}, {2, 0.5, 0.5, 1});
    double user[1] = {0}, *allocated = user;
    both.step(ORVLS_INNOVATIONS, &allocated, ORVLS_INNOVATIONS_USER, user, ORVLS_MEASUREMENT, 1, y.data(), z.data(),
              r.data(), ORVLS_TRANSITION, t.data());
    EXPECT_EQ(allocated, nullptr);
    EXPECT_EQ(user[0], 1.5 - (1 + 0.5 * 2));
    EXPECT_EQ(both.b, plain.b);
    allocated = user;
    both.step(ORVLS_INNOVATIONS, &allocated);
    EXPECT_EQ(allocated, nullptr);

    // ny = 0: the time update alone, the sums untouched.
    FilterState<double> none({1, 2}, {2, 0.5, 0.5, 1}), skipped({1, 2}, {2, 0.5, 0.5, 1});
    none.step(ORVLS_MEASUREMENT, 0, nullptr, nullptr, nullptr, ORVLS_TRANSITION, t.data());
    skipped.step(ORVLS_TRANSITION, t.data());
    EXPECT_EQ(orvls_n1rty(1), 0);
    EXPECT_EQ(none.b, skipped.b);
    EXPECT_EQ(none.p, skipped.p);
    EXPECT_EQ(none.n_rank, 0);
    EXPECT_EQ(none.ss, 0);
    EXPECT_EQ(none.log_det, 0);
}

// F = R'R with R = [1 2 3; 0 1 1; 0 0 0]: the third observation is the sum
// of the other two.  The rank is 2 and the generalised determinant the
// product of the row sums of squares of R over its diagonal and the zero
// diagonal after it, 1 (1 + 1) = 2 (not the pseudo-determinant, 3).  With
// z = I, r = 0 and y in the range of F, the state moves to y and its
// covariance to 0; R'e = y gives e = (1, -1, 0).
TEST(KalmanEdges, SingularInnovationCovarianceAndItsDeterminant)
{
    ErrorCapture capture;
    const std::vector<double> z = {1, 0, 0, 0, 1, 0, 0, 0, 1}, r(9, 0), y = {1, 1, 2};
    FilterState<double> s({0, 0, 0}, {1, 2, 3, 2, 5, 7, 3, 7, 10});
    s.step(ORVLS_MEASUREMENT, 3, y.data(), z.data(), r.data());
    ASSERT_EQ(orvls_n1rty(1), 0);
    EXPECT_EQ(s.n_rank, 2);
    EXPECT_NEAR(s.log_det, std::log(2.0), 1e-15);
    EXPECT_NEAR(s.ss, 2, 1e-14);
    for (int64_t i = 0; i < 3; ++i)
        EXPECT_NEAR(s.b[i], y[i], 1e-14);
    for (double pij : s.p)
        EXPECT_NEAR(pij, 0, 1e-13);

    // A tolerance of 1 finds every observation dependent: nothing moves.
    FilterState<double> all_dependent({0, 0, 0}, {1, 2, 3, 2, 5, 7, 3, 7, 10});
    all_dependent.step(ORVLS_MEASUREMENT, 3, y.data(), z.data(), r.data(), ORVLS_TOLERANCE, 1.0);
    EXPECT_EQ(orvls_n1rty(1), 0);
    EXPECT_EQ(all_dependent.n_rank, 0);
    EXPECT_EQ(all_dependent.b, std::vector<double>(3, 0));
    EXPECT_EQ(all_dependent.log_det, 0);
}

// An observation of a state component known exactly: F = 0, rank 0, and
// nothing moves.  The prediction error is judged on the size of y and z b,
// so a last-digit difference passes; a real one is an inconsistency.
TEST(KalmanEdges, ZeroInnovationCovariance)
{
    const std::vector<double> z = {1, 0}, r = {0};
    struct Case {
        double y;
        Outcome outcome;
    };
    ErrorCapture capture;
    for (const Case& c : {Case{0.5, {0, 0}}, Case{std::nextafter(0.5, 1.0), {0, 0}}, Case{0.6, {4, 65175}}}) {
        SCOPED_TRACE(c.y);
        FilterState<double> s({0.5, 3}, {0, 0, 0, 1});
        s.step(ORVLS_MEASUREMENT, 1, &c.y, z.data(), r.data());
        EXPECT_EQ(last_outcome(), c.outcome);
        EXPECT_EQ(s.n_rank, 0);
        EXPECT_EQ(s.log_det, 0);
        EXPECT_EQ(s.ss, 0);
        EXPECT_EQ(s.b, (std::vector<double>{0.5, 3}));
    }
}

}  // namespace
