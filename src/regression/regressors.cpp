// Regressors of general linear models: the class values of the class
// variables, the expansion of rows into dummy-coded regressors, and the
// public routine that builds the regressor matrix of a table.
#include "regression/regressors.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdint>

#include "basic/precision.h"
#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "orvls.h"

namespace orvls::regression {

namespace {

// ---------------------------------------------------------------------------
// Argument checks shared by the kernels and the public routine.

constexpr int64_t kNoLimit = INT64_MAX;

// The first entry of values[0..n) outside low..high is refused with `code`:
// int 1 = its position from 1, int 2 = the entry plus `shown_shift` (so that
// a one-based column shows as the caller gave it), int 3 = high when there
// is a limit.
bool entries_in_range(int64_t n, const int64_t* values, int64_t low, int64_t high, int64_t code,
                      int64_t shown_shift = 0)
{
    for (int64_t k = 0; k < n; ++k) {
        if (values[k] < low || values[k] > high) {
            orvls_e1sti(1, k + 1);
            orvls_e1sti(2, values[k] + shown_shift);
            if (high != kNoLimit)
                orvls_e1sti(3, high);
            orvls_ermes(5, code);
            return false;
        }
    }
    return true;
}

bool check_class_columns(int64_t nclvar, const int64_t* indcl, int64_t ncol)
{
    return entries_in_range(nclvar, indcl, 1, ncol, 20235);
}

bool check_effect_sizes(int64_t nef, const int64_t* nvef) { return entries_in_range(nef, nvef, 1, kNoLimit, 20237); }

int64_t effect_entries(int64_t nef, const int64_t* nvef)
{
    int64_t entries = 0;
    for (int64_t e = 0; e < nef; ++e)
        entries += nvef[e];
    return entries;
}

// The one-based effect columns within 1..ncol are told zero-based, as a
// caller of the public routine names them.
bool check_effects(int64_t nef, const int64_t* nvef, const int64_t* indef, int64_t ncol)
{
    int64_t checks = 0;
    return orvls_check_range(nef, "nef", 0, -1, &checks) && check_effect_sizes(nef, nvef) &&
           entries_in_range(effect_entries(nef, nvef), indef, 1, ncol, 20238, -1);
}

// A count of rows at least 0 (603) and a leading dimension that spans them (600).
bool check_rows(int64_t nrow, int64_t ldx, const char* ld_name)
{
    int64_t checks = 0;
    return orvls_check_range(nrow, "nrow", 0, -1, &checks) && orvls_check_col_dim(ldx, ld_name, nrow, "nrow");
}

bool check_class_variables(int64_t nclvar, const int64_t* indcl, int64_t ncol)
{
    int64_t checks = 0;
    return orvls_check_range(nclvar, "nclvar", 0, -1, &checks) && check_class_columns(nclvar, indcl, ncol);
}

// ---------------------------------------------------------------------------
// Class tables.

// One-based place of v in a run of n values, 0 when it is not there.
template <class Real>
int64_t place_in_run(Real v, const Real* run, int64_t n)
{
    for (int64_t m = 0; m < n; ++m)
        if (run[m] == v)
            return m + 1;
    return 0;
}

int64_t run_start(int64_t k, const int64_t* nclval)
{
    int64_t start = 0;
    for (int64_t j = 0; j < k; ++j)
        start += nclval[j];
    return start;
}

template <class Real>
void collect_class_values(int64_t ido, int64_t nrow, const Real* x, int64_t ldx, int64_t nclvar,
                          const int64_t* indcl, int64_t maxcl, int64_t* nclval, Real* clval, int64_t* nmiss)
{
    if (ido < 2) {
        std::fill_n(nclval, nclvar, 0);
        std::fill_n(nmiss, nclvar, 0);
    }
    int64_t total = run_start(nclvar, nclval);
    for (int64_t k = 0; k < nclvar; ++k) {
        const Real* column = x + (indcl[k] - 1) * ldx;
        const int64_t start = run_start(k, nclval);
        for (int64_t i = 0; i < nrow; ++i) {
            const Real v = column[i];
            if (std::isnan(v)) {
                ++nmiss[k];
                continue;
            }
            if (place_in_run(v, clval + start, nclval[k]) != 0)
                continue;
            if (total == maxcl) {
                orvls_e1sti(1, maxcl);
                orvls_ermes(4, 20236);
                return;
            }
            // The runs behind this one move up a place, so clval stays packed.
            Real* end = clval + start + nclval[k];
            std::copy_backward(end, clval + total, clval + total + 1);
            *end = v;
            ++nclval[k];
            ++total;
        }
    }
    if (ido == 0 || ido == 3)
        for (int64_t k = 0; k < nclvar; ++k)
            basic::sort_in_place(nclval[k], clval + run_start(k, nclval));
}

// ---------------------------------------------------------------------------
// Row expansion.

// A model with the counts that its row expansion needs.
template <class Real>
struct Design : GlmModel<Real> {
    using GlmModel<Real>::nclvar, GlmModel<Real>::indcl, GlmModel<Real>::nclval, GlmModel<Real>::nef,
        GlmModel<Real>::nvef, GlmModel<Real>::indef, GlmModel<Real>::method;

