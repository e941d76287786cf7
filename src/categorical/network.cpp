#include "categorical/network.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "frame/machine.h"
#include "orvls.h"

namespace orvls::categorical {

namespace {

constexpr int64_t kFree = -9999;
constexpr double kLogTwoPi = 1.8378770664093454836;

void sort_increasing(int64_t* v, int64_t n)
{
    for (int64_t i = 1; i < n; ++i) {
        const int64_t x = v[i];
        int64_t j = i;
        for (; j > 0 && v[j - 1] > x; --j)
            v[j] = v[j - 1];
        v[j] = x;
    }
}

// Linear probing from key mod size, wrapping round: the slot that holds the
// key or the first free one; -1 when the table is full.
int64_t probe(int64_t* keys, int64_t size, int64_t key)
{
    const int64_t start = key % size;
    for (int64_t n = 0, slot = start; n < size; ++n, slot = slot + 1 == size ? 0 : slot + 1)
        if (keys[slot] == key || keys[slot] < 0)
            return slot;
    return -1;
}

class Search {
public:
    Search(const CountTable& table, const HybridLimits& hybrid, NetworkWork& work, NetworkTables& tables)
        : table_(table), hybrid_(hybrid), work_(work), tables_(tables), fact_(work.fact.get()),
          nr_(table.rows), nc_(table.columns), ldkey_(tables.ldkey), ldstp_(tables.ldstp)
    {
        int64_t* v = work.vectors.get();
        const int64_t k = std::max(nr_, nc_);
        iro_ = v;
        ico_ = v + k;
        kyy_ = v + 2 * k;
        mother_ = v + 3 * k;
        vector_ = v + 4 * k;
        daughter_ = v + 5 * k;
        tolerance_ = std::sqrt(machine_table<double>(4));
        emin_ = hybrid.expect > 0 ? hybrid.minimum : std::numeric_limits<double>::infinity();
    }

    NetworkEnd run(NetworkResult& result);

private:
    bool set_up();
    void start_stage(int64_t stage);
    bool process_mother(const int64_t* mother, int64_t head);
    bool node_bounds(int64_t slot, int64_t nonzero);
    double hybrid_statistic(const int64_t* r, int64_t nr) const;
    bool store_path(int64_t key, double length, int64_t frequency);
    void decode(int64_t key, int64_t* margins) const;
    NetworkEnd full(int64_t code, int64_t size);

    int64_t* node_keys(int half) const { return tables_.key.get() + half * ldkey_; }
    int64_t* node_heads(int half) const { return tables_.ipoin.get() + half * ldkey_; }
    double* lengths(int section) const { return tables_.stp.get() + section * ldstp_; }
    int64_t* frequencies(int section) const { return tables_.ifrq.get() + section * ldstp_; }
    int64_t* chains(int section) const { return tables_.ifrq.get() + (2 + section) * ldstp_; }
    int64_t* smaller() const { return tables_.ifrq.get() + 4 * ldstp_; }
    int64_t* larger() const { return tables_.ifrq.get() + 5 * ldstp_; }

