// Best-subset regression: a forward ordering of the candidates, then a
// leaps-and-bounds search over the packed cross-products, keeping the best
// subsets of each size (R-squared) or overall (adjusted R-squared, Cp).
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>

#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "frame/tsd.h"
#include "orvls.h"
#include "regression/inference.h"
#include "regression/report_text.h"
#include "regression/sscp.h"

namespace orvls::regression {

namespace {

enum class Criterion { r_squared, adjusted_r_squared, mallows_cp };

template <class Real>
struct SelectionSettings {
    Criterion criterion = Criterion::r_squared;
    int64_t size_bound = 0;  // 0: every size
    bool size_bound_given = false;
    int64_t max_n_best = 1, max_n_good_saved = 10, x_col_dim = -1;
    int print_level = 1;
    const Real* frequencies = nullptr;
    const Real* weights = nullptr;
    bool cov_input = false;
    int64_t cov_observations = 0;
    const Real* covariances = nullptr;
    int64_t** index_vectors_index = nullptr;
    int64_t** index_vectors = nullptr;
    int64_t* index_vectors_index_user = nullptr;
    int64_t* index_vectors_user = nullptr;
    int64_t** statistics_index = nullptr;
    Real** statistics = nullptr;
    int64_t* statistics_index_user = nullptr;
    Real* statistics_user = nullptr;
    int64_t* criterions_index_user = nullptr;
    Real* criterions_user = nullptr;
    char** print_text = nullptr;
    bool print_stdout = false;
};

template <class Real>
void read_selection_options(OptionReader& options, SelectionSettings<Real>& s, ExclusiveOptions& criteria,
                            int& targets)
{
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_ADJ_R_SQUARED:
            s.criterion = Criterion::adjusted_r_squared;
            criteria.seen();
            break;
        case ORVLS_MALLOWS_CP:
            s.criterion = Criterion::mallows_cp;
            criteria.seen();
            break;
        case ORVLS_R_SQUARED:
            s.criterion = Criterion::r_squared;
            s.size_bound = options.integer();
            s.size_bound_given = true;
            criteria.seen();
            break;
        case ORVLS_MAX_N_BEST: s.max_n_best = options.integer(); break;
        case ORVLS_MAX_N_GOOD_SAVED: s.max_n_good_saved = options.integer(); break;
        case ORVLS_SELECTION_PRINT_ON: s.print_level = 1; break;
        case ORVLS_SELECTION_PRINT_OFF: s.print_level = 0; break;
        case ORVLS_X_COL_DIM: s.x_col_dim = options.integer(); break;
        case ORVLS_FREQUENCIES:
            s.frequencies = non_null_pointer<const Real*>(options, "frequencies", "ORVLS_FREQUENCIES");
            break;
        case ORVLS_WEIGHTS: s.weights = non_null_pointer<const Real*>(options, "weights", "ORVLS_WEIGHTS"); break;
        case ORVLS_COV_INPUT:
            s.cov_input = true;
            s.cov_observations = options.integer();
            s.covariances = non_null_pointer<const Real*>(options, "covariances", "ORVLS_COV_INPUT");
            break;
        case ORVLS_INDEX_VECTORS:
            s.index_vectors_index = non_null_pointer<int64_t**>(options, "index_number", "ORVLS_INDEX_VECTORS");
            s.index_vectors = non_null_pointer<int64_t**>(options, "index_variables", "ORVLS_INDEX_VECTORS");
            break;
        case ORVLS_INDEX_VECTORS_USER:
            s.index_vectors_index_user =
                non_null_pointer<int64_t*>(options, "index_number", "ORVLS_INDEX_VECTORS_USER");
            s.index_vectors_user = non_null_pointer<int64_t*>(options, "index_variables", "ORVLS_INDEX_VECTORS_USER");
            break;
        case ORVLS_STATISTICS:
            s.statistics_index = non_null_pointer<int64_t**>(options, "index_statistics", "ORVLS_STATISTICS");
            s.statistics = non_null_pointer<Real**>(options, "statistics", "ORVLS_STATISTICS");
            break;
        case ORVLS_STATISTICS_USER:
            s.statistics_index_user = non_null_pointer<int64_t*>(options, "index_statistics", "ORVLS_STATISTICS_USER");
            s.statistics_user = non_null_pointer<Real*>(options, "statistics", "ORVLS_STATISTICS_USER");
            break;
        case ORVLS_CRITERIONS_USER:
            s.criterions_index_user = non_null_pointer<int64_t*>(options, "index_criterions", "ORVLS_CRITERIONS_USER");
            s.criterions_user = non_null_pointer<Real*>(options, "criterions", "ORVLS_CRITERIONS_USER");
            break;
        case ORVLS_PRINT_TO_TEXT:
            s.print_text = non_null_pointer<char**>(options, "text", "ORVLS_PRINT_TO_TEXT");
            ++targets;
            break;
        case ORVLS_PRINT_TO_STDOUT:
            s.print_stdout = true;
            ++targets;
            break;
        default: options.unknown(code);
        }
    }
}

