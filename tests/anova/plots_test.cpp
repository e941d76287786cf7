// The plot designs against R's aov with Error() strata
// (tools/gen_anova_plots_refs.R): one and several locations, fixed and
// random locations, missing responses; their labels, options, refusals and
// allocation failures.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "capture.h"
#include "frame/memory.h"
#include "orvls.h"

namespace {

constexpr int kColumns = 5;

struct Case {
    std::string member, name;
    bool random = false;
    std::vector<int64_t> counts;
    std::vector<double> y;
    std::vector<std::vector<double>> rows;
};

double read_number(std::istream& in)
{
    std::string word;
    in >> word;
    return word == "nan" ? NAN : std::stod(word);
}

std::vector<Case> read_cases()
{
    std::ifstream in(std::string(ORVLS_SOURCE_DIR) + "/tests/anova/data/plots.txt");
    std::vector<Case> cases;
    std::string line, word;
    while (std::getline(in, line)) {
        std::istringstream fields(line);
        fields >> word;
        if (word == "case") {
            Case c;
            int random, k;
            fields >> c.member >> c.name >> random >> k;
            c.random = random != 0;
            c.counts.resize(k);
            for (auto& count : c.counts)
                fields >> count;
            cases.push_back(c);
        } else if (word == "y") {
            while (fields >> std::ws, !fields.eof())
                cases.back().y.push_back(read_number(fields));
        } else if (word == "row") {
            std::vector<double> row(kColumns);
            for (auto& v : row)
                v = read_number(fields);
            cases.back().rows.push_back(row);
        }
    }
    return cases;
}

// Calls the member named with its counts, y and the options.
template <class Real, class... Options>
Real* run(const std::string& member, const std::vector<int64_t>& c, const Real* y, Options... options)
{
    if constexpr (std::is_same_v<Real, float>) {
        if (member == "split_plot")
            return orvls_f_split_plot(c[0], c[1], c[2], c[3], y, options...);
        if (member == "split_split_plot")
            return orvls_f_split_split_plot(c[0], c[1], c[2], c[3], c[4], y, options...);
        if (member == "strip_plot")
            return orvls_f_strip_plot(c[0], c[1], c[2], c[3], y, options...);
        return orvls_f_strip_split_plot(c[0], c[1], c[2], c[3], c[4], y, options...);
    } else {
        if (member == "split_plot")
            return orvls_d_split_plot(c[0], c[1], c[2], c[3], y, options...);
        if (member == "split_split_plot")
            return orvls_d_split_split_plot(c[0], c[1], c[2], c[3], c[4], y, options...);
        if (member == "strip_plot")
            return orvls_d_strip_plot(c[0], c[1], c[2], c[3], y, options...);
        return orvls_d_strip_split_plot(c[0], c[1], c[2], c[3], c[4], y, options...);
    }
}

bool same_or_both_nan(double a, double b, double tolerance)
{
    if (std::isnan(a) || std::isnan(b))
        return std::isnan(a) && std::isnan(b);
    return std::fabs(a - b) <= tolerance;
}

// Sums of squares and mean squares to `tolerance` of the total sum of
// squares, F relative to itself, the probability absolutely.
template <class Real>
void check_against_r(double tolerance)
{
    const auto cases = read_cases();
    ASSERT_EQ(cases.size(), 24u);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.member + " " + c.name);
        const std::vector<Real> y(c.y.begin(), c.y.end());
        const std::vector<Real> before = y;
        Real* table = c.random ? run<Real>(c.member, c.counts, y.data(), ORVLS_DESIGN_OPTION_A, 1, 0)
                               : run<Real>(c.member, c.counts, y.data(), 0);
        ASSERT_NE(table, nullptr);
        const double total = c.rows.back()[1];
        for (std::size_t i = 0; i < c.rows.size(); ++i) {
            const std::vector<double>& r = c.rows[i];
            const Real* t = table + i * kColumns;
            EXPECT_EQ(t[0], r[0]) << "df of row " << i;
            EXPECT_TRUE(same_or_both_nan(t[1], r[1], tolerance * total)) << "row " << i << ": " << t[1] << " " << r[1];
            EXPECT_TRUE(same_or_both_nan(t[2], r[2], tolerance * total)) << "row " << i << ": " << t[2] << " " << r[2];
            EXPECT_TRUE(same_or_both_nan(t[3], r[3], 100 * tolerance * std::fabs(r[3])))
                << "row " << i << ": " << t[3] << " " << r[3];
            EXPECT_TRUE(same_or_both_nan(t[4], r[4], 100 * tolerance)) << "row " << i << ": " << t[4] << " " << r[4];
        }
        for (std::size_t i = 0; i < y.size(); ++i)
            EXPECT_TRUE(std::memcmp(&y[i], &before[i], sizeof(Real)) == 0) << "y changed at " << i;
        orvls_free_allocated_memory(table);
    }
}