    // The class variable in column c, or -1 for a continuous column.
    int64_t class_of(int64_t c) const
    {
        for (int64_t k = 0; k < nclvar; ++k)
            if (indcl[k] == c)
                return k;
        return -1;
    }
    // Classes that a variable's code leaves out: the last one under methods 2 and 3.
    int64_t left_out() const { return method == 1 ? 0 : 1; }
    // Regressors of an effect: the product over its class columns of their
    // coded classes.  0 when a class variable with one value is coded
    // without its last class.
    int64_t width(const int64_t* columns, int64_t n_columns) const
    {
        int64_t w = 1;
        for (int64_t t = 0; t < n_columns; ++t) {
            const int64_t k = class_of(columns[t]);
            if (k >= 0)
                w *= nclval[k] - left_out();
        }
        return w;
    }
    int64_t regressors() const
    {
        int64_t total = 0;
        const int64_t* columns = indef;
        for (int64_t e = 0; e < nef; columns += nvef[e++])
            total += width(columns, nvef[e]);
        return total;
    }
};

// The cells of one effect's block in the output, cell k at
// out[origin + k step].  The address is formed only when a cell is used, so
// a count without output may pass no array.
template <class Real>
struct Block {
    Real* out;
    int64_t origin;
    int64_t step;

    Real& operator[](int64_t k) const { return out[origin + k * step]; }
    void fill(int64_t n, Real value) const
    {
        for (int64_t k = 0; k < n; ++k)
            (*this)[k] = value;
    }
    void scale(int64_t n, Real factor) const
    {
        for (int64_t k = 0; k < n; ++k)
            (*this)[k] *= factor;
    }
    // The first n cells again at copies more places behind them.
    void repeat(int64_t n, int64_t copies) const
    {
        for (int64_t r = 1; r <= copies; ++r)
            for (int64_t k = 0; k < n; ++k)
                (*this)[r * n + k] = (*this)[k];
    }
    // The first n cells move to place `to`; the other cells of the first
    // `width` are cleared.
    void move_into(int64_t n, int64_t to, int64_t width) const
    {
        for (int64_t k = n - 1; k >= 0 && to > 0; --k)
            (*this)[to + k] = (*this)[k];
        for (int64_t k = 0; k < width; ++k)
            if (k < to || k >= to + n)
                (*this)[k] = 0;
    }
};

enum class EffectOutcome { complete, missing, abandoned };

// Expands one effect of a row whose column c lies at row[(c - 1) x_step].
// The columns are taken from last to first, so that the last varies fastest
// in the block.  pos is the place of the one nonzero cell while no class
// column sits at its last class (or under method 1); after that, method 2
// gives zeros and method 3 builds its -1 pattern in the block as it goes.
// With `write` false nothing is written, which keeps an effect of no cells
// from writing into its neighbours.
template <class Real>
EffectOutcome expand_effect(const Design<Real>& d, const int64_t* columns, int64_t n_columns, const Real* row,
                            int64_t x_step, const Block<Real>& block, bool write)
{
    const int64_t method = d.method;
    bool miss = false;
    int64_t nlast = 0, nclass = 0, pos = 0, blk = 1;
    Real prod = 1;
    for (int64_t t = n_columns - 1; t >= 0; --t) {
        const int64_t c = columns[t];
        const Real v = row[(c - 1) * x_step];
        miss = miss || std::isnan(v);
        const int64_t k = d.class_of(c);
        if (k < 0) {
            if (miss)
                continue;
            if (nlast == 0 || method != 3)
                prod *= v;
            else if (write)
                block.scale(blk, v);
            continue;
        }
        const int64_t n = d.nclval[k];
        const int64_t coded = n - d.left_out();
        if (miss) {
            blk *= coded;
            continue;
        }
        ++nclass;
        const int64_t m = place_in_run(v, d.clval + run_start(k, d.nclval), n);
        if (m == 0) {
            miss = true;
            blk *= coded;
            continue;
        }
        if (coded == 0)
            return EffectOutcome::abandoned;
        if (m == n)
            ++nlast;
        if (nlast == 0 || method == 1) {
            pos += (m - 1) * blk;
        } else if (method == 3 && write) {
            if (m < n) {
                block.move_into(blk, (m - 1) * blk, coded * blk);
            } else if (nclass == 1) {
                block.fill(coded, -prod);
            } else {
                if (nlast == 1) {
                    block.fill(blk, 0);
                    block[pos] = -prod;
                } else {
                    block.scale(blk, -1);
                }
                block.repeat(blk, n - 2);
            }
        }
        blk *= coded;
    }
    if (write) {
        if (miss) {
            block.fill(blk, missing_value<Real>());
        } else if (method == 1 || nlast == 0) {
            block.fill(blk, 0);
            block[pos] = prod;
        } else if (method == 2) {
            block.fill(blk, 0);
        }
    }
    return miss ? EffectOutcome::missing : EffectOutcome::complete;
}

// Rows i < nrow of x (column-major, leading dimension ldx) into the cells
// out[i row_step + k column_step], or only looked at when `write` is false;
// the number of rows with a missing effect.
template <class Real>
int64_t expand_rows(const Design<Real>& d, int64_t nrow, const Real* x, int64_t ldx, Real* out, int64_t row_step,
                    int64_t column_step, bool write)
{
    int64_t nrmiss = 0;
    for (int64_t i = 0; i < nrow; ++i) {
        bool missing = false;
        int64_t place = 0;
        const int64_t* columns = d.indef;
        for (int64_t e = 0; e < d.nef; columns += d.nvef[e++]) {
            const int64_t width = d.width(columns, d.nvef[e]);
            const Block<Real> block{out, i * row_step + place * column_step, column_step};
            missing = (expand_effect(d, columns, d.nvef[e], x + i, ldx, block, write && width > 0) ==
                       EffectOutcome::missing) ||
                      missing;
            place += width;
        }
        nrmiss += missing;
    }
    return nrmiss;
}

// ---------------------------------------------------------------------------
// The public routine.

// What the option list asks for.
template <class Real>
struct Request {
    int64_t dummy_method = 1;
    int64_t model_order = 1;
    bool effects_given = false;
    int64_t n_effects = 0;
    const int64_t* n_var_effects = nullptr;
    const int64_t* indices_effects = nullptr;
    int64_t x_col_dim;
    Real** regressors = nullptr;  // allocate, and store the address here
    Real* regressors_user = nullptr;
    bool regressors_col_dim_given = false;
    int64_t regressors_col_dim = 0;
    const int64_t* class_columns = nullptr;

