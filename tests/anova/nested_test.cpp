// The factorial, nested and balanced analyses of variance: tables against
// R's aov and the expected mean squares from their definition
// (tools/gen_anova_nested_refs.R), sums of squares of responses near 1e12
// against exact rational arithmetic (tools/gen_anova_nested_exact.py), every
// documented refusal, and every allocation failure.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "capture.h"
#include "frame/memory.h"
#include "orvls.h"

namespace {

struct Case {
    std::string name;
    std::map<std::string, std::vector<double>> v;
    std::vector<int64_t> ints(const std::string& key) const
    {
        return std::vector<int64_t>(v.at(key).begin(), v.at(key).end());
    }
    template <class Real>
    std::vector<Real> reals(const std::string& key) const
    {
        return std::vector<Real>(v.at(key).begin(), v.at(key).end());
    }
    double one(const std::string& key) const { return v.at(key).at(0); }
};

std::vector<Case> read_cases(const std::string& file)
{
    std::ifstream in(std::string(ORVLS_SOURCE_DIR) + "/tests/anova/data/" + file);
    std::vector<Case> cases;
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string key, word;
        words >> key;
        if (key == "name") {
            cases.emplace_back();
            words >> cases.back().name;
            continue;
        }
        while (words >> word)
            cases.back().v[key].push_back(std::strtod(word.c_str(), nullptr));
    }
    EXPECT_FALSE(cases.empty()) << file;
    return cases;
}

template <class Real, class... Options>
Real factorial(int64_t n, const int64_t* levels, const Real* y, Options... options)
{
    if constexpr (sizeof(Real) == sizeof(float))
        return orvls_f_anova_factorial(n, levels, y, options...);
    else
        return orvls_d_anova_factorial(n, levels, y, options...);
}

template <class Real, class... Options>
Real nested(int64_t n, int64_t equal, const int64_t* levels, const Real* y, Options... options)
{
    if constexpr (sizeof(Real) == sizeof(float))
        return orvls_f_anova_nested(n, equal, levels, y, options...);
    else
        return orvls_d_anova_nested(n, equal, levels, y, options...);
}

template <class Real, class... Options>
Real balanced(int64_t n, const int64_t* levels, const Real* y, int64_t n_random, const int64_t* random,
              int64_t n_effects, const int64_t* sizes, const int64_t* factors, Options... options)
{
    if constexpr (sizeof(Real) == sizeof(float))
        return orvls_f_anova_balanced(n, levels, y, n_random, random, n_effects, sizes, factors, options...);
    else
        return orvls_d_anova_balanced(n, levels, y, n_random, random, n_effects, sizes, factors, options...);
}

// Each value within tolerance of the reference relative to the largest
// reference magnitude of its column group; NaN must meet NaN.
template <class Real>
void expect_close(const Real* ours, const std::vector<double>& reference, double tolerance, const std::string& what,
                  int64_t columns = 0)
{
    const int64_t n = int64_t(reference.size());
    const int64_t width = columns > 0 ? columns : n;
    for (int64_t i = 0; i < n; ++i) {
        double scale = 0;
        for (int64_t k = i % width; k < n; k += width)
            if (!std::isnan(reference[k]))
                scale = std::fmax(scale, std::fabs(reference[k]));
        if (std::isnan(reference[i]))
            EXPECT_TRUE(std::isnan(ours[i])) << what << " [" << i << "] = " << ours[i];
        else
            EXPECT_NEAR(double(ours[i]), reference[i], tolerance * std::fmax(scale, 1e-300))
                << what << " [" << i << "]";
    }
}

template <class Real>
double tolerance()
{
    return sizeof(Real) == sizeof(float) ? 2e-4 : 1e-10;
}

