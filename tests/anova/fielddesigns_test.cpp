// The field designs against R: the tables of aov for every member, with one
// and several locations, fixed and random locations and missing plots
// (tools/gen_anova_fielddesigns_refs.R); Yates' estimates and Bartlett's
// test; the labels byte for byte; every documented error; every failed
// allocation.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <iomanip>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "capture.h"
#include "frame/memory.h"
#include "orvls.h"
#include "reference_blocks.h"

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();

std::vector<double> read_values(std::istream& in)
{
    int64_t n;
    in >> n;
    std::vector<double> v(n);
    for (auto& x : v) {
        std::string word;
        in >> word;
        x = std::strtod(word.c_str(), nullptr);
    }
    return v;
}

std::vector<int64_t> as_integers(const std::vector<double>& v)
{
    return {v.begin(), v.end()};
}

struct Row {
    std::string label;
    double df, ss, f, p;
};

struct TableCase {
    std::string routine, name;
    int64_t counts[3] = {};
    std::vector<int64_t> levels;
    std::map<std::string, std::vector<int64_t>> index;
    int random = 0;
    std::vector<double> y;
    std::vector<Row> rows;
};

std::vector<TableCase> table_cases()
{
    return read_reference_cases<TableCase>("tests/anova/data/fielddesigns_tables.txt",
                                           [](std::istream& in, TableCase& c) {
                                               in >> c.routine >> c.name;
                                               std::string word;
                                               while (in >> word && word != "end") {
                                                   if (word == "counts") {
                                                       in >> c.counts[0] >> c.counts[1] >> c.counts[2];
                                                   } else if (word == "levels") {
                                                       c.levels = as_integers(read_values(in));
                                                   } else if (word == "index") {
                                                       in >> word;
                                                       c.index[word] = as_integers(read_values(in));
                                                   } else if (word == "random") {
                                                       in >> c.random;
                                                   } else if (word == "y") {
                                                       c.y = read_values(in);
                                                   } else if (word == "rows") {
                                                       in >> word;
                                                   } else if (word == "row") {
                                                       Row r;
                                                       std::string f, p;
                                                       in >> std::quoted(r.label) >> r.df >> r.ss >> f >> p;
                                                       r.f = std::strtod(f.c_str(), nullptr);
                                                       r.p = std::strtod(p.c_str(), nullptr);
                                                       c.rows.push_back(r);
                                                   }
                                               }
                                           });
}

// The two forms of every member, chosen by the element type.
template <class Real>
struct Forms;
template <>
struct Forms<float> {
    static constexpr auto crd = orvls_f_crd_factorial;
    static constexpr auto rcbd = orvls_f_rcbd_factorial;
    static constexpr auto latin = orvls_f_latin_square;
    static constexpr auto lattice = orvls_f_lattice;
    static constexpr auto yates = orvls_f_yates;
    static constexpr auto homogeneity = orvls_f_homogeneity;
};
template <>
struct Forms<double> {
    static constexpr auto crd = orvls_d_crd_factorial;
    static constexpr auto rcbd = orvls_d_rcbd_factorial;
    static constexpr auto latin = orvls_d_latin_square;
    static constexpr auto lattice = orvls_d_lattice;
    static constexpr auto yates = orvls_d_yates;
    static constexpr auto homogeneity = orvls_d_homogeneity;
};

template <class Real>
Real* analyse(const TableCase& c, const Real* y, char*** labels, Real* user = nullptr)
{
    using F = Forms<Real>;
    const int64_t* n = c.counts;
    if (c.routine == "crd")
        return F::crd(n[0], n[1], n[2], c.levels.data(), y, ORVLS_DESIGN_OPTION_A, c.random, ORVLS_DESIGN_OPTION_B,
                      labels, ORVLS_NESTED_OPTION, 3, user ? ORVLS_RETURN_USER : 0, user, 0);
    if (c.routine == "rcbd")
        return F::rcbd(n[0], n[1], n[2], c.levels.data(), y, ORVLS_DESIGN_OPTION_A, c.random, ORVLS_DESIGN_OPTION_B,
                       labels, user ? ORVLS_RETURN_USER : 0, user, 0);
    if (c.routine == "latin")
        return F::latin(n[0], n[1], c.index.at("row").data(), c.index.at("column").data(),
                        c.index.at("treatment").data(), y, ORVLS_DESIGN_OPTION_A, c.random, ORVLS_DESIGN_OPTION_B,
                        labels, user ? ORVLS_RETURN_USER : 0, user, 0);
    return F::lattice(n[0], n[1], n[2], c.index.at("treatment").data(), y, ORVLS_DESIGN_OPTION_B, labels,
                      user ? ORVLS_RETURN_USER : 0, user, 0);
}

