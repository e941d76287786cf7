// Best subsets against every subset fitted by least squares and against
// leaps::regsubsets (tools/gen_selection_refs.py), in both precisions, and
// the refusals and allocation failures of the routine.
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

struct Best {
    int64_t size;
    double value;
    std::vector<int64_t> variables;
};

struct SubsetSet {
    std::string name;
    int64_t n = 0, p = 0;
    bool weighted = false;
    std::vector<double> x, y, f, w;
    std::map<std::string, std::vector<Best>> best;  // "r2", "adj", "cp"
};

std::vector<SubsetSet> read_sets()
{
    std::ifstream in(std::string(ORVLS_SOURCE_DIR) + "/tests/selection/data/subsets.txt");
    std::vector<SubsetSet> sets;
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string key;
        words >> key;
        if (key == "set") {
            sets.emplace_back();
            int weighted;
            words >> sets.back().name >> sets.back().n >> sets.back().p >> weighted;
            sets.back().weighted = weighted != 0;
        } else if (key == "x" || key == "y" || key == "f" || key == "w") {
            std::vector<double>& v = key == "x" ? sets.back().x : key == "y" ? sets.back().y
                                   : key == "f" ? sets.back().f : sets.back().w;
            for (double d; words >> d;)
                v.push_back(d);
        } else if (key == "r2" || key == "adj" || key == "cp") {
            Best b;
            words >> b.size >> b.value;
            for (int64_t v; words >> v;)
                b.variables.push_back(v);
            sets.back().best[key].push_back(b);
        }
    }
    return sets;
}

template <class Real, class... Options>
void select(int64_t n, int64_t p, Real* x, Real* y, Options... options)
{
    if constexpr (sizeof(Real) == sizeof(float))
        orvls_f_regression_selection(n, p, x, y, options...);
    else
        orvls_d_regression_selection(n, p, x, y, options...);
}

// The results of one call: per group, the subsets with their criteria.
template <class Real>
struct Found {
    std::vector<int64_t> group_index, subset_index, variables, statistics_index;
    std::vector<Real> criterions, statistics;

    explicit Found(int64_t p, int64_t groups, int64_t n_best)
        : group_index(groups + 1), subset_index(groups * n_best + 1), variables(groups * n_best * p),
          statistics_index(groups * n_best + 1), criterions(groups * n_best), statistics(4 * groups * n_best * p)
    {
    }
    std::vector<int64_t> subset(int64_t i) const
    {
        return {variables.begin() + subset_index[i], variables.begin() + subset_index[i + 1]};
    }
};

template <class Real, class... Criterion>
Found<Real> run(const SubsetSet& set, int64_t groups, int64_t n_best, Criterion... criterion)
{
    std::vector<Real> x(set.x.begin(), set.x.end()), y(set.y.begin(), set.y.end());
    std::vector<Real> f(set.f.begin(), set.f.end()), w(set.w.begin(), set.w.end());
    Found<Real> found(set.p, groups, n_best);
    select<Real>(set.n, set.p, x.data(), y.data(), criterion..., ORVLS_MAX_N_BEST, int(n_best),
                 ORVLS_FREQUENCIES, f.data(), ORVLS_WEIGHTS, w.data(), ORVLS_CRITERIONS_USER,
                 found.group_index.data(), found.criterions.data(), ORVLS_INDEX_VECTORS_USER,
                 found.subset_index.data(), found.variables.data(), ORVLS_STATISTICS_USER,
                 found.statistics_index.data(), found.statistics.data(), 0);
    EXPECT_LT(orvls_n1rty(1), 3) << set.name;
    return found;
}

template <class Real>
double tolerance()
{
    return sizeof(Real) == sizeof(double) ? 1e-9 : 2e-3;
}

template <class Real>
void check_list(const SubsetSet& set, const Found<Real>& found, int64_t first, const std::vector<Best>& expected,
                const char* what)
{
    for (std::size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(set.name + " " + what + " place " + std::to_string(i));
        EXPECT_EQ(found.subset(first + int64_t(i)), expected[i].variables);
        EXPECT_NEAR(found.criterions[first + i], expected[i].value,
                    tolerance<Real>() * std::max(1.0, std::abs(expected[i].value)));
    }
}

