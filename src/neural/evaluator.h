// A network flattened into plain arrays, and the evaluator that the trainer
// and the forecasts share: the forward pass of one row, the error sum of
// squares and its gradient over the flagged observations.
//
// Weights are positional: the forward pass walks the perceptrons (the
// non-input nodes) in order and, in each, its in-links in list order,
// taking the next entry of the weight vector for each; the biases follow,
// one per perceptron.  In-link sources are one-based: an input node's index
// plus 1 in the first hidden layer (or the output layer when there is no
// hidden layer), a perceptron number plus 1 everywhere else.
#pragma once

#include <cstdint>

#include "frame/memory.h"
#include "neural/network.h"

namespace orvls::neural {

// The perceptron table and the in-link sources of a network.
struct FlatNetwork {
    // The counts of the record, and room for the arrays (ok() tells).
    explicit FlatNetwork(const orvls_f_ff_net& net) : FlatNetwork(net.n_layers, net.layers, net.n_nodes, net.n_links) {}
    explicit FlatNetwork(const orvls_d_ff_net& net) : FlatNetwork(net.n_layers, net.layers, net.n_nodes, net.n_links) {}
    FlatNetwork(int64_t layers, const orvls_ff_layer* layer, int64_t nodes, int64_t links);
    bool ok() const { return storage.ok(); }

    int64_t n_layers;
    int64_t n_inputs;
    int64_t n_perceptrons;
    int64_t n_outputs;
    int64_t n_links;  // the record's; equal to the in-links of all perceptrons
    int64_t n_weights;
    // Larger of the input and perceptron counts: every source, read either
    // way, falls within arrays of this length.
    int64_t width;
    WorkArray<int64_t> storage;
    int64_t* hidden_sizes = nullptr;  // n_layers - 2, at least one element
    int64_t* activation = nullptr;    // per perceptron
    int64_t* layer_id = nullptr;      // per perceptron
    int64_t* in_count = nullptr;      // per perceptron
    int64_t* out_count = nullptr;     // per perceptron; output perceptrons count 1
    int64_t* first_link = nullptr;    // per perceptron and one more: its first weight entry
    int64_t* sources = nullptr;       // per in-link entry, one-based

    int64_t first_output() const { return n_perceptrons - n_outputs; }
};

// Fills the flat arrays; false after raising 200 (memory) or 40087 (a link
// table whose lists disagree with it).
template <class Real>
bool flatten(const Net<Real>& net, FlatNetwork& flat);

// Refuses an activation code outside 0..3 (40088); true when all pass.
bool check_activations(const FlatNetwork& flat);

// The data of the observations: row i of network inputs is categorical
// row i (as reals) followed by continuous row i.
template <class Real>
struct Observations {
    Observations() = default;
    // Rows stored without gaps.
    Observations(int64_t rows, int64_t n_cat, int64_t n_cont, const int64_t* cat, const Real* cont, const Real* out)
        : n_observations(rows), n_categorical(n_cat), n_continuous(n_cont), categorical(cat), continuous(cont),
          output(out), categorical_col_dim(n_cat), continuous_col_dim(n_cont)
    {
    }
    int64_t n_observations = 0;
    int64_t n_categorical = 0;
    int64_t n_continuous = 0;
    const int64_t* categorical = nullptr;
    const Real* continuous = nullptr;
    const Real* output = nullptr;  // targets, n_outputs per row; null when forecasting
    int64_t categorical_col_dim = 0;
    int64_t continuous_col_dim = 0;
};

template <class Real>
class Evaluator {
public:
    Evaluator(const FlatNetwork& flat, const Observations<Real>& data);
    // False after raising 201 when the work arrays cannot be had.
    bool ready();

    // Loads row i and runs the forward pass; the outputs are then at outputs().
    void forecast(int64_t i, const Real* weights);
    const Real* outputs() const { return activations_ + flat_.first_output(); }

    // Half the sum of squared errors over the flagged rows, counted in
    // *counter; a sum that is not finite raises 40086 (type 3), is not
    // counted and gives the largest real.
    Real error_sum(const Real* weights);
    // The gradient of the error by back-propagation over the flagged rows.
    void gradient(const Real* weights, Real* g);

    int64_t n_weights() const { return flat_.n_weights; }
    void flag_all(int64_t value);
    int64_t* flags() const { return flags_.get(); }
    int64_t counter = 0;
    int64_t bad_activations = 0;

private:
    void load_row(int64_t i);
    void backward(const Real* target, const Real* weights, Real* g);
    Real output_delta(int64_t p, Real e);
    void hidden_layer_back(int64_t layer, int64_t first, int64_t last, Real last_error, const Real* weights, Real* g);

    const FlatNetwork& flat_;
    const Observations<Real>& data_;
    WorkArray<int64_t> flags_;
    WorkArray<Real> reals_;
    Real *inputs_ = nullptr, *activations_ = nullptr, *back_ = nullptr, *delta_ = nullptr;
};

// The optimiser's view of the evaluator: the error and its gradient with a
// data pointer.
template <class Real>
void l_ssCalculation(int64_t n, const Real* weights, Real* f, void* evaluator);
template <class Real>
void l_gradCalculation(int64_t n, const Real* weights, Real* g, void* evaluator);

// The weight vector of a network: link weights in table order, then the
// biases of the perceptrons in node order.
template <class Real>
void gather_weights(const Net<Real>& net, const FlatNetwork& flat, Real* weights);

}  // namespace orvls::neural