TEST(PlotDesigns, DoubleMatchesR) { check_against_r<double>(1e-12); }
TEST(PlotDesigns, FloatMatchesR) { check_against_r<float>(2e-5); }

const std::map<std::string, std::vector<std::string>> kLabels = {
    {"split_plot",
     {"Location", "Block Within Location", "Whole-Plot", "Location x Whole-Plot", "Whole-Plot Error", "Split-Plot",
      "Location x Split-Plot", "Whole-Plot x Split-Plot", "Location x Whole-Plot x Split-Plot", "Split-Plot Error",
      "Corrected Total"}},
    {"split_split_plot",
     {"Location", "Blocks Within Location", "Whole-Plot", "Location x Whole-Plot", "Whole-Plot Error", "Split-Plot",
      "Location x Split-Plot", "Whole-Plot x Split-Plot", "Location x Whole-Plot x Split-Plot", "Split-Plot Error",
      "Sub-Plot", "Location x Sub-Plot", "Whole-Plot x Sub-Plot", "Location x Whole-Plot x Sub-Plot",
      "Split-plot x Sub-Plot", "Location x Split-Plot x Sub-Plot", "Whole_plot x Split-Plot x Sub-Plot",
      "Location x Whole-Plot x Split-Plot x Sub-Plot", "Sub-Plot Error", "Corrected Total"}},
    {"strip_plot",
     {"Location", "Block Within Location", "Strip-Plot A", "Location x Strip-Plot A", "Strip-Plot A Error",
      "Strip-Plot B", "Location x Strip-Plot B", "Strip-Plot B Error", "Strip-Plot A x Strip-Plot B",
      "Location x Strip-Plot A x Strip-Plot B", "Strip-Plot A x Strip-Plot B Error", "Corrected Total"}},
    {"strip_split_plot",
     {"Location ....................", "Blocks ......................", "Blocks Within Location ......",
      "Strip-Plot A ................", "Location x A ................", "Strip-Plot A Error ..........",
      "Split-Plot ..................", "Split-Plot x A ..............", "Location x Split-Plot .......",
      "Split-Plot Error ............", "Location x Split-Plot x A ...", "Strip-Plot B ................",
      "Location x B ................", "Strip-Plot B Error ..........", "A x B .......................",
      "Location x A x B ............", "A x B Error .................", "Split-Plot x B ..............",
      "Split-Plot x A x B ..........", "Location x Split-Plot x B ...", "Location x Split-Plot x A x B",
      "Split-Plot x A x B Error ....", "Corrected Total ............."}},
};

