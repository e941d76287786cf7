// The network record: its shape after init and hidden layers, the link
// table and lists under every link option, the printed report, the errors
// and the allocation failures.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "frame/memory.h"
#include "neural_support.h"

namespace {

using Net = orvls_d_ff_net;

std::vector<int64_t> list(const int64_t* values, int64_t n) { return std::vector<int64_t>(values, values + n); }
std::vector<std::pair<int64_t, int64_t>> link_pairs(const Net* net)
{
    std::vector<std::pair<int64_t, int64_t>> pairs;
    for (int64_t i = 0; i < net->n_links; ++i)
        pairs.push_back({net->links[i].to_node, net->links[i].from_node});
    return pairs;
}

// Every in-list and out-list names exactly the links that end or start at its node.
void expect_lists_consistent(const Net* net)
{
    for (int64_t v = 0; v < net->n_nodes; ++v) {
        std::vector<int64_t> in, out;
        for (int64_t i = 0; i < net->n_links; ++i) {
            if (net->links[i].to_node == v)
                in.push_back(i);
            if (net->links[i].from_node == v)
                out.push_back(i);
        }
        EXPECT_EQ(list(net->nodes[v].inLinks, net->nodes[v].n_inLinks), in) << v;
        EXPECT_EQ(list(net->nodes[v].outLinks, net->nodes[v].n_outLinks), out) << v;
    }
    EXPECT_EQ(net->next_link, net->n_links);
}

TEST(Network, InitAndHiddenLayers)
{
    ErrorCapture capture;
    Net* net = orvls_d_mlff_network_init(3, 2);
    ASSERT_NE(net, nullptr);
    EXPECT_EQ(net->n_layers, 2);
    EXPECT_EQ(net->n_nodes, 5);
    EXPECT_EQ(net->n_links, 0);
    EXPECT_EQ(net->links, nullptr);
    EXPECT_EQ(list(net->layers[1].nodes, 2), (std::vector<int64_t>{3, 4}));
    for (int64_t i = 0; i < 5; ++i) {
        EXPECT_EQ(net->nodes[i].layer_id, i < 3 ? 0 : 1);
        EXPECT_EQ(net->nodes[i].gradient, 1);
        EXPECT_EQ(net->nodes[i].bias, 0);
        EXPECT_EQ(net->nodes[i].activation_fcn, 0);
    }
    orvls_d_mlff_network(net, ORVLS_CREATE_HIDDEN_LAYER, 4, 0);
    orvls_d_mlff_network(net, ORVLS_CREATE_HIDDEN_LAYER, 2, 0);
    EXPECT_EQ(net->n_layers, 4);
    EXPECT_EQ(net->n_nodes, 11);
    EXPECT_EQ(list(net->layers[1].nodes, 4), (std::vector<int64_t>{3, 4, 5, 6}));
    EXPECT_EQ(list(net->layers[2].nodes, 2), (std::vector<int64_t>{7, 8}));
    EXPECT_EQ(list(net->layers[3].nodes, 2), (std::vector<int64_t>{9, 10}));
    for (int64_t i = 3; i < 11; ++i) {
        EXPECT_EQ(net->nodes[i].layer_id, i < 7 ? 1 : i < 9 ? 2 : 3);
        EXPECT_EQ(net->nodes[i].activation_fcn, i < 9 ? 1 : 0);
    }
    const int64_t codes[2] = {2, 3};
    const double biases[2] = {0.5, -1.5};
    int64_t n_links = -1;
    orvls_d_mlff_network(net, ORVLS_BIAS, 3, biases, ORVLS_ACTIVATION_FCN, int64_t(3), codes, ORVLS_LINK_ALL,
                         ORVLS_N_LINKS, &n_links, 0);
    EXPECT_EQ(n_links, 3 * 4 + 4 * 2 + 2 * 2);
    EXPECT_EQ(net->nodes[10].activation_fcn, 3);
    EXPECT_EQ(net->nodes[9].bias, 0.5);
    // Grouped by sending node: from 0 to 3..6, from 1 to 3..6, ...
    EXPECT_EQ(net->links[0].to_node, 3);
    EXPECT_EQ(net->links[1].to_node, 4);
    EXPECT_EQ(net->links[4].from_node, 1);
    expect_lists_consistent(net);
    orvls_d_mlff_network_free(net);
    orvls_d_mlff_network_free(nullptr);
    EXPECT_EQ(orvls_n1rty(1), 0);
}

TEST(Network, LinksMadeAndRemoved)
{
    ErrorCapture capture;
    Net* net = orvls_d_mlff_network_init(2, 1);
    orvls_d_mlff_network(net, ORVLS_LINK_ALL, 0);
    EXPECT_EQ(link_pairs(net), (std::vector<std::pair<int64_t, int64_t>>{{2, 0}, {2, 1}}));
    // Linking again: the first pair is refused (type 6) and nothing is added.
    orvls_d_mlff_network(net, ORVLS_LINK_ALL, 0);
    EXPECT_EQ(last_outcome(), (Outcome{6, 40096}));
    EXPECT_EQ(net->n_links, 2);
    // A hidden layer after the links: the output node moves, the links keep their numbers.
    orvls_d_mlff_network(net, ORVLS_CREATE_HIDDEN_LAYER, 2, 0);
    EXPECT_EQ(net->layers[2].nodes[0], 4);
    EXPECT_EQ(list(net->nodes[4].inLinks, net->nodes[4].n_inLinks), (std::vector<int64_t>{0, 1}));
    EXPECT_EQ(net->links[0].to_node, 2);

    Net* chain = orvls_d_mlff_network_init(2, 1);
    orvls_d_mlff_network(chain, ORVLS_CREATE_HIDDEN_LAYER, 2, 0);
    const double weights[6] = {1, 2, 3, 4, 5, 6};
    orvls_d_mlff_network(chain, ORVLS_LINK_ALL, ORVLS_WEIGHTS, weights, 0);  // links first, then weights
    EXPECT_EQ(chain->n_links, 6);
    EXPECT_EQ(chain->links[5].weight, 6);
    // Removing a middle link: later links move down and the lists follow.
    orvls_d_mlff_network(chain, ORVLS_REMOVE_LINK, 3, 0, 0);
    EXPECT_EQ(chain->n_links, 5);
    EXPECT_EQ(chain->links[1].weight, 3);
    EXPECT_EQ(link_pairs(chain),
              (std::vector<std::pair<int64_t, int64_t>>{{2, 0}, {2, 1}, {3, 1}, {4, 2}, {4, 3}}));
    expect_lists_consistent(chain);
    orvls_d_mlff_network(chain, ORVLS_LINK_NODE, 4, 0, 0);  // a link that skips the hidden layer
    orvls_d_mlff_network(chain, ORVLS_LINK_LAYER, 1, 0, 0);  // only (3, 0) is new: refused at (2, 0)
    EXPECT_EQ(last_outcome(), (Outcome{6, 40096}));
    EXPECT_EQ(chain->n_links, 6);
    expect_lists_consistent(chain);
    orvls_d_mlff_network_free(chain);

    // Node numbers of a removal are bounded by the number of links: the only
    // link of a network, which ends at node 1 or above, cannot be removed.
    Net* single = orvls_d_mlff_network_init(1, 1);
    orvls_d_mlff_network(single, ORVLS_LINK_NODE, 1, 0, 0);
    orvls_d_mlff_network(single, ORVLS_REMOVE_LINK, 1, 0, 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 40094}));
    EXPECT_EQ(single->n_links, 1);
    orvls_d_mlff_network_free(single);
    orvls_d_mlff_network_free(net);
}