    const CountTable& table_;
    const HybridLimits& hybrid_;
    NetworkWork& work_;
    NetworkTables& tables_;
    const double* fact_;
    const int64_t nr_, nc_, ldkey_, ldstp_;
    int64_t *iro_, *ico_, *kyy_, *mother_, *vector_, *daughter_;
    double tolerance_, emin_;
    double dro_ = 0, obs_ = 0, p_ = 0;
    // The stage in hand: the column it removes, what remains after it.
    int64_t removed_ = 0, k1_ = 0, remaining_total_ = 0;
    const int64_t* remaining_ = nullptr;
    double column_part_ = 0;
    int current_ = 0;  // node half and path section of the mothers
    int64_t top_ = 0;  // records used in the daughters' section
    NetworkEnd end_ = NetworkEnd::done;
};

NetworkEnd Search::full(int64_t code, int64_t size)
{
    orvls_e1sti(1, size);
    orvls_ermes(3, code);
    end_ = NetworkEnd::tables_full;
    return end_;
}

// Sorted margins, key multipliers and the observed length.
bool Search::set_up()
{
    for (int64_t i = 0; i < nr_; ++i)
        iro_[i] = table_.row_totals[static_cast<std::size_t>(i)];
    for (int64_t j = 0; j < nc_; ++j)
        ico_[j] = table_.column_totals[static_cast<std::size_t>(j)];
    sort_increasing(iro_, nr_);
    sort_increasing(ico_, nc_);

    // Mixed radix: kyy[i] = kyy[i - 1] (iro[i - 1] + 1), the largest key
    // (iro[nr - 1] + 1) kyy[nr - 1] - 1 included.
    kyy_[0] = 1;
    for (int64_t i = 1; i <= nr_; ++i) {
        const int64_t radix = iro_[i - 1] + 1;
        int64_t next;
        if (__builtin_mul_overflow(kyy_[i - 1], radix, &next)) {
            orvls_ermes(4, 20543);
            return false;
        }
        if (i < nr_)
            kyy_[i] = next;
    }

    dro_ = fact_[table_.total];
    for (int64_t i = 0; i < nr_; ++i)
        dro_ -= fact_[iro_[i]];
    obs_ = tolerance_;
    for (int64_t j = 0; j < nc_; ++j) {
        obs_ += fact_[table_.column_totals[static_cast<std::size_t>(j)]];
        for (int64_t i = 0; i < nr_; ++i)
            obs_ -= fact_[table_.at(i, j)];
    }
    obs_ -= dro_;
    return true;
}

// Stage s (1-based) removes the s-th smallest column.
void Search::start_stage(int64_t stage)
{
    removed_ = ico_[stage - 1];
    k1_ = nc_ - stage;
    remaining_ = ico_ + stage;
    remaining_total_ = 0;
    column_part_ = 0;
    for (int64_t j = 0; j < k1_; ++j) {
        remaining_total_ += remaining_[j];
        column_part_ += fact_[remaining_[j]];
    }
    std::fill(tables_.bound_key.get(), tables_.bound_key.get() + 2 * ldkey_, kFree);
    top_ = 0;
}

void Search::decode(int64_t key, int64_t* margins) const
{
    for (int64_t i = nr_ - 1; i >= 1; --i) {
        margins[i] = key / kyy_[i];
        key -= margins[i] * kyy_[i];
    }
    margins[0] = key;
}

// The chi-squared statistic of the hybrid test at a daughter with the
// non-zero row margins r (increasing), or NaN where the test does not apply.
double Search::hybrid_statistic(const int64_t* r, int64_t nr) const
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double total = static_cast<double>(remaining_total_);
    if (hybrid_.expect <= 0 || nr < 1 || remaining_[0] < 1 ||
        !(static_cast<double>(r[0]) * static_cast<double>(remaining_[0]) > total * emin_))
        return nan;
    int64_t n_ge = 0;
    for (int64_t i = 0; i < nr; ++i)
        for (int64_t j = 0; j < k1_; ++j)
            n_ge += static_cast<double>(r[i]) * static_cast<double>(remaining_[j]) >= total * hybrid_.expect;
    if (100 * static_cast<double>(n_ge) < static_cast<double>(k1_ * nr) * hybrid_.percent)
        return nan;
    const int64_t df = (nr - 1) * (k1_ - 1);
    if (df < 1)
        return nan;
    double rows = 0, columns = 0;
    for (int64_t i = 0; i < nr; ++i)
        rows += fact_[r[i]] - fact_[r[i] - 1];
    for (int64_t j = 0; j < k1_; ++j)
        columns += fact_[remaining_[j]] - fact_[remaining_[j] - 1];
    const double h = static_cast<double>(k1_ - 1) * rows + static_cast<double>(nr - 1) * columns +
                     static_cast<double>(df) * kLogTwoPi -
                     static_cast<double>(nr * k1_ - 1) * (fact_[remaining_total_] - fact_[remaining_total_ - 1]);
    return -2 * obs_ - h;
}

// The longest and shortest remaining paths and the hybrid statistic of the
// daughter in daughter_, the first `zeros` of whose margins are zero.
bool Search::node_bounds(int64_t slot, int64_t zeros)
{
    const int64_t* r = daughter_ + zeros;
    const int64_t nr = nr_ - zeros;
    double longest = 0;
    const BoundStatus status = work_.bounds.longest(r, nr, remaining_, k1_, remaining_total_, longest);
    if (status != BoundStatus::ok) {
        orvls_ermes(status == BoundStatus::key_overflow ? 4 : 5, status == BoundStatus::key_overflow ? 20546 : 200);
        end_ = NetworkEnd::failed;
        return false;
    }
    tables_.dlp[static_cast<std::size_t>(slot)] = std::min(0.0, longest);
    tables_.dsp[static_cast<std::size_t>(slot)] =
        std::min(0.0, work_.bounds.shortest(r, nr, remaining_, k1_, column_part_) - column_part_);
    tables_.tm[static_cast<std::size_t>(slot)] = hybrid_statistic(r, nr);
    return true;
}

// Files a path of the given length under its node in the daughters' stage:
// lengths within the tolerance of a stored one add to its frequency.
bool Search::store_path(int64_t key, double length, int64_t frequency)
{
    const int next = 1 - current_;
    int64_t* keys = node_keys(next);
    const int64_t slot = probe(keys, ldkey_, key);
    if (slot < 0) {
        full(20544, ldkey_);
        return false;
    }
    double* stored = lengths(next);
    int64_t* freq = frequencies(next);
    int64_t* chain = chains(next);
    int64_t* less = smaller();
    int64_t* more = larger();
    auto new_record = [&](double len, int64_t f) -> int64_t {
        if (top_ >= ldstp_) {
            full(20545, ldstp_);
            return -1;
        }
        const int64_t record = top_++;
        stored[record] = len;
        freq[record] = f;
        chain[record] = -1;
        less[record] = more[record] = -1;
        return record;
    };
    if (keys[slot] != key) {
        const int64_t record = new_record(length, frequency);
        if (record < 0)
            return false;
        keys[slot] = key;
        node_heads(next)[slot] = record;
        return true;
    }
    int64_t node = node_heads(next)[slot];
    for (;;) {
        int64_t* link;
        if (stored[node] < length - tolerance_) {
            link = &more[node];
        } else if (stored[node] > length + tolerance_) {
            link = &less[node];
        } else {
            if (__builtin_add_overflow(freq[node], frequency, &freq[node])) {
                orvls_ermes(4, 20547);
                end_ = NetworkEnd::failed;
                return false;
            }
            return true;
        }
        if (*link >= 0) {
            node = *link;
            continue;
        }
        const int64_t record = new_record(length, frequency);
        if (record < 0)
            return false;
        *link = record;
        chain[record] = chain[node];
        chain[node] = record;
        return true;
    }
}

// Every way of filling the removed column from the mother's margins, and
// each stored path of the mother through it: counted, passed to the chi-
// squared approximation, filed for the next stage or dropped.
bool Search::process_mother(const int64_t* mother, int64_t head)
{
    int64_t* v = vector_;
    int64_t* d = daughter_;
    const double* stored = lengths(current_);
    const int64_t* freq = frequencies(current_);
    const int64_t* chain = chains(current_);
    if (!first_vector(nr_, mother, removed_, v))
        return true;
    do {
        double arc = fact_[removed_], rows_part = 0;
        for (int64_t i = 0; i < nr_; ++i) {
            d[i] = mother[i] - v[i];
            arc -= fact_[v[i]];
            rows_part += fact_[d[i]];
        }
        const double node_term = arc + fact_[remaining_total_] - rows_part;
        double all_count = obs_ - node_term, none_count = all_count, hybrid = std::numeric_limits<double>::quiet_NaN();
        int64_t key = 0, df = 0;
        if (k1_ >= 2) {
            sort_increasing(d, nr_);
            int64_t zeros = 0;
            while (zeros < nr_ && d[zeros] == 0)
                ++zeros;
            for (int64_t i = 0; i < nr_; ++i)
                key += d[i] * kyy_[i];
            const int64_t slot = probe(tables_.bound_key.get(), 2 * ldkey_, key);
            if (slot < 0) {
                full(20544, ldkey_);
                return false;
            }
            if (tables_.bound_key[static_cast<std::size_t>(slot)] != key) {
                tables_.bound_key[static_cast<std::size_t>(slot)] = key;
                if (!node_bounds(slot, zeros))
                    return false;
            }
            const double base = obs_ - arc - column_part_;
            all_count = base - tables_.dlp[static_cast<std::size_t>(slot)];
            none_count = base - tables_.dsp[static_cast<std::size_t>(slot)];
            hybrid = tables_.tm[static_cast<std::size_t>(slot)];
            df = (nr_ - zeros - 1) * (k1_ - 1);
        }
        for (int64_t record = head; record >= 0; record = chain[record]) {
            const double past = stored[record];
            if (past <= all_count) {
                p_ += static_cast<double>(freq[record]) * std::exp(past + node_term);
            } else if (past < none_count) {
                if (!std::isnan(hybrid)) {
                    const double x = std::max(0.0, hybrid + 2 * (past + node_term));
                    const double tail = 1 - orvls_d_chi_squared_cdf(x, static_cast<double>(df));
                    p_ += static_cast<double>(freq[record]) * std::exp(past + node_term) * tail;
                } else if (!store_path(key, past + arc, freq[record])) {
                    return false;
                }
            }
        }
    } while (next_vector(nr_, mother, v));
    return true;
}

NetworkEnd Search::run(NetworkResult& result)
{
    if (!set_up())
        return NetworkEnd::failed;
    result.prob_table = std::exp(obs_);
    if (nr_ == 1) {
        result.p_value = 1;
        return NetworkEnd::done;
    }
    std::fill(tables_.key.get(), tables_.key.get() + 2 * ldkey_, kFree);
    // The root: one path of length -dro in the mothers' section.
    current_ = 0;
    lengths(0)[0] = -dro_;
    frequencies(0)[0] = 1;
    chains(0)[0] = -1;
    start_stage(1);
    if (!process_mother(iro_, 0))
        return end_;
    for (int64_t stage = 2; nc_ - stage + 1 >= 2; ++stage) {
        current_ = 1 - current_;
        start_stage(stage);
        int64_t* keys = node_keys(current_);
        const int64_t* heads = node_heads(current_);
        for (int64_t slot = 0; slot < ldkey_; ++slot) {
            if (keys[slot] < 0)
                continue;
            decode(keys[slot], mother_);
            keys[slot] = kFree;
            if (!process_mother(mother_, heads[slot]))
                return end_;
        }
    }
    result.p_value = p_;
    return NetworkEnd::done;
}

}  // namespace