// offset is added to every response: the sums of squares must not move.
template <class Real>
void check_tables(double tolerance, double offset = 0)
{
    const auto cases = table_cases();
    ASSERT_EQ(cases.size(), 22u);
    for (const TableCase& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<Real> y(c.y.begin(), c.y.end());
        for (Real& v : y)
            v += Real(offset);
        char** labels = nullptr;
        Real* table = analyse(c, y.data(), &labels);
        ASSERT_NE(table, nullptr);
        const double total = c.rows.back().ss;
        for (std::size_t i = 0; i < c.rows.size(); ++i) {
            const Row& r = c.rows[i];
            const Real* t = table + 5 * i;
            EXPECT_STREQ(labels[i], r.label.c_str());
            EXPECT_EQ(t[0], Real(r.df)) << r.label;
            EXPECT_NEAR(t[1], r.ss, tolerance * total) << r.label;
            EXPECT_NEAR(t[2], r.ss / r.df, tolerance * total) << r.label;
            if (std::isnan(r.f)) {
                EXPECT_TRUE(std::isnan(t[3]) && std::isnan(t[4])) << r.label;
            } else {
                EXPECT_NEAR(t[3], r.f, 100 * tolerance * r.f) << r.label;
                EXPECT_NEAR(t[4], r.p, 100 * tolerance) << r.label;
            }
        }
        EXPECT_EQ(labels[c.rows.size()], nullptr);
        // The caller's array receives the same table.
        std::vector<Real> user(5 * c.rows.size(), Real(-1));
        char** again = nullptr;
        EXPECT_EQ(analyse(c, y.data(), &again, user.data()), user.data());
        for (std::size_t i = 0; i < user.size(); ++i)
            EXPECT_TRUE(user[i] == table[i] || (std::isnan(user[i]) && std::isnan(table[i])));
        orvls_free_allocated_memory(again);
        orvls_free_allocated_memory(labels);
        orvls_free_allocated_memory(table);
    }
}

TEST(FieldDesigns, TablesAgreeWithAovDouble)
{
    check_tables<double>(1e-10);
}

TEST(FieldDesigns, TablesKeepTheirDigitsOnLargeResponses)
{
    check_tables<double>(1e-6, 1e9);
}
TEST(FieldDesigns, TablesAgreeWithAovFloat)
{
    check_tables<float>(2e-5);
}

struct ServiceCase {
    std::string kind, name;
    int64_t counts[3] = {};
    std::vector<double> y, filled, df, ms;
    double statistic = 0, p = 0;
};

std::vector<ServiceCase> service_cases()
{
    return read_reference_cases<ServiceCase>("tests/anova/data/fielddesigns_services.txt",
                                             [](std::istream& in, ServiceCase& c) {
                                                 in >> c.kind >> c.name;
                                                 std::string word;
                                                 if (c.kind == "yates") {
                                                     in >> word >> c.counts[0] >> c.counts[1] >> c.counts[2];
                                                     in >> word;
                                                     c.y = read_values(in);
                                                     in >> word;
                                                     c.filled = read_values(in);
                                                 } else {
                                                     in >> word;
                                                     c.df = read_values(in);
                                                     in >> word;
                                                     c.ms = read_values(in);
                                                     in >> word >> c.statistic >> word >> c.p;
                                                 }
                                             });
}

template <class Real>
void check_services(double tolerance)
{
    using F = Forms<Real>;
    const auto cases = service_cases();
    ASSERT_EQ(cases.size(), 7u);
    for (const ServiceCase& c : cases) {
        SCOPED_TRACE(c.name);
        if (c.kind == "yates") {
            const std::vector<Real> y(c.y.begin(), c.y.end());
            Real* filled = F::yates(c.counts[0], c.counts[1], c.counts[2], y.data(), 0);
            ASSERT_NE(filled, nullptr);
            for (std::size_t i = 0; i < y.size(); ++i)
                EXPECT_NEAR(filled[i], c.filled[i], tolerance * std::fabs(c.filled[i])) << i;
            // In place through the caller's array.
            std::vector<Real> in_place = y;
            EXPECT_EQ(
                F::yates(c.counts[0], c.counts[1], c.counts[2], in_place.data(), ORVLS_RETURN_USER, in_place.data(), 0),
                in_place.data());
            for (std::size_t i = 0; i < y.size(); ++i)
                EXPECT_EQ(in_place[i], filled[i]);
            orvls_free_allocated_memory(filled);
        } else {
            const std::vector<Real> df(c.df.begin(), c.df.end()), ms(c.ms.begin(), c.ms.end());
            Real statistic = 0;
            const Real p =
                F::homogeneity(int64_t(df.size()), df.data(), ms.data(), ORVLS_HOMOGENEITY_STATISTIC, &statistic, 0);
            EXPECT_NEAR(statistic, c.statistic, tolerance * c.statistic);
            EXPECT_NEAR(p, c.p, tolerance * c.p + 1e-15);
        }
    }
}

