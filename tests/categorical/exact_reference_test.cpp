// The exact tests against R's fisher.test, exact rational enumeration and
// the hybrid rule walked path by path (tools/gen_categorical_refs.py).
#include <gtest/gtest.h>

#include <cmath>

#include "categorical_support.h"

namespace {

// The network's observed probability carries the factor e^t of its
// tolerance t = 2^-26.
const double kTolerance = std::ldexp(1.0, -26);

TEST(ExactReferences, NetworkAndEnumerationAgreeWithTheReferences)
{
    ErrorCapture capture;
    int64_t against_r = 0, against_rational = 0;
    double worst = 0;
    for (const ReferenceRow& row : read_reference_table("tests/categorical/data/exact.csv")) {
        SCOPED_TRACE(row.text("name"));
        const Table t = table_of(row);
        double prob = 0;
        const double p = exact_network(t.rows, t.columns, t.cells.data(), ORVLS_NO_HYBRID, ORVLS_PROB_TABLE, &prob, 0);
        if (!std::isnan(row["p_r"])) {
            EXPECT_TRUE(agrees(p, row["p_r"])) << p << " against R's " << row["p_r"];
            worst = std::max(worst, std::fabs(p - row["p_r"]) / row["p_r"]);
            ++against_r;
        }
        if (row["n_tables"] < 0)
            continue;
        ++against_rational;
        EXPECT_TRUE(agrees(p, row["p_rational"])) << p << " against " << row["p_rational"];
        EXPECT_TRUE(agrees(prob, row["prob_rational"] * std::exp(kTolerance))) << prob;
        double enumerated_prob = 0;
        int64_t n_tables = 0;
        const double q = exact_enumeration(t.rows, t.columns, t.cells.data(), ORVLS_PROB_TABLE, &enumerated_prob,
                                           ORVLS_TABLE_COUNT, &n_tables, 0);
        EXPECT_TRUE(agrees(q, row["p_rational"])) << q << " against " << row["p_rational"];
        EXPECT_TRUE(agrees(enumerated_prob, row["prob_rational"])) << enumerated_prob;
        EXPECT_EQ(n_tables, static_cast<int64_t>(row["n_tables"]));
    }
    EXPECT_GT(against_r, 250);
    EXPECT_GT(against_rational, 150);
    std::printf("exact p-values: %lld against R (largest relative difference %.2g), %lld against rational sums\n",
                static_cast<long long>(against_r), worst, static_cast<long long>(against_rational));
}

TEST(ExactReferences, HybridFollowsTheRule)
{
    ErrorCapture capture;
    int64_t fired = 0;
    for (const ReferenceRow& row : read_reference_table("tests/categorical/data/hybrid.csv")) {
        SCOPED_TRACE(row.text("name"));
        const Table t = table_of(row);
        const double p = exact_network(t.rows, t.columns, t.cells.data(), 0);
        EXPECT_TRUE(agrees(p, row["p_hybrid"])) << p << " against " << row["p_hybrid"];
        const double exact = exact_network(t.rows, t.columns, t.cells.data(), ORVLS_NO_HYBRID, 0);
        EXPECT_TRUE(agrees(exact, row["p_exact"])) << exact << " against " << row["p_exact"];
        fired += !agrees(row["p_hybrid"], row["p_exact"]);
    }
    EXPECT_GE(fired, 15);  // tables on which the approximation changes the p-value
}

}  // namespace
