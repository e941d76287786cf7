// Each special function against R's standalone math library, glibc, GSL
// and Boost.Math on the same inputs in one run, beside its floor (the
// prescribed arithmetic alone); see bench/ratio_table.h for the table.
#include <Rmath.h>
#include <boost/math/special_functions/beta.hpp>
#include <boost/math/special_functions/binomial.hpp>
#include <boost/math/special_functions/erf.hpp>
#include <boost/math/special_functions/factorials.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <gsl/gsl_errno.h>
#include <gsl/gsl_sf_erf.h>
#include <gsl/gsl_sf_gamma.h>
#include <gsl/gsl_cdf.h>
#include <cmath>

#include "floors.h"
#include "ratio_table.h"

namespace {

using ratio_table::Args;
using Policy = boost::math::policies::policy<boost::math::policies::promote_double<false>>;
namespace bm = boost::math;

// n points spread over [low, high] in each argument, shuffled
// deterministically so that branches are not predicted from the order.
std::vector<Args> grid(std::vector<std::pair<double, double>> ranges, size_t n = 512)
{
    std::vector<Args> out(n);
    uint64_t state = 88172645463325252ull;
    for (auto& point : out)
        for (size_t j = 0; j < ranges.size(); ++j) {
            state ^= state << 13, state ^= state >> 7, state ^= state << 17;
            const double u = double(state >> 11) * 0x1p-53;
            point[j] = ranges[j].first + u * (ranges[j].second - ranges[j].first);
        }
    return out;
}

std::vector<Args> integers(std::vector<Args> points)
{
    for (auto& p : points)
        for (auto& v : p)
            v = std::floor(v);
    return points;
}

constexpr double kSqrt2 = 1.4142135623730951;

std::vector<ratio_table::Case> cases()
{
    return {
        {"gamma", grid({{0.1, 30}}), [](auto& v) { return orvls_d_gamma(v[0]); }, [](auto& v) { return floors::gamma(v[0]); },
         {{"R", [](auto& v) { return gammafn(v[0]); }},
          {"glibc", [](auto& v) { return std::tgamma(v[0]); }},
          {"GSL", [](auto& v) { return gsl_sf_gamma(v[0]); }},
          {"Boost", [](auto& v) { return bm::tgamma(v[0], Policy()); }}}},
        {"log_gamma", grid({{0.1, 1000}}), [](auto& v) { return orvls_d_log_gamma(v[0]); },
         [](auto& v) { return floors::log_gamma(v[0]); },
         {{"R", [](auto& v) { return lgammafn(v[0]); }},
          {"glibc", [](auto& v) { return std::lgamma(v[0]); }},
          {"GSL", [](auto& v) { return gsl_sf_lngamma(v[0]); }},
          {"Boost", [](auto& v) { return bm::lgamma(v[0], Policy()); }}}},
        {"gamma_incomplete", grid({{0.5, 20}, {0.1, 30}}), [](auto& v) { return orvls_d_gamma_incomplete(v[0], v[1]); },
         [](auto& v) { return floors::gamma_incomplete(v[0], v[1]); },
         {{"R", [](auto& v) { return pgamma(v[1], v[0], 1, 1, 0) * gammafn(v[0]); }},
          {"GSL", [](auto& v) { return gsl_sf_gamma_inc_P(v[0], v[1]) * gsl_sf_gamma(v[0]); }},
          {"Boost", [](auto& v) { return bm::tgamma_lower(v[0], v[1], Policy()); }}}},
        {"beta", grid({{0.1, 50}, {0.1, 50}}), [](auto& v) { return orvls_d_beta(v[0], v[1]); },
         [](auto& v) { return floors::beta(v[0], v[1]); },
         {{"R", [](auto& v) { return beta(v[0], v[1]); }},
          {"GSL", [](auto& v) { return gsl_sf_beta(v[0], v[1]); }},
          {"Boost", [](auto& v) { return bm::beta(v[0], v[1], Policy()); }}}},
        {"log_beta", grid({{0.1, 50}, {0.1, 50}}), [](auto& v) { return orvls_d_log_beta(v[0], v[1]); },
         [](auto& v) { return floors::log_beta(v[0], v[1]); },
         {{"R", [](auto& v) { return lbeta(v[0], v[1]); }},
          {"GSL", [](auto& v) { return gsl_sf_lnbeta(v[0], v[1]); }}}},
        {"beta_incomplete", grid({{0, 1}, {0.5, 30}, {0.5, 30}}),
         [](auto& v) { return orvls_d_beta_incomplete(v[0], v[1], v[2]); },
         [](auto& v) { return floors::beta_incomplete(v[0], v[1], v[2]); },
         {{"R", [](auto& v) { return pbeta(v[0], v[1], v[2], 1, 0); }},
          {"GSL", [](auto& v) { return gsl_sf_beta_inc(v[1], v[2], v[0]); }},
          {"Boost", [](auto& v) { return bm::ibeta(v[1], v[2], v[0], Policy()); }}}},
        {"erf", grid({{-4, 4}}), [](auto& v) { return orvls_d_erf(v[0]); }, [](auto& v) { return floors::erf(v[0]); },
         {{"R", [](auto& v) { return 2 * pnorm(v[0] * kSqrt2, 0, 1, 1, 0) - 1; }},
          {"glibc", [](auto& v) { return std::erf(v[0]); }},
          {"GSL", [](auto& v) { return gsl_sf_erf(v[0]); }},
          {"Boost", [](auto& v) { return bm::erf(v[0], Policy()); }}}},
        {"erfc", grid({{-4, 10}}), [](auto& v) { return orvls_d_erfc(v[0]); }, [](auto& v) { return floors::erfc(v[0]); },
         {{"R", [](auto& v) { return 2 * pnorm(-v[0] * kSqrt2, 0, 1, 1, 0); }},
          {"glibc", [](auto& v) { return std::erfc(v[0]); }},
          {"GSL", [](auto& v) { return gsl_sf_erfc(v[0]); }},
          {"Boost", [](auto& v) { return bm::erfc(v[0], Policy()); }}}},
        {"erfc_inverse", grid({{1e-6, 2 - 1e-6}}), [](auto& v) { return orvls_d_erfc_inverse(v[0]); },
         [](auto& v) { return floors::erfc_inverse(v[0]); },
         {{"R", [](auto& v) { return -qnorm(v[0] / 2, 0, 1, 1, 0) / kSqrt2; }},
          {"GSL", [](auto& v) { return -gsl_cdf_ugaussian_Pinv(v[0] / 2) / kSqrt2; }},
          {"Boost", [](auto& v) { return bm::erfc_inv(v[0], Policy()); }}}},
        {"factorial", integers(grid({{0, 21}})), [](auto& v) { return double(orvls_d_factorial(int64_t(v[0]))); },
         [](auto& v) { return double(floors::factorial(int64_t(v[0]))); },
         {{"R", [](auto& v) { return gammafn(v[0] + 1); }},
          {"GSL", [](auto& v) { return gsl_sf_fact(unsigned(v[0])); }},
          {"Boost", [](auto& v) { return bm::factorial<double>(unsigned(v[0]), Policy()); }}}},
        {"binomial_coefficient", integers(grid({{40, 1000}, {0, 40}})),
         [](auto& v) { return orvls_d_binomial_coefficient(int64_t(v[0]), int64_t(v[1])); },
         [](auto& v) { return floors::binomial(int64_t(v[0]), int64_t(v[1])); },
         {{"R", [](auto& v) { return choose(v[0], v[1]); }},
          {"GSL", [](auto& v) { return gsl_sf_choose(unsigned(v[0]), unsigned(v[1])); }},
          {"Boost", [](auto& v) { return bm::binomial_coefficient<double>(unsigned(v[0]), unsigned(v[1]), Policy()); }}}},
    };
}

}  // namespace

int main(int argc, char** argv)
{
    gsl_set_error_handler_off();
    static const std::vector<ratio_table::Case> all = cases();
    return ratio_table::main(argc, argv, all);
}