template <class Real>
void factorial_against_r()
{
    ErrorCapture capture;
    for (const Case& c : read_cases("nested_refs.txt")) {
        if (!c.v.count("order") && c.name != "missing_3x4_r3")
            continue;
        SCOPED_TRACE(c.name);
        const auto levels = c.ints("levels");
        const auto y = c.reals<Real>("y");
        Real table[15], effects[200], means[200];
        const bool pool = c.v.count("pool") && c.one("pool") != 0;
        const int order = c.v.count("order") ? int(c.one("order")) : int(levels.size()) - 1;
        const Real p = factorial<Real>(int64_t(levels.size()), levels.data(), y.data(), ORVLS_ANOVA_TABLE_USER,
                                       table, ORVLS_FACTORIAL_OUTPUT_A_USER, effects, ORVLS_FACTORIAL_OUTPUT_B_USER,
                                       means, ORVLS_MODEL_ORDER, order,
                                       pool ? ORVLS_POOL_INTERACTIONS : ORVLS_PURE_ERROR, 0);
        ASSERT_EQ(orvls_n1rty(1), 0) << capture.text();
        const auto& error = c.v.at("error");
        EXPECT_EQ(table[1], Real(error[0]));
        EXPECT_NEAR(table[4], error[1], tolerance<Real>() * error[1]);
        if (!c.v.count("effects"))
            continue;
        expect_close(effects, c.v.at("effects"), tolerance<Real>(), "effects", 5);
        expect_close(means, c.v.at("means"), tolerance<Real>(), "means");
        expect_close(table + 8, c.v.at("overall"), tolerance<Real>(), "overall");
        EXPECT_EQ(p, table[9]);
    }
}

TEST(AnovaFactorial, AgainstRDouble) { factorial_against_r<double>(); }
TEST(AnovaFactorial, AgainstRFloat) { factorial_against_r<float>(); }

template <class Real>
void nested_against_r()
{
    ErrorCapture capture;
    for (const Case& c : read_cases("nested_refs.txt")) {
        if (!c.v.count("equal"))
            continue;
        SCOPED_TRACE(c.name);
        const auto levels = c.ints("levels");
        const auto y = c.reals<Real>("y");
        const int64_t n = int64_t(std::sqrt(double(c.v.at("ems").size())) + 0.5);
        std::vector<Real> ems(n * n), rows(n * 10), means(c.v.at("means").size());
        Real table[15];
        Real confidence = Real(c.one("confidence"));
        const Real p = nested<Real>(n, int64_t(c.one("equal")), levels.data(), y.data(), ORVLS_CONFIDENCE_ADR,
                                    &confidence, ORVLS_EMS_USER, ems.data(), ORVLS_VARIANCE_COMPONENTS_USER,
                                    rows.data(), ORVLS_Y_MEANS_USER, means.data(), ORVLS_ANOVA_TABLE_USER, table,
                                    ORVLS_NESTED_OPTION, 3, 0);
        ASSERT_EQ(orvls_n1rty(1), 0) << capture.text();
        expect_close(ems.data(), c.v.at("ems"), tolerance<Real>(), "ems", n);
        expect_close(rows.data(), c.v.at("components"), 10 * tolerance<Real>(), "components", 10);
        expect_close(means.data(), c.v.at("means"), tolerance<Real>(), "means");
        EXPECT_NEAR(p, c.one("overall"), tolerance<Real>());
    }
}

TEST(AnovaNested, AgainstRDouble) { nested_against_r<double>(); }
TEST(AnovaNested, AgainstRFloat) { nested_against_r<float>(); }

template <class Real>
void balanced_against_r()
{
    ErrorCapture capture;
    for (const Case& c : read_cases("nested_refs.txt")) {
        if (!c.v.count("restricted"))
            continue;
        SCOPED_TRACE(c.name);
        const auto levels = c.ints("levels"), random = c.ints("random"), sizes = c.ints("sizes"),
                   factors = c.ints("factors");
        const auto y = c.reals<Real>("y");
        const int64_t n = int64_t(sizes.size()) + 1;
        std::vector<Real> ems(n * n), rows(n * 10);
        Real* means = nullptr;
        const Real p = balanced<Real>(int64_t(levels.size()), levels.data(), y.data(), int64_t(random.size()),
                                      random.data(), int64_t(sizes.size()), sizes.data(), factors.data(),
                                      ORVLS_CONFIDENCE, c.one("confidence"), ORVLS_EMS_USER, ems.data(),
                                      ORVLS_VARIANCE_COMPONENTS_USER, rows.data(), ORVLS_RESTRICTED_MODEL,
                                      int(c.one("restricted")), ORVLS_Y_MEANS, &means, 0);
        ASSERT_EQ(orvls_n1rty(1), 0) << capture.text();
        expect_close(ems.data(), c.v.at("ems"), tolerance<Real>(), "ems", n);
        expect_close(rows.data(), c.v.at("components"), 10 * tolerance<Real>(), "components", 10);
        EXPECT_NEAR(p, c.one("overall"), tolerance<Real>());
        ASSERT_NE(means, nullptr);
        double sum = 0;
        for (Real v : y)
            sum += double(v);
        EXPECT_NEAR(means[0], sum / double(y.size()), tolerance<Real>() * std::fabs(means[0]));
        std::free(means);
    }
}