TEST(FieldDesigns, ServicesAgreeWithRDouble)
{
    check_services<double>(1e-11);
}
TEST(FieldDesigns, ServicesAgreeWithRFloat)
{
    check_services<float>(1e-5);
}

TEST(FieldDesigns, ZeroMeanSquares)
{
    const double df[] = {5, 7, 4}, some_zero[] = {1.5, 0, 2}, all_zero[] = {0, 0, 0};
    double statistic = 0;
    EXPECT_EQ(orvls_d_homogeneity(3, df, some_zero, ORVLS_HOMOGENEITY_STATISTIC, &statistic, 0), 0.0);
    EXPECT_TRUE(std::isinf(statistic));
    EXPECT_TRUE(std::isnan(orvls_d_homogeneity(3, df, all_zero, ORVLS_HOMOGENEITY_STATISTIC, &statistic, 0)));
    EXPECT_TRUE(std::isnan(statistic));
    EXPECT_EQ(orvls_n1rty(1), 0);
    // Far in the tail the probability underflows quietly to about 0.
    const double many[] = {200, 300, 250}, spread[] = {1, 1e-12, 1e12};
    EXPECT_LT(orvls_d_homogeneity(3, many, spread, ORVLS_HOMOGENEITY_STATISTIC, &statistic, 0), 1e-300);
    EXPECT_GT(statistic, 1e4);
    EXPECT_EQ(orvls_n1rty(1), 0);
}

// A small layout of each member for the error table.
const int64_t kLevels[] = {2, 3}, kBadLevels[] = {2, 1};
const std::vector<double> kCrd(12, 1.0);
std::vector<double> with_nan(std::vector<double> y, std::initializer_list<int> places)
{
    for (int i : places)
        y[i] = kNaN;
    return y;
}
// A 3 x 3 square, plots row by row: treatment (r + c) mod 3.
const int64_t kRow[] = {1, 1, 1, 2, 2, 2, 3, 3, 3}, kColumn[] = {1, 2, 3, 1, 2, 3, 1, 2, 3};
const int64_t kTreatment[] = {1, 2, 3, 2, 3, 1, 3, 1, 2}, kTwiceInRow[] = {1, 2, 2, 2, 3, 1, 3, 1, 3};
const int64_t kOutOfRange[] = {1, 2, 3, 2, 3, 1, 3, 1, 4}, kSamePlace[] = {1, 1, 1, 2, 2, 2, 3, 3, 2};
const std::vector<double> kSquare = {3, 5, 4, 6, 7, 2, 5, 3, 8};
// A simple lattice of 3^2 treatments: rows of the array, then its columns.
const int64_t kLattice[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 4, 7, 2, 5, 8, 3, 6, 9};
const int64_t kUnlinked[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 2, 3, 4, 5, 6, 7, 8, 9};
const int64_t kRepeated[] = {1, 2, 3, 4, 5, 6, 7, 8, 8, 1, 4, 7, 2, 5, 8, 3, 6, 9};
const std::vector<double> kLatticeY = {5, 6, 4, 7, 8, 6, 5, 9, 7, 6, 7, 5, 6, 8, 7, 5, 7, 8};

struct ErrorCase {
    const char* what;
    std::function<bool()> call;  // true when the result is null (NaN)
    Outcome expected;
};

// A report as one line: continuation marks and runs of blanks made one blank.
std::string flat(std::string text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text.compare(i, 4, "\n***") == 0)
            text[i += 3] = ' ';
        const char c = text[i] == '\n' ? ' ' : text[i];
        if (c != ' ' || out.empty() || out.back() != ' ')
            out += c;
    }
    return out;
}

bool null_table(double* t)
{
    orvls_free_allocated_memory(t);
    return t == nullptr;
}