    explicit Request(int64_t n_var) : x_col_dim(n_var) {}
    bool output() const { return regressors != nullptr || regressors_user != nullptr; }
};

template <class Real>
void read_options(OptionReader& options, int64_t n_class, Request<Real>& request, ExclusiveOptions& model_options)
{
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_DUMMY_METHOD: request.dummy_method = options.integer(); break;
        case ORVLS_GLM_RESERVED: options.skip_place(); break;
        case ORVLS_INDICES_EFFECTS:
            model_options.seen();
            request.effects_given = true;
            request.n_effects = options.integer();
            request.n_var_effects = options.pointer<const int64_t*>();
            request.indices_effects = options.pointer<const int64_t*>();
            if (request.n_effects > 0) {
                refuse_null_user(request.n_var_effects, "n_var_effects", "ORVLS_INDICES_EFFECTS");
                refuse_null_user(request.indices_effects, "indices_effects", "ORVLS_INDICES_EFFECTS");
            }
            break;
        case ORVLS_MODEL_ORDER:
            model_options.seen();
            request.model_order = options.integer();
            break;
        case ORVLS_X_COL_DIM: request.x_col_dim = options.integer(); break;
        case ORVLS_REGRESSORS:
            request.regressors = non_null_pointer<Real**>(options, "regressors", "ORVLS_REGRESSORS");
            request.regressors_user = nullptr;
            break;
        case ORVLS_REGRESSORS_USER:
            request.regressors_user = non_null_pointer<Real*>(options, "regressors", "ORVLS_REGRESSORS_USER");
            request.regressors = nullptr;
            break;
        case ORVLS_REGRESSORS_COL_DIM:
            request.regressors_col_dim_given = true;
            request.regressors_col_dim = options.integer();
            break;
        case ORVLS_X_CLASS_COLUMNS:
            request.class_columns = options.pointer<const int64_t*>();
            if (n_class > 0)
                refuse_null_user(request.class_columns, "class_columns", "ORVLS_X_CLASS_COLUMNS");
            break;
        default: options.unknown(code);
        }
    }
}

