// The feed-forward network record: made with its input and output layers,
// shaped by hidden layers, activations, biases and links, printed and
// released.  The link table and the link lists grow and shrink by exact
// reallocation, one link at a time.
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "frame/report_printer.h"
#include "neural/network.h"

namespace orvls::neural {

bool refuse_null_network(const void* net, const char* name)
{
    if (net != nullptr)
        return false;
    orvls_e1stl(1, name);
    orvls_ermes(5, 150);
    return true;
}

namespace {

// A name pushed for the scope of an internal step.
class Step {
public:
    explicit Step(const char* name) : name_(name) { orvls_e1psh(name_); }
    ~Step() { orvls_e1pop(name_); }
    Step(const Step&) = delete;
    Step& operator=(const Step&) = delete;

private:
    const char* name_;
};

bool out_of_memory()
{
    orvls_ermes(5, 200);
    return false;
}

template <class Real>
void fresh_node(Node<Real>& node, int64_t layer_id, int64_t activation)
{
    node = {};
    node.layer_id = layer_id;
    node.gradient = 1;
    node.activation_fcn = activation;
}

// Layer nodes numbered first, first + 1, ...
bool initialize_layer(orvls_ff_layer& layer, int64_t first, int64_t n_nodes)
{
    Step step("initialize_Layer");
    layer.n_nodes = n_nodes;
    layer.nodes = allocate<int64_t>(static_cast<std::size_t>(n_nodes));
    if (layer.nodes == nullptr)
        return out_of_memory();
    for (int64_t i = 0; i < n_nodes; ++i)
        layer.nodes[i] = first + i;
    return true;
}

template <class Real>
void free_network(Net<Real>* net)
{
    Step step("l_mlff_network_free");
    if (net == nullptr)
        return;
    if (net->layers != nullptr)
        for (int64_t l = 0; l < net->n_layers; ++l)
            std::free(net->layers[l].nodes);
    std::free(net->layers);
    if (net->nodes != nullptr)
        for (int64_t i = 0; i < net->n_nodes; ++i) {
            std::free(net->nodes[i].inLinks);
            std::free(net->nodes[i].outLinks);
        }
    std::free(net->nodes);
    std::free(net->links);
    std::free(net);
}

template <class Real>
bool init_network(Net<Real>& net, int64_t n_inputs, int64_t n_outputs)
{
    Step step("Init_Network");
    net.layers = static_cast<orvls_ff_layer*>(orvls_calloc(2, sizeof(orvls_ff_layer)));
    net.nodes = allocate<Node<Real>>(static_cast<std::size_t>(n_inputs + n_outputs));
    if (net.layers == nullptr || net.nodes == nullptr)
        return out_of_memory();
    net.n_layers = 2;
    net.n_nodes = n_inputs + n_outputs;
    for (int64_t i = 0; i < net.n_nodes; ++i)
        fresh_node<Real>(net.nodes[i], i < n_inputs ? 0 : 1, 0);
    return initialize_layer(net.layers[0], 0, n_inputs) && initialize_layer(net.layers[1], n_inputs, n_outputs);
}

template <class Real>
Net<Real>* network_init(int64_t n_inputs, int64_t n_outputs)
{
    Step step("l_mlff_network_init");
    int64_t checks = 0;
    orvls_check_range(n_inputs, "n_inputs", 1, 0, &checks);
    orvls_check_range(n_outputs, "n_outputs", 1, 0, &checks);
    if (orvls_n1rty(0) > 0)
        return nullptr;
    auto* net = static_cast<Net<Real>*>(orvls_calloc(1, sizeof(Net<Real>)));
    if (net == nullptr) {
        out_of_memory();
        return nullptr;
    }
    if (!init_network<Real>(*net, n_inputs, n_outputs)) {
        free_network<Real>(net);
        return nullptr;
    }
    return net;
}

// ---------------------------------------------------------------- options

template <class Real>
struct Request {
    int n_perceptrons = 0;
    bool hidden_layer = false;
    int64_t activation_layer = 0;
    const int64_t* activations = nullptr;
    bool activation = false;
    int bias_layer = 0;
    const Real* biases = nullptr;
    bool bias = false;
    int link_code = 0;  // the one link option given
    int link_to = 0, link_from = 0;
    const Real* weights = nullptr;
    int64_t* n_links = nullptr;
    bool print = false;
};

template <class Real>
void read_options(OptionReader& options, Request<Real>& request, ExclusiveOptions& link_options)
{
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_CREATE_HIDDEN_LAYER:
            request.n_perceptrons = options.integer();
            request.hidden_layer = true;
            break;
        case ORVLS_ACTIVATION_FCN:
            request.activation_layer = options.integer64();
            request.activations =
                non_null_pointer<const int64_t*>(options, "activation_fcn", "ORVLS_ACTIVATION_FCN");
            request.activation = true;
            break;
        case ORVLS_BIAS:
            request.bias_layer = options.integer();
            request.biases = non_null_pointer<const Real*>(options, "bias", "ORVLS_BIAS");
            request.bias = true;
            break;
        case ORVLS_LINK_ALL:
            link_options.seen();
            request.link_code = code;
            break;
        case ORVLS_LINK_NODE:
        case ORVLS_LINK_LAYER:
        case ORVLS_REMOVE_LINK:
            link_options.seen();
            request.link_code = code;
            request.link_to = options.integer();
            request.link_from = options.integer();
            break;
        case ORVLS_WEIGHTS:
            request.weights = non_null_pointer<const Real*>(options, "weights", "ORVLS_WEIGHTS");
            break;
        case ORVLS_N_LINKS:
            request.n_links = non_null_pointer<int64_t*>(options, "n_links", "ORVLS_N_LINKS");
            break;
        case ORVLS_PRINT_NETWORK:
        case ORVLS_PRINT: request.print = true; break;
        default: options.unknown(code);
        }
    }
}