TEST(AnovaBalanced, AgainstRDouble) { balanced_against_r<double>(); }
TEST(AnovaBalanced, AgainstRFloat) { balanced_against_r<float>(); }

// A nested layout with equal numbers is a balanced crossed layout whose
// model is factor 1, then factors 1 and 2, ..., all random: the two routines
// must agree on every output, and so must the equal and unequal forms.
TEST(AnovaNested, EqualNumbersAgreeWithBalancedAndUnequalForms)
{
    ErrorCapture capture;
    const int64_t levels[] = {3, 2, 4, 2};
    std::vector<int64_t> spread;
    for (int64_t d = 0, groups = 1; d < 4; groups *= levels[d++])
        spread.insert(spread.end(), size_t(groups), levels[d]);
    ASSERT_EQ(spread.size(), 34u);
    std::vector<double> y(48);
    for (size_t i = 0; i < y.size(); ++i)
        y[i] = std::sin(double(i) * 1.7) * 3 + double(i % 5) + double(i / 16);
    const int64_t random[] = {1, 2, 3}, sizes[] = {1, 2, 3}, factors[] = {1, 1, 2, 1, 2, 3};
    double a[16], b[16], c[16], ra[40], rb[40], rc[40], ma[40], mc[40];
    nested<double>(4, 1, levels, y.data(), ORVLS_EMS_USER, a, ORVLS_VARIANCE_COMPONENTS_USER, ra, ORVLS_Y_MEANS_USER,
                   ma, 0);
    nested<double>(4, 0, spread.data(), y.data(), ORVLS_EMS_USER, c, ORVLS_VARIANCE_COMPONENTS_USER, rc, ORVLS_Y_MEANS_USER,
                   mc, 0);
    balanced<double>(4, levels, y.data(), 3, random, 3, sizes, factors, ORVLS_EMS_USER, b,
                     ORVLS_VARIANCE_COMPONENTS_USER, rb, 0);
    ASSERT_EQ(orvls_n1rty(1), 0) << capture.text();
    const double expected_ems[16] = {16, 8, 2, 1, 0, 8, 2, 1, 0, 0, 2, 1, 0, 0, 0, 1};
    for (int k = 0; k < 16; ++k) {
        EXPECT_NEAR(a[k], expected_ems[k], 1e-12) << k;
        EXPECT_NEAR(b[k], expected_ems[k], 1e-12) << k;
        EXPECT_EQ(a[k], c[k]) << k;
    }
    for (int k = 0; k < 40; ++k) {
        EXPECT_TRUE((std::isnan(ra[k]) && std::isnan(rb[k])) || std::fabs(ra[k] - rb[k]) <= 1e-10 * std::fabs(rb[k]))
            << k << ": " << ra[k] << " " << rb[k];
        EXPECT_TRUE((std::isnan(ra[k]) && std::isnan(rc[k])) || ra[k] == rc[k]) << k;
    }
    EXPECT_EQ(ma[0], mc[0]);
    EXPECT_EQ(ma[33], mc[33]);
}