template <class Real>
void check_set(const SubsetSet& set)
{
    const int64_t n_best = 3, p = set.p;
    const Found<Real> r2 = run<Real>(set, p, n_best);
    for (int64_t k = 1; k <= p; ++k) {
        std::vector<Best> size_k;
        for (const Best& b : set.best.at("r2"))
            if (b.size == k)
                size_k.push_back(b);
        ASSERT_EQ(r2.group_index[k] - r2.group_index[k - 1], int64_t(size_k.size()));
        check_list(set, r2, r2.group_index[k - 1], size_k, "r2");
    }
    const Found<Real> adj = run<Real>(set, 1, 5, ORVLS_ADJ_R_SQUARED);
    check_list(set, adj, 0, set.best.at("adj"), "adj");
    const Found<Real> cp = run<Real>(set, 1, 5, ORVLS_MALLOWS_CP);
    check_list(set, cp, 0, set.best.at("cp"), "cp");
}

TEST(SelectionReference, DoubleMatchesEverySubsetAndLeaps)
{
    const std::vector<SubsetSet> sets = read_sets();
    ASSERT_EQ(sets.size(), 5u);
    for (const SubsetSet& set : sets)
        check_set<double>(set);
}

TEST(SelectionReference, FloatMatchesOnSmallSets)
{
    for (const SubsetSet& set : read_sets())
        if (set.p <= 8)
            check_set<float>(set);
}

// The statistics of the best single regressor against its simple regression.
TEST(SelectionReference, StatisticsOfOneRegressor)
{
    const SubsetSet set = read_sets()[0];
    const Found<double> found = run<double>(set, set.p, 1);
    const int64_t v = found.subset(0)[0];
    double mx = 0, my = 0;
    for (int64_t i = 0; i < set.n; ++i) {
        mx += set.x[i * set.p + v] / set.n;
        my += set.y[i] / set.n;
    }
    double sxx = 0, sxy = 0, syy = 0;
    for (int64_t i = 0; i < set.n; ++i) {
        const double dx = set.x[i * set.p + v] - mx, dy = set.y[i] - my;
        sxx += dx * dx;
        sxy += dx * dy;
        syy += dy * dy;
    }
    const double b = sxy / sxx, se = std::sqrt((syy - b * sxy) / (set.n - 2) / sxx);
    EXPECT_NEAR(found.statistics[0], b, 1e-10 * std::abs(b));
    EXPECT_NEAR(found.statistics[1], se, 1e-10 * se);
    EXPECT_NEAR(found.statistics[2], b / se, 1e-9 * std::abs(b / se));
}

// A candidate equal to another one plus a third stays out, with a warning.
TEST(SelectionEdges, CollinearCandidateExcluded)
{
    ErrorCapture capture;
    const SubsetSet set = read_sets()[0];
    std::vector<double> x(set.n * 5), y = set.y;
    for (int64_t i = 0; i < set.n; ++i) {
        for (int64_t j = 0; j < 4; ++j)
            x[i * 5 + j] = set.x[i * 4 + j];
        x[i * 5 + 4] = set.x[i * 4] + set.x[i * 4 + 1];
    }
    std::vector<int64_t> index(6), variables(5 * 5), groups(6);
    std::vector<double> criterions(5);
    orvls_d_regression_selection(set.n, 5, x.data(), y.data(), ORVLS_MAX_N_BEST, 1, ORVLS_INDEX_VECTORS_USER,
                                 index.data(), variables.data(), ORVLS_CRITERIONS_USER, groups.data(),
                                 criterions.data(), 0);
    EXPECT_EQ(last_outcome(), (Outcome{3, 20105}));
    // Sizes 1 to 4 have their best subset; size 5 none.
    EXPECT_EQ(groups, (std::vector<int64_t>{0, 1, 2, 3, 4, 4}));
    EXPECT_EQ(index[4], 1 + 2 + 3 + 4);
}