// ---------------------------------------------------------------- layers

// Inserts a layer of n logistic nodes ahead of the output layer.  Output
// nodes take new indices; the link table keeps the numbers it had.
template <class Real>
bool create_hidden_layer(Net<Real>& net, int64_t n)
{
    Step step("CreateHiddenLayer");
    const int64_t old_layers = net.n_layers;
    const orvls_ff_layer& old_output = net.layers[old_layers - 1];
    const int64_t first_output = old_output.nodes[0];
    auto* layers = static_cast<orvls_ff_layer*>(orvls_calloc(static_cast<std::size_t>(old_layers + 1),
                                                             sizeof(orvls_ff_layer)));
    auto* nodes = allocate<Node<Real>>(static_cast<std::size_t>(net.n_nodes + n));
    bool ok = layers != nullptr && nodes != nullptr;
    for (int64_t l = 0; ok && l < old_layers - 1; ++l)
        ok = initialize_layer(layers[l], net.layers[l].nodes[0], net.layers[l].n_nodes);
    ok = ok && initialize_layer(layers[old_layers - 1], first_output, n) &&
         initialize_layer(layers[old_layers], first_output + n, old_output.n_nodes);
    if (!ok) {
        for (int64_t l = 0; layers != nullptr && l <= old_layers; ++l)
            std::free(layers[l].nodes);
        std::free(layers);
        std::free(nodes);
        return layers == nullptr || nodes == nullptr ? out_of_memory() : false;
    }
    std::memcpy(nodes, net.nodes, static_cast<std::size_t>(first_output) * sizeof(Node<Real>));
    for (int64_t i = 0; i < n; ++i)
        fresh_node<Real>(nodes[first_output + i], old_layers - 1, 1);
    for (int64_t i = first_output; i < net.n_nodes; ++i) {
        nodes[i + n] = net.nodes[i];
        nodes[i + n].layer_id = old_layers;
    }
    for (int64_t l = 0; l < old_layers; ++l)
        std::free(net.layers[l].nodes);
    std::free(net.layers);
    std::free(net.nodes);
    net.layers = layers;
    net.nodes = nodes;
    net.n_layers = old_layers + 1;
    net.n_nodes += n;
    return true;
}