// The checks of the counts and options; false when the call ends.  The
// counts first, then the two conditions that end the checks at once, then
// the three that are all reported.
template <class Real>
bool check_request(int64_t n_observations, int64_t n_class, int64_t n_cont, const Request<Real>& request,
                   const ExclusiveOptions& model_options)
{
    int64_t checks = 0;
    orvls_check_range(n_observations, "nobs", 1, -1, &checks);
    orvls_check_range(n_class, "n_class", 0, -1, &checks);
    orvls_check_range(n_cont, "n_cont", 0, -1, &checks);
    if (request.effects_given)
        orvls_check_range(request.n_effects, "n_effects", 0, -1, &checks);
    if (orvls_n1rty(0) > 0)
        return false;
    if (n_class + n_cont < 1) {
        orvls_ermes(5, 20234);
        return false;
    }
    if (model_options.report())
        return false;
    if (request.model_order < 1 || request.model_order > 2) {
        orvls_e1sti(1, request.model_order);
        orvls_ermes(5, 20230);
    }
    if (request.dummy_method < 1 || request.dummy_method > 3)
        orvls_ermes(5, 20232);
    if (request.x_col_dim < n_class + n_cont) {
        orvls_e1sti(1, request.x_col_dim);
        orvls_ermes(5, 20233);
    }
    return orvls_n1rty(0) == 0;
}

// n a b, or false when it does not fit the index type.
bool product(int64_t a, int64_t b, int64_t& n) { return !__builtin_mul_overflow(a, b, &n); }

template <class T>
bool allocate_or_report(WorkArray<T>& array, int64_t n)
{
    if (array.reset(static_cast<std::size_t>(n)))
        return true;
    orvls_ermes(5, 200);
    return false;
}