// Orthogonal candidates with exactly equal criteria: the subset met first
// (lower numbers in the forward ordering) stays ahead.
TEST(SelectionEdges, EqualCriteriaKeepTheFirstFound)
{
    double x[8 * 3], y[8];
    for (int i = 0; i < 8; ++i) {
        const double a = (i % 2 == 0) ? 1 : -1, b = (i % 4 < 2) ? 1 : -1, c = i < 4 ? 1 : -1;
        x[3 * i] = a;
        x[3 * i + 1] = b;
        x[3 * i + 2] = c;
        y[i] = a + b + 0.5 * c + a * b * c;  // the last term is orthogonal to all three
    }
    std::vector<int64_t> index(7), variables(12), groups(4);
    std::vector<double> criterions(6);
    orvls_d_regression_selection(8, 3, x, y, ORVLS_MAX_N_BEST, 2, ORVLS_INDEX_VECTORS_USER, index.data(),
                                 variables.data(), ORVLS_CRITERIONS_USER, groups.data(), criterions.data(), 0);
    EXPECT_EQ(std::vector<int64_t>(variables.begin(), variables.begin() + 6), (std::vector<int64_t>{0, 1, 0, 1, 0, 2}));
    EXPECT_EQ(criterions[0], criterions[1]);
}

TEST(SelectionEdges, ReportAndAllocatedOutputs)
{
    ErrorCapture capture;
    SubsetSet set = read_sets()[0];
    char* text = nullptr;
    int64_t *index = nullptr, *variables = nullptr, *statistics_index = nullptr;
    double* statistics = nullptr;
    orvls_d_regression_selection(set.n, set.p, set.x.data(), set.y.data(), ORVLS_PRINT_TO_TEXT, &text,
                                 ORVLS_INDEX_VECTORS, &index, &variables, ORVLS_STATISTICS, &statistics_index,
                                 &statistics, 0);
    ASSERT_NE(text, nullptr);
    EXPECT_NE(std::string(text).find("\n\n Regressions with   2 variable(s) (R-squared)\n\n"), std::string::npos);
    EXPECT_NE(std::string(text).find("        Criterion         Variables\n"), std::string::npos);
    ASSERT_NE(index, nullptr);
    EXPECT_EQ(index[set.p], set.p * (set.p + 1) / 2);
    EXPECT_EQ(statistics_index[set.p], 4 * index[set.p]);
    for (void* p : {static_cast<void*>(text), static_cast<void*>(index), static_cast<void*>(variables),
                    static_cast<void*>(statistics_index), static_cast<void*>(statistics)})
        std::free(p);
}

TEST(SelectionEdges, CovarianceInputMatchesData)
{
    const SubsetSet set = read_sets()[1];
    const int64_t p = set.p, n = set.n;
    std::vector<double> means(p + 1, 0), cov((p + 1) * (p + 1), 0);
    auto value = [&](int64_t i, int64_t j) { return j < p ? set.x[i * p + j] : set.y[i]; };
    for (int64_t i = 0; i < n; ++i)
        for (int64_t j = 0; j <= p; ++j)
            means[j] += value(i, j) / n;
    for (int64_t i = 0; i < n; ++i)
        for (int64_t a = 0; a <= p; ++a)
            for (int64_t b = 0; b <= p; ++b)
                cov[a * (p + 1) + b] += (value(i, a) - means[a]) * (value(i, b) - means[b]) / (n - 1);
    Found<double> found(p, 1, 5);
    orvls_d_regression_selection(0, p, nullptr, nullptr, ORVLS_COV_INPUT, int(n), cov.data(), ORVLS_MALLOWS_CP,
                                 ORVLS_MAX_N_BEST, 5, ORVLS_CRITERIONS_USER, found.group_index.data(),
                                 found.criterions.data(), ORVLS_INDEX_VECTORS_USER, found.subset_index.data(),
                                 found.variables.data(), 0);
    EXPECT_EQ(orvls_n1rty(1), 0);
    check_list(set, found, 0, set.best.at("cp"), "cp from covariances");
}

struct Refusal {
    const char* what;
    std::function<void(double*, double*)> call;
    Outcome outcome;
};