// The first case of each member, with its table in the caller's array,
// the labels and the kept option: the same table, the labels byte for byte.
TEST(PlotDesigns, LabelsUserTableAndKeptOption)
{
    std::map<std::string, bool> seen;
    for (const Case& c : read_cases()) {
        if (seen[c.member] || c.random)
            continue;
        seen[c.member] = true;
        SCOPED_TRACE(c.member);
        const std::vector<std::string>& expected = kLabels.at(c.member);
        std::vector<double> user(expected.size() * kColumns, -1);
        char** labels = nullptr;
        double* table = run<double>(c.member, c.counts, c.y.data(), ORVLS_RETURN_USER, user.data(),
                                    ORVLS_DESIGN_OPTION_B, &labels, ORVLS_NESTED_OPTION, 7, 0);
        ASSERT_EQ(table, user.data());
        ASSERT_NE(labels, nullptr);
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_STREQ(labels[i], expected[i].c_str()) << "row " << i;
        EXPECT_EQ(labels[expected.size()], nullptr);
        orvls_free_allocated_memory(labels);
        double* plain = run<double>(c.member, c.counts, c.y.data(), 0);
        ASSERT_NE(plain, nullptr);
        EXPECT_EQ(std::memcmp(plain, user.data(), user.size() * sizeof(double)), 0);
        orvls_free_allocated_memory(plain);
    }
    EXPECT_EQ(seen.size(), kLabels.size());
}

struct Refusal {
    const char* what;
    std::string member;
    std::vector<int64_t> counts;
    int option;  // 0, or an option given a null pointer
    Outcome outcome;
    int64_t int1;
};

TEST(PlotDesigns, RefusalsNameTheirCount)
{
    const std::vector<double> y(400, 1.0);
    const Refusal refusals[] = {
        {"one block", "split_plot", {1, 1, 2, 2}, 0, {5, 65200}, 1},
        {"no location", "split_plot", {2, 0, 2, 2}, 0, {5, 65201}, 0},
        {"one whole plot", "split_plot", {2, 1, 1, 2}, 0, {5, 65202}, 1},
        {"one split plot", "split_plot", {2, 1, 2, 1}, 0, {5, 603}, 1},
        {"negative blocks", "split_split_plot", {-3, 1, 2, 2, 2}, 0, {5, 65200}, -3},
        {"one sub plot", "split_split_plot", {2, 1, 2, 2, 1}, 0, {5, 603}, 1},
        {"one split plot of three", "split_split_plot", {2, 1, 2, 0, 2}, 0, {5, 603}, 0},
        {"one A strip", "strip_plot", {2, 2, 1, 2}, 0, {5, 65202}, 1},
        {"one B strip", "strip_plot", {2, 2, 2, 1}, 0, {5, 603}, 1},
        {"no location for strips", "strip_split_plot", {2, -1, 2, 2, 2}, 0, {5, 65201}, -1},
        {"one split of strips", "strip_split_plot", {2, 1, 2, 2, 1}, 0, {5, 603}, 1},
        {"null user table", "strip_plot", {2, 1, 2, 2}, ORVLS_RETURN_USER, {5, 104}, 0},
        {"null labels", "split_plot", {2, 1, 2, 2}, ORVLS_DESIGN_OPTION_B, {5, 104}, 0},
        {"unknown option", "strip_split_plot", {2, 1, 2, 2, 2}, 12345, {5, 11001}, 12345},
    };
    ErrorCapture capture;
    for (const Refusal& r : refusals) {
        SCOPED_TRACE(r.what);
        double* table = r.option == 0       ? run<double>(r.member, r.counts, y.data(), 0)
                        : r.option == 12345 ? run<double>(r.member, r.counts, y.data(), r.option, 0)
                                            : run<double>(r.member, r.counts, y.data(), r.option, nullptr, 0);
        EXPECT_EQ(table, nullptr);
        EXPECT_EQ(last_outcome(), r.outcome);
        if (r.outcome.code != 104) {
            EXPECT_NE(capture.text().find(std::to_string(r.int1)), std::string::npos) << capture.text();
        }
        capture.clear();
    }
}

// The printed report without its margins, line breaks and runs of blanks
// made single blanks.
std::string words(const std::string& text)
{
    std::istringstream in(text);
    std::string word, joined;
    while (in >> word)
        if (word != "***")
            joined += (joined.empty() ? "" : " ") + word;
    return joined;
}