// Responses 1e12 plus a variation of a few units keep 12 digits in every
// sum of squares.
TEST(AnovaAccuracy, LargeOffsetAgainstExactArithmetic)
{
    ErrorCapture capture;
    for (const Case& c : read_cases("nested_exact.txt")) {
        SCOPED_TRACE(c.name);
        const auto levels = c.ints("levels");
        const auto& y = c.v.at("y");
        const auto& ss = c.v.at("ss");
        if (c.name == "factorial_3x4_r3") {
            double effects[15], table[15];
            factorial<double>(3, levels.data(), y.data(), ORVLS_FACTORIAL_OUTPUT_A_USER, effects,
                              ORVLS_ANOVA_TABLE_USER, table, 0);
            for (int k = 0; k < 3; ++k)
                EXPECT_NEAR(effects[5 * k + 1], ss[k], 1e-12 * ss[k]) << k;
            EXPECT_NEAR(table[4], ss[3], 1e-12 * ss[3]);
        } else {
            double rows[30];
            nested<double>(3, 0, levels.data(), y.data(), ORVLS_VARIANCE_COMPONENTS_USER, rows, 0);
            for (int k = 0; k < 3; ++k)
                EXPECT_NEAR(rows[10 * k + 1], ss[k], 1e-12 * ss[k]) << k;
        }
        EXPECT_EQ(orvls_n1rty(1), 0) << capture.text();
    }
}

struct Refusal {
    const char* what;
    std::function<double()> call;
    Outcome outcome;
};