bool layer_in_range(int64_t layer, const char* name, int64_t low, int64_t high, int64_t n_layers, int64_t code)
{
    if (layer >= low && layer <= high)
        return true;
    orvls_e1stl(1, name);
    orvls_e1sti(1, layer);
    orvls_e1sti(2, n_layers);
    orvls_ermes(5, code);
    return false;
}

template <class Real>
bool set_activations(Net<Real>& net, int64_t layer_id, const int64_t* codes)
{
    if (!layer_in_range(layer_id, "layer_id", 1, net.n_layers - 1, net.n_layers, 40097))
        return false;
    const orvls_ff_layer& layer = net.layers[layer_id];
    for (int64_t i = 0; i < layer.n_nodes; ++i)
        if (codes[i] < 0 || codes[i] > 3) {
            orvls_e1stl(1, "activation_fcn");
            orvls_e1sti(1, i);
            orvls_e1sti(2, codes[i]);
            orvls_e1sti(3, 0);
            orvls_e1sti(4, 3);
            orvls_ermes(5, 40089);
            return false;
        }
    for (int64_t i = 0; i < layer.n_nodes; ++i)
        net.nodes[layer.nodes[i]].activation_fcn = codes[i];
    return true;
}

template <class Real>
bool set_biases(Net<Real>& net, int64_t layer_id, const Real* biases)
{
    if (!layer_in_range(layer_id, "layer_id", 1, net.n_layers - 1, net.n_layers, 40097))
        return false;
    const orvls_ff_layer& layer = net.layers[layer_id];
    for (int64_t i = 0; i < layer.n_nodes; ++i)
        net.nodes[layer.nodes[i]].bias = biases[i];
    return true;
}

// ---------------------------------------------------------------- links

// A copy of list (length n) with `value` appended.
int64_t* appended(const int64_t* list, int64_t n, int64_t value)
{
    int64_t* grown = allocate<int64_t>(static_cast<std::size_t>(n + 1));
    if (grown == nullptr)
        return nullptr;
    if (n > 0)
        std::memcpy(grown, list, static_cast<std::size_t>(n) * sizeof(int64_t));
    grown[n] = value;
    return grown;
}

// A copy of list (length n) without `value`; null when nothing is left.
bool without(const int64_t* list, int64_t n, int64_t value, int64_t*& shrunk)
{
    shrunk = nullptr;
    if (n <= 1)
        return true;
    shrunk = allocate<int64_t>(static_cast<std::size_t>(n - 1));
    if (shrunk == nullptr)
        return false;
    int64_t k = 0;
    for (int64_t i = 0; i < n; ++i)
        if (list[i] != value && k < n - 1)
            shrunk[k++] = list[i];
    return true;
}

void replace(int64_t* list, int64_t n, int64_t old_value, int64_t new_value)
{
    for (int64_t i = 0; i < n; ++i)
        if (list[i] == old_value)
            list[i] = new_value;
}

template <class Real>
bool link_nodes(Net<Real>& net, int64_t to, int64_t from)
{
    Step step("LinkNodes");
    for (int64_t i = 0; i < net.n_links; ++i)
        if (net.links[i].to_node == to && net.links[i].from_node == from) {
            orvls_e1stl(1, "to");
            orvls_e1sti(1, to);
            orvls_e1stl(2, "from");
            orvls_e1sti(2, from);
            orvls_ermes(6, 40096);
            return false;
        }
    Node<Real>& target = net.nodes[to];
    Node<Real>& source = net.nodes[from];
    const int64_t index = net.next_link;
    auto* links = allocate<Link<Real>>(static_cast<std::size_t>(net.n_links + 1));
    int64_t* in_links = appended(target.inLinks, target.n_inLinks, index);
    int64_t* out_links = appended(source.outLinks, source.n_outLinks, index);
    if (links == nullptr || in_links == nullptr || out_links == nullptr) {
        std::free(links);
        std::free(in_links);
        std::free(out_links);
        return out_of_memory();
    }
    for (int64_t i = 0; i <= net.n_links; ++i)
        links[i] = {0, 1, -1, -1};
    if (net.n_links > 0)
        std::memcpy(links, net.links, static_cast<std::size_t>(net.n_links) * sizeof(Link<Real>));
    std::free(net.links);
    net.links = links;
    ++net.n_links;
    std::free(target.inLinks);
    target.inLinks = in_links;
    ++target.n_inLinks;
    std::free(source.outLinks);
    source.outLinks = out_links;
    ++source.n_outLinks;
    net.links[index].to_node = to;
    net.links[index].from_node = from;
    ++net.next_link;
    return true;
}

