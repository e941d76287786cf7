// regressors_for_glm against regressor matrices from R's model.matrix
// (tools/gen_regressors_refs.R), in both precisions, into an allocated
// matrix and into the caller's wider one, with x restored bit for bit.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "reference_blocks.h"
#include "regressors_support.h"

namespace {

struct Case {
    std::string name;
    int method = 0, order = 0;  // order 0: the effects are listed
    int64_t n_class = 0, n_cont = 0;
    int x_col_dim = 0;
    std::vector<int64_t> class_columns, effect_sizes, effect_columns;
    ReferenceMatrix x, expected;
};

// The integer behind a label.
int64_t labelled(std::istream& in, const char* label)
{
    std::string read;
    int64_t value = 0;
    in >> read >> value;
    EXPECT_EQ(read, label);
    return value;
}

std::vector<int64_t> read_integers(std::istream& in, int64_t n)
{
    std::vector<int64_t> values(static_cast<std::size_t>(n));
    for (int64_t& v : values)
        in >> v;
    return values;
}

const std::vector<Case>& cases()
{
    static const std::vector<Case> all =
        read_reference_cases<Case>("tests/regressors/data/references.txt", [](std::istream& in, Case& c) {
            in >> c.name;
            c.method = static_cast<int>(labelled(in, "method"));
            c.order = static_cast<int>(labelled(in, "order"));
            c.n_class = labelled(in, "n_class");
            c.n_cont = labelled(in, "n_cont");
            c.x_col_dim = static_cast<int>(labelled(in, "x_col_dim"));
            c.class_columns = read_integers(in, labelled(in, "class_columns"));
            const int64_t n_effects = labelled(in, "effects");
            for (int64_t e = 0; e < n_effects; ++e) {
                int64_t size = 0;
                in >> size;
                c.effect_sizes.push_back(size);
                for (int64_t column : read_integers(in, size))
                    c.effect_columns.push_back(column);
            }
            c.x = read_reference_matrix(in, "x");
            c.expected = read_reference_matrix(in, "expected");
        });
    return all;
}

// One call with every option of the case (and the reserved code, which
// changes nothing); an output code of 0 ends the list early, for a count.
template <class Real, class Out>
int64_t run(const Case& c, Real* x, int output_code, Out output, int col_dim)
{
    if (c.order > 0)
        return regressors_for_glm(c.x.rows, x, c.n_class, c.n_cont, ORVLS_DUMMY_METHOD, c.method, ORVLS_MODEL_ORDER,
                                  c.order, ORVLS_GLM_RESERVED, ORVLS_X_COL_DIM, c.x_col_dim, ORVLS_X_CLASS_COLUMNS,
                                  c.class_columns.data(), output_code, output, ORVLS_REGRESSORS_COL_DIM, col_dim, 0);
    return regressors_for_glm(c.x.rows, x, c.n_class, c.n_cont, ORVLS_INDICES_EFFECTS,
                              static_cast<int>(c.effect_sizes.size()), c.effect_sizes.data(), c.effect_columns.data(),
                              ORVLS_DUMMY_METHOD, c.method, ORVLS_X_COL_DIM, c.x_col_dim, ORVLS_X_CLASS_COLUMNS,
                              c.class_columns.data(), output_code, output, ORVLS_REGRESSORS_COL_DIM, col_dim, 0);
}

template <class Real>
void check_case(const Case& c)
{
    SCOPED_TRACE(c.name);
    const std::vector<Real> original(c.x.values.begin(), c.x.values.end());
    std::vector<Real> x = original;
    const int64_t n = c.expected.rows, p = c.expected.columns;

    // Counting only.
    EXPECT_EQ(run<Real>(c, x.data(), 0, 0, 0), p);
    EXPECT_TRUE(same_bits(x, original));

    // An allocated matrix.
    Real* allocated = nullptr;
    EXPECT_EQ(run<Real>(c, x.data(), ORVLS_REGRESSORS, &allocated, static_cast<int>(p)), p);
    EXPECT_TRUE(same_bits(x, original));
    ASSERT_NE(allocated, nullptr);
    expect_cells(c.expected.values, n, p, allocated, p);
    orvls_free_allocated_memory(allocated);

    // The caller's matrix, three cells wider: the extra cells keep their values.
    const int col_dim = static_cast<int>(p) + 3;
    std::vector<Real> user(static_cast<std::size_t>(n * col_dim), Real(99));
    EXPECT_EQ(run<Real>(c, x.data(), ORVLS_REGRESSORS_USER, user.data(), col_dim), p);
    EXPECT_TRUE(same_bits(x, original));
    expect_cells(c.expected.values, n, p, user.data(), col_dim);
    for (int64_t i = 0; i < n; ++i)
        for (int64_t j = p; j < col_dim; ++j)
            EXPECT_EQ(user[static_cast<std::size_t>(i * col_dim + j)], Real(99));
}

TEST(RegressorsReference, EveryCaseInBothPrecisions)
{
    ASSERT_EQ(cases().size(), 21u);
    for (const Case& c : cases()) {
        check_case<double>(c);
        check_case<float>(c);
        EXPECT_EQ(orvls_n1rty(1), 0);
    }
}

}  // namespace
