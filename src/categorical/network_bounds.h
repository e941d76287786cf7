// The pieces of the network algorithm that look at one node alone: the
// generator of the ways to fill a column, and the longest and shortest
// remaining paths of a node.  Arrays are 0-based here.
#pragma once

#include <cstdint>

namespace orvls::categorical {

// l_ctkey: the vectors v with 0 <= v[i] <= cap[i] and sum n, in decreasing
// lexicographic order read from the last position down.  first_vector is
// false when no vector exists; next_vector is false after the last one.
bool first_vector(int64_t m, const int64_t* cap, int64_t n, int64_t* v);
bool next_vector(int64_t m, const int64_t* cap, int64_t* v);

// How the longest path ended: computed, refused because its states' keys do
// not fit in 64 bits, or refused because its stack could not grow.
enum class BoundStatus { ok, key_overflow, no_memory };

// One stack of the longest path's states: a hash of state keys with their
// smallest value, in the order pushed.  It grows when it is half full.
struct StateStack {
    int64_t* keys = nullptr;  // -1 free
    double* values = nullptr;
    int64_t* order = nullptr;  // slots in the order their keys came
    int64_t capacity = 0, count = 0;

    StateStack() = default;
    ~StateStack();
    StateStack(const StateStack&) = delete;
    StateStack& operator=(const StateStack&) = delete;
    bool push(int64_t key, double value);
    void clear();
};

// The work of the two bounds, kept across the nodes of one search.
class PathBounds {
public:
    PathBounds() = default;
    ~PathBounds();
    PathBounds(const PathBounds&) = delete;
    PathBounds& operator=(const PathBounds&) = delete;

    // Work for margins of up to k entries; false when it cannot be had.
    bool reserve(int64_t k);

    // l_longest_path: -min sum log x_ij! over the tables with row margins
    // r[0..p-1] and column margins c[0..q-1], both increasing, total `total`.
    BoundStatus longest(const int64_t* r, int64_t p, const int64_t* c, int64_t q, int64_t total, double& value);

    // l_shortest_path: base less the largest sum log x_ij! that a greedy
    // search with limited backtracking finds, or 0 when the search decides
    // that nothing is shorter; `base` is the sum of log c_j!.
    double shortest(const int64_t* r, int64_t p, const int64_t* c, int64_t q, double base);

    const double* fact = nullptr;  // log factorials
    double tolerance = 0;

private:
    struct Placement {
        const int64_t* a;  // the A-margins, increasing
        int64_t f, m, tot, b;
        const int64_t* state;
        StateStack* into;
        bool pushed_ok;
    };
    void place(Placement& p, const int64_t* state, double value);
    void place_cell(Placement& p, int64_t j, int64_t left, int64_t tail, double value);
    void finish(Placement& p, int64_t left, double value);
    bool even_split(const int64_t* x, int64_t n_x, const int64_t* y, int64_t n_y, double& value) const;

    int64_t k_ = 0;
    int64_t* ints_ = nullptr;
    double* reals_ = nullptr;
    StateStack stacks_[2];
    double best_ = 0;
    int64_t radix_ = 0;
};

}  // namespace orvls::categorical