// Every node of layer `from` to every node of layer `to`, sending node outermost.
template <class Real>
bool link_layers(Net<Real>& net, int64_t to, int64_t from)
{
    const orvls_ff_layer& senders = net.layers[from];
    const orvls_ff_layer& receivers = net.layers[to];
    for (int64_t f = 0; f < senders.n_nodes; ++f)
        for (int64_t t = 0; t < receivers.n_nodes; ++t)
            if (!link_nodes<Real>(net, receivers.nodes[t], senders.nodes[f]))
                return false;
    return true;
}

template <class Real>
bool link_all(Net<Real>& net)
{
    for (int64_t l = 1; l < net.n_layers; ++l)
        if (!link_layers<Real>(net, l, l - 1))
            return false;
    return true;
}

bool pair_error(int64_t code, int64_t type, int64_t to, int64_t from)
{
    orvls_e1stl(1, "to");
    orvls_e1sti(1, to);
    orvls_e1stl(2, "from");
    orvls_e1sti(2, from);
    orvls_ermes(type, code);
    return false;
}

template <class Real>
bool link_layer_option(Net<Real>& net, int64_t to, int64_t from)
{
    if (!layer_in_range(to, "to", 1, net.n_layers - 1, net.n_layers, 40097) ||
        !layer_in_range(from, "from", 0, net.n_layers - 2, net.n_layers, 40098))
        return false;
    if (to == from)
        return pair_error(40092, 5, to, from);
    return link_layers<Real>(net, to, from);
}

bool node_in_range(int64_t node, const char* name, int64_t low, int64_t high)
{
    if (node >= low && node <= high)
        return true;
    orvls_e1stl(1, name);
    orvls_e1sti(1, node);
    orvls_e1sti(2, low);
    orvls_e1sti(3, high);
    orvls_ermes(5, 602);
    return false;
}

bool node_in_layer(int64_t node, const char* name, const char* layer, int64_t code)
{
    orvls_e1stl(1, name);
    orvls_e1sti(1, node);
    orvls_e1stl(2, layer);
    orvls_ermes(5, code);
    return false;
}

template <class Real>
bool link_node_option(Net<Real>& net, int64_t to, int64_t from)
{
    const orvls_ff_layer& ahead_of_output = net.layers[net.n_layers - 2];
    const int64_t last_sender = ahead_of_output.nodes[ahead_of_output.n_nodes - 1];
    if (!node_in_range(to, "to", input_count<Real>(net), net.n_nodes - 1) ||
        !node_in_range(from, "from", 0, last_sender))
        return false;
    if (net.nodes[to].layer_id == 0)
        return node_in_layer(to, "to", "Input", 40091);
    if (net.nodes[from].layer_id >= net.n_layers - 1)
        return node_in_layer(from, "from", "Output", 40093);
    if (net.nodes[to].layer_id == net.nodes[from].layer_id)
        return pair_error(40092, 5, to, from);
    if (to < from) {
        orvls_e1stl(1, "link_to_node_idx");
        orvls_e1stl(2, "link_from_node_idx");
        orvls_e1sti(1, to);
        orvls_e1sti(2, from);
        orvls_ermes(5, 605);
        return false;
    }
    return link_nodes<Real>(net, to, from);
}

// Node numbers are bounded by the number of links, as the option has always done.
bool remove_bound(int64_t node, const char* name, int64_t n_links)
{
    if (node >= 0 && node <= n_links - 1)
        return true;
    orvls_e1stl(1, name);
    orvls_e1sti(1, node);
    orvls_e1sti(2, 0);
    orvls_e1sti(3, n_links - 1);
    orvls_ermes(5, 40094);
    return false;
}

