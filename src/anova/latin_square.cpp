// Latin squares, one at each location: rows and columns within locations,
// treatments and their interaction with locations.  The plots are put in
// two complete crossed layouts, by location, row and column and by
// location, treatment and row (every treatment lies once in every row), and
// the sources are effects of one or the other.
#include <cstdarg>

#include "anova/crossed.h"
#include "anova/design.h"
#include "anova/missing.h"
#include "frame/envelope.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "orvls.h"

namespace orvls::anova {

namespace {

// Subscript masks of the two layouts.
constexpr Mask kLocation = 1;
constexpr Mask kRow = 2, kColumn = 4;                // by location, row, column
constexpr Mask kTreatment = 2;  // by location, treatment, row

struct Squares {
    int64_t t = 0;
    int64_t n_locations = 0;
    int64_t plots() const { return n_locations * t * t; }
};

// The caller's plots in the order of the first layout, and the place in it
// of each cell of the second.  Refuses (65205, int 1 = the plot from 1) a
// number out of range, a position given twice or a treatment twice in a row
// or a column.
template <class Real>
bool arrange(const Squares& s, const int64_t* row, const int64_t* column, const int64_t* treatment, const Real* y,
             Real* data, int64_t* by_treatment)
{
    const int64_t n = s.plots(), t = s.t, square = t * t;
    WorkArray<unsigned char> seen(3 * n);
    if (!seen.ok()) {
        refuse_allocation("n_treatments", t);
        return false;
    }
    for (int64_t i = 0; i < 3 * n; ++i)
        seen[i] = 0;
    unsigned char* position = seen.get();
    unsigned char* row_treatment = position + n;
    unsigned char* column_treatment = row_treatment + n;
    for (int64_t i = 0; i < n; ++i) {
        const int64_t base = i / square * square;
        const int64_t r = row[i] - 1, c = column[i] - 1, k = treatment[i] - 1;
        const bool in_range = r >= 0 && r < t && c >= 0 && c < t && k >= 0 && k < t;
        if (!in_range || position[base + r * t + c]++ || row_treatment[base + r * t + k]++ ||
            column_treatment[base + c * t + k]++) {
            orvls_e1sti(1, i + 1);
            orvls_ermes(5, 65205);
            return false;
        }
        data[base + r * t + c] = y[i];
        by_treatment[base + k * t + r] = base + r * t + c;
    }
    return true;
}

// The two layouts of one complete set of responses.
template <class Real>
struct SquareAnalysis {
    const Squares& s;
    const int64_t* by_treatment;
    Real* rearranged;  // work space for the second layout
    CrossedLayout<Real> by_row, by_treatment_layout;