TEST(Network, Report)
{
    ErrorCapture capture;
    char* text = nullptr;
    size_t length = 0;
    FILE* stream = open_memstream(&text, &length);
    orvls_output_file(ORVLS_OUTPUT_FILE, stream, 0);
    orvls_f_ff_net* net = orvls_f_mlff_network_init(1, 1);
    const float bias[1] = {0.25f};
    orvls_f_mlff_network(net, ORVLS_CREATE_HIDDEN_LAYER, 1, ORVLS_BIAS, 2, bias, ORVLS_LINK_ALL, ORVLS_PRINT_NETWORK,
                         0);
    orvls_f_mlff_network_free(net);
    orvls_output_file(ORVLS_OUTPUT_FILE, stdout, 0);
    std::fclose(stream);
    const std::string report(text, length);
    std::free(text);
    EXPECT_EQ(report,
              "\nInput Layer \n-----------------\n     NODE_0\nActivation Fcn = 0\nBias = 0.000000 \n"
              "  Output Links :   0\n"
              "\n\nLayer 1 \n-----------------\n     NODE_1\nActivation Fcn = 1\nBias = 0.000000 \n"
              "  Input Links  :   0\n  Output Links :   1\n"
              "\n\nOutput Layer \n-----------------\n     NODE_2\nActivation Fcn = 0\nBias = 0.250000 \n"
              "  Input Links  :   1\n"
              "\n\n\n******* Links  ********\n"
              "ff_net->links[0].weight =     0.00000000000000000000 \n"
              "ff_net->links[0].gradient =     1.00000000000000000000 \n"
              "ff_net->links[0].to_node = 1 \nff_net->links[0].from_node = 0 \n"
              "ff_net->links[1].weight =     0.00000000000000000000 \n"
              "ff_net->links[1].gradient =     1.00000000000000000000 \n"
              "ff_net->links[1].to_node = 2 \nff_net->links[1].from_node = 1 \n");
}