TEST(AnovaErrors, RefusalsReturnNaN)
{
    ErrorCapture capture;
    static const int64_t two[] = {2, 2, 2}, one_level[] = {2, 1, 2}, no_replicate[] = {2, 2, 0};
    static const int64_t zero_count[] = {2, 0, 1, 2, 2}, no_df[] = {2, 1, 1, 2, 2}, huge[] = {1000000, 1000000, 1000000};
    static const double y[8] = {1, 2, 3, 4, 5, 6, 7, 9}, with_nan[8] = {1, 2, NAN, 4, 5, 6, 7, 9};
    static const int64_t r1[] = {1}, r_bad[] = {4}, r_twice[] = {1, 1}, s1[] = {1}, s2[] = {2}, f1[] = {1},
                         f_twice[] = {1, 1}, same[] = {1, 1}, ambiguous_sizes[] = {2, 2}, ambiguous[] = {1, 2, 1, 3},
                         s11[] = {1, 1};
    const Refusal refusals[] = {
        {"factorial: unknown option", [] { return factorial<double>(3, two, y, 777, 0); }, {5, 11001}},
        {"factorial: pure and pool",
         [] { return factorial<double>(3, two, y, ORVLS_PURE_ERROR, ORVLS_POOL_INTERACTIONS, 0); },
         {5, 11117}},
        {"factorial: pool twice",
         [] { return factorial<double>(3, two, y, ORVLS_POOL_INTERACTIONS, ORVLS_POOL_INTERACTIONS, 0); },
         {5, 11117}},
        {"factorial: one subscript", [] { return factorial<double>(1, two, y, 0); }, {5, 603}},
        {"factorial: 21 subscripts", [] { return factorial<double>(21, two, y, 0); }, {5, 603}},
        {"factorial: factor of one level", [] { return factorial<double>(3, one_level, y, 0); }, {5, 11128}},
        {"factorial: no replicates", [] { return factorial<double>(3, no_replicate, y, 0); }, {5, 11129}},
        {"factorial: order 0", [] { return factorial<double>(3, two, y, ORVLS_MODEL_ORDER, 0, 0); }, {5, 20302}},
        {"factorial: order 3 of 3", [] { return factorial<double>(3, two, y, ORVLS_MODEL_ORDER, 3, 0); }, {5, 20302}},
        {"factorial: null user table",
         [] { return factorial<double>(3, two, y, ORVLS_ANOVA_TABLE_USER, nullptr, 0); },
         {5, 104}},
        {"factorial: null output A",
         [] { return factorial<double>(3, two, y, ORVLS_FACTORIAL_OUTPUT_A, nullptr, 0); },
         {5, 104}},
        {"factorial: too large", [] { return factorial<double>(3, huge, y, 0); }, {5, 201}},
        {"factorial: a cell without responses",
         [] {
             static const int64_t l[] = {2, 2, 1};
             static const double v[4] = {1, NAN, 3, 4};
             return factorial<double>(3, l, v, 0);
         },
         {5, 65203}},
        {"nested: one factor", [] { return nested<double>(1, 1, two, y, 0); }, {5, 603}},
        {"nested: equal option 2", [] { return nested<double>(3, 2, two, y, 0); }, {5, 602}},
        {"nested: count 0", [] { return nested<double>(3, 0, zero_count, y, 0); }, {5, 20303}},
        {"nested: equal count 0", [] { return nested<double>(3, 1, no_replicate, y, 0); }, {5, 20303}},
        {"nested: factor without df", [] { return nested<double>(3, 0, no_df, y, 0); }, {5, 20304}},
        {"nested: missing response", [] { return nested<double>(3, 1, two, with_nan, 0); }, {5, 20309}},
        {"nested: confidence 100", [] { return nested<double>(3, 1, two, y, ORVLS_CONFIDENCE, 100.0, 0); }, {5, 20403}},
        {"nested: null ems", [] { return nested<double>(3, 1, two, y, ORVLS_EMS_USER, nullptr, 0); }, {5, 104}},
        {"nested: null y means", [] { return nested<double>(3, 1, two, y, ORVLS_Y_MEANS_USER, nullptr, 0); }, {5, 104}},
        {"nested: null components",
         [] { return nested<double>(3, 1, two, y, ORVLS_VARIANCE_COMPONENTS_USER, nullptr, 0); },
         {5, 104}},
        {"nested: null table", [] { return nested<double>(3, 1, two, y, ORVLS_ANOVA_TABLE_USER, nullptr, 0); }, {5, 104}},
        {"nested: model choice unknown here",
         [] { return nested<double>(3, 1, two, y, ORVLS_RESTRICTED_MODEL, 1, 0); },
         {5, 11001}},
        {"balanced: no factors", [] { return balanced<double>(0, two, y, 0, r1, 1, s1, f1, 0); }, {5, 603}},
        {"balanced: factor of one level", [] { return balanced<double>(3, one_level, y, 0, r1, 1, s1, f1, 0); },
         {5, 11128}},
        {"balanced: no effects", [] { return balanced<double>(3, two, y, 0, r1, 0, s1, f1, 0); }, {5, 603}},
        {"balanced: four random of three", [] { return balanced<double>(3, two, y, 4, r1, 1, s1, f1, 0); }, {5, 602}},
        {"balanced: random factor 4", [] { return balanced<double>(3, two, y, 1, r_bad, 1, s1, f1, 0); }, {5, 20305}},
        {"balanced: random factor twice", [] { return balanced<double>(3, two, y, 2, r_twice, 1, s1, f1, 0); },
         {5, 20306}},
        {"balanced: effect of 0 factors",
         [] {
             static const int64_t s0[] = {0};
             return balanced<double>(3, two, y, 0, r1, 1, s0, f1, 0);
         },
         {5, 602}},
        {"balanced: effect factor 4", [] { return balanced<double>(3, two, y, 0, r1, 1, s1, r_bad, 0); }, {5, 20305}},
        {"balanced: effect factor twice", [] { return balanced<double>(3, two, y, 0, r1, 1, s2, f_twice, 0); },
         {5, 20306}},
        {"balanced: effect twice", [] { return balanced<double>(3, two, y, 0, r1, 2, s11, same, 0); }, {5, 20307}},
        {"balanced: common part unclaimed",
         [] { return balanced<double>(3, two, y, 0, r1, 2, ambiguous_sizes, ambiguous, 0); },
         {5, 20308}},
        {"balanced: missing response", [] { return balanced<double>(3, two, with_nan, 0, r1, 1, s1, f1, 0); },
         {5, 20309}},
        {"balanced: confidence -1",
         [] { return balanced<double>(3, two, y, 0, r1, 1, s1, f1, ORVLS_CONFIDENCE, -1.0, 0); },
         {5, 20403}},
        {"balanced: null allocated ems", [] { return balanced<double>(3, two, y, 0, r1, 1, s1, f1, ORVLS_EMS, nullptr, 0); },
         {5, 104}},
        {"balanced: too large", [] { return balanced<double>(3, huge, y, 0, r1, 1, s1, f1, 0); }, {5, 201}},
    };
    for (const Refusal& r : refusals) {
        EXPECT_TRUE(std::isnan(r.call())) << r.what;
        EXPECT_EQ(last_outcome(), r.outcome) << r.what << "\n" << capture.text();
        capture.clear();
    }
}

