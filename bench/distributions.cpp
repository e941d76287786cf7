// Distribution functions and inverses against R's standalone math library,
// GSL and Boost.Math on the same inputs in one run, beside their floors (the
// prescribed arithmetic alone); see bench/ratio_table.h for the table.  Boost
// runs without promotion of double to long double, as in its own speed tables.
#include <cmath>

#define MATHLIB_STANDALONE
#include <Rmath.h>

#include <boost/math/distributions/beta.hpp>
#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/fisher_f.hpp>
#include <boost/math/distributions/gamma.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/math/special_functions/owens_t.hpp>
#include <gsl/gsl_cdf.h>
#include <gsl/gsl_errno.h>

#include "floors.h"
#include "ratio_table.h"
#include "special/distributions.h"

namespace {

using ratio_table::Args;
using Policy = boost::math::policies::policy<boost::math::policies::promote_double<false>>;
namespace bm = boost::math;

constexpr int kInputs = 256;

// Deterministic spread of inputs: u runs over (0, 1) in a scrambled order.
double spread(int i) { return (std::fmod(i * 0.6180339887498949, 1.0) * kInputs + 0.5) / (kInputs + 1.0); }

std::vector<Args> make_inputs(Args (*make)(double u, int i))
{
    std::vector<Args> inputs;
    for (int i = 0; i < kInputs; ++i)
        inputs.push_back(make(spread(i), i));
    return inputs;
}

// Degrees of freedom and shapes cycle through small, middling and large.
double shape(int i)
{
    static const double shapes[] = {0.5, 1, 2.5, 3, 7, 12.5, 30, 100};
    return shapes[i % 8];
}

std::vector<ratio_table::Case> cases()
{
    const auto probability = [](double u, int i) { return Args{u, shape(i), shape(i + 3)}; };
    const auto quantile_of_gamma = [](double u, int i) { return Args{-2 * shape(i) * std::log1p(-u), shape(i), 0}; };
    const auto t_point = [](double u, int i) { return Args{12 * u - 6, shape(i) < 1 ? 1 : shape(i), 0}; };
    const auto t_probability = [](double u, int i) { return Args{u, shape(i) < 1 ? 1 : shape(i), 0}; };
    return {
        {"normal_cdf", make_inputs([](double u, int) { return Args{16 * u - 10, 0, 0}; }),
         [](auto& x) { return orvls_d_normal_cdf(x[0]); }, [](auto& x) { return floors::normal_cdf(x[0]); },
         {{"R", [](auto& x) { return pnorm(x[0], 0, 1, 1, 0); }},
          {"GSL", [](auto& x) { return gsl_cdf_ugaussian_P(x[0]); }},
          {"Boost", [](auto& x) { return bm::cdf(bm::normal_distribution<double, Policy>(), x[0]); }}}},
        {"normal_inverse", make_inputs(probability), [](auto& x) { return orvls_d_normal_inverse_cdf(x[0]); },
         [](auto& x) { return floors::normal_inverse(x[0]); },
         {{"R", [](auto& x) { return qnorm(x[0], 0, 1, 1, 0); }},
          {"GSL", [](auto& x) { return gsl_cdf_ugaussian_Pinv(x[0]); }},
          {"Boost", [](auto& x) { return bm::quantile(bm::normal_distribution<double, Policy>(), x[0]); }}}},
        {"t_cdf", make_inputs(t_point), [](auto& x) { return orvls_d_t_cdf(x[0], x[1]); },
         [](auto& x) { return floors::t_cdf(x[0], x[1]); },
         {{"R", [](auto& x) { return pt(x[0], x[1], 1, 0); }},
          {"GSL", [](auto& x) { return gsl_cdf_tdist_P(x[0], x[1]); }},
          {"Boost", [](auto& x) { return bm::cdf(bm::students_t_distribution<double, Policy>(x[1]), x[0]); }}}},
        {"t_inverse", make_inputs(t_probability), [](auto& x) { return orvls_d_t_inverse(x[0], x[1]); },
         [](auto& x) { return floors::t_inverse(x[0], x[1]); },
         {{"R", [](auto& x) { return qt(x[0], x[1], 1, 0); }},
          {"GSL", [](auto& x) { return gsl_cdf_tdist_Pinv(x[0], x[1]); }},
          {"Boost", [](auto& x) { return bm::quantile(bm::students_t_distribution<double, Policy>(x[1]), x[0]); }}}},
        {"chi_squared_cdf", make_inputs(quantile_of_gamma), [](auto& x) { return orvls_d_chi_squared_cdf(x[0], 2 * x[1]); },
         [](auto& x) { return floors::chi_squared_cdf(x[0], 2 * x[1]); },
         {{"R", [](auto& x) { return pchisq(x[0], 2 * x[1], 1, 0); }},
          {"GSL", [](auto& x) { return gsl_cdf_chisq_P(x[0], 2 * x[1]); }},
          {"Boost", [](auto& x) { return bm::cdf(bm::chi_squared_distribution<double, Policy>(2 * x[1]), x[0]); }}}},
        {"chi_squared_inverse", make_inputs(probability),
         [](auto& x) { return orvls_d_chi_squared_inverse_cdf(x[0], 2 * x[1]); },
         [](auto& x) { return floors::chi_squared_inverse(x[0], 2 * x[1]); },
         {{"R", [](auto& x) { return qchisq(x[0], 2 * x[1], 1, 0); }},
          {"GSL", [](auto& x) { return gsl_cdf_chisq_Pinv(x[0], 2 * x[1]); }},
          {"Boost", [](auto& x) { return bm::quantile(bm::chi_squared_distribution<double, Policy>(2 * x[1]), x[0]); }}}},
        {"F_cdf", make_inputs([](double u, int i) { return Args{-2 * std::log1p(-u), 2 * shape(i), 2 * shape(i + 3)}; }),
         [](auto& x) { return orvls_d_F_cdf(x[0], x[1], x[2]); }, [](auto& x) { return floors::F_cdf(x[0], x[1], x[2]); },
         {{"R", [](auto& x) { return pf(x[0], x[1], x[2], 1, 0); }},
          {"GSL", [](auto& x) { return gsl_cdf_fdist_P(x[0], x[1], x[2]); }},
          {"Boost", [](auto& x) { return bm::cdf(bm::fisher_f_distribution<double, Policy>(x[1], x[2]), x[0]); }}}},
        {"F_inverse", make_inputs([](double u, int i) { return Args{u, 2 * shape(i), 2 * shape(i + 3)}; }),
         [](auto& x) { return orvls_d_F_inverse_cdf(x[0], x[1], x[2]); },
         [](auto& x) { return floors::F_inverse(x[0], x[1], x[2]); },
         {{"R", [](auto& x) { return qf(x[0], x[1], x[2], 1, 0); }},
          {"GSL", [](auto& x) { return gsl_cdf_fdist_Pinv(x[0], x[1], x[2]); }},
          {"Boost", [](auto& x) { return bm::quantile(bm::fisher_f_distribution<double, Policy>(x[1], x[2]), x[0]); }}}},
        {"gamma_cdf", make_inputs(quantile_of_gamma), [](auto& x) { return orvls_d_gamma_cdf(x[0], x[1]); },
         [](auto& x) { return floors::gamma_cdf(x[0], x[1]); },
         {{"R", [](auto& x) { return pgamma(x[0], x[1], 1, 1, 0); }},
          {"GSL", [](auto& x) { return gsl_cdf_gamma_P(x[0], x[1], 1); }},
          {"Boost", [](auto& x) { return bm::cdf(bm::gamma_distribution<double, Policy>(x[1]), x[0]); }}}},
        {"gamma_inverse", make_inputs(probability), [](auto& x) { return orvls_d_gamma_inverse_cdf(x[0], x[1]); },
         [](auto& x) { return floors::gamma_inverse(x[0], x[1]); },
         {{"R", [](auto& x) { return qgamma(x[0], x[1], 1, 1, 0); }},
          {"GSL", [](auto& x) { return gsl_cdf_gamma_Pinv(x[0], x[1], 1); }},
          {"Boost", [](auto& x) { return bm::quantile(bm::gamma_distribution<double, Policy>(x[1]), x[0]); }}}},
        {"beta_cdf", make_inputs(probability), [](auto& x) { return orvls_d_beta_cdf(x[0], x[1], x[2]); },
         [](auto& x) { return floors::beta_cdf(x[0], x[1], x[2]); },
         {{"R", [](auto& x) { return pbeta(x[0], x[1], x[2], 1, 0); }},
          {"GSL", [](auto& x) { return gsl_cdf_beta_P(x[0], x[1], x[2]); }},
          {"Boost", [](auto& x) { return bm::cdf(bm::beta_distribution<double, Policy>(x[1], x[2]), x[0]); }}}},
        {"beta_inverse", make_inputs(probability), [](auto& x) { return orvls_d_beta_inverse_cdf(x[0], x[1], x[2]); },
         [](auto& x) { return floors::beta_inverse(x[0], x[1], x[2]); },
         {{"R", [](auto& x) { return qbeta(x[0], x[1], x[2], 1, 0); }},
          {"GSL", [](auto& x) { return gsl_cdf_beta_Pinv(x[0], x[1], x[2]); }},
          {"Boost", [](auto& x) { return bm::quantile(bm::beta_distribution<double, Policy>(x[1], x[2]), x[0]); }}}},
        {"owen_t", make_inputs([](double u, int i) { return Args{8 * u, 0.125 * shape(i), 0}; }),
         [](auto& x) { return orvls::l_owen_t(x[0], x[1]); }, nullptr,
         {{"Boost", [](auto& x) { return bm::owens_t(x[0], x[1], Policy()); }}}},
        {"bivariate_normal_cdf",
         make_inputs([](double u, int i) { return Args{6 * u - 3, 3 - 6 * spread(i + 7), 0.9 * std::cos(i)}; }),
         [](auto& x) { return orvls_d_bivariate_normal_cdf(x[0], x[1], x[2]); },
         [](auto& x) { return floors::bivariate_normal_cdf(x[0], x[1], x[2]); }, {}},
    };
}

}  // namespace

int main(int argc, char** argv)
{
    gsl_set_error_handler_off();
    static const std::vector<ratio_table::Case> all = cases();
    return ratio_table::main(argc, argv, all);
}
