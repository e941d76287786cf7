// The error gradient of the trainer on random networks of every activation
// function: against central differences of the error where back-propagation
// is exact, and against a reference written here from the documented rules
// (the tanh and squash rows, the output bias taking the error, the shifted
// hidden bias positions with several outputs) everywhere.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "neural/evaluator.h"
#include "neural_support.h"

namespace {

using orvls::neural::Evaluator;
using orvls::neural::FlatNetwork;
using orvls::neural::Observations;

struct Shape {
    int inputs, hidden, outputs;
    int64_t hidden_code, output_code;
};

double activate(int64_t code, double x)
{
    switch (code) {
    case 1: return 1 / (std::exp(-x) + 1);
    case 2: return std::tanh(x);
    case 3: return x / (std::fabs(x) + 1);
    default: return x;
    }
}

// The documented gradient of half the sum of squares, for one fully linked
// hidden layer, weights by position: hidden h, input i at h * inputs + i;
// output j, hidden h at hidden * inputs + j * hidden + h; biases after.
std::vector<double> reference_gradient(const Shape& s, const std::vector<double>& w, const std::vector<double>& x,
                                       const std::vector<double>& t, int rows)
{
    const int n_links = s.hidden * s.inputs + s.outputs * s.hidden;
    const int n_weights = n_links + s.hidden + s.outputs;
    std::vector<double> g(n_weights, 0), a(s.hidden), b(s.hidden);
    for (int r = 0; r < rows; ++r) {
        const double* in = &x[r * s.inputs];
        for (int h = 0; h < s.hidden; ++h) {
            double z = w[n_links + h];
            for (int i = 0; i < s.inputs; ++i)
                z += w[h * s.inputs + i] * in[i];
            a[h] = activate(s.hidden_code, z);
        }
        std::fill(b.begin(), b.end(), 0.0);
        double e = 0;
        for (int j = 0; j < s.outputs; ++j) {
            const int first = s.hidden * s.inputs + j * s.hidden;
            double z = w[n_links + s.hidden + j];
            for (int h = 0; h < s.hidden; ++h)
                z += w[first + h] * a[h];
            const double out = activate(s.output_code, z);
            e = out - t[r * s.outputs + j];
            const double factor[4] = {1, (1 - out) * out, 1 - std::tanh(out) * std::tanh(out),
                                      (1 - std::fabs(out)) * (1 - std::fabs(out))};
            const double delta = factor[s.output_code] * e;
            for (int h = 0; h < s.hidden; ++h) {
                b[h] += delta * w[first + h];
                g[first + h] += delta * a[h];
            }
            g[n_weights - s.outputs + j] += e;
        }
        for (int h = 0; h < s.hidden; ++h) {
            const double squash = 1 - std::fabs(a[h] / (std::fabs(a[h]) + 1));
            const double deltas[4] = {b[h], (1 - a[h]) * a[h] * b[h], (1 - std::tanh(a[h]) * std::tanh(a[h])) * e,
                                      squash * squash};
            const double delta = deltas[s.hidden_code];
            for (int i = 0; i < s.inputs; ++i)
                g[h * s.inputs + i] += in[i] * delta;
            const int position = n_links + h + 1 - s.outputs;
            if (position >= 0)
                g[position] += delta;
        }
    }
    return g;
}

struct Case {
    Shape shape;
    orvls_d_ff_net* net = nullptr;
    std::vector<double> w, x, t;
    int rows = 7;
    explicit Case(const Shape& s, unsigned seed) : shape(s)
    {
        net = layered_network<double>({s.inputs, s.hidden, s.outputs});
        std::vector<int64_t> hidden_codes(s.hidden, s.hidden_code), output_codes(s.outputs, s.output_code);
        // One call sets one layer: an option given twice keeps its last values.
        orvls_d_mlff_network(net, ORVLS_ACTIVATION_FCN, int64_t(1), hidden_codes.data(), 0);
        orvls_d_mlff_network(net, ORVLS_ACTIVATION_FCN, int64_t(2), output_codes.data(), 0);
        std::mt19937 engine(seed);
        std::uniform_real_distribution<double> uniform(-1, 1);
        const int n_weights = int(net->n_links) + s.hidden + s.outputs;
        for (int i = 0; i < n_weights; ++i)
            w.push_back(uniform(engine));
        for (int i = 0; i < rows * s.inputs; ++i)
            x.push_back(2 * uniform(engine));
        for (int i = 0; i < rows * s.outputs; ++i)
            t.push_back(s.output_code == 0 ? uniform(engine) : 0.4 * uniform(engine));
    }
    ~Case() { orvls_d_mlff_network_free(net); }
};

// The library's gradient and its error function at w.
struct Library {
    FlatNetwork flat;
    Observations<double> data;
    Evaluator<double> evaluator;
    static Observations<double> observations(const Case& c)
    {
        Observations<double> data;
        data.n_observations = c.rows;
        data.n_continuous = data.continuous_col_dim = c.shape.inputs;
        data.continuous = c.x.data();
        data.output = c.t.data();
        return data;
    }
    explicit Library(const Case& c) : flat(*c.net), data(observations(c)), evaluator(flat, data)
    {
        EXPECT_TRUE(orvls::neural::flatten<double>(*c.net, flat));
        EXPECT_TRUE(evaluator.ready());
    }
};

TEST(Gradient, EveryActivationAgainstDifferencesAndTheDocumentedRules)
{
    ErrorCapture capture;
    double worst_difference = 0;
    unsigned seed = 1;
    for (int outputs : {1, 2})
        for (int64_t hidden_code = 0; hidden_code < 4; ++hidden_code)
            for (int64_t output_code = 0; output_code < 4; ++output_code) {
                const Case c({3, 4, outputs, hidden_code, output_code}, seed++);
                SCOPED_TRACE(testing::Message() << "outputs " << outputs << " hidden " << hidden_code << " output "
                                                << output_code);
                Library library(c);
                const size_t n = c.w.size();
                std::vector<double> g(n);
                library.evaluator.gradient(c.w.data(), g.data());
                const std::vector<double> reference = reference_gradient(c.shape, c.w, c.x, c.t, c.rows);
                double largest = 0;
                for (double v : reference)
                    largest = std::max(largest, std::fabs(v));
                for (size_t k = 0; k < n; ++k)
                    EXPECT_NEAR(g[k], reference[k], 1e-13 * largest) << k;

                // Back-propagation is exact for linear and logistic hidden
                // nodes, linear, logistic and squash outputs (but for the bias
                // of a nonlinear output, which takes the error), and one output.
                const bool exact = outputs == 1 && hidden_code <= 1 && output_code != 2;
                if (!exact)
                    continue;
                std::vector<double> w = c.w;
                for (size_t k = 0; k < n; ++k) {
                    if (output_code != 0 && k == n - 1)
                        continue;
                    const double h = 1e-5 * std::max(1.0, std::fabs(w[k]));
                    w[k] = c.w[k] + h;
                    const double up = library.evaluator.error_sum(w.data());
                    w[k] = c.w[k] - h;
                    const double down = library.evaluator.error_sum(w.data());
                    w[k] = c.w[k];
                    const double difference = (up - down) / (2 * h);
                    const double relative = std::fabs(g[k] - difference) / std::max(std::fabs(difference), largest);
                    worst_difference = std::max(worst_difference, relative);
                    EXPECT_LT(relative, 1e-7) << k;
                }
            }
    std::printf("gradient against central differences: worst relative difference %.2e\n", worst_difference);
}

}  // namespace