    bool analyse(const Real* v)
    {
        const int64_t levels[3] = {s.n_locations, s.t, s.t};
        for (int64_t q = 0; q < s.plots(); ++q)
            rearranged[q] = v[by_treatment[q]];
        return by_row.analyse(3, levels, v) && by_treatment_layout.analyse(3, levels, rearranged);
    }
    // The residual at plot p (in the first layout's order) of the model of
    // locations, rows and columns within them, treatments and location x
    // treatment; q is its cell in the second layout.
    Real residual(const Real* v, int64_t p, int64_t q) const
    {
        const Real fitted =
            by_row.mean(kLocation | kRow, by_row.cell_of(kLocation | kRow, p)) +
            by_row.mean(kLocation | kColumn, by_row.cell_of(kLocation | kColumn, p)) +
            by_treatment_layout.mean(kLocation | kTreatment, by_treatment_layout.cell_of(kLocation | kTreatment, q)) -
            2 * by_row.mean(kLocation, by_row.cell_of(kLocation, p));
        return v[p] - fitted;
    }
};

template <class Real>
void form_sources(const SquareAnalysis<Real>& a, const Real* data, const int64_t* by_treatment, int64_t n_missing,
                  bool locations_random, Source<Real>* sources)
{
    const Squares& s = a.s;
    const bool several = s.n_locations > 1;
    const int64_t error = several ? 5 : 3;
    const int64_t interaction = several ? 4 : kNoTest;
    const CrossedLayout<Real>& r = a.by_row;
    const CrossedLayout<Real>& t = a.by_treatment_layout;
    Real error_ss = 0;
    for (int64_t q = 0; q < s.plots(); ++q) {
        const Real e = a.residual(data, by_treatment[q], q);
        error_ss += e * e;
    }
    int64_t row = 0;
    if (several)
        set_source(sources[row++], "Locations .................", r.effect_df(kLocation), r.effect_ss(kLocation),
                   error);
    set_source(sources[row++], "Rows within Locations .....", r.effect_df(kRow) + r.effect_df(kLocation | kRow),
               r.effect_ss(kRow) + r.effect_ss(kLocation | kRow), error);
    set_source(sources[row++], "Columns within Locations ..", r.effect_df(kColumn) + r.effect_df(kLocation | kColumn),
               r.effect_ss(kColumn) + r.effect_ss(kLocation | kColumn), error);
    set_source(sources[row++], "Treatments ................", t.effect_df(kTreatment), t.effect_ss(kTreatment),
               several && locations_random ? interaction : error);
    if (several)
        set_source(sources[row++], "Locations x Treatments ....", t.effect_df(kLocation | kTreatment),
                   t.effect_ss(kLocation | kTreatment), error);
    const Real n_locations = Real(s.n_locations), t1 = Real(s.t - 1);
    set_source(sources[row++], "Error within Locations ....", n_locations * t1 * (t1 - 1) - Real(n_missing), error_ss,
               kNoTest);
    set_source(sources[row], "Corrected Total ...........", Real(s.plots() - 1 - n_missing), r.total_ss(), kNoTest);
}

template <class Real>
Real* latin_square(int64_t n_treatments, int64_t n_locations, const int64_t* row, const int64_t* column,
                   const int64_t* treatment, const Real* y, OptionReader& options)
{
    DesignOptions<Real> settings;
    read_design_options(options, settings);
    if (orvls_n1rty(0) > 0 || !check_design_counts(n_treatments, n_locations))
        return nullptr;

    const Squares s{n_treatments, n_locations};
    const int64_t n_rows = n_locations > 1 ? 7 : 5;
    WorkArray<Real> data(s.plots()), rearranged(s.plots());
    // by_treatment: the first layout's place of each cell of the second;
    // cell_of_plot: the inverse.
    WorkArray<int64_t> by_treatment(s.plots()), cell_of_plot(s.plots());
    WorkArray<Source<Real>> sources(n_rows);
    if (!data.ok() || !rearranged.ok() || !by_treatment.ok() || !cell_of_plot.ok() || !sources.ok()) {
        refuse_allocation("n_treatments", n_treatments);
        return nullptr;
    }
    if (!arrange(s, row, column, treatment, y, data.get(), by_treatment.get()))
        return nullptr;

    SquareAnalysis<Real> analysis{s, by_treatment.get(), rearranged.get(), {}, {}};
    for (int64_t q = 0; q < s.plots(); ++q)
        cell_of_plot[by_treatment[q]] = q;
    auto residuals = [&](const Real* v, const int64_t* where, int64_t m, Real* out) {
        if (!analysis.analyse(v))
            return false;
        for (int64_t k = 0; k < m; ++k)
            out[k] = analysis.residual(v, where[k], cell_of_plot[where[k]]);
        return true;
    };
    int64_t n_missing = 0;
    const MissingOutcome outcome = estimate_missing_by(s.plots(), data.get(), residuals, &n_missing);
    if (!missing_estimated(outcome, 65205, "n_treatments", n_treatments))
        return nullptr;
    if (!analysis.analyse(data.get())) {
        refuse_allocation("n_treatments", n_treatments);
        return nullptr;
    }
    form_sources(analysis, data.get(), by_treatment.get(), n_missing, settings.locations_random, sources.get());
    return finish_table(sources.get(), n_rows, settings, "n_treatments", n_treatments);
}

template <class Real>
Real* latin_square_entry(const char* name, int64_t n_treatments, int64_t n_locations, const int64_t* row,
                         const int64_t* column, const int64_t* treatment, const Real* y, va_list ap)
{
    OptionReader options(ap, 6);
    return envelope<Real*>(name, nullptr,
                           [&] { return latin_square(n_treatments, n_locations, row, column, treatment, y, options); });
}

}  // namespace

}  // namespace orvls::anova

extern "C" {

ORVLS_API float* orvls_f_latin_square(int64_t n_treatments, int64_t n_locations, const int64_t* row,
                                      const int64_t* column, const int64_t* treatment, const float* y, ...)
{
    va_list ap;
    va_start(ap, y);
    float* table = orvls::anova::latin_square_entry("orvls_f_latin_square", n_treatments, n_locations, row, column,
                                                    treatment, y, ap);
    va_end(ap);
    return table;
}

ORVLS_API double* orvls_d_latin_square(int64_t n_treatments, int64_t n_locations, const int64_t* row,
                                       const int64_t* column, const int64_t* treatment, const double* y, ...)
{
    va_list ap;
    va_start(ap, y);
    double* table = orvls::anova::latin_square_entry("orvls_d_latin_square", n_treatments, n_locations, row, column,
                                                     treatment, y, ap);
    va_end(ap);
    return table;
}

}  // extern "C"