template <class Real>
void check_selection_arguments(int64_t n_rows, int64_t n_candidate, const SelectionSettings<Real>& s)
{
    int64_t checks = 0;
    orvls_check_range(n_candidate, "n_candidate", 3, -1, &checks);
    if (!s.cov_input)
        orvls_check_range(n_rows, "n_rows", 1, -1, &checks);
    orvls_check_range(s.x_col_dim, "x_col_dim", n_candidate, -1, &checks);
    orvls_check_range(s.max_n_best, "max_n_best", 1, -1, &checks);
    orvls_check_col_dim(s.max_n_good_saved, "max_n_good_saved", s.max_n_best, "max_n_best");
    if (s.size_bound_given && (s.size_bound == 0 || std::abs(s.size_bound) > n_candidate)) {
        orvls_e1sti(1, s.size_bound);
        orvls_e1sti(2, n_candidate);
        orvls_ermes(5, 20061);
    }
    // Comparing sizes needs residual degrees of freedom at the full size.
    if (s.cov_input && s.criterion != Criterion::r_squared && s.cov_observations < n_candidate + 2) {
        orvls_e1sti(1, s.cov_observations);
        orvls_e1sti(2, n_candidate + 2);
        orvls_ermes(5, 20060);
    }
    if (s.cov_input && s.cov_observations < 2) {
        orvls_check_range(s.cov_observations, "n_observations", 2, -1, &checks);
    }
}

// A table of the best subsets held during the search, best first.  The
// identity of a subset is the sum of the powers of 2 of its variables'
// forward ranks, compared with ==.
template <class Real>
struct SubsetTable {
    Real* key;
    Real* identity;
    Real* rss;
    int64_t* size;
    int64_t capacity;

    void clear(Real sentinel)
    {
        for (int64_t i = 0; i < capacity; ++i) {
            key[i] = sentinel;
            identity[i] = 0;
            rss[i] = sentinel;
            size[i] = 0;
        }
    }
    Real worst() const { return key[capacity - 1]; }
    // An equal key lands behind those held, so the first one found stays ahead.
    void insert(Real new_key, Real new_identity, Real new_rss, int64_t new_size)
    {
        if (!(new_key < worst()))
            return;
        for (int64_t i = 0; i < capacity && identity[i] != 0; ++i)
            if (identity[i] == new_identity)
                return;
        int64_t place = capacity - 1;
        while (place > 0 && new_key < key[place - 1]) {
            key[place] = key[place - 1];
            identity[place] = identity[place - 1];
            rss[place] = rss[place - 1];
            size[place] = size[place - 1];
            --place;
        }
        key[place] = new_key;
        identity[place] = new_identity;
        rss[place] = new_rss;
        size[place] = new_size;
    }
};

// The search over the q candidates that can enter, in forward order, with
// the response at place q of each packed matrix.
template <class Real>
struct Search {
    Criterion criterion;
    int64_t q, max_size;
    Real n_obs, s;  // observations; 2 x the full model's residual mean square
    Real* matrices;  // q + 1 packed triangles, one per depth
    const Real* powers;  // identity of each forward rank
    SubsetTable<Real>* tables;  // per size (R-squared) or one overall