TEST(AnovaErrors, ConflictNamesBothOptionsAndLowConfidenceIsANote)
{
    ErrorCapture capture;
    const int64_t two[] = {2, 2, 2};
    const double y[8] = {1, 2, 3, 4, 5, 6, 7, 9};
    factorial<double>(3, two, y, ORVLS_POOL_INTERACTIONS, ORVLS_PURE_ERROR, 0);
    EXPECT_NE(capture.text().find("ORVLS_PURE_ERROR, ORVLS_POOL_INTERACTIONS"), std::string::npos) << capture.text();
    capture.clear();
    double rows[30];
    const double p = nested<double>(3, 1, two, y, ORVLS_CONFIDENCE, 30.0, ORVLS_VARIANCE_COMPONENTS_USER, rows, 0);
    EXPECT_EQ(last_outcome(), (Outcome{6, 20404}));
    EXPECT_FALSE(std::isnan(p));
    EXPECT_LT(rows[28], rows[29]);  // the error's limits at 30 percent
}

// Every allocation of a call with every output allocated fails in turn:
// 201, NaN, no output handed over; the sanitizer build checks for leaks.
TEST(AnovaErrors, AllocationFailures)
{
    ErrorCapture capture;
    const int64_t levels[] = {2, 3, 2}, sizes[] = {1, 1, 2}, factors[] = {1, 2, 1, 2}, random[] = {2};
    double y[12];
    for (int i = 0; i < 12; ++i)
        y[i] = double((i * 7) % 5) + 0.5 * i;
    y[4] = NAN;
    const int64_t unequal[] = {2, 2, 1, 3, 2, 2};
    double y_complete[12];
    for (int i = 0; i < 12; ++i)
        y_complete[i] = double((i * 3) % 7);
    const std::function<double(double**)> calls[] = {
        [&](double** o) {
            return factorial<double>(3, levels, y, ORVLS_ANOVA_TABLE, &o[0], ORVLS_FACTORIAL_OUTPUT_A, &o[1],
                                     ORVLS_FACTORIAL_OUTPUT_B, &o[2], 0);
        },
        [&](double** o) {
            return nested<double>(3, 0, unequal, y_complete, ORVLS_ANOVA_TABLE, &o[0], ORVLS_EMS, &o[1],
                                  ORVLS_VARIANCE_COMPONENTS, &o[2], ORVLS_Y_MEANS, &o[3], 0);
        },
        [&](double** o) {
            return nested<double>(3, 1, levels, y_complete, ORVLS_VARIANCE_COMPONENTS, &o[2], 0);
        },
        [&](double** o) {
            return balanced<double>(3, levels, y_complete, 1, random, 3, sizes, factors, ORVLS_ANOVA_TABLE, &o[0],
                                    ORVLS_EMS, &o[1], ORVLS_VARIANCE_COMPONENTS, &o[2], ORVLS_Y_MEANS, &o[3], 0);
        },
    };
    for (size_t which = 0; which < std::size(calls); ++which) {
        SCOPED_TRACE(which);
        double* o[4] = {};
        const int64_t before = orvls_testing_allocation_count();
        const double good = calls[which](o);
        const int64_t allocations = orvls_testing_allocation_count() - before;
        ASSERT_EQ(orvls_n1rty(1), 0) << capture.text();
        ASSERT_FALSE(std::isnan(good));
        for (double*& p : o) {
            std::free(p);
            p = nullptr;
        }
        for (int64_t k = 1; k <= allocations; ++k) {
            SCOPED_TRACE(k);
            orvls_testing_fail_allocation(k);
            const double p = calls[which](o);
            orvls_testing_fail_allocation(0);
            EXPECT_TRUE(std::isnan(p));
            EXPECT_EQ(last_outcome(), (Outcome{5, 201}));
            for (double* q : o)
                EXPECT_EQ(q, nullptr);
        }
        capture.clear();
    }
}

}  // namespace