TEST(SelectionErrors, RefusalsTable)
{
    ErrorCapture capture;
    static double cov[16];
    static char* text;
    const Refusal refusals[] = {
        {"unknown option", [](double* x, double* y) { orvls_d_regression_selection(6, 3, x, y, 777, 0); },
         {5, 11001}},
        {"two criteria",
         [](double* x, double* y) {
             orvls_d_regression_selection(6, 3, x, y, ORVLS_ADJ_R_SQUARED, ORVLS_MALLOWS_CP, 0);
         },
         {5, 11117}},
        {"size bound 0", [](double* x, double* y) { orvls_d_regression_selection(6, 3, x, y, ORVLS_R_SQUARED, 0, 0); },
         {5, 20061}},
        {"size bound too low",
         [](double* x, double* y) { orvls_d_regression_selection(6, 3, x, y, ORVLS_R_SQUARED, -4, 0); },
         {5, 20061}},
        {"two candidates", [](double* x, double* y) { orvls_d_regression_selection(6, 2, x, y, 0); }, {5, 603}},
        {"no rows", [](double* x, double* y) { orvls_d_regression_selection(0, 3, x, y, 0); }, {5, 603}},
        {"short rows",
         [](double* x, double* y) { orvls_d_regression_selection(6, 3, x, y, ORVLS_X_COL_DIM, 2, 0); }, {5, 603}},
        {"max_n_best 0",
         [](double* x, double* y) { orvls_d_regression_selection(6, 3, x, y, ORVLS_MAX_N_BEST, 0, 0); }, {5, 603}},
        {"too few saved",
         [](double* x, double* y) {
             orvls_d_regression_selection(6, 3, x, y, ORVLS_MAX_N_BEST, 4, ORVLS_MAX_N_GOOD_SAVED, 3, 0);
         },
         {5, 600}},
        {"covariances of too few observations",
         [](double* x, double* y) {
             orvls_d_regression_selection(0, 3, x, y, ORVLS_COV_INPUT, 4, cov, ORVLS_ADJ_R_SQUARED, 0);
         },
         {5, 20060}},
        {"two print targets",
         [](double* x, double* y) {
             orvls_d_regression_selection(6, 3, x, y, ORVLS_PRINT_TO_TEXT, &text, ORVLS_PRINT_TO_STDOUT, 0);
         },
         {5, 20749}},
        {"null frequencies",
         [](double* x, double* y) {
             orvls_d_regression_selection(6, 3, x, y, ORVLS_FREQUENCIES, static_cast<double*>(nullptr), 0);
         },
         {5, 104}},
        {"constant candidates",
         [](double*, double* y) {
             double flat[18];
             for (double& v : flat)
                 v = 2;
             orvls_d_regression_selection(6, 3, flat, y, 0);
         },
         {4, 20104}},
        {"constant response",
         [](double* x, double*) {
             double flat[6] = {1, 1, 1, 1, 1, 1};
             orvls_d_regression_selection(6, 3, x, flat, ORVLS_SELECTION_PRINT_OFF, 0);
         },
         {3, 20106}},
    };
    for (const Refusal& r : refusals) {
        double x[18] = {1, 4, 2, 2, 1, 5, 3, 7, 1, 4, 2, 8, 5, 9, 3, 6, 1, 2}, y[6] = {1, 3, 2, 5, 4, 6};
        r.call(x, y);
        EXPECT_EQ(last_outcome(), r.outcome) << r.what;
    }
}

TEST(SelectionErrors, TooManyCandidatesForFloatIdentities)
{
    ErrorCapture capture;
    const int64_t p = 25, n = 40;
    std::vector<float> x(n * p), y(n);
    unsigned state = 7;
    auto next = [&state] {
        state = state * 1103515245u + 12345u;
        return float((state >> 8) % 1000) / 1000.0f;
    };
    for (float& v : x)
        v = next();
    for (float& v : y)
        v = next();
    orvls_f_regression_selection(n, p, x.data(), y.data(), ORVLS_R_SQUARED, 1, 0);
    EXPECT_EQ(last_outcome(), (Outcome{3, 65328}));
}

// Every allocation of a call fails in turn: type 5 and nothing left behind
// (the sanitizer build checks the leaks).
TEST(SelectionErrors, AllocationFailures)
{
    ErrorCapture capture;
    SubsetSet set = read_sets()[0];
    for (int64_t n = 1;; ++n) {
        char* text = nullptr;
        int64_t *index = nullptr, *variables = nullptr;
        orvls_testing_fail_allocation(n);
        orvls_d_regression_selection(set.n, set.p, set.x.data(), set.y.data(), ORVLS_PRINT_TO_TEXT, &text,
                                     ORVLS_INDEX_VECTORS, &index, &variables, 0);
        orvls_testing_fail_allocation(0);
        const Outcome outcome = last_outcome();
        std::free(text);
        std::free(index);
        std::free(variables);
        if (outcome.type == 0)
            break;
        EXPECT_EQ(outcome.type, 5) << n;
        EXPECT_TRUE(outcome.code == 202 || outcome.code == 204 || outcome.code == 200) << outcome.code;
        ASSERT_LT(n, 100);
    }
}

}  // namespace