    int64_t triangle() const { return (q + 1) * (q + 2) / 2; }
    Real* level(int64_t depth) const { return matrices + depth * triangle(); }

    Real key(Real rss, int64_t k) const
    {
        if (criterion == Criterion::adjusted_r_squared)
            return n_obs - 1 - Real(k) > 0 ? rss / (n_obs - 1 - Real(k)) : std::numeric_limits<Real>::infinity();
        if (criterion == Criterion::mallows_cp)
            return rss + Real(k) * s;
        return rss;
    }
    void record(Real rss, Real identity, int64_t k)
    {
        if (k < 1 || k > max_size)
            return;
        SubsetTable<Real>& table = criterion == Criterion::r_squared ? tables[k - 1] : tables[0];
        table.insert(key(rss, k), identity, rss, k);
    }
    // True when no subset of sizes low..high below a node with residual
    // sum of squares `bound` can enter a table.
    bool cut(Real bound, int64_t low, int64_t high) const
    {
        low = std::max<int64_t>(low, 1);
        high = std::min(high, max_size);
        if (low > high)
            return true;
        if (criterion != Criterion::r_squared)
            return !(key(bound, low) < tables[0].worst());
        for (int64_t k = low; k <= high; ++k)
            if (bound < tables[k - 1].worst())
                return false;
        return true;
    }
    // The node at `depth` holds the subset `identity` of `size` variables
    // swept in; the free ones are the ranks from `first_free` on.
    void expand(int64_t depth, Real identity, int64_t size, int64_t first_free)
    {
        const Real* node = level(depth);
        const Real rss = node[packed(q, q)];
        for (int64_t j = first_free; j < q; ++j) {
            // Dropping j: the reverse sweep's change to the response diagonal.
            const Real pivot = node[packed(j, j)], cross = node[packed(j, q)];
            const Real child_rss = std::max(Real(0), rss - cross * cross / pivot);
            const Real child_identity = identity - powers[j];
            record(child_rss, child_identity, size - 1);
            const int64_t n_free = q - 1 - j;
            if (n_free == 0 || cut(child_rss, size - 1 - n_free, size - 2))
                continue;
            // Descendants read only the variables from j on and the response.
            Real* child = level(depth + 1);
            for (int64_t b = j; b <= q; ++b)
                std::copy(node + packed(j, b), node + packed(b, b) + 1, child + packed(j, b));
            sweep_packed(q + 1, child, j, false, j);
            expand(depth + 1, child_identity, size - 1, j + 1);
        }
    }
};

// Places the candidates one at a time, each time the one that lowers the
// residual sum of squares most among those with a usable pivot, and records
// the subsets met on the way when `search` is given.  Returns the number
// placed; `work` ends with them swept in.
template <class Real>
int64_t forward_order(int64_t m, const Real* sscp, Real* work, int64_t* order, const Real* powers,
                      Search<Real>* search)
{
    const Real eps = machine_table<Real>(4);
    std::copy(sscp, sscp + (m + 1) * (m + 2) / 2, work);
    Real identity = 0;
    int64_t k = 0;
    for (; k < m; ++k) {
        int64_t best = -1;
        Real best_rss = 0;
        for (int64_t v = 0; v < m; ++v) {
            const Real pivot = work[packed(v, v)];
            if (std::find(order, order + k, v) != order + k || !(pivot > 100 * eps * sscp[packed(v, v)]))
                continue;
            const Real cross = work[packed(v, m)];
            const Real rss = std::max(Real(0), work[packed(m, m)] - cross * cross / pivot);
            if (search != nullptr)
                search->record(rss, identity + powers[v], k + 1);
            if (best < 0 || rss < best_rss) {
                best = v;
                best_rss = rss;
            }
        }
        if (best < 0)
            break;
        order[k] = best;
        identity += powers[best];
        sweep_packed(m + 1, work, best, true);
    }
    return k;
}

// Every array of the search, in one block.
template <class Real>
struct SelectionWork {
    WorkArray<Real> reals;
    WorkArray<int64_t> integers;
    Real *sscp, *means, *work, *powers, *matrices, *rank_powers, *statistics;
    int64_t *order, *variables;
    SubsetTable<Real>* tables;
    WorkArray<SubsetTable<Real>> table_records;
    int64_t n_tables;

