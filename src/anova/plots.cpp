// The plot designs: split plot, split-split plot, strip plot and strip-split
// plot, each possibly repeated at several locations.
//
// All four are one crossed layout over (location, block, treatment factors)
// whose block interactions are pooled into error strata.  A design is told
// by its list of rows: effects (a set of subscripts), error strata (the
// treatment parts whose block interactions they pool; the stratum of
// treatment part 0 is the blocks within locations) and the total.  Each
// effect is tested against the error of the stratum its treatment part
// falls in, or, with random locations, a treatment effect against its
// interaction with location.
#include <cstdarg>
#include <cmath>
#include <cstdint>

#include "anova/crossed.h"
#include "anova/design.h"
#include "anova/missing.h"
#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "orvls.h"

namespace orvls::anova {

namespace {

// Subscripts of the layout, in the order of the data: location, block, then
// the treatment factors from the largest plot to the smallest.
constexpr Mask kL = 1, kR = 2, kA = 4, kB = 8, kC = 16;
constexpr int kTreatmentShift = 2;
constexpr int kMaxCounts = 5;
constexpr int kMaxRows = 24;

// The treatment part of a set of subscripts, as an index 0..7.
constexpr int treatment_part(Mask mask) { return int(mask >> kTreatmentShift); }

// A set of treatment parts, bit t for part t.
constexpr uint32_t parts(std::initializer_list<Mask> masks)
{
    uint32_t set = 0;
    for (Mask m : masks)
        set |= uint32_t(1) << treatment_part(m);
    return set;
}

enum class RowKind { effect, error, total };
// A row that stands only with one location or only with several has no
// degrees of freedom otherwise, so that every row keeps its place.
enum class Presence { always, one_location, several_locations };

struct RowPlan {
    const char* label;
    RowKind kind;
    Mask effect = 0;          // effect: its subscripts
    uint32_t stratum = 0;     // error: the treatment parts it pools
    Presence presence = Presence::always;
};

struct PlotDesign {
    int n_treatments;                // factors after location and block
    const char* const* count_names;  // blocks, locations, then the treatment factors
    int result_count;                // count named when the results cannot be allocated
    int work_count;                  // count named when the work arrays cannot be allocated
    const RowPlan* rows;
    int n_rows;
};

constexpr RowKind kEffect = RowKind::effect, kError = RowKind::error, kTotal = RowKind::total;

const char* const kSplitNames[] = {"n_blocks", "n_locations", "n_whole", "n_split"};
const RowPlan kSplitRows[] = {
    {"Location", kEffect, kL},
    {"Block Within Location", kError, 0, parts({0})},
    {"Whole-Plot", kEffect, kA},
    {"Location x Whole-Plot", kEffect, kL | kA},
    {"Whole-Plot Error", kError, 0, parts({kA})},
    {"Split-Plot", kEffect, kB},
    {"Location x Split-Plot", kEffect, kL | kB},
    {"Whole-Plot x Split-Plot", kEffect, kA | kB},
    {"Location x Whole-Plot x Split-Plot", kEffect, kL | kA | kB},
    {"Split-Plot Error", kError, 0, parts({kB, kA | kB})},
    {"Corrected Total", kTotal},
};

const char* const kSplitSplitNames[] = {"n_blocks", "n_locations", "n_whole", "n_split", "n_sub"};
const RowPlan kSplitSplitRows[] = {
    {"Location", kEffect, kL},
    {"Blocks Within Location", kError, 0, parts({0})},
    {"Whole-Plot", kEffect, kA},
    {"Location x Whole-Plot", kEffect, kL | kA},
    {"Whole-Plot Error", kError, 0, parts({kA})},
    {"Split-Plot", kEffect, kB},
    {"Location x Split-Plot", kEffect, kL | kB},
    {"Whole-Plot x Split-Plot", kEffect, kA | kB},
    {"Location x Whole-Plot x Split-Plot", kEffect, kL | kA | kB},
    {"Split-Plot Error", kError, 0, parts({kB, kA | kB})},
    {"Sub-Plot", kEffect, kC},
    {"Location x Sub-Plot", kEffect, kL | kC},
    {"Whole-Plot x Sub-Plot", kEffect, kA | kC},
    {"Location x Whole-Plot x Sub-Plot", kEffect, kL | kA | kC},
    {"Split-plot x Sub-Plot", kEffect, kB | kC},
    {"Location x Split-Plot x Sub-Plot", kEffect, kL | kB | kC},
    {"Whole_plot x Split-Plot x Sub-Plot", kEffect, kA | kB | kC},
    {"Location x Whole-Plot x Split-Plot x Sub-Plot", kEffect, kL | kA | kB | kC},
    {"Sub-Plot Error", kError, 0, parts({kC, kA | kC, kB | kC, kA | kB | kC})},
    {"Corrected Total", kTotal},
};

const char* const kStripNames[] = {"n_blocks", "n_locations", "n_strip_a", "n_strip_b"};
const RowPlan kStripRows[] = {
    {"Location", kEffect, kL},
    {"Block Within Location", kError, 0, parts({0})},
    {"Strip-Plot A", kEffect, kA},
    {"Location x Strip-Plot A", kEffect, kL | kA},
    {"Strip-Plot A Error", kError, 0, parts({kA})},
    {"Strip-Plot B", kEffect, kB},
    {"Location x Strip-Plot B", kEffect, kL | kB},
    {"Strip-Plot B Error", kError, 0, parts({kB})},
    {"Strip-Plot A x Strip-Plot B", kEffect, kA | kB},
    {"Location x Strip-Plot A x Strip-Plot B", kEffect, kL | kA | kB},
    {"Strip-Plot A x Strip-Plot B Error", kError, 0, parts({kA | kB})},
    {"Corrected Total", kTotal},
};

// The split-plot factor C divides the A strips, so that C and A x C are
// tested within the A strips and the B x C interactions on the smallest
// plots.
const char* const kStripSplitNames[] = {"n_blocks", "n_locations", "n_strip_a", "n_strip_b", "n_split"};
const RowPlan kStripSplitRows[] = {
    {"Location ....................", kEffect, kL},
    {"Blocks ......................", kError, 0, parts({0}), Presence::one_location},
    {"Blocks Within Location ......", kError, 0, parts({0}), Presence::several_locations},
    {"Strip-Plot A ................", kEffect, kA},
    {"Location x A ................", kEffect, kL | kA},
    {"Strip-Plot A Error ..........", kError, 0, parts({kA})},
    {"Split-Plot ..................", kEffect, kC},
    {"Split-Plot x A ..............", kEffect, kA | kC},
    {"Location x Split-Plot .......", kEffect, kL | kC},
    {"Split-Plot Error ............", kError, 0, parts({kC, kA | kC})},
    {"Location x Split-Plot x A ...", kEffect, kL | kA | kC},
    {"Strip-Plot B ................", kEffect, kB},
    {"Location x B ................", kEffect, kL | kB},
    {"Strip-Plot B Error ..........", kError, 0, parts({kB})},
    {"A x B .......................", kEffect, kA | kB},
    {"Location x A x B ............", kEffect, kL | kA | kB},
    {"A x B Error .................", kError, 0, parts({kA | kB})},
    {"Split-Plot x B ..............", kEffect, kB | kC},
    {"Split-Plot x A x B ..........", kEffect, kA | kB | kC},
    {"Location x Split-Plot x B ...", kEffect, kL | kB | kC},
    {"Location x Split-Plot x A x B", kEffect, kL | kA | kB | kC},
    {"Split-Plot x A x B Error ....", kError, 0, parts({kB | kC, kA | kB | kC})},
    {"Corrected Total .............", kTotal},
};

template <std::size_t N>
constexpr int count_of(const RowPlan (&)[N])
{
    return int(N);
}

const PlotDesign kSplitPlot{2, kSplitNames, 2, 3, kSplitRows, count_of(kSplitRows)};
const PlotDesign kSplitSplitPlot{3, kSplitSplitNames, 2, 4, kSplitSplitRows, count_of(kSplitSplitRows)};
const PlotDesign kStripPlot{2, kStripNames, 2, 3, kStripRows, count_of(kStripRows)};
const PlotDesign kStripSplitPlot{3, kStripSplitNames, 2, 4, kStripSplitRows, count_of(kStripSplitRows)};

bool stands(const RowPlan& row, bool several_locations)
{
    switch (row.presence) {
    case Presence::one_location: return !several_locations;
    case Presence::several_locations: return several_locations;
    default: return true;
    }
}

// Whether the effect of `mask` belongs to the error stratum of `row`: a
// block interaction whose treatment part the stratum holds.
bool pooled_in(const RowPlan& row, Mask mask)
{
    return (mask & kR) != 0 && (row.stratum >> treatment_part(mask) & 1) != 0;
}

// The standing error row of the stratum that holds the treatment part of
// `mask`.
int64_t error_of(const PlotDesign& design, Mask mask, bool several_locations)
{
    for (int i = 0; i < design.n_rows; ++i) {
        const RowPlan& row = design.rows[i];
        if (row.kind == kError && stands(row, several_locations) && pooled_in(row, mask | kR))
            return i;
    }
    return kNoTest;
}

int64_t row_of_effect(const PlotDesign& design, Mask mask)
{
    for (int i = 0; i < design.n_rows; ++i)
        if (design.rows[i].kind == kEffect && design.rows[i].effect == mask)
            return i;
    return kNoTest;
}

int lowest_error(const PlotDesign& design)
{
    int lowest = 0;
    for (int i = 0; i < design.n_rows; ++i)
        if (design.rows[i].kind == kError)
            lowest = i;
    return lowest;
}

// The denominator of an effect's test.  With random locations a treatment
// effect is tested against its interaction with location; everything else
// against its stratum's error.
int64_t test_of(const PlotDesign& design, Mask effect, bool several_locations, bool locations_random)
{
    if (locations_random && (effect & kL) == 0)
        return row_of_effect(design, effect | kL);
    return error_of(design, effect, several_locations);
}

template <class Real>
void form_sources(const PlotDesign& design, const CrossedLayout<Real>& layout, bool several_locations,
                  bool locations_random, int64_t n_missing, Source<Real>* sources)
{
    const int lowest = lowest_error(design);
    for (int i = 0; i < design.n_rows; ++i) {
        const RowPlan& row = design.rows[i];
        Source<Real>& source = sources[i];
        set_label(source.label, "%s", row.label);
        source.df = source.ss = Real(0);
        source.tested_by = kNoTest;
        switch (row.kind) {
        case RowKind::effect:
            source.df = layout.effect_df(row.effect);
            source.ss = layout.effect_ss(row.effect);
            source.tested_by = test_of(design, row.effect, several_locations, locations_random);
            break;
        case RowKind::error:
            if (stands(row, several_locations))
                layout.pool([&](Mask m) { return pooled_in(row, m); }, source.df, source.ss);
            if (i == lowest)
                source.df -= Real(n_missing);
            break;
        case RowKind::total:
            source.df = Real(layout.observations() - 1 - n_missing);
            source.ss = layout.total_ss();
            break;
        }
    }
}

void refuse_work(const PlotDesign& design, const int64_t* counts)
{
    orvls_e1stl(1, design.count_names[design.work_count]);
    orvls_e1sti(1, counts[design.work_count]);
    orvls_ermes(5, 201);
}

bool check_counts(const PlotDesign& design, const int64_t* counts)
{
    if (!check_design_counts(counts[0], counts[1], counts[2]))
        return false;
    int64_t checks = 0;
    for (int k = 3; k < 2 + design.n_treatments; ++k)
        orvls_check_range(counts[k], design.count_names[k], 2, -1, &checks);
    return orvls_n1rty(0) == 0;
}

// The number of observations, or -1 when it is out of reach: the layout's
// tables over every set of subscripts take up to 2^5 times as many values.
int64_t observations(int n_subscripts, const int64_t* levels)
{
    int64_t n = 1;
    for (int d = 0; d < n_subscripts; ++d)
        if (__builtin_mul_overflow(n, levels[d], &n) || n > INT64_MAX / 64)
            return -1;
    return n;
}

template <class Real>
Real* plot_design(const PlotDesign& design, const int64_t* counts, const Real* y, OptionReader& options)
{
    DesignOptions<Real> settings;
    read_design_options(options, settings);
    if (orvls_n1rty(0) > 0 || !check_counts(design, counts))
        return nullptr;

    const int n_subscripts = 2 + design.n_treatments;
    int64_t levels[kMaxCounts] = {counts[1], counts[0]};
    for (int k = 2; k < n_subscripts; ++k)
        levels[k] = counts[k];
    const int64_t n_obs = observations(n_subscripts, levels);
    WorkArray<Real> data;
    if (n_obs < 0 || !data.reset(n_obs)) {
        refuse_work(design, counts);
        return nullptr;
    }
    for (int64_t i = 0; i < n_obs; ++i)
        data[i] = y[i];

    // Missing responses are estimated from every effect but the smallest
    // plots' error, whose degrees of freedom they then take.
    const RowPlan& lowest = design.rows[lowest_error(design)];
    int64_t n_missing = 0;
    const MissingOutcome outcome = estimate_missing(
        n_subscripts, levels, data.get(), [&](Mask m) { return !pooled_in(lowest, m); }, &n_missing);
    if (outcome == MissingOutcome::too_many) {
        orvls_ermes(5, 65204);
        return nullptr;
    }
    CrossedLayout<Real> layout;
    if (outcome == MissingOutcome::out_of_memory || !layout.analyse(n_subscripts, levels, data.get())) {
        refuse_work(design, counts);
        return nullptr;
    }

    Source<Real> sources[kMaxRows];
    form_sources(design, layout, counts[1] > 1, settings.locations_random, n_missing, sources);
    return finish_table(sources, design.n_rows, settings, design.count_names[design.result_count],
                        counts[design.result_count]);
}

template <class Real>
Real* plot_entry(const char* name, const PlotDesign& design, const int64_t* counts, const Real* y, va_list ap)
{
    OptionReader options(ap, 3 + design.n_treatments);
    return envelope<Real*>(name, nullptr, [&] { return plot_design(design, counts, y, options); });
}

}  // namespace

}  // namespace orvls::anova

