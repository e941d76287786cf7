// The network algorithm for the exact p-value of an r by c table: one
// attempt with hash and node tables of given sizes.
#pragma once

#include <cstdint>

#include "categorical/counts.h"
#include "categorical/network_bounds.h"
#include "frame/memory.h"

namespace orvls::categorical {

// The limits of the hybrid test: a node is taken by its chi-squared
// approximation when its expected values pass them.  expect 0 turns it off.
struct HybridLimits {
    double expect = 5, percent = 80, minimum = 1;
};

// The eight hash arrays of one attempt.  Only the keys are filled before
// use, so that the memory in use grows with what the table needs.
struct NetworkTables {
    int64_t ldkey = 0, ldstp = 0;
    WorkArray<int64_t> key;        // 2 ldkey: node keys of the two stages, -9999 free
    WorkArray<int64_t> ipoin;      // 2 ldkey: first path record of each node
    WorkArray<double> stp;         // 2 ldstp: past path lengths of the two stages
    WorkArray<int64_t> ifrq;       // 6 ldstp: frequencies and chains of both stages, tree links
    WorkArray<int64_t> bound_key;  // 2 ldkey: keys whose bounds this stage has computed
    WorkArray<double> dlp, dsp, tm;  // 2 ldkey each: longest, shortest path, hybrid statistic

    bool allocate(int64_t key_size, int64_t node_size);
};

// How one attempt ended.
enum class NetworkEnd { done, tables_full, failed };

struct NetworkResult {
    double p_value = 0;
    double prob_table = 0;  // exp(obs): the observed probability times e^t
};

// The work of the whole search, kept across attempts: the log factorials
// of 0..total, the work of the bounds and the margin vectors.
struct NetworkWork {
    WorkArray<double> fact;
    PathBounds bounds;
    WorkArray<int64_t> vectors;  // 8 max(rows, columns)

    bool allocate(int64_t total, int64_t k);
};

// l_c2epr: the p-value of `table` (rows <= columns, total > 0).  A full hash table (type 3, 20544) or node
// table (type 3, 20545) ends the attempt with tables_full; key multipliers
// that overflow (type 4, 20543), a longest path whose states do not fit in
// 64-bit keys (type 4, 20546), path frequencies beyond 64 bits (type 4,
// 20547) or work that cannot grow (type 5, 200) end it with failed.
NetworkEnd l_c2epr(const CountTable& table, const HybridLimits& hybrid, NetworkWork& work, NetworkTables& tables,
                   NetworkResult& result);

}  // namespace orvls::categorical