TEST(Network, Errors)
{
    ErrorCapture capture;
    static Net* net = layered_network<double>({2, 3, 1});
    static const int64_t bad_codes[3] = {1, 4, 0};
    static const double biases[3] = {0, 0, 0};
    struct Case {
        Outcome outcome;
        void (*run)();
    };
    const Case cases[] = {
        {{5, 603}, [] { EXPECT_EQ(orvls_d_mlff_network_init(0, 1), nullptr); }},
        {{5, 603}, [] { EXPECT_EQ(orvls_f_mlff_network_init(1, -2), nullptr); }},
        {{5, 150}, [] { orvls_d_mlff_network(nullptr, 0); }},
        {{5, 11001}, [] { orvls_d_mlff_network(net, 999, 0); }},
        {{5, 11117}, [] { orvls_d_mlff_network(net, ORVLS_LINK_ALL, ORVLS_REMOVE_LINK, 3, 0, 0); }},
        {{5, 11117}, [] { orvls_d_mlff_network(net, ORVLS_LINK_ALL, ORVLS_LINK_ALL, 0); }},
        {{5, 603}, [] { orvls_d_mlff_network(net, ORVLS_CREATE_HIDDEN_LAYER, 0, 0); }},
        {{5, 40097}, [] { orvls_d_mlff_network(net, ORVLS_ACTIVATION_FCN, int64_t(0), bad_codes, 0); }},
        {{5, 40089}, [] { orvls_d_mlff_network(net, ORVLS_ACTIVATION_FCN, int64_t(1), bad_codes, 0); }},
        {{5, 40097}, [] { orvls_d_mlff_network(net, ORVLS_BIAS, 3, biases, 0); }},
        {{5, 40097}, [] { orvls_d_mlff_network(net, ORVLS_LINK_LAYER, 0, 0, 0); }},
        {{5, 40098}, [] { orvls_d_mlff_network(net, ORVLS_LINK_LAYER, 2, 2, 0); }},
        {{5, 40092}, [] { orvls_d_mlff_network(net, ORVLS_LINK_LAYER, 1, 1, 0); }},
        {{5, 602}, [] { orvls_d_mlff_network(net, ORVLS_LINK_NODE, 1, 0, 0); }},
        {{5, 602}, [] { orvls_d_mlff_network(net, ORVLS_LINK_NODE, 5, 5, 0); }},
        {{5, 40092}, [] { orvls_d_mlff_network(net, ORVLS_LINK_NODE, 3, 2, 0); }},
        {{5, 40094}, [] { orvls_d_mlff_network(net, ORVLS_REMOVE_LINK, 9, 0, 0); }},
        {{5, 40094}, [] { orvls_d_mlff_network(net, ORVLS_REMOVE_LINK, 2, -1, 0); }},
        {{5, 40095}, [] { orvls_d_mlff_network(net, ORVLS_REMOVE_LINK, 1, 0, 0); }},
        {{6, 40096}, [] { orvls_d_mlff_network(net, ORVLS_LINK_NODE, 5, 4, 0); }},
        {{5, 104}, [] { orvls_d_mlff_network(net, ORVLS_WEIGHTS, nullptr, 0); }},
    };
    for (const Case& c : cases) {
        c.run();
        EXPECT_EQ(last_outcome(), c.outcome) << c.outcome.code;
    }
    EXPECT_EQ(net->n_links, 2 * 3 + 3);
    expect_lists_consistent(net);
    orvls_d_mlff_network_free(net);
}

TEST(Network, ReversedNodesAndSkippingLinks)
{
    ErrorCapture capture;
    Net* net = layered_network<double>({1, 1, 1, 1});  // nodes 0 | 1 | 2 | 3
    // A node ahead of its sender is refused; a backward pair of layers passes the layer check.
    orvls_d_mlff_network(net, ORVLS_LINK_NODE, 2, 3, 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 602}));
    orvls_d_mlff_network(net, ORVLS_LINK_LAYER, 1, 2, 0);
    EXPECT_EQ(orvls_n1rty(1), 0);
    EXPECT_EQ(net->links[net->n_links - 1].to_node, 1);
    EXPECT_EQ(net->links[net->n_links - 1].from_node, 2);
    orvls_d_mlff_network_free(net);
}

TEST(Network, AllocationFailuresLeaveNothingBehind)
{
    ErrorCapture capture;
    int failures = 0;
    for (int64_t k = 1; k < 30; ++k) {
        orvls_testing_fail_allocation(k);
        Net* net = orvls_d_mlff_network_init(3, 2);
        if (net != nullptr) {
            orvls_d_mlff_network(net, ORVLS_CREATE_HIDDEN_LAYER, 2, ORVLS_LINK_ALL, 0);
            if (orvls_n1rty(1) == 0)
                orvls_d_mlff_network(net, ORVLS_REMOVE_LINK, 3, 0, 0);
        }
        orvls_testing_fail_allocation(0);
        if (orvls_n1rty(1) != 0) {
            ++failures;
            EXPECT_EQ(last_outcome(), (Outcome{5, 200})) << k;
        }
        if (net != nullptr)
            expect_lists_consistent(net);
        orvls_d_mlff_network_free(net);
    }
    EXPECT_GT(failures, 10);
}

}  // namespace