    bool allocate_for(int64_t m, int64_t n_tables_, int64_t capacity)
    {
        n_tables = n_tables_;
        const int64_t t = (m + 1) * (m + 2) / 2;
        const int64_t n_reals = 2 * t + (m + 1) + 2 * m + (m + 1) * t + 6 * m + 3 * n_tables * capacity;
        if (!reals.reset(static_cast<std::size_t>(n_reals)) ||
            !integers.reset(static_cast<std::size_t>(2 * m + n_tables * capacity)) ||
            !table_records.reset(static_cast<std::size_t>(n_tables)))
            return false;
        Real* next = reals.get();
        auto take = [&next](int64_t n) {
            Real* part = next;
            next += n;
            return part;
        };
        sscp = take(t);
        work = take(t);
        means = take(m + 1);
        powers = take(m);
        rank_powers = take(m);
        matrices = take((m + 1) * t);
        statistics = take(6 * m);
        order = integers.get();
        variables = order + m;
        tables = table_records.get();
        for (int64_t i = 0; i < n_tables; ++i) {
            SubsetTable<Real>& table = tables[i];
            table.capacity = capacity;
            table.key = take(capacity);
            table.identity = take(capacity);
            table.rss = take(capacity);
            table.size = variables + m + i * capacity;
        }
        return true;
    }
};

// The subsets reported: per size for R-squared, overall otherwise.
template <class Real>
struct Report {
    int64_t n_groups = 0, n_subsets = 0, n_variables = 0;
    WorkArray<int64_t> group_index, subset_index, variables, statistics_index;
    WorkArray<Real> criterions, statistics;
};

template <class Real>
int64_t reported_in(const SubsetTable<Real>& table, int64_t max_n_best)
{
    int64_t n = 0;
    while (n < std::min(table.capacity, max_n_best) && table.identity[n] != 0)
        ++n;
    return n;
}

// The candidates of an identity, ascending.
template <class Real>
int64_t subset_variables(Real identity, int64_t m, const Real* powers, int64_t* variables)
{
    int64_t k = 0;
    for (int64_t v = m - 1; v >= 0; --v)
        if (identity >= powers[v]) {
            identity -= powers[v];
            variables[k++] = v;
        }
    std::reverse(variables, variables + k);
    return k;
}

// The coefficient, standard error, t statistic and p-value of each
// variable of a subset, by rows, from a sweep of a copy of the
// cross-products.
template <class Real>
void subset_statistics(int64_t m, const int64_t* variables, int64_t k, Real n_obs, SelectionWork<Real>& w,
                       Real* rows)
{
    std::copy(w.sscp, w.sscp + (m + 1) * (m + 2) / 2, w.work);
    for (int64_t i = 0; i < k; ++i)
        sweep_packed(m + 1, w.work, variables[i], true);
    const Real df = n_obs - 1 - Real(k);
    const Real mse = df > 0 ? w.work[packed(m, m)] / df : missing_value<Real>();
    Real* b = w.statistics;
    Real* se = b + m;
    for (int64_t i = 0; i < k; ++i) {
        b[i] = w.work[packed(variables[i], m)];
        const Real variance = -w.work[packed(variables[i], variables[i])] * mse;
        se[i] = variance >= 0 ? std::sqrt(variance) : missing_value<Real>();
    }
    Real* table = se + m;  // k x 4 by columns, in the last 2m places
    orvls_rcoef(k, b, se, std::max(df, Real(0)), table, k);
    for (int64_t i = 0; i < k; ++i)
        for (int64_t c = 0; c < 4; ++c)
            rows[4 * i + c] = table[i + c * k];
}

// The criterion as reported: R-squared and adjusted R-squared in percent,
// Mallows Cp as rss / sigma^2 + 2 (k + 1) - n.
template <class Real>
Real reported_criterion(Criterion criterion, Real rss, int64_t k, Real total, Real n_obs, Real s)
{
    if (criterion == Criterion::r_squared)
        return 100 - rss / (total / 100);
    if (criterion == Criterion::adjusted_r_squared)
        return 100 - (rss / (n_obs - 1 - Real(k))) / (total / (n_obs - 1) / 100);
    return rss / (s / 2) + 2 * Real(k + 1) - n_obs;
}