TEST(FieldDesigns, ErrorsAreReported)
{
    ErrorCapture capture;
    const double* y = kCrd.data();
    const auto too_few = with_nan(kCrd, {0, 1});  // a whole cell of the completely randomised layout
    const auto treatment_gone = with_nan(kCrd, {0, 6});
    const auto row_gone = with_nan(kSquare, {0, 1, 2});
    const auto block_gone = with_nan(kLatticeY, {0, 1, 2});
    const double df[] = {3, 4}, ms[] = {1, 2}, no_df[] = {0, 4}, negative[] = {1, -2}, nan_ms[] = {1, kNaN};
    double* null = nullptr;
    const std::vector<ErrorCase> cases = {
        {"crd replicates", [&] { return null_table(orvls_d_crd_factorial(1, 1, 2, kLevels, y, 0)); }, {5, 65200}},
        {"crd locations", [&] { return null_table(orvls_d_crd_factorial(2, 0, 2, kLevels, y, 0)); }, {5, 65201}},
        {"crd factors", [&] { return null_table(orvls_d_crd_factorial(2, 1, 1, kLevels, y, 0)); }, {5, 65202}},
        {"crd many factors", [&] { return null_table(orvls_d_crd_factorial(2, 1, 11, kLevels, y, 0)); }, {5, 601}},
        {"crd levels", [&] { return null_table(orvls_d_crd_factorial(2, 1, 2, kBadLevels, y, 0)); }, {5, 603}},
        {"crd option", [&] { return null_table(orvls_d_crd_factorial(2, 1, 2, kLevels, y, 999, 0)); }, {5, 11001}},
        {"crd null user",
         [&] { return null_table(orvls_d_crd_factorial(2, 1, 2, kLevels, y, ORVLS_RETURN_USER, null, 0)); },
         {5, 104}},
        {"crd null labels",
         [&] { return null_table(orvls_d_crd_factorial(2, 1, 2, kLevels, y, ORVLS_DESIGN_OPTION_B, nullptr, 0)); },
         {5, 104}},
        {"crd missing cell",
         [&] { return null_table(orvls_d_crd_factorial(2, 1, 2, kLevels, too_few.data(), 0)); },
         {5, 65203}},
        {"rcbd blocks", [&] { return null_table(orvls_d_rcbd_factorial(1, 1, 2, kLevels, y, 0)); }, {5, 65200}},
        {"rcbd treatment gone",
         [&] { return null_table(orvls_d_rcbd_factorial(2, 1, 2, kLevels, treatment_gone.data(), 0)); },
         {5, 65203}},
        {"latin size",
         [&] { return null_table(orvls_d_latin_square(1, 1, kRow, kColumn, kTreatment, y, 0)); },
         {5, 65200}},
        {"latin locations",
         [&] { return null_table(orvls_d_latin_square(3, 0, kRow, kColumn, kTreatment, y, 0)); },
         {5, 65201}},
        {"latin twice in a row",
         [&] { return null_table(orvls_d_latin_square(3, 1, kRow, kColumn, kTwiceInRow, y, 0)); },
         {5, 65205}},
        {"latin out of range",
         [&] { return null_table(orvls_d_latin_square(3, 1, kRow, kColumn, kOutOfRange, y, 0)); },
         {5, 65205}},
        {"latin same place",
         [&] { return null_table(orvls_d_latin_square(3, 1, kRow, kSamePlace, kTreatment, y, 0)); },
         {5, 65205}},
        {"latin row gone",
         [&] { return null_table(orvls_d_latin_square(3, 1, kRow, kColumn, kTreatment, row_gone.data(), 0)); },
         {5, 65205}},
        {"lattice replicates", [&] { return null_table(orvls_d_lattice(1, 1, 3, kLattice, y, 0)); }, {5, 65200}},
        {"lattice locations", [&] { return null_table(orvls_d_lattice(2, 0, 3, kLattice, y, 0)); }, {5, 65201}},
        {"lattice block size", [&] { return null_table(orvls_d_lattice(2, 1, 1, kLattice, y, 0)); }, {5, 65202}},
        {"lattice repeated",
         [&] { return null_table(orvls_d_lattice(2, 1, 3, kRepeated, kLatticeY.data(), 0)); },
         {5, 65205}},
        {"lattice unlinked",
         [&] { return null_table(orvls_d_lattice(2, 1, 3, kUnlinked, kLatticeY.data(), 0)); },
         {5, 65205}},
        {"lattice block gone",
         [&] { return null_table(orvls_d_lattice(2, 1, 3, kLattice, block_gone.data(), 0)); },
         {5, 65205}},
        {"yates blocks", [&] { return null_table(orvls_d_yates(1, 1, 3, y, 0)); }, {5, 65200}},
        {"yates locations", [&] { return null_table(orvls_d_yates(2, 0, 3, y, 0)); }, {5, 65201}},
        {"yates treatments", [&] { return null_table(orvls_d_yates(2, 1, 1, y, 0)); }, {5, 65202}},
        {"yates option", [&] { return null_table(orvls_d_yates(2, 1, 3, y, 77, 0)); }, {5, 11001}},
        {"yates null user",
         [&] { return null_table(orvls_d_yates(2, 1, 3, y, ORVLS_RETURN_USER, null, 0)); },
         {5, 104}},
        {"yates treatment gone",
         [&] { return null_table(orvls_d_yates(2, 1, 6, treatment_gone.data(), 0)); },
         {5, 65203}},
        {"homogeneity locations", [&] { return std::isnan(orvls_d_homogeneity(1, df, ms, 0)); }, {5, 65200}},
        {"homogeneity df", [&] { return std::isnan(orvls_d_homogeneity(2, no_df, ms, 0)); }, {5, 65205}},
        {"homogeneity negative", [&] { return std::isnan(orvls_d_homogeneity(2, df, negative, 0)); }, {5, 65205}},
        {"homogeneity nan", [&] { return std::isnan(orvls_d_homogeneity(2, df, nan_ms, 0)); }, {5, 65205}},
        {"homogeneity option", [&] { return std::isnan(orvls_d_homogeneity(2, df, ms, 5, 0)); }, {5, 11001}},
        {"homogeneity null",
         [&] { return std::isnan(orvls_d_homogeneity(2, df, ms, ORVLS_HOMOGENEITY_STATISTIC, nullptr, 0)); },
         {5, 104}},
    };
    for (const ErrorCase& c : cases) {
        capture.clear();
        EXPECT_TRUE(c.call()) << c.what;
        EXPECT_EQ(last_outcome(), c.expected) << c.what;
    }
    capture.clear();
    orvls_d_crd_factorial(2, 1, 2, kLevels, too_few.data(), 0);
    EXPECT_NE(flat(capture.text()).find("Fatal Error: Insufficient data to estimate missing values."),
              std::string::npos);
    capture.clear();
    orvls_d_latin_square(3, 1, kRow, kColumn, kTwiceInRow, y, 0);
    EXPECT_NE(flat(capture.text()).find("Data Input Error Encountered"), std::string::npos);
}

