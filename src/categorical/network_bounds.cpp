#include "categorical/network_bounds.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdlib>

#include "frame/memory.h"

namespace orvls::categorical {

// ---- The generator of column fillings ---------------------------------------

bool first_vector(int64_t m, const int64_t* cap, int64_t n, int64_t* v)
{
    int64_t rest = n;
    for (int64_t i = m - 1; i >= 0; --i) {
        v[i] = std::min(rest, cap[i]);
        rest -= v[i];
    }
    return rest == 0;
}

// Finds the lowest position p >= 1 whose count can drop by one while the
// positions below it can take what they hold plus that unit, lowers it and
// refills the positions below greedily from the top.
bool next_vector(int64_t m, const int64_t* cap, int64_t* v)
{
    int64_t below = 0, room = 0;
    for (int64_t p = 0; p < m; ++p) {
        if (p >= 1 && v[p] > 0 && below + 1 <= room) {
            --v[p];
            int64_t rest = below + 1;
            for (int64_t i = p - 1; i >= 0; --i) {
                v[i] = std::min(rest, cap[i]);
                rest -= v[i];
            }
            return true;
        }
        below += v[p];
        room += cap[p];
    }
    return false;
}

// ---- The stacks of the longest path -----------------------------------------

StateStack::~StateStack()
{
    std::free(keys);
    std::free(values);
    std::free(order);
}

namespace {

constexpr int64_t kFirstStackSize = 400;  // twice the published 200 slots, since it grows at half

int64_t find_slot(const int64_t* keys, int64_t capacity, int64_t key)
{
    int64_t slot = key % capacity;
    while (keys[slot] >= 0 && keys[slot] != key)
        slot = slot + 1 == capacity ? 0 : slot + 1;
    return slot;
}

}  // namespace

// Keeps the smaller value of a known key; a new key goes behind the others.
// Rehashing keeps the order of arrival.
bool StateStack::push(int64_t key, double value)
{
    if (2 * (count + 1) > capacity) {
        const int64_t grown = std::max(kFirstStackSize, 2 * capacity);
        int64_t* new_keys = allocate<int64_t>(static_cast<std::size_t>(grown));
        double* new_values = allocate<double>(static_cast<std::size_t>(grown));
        int64_t* new_order = allocate<int64_t>(static_cast<std::size_t>(grown));
        if (new_keys == nullptr || new_values == nullptr || new_order == nullptr) {
            std::free(new_keys);
            std::free(new_values);
            std::free(new_order);
            return false;
        }
        std::fill(new_keys, new_keys + grown, int64_t{-1});
        for (int64_t n = 0; n < count; ++n) {
            const int64_t old = order[n];
            const int64_t slot = find_slot(new_keys, grown, keys[old]);
            new_keys[slot] = keys[old];
            new_values[slot] = values[old];
            new_order[n] = slot;
        }
        std::free(keys);
        std::free(values);
        std::free(order);
        keys = new_keys;
        values = new_values;
        order = new_order;
        capacity = grown;
    }
    const int64_t slot = find_slot(keys, capacity, key);
    if (keys[slot] == key) {
        values[slot] = std::min(values[slot], value);
        return true;
    }
    keys[slot] = key;
    values[slot] = value;
    order[count++] = slot;
    return true;
}

void StateStack::clear()
{
    for (int64_t n = 0; n < count; ++n)
        keys[order[n]] = -1;
    count = 0;
}

// ---- Work of the bounds -------------------------------------------------------

PathBounds::~PathBounds()
{
    std::free(ints_);
    std::free(reals_);
}

namespace {

// Integer work: five vectors of the longest path, then the row and column
// vectors and five counters of each level of the shortest path.
int64_t levels(int64_t k) { return 2 * k + 2; }
std::size_t integer_words(int64_t k) { return static_cast<std::size_t>(5 * k + levels(k) * (2 * k + 5)); }

}  // namespace

bool PathBounds::reserve(int64_t k)
{
    std::free(ints_);
    std::free(reals_);
    k_ = k;
    ints_ = allocate<int64_t>(integer_words(k));
    reals_ = allocate<double>(static_cast<std::size_t>(levels(k)));
    return ints_ != nullptr && reals_ != nullptr;
}

// ---- Longest path ------------------------------------------------------------

// Spreads every Y-margin as evenly as it goes over the X-lines (X
// increasing); when the X-margins allow that spread, it is the smallest sum
// of log x! and its value is returned.
bool PathBounds::even_split(const int64_t* x, int64_t n_x, const int64_t* y, int64_t n_y, double& value) const
{
    int64_t s = 0;
    for (int64_t j = 0; j < n_y; ++j)
        s += y[j] / n_x;
    int64_t have = 0, need = 0;
    for (int64_t u = 1; u < n_x; ++u) {
        int64_t lines_with_extra = 0;
        for (int64_t j = 0; j < n_y; ++j)
            lines_with_extra += (y[j] - n_x * (y[j] / n_x)) >= u;
        have += s + lines_with_extra;
        need += x[n_x - u];
        if (have < need)
            return false;
    }
    value = 0;
    for (int64_t j = 0; j < n_y; ++j) {
        const int64_t e = y[j] / n_x, f = y[j] - n_x * e;
        value += static_cast<double>(f) * fact[e + 1] + static_cast<double>(n_x - f) * fact[e];
    }
    return true;
}

// A completed allocation of the A-margin in hand: a candidate when the rest
// of the table is settled, else a state of the next level.
void PathBounds::finish(Placement& p, int64_t left, double value)
{
    int64_t* x = ints_ + 2 * k_;
    int64_t* next = ints_ + 3 * k_;
    const int64_t b = p.b;
    x[b - 1] = left;
    value += fact[left];
    if (p.m == 2) {
        for (int64_t j = 0; j < b; ++j)
            value += fact[p.state[j] - x[j]];
        best_ = std::min(best_, value);
    } else if (p.m == 3 && b == 2) {
        // A 2 by 2 table remains: its most probable filling.
        const int64_t c1 = p.state[0] - x[0], c2 = p.state[1] - x[1];
        const int64_t r = p.a[p.f], n2 = p.tot - p.a[p.f - 1];
        const int64_t u = (r + 1) * (c1 + 1) / (n2 + 2), w = r - u;
        if (u >= 0 && w >= 0 && c1 - u >= 0 && c2 - w >= 0)
            best_ = std::min(best_, value + fact[u] + fact[w] + fact[c1 - u] + fact[c2 - w]);
    } else {
        for (int64_t j = 0; j < b; ++j)
            next[j] = p.state[j] - x[j];
        std::sort(next, next + b);
        int64_t key = 0;
        for (int64_t j = 0; j < b; ++j)
            key = key * radix_ + next[j];
        p.pushed_ok = p.pushed_ok && p.into->push(key, value);
    }
}

// Cells 1..b-1 run like an odometer between the published bounds; cell b
// takes the rest.  An allocation that asks a cell for more than its margin,
// or for more than is left, is no table and is skipped.
void PathBounds::place_cell(Placement& p, int64_t j, int64_t left, int64_t tail, double value)
{
    int64_t* x = ints_ + 2 * k_;
    const int64_t b = p.b;
    if (j == b) {
        if (left >= 0 && left <= p.state[b - 1])
            finish(p, left, value);
        return;
    }
    const double bj = static_cast<double>(p.state[j - 1]), m1 = static_cast<double>(p.m - 1);
    const double rest = static_cast<double>(b - j);
    const double left_d = static_cast<double>(left), tail_d = static_cast<double>(tail);
    const auto lo = static_cast<int64_t>((left_d + 1) * (bj + 1) / (tail_d + m1 * rest + 1) - tolerance);
    const auto hi = static_cast<int64_t>((left_d + rest) * (bj + m1) / (tail_d + m1 + rest));
    const int64_t top = std::min({hi, left, p.state[j - 1]});
    for (int64_t xj = std::max<int64_t>(lo, 0); xj <= top; ++xj) {
        x[j - 1] = xj;
        place_cell(p, j + 1, left - xj, tail - p.state[j - 1], value + fact[xj]);
    }
}

void PathBounds::place(Placement& p, const int64_t* state, double value)
{
    p.state = state;
    place_cell(p, 1, p.a[p.f - 1], p.tot, value);
}

BoundStatus PathBounds::longest(const int64_t* r, int64_t p, const int64_t* c, int64_t q, int64_t total, double& value)
{
    if (p <= 1 || q <= 1) {
        const int64_t* other = p <= 1 ? c : r;
        const int64_t n = p <= 1 ? (p == 1 ? q : 0) : (q == 1 ? p : 0);
        value = 0;
        for (int64_t i = 0; i < n; ++i)
            value -= fact[other[i]];
        return BoundStatus::ok;
    }
    if (p == 2 && q == 2) {
        const int64_t x = (r[0] + 1) * (c[0] + 1) / (total + 2), y = r[0] - x;
        value = -(fact[x] + fact[y] + fact[c[0] - x] + fact[c[1] - y]);
        return BoundStatus::ok;
    }
    double even = 0;
    bool ok = r[p - 1] <= r[0] + q && even_split(r, p, c, q, even);
    if (!ok)
        ok = c[q - 1] <= c[0] + p && even_split(c, q, r, p, even);
    if (ok) {
        value = -even;
        return BoundStatus::ok;
    }

    // The longer side is placed one margin per level; the other is the state.
    const bool rows_placed = p >= q;
    const int64_t* a = rows_placed ? r : c;
    const int64_t* b_margins = rows_placed ? c : r;
    const int64_t n_a = rows_placed ? p : q, b = rows_placed ? q : p;
    radix_ = b_margins[b - 1] + 1;
    int64_t largest = 1;
    for (int64_t j = 0; j < b; ++j)
        if (__builtin_mul_overflow(largest, radix_, &largest))
            return BoundStatus::key_overflow;

    int64_t* state = ints_ + 4 * k_;
    best_ = DBL_MAX;
    Placement placement{a, 1, n_a, total, b, nullptr, &stacks_[0], true};
    place(placement, b_margins, 0);
    int64_t filled = 0;
    while (placement.pushed_ok && placement.m > 2 && stacks_[filled].count > 0) {
        placement.f += 1;
        placement.tot -= a[placement.f - 2];
        placement.m -= 1;
        StateStack& from = stacks_[filled];
        placement.into = &stacks_[1 - filled];
        for (int64_t n = from.count - 1; n >= 0 && placement.pushed_ok; --n) {
            const int64_t slot = from.order[n];
            int64_t key = from.keys[slot];
            for (int64_t j = b - 1; j >= 0; --j) {
                state[j] = key % radix_;
                key /= radix_;
            }
            const double v = from.values[slot];
            const int64_t* rest = a + placement.f - 1;
            // The first test reads the margin at the absolute position m, as
            // published; the split is exact either way.
            bool split = a[placement.m - 1] <= rest[0] + b && even_split(rest, placement.m, state, b, even);
            if (!split)
                split = state[b - 1] <= state[0] + placement.m && even_split(state, b, rest, placement.m, even);
            if (split) {
                best_ = std::min(best_, v + even);
                continue;
            }
            place(placement, state, v);
        }
        from.clear();
        filled = 1 - filled;
    }
    stacks_[0].clear();
    stacks_[1].clear();
    if (!placement.pushed_ok)
        return BoundStatus::no_memory;
    value = best_ == DBL_MAX ? 0 : -best_;
    return BoundStatus::ok;
}

// ---- Shortest path ------------------------------------------------------------

namespace {

// Removes element i of a decreasing vector of n.
void remove_at(int64_t* v, int64_t n, int64_t i)
{
    for (int64_t k = i; k + 1 < n; ++k)
        v[k] = v[k + 1];
}

// Element i of a decreasing vector became smaller: moves it down past
// larger ones.
void sink(int64_t* v, int64_t n, int64_t i)
{
    const int64_t value = v[i];
    while (i + 1 < n && v[i + 1] > value) {
        v[i] = v[i + 1];
        ++i;
    }
    v[i] = value;
}

enum Side : int64_t { kRows = 0, kColumns = 1 };

}  // namespace

double PathBounds::shortest(const int64_t* r, int64_t p, const int64_t* c, int64_t q, double base)
{
    if (p == 0)
        return base;
    if (p == 1 || q == 1) {
        double sum = 0;
        for (int64_t i = 0; i < (p == 1 ? q : p); ++i)
            sum += fact[p == 1 ? c[i] : r[i]];
        return base - sum;
    }
    if (p == 2 && q == 2) {
        // The least probable 2 by 2 table: the larger row with the larger column.
        if (r[1] <= c[1])
            return base - (fact[r[1]] + fact[c[0]] + fact[c[1] - r[1]]);
        return base - (fact[c[1]] + fact[r[0]] + fact[r[1] - c[1]]);
    }

    // Level L (1-based) keeps its rows and columns, decreasing, and what it
    // had on entry; alt, cnt and side record the alternative in hand.
    const int64_t width = k_;
    int64_t* rows = ints_ + 5 * k_;
    int64_t* cols = rows + levels(k_) * width;
    int64_t* saved_np = cols + levels(k_) * width;
    int64_t* saved_nq = saved_np + levels(k_);
    int64_t* saved_alt = saved_nq + levels(k_);
    int64_t* saved_cnt = saved_alt + levels(k_);
    int64_t* saved_side = saved_cnt + levels(k_);
    double* saved_y = reals_;
    auto row_of = [&](int64_t level) { return rows + level * width; };
    auto col_of = [&](int64_t level) { return cols + level * width; };

    for (int64_t i = 0; i < p; ++i)
        row_of(1)[i] = r[p - 1 - i];
    for (int64_t j = 0; j < q; ++j)
        col_of(1)[j] = c[q - 1 - j];
    int64_t np = p, nq = q, level = 1, alt = 1, cnt = 0, side = kRows;
    double y = 0, best = 0;
    saved_np[1] = p;
    saved_nq[1] = q;
    saved_y[1] = 0;

    enum class Step { enter, place, complete, back };
    Step step = Step::enter;
    for (;;) {
        switch (step) {
        case Step::enter: {
            const int64_t a = row_of(level)[0], b = col_of(level)[0];
            if (a > b) {
                side = np >= nq ? kColumns : kRows;
                cnt = np >= nq ? nq - 1 : np;
            } else if (a < b) {
                side = np <= nq ? kRows : kColumns;
                cnt = np <= nq ? np - 1 : nq;
            } else {
                side = np <= nq ? kRows : kColumns;
                cnt = np <= nq ? np - 1 : nq - 1;
            }
            step = Step::place;
            break;
        }
        case Step::place: {
            const int64_t i = side == kRows ? alt - 1 : 0, j = side == kRows ? 0 : alt - 1;
            int64_t* next_rows = row_of(level + 1);
            int64_t* next_cols = col_of(level + 1);
            std::copy(row_of(level), row_of(level) + np, next_rows);
            std::copy(col_of(level), col_of(level) + nq, next_cols);
            const int64_t u = next_rows[i], w = next_cols[j];
            y += fact[std::min(u, w)];
            if (u == w) {
                remove_at(next_rows, np--, i);
                remove_at(next_cols, nq--, j);
            } else if (u > w) {
                remove_at(next_cols, nq--, j);
                next_rows[i] = u - w;
                sink(next_rows, np, i);
            } else {
                remove_at(next_rows, np--, i);
                next_cols[j] = w - u;
                sink(next_cols, nq, j);
            }
            if (np == 1 || nq == 1) {
                const int64_t* last = np == 1 ? next_cols : next_rows;
                for (int64_t n = 0; n < (np == 1 ? nq : np); ++n)
                    y += fact[last[n]];
                step = Step::complete;
                break;
            }
            saved_alt[level] = alt;
            saved_cnt[level] = cnt;
            saved_side[level] = side;
            ++level;
            saved_np[level] = np;
            saved_nq[level] = nq;
            saved_y[level] = y;
            alt = 1;
            step = Step::enter;
            break;
        }
        case Step::complete:
            if (y > best) {
                best = y;
                if (base - best <= tolerance)
                    return 0;
            }
            step = Step::back;
            break;
        case Step::back:
            --level;
            if (level == 0) {
                const double w = base - best;
                return w - best <= tolerance ? 0 : w;  // the published test
            }
            // The working cnt is not reloaded: the published search keeps it.
            for (alt = saved_alt[level] + 1; alt <= saved_cnt[level]; ++alt) {
                side = saved_side[level];
                np = saved_np[level];
                nq = saved_nq[level];
                y = saved_y[level];
                const int64_t* vec = side == kRows ? row_of(level) : col_of(level);
                if (vec[alt - 1] < vec[alt - 2]) {
                    step = Step::place;
                    break;
                }
            }
            break;
        }
    }
}

}  // namespace orvls::categorical