bool NetworkTables::allocate(int64_t key_size, int64_t node_size)
{
    ldkey = key_size;
    ldstp = node_size;
    const auto keys = static_cast<std::size_t>(2 * key_size), nodes = static_cast<std::size_t>(node_size);
    key.reset(keys);
    ipoin.reset(keys);
    stp.reset(2 * nodes);
    ifrq.reset(6 * nodes);
    bound_key.reset(keys);
    dlp.reset(keys);
    dsp.reset(keys);
    tm.reset(keys);
    return key.ok() && ipoin.ok() && stp.ok() && ifrq.ok() && bound_key.ok() && dlp.ok() && dsp.ok() && tm.ok();
}

bool NetworkWork::allocate(int64_t total, int64_t k)
{
    fact.reset(static_cast<std::size_t>(total) + 1);
    vectors.reset(static_cast<std::size_t>(8 * k));
    if (!fact.ok() || !vectors.ok() || !bounds.reserve(k))
        return false;
    fill_log_factorials(total, fact.get());
    bounds.fact = fact.get();
    bounds.tolerance = std::sqrt(machine_table<double>(4));
    return true;
}

NetworkEnd l_c2epr(const CountTable& table, const HybridLimits& hybrid, NetworkWork& work, NetworkTables& tables,
                   NetworkResult& result)
{
    orvls_e1psh("l_c2epr");
    Search search(table, hybrid, work, tables);
    const NetworkEnd end = search.run(result);
    orvls_e1pop("l_c2epr");
    return end;
}

}  // namespace orvls::categorical