// An allocation whose size two counts give (202).
template <class T>
bool allocate_or_report(WorkArray<T>& array, int64_t n1, const char* name1, int64_t n2, const char* name2)
{
    int64_t n = 0;
    if (product(n1, n2, n) && array.reset(static_cast<std::size_t>(n)))
        return true;
    orvls_e1sti(1, n1);
    orvls_e1stl(1, name1);
    orvls_e1sti(2, n2);
    orvls_e1stl(2, name2);
    orvls_ermes(5, 202);
    return false;
}

// The one-based class columns: the given ones, or the first n_class.
bool class_columns(int64_t n_class, const int64_t* given, WorkArray<int64_t>& indcl)
{
    if (n_class == 0)
        return true;
    if (!allocate_or_report(indcl, n_class))
        return false;
    for (int64_t k = 0; k < n_class; ++k)
        indcl[k] = given != nullptr ? given[k] + 1 : k + 1;
    return true;
}

// The effects of the model with one-based columns.
struct Effects {
    int64_t count = 0;
    WorkArray<int64_t> sizes;
    WorkArray<int64_t> columns;
};

bool copy_effects(int64_t n_effects, const int64_t* sizes, const int64_t* indices, Effects& effects)
{
    effects.count = n_effects;
    if (!check_effect_sizes(n_effects, sizes))
        return false;
    const int64_t entries = effect_entries(n_effects, sizes);
    if (!allocate_or_report(effects.sizes, n_effects) || !allocate_or_report(effects.columns, entries))
        return false;
    std::copy_n(sizes, n_effects, effects.sizes.get());
    for (int64_t t = 0; t < entries; ++t)
        effects.columns[t] = indices[t] + 1;
    return true;
}

// Order 1: each variable alone.  Order 2 adds the square of each variable
// that is not a class variable, then each pair i < j in ascending order.
bool generate_effects(int64_t n_var, int64_t order, int64_t n_class, const int64_t* indcl, Effects& effects)
{
    auto is_class = [&](int64_t c) { return std::find(indcl, indcl + n_class, c) != indcl + n_class; };
    int64_t squares = 0;
    for (int64_t c = 1; c <= n_var && order == 2; ++c)
        squares += !is_class(c);
    const int64_t pairs = order == 2 ? n_var * (n_var - 1) / 2 : 0;
    effects.count = n_var + squares + pairs;
    if (!allocate_or_report(effects.sizes, effects.count) ||
        !allocate_or_report(effects.columns, n_var + 2 * (squares + pairs)))
        return false;
    int64_t e = 0, t = 0;
    auto add = [&](std::initializer_list<int64_t> columns) {
        effects.sizes[e++] = static_cast<int64_t>(columns.size());
        for (int64_t c : columns)
            effects.columns[t++] = c;
    };
    for (int64_t c = 1; c <= n_var; ++c)
        add({c});
    for (int64_t c = 1; c <= n_var && order == 2; ++c)
        if (!is_class(c))
            add({c, c});
    for (int64_t i = 1; i <= n_var && order == 2; ++i)
        for (int64_t j = i + 1; j <= n_var; ++j)
            add({i, j});
    return true;
}

// The caller's x, row-major, transposed in place into column-major order for
// the length of a scope, and restored on every path out of it.
template <class Real>
class TransposedInPlace {
public:
    TransposedInPlace(int64_t rows, int64_t columns, Real* x) : rows_(rows), columns_(columns), x_(x)
    {
        basic::transpose_in_place(rows, columns, x);
    }
    ~TransposedInPlace() { basic::transpose_in_place(columns_, rows_, x_); }
    TransposedInPlace(const TransposedInPlace&) = delete;
    TransposedInPlace& operator=(const TransposedInPlace&) = delete;

private:
    int64_t rows_, columns_;
    Real* x_;
};

// The class table of the class columns of x (column-major): the distinct
// values collected in room for every value, then kept at their exact size.
template <class Real>
struct ClassTable {
    WorkArray<int64_t> counts;
    WorkArray<Real> values;
};

