// Forecasts of a fixed network against a forward pass written here, row
// lengths, and the errors.
#include <gtest/gtest.h>

#include <cmath>

#include "neural_support.h"

namespace {

double activate(int64_t code, double x)
{
    return code == 1 ? 1 / (1 + std::exp(-x)) : code == 2 ? std::tanh(x) : code == 3 ? x / (1 + std::fabs(x)) : x;
}

// Inputs: one categorical and two continuous; hidden layers of 3 (logistic,
// tanh, squash) and 2 (linear, logistic); outputs linear and squash.
template <class Real>
struct Fixed {
    typename Api<Real>::Net* net = layered_network<Real>({3, 3, 2, 2});
    std::vector<Real> weights;
    const int64_t codes1[3] = {1, 2, 3}, codes2[2] = {0, 1}, codes3[2] = {0, 3};
    const Real bias1[3] = {Real(0.1), Real(-0.2), Real(0.3)}, bias2[2] = {Real(0.05), Real(-0.4)},
               bias3[2] = {Real(0.7), Real(-0.1)};
    Fixed()
    {
        for (int i = 0; i < 3 * 3 + 3 * 2 + 2 * 2; ++i)
            weights.push_back(static_cast<Real>(std::sin(1.3 * i + 0.4)));
        Api<Real>::network(net, ORVLS_ACTIVATION_FCN, int64_t(1), codes1, ORVLS_BIAS, 1, bias1, ORVLS_WEIGHTS,
                           weights.data(), 0);
        Api<Real>::network(net, ORVLS_ACTIVATION_FCN, int64_t(2), codes2, ORVLS_BIAS, 2, bias2, 0);
        Api<Real>::network(net, ORVLS_ACTIVATION_FCN, int64_t(3), codes3, ORVLS_BIAS, 3, bias3, 0);
    }
    ~Fixed() { Api<Real>::free(net); }

    // Weights by position: each non-input node in order takes the next
    // entries for its in-links, which come from the whole layer before it.
    void expected(double c, double x1, double x2, double out[2]) const
    {
        const double in[3] = {c, x1, x2};
        double h1[3], h2[2];
        int k = 0;
        for (int p = 0; p < 3; ++p) {
            double z = bias1[p];
            for (double v : in)
                z += weights[k++] * v;
            h1[p] = activate(codes1[p], z);
        }
        for (int p = 0; p < 2; ++p) {
            double z = bias2[p];
            for (double v : h1)
                z += weights[k++] * v;
            h2[p] = activate(codes2[p], z);
        }
        for (int p = 0; p < 2; ++p) {
            double z = bias3[p];
            for (double v : h2)
                z += weights[k++] * v;
            out[p] = activate(codes3[p], z);
        }
    }
};

template <class Real>
void check_forecasts(double tolerance)
{
    Fixed<Real> fixed;
    const int64_t categorical[4] = {0, 1, 2, 3};
    // Rows of 2 continuous values padded to 3; results in rows of 3.
    const Real continuous[12] = {Real(0.5), Real(-1), 99, Real(1.5), Real(2), 99, Real(-0.3), 0, 99, 4, Real(-2), 99};
    Real result[12];
    Real* r = Api<Real>::forecast(fixed.net, 4, 1, 2, categorical, continuous, ORVLS_CONTINUOUS_COL_DIM, 3,
                                  ORVLS_RETURN_USER, result, ORVLS_RETURN_COL_DIM, 3, 0);
    ASSERT_EQ(r, result);
    for (int i = 0; i < 4; ++i) {
        double out[2];
        fixed.expected(double(categorical[i]), continuous[3 * i], continuous[3 * i + 1], out);
        EXPECT_NEAR(result[3 * i], out[0], tolerance);
        EXPECT_NEAR(result[3 * i + 1], out[1], tolerance);
    }
}

TEST(Forecast, FixedNetworkAgainstAnIndependentForwardPass)
{
    ErrorCapture capture;
    check_forecasts<double>(1e-14);
    check_forecasts<float>(2e-6);
}

TEST(Forecast, Errors)
{
    ErrorCapture capture;
    static Fixed<double> fixed;
    static const int64_t categorical[2] = {1, 2};
    static const double continuous[4] = {1, 2, 3, 4};
    struct Case {
        Outcome outcome;
        double* (*run)();
    };
    const Case cases[] = {
        {{5, 150}, [] { return orvls_d_mlff_network_forecast(nullptr, 2, 1, 2, categorical, continuous, 0); }},
        {{5, 603}, [] { return orvls_d_mlff_network_forecast(fixed.net, 0, 1, 2, categorical, continuous, 0); }},
        {{5, 603}, [] { return orvls_d_mlff_network_forecast(fixed.net, 2, -1, 4, categorical, continuous, 0); }},
        {{5, 40085}, [] { return orvls_d_mlff_network_forecast(fixed.net, 2, 1, 1, categorical, continuous, 0); }},
        {{5, 600}, [] {
             return orvls_d_mlff_network_forecast(fixed.net, 2, 1, 2, categorical, continuous,
                                                  ORVLS_CONTINUOUS_COL_DIM, 1, 0);
         }},
        {{5, 600}, [] {
             return orvls_d_mlff_network_forecast(fixed.net, 2, 1, 2, categorical, continuous,
                                                  ORVLS_CATEGORICAL_COL_DIM, 0, 0);
         }},
        {{5, 600}, [] {
             return orvls_d_mlff_network_forecast(fixed.net, 2, 1, 2, categorical, continuous, ORVLS_RETURN_COL_DIM,
                                                  1, 0);
         }},
        {{5, 150}, [] { return orvls_d_mlff_network_forecast(fixed.net, 2, 1, 2, categorical, nullptr, 0); }},
        {{5, 104}, [] {
             return orvls_d_mlff_network_forecast(fixed.net, 2, 1, 2, categorical, continuous, ORVLS_RETURN_USER,
                                                  nullptr, 0);
         }},
        {{5, 11001}, [] { return orvls_d_mlff_network_forecast(fixed.net, 2, 1, 2, categorical, continuous, 5, 0); }},
        {{5, 40088}, [] {
             fixed.net->nodes[4].activation_fcn = -1;
             double* r = orvls_d_mlff_network_forecast(fixed.net, 2, 1, 2, categorical, continuous, 0);
             fixed.net->nodes[4].activation_fcn = 2;
             return r;
         }},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.run(), nullptr);
        EXPECT_EQ(last_outcome(), c.outcome) << c.outcome.code;
    }
}

}  // namespace