// Every allocation of a call with missing plots fails in turn: the call
// returns null with type 5 code 201 and leaks nothing (the sanitiser run
// checks the last).
TEST(FieldDesigns, AllocationFailures)
{
    ErrorCapture capture;
    const auto crd = with_nan(kCrd, {3});
    const auto two_locations =
        with_nan(std::vector<double>{1, 3, 2, 5, 4, 4, 6, 2, 3, 1, 5, 7, 2, 3, 4, 3, 5, 6, 2, 4, 3, 6, 5, 2}, {3});
    const auto square = with_nan(kSquare, {4});
    const auto lattice = with_nan(kLatticeY, {5});
    const std::vector<std::pair<const char*, std::function<double*()>>> calls = {
        {"crd", [&] { return orvls_d_crd_factorial(2, 2, 2, kLevels, two_locations.data(), 0); }},
        {"rcbd", [&] { return orvls_d_rcbd_factorial(2, 1, 2, kLevels, crd.data(), 0); }},
        {"latin", [&] { return orvls_d_latin_square(3, 1, kRow, kColumn, kTreatment, square.data(), 0); }},
        {"lattice", [&] { return orvls_d_lattice(2, 1, 3, kLattice, lattice.data(), 0); }},
        {"yates", [&] { return orvls_d_yates(2, 1, 6, crd.data(), 0); }},
    };
    for (const auto& [what, call] : calls) {
        SCOPED_TRACE(what);
        const int64_t before = orvls_testing_allocation_count();
        double* table = call();
        const int64_t allocations = orvls_testing_allocation_count() - before;
        ASSERT_NE(table, nullptr);
        orvls_free_allocated_memory(table);
        for (int64_t n = 1; n <= allocations; ++n) {
            orvls_testing_fail_allocation(n);
            table = call();
            orvls_testing_fail_allocation(0);
            EXPECT_EQ(table, nullptr) << n;
            EXPECT_EQ(last_outcome(), (Outcome{5, 201})) << n;
        }
    }
    // The labels block is one allocation more than the table.
    char** labels = nullptr;
    const int64_t before = orvls_testing_allocation_count();
    orvls_free_allocated_memory(calls[0].second());
    orvls_testing_fail_allocation(orvls_testing_allocation_count() - before + 1);
    EXPECT_EQ(orvls_d_crd_factorial(2, 2, 2, kLevels, two_locations.data(), ORVLS_DESIGN_OPTION_B, &labels, 0),
              nullptr);
    orvls_testing_fail_allocation(0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 201}));
    EXPECT_EQ(labels, nullptr);
}

}  // namespace