template <class Real>
bool collect_class_table(int64_t n_observations, const Real* x, int64_t x_col_dim, int64_t n_class,
                         const int64_t* indcl, ClassTable<Real>& table)
{
    if (n_class == 0)
        return true;
    WorkArray<Real> all;
    WorkArray<int64_t> missing;
    if (!allocate_or_report(all, n_observations, "n_observations", n_class, "n_class") ||
        !allocate_or_report(table.counts, n_class) || !allocate_or_report(missing, n_class))
        return false;
    orvls_gclas(0, n_observations, x_col_dim, x, n_observations, n_class, indcl, n_observations * n_class,
                table.counts.get(), all.get(), missing.get());
    if (orvls_n1rty(0) > 0)
        return false;
    const int64_t total = run_start(n_class, table.counts.get());
    if (!allocate_or_report(table.values, total))
        return false;
    std::copy_n(all.get(), total, table.values.get());
    return true;
}

template <class Real>
int64_t regressors_for_glm(int64_t n_observations, Real* x, int64_t n_class, int64_t n_cont, OptionReader& options)
{
    const int64_t n_var = n_class + n_cont;
    Request<Real> request(n_var);
    ExclusiveOptions model_options("ORVLS_MODEL_ORDER and ORVLS_INDICES_EFFECTS");
    read_options(options, n_class, request, model_options);
    if (request.regressors != nullptr)
        *request.regressors = nullptr;
    if (orvls_n1rty(0) > 0 || !check_request(n_observations, n_class, n_cont, request, model_options))
        return 0;

    WorkArray<int64_t> indcl;
    Effects effects;
    if (!class_columns(n_class, request.class_columns, indcl) ||
        !check_class_columns(n_class, indcl.get(), request.x_col_dim))
        return 0;
    const bool built = request.effects_given ? copy_effects(request.n_effects, request.n_var_effects,
                                                            request.indices_effects, effects)
                                             : generate_effects(n_var, request.model_order, n_class, indcl.get(),
                                                                effects);
    if (!built || !check_effects(effects.count, effects.sizes.get(), effects.columns.get(), request.x_col_dim))
        return 0;

    const TransposedInPlace<Real> transposed(n_observations, request.x_col_dim, x);
    ClassTable<Real> table;
    if (!collect_class_table(n_observations, x, request.x_col_dim, n_class, indcl.get(), table))
        return 0;
    // The count does not depend on the rows.
    int64_t n_regressors = 0, nrmiss = 0;
    orvls_grglm<Real>(0, request.x_col_dim, x, n_observations, n_class, indcl.get(), table.counts.get(),
                      table.values.get(), effects.count, effects.sizes.get(), effects.columns.get(),
                      -request.dummy_method, &n_regressors, nullptr, 1, &nrmiss);
    if (orvls_n1rty(0) > 0)
        return 0;
    if (!request.output())
        return n_regressors;

    const int64_t col_dim = request.regressors_col_dim_given ? request.regressors_col_dim : n_regressors;
    if (!orvls_check_col_dim(col_dim, "ORVLS_REGRESSORS_COL_DIM", n_regressors, "n_regressors"))
        return 0;
    WorkArray<Real> allocated;
    if (request.regressors_user == nullptr &&
        !allocate_or_report(allocated, n_observations, "n_observations", col_dim, "n_regressors"))
        return 0;
    Real* result = request.regressors_user != nullptr ? request.regressors_user : allocated.get();
    const Design<Real> design{{n_class, indcl.get(), table.counts.get(), table.values.get(), effects.count,
                               effects.sizes.get(), effects.columns.get(), request.dummy_method}};
    expand_rows(design, n_observations, x, n_observations, result, col_dim, 1, true);
    if (request.regressors != nullptr)
        *request.regressors = allocated.release();
    return n_regressors;
}

template <class Real>
int64_t regressors_for_glm_entry(const char* name, int64_t n_observations, Real* x, int64_t n_class, int64_t n_cont,
                                 va_list ap)
{
    OptionReader options(ap, 4);
    return envelope<int64_t>(name, 0,
                             [&] { return regressors_for_glm(n_observations, x, n_class, n_cont, options); });
}

}  // namespace