using orvls::anova::plot_entry;

// The float and double entries of a member: its counts declared and listed.
#define ORVLS_UNPAREN(...) __VA_ARGS__
#define ORVLS_PLOT_ENTRY(Real, prefix, member, design, declared, listed)                          \
    ORVLS_API Real* orvls_##prefix##_##member(ORVLS_UNPAREN declared, const Real* y, ...)         \
    {                                                                                             \
        va_list ap;                                                                               \
        va_start(ap, y);                                                                          \
        const int64_t counts[] = {ORVLS_UNPAREN listed};                                          \
        Real* table = plot_entry("orvls_" #prefix "_" #member, orvls::anova::design, counts, y, ap); \
        va_end(ap);                                                                               \
        return table;                                                                             \
    }
#define ORVLS_PLOT_ENTRIES(member, design, declared, listed)      \
    ORVLS_PLOT_ENTRY(float, f, member, design, declared, listed) \
    ORVLS_PLOT_ENTRY(double, d, member, design, declared, listed)

extern "C" {

ORVLS_PLOT_ENTRIES(split_plot, kSplitPlot, (int64_t n_blocks, int64_t n_locations, int64_t n_whole, int64_t n_split),
                   (n_blocks, n_locations, n_whole, n_split))
ORVLS_PLOT_ENTRIES(split_split_plot, kSplitSplitPlot,
                   (int64_t n_blocks, int64_t n_locations, int64_t n_whole, int64_t n_split, int64_t n_sub),
                   (n_blocks, n_locations, n_whole, n_split, n_sub))
ORVLS_PLOT_ENTRIES(strip_plot, kStripPlot,
                   (int64_t n_blocks, int64_t n_locations, int64_t n_strip_a, int64_t n_strip_b),
                   (n_blocks, n_locations, n_strip_a, n_strip_b))
ORVLS_PLOT_ENTRIES(strip_split_plot, kStripSplitPlot,
                   (int64_t n_blocks, int64_t n_locations, int64_t n_strip_a, int64_t n_strip_b, int64_t n_split),
                   (n_blocks, n_locations, n_strip_a, n_strip_b, n_split))

}  // extern "C"

#undef ORVLS_PLOT_ENTRIES
#undef ORVLS_PLOT_ENTRY
#undef ORVLS_UNPAREN
