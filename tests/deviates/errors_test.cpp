// Every refusal and warning of the generators, with its type, code and the
// message parameters set for it.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <thread>
#include <algorithm>

#include "capture.h"
#include "frame/error_block.h"
#include "frame/memory.h"
#include "orvls.h"

namespace {

// One test starts threads of its own, so the signal guard must be off.
class NoSignalTrapping : public ::testing::Environment {
public:
    void SetUp() override { orvls_skip_signal_handler(); }
};
const auto* const environment = ::testing::AddGlobalTestEnvironment(new NoSignalTrapping);

int64_t int_parameter(int i) { return orvls::orvls_error_block()->int_param[i - 1]; }
double real_parameter(int i) { return orvls::orvls_error_block()->real_param[i - 1]; }
std::string text_parameter(int i) { return orvls::orvls_error_block()->string_param[i - 1]; }

// A refused call returns null and leaves type 5 with `code`.
template <class T>
void expect_refused(T* result, int64_t code)
{
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(last_outcome(), (Outcome{5, code}));
}

void expect_real_range(const char* name, double low, double high, double value)
{
    EXPECT_EQ(text_parameter(1), name);
    EXPECT_EQ(real_parameter(1), low);
    EXPECT_EQ(real_parameter(2), high);
    EXPECT_EQ(real_parameter(3), value);
}

TEST(Errors, CountsOptionsAndMemory)
{
    ErrorCapture capture;
    expect_refused(orvls_d_random_gamma(0, 2.0, 0), 603);
    EXPECT_EQ(text_parameter(1), "n_random");
    EXPECT_EQ(int_parameter(1), 0);
    EXPECT_EQ(int_parameter(2), 1);
    expect_refused(orvls_d_random_binomial(5, 0, 0.5, 0), 603);
    EXPECT_EQ(text_parameter(1), "n");
    expect_refused(orvls_f_random_uniform_discrete(5, 0, 0), 603);
    EXPECT_EQ(text_parameter(1), "k");
    expect_refused(orvls_random_sample_indices(3, 0, 0), 603);
    EXPECT_EQ(text_parameter(1), "n_population");
    expect_refused(orvls_random_sample_indices(11, 10, 0), 602);
    EXPECT_EQ(text_parameter(1), "n_indices");
    EXPECT_EQ(int_parameter(1), 11);
    EXPECT_EQ(int_parameter(3), 10);

    expect_refused(orvls_d_random_exponential(5, 14281, 0), 11001);
    EXPECT_EQ(int_parameter(1), 14281);
    EXPECT_EQ(int_parameter(2), 2);
    expect_refused(orvls_f_random_normal(5, ORVLS_MEAN, 1.0, 77, 0), 11001);
    EXPECT_EQ(int_parameter(1), 77);
    EXPECT_EQ(int_parameter(2), 4);
    expect_refused(orvls_random_poisson(5, 2.0f, ORVLS_RETURN_USER, nullptr, 0), 104);
    expect_refused(orvls_d_random_normal(5, ORVLS_RETURN_USER, nullptr, 0), 104);

    // The result array, and the setup block of a thread that has none.
    for (int failing = 1; failing <= 2; ++failing) {
        std::thread([&] {
            ErrorCapture inner;
            orvls_random_seed_set(5);
            double warm;
            orvls_d_random_uniform(1, ORVLS_RETURN_USER, &warm, 0);
            orvls_testing_fail_allocation(failing);
            int64_t* r = orvls_d_random_binomial(10, 30, 0.4, 0);
            orvls_testing_fail_allocation(0);
            EXPECT_EQ(r, nullptr) << failing;
            EXPECT_EQ(last_outcome(), (Outcome{5, 200})) << failing;
        }).join();
    }
    orvls_testing_fail_allocation(1);
    expect_refused(orvls_d_random_normal(5, ORVLS_ACCEPT_REJECT_METHOD, 0), 200);
    orvls_testing_fail_allocation(0);
}

TEST(Errors, ParametersOfTheContinuousLaws)
{
    ErrorCapture capture;
    expect_refused(orvls_d_random_normal(5, ORVLS_VARIANCE, 0.0, 0), 20457);
    EXPECT_EQ(real_parameter(1), 0.0);
    const float negative = -2;
    expect_refused(orvls_f_random_normal(5, ORVLS_VARIANCE_ADR, &negative, 0), 20457);
    EXPECT_EQ(real_parameter(1), -2.0);

    expect_refused(orvls_d_random_gamma(5, -1.5, 0), 11036);
    EXPECT_EQ(real_parameter(1), -1.5);
    // Shapes so large that m +- sqrt(m) round to m: no envelope.
    expect_refused(orvls_f_random_gamma(5, 1e30f, 0), 11037);
    expect_refused(orvls_d_random_gamma(5, 1e300, 0), 11037);

    expect_refused(orvls_d_random_beta(5, 0.0, 2.0, 0), 11033);
    EXPECT_EQ(real_parameter(1), 0.0);
    expect_refused(orvls_f_random_beta(5, 2.0f, -1.0f, 0), 11034);
    EXPECT_EQ(real_parameter(1), -1.0);
    // Both powers of Johnk's method underflow for such shapes, and the
    // ratio then rounds to 0 or 1.
    expect_refused(orvls_d_random_beta(100, 1e-3, 1e-3, 0), 11035);

    expect_refused(orvls_d_random_chi_squared(5, 0.0, 0), 120);
    expect_real_range("df", 0, orvls_dmach(2), 0);
    expect_refused(orvls_f_random_student_t(5, -3.0f, 0), 120);
    expect_real_range("df", 0, orvls_amach(2), -3);
    expect_refused(orvls_d_random_weibull(5, 0.0, 0), 120);
    expect_real_range("a", 0, orvls_dmach(2), 0);
    expect_refused(orvls_d_random_stable(5, 2.5, 0.0, 0), 120);
    expect_real_range("alpha", 0, 2, 2.5);
    expect_refused(orvls_d_random_stable(5, 1.5, -1.5, 0), 120);
    expect_real_range("beta", -1, 1, -1.5);
    expect_refused(orvls_d_random_exponential_mix(5, 1.0, 0.0, 0.5, 0), 120);
    expect_real_range("theta2", 0, orvls_dmach(2), 0);
    expect_refused(orvls_f_random_exponential_mix(5, 1.0f, 1.0f, 1.5f, 0), 120);
    expect_real_range("p", 0, 1, 1.5);

    expect_refused(orvls_d_random_lognormal(5, 0.0, -1.0, 0), 20664);
    EXPECT_EQ(real_parameter(1), -1.0);
    expect_refused(orvls_d_random_von_mises(5, 1e-9, 0), 20572);
    EXPECT_EQ(real_parameter(1), 1e-9);
    expect_refused(orvls_f_random_von_mises(5, 1e-4f, 0), 20572);

    // Deviates held at the largest real: a warning, the results stand.
    double* held = orvls_d_random_weibull(200, 1e-3, 0);
    ASSERT_NE(held, nullptr);
    EXPECT_EQ(last_outcome(), (Outcome{3, 20571}));
    EXPECT_EQ(*std::max_element(held, held + 200), orvls_dmach(2));
    std::free(held);
}

TEST(Errors, ParametersOfTheDiscreteLaws)
{
    ErrorCapture capture;
    expect_refused(orvls_d_random_binomial(5, 10, 1.0, 0), 120);
    expect_real_range("p", 0, 1, 1);
    expect_refused(orvls_f_random_binomial(5, 10, 0.0f, 0), 120);

    expect_refused(orvls_random_poisson(5, 0.0f, 0), 11032);
    EXPECT_EQ(real_parameter(1), 0.0);
    expect_refused(orvls_random_poisson(5, -2.5f, 0), 11032);
    EXPECT_EQ(real_parameter(1), -2.5);

    expect_refused(orvls_d_random_geometric(5, 1.0, 0), 20662);
    EXPECT_EQ(real_parameter(1), 1.0);
    expect_refused(orvls_f_random_geometric(5, 0.0f, 0), 20662);
    expect_refused(orvls_d_random_logarithmic(5, 1.0, 0), 20570);
    EXPECT_EQ(real_parameter(1), 1.0);
    expect_refused(orvls_f_random_logarithmic(5, -0.5f, 0), 20570);
    expect_refused(orvls_d_random_neg_binomial(5, 0.0, 0.5, 0), 120);
    expect_real_range("rn", 0, orvls_dmach(2), 0);
    expect_refused(orvls_d_random_neg_binomial(5, 2.0, 1.0, 0), 120);
    expect_real_range("p", 0, 1, 1);

    expect_refused(orvls_d_random_hypergeometric(5, 11, 3, 10, 0), 65005);
    EXPECT_EQ(int_parameter(1), 11);
    EXPECT_EQ(int_parameter(2), 3);
    EXPECT_EQ(int_parameter(3), 10);
    expect_refused(orvls_f_random_hypergeometric(5, 2, 12, 10, 0), 65005);
    // The lowest value's probability underflows: C(10000, 5000) is beyond
    // the range of doubles.
    expect_refused(orvls_d_random_hypergeometric(5, 5000, 5000, 10000, 0), 65006);
    EXPECT_EQ(real_parameter(1), 0.0);
    expect_refused(orvls_f_random_hypergeometric(5, 500, 500, 1000, 0), 65006);
    // A law with one value needs neither method.
    int64_t* single = orvls_d_random_hypergeometric(3, 4, 4, 4, 0);
    ASSERT_NE(single, nullptr);
    EXPECT_EQ(single[2], 4);
    std::free(single);
}

double negative_weight(int64_t x) { return x == 2 ? -1 : 1; }
double no_weight(int64_t) { return 0; }
double decreasing_cdf(double x) { return x < 0.5 ? x : x - 0.2; }
double exponential_cdf(double x) { return x <= 0 ? 0 : -std::expm1(-x); }

TEST(Errors, Tables)
{
    ErrorCapture capture;
    expect_refused(orvls_d_discrete_table_setup(negative_weight, 0, 5, 0), 65121);
    EXPECT_EQ(int_parameter(1), 3);
    EXPECT_EQ(real_parameter(1), -1.0);
    expect_refused(orvls_d_discrete_table_setup(no_weight, 0, 5, 0), 65122);
    expect_refused(orvls_d_discrete_table_setup(nullptr, 0, 5, 0), 150);
    EXPECT_EQ(text_parameter(1), "probability");
    expect_refused(orvls_d_discrete_table_setup(no_weight, 0, 0, 0), 603);
    EXPECT_EQ(text_parameter(1), "n_values");

    const double falling[] = {0.5, 0.4, 1.0};
    expect_refused(orvls_d_random_general_discrete(5, 0, 3, falling, 0), 65121);
    EXPECT_EQ(int_parameter(1), 2);
    const float short_of_one[] = {0.5f, 0.9f};
    expect_refused(orvls_f_random_general_discrete(5, 0, 2, short_of_one, 0), 65122);
    expect_refused(orvls_d_random_general_discrete(5, 0, 2, static_cast<const double*>(nullptr), 0), 150);

    const double repeated_x[] = {0, 0, 1, 0.5, 1, 1};
    expect_refused(orvls_d_random_general_continuous(5, 3, repeated_x, 0), 65120);
    EXPECT_EQ(int_parameter(1), 3);
    const double falling_f[] = {0, 0, 1, 0.6, 2, 0.5, 3, 1};
    expect_refused(orvls_d_random_general_continuous(5, 4, falling_f, 0), 65121);
    EXPECT_EQ(int_parameter(1), 3);
    EXPECT_EQ(real_parameter(1), 0.5);
    const float from_a_tenth[] = {0, 0.1f, 1, 1};
    expect_refused(orvls_f_random_general_continuous(5, 2, from_a_tenth, 0), 65122);
    EXPECT_EQ(int_parameter(1), 1);
    expect_refused(orvls_d_random_general_continuous(5, 1, repeated_x, 0), 603);
    EXPECT_EQ(text_parameter(1), "n_points");

    expect_refused(orvls_d_continuous_table_setup(exponential_cdf, 50, 2.0, 1.0, 0), 65120);
    expect_refused(orvls_d_continuous_table_setup(exponential_cdf, 50, -2.0, -1.0, 0), 65122);
    expect_refused(orvls_d_continuous_table_setup(decreasing_cdf, 50, 0.0, 1.0, 0), 65121);
    expect_refused(orvls_d_continuous_table_setup(nullptr, 50, 0.0, 1.0, 0), 150);
    EXPECT_EQ(text_parameter(1), "cdf");

    // Too few points, or a range that cuts off the tail: a warning, and a
    // valid table.
    for (const auto& [points, upper] : {std::pair{10, 40.0}, std::pair{400, 5.0}}) {
        double* table = orvls_d_continuous_table_setup(exponential_cdf, points, 0.0, upper, 0);
        ASSERT_NE(table, nullptr);
        EXPECT_EQ(last_outcome(), (Outcome{3, 65128}));
        EXPECT_EQ(table[1], 0.0);
        EXPECT_EQ(table[2 * points - 1], 1.0);
        double x[5];
        EXPECT_EQ(orvls_d_random_general_continuous(5, points, table, ORVLS_RETURN_USER, x, 0), x);
        std::free(table);
    }
    double* fine = orvls_d_continuous_table_setup(exponential_cdf, 400, 0.0, 40.0, 0);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
    std::free(fine);
}

}  // namespace