void report_selection_memory(int64_t code, int64_t n_candidate, int64_t max_n_good_saved, int64_t max_n_best,
                             int64_t max_size)
{
    orvls_e1sti(1, n_candidate);
    orvls_e1stl(1, "n_candidate");
    orvls_e1sti(2, max_n_good_saved);
    orvls_e1stl(2, "max_n_good_saved");
    if (code == 204) {
        orvls_e1sti(3, max_n_best);
        orvls_e1stl(3, "max_n_best");
        orvls_e1sti(4, max_size);
        orvls_e1stl(4, "max_subset_size");
    }
    orvls_ermes(5, code);
}

// Runs the forward ordering and the search; false when no candidate can
// enter.  Leaves the tables filled.
template <class Real>
bool search_subsets(int64_t m, Real n_obs, Criterion criterion, int64_t max_size, SelectionWork<Real>& w,
                    Search<Real>& search, int64_t& q)
{
    const Real infinity = std::numeric_limits<Real>::infinity();
    for (int64_t i = 0; i < w.n_tables; ++i)
        w.tables[i].clear(infinity);
    q = forward_order(m, w.sscp, w.work, w.order, w.powers, static_cast<Search<Real>*>(nullptr));
    if (q == 0) {
        orvls_ermes(4, 20104);
        return false;
    }
    if (q < m)
        orvls_ermes(3, 20105);
    const Real full_rss = std::max(Real(0), w.work[packed(m, m)]);
    search = Search<Real>{criterion, q, max_size, n_obs, 2 * full_rss / (n_obs - 1 - Real(q)), w.matrices,
                          w.rank_powers, w.tables};
    // With the Cp scale known, the subsets of the ordering go into the tables.
    forward_order(m, w.sscp, w.work, w.order, w.powers, &search);
    Real* root = search.level(0);
    auto original = [&](int64_t rank) { return rank < q ? w.order[rank] : m; };
    for (int64_t b = 0; b <= q; ++b)
        for (int64_t a = 0; a <= b; ++a)
            root[packed(a, b)] = w.sscp[packed(original(a), original(b))];
    Real identity = 0;
    for (int64_t j = 0; j < q; ++j) {
        w.rank_powers[j] = w.powers[w.order[j]];
        identity += w.rank_powers[j];
        sweep_packed(q + 1, root, j, true);
    }
    search.record(std::max(Real(0), root[packed(q, q)]), identity, q);
    if (!search.cut(root[packed(q, q)], 0, q - 1))
        search.expand(0, identity, q, 0);
    return true;
}

// Gathers the reported subsets, their criteria, variables and statistics.
template <class Real>
bool build_report(int64_t m, Real n_obs, const Search<Real>& search, const SelectionSettings<Real>& s,
                  SelectionWork<Real>& w, Report<Real>& r)
{
    const Real total = w.sscp[packed(m, m)];
    r.n_groups = w.n_tables;
    for (int64_t g = 0; g < r.n_groups; ++g) {
        const SubsetTable<Real>& table = w.tables[g];
        const int64_t n = reported_in(table, s.max_n_best);
        r.n_subsets += n;
        for (int64_t i = 0; i < n; ++i)
            r.n_variables += table.size[i];
    }
    if (!r.group_index.reset(static_cast<std::size_t>(r.n_groups + 1)) ||
        !r.subset_index.reset(static_cast<std::size_t>(r.n_subsets + 1)) ||
        !r.statistics_index.reset(static_cast<std::size_t>(r.n_subsets + 1)) ||
        !r.variables.reset(static_cast<std::size_t>(r.n_variables)) ||
        !r.criterions.reset(static_cast<std::size_t>(r.n_subsets)) ||
        !r.statistics.reset(static_cast<std::size_t>(4 * r.n_variables)))
        return false;
    int64_t subset = 0, place = 0;
    for (int64_t g = 0; g < r.n_groups; ++g) {
        const SubsetTable<Real>& table = w.tables[g];
        r.group_index[static_cast<std::size_t>(g)] = subset;
        for (int64_t i = 0; i < reported_in(table, s.max_n_best); ++i, ++subset) {
            r.subset_index[static_cast<std::size_t>(subset)] = place;
            r.statistics_index[static_cast<std::size_t>(subset)] = 4 * place;
            r.criterions[static_cast<std::size_t>(subset)] =
                reported_criterion(search.criterion, table.rss[i], table.size[i], total, n_obs, search.s);
            int64_t* variables = r.variables.get() + place;
            const int64_t k = subset_variables(table.identity[i], m, w.powers, variables);
            subset_statistics(m, variables, k, n_obs, w, r.statistics.get() + 4 * place);
            place += k;
        }
    }
    r.group_index[static_cast<std::size_t>(r.n_groups)] = subset;
    r.subset_index[static_cast<std::size_t>(subset)] = place;
    r.statistics_index[static_cast<std::size_t>(subset)] = 4 * place;
    return true;
}

