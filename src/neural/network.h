// The network records of either precision, for the templates of the family.
#pragma once

#include <cstdint>

#include "orvls.h"

namespace orvls::neural {

template <class Real>
struct Records;
template <>
struct Records<float> {
    using Net = orvls_f_ff_net;
    using Node = orvls_f_ff_node;
    using Link = orvls_f_ff_link;
};
template <>
struct Records<double> {
    using Net = orvls_d_ff_net;
    using Node = orvls_d_ff_node;
    using Link = orvls_d_ff_link;
};

template <class Real>
using Net = typename Records<Real>::Net;
template <class Real>
using Node = typename Records<Real>::Node;
template <class Real>
using Link = typename Records<Real>::Link;

// The public name of a routine's float or double form.
template <class Real>
constexpr const char* public_name(const char* float_name, const char* double_name)
{
    return sizeof(Real) == sizeof(float) ? float_name : double_name;
}

// Input nodes are the first layer; the others are the perceptrons.
template <class Real>
int64_t input_count(const Net<Real>& net)
{
    return net.layers[0].n_nodes;
}
template <class Real>
int64_t output_count(const Net<Real>& net)
{
    return net.layers[net.n_layers - 1].n_nodes;
}

// Refuses a null network (150 with its argument name); true when refused.
bool refuse_null_network(const void* net, const char* name);

}  // namespace orvls::neural
