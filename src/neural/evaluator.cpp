#include "neural/evaluator.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "frame/machine.h"

namespace orvls::neural {

namespace {

bool lists_disagree(int64_t p, int64_t in_count, int64_t out_count)
{
    orvls_e1stl(1, "inLinks");
    orvls_e1sti(1, in_count);
    orvls_e1stl(2, "outLinks");
    orvls_e1sti(2, out_count);
    orvls_e1sti(3, p);
    orvls_e1sti(4, 0);
    orvls_ermes(5, 40087);
    return false;
}

template <class Real>
Real activate(int64_t code, Real x)
{
    switch (code) {
    case 1: return 1 / (std::exp(-x) + 1);
    case 2: return std::tanh(x);
    case 3: return x / (std::fabs(x) + 1);
    default: return x;
    }
}

}  // namespace

FlatNetwork::FlatNetwork(int64_t layers, const orvls_ff_layer* layer, int64_t nodes, int64_t links)
    : n_layers(layers), n_inputs(layer[0].n_nodes), n_perceptrons(nodes - n_inputs),
      n_outputs(layer[layers - 1].n_nodes), n_links(links), n_weights(n_links + n_perceptrons),
      width(std::max(n_inputs, n_perceptrons)),
      storage(static_cast<std::size_t>(std::max<int64_t>(n_layers - 2, 1) + 5 * n_perceptrons + 1 +
                                       std::max<int64_t>(n_links, 0)))
{
    if (!storage.ok())
        return;
    hidden_sizes = storage.get();
    activation = hidden_sizes + std::max<int64_t>(n_layers - 2, 1);
    layer_id = activation + n_perceptrons;
    in_count = layer_id + n_perceptrons;
    out_count = in_count + n_perceptrons;
    first_link = out_count + n_perceptrons;
    sources = first_link + n_perceptrons + 1;
}

template <class Real>
bool flatten(const Net<Real>& net, FlatNetwork& flat)
{
    if (!flat.ok()) {
        orvls_ermes(5, 200);
        return false;
    }
    flat.hidden_sizes[0] = 0;
    for (int64_t l = 1; l + 1 < net.n_layers; ++l)
        flat.hidden_sizes[l - 1] = net.layers[l].n_nodes;
    int64_t entry = 0;
    for (int64_t p = 0; p < flat.n_perceptrons; ++p) {
        const Node<Real>& node = net.nodes[flat.n_inputs + p];
        flat.activation[p] = node.activation_fcn;
        flat.layer_id[p] = node.layer_id;
        flat.in_count[p] = node.n_inLinks;
        flat.out_count[p] = p >= flat.first_output() ? 1 : node.n_outLinks;
        flat.first_link[p] = entry;
        if (node.n_inLinks < 0 || node.n_outLinks < 0 || entry + node.n_inLinks > net.n_links)
            return lists_disagree(p, node.n_inLinks, node.n_outLinks);
        for (int64_t k = 0; k < node.n_inLinks; ++k, ++entry) {
            const int64_t link = node.inLinks[k];
            const int64_t from = link >= 0 && link < net.n_links ? net.links[link].from_node : -1;
            if (from < 0 || from >= net.n_nodes)
                return lists_disagree(p, node.n_inLinks, node.n_outLinks);
            flat.sources[entry] = from < flat.n_inputs ? from + 1 : from - flat.n_inputs + 1;
        }
    }
    flat.first_link[flat.n_perceptrons] = entry;
    if (entry != net.n_links)
        return lists_disagree(flat.n_perceptrons - 1, entry, net.n_links);
    return true;
}

bool check_activations(const FlatNetwork& flat)
{
    for (int64_t p = 0; p < flat.n_perceptrons; ++p)
        if (flat.activation[p] < 0 || flat.activation[p] > 3) {
            orvls_e1stl(1, "activation_fcn");
            orvls_e1sti(1, flat.activation[p]);
            orvls_e1sti(2, p);
            orvls_e1sti(3, 0);
            orvls_e1sti(4, 3);
            orvls_ermes(5, 40088);
            return false;
        }
    return true;
}

template <class Real>
Evaluator<Real>::Evaluator(const FlatNetwork& flat, const Observations<Real>& data)
    : flat_(flat), data_(data), flags_(static_cast<std::size_t>(data.n_observations)),
      reals_(static_cast<std::size_t>(3 * flat.width + flat.n_weights))
{
}

template <class Real>
bool Evaluator<Real>::ready()
{
    const int64_t needed[2] = {data_.n_observations, 3 * flat_.width + flat_.n_weights};
    const bool allocated[2] = {flags_.ok(), reals_.ok()};
    const char* names[2] = {"n_obs", "n_weights"};
    for (int i = 0; i < 2; ++i)
        if (!allocated[i]) {
            orvls_e1stl(1, names[i]);
            orvls_e1sti(1, i == 0 ? needed[0] : flat_.n_weights);
            orvls_ermes(5, 201);
            return false;
        }
    std::fill(reals_.get(), reals_.get() + needed[1], Real(0));
    inputs_ = reals_.get();
    activations_ = inputs_ + flat_.width;
    back_ = activations_ + flat_.width;
    delta_ = back_ + flat_.width;
    flag_all(1);
    return true;
}

template <class Real>
void Evaluator<Real>::flag_all(int64_t value)
{
    std::fill(flags_.get(), flags_.get() + data_.n_observations, value);
}

template <class Real>
void Evaluator<Real>::load_row(int64_t i)
{
    // A kind of input the network does not take may come as a null array.
    Real* in = inputs_;
    if (data_.n_categorical > 0) {
        const int64_t* c = data_.categorical + i * data_.categorical_col_dim;
        for (int64_t k = 0; k < data_.n_categorical; ++k)
            in[k] = static_cast<Real>(c[k]);
    }
    if (data_.n_continuous > 0) {
        const Real* x = data_.continuous + i * data_.continuous_col_dim;
        std::memcpy(in + data_.n_categorical, x, static_cast<std::size_t>(data_.n_continuous) * sizeof(Real));
    }
}

// Perceptrons of the first layer after the inputs read inputs; all others
// read activations of perceptrons by number, whatever layer the link left.
template <class Real>
void Evaluator<Real>::forecast(int64_t i, const Real* weights)
{
    load_row(i);
    const Real* in = inputs_;
    Real* act = activations_;
    const Real* bias = weights + flat_.n_links;
    for (int64_t p = 0; p < flat_.n_perceptrons; ++p) {
        const Real* values = flat_.layer_id[p] == 1 ? in : act;
        Real potential = bias[p];
        for (int64_t k = flat_.first_link[p]; k < flat_.first_link[p + 1]; ++k)
            potential += weights[k] * values[flat_.sources[k] - 1];
        act[p] = activate(flat_.activation[p], potential);
    }
}

template <class Real>
Real Evaluator<Real>::error_sum(const Real* weights)
{
    double sum = 0;
    const int64_t m = flat_.n_outputs;
    for (int64_t i = 0; i < data_.n_observations; ++i) {
        if (flags_[i] != 1)
            continue;
        forecast(i, weights);
        const Real* target = data_.output + i * m;
        for (int64_t j = 0; j < m; ++j) {
            const double e = double(outputs()[j]) - double(target[j]);
            sum += 0.5 * e * e;
        }
    }
    const auto result = static_cast<Real>(sum);
    if (std::isnan(result) || std::isinf(result)) {
        orvls_ermes(3, 40086);
        return machine_table<Real>(2);
    }
    ++counter;
    return result;
}

// The derivative factor of an output, by its activation; the tanh row
// takes the tanh of the output value itself, as the trainer always has.
template <class Real>
Real Evaluator<Real>::output_delta(int64_t p, Real e)
{
    const Real a = activations_[p];
    switch (flat_.activation[p]) {
    case 0: return e;
    case 1: return (1 - a) * a * e;
    case 2: {
        const Real t = std::tanh(a);
        return (1 - t * t) * e;
    }
    case 3: return (1 - std::fabs(a)) * (1 - std::fabs(a)) * e;
    default: ++bad_activations; return e;
    }
}

// One hidden layer, perceptrons first..last.  Only the linear and logistic
// rows carry the back signal; the tanh row takes the error of the last
// output and the squash row no error at all.  These rows are the trainer's
// and stay as they are.
template <class Real>
void Evaluator<Real>::hidden_layer_back(int64_t layer, int64_t first, int64_t last, Real last_error,
                                        const Real* weights, Real* g)
{
    const Real* in = inputs_;
    const Real* act = activations_;
    Real* b = back_;
    Real* delta = delta_;
    for (int64_t p = first; p < last; ++p) {
        const Real a = act[p];
        const int64_t k0 = flat_.first_link[p], k1 = flat_.first_link[p + 1];
        for (int64_t k = k0; k < k1; ++k) {
            switch (flat_.activation[p]) {
            case 0: delta[k] = b[p]; break;
            case 1: delta[k] = (1 - a) * a * b[p]; break;
            case 2: {
                const Real t = std::tanh(a);
                delta[k] = (1 - t * t) * last_error;
                break;
            }
            case 3: {
                const Real s = 1 - std::fabs(a / (std::fabs(a) + 1));
                delta[k] = s * s;
                break;
            }
            default: ++bad_activations; break;
            }
            const int64_t s = flat_.sources[k] - 1;
            if (layer > 1) {
                b[s] += delta[k] * weights[k];
                g[k] += delta[k] * act[s];
            } else {
                g[k] += in[s] * delta[k];
            }
        }
        if (k1 == k0)
            continue;
        // The bias entry sits n_outputs - 1 below this perceptron's own bias
        // when there are several outputs; the trainer has always used it so.
        const int64_t position = p - flat_.n_outputs - flat_.n_perceptrons + flat_.n_weights + 1;
        if (position >= 0 && position < flat_.n_weights) {
            g[position] += delta[k1 - 1];
            delta[position] = delta[k1 - 1];
        }
    }
}

template <class Real>
void Evaluator<Real>::backward(const Real* target, const Real* weights, Real* g)
{
    const Real* in = inputs_;
    const Real* act = activations_;
    Real* b = back_;
    const bool hidden = flat_.n_layers > 2;
    Real e = 0;
    for (int64_t j = 0; j < flat_.n_outputs; ++j) {
        const int64_t p = flat_.first_output() + j;
        e = act[p] - target[j];
        const Real delta = output_delta(p, e);
        for (int64_t k = flat_.first_link[p]; k < flat_.first_link[p + 1]; ++k) {
            const int64_t s = flat_.sources[k] - 1;
            if (hidden) {
                b[s] += delta * weights[k];
                g[k] += delta * act[s];
            } else {
                g[k] += in[s] * delta;
            }
        }
        // The bias takes the error, not the delta.
        g[flat_.n_weights - flat_.n_outputs + j] += e;
    }
    int64_t last = flat_.first_output();
    for (int64_t layer = flat_.n_layers - 2; layer >= 1; --layer) {
        const int64_t first = last - flat_.hidden_sizes[layer - 1];
        hidden_layer_back(layer, first, last, e, weights, g);
        last = first;
    }
}

template <class Real>
void Evaluator<Real>::gradient(const Real* weights, Real* g)
{
    std::fill(g, g + flat_.n_weights, Real(0));
    for (int64_t i = 0; i < data_.n_observations; ++i) {
        if (flags_[i] != 1)
            continue;
        std::fill(back_, back_ + flat_.width, Real(0));
        forecast(i, weights);
        backward(data_.output + i * flat_.n_outputs, weights, g);
    }
}

template <class Real>
void l_ssCalculation(int64_t, const Real* weights, Real* f, void* evaluator)
{
    *f = static_cast<Evaluator<Real>*>(evaluator)->error_sum(weights);
}

template <class Real>
void l_gradCalculation(int64_t, const Real* weights, Real* g, void* evaluator)
{
    static_cast<Evaluator<Real>*>(evaluator)->gradient(weights, g);
}

template <class Real>
void gather_weights(const Net<Real>& net, const FlatNetwork& flat, Real* weights)
{
    for (int64_t i = 0; i < net.n_links; ++i)
        weights[i] = net.links[i].weight;
    for (int64_t p = 0; p < flat.n_perceptrons; ++p)
        weights[net.n_links + p] = net.nodes[flat.n_inputs + p].bias;
}

#define ORVLS_EVALUATOR(Real)                                                                    \
    template bool flatten<Real>(const Net<Real>&, FlatNetwork&);                                 \
    template class Evaluator<Real>;                                                              \
    template void l_ssCalculation<Real>(int64_t, const Real*, Real*, void*);                     \
    template void l_gradCalculation<Real>(int64_t, const Real*, Real*, void*);                   \
    template void gather_weights<Real>(const Net<Real>&, const FlatNetwork&, Real*);
ORVLS_EVALUATOR(float)
ORVLS_EVALUATOR(double)
#undef ORVLS_EVALUATOR

}  // namespace orvls::neural
