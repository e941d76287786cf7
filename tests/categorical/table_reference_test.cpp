// The asymptotic statistics against R's chisq.test and closed forms in
// tools/gen_categorical_refs.py, in both precisions.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "categorical_support.h"

namespace {

struct Entry {
    const char* column;
    int which;  // 0 chi-squared statistics, 1 table statistics, 2 measures
    int index;
};

const Entry kEntries[] = {
    {"chi2", 0, 0},        {"chi2_p", 0, 1},        {"df", 0, 2},          {"g2", 0, 3},
    {"g2_p", 0, 4},        {"mh", 0, 8},            {"mh_p", 0, 9},        {"gamma", 1, 0},
    {"gamma_se", 1, 1},    {"taub", 1, 2},          {"taub_se", 1, 3},     {"tauc", 1, 4},
    {"tauc_se", 1, 5},     {"somers_row", 1, 6},    {"somers_row_se", 1, 7}, {"somers_col", 1, 8},
    {"somers_col_se", 1, 9}, {"corr", 1, 10},       {"corr_se", 1, 11},    {"lambda_cr", 2, 0},
    {"lambda_rc", 2, 1},   {"lambda_sym", 2, 2},    {"u_cr", 2, 3},        {"u_rc", 2, 4},
    {"u_sym", 2, 5},
};

template <class Real>
void check_against_references(double relative, double absolute)
{
    ErrorCapture capture;
    for (const ReferenceRow& row : read_reference_table("tests/categorical/data/tables.csv")) {
        SCOPED_TRACE(row.text("name"));
        const Table t = table_of(row);
        std::vector<Real> cells(t.cells.begin(), t.cells.end());
        Real chi_stats[10], table_stats[12], *measures = nullptr;
        Real df, chi2, p_chi;
        const Real p = contingency_table(t.rows, t.columns, cells.data(), ORVLS_CHI_SQUARED_STATS_USER, chi_stats,
                                         ORVLS_TABLE_STATS_USER, table_stats, ORVLS_MEASURES, &measures,
                                         ORVLS_CHI_SQUARED, &df, &chi2, &p_chi, 0);
        ASSERT_NE(measures, nullptr);
        EXPECT_TRUE(agrees(p, row["chi2_p"], relative, absolute)) << p;
        EXPECT_EQ(p, p_chi);
        EXPECT_EQ(chi2, chi_stats[0]);
        EXPECT_EQ(df, row["df"]);
        const Real* arrays[] = {chi_stats, table_stats, measures};
        for (const Entry& e : kEntries)
            EXPECT_TRUE(agrees(arrays[e.which][e.index], row[e.column], relative, absolute))
                << e.column << ": " << arrays[e.which][e.index] << " against " << row[e.column];
        // The coefficients follow from chi-squared.
        const double n = [&] { double s = 0; for (double x : t.cells) s += x; return s; }();
        EXPECT_TRUE(agrees(chi_stats[5], std::sqrt(row["chi2"] / n), relative, absolute));
        EXPECT_TRUE(agrees(chi_stats[6], row["chi2"] / (n + row["chi2"]), relative, absolute));
        orvls_free_allocated_memory(measures);
    }
}

TEST(TableReferences, DoublePrecision) { check_against_references<double>(1e-12, 1e-14); }
TEST(TableReferences, SinglePrecision) { check_against_references<float>(2e-5, 1e-6); }

}  // namespace