template <class T>
void deliver_pair(WorkArray<int64_t>& index, WorkArray<T>& values, int64_t n_index, int64_t n_values,
                  int64_t** index_address, T** values_address, int64_t* index_user, T* values_user)
{
    if (index_user != nullptr) {
        std::copy(index.get(), index.get() + n_index, index_user);
        std::copy(values.get(), values.get() + n_values, values_user);
    }
    if (index_address != nullptr) {
        *index_address = index.release();
        *values_address = values.release();
    }
}

// The report of the subsets found: per group a heading, the criteria with
// their variables, and each subset's coefficient table.
template <class Real>
char* report_text(Criterion criterion, const Report<Real>& r)
{
    static const char* const headings[] = {"\n\n Regressions with%4ld variable(s) (R-squared)\n\n",
                                           "\n\n Regressions with%4ld variable(s) (Adjusted R-squared)\n\n",
                                           "\n\n Regressions with%4ld variable(s) (Mallows  CP)\n\n"};
    char* text = nullptr;
    std::size_t length = 0;
    bool ok = append(text, length, "%s", "");
    for (int64_t g = 0; ok && g < r.n_groups; ++g) {
        const int64_t first = r.group_index[static_cast<std::size_t>(g)];
        const int64_t last = r.group_index[static_cast<std::size_t>(g + 1)];
        if (first == last)
            continue;
        const int64_t size = r.subset_index[static_cast<std::size_t>(first + 1)] -
                             r.subset_index[static_cast<std::size_t>(first)];
        ok = append(text, length, headings[static_cast<int>(criterion)], static_cast<long>(size)) &&
             append(text, length, "%s", "        Criterion         Variables\n");
        for (int64_t i = first; ok && i < last; ++i) {
            ok = append(text, length, "     %12.3g        ", double(r.criterions[static_cast<std::size_t>(i)]));
            for (int64_t v = r.subset_index[static_cast<std::size_t>(i)];
                 ok && v < r.subset_index[static_cast<std::size_t>(i + 1)]; ++v)
                ok = append(text, length, "%3ld", static_cast<long>(r.variables[static_cast<std::size_t>(v)]));
            ok = ok && append(text, length, "%s\n", "");
        }
        for (int64_t i = first; ok && i < last; ++i) {
            ok = append(text, length, "\n%-8s %14s %14s %11s %7s\n", "Variable", "Coefficient", "Standard Error",
                        "t-statistic", "p-value");
            for (int64_t v = r.subset_index[static_cast<std::size_t>(i)];
                 ok && v < r.subset_index[static_cast<std::size_t>(i + 1)]; ++v) {
                const Real* row = r.statistics.get() + 4 * v;
                ok = append(text, length, "%8ld %14.4g %14.4g %11.4g %7.4f\n",
                            static_cast<long>(r.variables[static_cast<std::size_t>(v)]), double(row[0]),
                            double(row[1]), double(row[2]), double(row[3]));
            }
        }
    }
    return ok ? text : nullptr;
}

