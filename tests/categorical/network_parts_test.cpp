// The inner pieces of the network algorithm against the published check
// values, and the two exact routines against each other.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "categorical/counts.h"
#include "categorical/network_bounds.h"
#include "categorical_support.h"

namespace {

using namespace orvls::categorical;
using Vector = std::vector<int64_t>;

TEST(NetworkParts, GeneratorVisitsEveryFillingInItsOrder)
{
    struct Case {
        Vector cap;
        int64_t n;
        std::vector<Vector> sequence;
    };
    const Case cases[] = {
        {{0, 1, 2, 3}, 3, {{0, 0, 0, 3}, {0, 0, 1, 2}, {0, 1, 0, 2}, {0, 0, 2, 1}, {0, 1, 1, 1}, {0, 1, 2, 0}}},
        {{2, 2, 2}, 3, {{0, 1, 2}, {1, 0, 2}, {0, 2, 1}, {1, 1, 1}, {2, 0, 1}, {1, 2, 0}, {2, 1, 0}}},
    };
    for (const Case& c : cases) {
        Vector v(c.cap.size());
        std::vector<Vector> seen;
        ASSERT_TRUE(first_vector(static_cast<int64_t>(v.size()), c.cap.data(), c.n, v.data()));
        do
            seen.push_back(v);
        while (next_vector(static_cast<int64_t>(v.size()), c.cap.data(), v.data()));
        EXPECT_EQ(seen, c.sequence);
    }
    Vector v(2);
    const Vector small = {1, 1};
    EXPECT_FALSE(first_vector(2, small.data(), 3, v.data()));
}

TEST(NetworkParts, BoundsMatchThePublishedCheckValues)
{
    struct Case {
        Vector r, c;
        double longest, base, routine;
    };
    const Case cases[] = {
        {{3, 5}, {1, 2, 2, 3}, -0.693147180559945, 3.17805383034795, 0},
        {{2, 3, 4}, {1, 3, 5}, -1.38629436111989, 6.5792512120101, 0},
        {{1, 2, 12}, {3, 4, 8}, -10.1627701504662, 15.5744162023213, 0},
        {{4, 6, 7, 9}, {5, 6, 7, 8}, -7.33693691370762, 30.4965072186028, 0},
        {{10, 20, 30}, {15, 20, 25}, -76.8605665626611, 128.238493067575, 0},
        {{2, 5}, {3, 4}, -2.484906649788, 4.969813299576, 1.09861228866811},
        {{3, 3, 4, 4, 6}, {2, 4, 4, 5, 5}, -0.693147180559945, 16.6242383268199, 0},
        {{1, 3, 4, 5, 5, 7}, {2, 3, 3, 4, 6, 7}, -1.38629436111989, 22.5591325224395, 0},
        {{2, 3, 3, 4, 5}, {1, 4, 12}, -5.66296048013595, 23.1652683260098, 11.6162038144237},
        {{2, 2, 2, 4}, {1, 1, 8}, -2.77258872223978, 10.6046029027453, 6.04025471127741},
        {{3, 3, 4, 4}, {1, 1, 12}, -7.16703787691222, 19.9872144956619, 11.8393473657379},
    };
    std::vector<double> fact(61);
    fill_log_factorials(60, fact.data());
    PathBounds bounds;
    ASSERT_TRUE(bounds.reserve(6));
    bounds.fact = fact.data();
    bounds.tolerance = std::ldexp(1.0, -26);
    for (const Case& c : cases) {
        int64_t total = 0;
        for (int64_t x : c.r)
            total += x;
        const auto p = static_cast<int64_t>(c.r.size()), q = static_cast<int64_t>(c.c.size());
        double base = 0;
        for (int64_t x : c.c)
            base += fact[x];
        EXPECT_NEAR(base, c.base, 1e-12);
        double longest = 0;
        ASSERT_EQ(bounds.longest(c.r.data(), p, c.c.data(), q, total, longest), BoundStatus::ok);
        EXPECT_NEAR(longest, c.longest, 1e-12) << c.r.size() << " by " << c.c.size();
        EXPECT_NEAR(bounds.shortest(c.r.data(), p, c.c.data(), q, base), c.routine, 1e-12);
    }
}

// Random tables that both routines can do: the same p-value and observed
// probability (but for the network's factor e^t), and tables with more rows
// than columns give what their transposes give, leaving the caller's table
// as it was.  The float forms agree to their precision.
TEST(NetworkParts, NetworkAgreesWithEnumeration)
{
    ErrorCapture capture;
    std::mt19937 rng(7);
    for (int n = 0; n < 200; ++n) {
        SCOPED_TRACE(n);
        const int64_t rows = 2 + rng() % 3, columns = 2 + rng() % 3, total = 2 + rng() % 18;
        std::vector<double> t(static_cast<std::size_t>(rows * columns), 0.0);
        for (int64_t k = 0; k < total; ++k)
            t[rng() % t.size()] += 1;
        const std::vector<double> kept = t;
        double prob_network = 0, prob_enumerated = 0;
        const double p = exact_network(rows, columns, t.data(), ORVLS_NO_HYBRID, ORVLS_PROB_TABLE, &prob_network, 0);
        const double q = exact_enumeration(rows, columns, t.data(), ORVLS_PROB_TABLE, &prob_enumerated, 0);
        EXPECT_EQ(t, kept);
        EXPECT_TRUE(agrees(p, q)) << p << " " << q;
        EXPECT_TRUE(agrees(prob_network, prob_enumerated * std::exp(std::ldexp(1.0, -26))));
        std::vector<double> transposed(t.size());
        for (int64_t i = 0; i < rows; ++i)
            for (int64_t j = 0; j < columns; ++j)
                transposed[static_cast<std::size_t>(j * rows + i)] = t[static_cast<std::size_t>(i * columns + j)];
        EXPECT_TRUE(agrees(exact_network(columns, rows, transposed.data(), ORVLS_NO_HYBRID, 0), p));
        const std::vector<float> f(t.begin(), t.end());
        EXPECT_NEAR(exact_network(rows, columns, f.data(), ORVLS_NO_HYBRID, 0), p, 1e-6 * p + 1e-30);
        EXPECT_NEAR(exact_enumeration(rows, columns, f.data(), 0), p, 1e-6 * p + 1e-30);
    }
}

// A table in a longer row: the row length option reads past the padding.
TEST(NetworkParts, RowLengthOptionSkipsPadding)
{
    ErrorCapture capture;
    const double plain[] = {3, 1, 2, 1, 3, 2};
    const double padded[] = {3, 1, 2, -7, 1, 3, 2, -7};
    const float hybrid[3] = {5, 80, 1};
    const double p = orvls_d_exact_network(2, 3, plain, 0);
    EXPECT_EQ(orvls_d_exact_network(2, 3, padded, ORVLS_TABLE_COL_DIM, 4, 0), p);
    EXPECT_EQ(orvls_d_exact_enumeration(2, 3, padded, ORVLS_TABLE_COL_DIM, 4, 0), orvls_d_exact_enumeration(2, 3, plain, 0));
    EXPECT_EQ(orvls_d_contingency_table(2, 3, padded, ORVLS_TABLE_COL_DIM, 4, 0), orvls_d_contingency_table(2, 3, plain, 0));
    const float fplain[] = {3, 1, 2, 1, 3, 2};
    EXPECT_EQ(orvls_f_exact_network(2, 3, fplain, ORVLS_HYBRID_ADR, &hybrid[0], &hybrid[1], &hybrid[2], 0),
              orvls_f_exact_network(2, 3, fplain, ORVLS_HYBRID, 5.0, 80.0, 1.0, 0));
}

// Expected values and contributions with their sums in the last row and
// column, in the caller's longer rows.
TEST(NetworkParts, BorderedTables)
{
    ErrorCapture capture;
    const double t[] = {10, 20, 30, 40};
    double expected[2 * 4 + 3], *contributions = nullptr;
    double df, chi2, p;
    orvls_d_contingency_table(2, 2, t, ORVLS_EXPECTED_USER, expected, ORVLS_EXPECTED_COL_DIM, 4, ORVLS_CONTRIBUTIONS,
                              &contributions, ORVLS_CHI_SQUARED, &df, &chi2, &p, 0);
    ASSERT_NE(contributions, nullptr);
    const double want[] = {12, 18, 30, 0, 28, 42, 70, 0, 40, 60, 100};
    for (int k : {0, 1, 2, 4, 5, 6, 8, 9, 10})
        EXPECT_NEAR(expected[k], want[k], 1e-12) << k;
    // (O - E)^2 / E: 1/3, 2/9, 1/7, 2/21.
    EXPECT_NEAR(contributions[0], 4.0 / 12, 1e-15);
    EXPECT_NEAR(contributions[4], 4.0 / 42, 1e-15);
    EXPECT_NEAR(contributions[5], 4.0 / 28 + 4.0 / 42, 1e-15);
    EXPECT_NEAR(contributions[8], chi2, 1e-14);
    EXPECT_NEAR(chi2, 4.0 / 12 + 4.0 / 18 + 4.0 / 28 + 4.0 / 42, 1e-14);
    orvls_free_allocated_memory(contributions);
}

}  // namespace