template <class Real>
bool remove_link(Net<Real>& net, int64_t to, int64_t from)
{
    Step step("RemoveLink");
    if (!remove_bound(to, "to", net.n_links) || !remove_bound(from, "from", net.n_links))
        return false;
    int64_t removed = -1;
    for (int64_t i = 0; i < net.n_links && removed < 0; ++i)
        if (net.links[i].to_node == to && net.links[i].from_node == from)
            removed = i;
    if (removed < 0)
        return pair_error(40095, 5, to, from);
    Node<Real>& target = net.nodes[to];
    Node<Real>& source = net.nodes[from];
    int64_t *in_links = nullptr, *out_links = nullptr;
    const int64_t remaining = net.n_links - 1;
    auto* links = remaining > 0 ? allocate<Link<Real>>(static_cast<std::size_t>(remaining)) : nullptr;
    const bool ok = (remaining == 0 || links != nullptr) &&
                    without(target.inLinks, target.n_inLinks, removed, in_links) &&
                    without(source.outLinks, source.n_outLinks, removed, out_links);
    if (!ok) {
        std::free(links);
        std::free(in_links);
        std::free(out_links);
        return out_of_memory();
    }
    std::free(target.inLinks);
    target.inLinks = in_links;
    --target.n_inLinks;
    std::free(source.outLinks);
    source.outLinks = out_links;
    --source.n_outLinks;
    for (int64_t i = 0, k = 0; i < net.n_links; ++i) {
        if (i == removed)
            continue;
        links[k] = net.links[i];
        if (i != k) {
            Node<Real>& moved_to = net.nodes[links[k].to_node];
            Node<Real>& moved_from = net.nodes[links[k].from_node];
            replace(moved_to.inLinks, moved_to.n_inLinks, i, k);
            replace(moved_from.outLinks, moved_from.n_outLinks, i, k);
        }
        ++k;
    }
    std::free(net.links);
    net.links = links;
    --net.n_links;
    --net.next_link;
    return true;
}

// ---------------------------------------------------------------- report

void print_list(ReportPrinter& out, const char* title, const int64_t* list, int64_t n)
{
    if (list == nullptr)
        return;
    out.print("%s", title);
    for (int64_t i = 0; i < n; ++i)
        out.print("  %d", static_cast<int>(list[i]));
    out.print("\n");
}

template <class Real>
void print_network(const Net<Real>& net)
{
    ReportPrinter out;
    for (int64_t l = 0; l < net.n_layers; ++l) {
        if (l == 0)
            out.print("\nInput Layer \n");
        else if (l == net.n_layers - 1)
            out.print("\n\nOutput Layer \n");
        else
            out.print("\n\nLayer %d \n", static_cast<int>(l));
        out.print("-----------------\n");
        const orvls_ff_layer& layer = net.layers[l];
        for (int64_t i = 0; i < layer.n_nodes; ++i) {
            const Node<Real>& node = net.nodes[layer.nodes[i]];
            out.print("     NODE_%d\n", static_cast<int>(layer.nodes[i]));
            out.print("Activation Fcn = %d\n", static_cast<int>(node.activation_fcn));
            out.print("Bias = %f \n", static_cast<double>(node.bias));
            print_list(out, "  Input Links  : ", node.inLinks, node.n_inLinks);
            print_list(out, "  Output Links : ", node.outLinks, node.n_outLinks);
        }
    }
    out.print("\n\n\n******* Links  ********\n");
    for (int64_t i = 0; i < net.n_links; ++i) {
        const Link<Real>& link = net.links[i];
        const int index = static_cast<int>(i);
        out.print("ff_net->links[%d].weight = %26.20f \n", index, static_cast<double>(link.weight));
        out.print("ff_net->links[%d].gradient = %26.20f \n", index, static_cast<double>(link.gradient));
        out.print("ff_net->links[%d].to_node = %d \n", index, static_cast<int>(link.to_node));
        out.print("ff_net->links[%d].from_node = %d \n", index, static_cast<int>(link.from_node));
    }
}

// ---------------------------------------------------------------- the call

