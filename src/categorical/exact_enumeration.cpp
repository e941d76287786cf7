// Fisher's exact test of a small r by c table by visiting every table with
// the observed margins: the public routine and its worker l_c2prb.
#include <algorithm>
#include <cmath>
#include <cstdarg>

#include "categorical/exact.h"
#include "frame/envelope.h"

namespace orvls::categorical {

namespace {

struct Enumeration {
    const CountTable& table;
    const double* fact;
    int64_t* remaining;  // what each row has left to place
    int64_t* room_at;    // room_at[j]: the total of columns j..
    double constant = 0;  // log of prod row! prod column! / N!
    double observed = 0;  // log probability of the observed table
    double slack = 0;     // log of the factor 1 - 10000 eps
    double floor = 0;     // log probabilities below this add nothing
    double p = 0;
    int64_t tables = 0;

    void fill_column(int64_t j, int64_t i, int64_t left, int64_t room, double log_cells);
    void last_column(double log_cells);
};

// The last column takes what every row has left.
void Enumeration::last_column(double log_cells)
{
    for (int64_t i = 0; i < table.rows; ++i)
        log_cells += fact[remaining[i]];
    ++tables;
    const double log_probability = constant - log_cells;
    if (log_probability + slack <= observed && log_probability > floor)
        p += std::exp(log_probability);
}

// Cell (i, j) takes each count that leaves rows i + 1.. able to hold the
// rest of column j; the last row takes what is left.  `room` is what rows
// i.. have left before this column.
void Enumeration::fill_column(int64_t j, int64_t i, int64_t left, int64_t room, double log_cells)
{
    if (j == table.columns - 1) {
        last_column(log_cells);
        return;
    }
    if (i == table.rows - 1) {
        remaining[i] -= left;
        fill_column(j + 1, 0, table.column_totals[static_cast<std::size_t>(j + 1)], room_at[j + 1],
                    log_cells + fact[left]);
        remaining[i] += left;
        return;
    }
    const int64_t room_below = room - remaining[i];
    const int64_t low = std::max<int64_t>(0, left - room_below), high = std::min(remaining[i], left);
    for (int64_t x = low; x <= high; ++x) {
        remaining[i] -= x;
        fill_column(j, i + 1, left - x, room_below, log_cells + fact[x]);
        remaining[i] += x;
    }
}

// l_c2prb: the p-value, the observed probability and the number of tables.
void l_c2prb(const CountTable& table, const double* fact, int64_t* work, double& p, double& probability,
             int64_t& tables)
{
    orvls_e1psh("l_c2prb");
    Enumeration e{table, fact, work, work + table.rows};
    e.constant = -fact[table.total];
    for (int64_t i = 0; i < table.rows; ++i)
        e.constant += fact[table.row_totals[static_cast<std::size_t>(i)]];
    for (int64_t j = 0; j < table.columns; ++j)
        e.constant += fact[table.column_totals[static_cast<std::size_t>(j)]];
    e.observed = e.constant;
    for (int64_t i = 0; i < table.rows; ++i)
        for (int64_t j = 0; j < table.columns; ++j)
            e.observed -= fact[table.at(i, j)];
    e.slack = std::log1p(-10000 * machine_table<double>(4));
    e.floor = std::log(machine_table<double>(1)) + 10;
    for (int64_t i = 0; i < table.rows; ++i)
        e.remaining[i] = table.row_totals[static_cast<std::size_t>(i)];
    e.room_at[table.columns - 1] = table.column_totals[static_cast<std::size_t>(table.columns - 1)];
    for (int64_t j = table.columns - 2; j >= 0; --j)
        e.room_at[j] = e.room_at[j + 1] + table.column_totals[static_cast<std::size_t>(j)];
    e.fill_column(0, 0, table.column_totals[0], e.room_at[0], 0);
    p = as_probability(e.p);
    probability = std::exp(e.observed);
    tables = e.tables;
    orvls_e1pop("l_c2prb");
}

template <class Real>
Real exact_enumeration(int64_t n_rows, int64_t n_columns, const Real* table, OptionReader& options)
{
    ExactOutputs<Real> outputs(n_columns);
    int64_t* table_count = nullptr;
    int code;
    while (options.next(code)) {
        if (outputs.read(options, code))
            continue;
        if (code == ORVLS_TABLE_COUNT) {
            table_count = options.pointer<int64_t*>();
            refuse_null_user(table_count, "table_count", "ORVLS_TABLE_COUNT");
        } else {
            options.unknown(code);
        }
    }
    CountTable counts;
    if (orvls_n1rty(0) > 0 || !read_exact_table(n_rows, n_columns, table, outputs, counts)) {
        outputs.store_missing();
        return missing_value<Real>();
    }
    if (counts.total == 0) {
        orvls_ermes(6, 20540);
        outputs.store_missing();
        return Real(1);
    }
    WorkArray<int64_t> work(static_cast<std::size_t>((n_rows + 2) * (n_columns + 2)));
    if (!work.ok()) {
        orvls_e1sti(1, n_rows);
        orvls_e1stl(1, "n_rows");
        orvls_e1sti(2, n_columns);
        orvls_e1stl(2, "n_columns");
        orvls_ermes(5, 202);
        outputs.store_missing();
        return missing_value<Real>();
    }
    WorkArray<double> fact(static_cast<std::size_t>(counts.total) + 1);
    if (!fact.ok()) {
        orvls_e1sti(1, counts.total);
        orvls_e1stl(1, "sum of all cell counts");
        orvls_ermes(5, 201);
        outputs.store_missing();
        return missing_value<Real>();
    }
    fill_log_factorials(counts.total, fact.get());
    double p = 0, probability = 0;
    int64_t tables = 0;
    l_c2prb(counts, fact.get(), work.get(), p, probability, tables);
    outputs.store(p, probability);
    if (table_count != nullptr)
        *table_count = tables;
    return static_cast<Real>(p);
}

template <class Real>
Real exact_enumeration_entry(const char* name, int64_t n_rows, int64_t n_columns, const Real* table, va_list ap)
{
    OptionReader options(ap, 3);
    return envelope<Real>(name, missing_value<Real>(),
                          [&] { return exact_enumeration(n_rows, n_columns, table, options); });
}

}  // namespace

}  // namespace orvls::categorical

extern "C" {

ORVLS_API float orvls_f_exact_enumeration(int64_t n_rows, int64_t n_columns, const float* table, ...)
{
    va_list ap;
    va_start(ap, table);
    const float p =
        orvls::categorical::exact_enumeration_entry("orvls_f_exact_enumeration", n_rows, n_columns, table, ap);
    va_end(ap);
    return p;
}

ORVLS_API double orvls_d_exact_enumeration(int64_t n_rows, int64_t n_columns, const double* table, ...)
{
    va_list ap;
    va_start(ap, table);
    const double p =
        orvls::categorical::exact_enumeration_entry("orvls_d_exact_enumeration", n_rows, n_columns, table, ap);
    va_end(ap);
    return p;
}

}  // extern "C"
