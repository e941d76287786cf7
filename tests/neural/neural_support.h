// Shared pieces of the network tests: the public routines in either
// precision, small networks, and the training data sets.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "capture.h"
#include "orvls.h"

template <class Real>
struct Api;
template <>
struct Api<float> {
    using Net = orvls_f_ff_net;
    static Net* init(int64_t i, int64_t o) { return orvls_f_mlff_network_init(i, o); }
    template <class... A>
    static void network(Net* n, A... a) { orvls_f_mlff_network(n, a...); }
    static void free(Net* n) { orvls_f_mlff_network_free(n); }
    template <class... A>
    static float* train(Net* n, int64_t obs, int64_t cat, int64_t cont, const int64_t* c, const float* x,
                        const float* y, A... a)
    {
        return orvls_f_mlff_network_trainer(n, obs, cat, cont, c, x, y, a...);
    }
    template <class... A>
    static float* forecast(const Net* n, int64_t obs, int64_t cat, int64_t cont, const int64_t* c, const float* x,
                           A... a)
    {
        return orvls_f_mlff_network_forecast(n, obs, cat, cont, c, x, a...);
    }
};
template <>
struct Api<double> {
    using Net = orvls_d_ff_net;
    static Net* init(int64_t i, int64_t o) { return orvls_d_mlff_network_init(i, o); }
    template <class... A>
    static void network(Net* n, A... a) { orvls_d_mlff_network(n, a...); }
    static void free(Net* n) { orvls_d_mlff_network_free(n); }
    template <class... A>
    static double* train(Net* n, int64_t obs, int64_t cat, int64_t cont, const int64_t* c, const double* x,
                         const double* y, A... a)
    {
        return orvls_d_mlff_network_trainer(n, obs, cat, cont, c, x, y, a...);
    }
    template <class... A>
    static double* forecast(const Net* n, int64_t obs, int64_t cat, int64_t cont, const int64_t* c, const double* x,
                            A... a)
    {
        return orvls_d_mlff_network_forecast(n, obs, cat, cont, c, x, a...);
    }
};

// A fully linked network of the given layer sizes (input first).
template <class Real>
typename Api<Real>::Net* layered_network(const std::vector<int>& sizes)
{
    auto* net = Api<Real>::init(sizes.front(), sizes.back());
    for (size_t l = 1; l + 1 < sizes.size(); ++l)
        Api<Real>::network(net, ORVLS_CREATE_HIDDEN_LAYER, sizes[l], 0);
    Api<Real>::network(net, ORVLS_LINK_ALL, 0);
    return net;
}

// The sine curve on [0, 2 pi] at n evenly spaced points.
template <class Real>
void sine_data(int n, std::vector<Real>& x, std::vector<Real>& y)
{
    x.resize(n);
    y.resize(n);
    for (int i = 0; i < n; ++i) {
        x[i] = static_cast<Real>(2 * M_PI * i / (n - 1));
        y[i] = static_cast<Real>(std::sin(2 * M_PI * i / (n - 1)));
    }
}