// Carries out the request in the fixed order; false at the first failure.
template <class Real>
bool carry_out(Net<Real>& net, const Request<Real>& request)
{
    if (request.hidden_layer) {
        int64_t checks = 0;
        if (!orvls_check_range(request.n_perceptrons, "n_perceptrons", 1, 0, &checks) ||
            !create_hidden_layer<Real>(net, request.n_perceptrons))
            return false;
    }
    if (request.activation && !set_activations<Real>(net, request.activation_layer, request.activations))
        return false;
    if (request.bias && !set_biases<Real>(net, request.bias_layer, request.biases))
        return false;
    bool linked = true;
    switch (request.link_code) {
    case ORVLS_LINK_ALL: linked = link_all<Real>(net); break;
    case ORVLS_LINK_LAYER: linked = link_layer_option<Real>(net, request.link_to, request.link_from); break;
    case ORVLS_LINK_NODE: linked = link_node_option<Real>(net, request.link_to, request.link_from); break;
    case ORVLS_REMOVE_LINK: linked = remove_link<Real>(net, request.link_to, request.link_from); break;
    default: break;
    }
    if (!linked)
        return false;
    if (request.weights != nullptr)
        for (int64_t i = 0; i < net.n_links; ++i)
            net.links[i].weight = request.weights[i];
    if (request.n_links != nullptr)
        *request.n_links = net.n_links;
    if (request.print)
        print_network<Real>(net);
    return true;
}

template <class Real>
void network(Net<Real>* net, OptionReader& options)
{
    Step step("l_mlff_network");
    if (refuse_null_network(net, "ffnet"))
        return;
    Request<Real> request;
    ExclusiveOptions link_options("ORVLS_LINK_ALL, ORVLS_LINK_LAYER, ORVLS_LINK_NODE, and ORVLS_REMOVE_LINK");
    read_options(options, request, link_options);
    if (orvls_n1rty(0) > 0 || link_options.report())
        return;
    carry_out(*net, request);
}

template <class Real>
Net<Real>* network_init_entry(int64_t n_inputs, int64_t n_outputs)
{
    return envelope<Net<Real>*>(public_name<Real>("orvls_f_mlff_network_init", "orvls_d_mlff_network_init"),
                                nullptr, [&] { return network_init<Real>(n_inputs, n_outputs); });
}

template <class Real>
void network_entry(Net<Real>* net, va_list ap)
{
    OptionReader options(ap, 1);
    envelope(public_name<Real>("orvls_f_mlff_network", "orvls_d_mlff_network"), [&] { network<Real>(net, options); });
}

template <class Real>
void network_free_entry(Net<Real>* net)
{
    envelope(public_name<Real>("orvls_f_mlff_network_free", "orvls_d_mlff_network_free"),
             [&] { free_network<Real>(net); });
}

}  // namespace

}  // namespace orvls::neural

using namespace orvls::neural;

extern "C" {

ORVLS_API orvls_f_ff_net* orvls_f_mlff_network_init(int64_t n_inputs, int64_t n_outputs)
{
    return network_init_entry<float>(n_inputs, n_outputs);
}

ORVLS_API orvls_d_ff_net* orvls_d_mlff_network_init(int64_t n_inputs, int64_t n_outputs)
{
    return network_init_entry<double>(n_inputs, n_outputs);
}

ORVLS_API void orvls_f_mlff_network(orvls_f_ff_net* ffnet, ...)
{
    va_list ap;
    va_start(ap, ffnet);
    network_entry<float>(ffnet, ap);
    va_end(ap);
}

ORVLS_API void orvls_d_mlff_network(orvls_d_ff_net* ffnet, ...)
{
    va_list ap;
    va_start(ap, ffnet);
    network_entry<double>(ffnet, ap);
    va_end(ap);
}

ORVLS_API void orvls_f_mlff_network_free(orvls_f_ff_net* ffnet) { network_free_entry<float>(ffnet); }

ORVLS_API void orvls_d_mlff_network_free(orvls_d_ff_net* ffnet) { network_free_entry<double>(ffnet); }

}  // extern "C"