template <class Real>
void selection(int64_t n_rows, int64_t m, const Real* x, const Real* y, OptionReader& options)
{
    SelectionSettings<Real> s;
    ExclusiveOptions criteria("ORVLS_R_SQUARED, ORVLS_ADJ_R_SQUARED, and ORVLS_MALLOWS_CP");
    int targets = 0;
    read_selection_options(options, s, criteria, targets);
    criteria.report();
    if (targets > 1)
        orvls_ermes(5, 20749);
    if (orvls_n1rty(0) > 0)
        return;
    if (s.x_col_dim < 0)
        s.x_col_dim = m;
    check_selection_arguments(n_rows, m, s);
    if (orvls_n1rty(0) > 0)
        return;
    const int64_t digits = std::numeric_limits<Real>::digits;
    if (m > digits) {
        orvls_e1sti(1, m);
        orvls_e1sti(2, digits);
        orvls_ermes(3, 65328);
    }
    const int64_t max_size = s.size_bound_given ? std::abs(s.size_bound) : m;
    const int64_t n_tables = s.criterion == Criterion::r_squared ? max_size : 1;
    SelectionWork<Real> w;
    if (!w.allocate_for(m, n_tables, s.max_n_good_saved)) {
        report_selection_memory(202, m, s.max_n_good_saved, s.max_n_best, max_size);
        return;
    }
    Real power = 1;
    for (int64_t v = 0; v < m; ++v, power += power)
        w.powers[v] = power;
    const Real n_obs = cross_products(n_rows, m, x, s.x_col_dim, y, s.frequencies, s.weights, s.cov_input,
                                      s.cov_observations, s.covariances, w.means, w.sscp);
    if (w.sscp[packed(m, m)] < 10 * machine_table<Real>(4))
        orvls_ermes(3, 20106);
    Search<Real> search{};
    int64_t q = 0;
    if (!search_subsets(m, n_obs, s.criterion, max_size, w, search, q))
        return;
    Report<Real> r;
    if (!build_report(m, n_obs, search, s, w, r)) {
        report_selection_memory(204, m, s.max_n_good_saved, s.max_n_best, max_size);
        return;
    }
    char* text = nullptr;
    if (s.print_level > 0 && (s.print_text != nullptr || s.print_stdout)) {
        text = report_text(s.criterion, r);
        if (text == nullptr) {
            report_selection_memory(204, m, s.max_n_good_saved, s.max_n_best, max_size);
            return;
        }
    }
    if (s.criterions_user != nullptr) {
        std::copy(r.group_index.get(), r.group_index.get() + r.n_groups + 1, s.criterions_index_user);
        std::copy(r.criterions.get(), r.criterions.get() + r.n_subsets, s.criterions_user);
    }
    deliver_pair(r.subset_index, r.variables, r.n_subsets + 1, r.n_variables, s.index_vectors_index,
                 s.index_vectors, s.index_vectors_index_user, s.index_vectors_user);
    deliver_pair(r.statistics_index, r.statistics, r.n_subsets + 1, 4 * r.n_variables, s.statistics_index,
                 s.statistics, s.statistics_index_user, s.statistics_user);
    deliver_report(text, s.print_text, s.print_stdout);
}

template <class Real>
void selection_entry(const char* name, int64_t n_rows, int64_t n_candidate, const Real* x, const Real* y, va_list ap)
{
    OptionReader options(ap, 4);
    envelope(name, [&] { selection(n_rows, n_candidate, x, y, options); });
}

}  // namespace

}  // namespace orvls::regression

extern "C" {

ORVLS_API void orvls_f_regression_selection(int64_t n_rows, int64_t n_candidate, float* x, float* y, ...)
{
    va_list ap;
    va_start(ap, y);
    orvls::regression::selection_entry("orvls_f_regression_selection", n_rows, n_candidate, x, y, ap);
    va_end(ap);
}

ORVLS_API void orvls_d_regression_selection(int64_t n_rows, int64_t n_candidate, double* x, double* y, ...)
{
    va_list ap;
    va_start(ap, y);
    orvls::regression::selection_entry("orvls_d_regression_selection", n_rows, n_candidate, x, y, ap);
    va_end(ap);
}

}  // extern "C"