// Responses that cannot be estimated: all of them, a whole plot, a block
// of strips, more than the smallest plots' error can give.
TEST(PlotDesigns, TooManyMissingIsRefusedWithItsText)
{
    struct Missing {
        const char* what;
        std::string member;
        std::vector<int64_t> counts;
        std::vector<int> missing;
    };
    const Missing cases[] = {
        {"all missing", "split_plot", {2, 1, 2, 2}, {0, 1, 2, 3, 4, 5, 6, 7}},
        {"a whole plot", "split_plot", {3, 1, 2, 2}, {2, 3}},
        {"beyond the error", "split_plot", {2, 1, 2, 2}, {0, 3, 5}},
        {"a sub plot's split plot", "split_split_plot", {2, 1, 2, 2, 2}, {4, 5}},
        {"an A strip", "strip_plot", {2, 1, 2, 2}, {0, 1}},
        {"a crossing of strips", "strip_split_plot", {2, 1, 2, 2, 2}, {2, 3}},
    };
    ErrorCapture capture;
    for (const Missing& m : cases) {
        SCOPED_TRACE(m.what);
        std::vector<double> y(64);
        for (std::size_t i = 0; i < y.size(); ++i)
            y[i] = double(i % 7) + 0.25 * double(i % 3);
        for (int i : m.missing)
            y[i] = NAN;
        capture.clear();
        EXPECT_EQ(run<double>(m.member, m.counts, y.data(), 0), nullptr);
        EXPECT_EQ(last_outcome(), (Outcome{5, 65204}));
        const std::string text = "Error: Too many missing observations Unable to estimate missing observations";
        EXPECT_NE(words(capture.text()).find(text), std::string::npos)
            << capture.text();
    }
}

// Every allocation of a call with missing responses and labels refused in
// turn: 201 naming the count of the work arrays, or for the last two (the
// table and the labels) that of the result; no table, no labels handed over
// (the sanitizer run sees leaks).
TEST(PlotDesigns, EveryAllocationFailureIsReported)
{
    const std::map<std::string, std::pair<std::string, std::string>> names = {
        {"split_plot", {"n_split", "n_whole"}},
        {"split_split_plot", {"n_sub", "n_whole"}},
        {"strip_plot", {"n_strip_b", "n_strip_a"}},
        {"strip_split_plot", {"n_split", "n_strip_a"}},
    };
    ErrorCapture capture;
    std::map<std::string, bool> seen;
    for (const Case& c : read_cases()) {
        if (seen[c.member] || c.name.find("missing") == std::string::npos)
            continue;
        seen[c.member] = true;
        SCOPED_TRACE(c.member);
        char** labels = nullptr;
        const int64_t before = orvls_testing_allocation_count();
        double* table = run<double>(c.member, c.counts, c.y.data(), ORVLS_DESIGN_OPTION_B, &labels, 0);
        const int64_t allocations = orvls_testing_allocation_count() - before;
        ASSERT_NE(table, nullptr);
        ASSERT_GE(allocations, 4);
        orvls_free_allocated_memory(table);
        orvls_free_allocated_memory(labels);
        for (int64_t k = 1; k <= allocations; ++k) {
            SCOPED_TRACE(k);
            labels = nullptr;
            capture.clear();
            orvls_testing_fail_allocation(k);
            EXPECT_EQ(run<double>(c.member, c.counts, c.y.data(), ORVLS_DESIGN_OPTION_B, &labels, 0), nullptr);
            orvls_testing_fail_allocation(0);
            EXPECT_EQ(last_outcome(), (Outcome{5, 201}));
            EXPECT_EQ(labels, nullptr);
            const auto& [work, result] = names.at(c.member);
            const std::string name = "depends on " + (k < allocations - 1 ? work : result) + " = ";
            EXPECT_NE(words(capture.text()).find(name), std::string::npos) << capture.text();
        }
    }
    EXPECT_EQ(seen.size(), kLabels.size());
}

}  // namespace