template <class Real>
void orvls_gclas(int64_t ido, int64_t nrow, int64_t ncol, const Real* x, int64_t ldx, int64_t nclvar,
                 const int64_t* indcl, int64_t maxcl, int64_t* nclval, Real* clval, int64_t* nmiss)
{
    orvls_e1psh("orvls_gclas");
    int64_t checks = 0;
    if (orvls_check_range(ido, "ido", 0, 3, &checks) && check_rows(nrow, ldx, "ldx") &&
        check_class_variables(nclvar, indcl, ncol))
        collect_class_values(ido, nrow, x, ldx, nclvar, indcl, maxcl, nclval, clval, nmiss);
    orvls_e1pop("orvls_gclas");
}

template <class Real>
void orvls_grglm(int64_t nrow, int64_t ncol, const Real* x, int64_t ldx, int64_t nclvar, const int64_t* indcl,
                 const int64_t* nclval, const Real* clval, int64_t nef, const int64_t* nvef, const int64_t* indef,
                 int64_t idummy, int64_t* nreg, Real* reg, int64_t ldreg, int64_t* nrmiss)
{
    orvls_e1psh("orvls_grglm");
    *nreg = 0;
    *nrmiss = 0;
    const bool write = idummy > 0;
    const int64_t method = write ? idummy : -idummy;
    if (method < 1 || method > 3)
        orvls_ermes(5, 20232);
    else if (check_rows(nrow, ldx, "ldx") && (!write || check_rows(nrow, ldreg, "ldreg")) &&
             check_class_variables(nclvar, indcl, ncol) && entries_in_range(nclvar, nclval, 1, kNoLimit, 20231) &&
             check_effects(nef, nvef, indef, ncol)) {
        const Design<Real> design{{nclvar, indcl, nclval, clval, nef, nvef, indef, method}};
        *nreg = design.regressors();
        *nrmiss = expand_rows(design, nrow, x, ldx, reg, 1, ldreg, write);
    }
    orvls_e1pop("orvls_grglm");
}

template void orvls_gclas<float>(int64_t, int64_t, int64_t, const float*, int64_t, int64_t, const int64_t*, int64_t,
                                 int64_t*, float*, int64_t*);
template void orvls_gclas<double>(int64_t, int64_t, int64_t, const double*, int64_t, int64_t, const int64_t*,
                                  int64_t, int64_t*, double*, int64_t*);
template void orvls_grglm<float>(int64_t, int64_t, const float*, int64_t, int64_t, const int64_t*, const int64_t*,
                                 const float*, int64_t, const int64_t*, const int64_t*, int64_t, int64_t*, float*,
                                 int64_t, int64_t*);
template void orvls_grglm<double>(int64_t, int64_t, const double*, int64_t, int64_t, const int64_t*,
                                  const int64_t*, const double*, int64_t, const int64_t*, const int64_t*, int64_t,
                                  int64_t*, double*, int64_t, int64_t*);

}  // namespace orvls::regression

extern "C" {

ORVLS_API int64_t orvls_f_regressors_for_glm(int64_t n_observations, float* x, int64_t n_class, int64_t n_cont, ...)
{
    va_list ap;
    va_start(ap, n_cont);
    const int64_t n = orvls::regression::regressors_for_glm_entry("orvls_f_regressors_for_glm", n_observations, x,
                                                                  n_class, n_cont, ap);
    va_end(ap);
    return n;
}

ORVLS_API int64_t orvls_d_regressors_for_glm(int64_t n_observations, double* x, int64_t n_class, int64_t n_cont,
                                             ...)
{
    va_list ap;
    va_start(ap, n_cont);
    const int64_t n = orvls::regression::regressors_for_glm_entry("orvls_d_regressors_for_glm", n_observations, x,
                                                                  n_class, n_cont, ap);
    va_end(ap);
    return n;
}

}  // extern "C"
